#pragma once

#include <memory>

#include "Core/private/Access/ArchView.h"
#include "Core/private/Filters/ManyToManyImageFilter.h"
#include "pxl/BaseTbbAlgorithm.h"

/**
 * Filters that read one or two input images once and write an output image. `Functor` has `run(block, filter)
 * const`, which reads and writes one block through the filter's views; it is shared by all threads and must outlive
 * the filter. The output may be one of the inputs. A filter serves one run.
 *
 * Each image that is set becomes the processing region, unless the algorithm has a region of its own.
 */
namespace pxl {

/** The common part of both filters. */
template <class Functor>
class FilterWithFunctor : public BaseTbbAlgorithm {
 public:
  using FunctorType = Functor;

  Functor* getFunctor() const { return m_functor; }

 protected:
  FilterWithFunctor(BaseAlgorithm* algorithm, Functor* functor) : BaseTbbAlgorithm(algorithm), m_functor(functor) {}

  /** Makes a view of an ImageModel, const or not. */
  template <class View, class Image, class Border>
  void take(View& view, Image* image, Border border) {
    view = std::remove_const_t<typename View::element_type>::New(image, std::move(border));
    if (!m_isRegionChosen) setProcessingRegion(view->getLargestPossibleRegion());
  }

 private:
  Functor* m_functor;
};

template <class In, class Out, class Arch, class Functor, class Tag, class Reduction>
class ImageToImageFilter : public FilterWithFunctor<Functor> {
 public:
  using ArchType = Arch;
  using InputView = access::ArchView<In, Arch>;
  using OutputView = access::ArchView<Out, Arch>;

  ImageToImageFilter(BaseAlgorithm* algorithm, Functor* functor) : FilterWithFunctor<Functor>(algorithm, functor) {}

  void setInput(ImageModel const* image, std::shared_ptr<access::BorderCondition<In>> border) {
    this->take(input, image, std::move(border));
  }
  void setOutput(ImageModel* image, std::shared_ptr<access::BorderCondition<Out>> border) {
    this->take(output, image, std::move(border));
  }

  void run() override { details::DoRunManyToManyImageFilter<Tag, Reduction>::run(this); }

  /** Stores what the blocks of one position held back. */
  virtual void writeTemporizedOutputs() { output->writeAllTemporizedRows(); }

  std::shared_ptr<InputView const> input;
  std::shared_ptr<OutputView> output;
  std::shared_ptr<access::BorderCondition<Out>> spareBorder;  ///< not used by the loop
};

template <class In1, class In2, class Out, class Arch, class Functor, class Tag>
class ImagePairToImageFilter : public FilterWithFunctor<Functor> {
 public:
  using ArchType = Arch;
  using InputView1 = access::ArchView<In1, Arch>;
  using InputView2 = access::ArchView<In2, Arch>;
  using OutputView = access::ArchView<Out, Arch>;

  ImagePairToImageFilter(BaseAlgorithm* algorithm, Functor* functor)
      : FilterWithFunctor<Functor>(algorithm, functor) {}

  void setInput1(ImageModel const* image, std::shared_ptr<access::BorderCondition<In1>> border) {
    this->take(input1, image, std::move(border));
  }
  void setInput2(ImageModel const* image, std::shared_ptr<access::BorderCondition<In2>> border) {
    this->take(input2, image, std::move(border));
  }
  void setOutput(ImageModel* image, std::shared_ptr<access::BorderCondition<Out>> border) {
    this->take(output, image, std::move(border));
  }

  void run() override { details::DoRunManyToManyImageFilter<Tag, FilterWithoutReductionTag>::run(this); }

  /** Stores what the blocks of one position held back. */
  virtual void writeTemporizedOutputs() { output->writeAllTemporizedRows(); }

  std::shared_ptr<InputView1 const> input1;
  std::shared_ptr<InputView2 const> input2;
  std::shared_ptr<OutputView> output;
  std::shared_ptr<access::BorderCondition<Out>> spareBorder;  ///< not used by the loop
};

template <class In, class Out, class Arch, class Functor>
class ImageToImageFilter2d final
    : public ImageToImageFilter<In, Out, Arch, Functor, Filter2dTag, FilterWithoutReductionTag> {
 public:
  using ImageToImageFilter<In, Out, Arch, Functor, Filter2dTag, FilterWithoutReductionTag>::ImageToImageFilter;
};

template <class In, class Out, class Arch, class Functor>
class ImageToImageFilter3d final
    : public ImageToImageFilter<In, Out, Arch, Functor, Filter3dTag, FilterWithoutReductionTag> {
 public:
  using ImageToImageFilter<In, Out, Arch, Functor, Filter3dTag, FilterWithoutReductionTag>::ImageToImageFilter;
};

template <class In1, class In2, class Out, class Arch, class Functor>
class ImagePairToImageFilter3d final : public ImagePairToImageFilter<In1, In2, Out, Arch, Functor, Filter3dTag> {
 public:
  using ImagePairToImageFilter<In1, In2, Out, Arch, Functor, Filter3dTag>::ImagePairToImageFilter;
};

}  // namespace pxl
