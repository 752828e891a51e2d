#include <utility>

#include "support/Runs.h"

namespace morphology_test {
namespace {

constexpr int cFaces = 0, cEdges = 1, cCube = 2;

/** What passes over volumes ask of the host, from the trace of a run on one thread. */
class Morphology3dPasses : public PluginTest {
 protected:
  using Calls = std::vector<std::pair<std::string, std::vector<long>>>;

  Morphology3dPasses() { recorder.grains = {100, 100, 100}; }

  static Way makeWay(int neighborhood, unsigned int nbIterations, bool isInPlace, bool hasTemporary = true) {
    return {Operation::cDilation, neighborhood, nbIterations, isInPlace, hasTemporary ? 1UL << 20 : 0, 3};
  }

  void runAndTrace(Way const& way, Five const& sizes) {
    auto const input = pxl::Image::New(pxl::cUnsignedInteger8, oracle::toHostSizes(sizes));
    auto const output = way.isInPlace ? input : pxl::Image::New(pxl::cUnsignedInteger8, oracle::toHostSizes(sizes));
    auto const algorithm = makeAlgorithm(way, input.get(), output.get());
    recorder.clear();
    withThreads(1, [&] { algorithm->execute(); });
    EXPECT_EQ(algorithm->getProgress(), 1);
  }

  // The rows read and written, up to the first row that a flush stores.
  Calls getCalls() const {
    Calls calls;
    for (auto const& event : recorder.getTrace())
      if (event.name == "readRowAt" || event.name == "writeRowAt")
        calls.emplace_back(event.name, event.values);
      else if (event.name == "writeAllTemporizedRows")
        break;
    return calls;
  }

  static void addReads(Calls& calls, Five const& sizes, long plan) {
    for (long row = -1; row <= sizes[1]; ++row)
      calls.emplace_back("readRowAt", std::vector<long>{sizes[0] + 2, -1, row, plan, 0, 0});
  }
  static void addWrite(Calls& calls, Five const& sizes, long row, long plan) {
    calls.emplace_back("writeRowAt", std::vector<long>{sizes[0], 0, row, plan, 0, 0});
  }

  void expectCaches(char const* operation, unsigned long count, long nbSlots) const {
    auto const trace = recorder.getTrace(operation);
    EXPECT_EQ(trace.size(), count) << operation;
    for (auto const& event : trace) EXPECT_EQ(event.values, std::vector<long>{nbSlots}) << operation;
  }

