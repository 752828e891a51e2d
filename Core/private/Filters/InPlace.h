#pragma once

namespace pxl {

/** Whether a filter from one view to another works in place: both show the same voxels as the same type. */
template <class InputView, class OutputView>
bool isInPlace(InputView const& input, OutputView const& output) {
  return static_cast<void const*>(input.getInterface()) == static_cast<void const*>(output.getInterface());
}

}  // namespace pxl
