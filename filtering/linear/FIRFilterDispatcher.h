#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "Core/private/Filters/ImageToImageFilter.h"
#include "filtering/linear/FIR2dToValueSimd.h"
#include "filtering/linear/FIR3dToValueSimd.h"
#include "pxl/ImageModelAdapter.h"

namespace pxl::filtering::linear {

/** The kernel and the filter of a dimension. */
template <class Tag, class Arch, class T>
struct FIRTypes;

template <class Arch, class T>
struct FIRTypes<Filter2dTag, Arch, T> {
  using Kernel = FIR2dToValueSimd<T>;
  using Filter = ImageToImageFilter2d<T, T, Arch, Kernel>;
};

template <class Arch, class T>
struct FIRTypes<Filter3dTag, Arch, T> {
  using Kernel = FIR3dToValueSimd<T>;
  using Filter = ImageToImageFilter3d<T, T, Arch, Kernel>;
};

/** Correlates the input of an algorithm in the precision T, both images presented as T, mirrored at the edge. */
template <class Tag, class Arch>
struct FIRFilterDispatcher {
  template <class T, class Algo>
  static void run(Algo* algorithm) {
    constexpr VoxelTypes cType = helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;
    using Types = FIRTypes<Tag, Arch, T>;

    // The order matters: the adapters are destroyed before the views, and the output's first, which may still store
    // voxels.
    typename Types::Kernel kernel = makeKernel<T>(algorithm->kernel.get());
    typename Types::Filter filter(algorithm, &kernel);
    // An adapter with read views only writes nothing.
    ImageModel* const inputImage = const_cast<ImageModel*>(algorithm->inputImage.get());
    ImageModelAdapter const input(inputImage, cType, cRoundAndSaturate);
    auto mirror = access::MirrorBorderCondition<T>::New();
    filter.setInput(input.getImageModel(), std::move(mirror));
    ImageModel* const outputImage = algorithm->outputImage.get();
    std::optional<ImageModelAdapter> output;
    if (outputImage != inputImage) output.emplace(outputImage, cType, cRoundAndSaturate);
    auto zero = access::FixedBorderCondition<T>::New(0);
    filter.setOutput(output ? output->getImageModel() : input.getImageModel(), std::move(zero));
    filter.run();
  }

 private:
  template <class T, class HostKernel>
  static typename FIRTypes<Tag, Arch, T>::Kernel makeKernel(HostKernel const& hostKernel) {
    std::vector<double> const& coefficients = hostKernel.getCoefficients();
    typename FIRTypes<Tag, Arch, T>::Kernel kernel{hostKernel.getOffsets(), std::vector<T>(coefficients.size())};
    std::transform(coefficients.begin(), coefficients.end(), kernel.coefficients.begin(),
                   [](double coefficient) { return static_cast<T>(coefficient); });
    return kernel;
  }
};

}  // namespace pxl::filtering::linear