  pxl::instrument::Recorder recorder;
};

// Nothing of a plan is written before the plan after it is read, and each plan is read once.
TEST_F(Morphology3dPasses, OfTheCubeWriteAWholePlanBetweenTwoReads) {
  for (Five const& sizes : {Five{7, 4, 5, 1, 1}, {7, 4, 1, 1, 1}, {3, 1, 3, 1, 1}, {1, 1, 1, 1, 1}})
    for (bool isInPlace : {false, true}) {
      Calls expected;
      addReads(expected, sizes, -1);
      addReads(expected, sizes, 0);
      for (long plan = 0; plan < sizes[2]; ++plan) {
        addReads(expected, sizes, plan + 1);
        for (long row = 0; row < sizes[1]; ++row) addWrite(expected, sizes, row, plan);
      }
      ASSERT_EQ(expected.size(), static_cast<unsigned long>((sizes[2] + 2) * (sizes[1] + 2) + sizes[1] * sizes[2]));
      runAndTrace(makeWay(cCube, 1, isInPlace), sizes);
      EXPECT_EQ(getCalls(), expected) << sizes[2] << " plans" << (isInPlace ? " in place" : "");
      EXPECT_EQ(recorder.count("temporizeRowWriting"), 0u) << "a block has no neighbours";
    }
}

// Row by row, and the next plan is there before the last row of a plan is written.
TEST_F(Morphology3dPasses, OfFacesAndEdgesReadTheNextPlanBeforeTheLastRowIsWritten) {
  for (int neighborhood : {cFaces, cEdges})
    for (Five const& sizes : {Five{7, 4, 5, 1, 1}, {7, 4, 1, 1, 1}, {3, 1, 3, 1, 1}})
      for (bool isInPlace : {false, true}) {
        Calls expected;
        for (long plan : {-1, 0, 1}) addReads(expected, sizes, plan);
        for (long plan = 0; plan < sizes[2]; ++plan)
          for (long row = 0; row < sizes[1]; ++row) {
            if (row + 1 == sizes[1] && plan + 1 < sizes[2]) addReads(expected, sizes, plan + 2);
            addWrite(expected, sizes, row, plan);
          }
        runAndTrace(makeWay(neighborhood, 1, isInPlace), sizes);
        EXPECT_EQ(getCalls(), expected) << sizes[2] << " plans" << (isInPlace ? " in place" : "");
      }
}

TEST_F(Morphology3dPasses, InPlaceHoldBackOneVoxelTowardsEachNeighbour) {
  Five const sizes{8, 8, 4, 1, 1};
  for (int neighborhood : {cFaces, cEdges, cCube})
    for (std::array<long, 3> const& block :
         {std::array<long, 3>{4, 4, 2}, {2, 4, 4}, {4, 2, 1}, {2, 2, 2}, {1, 1, 1}, {8, 4, 4}, {8, 8, 2}}) {
      recorder.grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{static_cast<unsigned long>(block[0]),
                                                                              static_cast<unsigned long>(block[1]),
                                                                              static_cast<unsigned long>(block[2])};
      runAndTrace(makeWay(neighborhood, 1, true), sizes);
      oracle::Image<int> heldBack(sizes), written(sizes);
      bool isFlushed = false;
      for (auto const& event : recorder.getTrace()) {
        isFlushed = isFlushed || event.name == "writeAllTemporizedRows";
        bool const isHeldBack = event.name == "temporizeRowWriting";
        if (isFlushed || (!isHeldBack && event.name != "writeRowAt")) continue;
        for (long i = 0; i < event.values[0]; ++i)
          ++(isHeldBack ? heldBack : written).at({event.values[1] + i, event.values[2], event.values[3], 0, 0});
      }
      EXPECT_TRUE(isFlushed);
      oracle::forEachPosition(sizes, [&](Five const& p) {
        bool isFacing = false;
        for (unsigned long d = 0; d < 3; ++d)
          isFacing =
              isFacing || (p[d] % block[d] == 0 && p[d] > 0) || ((p[d] + 1) % block[d] == 0 && p[d] + 1 < sizes[d]);
        // Blocks narrower than their margins keep some voxels twice.
        ASSERT_EQ(heldBack.at(p) > 0, isFacing) << p[0] << ", " << p[1] << ", " << p[2];
        ASSERT_EQ(written.at(p), isFacing ? 0 : 1) << p[0] << ", " << p[1] << ", " << p[2];
      });
    }
}

TEST_F(Morphology3dPasses, BetweenTwoImagesHoldBackNothing) {
  recorder.grains = {2, 2, 2};
  for (int neighborhood : {cFaces, cEdges, cCube}) {
    runAndTrace(makeWay(neighborhood, 2, false), {8, 8, 4, 1, 1});
    EXPECT_EQ(recorder.count("temporizeRowWriting"), 0u);
  }
}

TEST_F(Morphology3dPasses, OfTheCubeMakeOneCacheOfEachKindForEachThreadAndPass) {
  recorder.grains = {2, 2, 2};
  for (bool isInPlace : {false, true}) {
    runAndTrace(makeWay(cCube, 3, isInPlace), {8, 8, 4, 1, 1});
    expectCaches("createPlanCacheRead", 3, 3);
    expectCaches("createPlanCacheReadWrite", 3, 1);
    EXPECT_EQ(recorder.count("createRowCacheRead") + recorder.count("createRowCacheReadWrite"), 0u);
  }
}

TEST_F(Morphology3dPasses, OfFacesAndEdgesMakeOneCacheOfPlansForEachBlock) {
  recorder.grains = {4, 2, 2};
  for (int neighborhood : {cFaces, cEdges}) {
    runAndTrace(makeWay(neighborhood, 3, false), {8, 8, 4, 1, 1});
    unsigned long const nbBlocks = 2 * 4 * 2;
    expectCaches("createPlanCacheRead", 3 * nbBlocks, 3);
    EXPECT_EQ(recorder.count("createPlanCacheReadWrite"), 0u);
    EXPECT_EQ(recorder.count("createRowCacheRead"), 0u);
  }
}

TEST_F(Morphology3dPasses, DeclareTheirWorkAndReachIt) {
  recorder.grains = {3, 2, 2};
  for (int neighborhood : {cFaces, cEdges, cCube}) {
    runAndTrace(makeWay(neighborhood, 3, false), {5, 4, 3, 2, 1});
    ASSERT_EQ(recorder.count("setMaxProgress"), 1u);
    EXPECT_EQ(recorder.getTrace("setMaxProgress")[0].values, (std::vector<long>{3 * 5 * 4 * 3 * 2}));
  }
}

TEST_F(Morphology3dPasses, OfAVolumeAreDoneBeforeTheNextVolumeBegins) {
  for (int neighborhood : {cFaces, cEdges, cCube}) {
    runAndTrace(makeWay(neighborhood, 2, false), {4, 1, 2, 2, 2});
    // A volume is written twice, plan by plan: to the temporary and to the output.
    std::vector<std::array<long, 3>> plans, expected;
    for (auto const& event : recorder.getTrace("writeRowAt"))
      plans.push_back({event.values[3], event.values[4], event.values[5]});
    for (long spectral : {0, 1})
      for (long sequence : {0, 1})
        for (int pass = 0; pass < 2; ++pass)
          for (long plan : {0, 1}) expected.push_back({plan, sequence, spectral});
    EXPECT_EQ(plans, expected);
    EXPECT_EQ(recorder.count("TemporaryImage::New"), 1u);
  }
}

}  // namespace
}  // namespace morphology_test
