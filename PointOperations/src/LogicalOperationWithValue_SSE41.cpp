#include "Core/private/Filters/ImageToImageFilter.h"
#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "PointOperations/src/LogicalOperationWithValueSimdGeneric.h"
#include "PointOperations/src/LogicalOperators.h"
#include "PointOperations/src/LogicalRules.h"

namespace pxl::point_operations {

struct LogicalOperationWithValueScalarDispatcher {
  template <class T>
  static void run(LogicalOperationWithValue* algorithm) {
    dispatchOnLogicalOperator<T, LogicalOperationWithValueScalarDispatcher>(
        algorithm, "PointOperations/src/LogicalOperationWithValue_SSE41");
  }

  template <class T, class OperatorTag>
  static void runInternal(LogicalOperationWithValue* algorithm) {
    using Functor = LogicalOperationWithValueSimdGeneric<OperatorTag>;
    using Border = access::FixedBorderCondition<T>;
    Functor functor{algorithm->value.get()};
    // The voxels of a binary image are 0 and 1, so the value becomes 0 or 1, too.
    if (algorithm->inputImage.get()->getInterpretation() == cBinary && functor.value != 0) functor.value = 1;
    ImageToImageFilter3d<T, T, SimdVec::arch_128_tag, Functor> filter(algorithm, &functor);
    filter.setInput(algorithm->inputImage, Border::New(0));
    filter.setOutput(algorithm->outputImage, Border::New(0));
    filter.run();
  }
};

PXL_LOGICAL_RUNNER(SSE41LogicalOperationWithValueRunner, LogicalOperationWithValue,
                   LogicalOperationWithValueScalarDispatcher)
PXL_REGISTER_RUNNER(LogicalOperationWithValue, SSE41LogicalOperationWithValueRunner)

}  // namespace pxl::point_operations
