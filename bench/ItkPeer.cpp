#include <itkFlatStructuringElement.h>
#include <itkGrayscaleDilateImageFilter.h>
#include <itkImage.h>
#include <itkMultiThreaderBase.h>
#include <itkNeighborhoodOperatorImageFilter.h>

#include "VolumePeers.h"

namespace bench {
namespace {

template <class T>
using Volume = itk::Image<T, 3>;

// Up to so many voxels in an element a histogram of bytes takes longer than looking at each.
constexpr std::size_t cNbFew = 20;

/** Looks at the voxels of an image. */
template <class T>
typename Volume<T>::Pointer wrap(ImagePointer const& image) {
  itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(1);
  auto const volume = Volume<T>::New();
  volume->SetRegions(typename Volume<T>::SizeType{
      {image->getNumOf(pxl::cColumns), image->getNumOf(pxl::cRows), image->getNumOf(pxl::cPlans)}});
  auto const nbVoxels = static_cast<std::size_t>(countCols(image) * countRows(image));
  // The filters only read it.
  volume->GetPixelContainer()->SetImportPointer(const_cast<T*>(getVoxels<T>(image)), nbVoxels, false);
  return volume;
}

/** Changes the elements of a neighbourhood at offsets. */
template <class Neighbourhood, class GetValue>
void setAt(Neighbourhood& neighbourhood, std::vector<pxl::kernel::Offset3D> const& offsets,
           GetValue const& getValue) {
  for (std::size_t i = 0; i < offsets.size(); ++i)
    neighbourhood[neighbourhood.GetNeighborhoodIndex({{offsets[i].col, offsets[i].row, offsets[i].plan}})] =
        getValue(i);
}

}  // namespace

// By the fastest of the library's algorithms, which isn't always the one that it chooses itself.
template <class T>
Side makeItkDilation(ImagePointer const& input, Element const& element) {
  using Kernel = itk::FlatStructuringElement<3>;
  Kernel::RadiusType radius;
  Kernel kernel;
  if (element.isCube) {
    radius.Fill(element.nbPasses);
    kernel = Kernel::Box(radius);
  } else {
    radius.Fill(static_cast<itk::SizeValueType>(element.getReach()));
    kernel.SetRadius(radius);
    kernel.SetDecomposable(false);
    for (auto& voxel : kernel.GetBufferReference()) voxel = false;
    setAt(kernel, element.voxels, [](std::size_t) { return true; });
  }
  using Filter = itk::GrayscaleDilateImageFilter<Volume<T>, Volume<T>, Kernel>;
  bool const isOfBytes = sizeof(T) == 1;
  auto const algorithm = element.isCube                                ? Filter::VHGW
                         : isOfBytes && element.voxels.size() > cNbFew ? Filter::HISTO
                                                                       : Filter::BASIC;
  auto const image = wrap<T>(input);
  return [input, image, kernel, algorithm, nbPasses = element.isCube ? 1 : element.nbPasses] {
    typename Volume<T>::Pointer result = image;
    for (unsigned int i = 0; i < nbPasses; ++i) {
      auto const filter = Filter::New();
      filter->SetInput(result);
      filter->SetKernel(kernel);
      filter->SetAlgorithm(algorithm);
      filter->SetNumberOfWorkUnits(1);
      filter->Update();
      result = filter->GetOutput();
      result->DisconnectPipeline();
    }
  };
}
template Side makeItkDilation<unsigned char>(ImagePointer const&, Element const&);
template Side makeItkDilation<unsigned short>(ImagePointer const&, Element const&);
template Side makeItkDilation<float>(ImagePointer const&, Element const&);

template <class T>
Side makeItkCorrelation(ImagePointer const& input, Taps const& taps) {
  itk::Neighborhood<float, 3> kernel;
  itk::Size<3> radius;
  radius.Fill(static_cast<itk::SizeValueType>(taps.reach));
  kernel.SetRadius(radius);
  for (float& coefficient : kernel.GetBufferReference()) coefficient = 0;
  setAt(kernel, taps.offsets, [&](std::size_t i) { return static_cast<float>(taps.coefficients[i]); });
  auto const image = wrap<T>(input);
  return [input, image, kernel] {
    auto const filter = itk::NeighborhoodOperatorImageFilter<Volume<T>, Volume<T>, float>::New();
    filter->SetInput(image);
    filter->SetOperator(kernel);
    filter->SetNumberOfWorkUnits(1);
    filter->Update();
  };
}
template Side makeItkCorrelation<unsigned char>(ImagePointer const&, Taps const&);
template Side makeItkCorrelation<float>(ImagePointer const&, Taps const&);

}  // namespace bench
