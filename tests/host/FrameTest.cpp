#include <gtest/gtest.h>

#include <type_traits>

#include "instrument/Recorder.h"
#include "support/Algorithms.h"
#include "support/Filters.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using pxl::BaseAlgorithm;
using pxl::BaseTbbAlgorithm;
using pxl::access::Region;
using pxl::algorithms::AbstractPrivateImplementation;

using AtomicNumber = std::atomic<unsigned long>;
static_assert(std::is_same_v<decltype(AbstractPrivateImplementation::m_cancelled), std::atomic<bool>>);
static_assert(sizeof(std::atomic<bool>) == 1 && std::atomic<bool>::is_always_lock_free);
static_assert(std::is_same_v<decltype(AbstractPrivateImplementation::m_progress), AtomicNumber>);
static_assert(std::is_same_v<decltype(AbstractPrivateImplementation::m_maxProgress), AtomicNumber>);
static_assert(std::is_same_v<decltype(AbstractPrivateImplementation::m_currentStep), AtomicNumber>);
static_assert(std::is_same_v<decltype(AbstractPrivateImplementation::m_numberOfSteps), AtomicNumber>);
static_assert(sizeof(AtomicNumber) == 8 && AtomicNumber::is_always_lock_free);
static_assert(std::is_same_v<decltype(BaseTbbAlgorithm::m_taskGroupContext), tbb::task_group_context>);
static_assert(std::is_same_v<decltype(BaseTbbAlgorithm::m_processingRegion), Region>);
static_assert(std::is_same_v<decltype(BaseTbbAlgorithm::m_isRegionChosen), bool>);
static_assert(std::is_base_of_v<AbstractPrivateImplementation, BaseTbbAlgorithm>);
static_assert(std::has_virtual_destructor_v<AbstractPrivateImplementation>);
static_assert(!std::is_abstract_v<AbstractPrivateImplementation> && !std::is_abstract_v<BaseTbbAlgorithm>);
static_assert(!std::is_copy_constructible_v<AbstractPrivateImplementation>);
static_assert(std::is_polymorphic_v<BaseAlgorithm> && std::has_virtual_destructor_v<BaseAlgorithm>);

template <class A, class B>
bool isBefore(A const& a, B const& b) {
  return reinterpret_cast<char const*>(&a) < reinterpret_cast<char const*>(&b);
}

TEST(Frame, HasItsFieldsInOrder) {
  AbstractPrivateImplementation const frame(nullptr);
  EXPECT_TRUE(isBefore(frame.m_cancelled, frame.m_progress));
  EXPECT_TRUE(isBefore(frame.m_progress, frame.m_maxProgress));
  EXPECT_TRUE(isBefore(frame.m_maxProgress, frame.m_currentStep));
  EXPECT_TRUE(isBefore(frame.m_currentStep, frame.m_numberOfSteps));
  BaseTbbAlgorithm const filter(nullptr);
  EXPECT_TRUE(isBefore(filter.m_numberOfSteps, filter.m_taskGroupContext));
  EXPECT_TRUE(isBefore(filter.m_taskGroupContext, filter.m_processingRegion));
  EXPECT_TRUE(isBefore(filter.m_processingRegion, filter.m_isRegionChosen));
}

// The operations are called by their slots: both destructors, then these in their order.
TEST(Frame, HasItsVirtualOperationsInOrder) {
  struct Probe : BaseTbbAlgorithm {
    using BaseTbbAlgorithm::BaseTbbAlgorithm;
    void cancelExecution() override { last = 2; }
    void run() override { last = 3; }
    void* getBody() override {
      last = 4;
      return nullptr;
    }
    int last = 0;
  } probe(nullptr);
  using Slot = void (*)(void*);
  BaseTbbAlgorithm* const frame = &probe;
  Slot const* const slots = *reinterpret_cast<Slot const* const*>(frame);
  for (int const slot : {2, 3, 4}) {
    slots[slot](frame);
    EXPECT_EQ(probe.last, slot);
  }
}

TEST(Frame, MayStandByItselfAndThenDoesNothing) {
  AbstractPrivateImplementation frame(nullptr);
  EXPECT_EQ(frame.getPublicInterface(), nullptr);
  EXPECT_FALSE(frame.m_cancelled);
  frame.run();
  EXPECT_EQ(frame.m_progress, 0u);
  BaseTbbAlgorithm filter(nullptr);
  filter.run();
  EXPECT_FALSE(filter.m_taskGroupContext.is_group_execution_cancelled());
  EXPECT_EQ(filter.getBody(), nullptr);
}

TEST(Frame, KnowsItsPublicAlgorithm) {
  VolumeOperator algorithm;
  EXPECT_EQ(AbstractPrivateImplementation(&algorithm).getPublicInterface(), &algorithm);
  EXPECT_EQ(BaseTbbAlgorithm(&algorithm).getPublicInterface(), &algorithm);
}

