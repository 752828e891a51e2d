// A cancel stops a run where the next row is fetched, however large its blocks are.
#include "instrument/Recorder.h"
#include "instrument/Threads.h"
#include "operators/support/EveryOperator.h"
#include "pxl/Exception.h"

namespace operators_test {
namespace {

class RowCancel : public EveryOperator {};
PXLWORKS_FOR_EVERY_OPERATOR(RowCancel);

TEST_P(RowCancel, StopsBeforeTheNextRowIsRead) {
  pxl::instrument::withThreads(1, [] {
    auto const run = makeRun({20, 40, 3, 1, 1});
    pxl::instrument::Recorder recorder;
    recorder.isTracing = false;
    recorder.grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{1 << 20, 1 << 20, 1 << 20};
    int nbReads = 0;
    recorder.onRead = [&](pxl::instrument::Event const&) {
      if (++nbReads == 7) run.algorithm->cancelExecution();
    };
    EXPECT_THROW(run.algorithm->execute(), pxl::ExceptionCancelation);
    EXPECT_EQ(nbReads, 7);
    // The next run isn't affected.
    nbReads = 100;
    EXPECT_NO_THROW(run.algorithm->execute());
    EXPECT_GT(nbReads, 107);
  });
}

// A volume operator fetches whole plans and computes many rows from them: what it writes counts, too.
TEST_P(RowCancel, StopsBeforeTheNextRowIsWritten) {
  pxl::instrument::withThreads(1, [] {
    auto const run = makeRun({20, 40, 3, 1, 1});
    if (!run.output) return;
    pxl::instrument::Recorder recorder;
    recorder.isTracing = false;
    recorder.grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{1 << 20, 1 << 20, 1 << 20};
    int nbWrites = 0;
    recorder.onWrite = [&](pxl::instrument::Event const&) {
      if (++nbWrites == 7) run.algorithm->cancelExecution();
      return true;
    };
    EXPECT_THROW(run.algorithm->execute(), pxl::ExceptionCancelation);
    EXPECT_EQ(nbWrites, 7);
  });
}

}  // namespace
}  // namespace operators_test
