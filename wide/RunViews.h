#pragma once

#include <memory>
#include <vector>

#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"
#include "pxl/String.h"

namespace pxl::wide {

/** Why a run can't be taken whatever is done with its images, for users; empty if it can. */
String explainImages(BaseAlgorithm const& algorithm, std::vector<ImageModel const*> const& images);

/** Views on the images of a run: they take part in what is asked of images, and in the cancelling of the run. */
class RunViews {
 public:
  /** The images have one voxel type. Errors as those of access::View::New(). */
  RunViews(std::vector<ImageModel const*> const& inputs, ImageModel* output);

  /** Asks whether the run goes on. By any thread. @throws ExceptionCancelation it was cancelled */
  void check() const { m_check(m_views.front().get()); }

 private:
  friend struct ViewOpening;

  std::vector<std::shared_ptr<void const>> m_views;
  void (*m_check)(void const* view) = nullptr;
};

}  // namespace pxl::wide
