#pragma once

#include "pxl/BaseTbbAlgorithm.h"

namespace pxl {
class ImageModel;
}

namespace pxl::morphology {

/**
 * A step of a composition: copies an image, or writes its difference to another image of the same type. Differences
 * below 0 become 0. A difference of integers is written with the bits of the unsigned type of the same width, which
 * is the output's type or has its size. The output may be either image.
 */
class RowDifference final : public BaseTbbAlgorithm {
 public:
  /** `what` may be null. */
  RowDifference(ImageModel const* from, ImageModel const* what, ImageModel* output);
  ~RowDifference() override;

  /**
   * @throws ExceptionCancelation the run was cancelled
   * @throws UnexpectedError      the output can't be written
   */
  void run() override;

 private:
  template <class T>
  void runAs();

  ImageModel const* m_from;
  ImageModel const* m_what;
  ImageModel* m_output;
};

}  // namespace pxl::morphology
