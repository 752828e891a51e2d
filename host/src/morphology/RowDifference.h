#pragma once

#include "pxl/BaseTbbAlgorithm.h"

namespace pxl {
class ImageModel;
}

namespace pxl::morphology {

/**
 * A step of a composition: writes the voxels of one image, less those of another one of its type if there is one.
 * What would be below 0 is 0. A difference of integers is written with the bits of the unsigned type of their width,
 * which is the output's type or has its size. The output may be either image.
 */
class RowDifference final : public BaseTbbAlgorithm {
 public:
  /** `what` may be null. */
  RowDifference(ImageModel const* from, ImageModel const* what, ImageModel* output);
  ~RowDifference() override;

  /** @throws ExceptionCancelation; UnexpectedError the output can't be written */
  void run() override;

 private:
  template <class T>
  void runAs();

  ImageModel const* m_from;
  ImageModel const* m_what;
  ImageModel* m_output;
};

}  // namespace pxl::morphology
