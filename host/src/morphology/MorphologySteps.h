#pragma once

#include <deque>
#include <functional>
#include <vector>

#include "access/PresentedImage.h"
#include "pxl/io/TemporaryImage.h"
#include "pxl/kernel/StructuringElement.h"
#include "pxl/morphology/ElementMorphology.h"

namespace pxl::algorithms {
class AbstractPrivateImplementation;
}

namespace pxl::morphology {

/** The steps of a composition: they are listed first, then run with a common progress and cancellation. */
class MorphologySteps {
 public:
  explicit MorphologySteps(ElementMorphology& algorithm);

  /** Presents the images of the algorithm as grey ones of the input's type. */
  ImageModel const* getInput() const { return &m_input; }
  ImageModel* getOutput() { return &m_output; }
  bool isInPlace() const { return m_isInPlace; }
  /** An extra image like the input, made by the first call. @throws RuleException there is no room for it */
  ImageModel* getExtra();
  /** The image for a result that is needed together with the input. */
  ImageModel* getFree() { return m_isInPlace ? getExtra() : getOutput(); }

  void dilate(ImageModel const* from, kernel::StructuringElement const& element, ImageModel* to);
  void erode(ImageModel const* from, kernel::StructuringElement const& element, ImageModel* to);
  /** Writes the algorithm's output. */
  void subtract(ImageModel const* from, ImageModel const* what);

  void run();

 private:
  enum class Operation { cDilation, cErosion };

  void add(Operation operation, ImageModel const* from, kernel::StructuringElement const& element, ImageModel* to);
  bool splits(Operation operation, ImageModel const* from, kernel::StructuringElement const& element,
              ImageModel* to) const;

  ElementMorphology& m_algorithm;
  access::PresentedImage m_input;
  access::PresentedImage m_output;
  bool m_isInPlace;
  io::TemporaryImageReference m_temporary;
  ImageModel* m_extra = nullptr;
  std::vector<std::function<void(algorithms::AbstractPrivateImplementation&)>> m_steps;
};

/** The number of passes or voxels of an element per voxel of an image. */
double estimateSteps(kernel::StructuringElement const& element);

}  // namespace pxl::morphology
