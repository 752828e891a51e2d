// What a run says of its progress is what it has done: each voxel of each of its steps once, by either runner.
#include <mutex>
#include <set>

#include "host/support/PluginLoading.h"
#include "instrument/Probe.h"
#include "instrument/Threads.h"
#include "operators/support/EveryOperator.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"

namespace operators_test {
namespace {

/** The voxels that frames had done when they ended, of those that they had announced. */
class EndsOfFrames : public pxl::instrument::Probe {
 public:
  struct End {
    unsigned long done;
    unsigned long announced;
  };

  EndsOfFrames() { pxl::instrument::setProbe(this); }
  ~EndsOfFrames() override { pxl::instrument::setProbe(nullptr); }

  void onSetMaxProgress(void const* frame, unsigned long) override {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_announcing.insert(frame);
  }
  void onFrameDelete(void const* frame) override {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_announcing.erase(frame) == 0) return;
    auto const* const ended = static_cast<pxl::algorithms::AbstractPrivateImplementation const*>(frame);
    ends.push_back({ended->m_progress, ended->m_maxProgress});
  }

  std::vector<End> ends;

 private:
  std::mutex m_mutex;
  std::set<void const*> m_announcing;
};

class ProgressOfRuns : public EveryOperator {
 protected:
  static void SetUpTestSuite() {
    EveryOperator::SetUpTestSuite();
    host_test::loadPlugin(shipped::getWide());
  }
  static void TearDownTestSuite() { pxl::plugins::unload(shipped::getWide()); }
};
PXLWORKS_FOR_EVERY_OPERATOR(ProgressOfRuns);

TEST_P(ProgressOfRuns, IsEachVoxelOnce) {
  // Bands and strips of several tiles, and rows so short that several steps are announced together.
  // The planar FIR filter filters the first plan of each volume, and announces them all.
  bool const isOfFirstPlan = GetParam() == std::string("FiniteImpulseResponseFilter2D");
  for (pxl::ImageSizes const& sizes :
       {pxl::ImageSizes{21, 13, 5, 2, 2}, pxl::ImageSizes{7, 900, 3, 1, 1}, pxl::ImageSizes{900, 70, 1, 1, 1}})
    for (char const* runner : {"sse41", "wide"})
      for (int nbThreads : {1, 4}) {
        auto const run = makeRun({sizes[0], sizes[1], isOfFirstPlan ? 1 : sizes[2], sizes[3], sizes[4]});
        run.algorithm->setRunner(runner);
        EndsOfFrames ended;
        pxl::instrument::withThreads(nbThreads, [&run] { run.algorithm->execute(); });
        EXPECT_FALSE(ended.ends.empty()) << runner;
        for (auto const& [done, announced] : ended.ends) EXPECT_EQ(done, announced) << runner;
      }
}

}  // namespace
}  // namespace operators_test
