#include "Core/private/Filters/ImageToImageFilter.h"
#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "PointOperations/src/LogicalOperationWithImageSimdGeneric.h"
#include "PointOperations/src/LogicalOperators.h"
#include "PointOperations/src/LogicalRules.h"

namespace pxl::point_operations {

struct LogicalOperationWithImageSSE41Dispatcher {
  template <class T>
  static void run(LogicalOperationWithImage* algorithm) {
    dispatchOnLogicalOperator<T, LogicalOperationWithImageSSE41Dispatcher>(
        algorithm, "PointOperations/src/LogicalOperationWithImage_SSE41");
  }

  template <class T, class OperatorTag>
  static void runInternal(LogicalOperationWithImage* algorithm) {
    using Functor = LogicalOperationWithImageSimdGeneric<OperatorTag>;
    using Border = access::FixedBorderCondition<T>;
    Functor functor;
    ImagePairToImageFilter3d<T, T, T, SimdVec::arch_128_tag, Functor> filter(algorithm, &functor);
    filter.setInput1(algorithm->inputImage1, Border::New(0));
    filter.setInput2(algorithm->inputImage2, Border::New(0));
    filter.setOutput(algorithm->outputImage, Border::New(0));
    filter.run();
  }
};

PXL_LOGICAL_RUNNER(SSE41LogicalOperationWithImageRunner, LogicalOperationWithImage,
                   LogicalOperationWithImageSSE41Dispatcher)
PXL_REGISTER_RUNNER(LogicalOperationWithImage, SSE41LogicalOperationWithImageRunner)

}  // namespace pxl::point_operations