TEST(Frame, StoresStepsAndProgressFromTheirBeginning) {
  AbstractPrivateImplementation frame(nullptr);
  frame.m_currentStep = 17;
  frame.m_numberOfSteps = 17;
  frame.m_progress = 99;
  frame.setNumberOfSteps(1UL << 40);
  EXPECT_EQ(frame.m_numberOfSteps, 1UL << 40);
  EXPECT_EQ(frame.m_currentStep, 1u);
  EXPECT_EQ(frame.m_progress, 99u);
  frame.setMaxProgress(1UL << 41);
  EXPECT_EQ(frame.m_maxProgress, 1UL << 41);
  EXPECT_EQ(frame.m_progress, 0u);
  EXPECT_EQ(frame.m_currentStep, 1u);
}

TEST(Frame, CopiesTheRegionItIsGivenWithoutCountingItAsChosen) {
  BaseTbbAlgorithm filter(nullptr);
  {
    Region const region(1, 2, 3, 5, 7, 11, 13, 17, 19, 23);
    filter.setProcessingRegion(region);
  }
  EXPECT_EQ(filter.m_processingRegion.colsBegin(), 3);
  EXPECT_EQ(filter.m_processingRegion.spectralSeriesEnd(), 23);
  EXPECT_FALSE(filter.m_isRegionChosen);
}

TEST(Frame, CancelRaisesTheFlagAndStopsTheGroup) {
  AbstractPrivateImplementation frame(nullptr);
  frame.cancelExecution();
  EXPECT_TRUE(frame.m_cancelled);
  CountingFilter filter(nullptr, 1000);
  filter.cancelExecution();
  EXPECT_TRUE(filter.m_cancelled);
  EXPECT_TRUE(filter.m_taskGroupContext.is_group_execution_cancelled());
  EXPECT_THROW(filter.run(), pxl::ExceptionCancelation);
  EXPECT_EQ(filter.nbBodies, 0);
}

TEST(Child, RunsWithThePublicAlgorithmOfItsParent) {
  VolumeOperator algorithm, another;
  Stage parent(&algorithm);
  Stage child(nullptr, [&](Stage& self) { EXPECT_EQ(self.getPublicInterface(), &algorithm); });
  EXPECT_EQ(child.getPublicInterface(), nullptr);
  parent.runChildAlgo(&child);
  EXPECT_EQ(child.getPublicInterface(), &algorithm);
  Stage own(&another);
  parent.runChildAlgo(&own);
  EXPECT_EQ(own.getPublicInterface(), &another);
  // It goes on from child to grandchild.
  Stage grandchild(nullptr);
  Stage middle(nullptr, [&](Stage& self) { self.runChildAlgo(&grandchild); });
  parent.runChildAlgo(&middle);
  EXPECT_EQ(grandchild.getPublicInterface(), &algorithm);
}

TEST(Child, AdvancesTheStepOnlyWhenItSucceeds) {
  Stage parent(nullptr);
  parent.setNumberOfSteps(3);
  Stage good(nullptr, [&](Stage&) { EXPECT_EQ(parent.m_currentStep, 1u); });
  parent.runChildAlgo(&good);
  EXPECT_EQ(parent.m_currentStep, 2u);
  Stage bad(nullptr, [](Stage&) { throw 5; });
  EXPECT_THROW(parent.runChildAlgo(&bad), int);
  EXPECT_EQ(parent.m_currentStep, 2u);
  EXPECT_EQ(parent.m_numberOfSteps, 3u);
}

TEST(Child, ThrowsThroughUnchanged) {
  Stage parent(nullptr);
  Stage broken(nullptr, [](Stage&) {
    pxl::Exception::ExceptionInfo info;
    info.message = "own text";
    info.line = 77;
    throw pxl::UnexpectedError(info);
  });
  try {
    parent.runChildAlgo(&broken);
    ADD_FAILURE();
  } catch (pxl::UnexpectedError const& error) {
    EXPECT_STREQ(error.what(), "own text");
    EXPECT_EQ(error.getExceptionInfo().line, 77);
  }
  Stage cancelled(nullptr, [](Stage&) { throw pxl::ExceptionCancelation(); });
  EXPECT_THROW(parent.runChildAlgo(&cancelled), pxl::ExceptionCancelation);
  EXPECT_FALSE(parent.m_cancelled);
  // A worker's exception keeps its type, too.
  CountingFilter filter(nullptr, 100, [](long i) {
    if (i == 50) throw std::range_error("from a worker");
  });
  EXPECT_THROW(parent.runChildAlgo(&filter), std::range_error);
}

TEST(Frame, IsWatchedFromItsFirstToItsLastMoment) {
  pxl::instrument::Recorder recorder;
  {
    Stage const parent(nullptr);
    CountingFilter const filter(nullptr, 1);
    EXPECT_EQ(recorder.nbFrames(), 2);
  }
  EXPECT_EQ(recorder.nbFrames(), 0);
}

}  // namespace
