// Steps of one run: who runs them, one progress and one cancel.
#include <atomic>
#include <set>
#include <thread>

#include "pxl/Exception.h"
#include "pxl/Runnable.h"
#include "support/Compositions.h"

namespace elements_test {
namespace {

using pxl::instrument::Recorder;
using Names = std::set<std::string>;

class CompositionSteps : public ElementTest {
 protected:
  std::shared_ptr<pxl::Image> input = pxl::Image::New(pxl::cUnsignedInteger8, {40, 30, 6, 1, 1});
  std::shared_ptr<pxl::Image> output = pxl::Image::New(pxl::cUnsignedInteger8, {40, 30, 6, 1, 1});

  std::unique_ptr<ElementMorphology> make(Way const& way, char const* element, bool isInPlace = false) const {
    return makeAlgorithm(way, StructuringElement::parse(element), input.get(), (isInPlace ? input : output).get());
  }

  /** The operators whose records are asked for in a run, but for the composition's own. */
  Names findOperators(Way const& way, char const* element) const {
    auto const algorithm = make(way, element);
    Recorder const recorder;
    algorithm->execute();
    Names names;
    for (auto const& event : recorder.getTrace("getClassInfo")) names.insert(event.text);
    names.erase(way.name);
    return names;
  }
};

TEST_F(CompositionSteps, AreRunByTheOperatorWhoseElementItIs) {
  struct Case {
    char const *element, *suffix;
  };
  for (Case const& c :
       {Case{"connectivity(4, 2)", "2d"}, Case{"connectivity(8)", "2d"}, Case{"connectivity(6)", "3d"},
        Case{"connectivity(18)", "3d"}, Case{"connectivity(26)", "3d"}, Case{"disk(2)", "Disk2d"},
        Case{"disk(2, fast)", "Disk2d"}, Case{"ball(2)", "Ball3d"}, Case{"ball(2, fast)", "Ball3d"},
        Case{"line(3, 20)", "Line2d"}, Case{"line3d(3, 20, 10)", "Line3d"}, Case{"disk3d(3, 20, 10)", "Disk3d"},
        Case{"box(3, 3)", "Element3d"}, Case{"ellipse(2, 1, 1)", "Element3d"},
        Case{"ellipsoid(2, 1, 1, 1)", "Element3d"}, Case{"mask(1 1)", "Element3d"}}) {
    std::string const dilation = std::string("Dilation") + c.suffix, erosion = std::string("Erosion") + c.suffix;
    EXPECT_EQ(findOperators({"Dilate"}, c.element), Names{dilation}) << c.element;
    EXPECT_EQ(findOperators({"Erode"}, c.element), Names{erosion}) << c.element;
    for (char const* name : {"Open", "Close", "WhiteTopHat", "BlackTopHat"})
      EXPECT_EQ(findOperators({name}, c.element), (Names{dilation, erosion})) << name << ' ' << c.element;
    EXPECT_EQ(findOperators({"Gradient", 0}, c.element), (Names{dilation, erosion})) << c.element;
    EXPECT_EQ(findOperators({"Gradient", 1}, c.element), Names{dilation}) << c.element;
    EXPECT_EQ(findOperators({"Gradient", 2}, c.element), Names{erosion}) << c.element;
  }
}

TEST_F(CompositionSteps, AreLeftTheChoiceOfTheComposition) {
  for (Way const& way : cWays) {
    auto const algorithm = make(way, "mask(1 1 1)");
    algorithm->setRunner("sse41");
    EXPECT_NO_THROW(algorithm->execute()) << way.name;
    algorithm->setRunner("absent");
    try {
      algorithm->execute();
      ADD_FAILURE() << way.name << " takes a runner of another name";
    } catch (pxl::RuntimeError const& error) {
      EXPECT_NE(std::string(error.what()).find("no runner has the name absent; there are sse41"), std::string::npos)
          << error.what();
    }
  }
}

/** Takes dilations with lists while it exists, and notes their elements. */
class SplittingRunner final : public pxl::Runnable {
 public:
  SplittingRunner() { pxl::AlgoInfo::find("DilationElement3d")->addRunner(this); }
  ~SplittingRunner() override { pxl::AlgoInfo::find("DilationElement3d")->removeRunner(this); }

  void run(pxl::BaseAlgorithm* algorithm) const override {
    elements.push_back(dynamic_cast<pxl::morphology::DilationElement3d&>(*algorithm).element.get().toString().str());
  }
  bool isRunnable(pxl::BaseAlgorithm*) const override { return true; }
  int getOptimType() const override { return 1000; }
  bool splitsElements() const override { return isSplitting; }

  bool isSplitting = true;
  mutable std::vector<std::string> elements;
};

// But not those of reals, whose NaN and zeros of both signs it would meet in another order.
TEST_F(CompositionSteps, LeaveBoxesWholeForRunnersThatSplitThem) {
  using Elements = std::vector<std::string>;
  SplittingRunner runner;
  auto const findElements = [&](pxl::VoxelTypes type) {
    runner.elements.clear();
    auto const image = pxl::Image::New(type, {40, 30, 6, 1, 1});
    makeAlgorithm({"Dilate"}, StructuringElement::parse("box(7, 9, 11)"), image.get(), image.get())->execute();
    return runner.elements;
  };
  Elements const lines{"box(7, 1, 1)", "box(1, 9, 1)", "box(1, 1, 11)"};
  EXPECT_EQ(findElements(pxl::cInteger16), Elements{"box(7, 9, 11)"});
  EXPECT_EQ(findElements(pxl::cFloat), lines);
  EXPECT_EQ(findElements(pxl::cDouble), lines);
  runner.isSplitting = false;
  EXPECT_EQ(findElements(pxl::cInteger16), lines);
}

TEST_F(CompositionSteps, AreCountedBeforeTheyAreRun) {
  struct Case {
    Way way;
    char const* element;
    long nbSteps;
  };
  for (Case const& c :
       {Case{{"Dilate"}, "disk(2)", 1}, Case{{"Dilate"}, "disk(0, fast)", 1}, Case{{"Open"}, "ball(2)", 2},
        Case{{"Close"}, "connectivity(4, 0)", 1}, Case{{"WhiteTopHat"}, "ball(2)", 3},
        Case{{"BlackTopHat"}, "ball(2)", 3}, Case{{"Gradient", 0}, "ball(2)", 3}, Case{{"Gradient", 1}, "ball(2)", 2},
        Case{{"Gradient", 2}, "ball(2)", 2},
        // A large box is done as lines, a small one as it is.
        Case{{"Dilate"}, "box(3, 3)", 1}, Case{{"Dilate"}, "box(11, 11)", 2}, Case{{"Open"}, "box(5, 5, 5)", 6},
        Case{{"Dilate"}, "box(1, 21)", 1}}) {
    auto const algorithm = make(c.way, c.element);
    Recorder const recorder;
    algorithm->execute();
    auto const steps = recorder.getTrace("setNumberOfSteps");
    ASSERT_FALSE(steps.empty());
    EXPECT_EQ(steps.front().values.back(), c.nbSteps) << c.way.name << ' ' << c.element;
    long nbChildren = 0;
    for (auto const& event : recorder.getTrace("runChildAlgo")) nbChildren += event.object == steps.front().object;
    EXPECT_EQ(nbChildren, c.nbSteps) << c.way.name << ' ' << c.element;
    EXPECT_EQ(algorithm->getProgress(), 1);
  }
}

/** Counts the steps of the outermost frame that has some. */
struct StepCounter : Recorder {
  StepCounter() { isTracing = false; }
  void onSetNumberOfSteps(void const* frame, unsigned long count) override {
    if (!m_frame) nbSteps = count;
    if (!m_frame) m_frame = frame;
  }
  void onRunChild(void const* parent, void const*) override { nbBegun += parent == m_frame; }

  unsigned long nbSteps = 0;
  unsigned long nbBegun = 0;

 private:
  void const* m_frame = nullptr;
};

TEST_F(CompositionSteps, HaveOneProgress) {
  for (Way const& way : cWays)
    for (char const* element :
         {"ball(2)", "ball(4, fast)", "box(7, 7, 7)", "connectivity(8, 5)", "connectivity(6, 0)"})
      for (bool isInPlace : {false, true}) {
        auto const algorithm = make(way, element, isInPlace);
        StepCounter recorder;
        double last = 0;
        recorder.onWrite = [&](auto const&) {
          double const progress = algorithm->getProgress(), nbSteps = static_cast<double>(recorder.nbSteps);
          EXPECT_GE(progress, last);
          EXPECT_GE(progress, static_cast<double>(recorder.nbBegun - 1) / nbSteps - 1e-12);
          EXPECT_LE(progress, static_cast<double>(recorder.nbBegun) / nbSteps + 1e-12);
          last = progress;
          return true;
        };
        pxl::instrument::withThreads(1, [&] { algorithm->execute(); });
        EXPECT_EQ(algorithm->getProgress(), 1);
        EXPECT_EQ(recorder.nbBegun, recorder.nbSteps) << way.name << ' ' << element;
      }
}

// At each step: the run ends, nothing of a later step is begun, and what is kept for it is gone.
TEST_F(CompositionSteps, AreCancelledTogether) {
  for (Way const& way : cWays)
    for (char const* element : {"ball(2)", "box(7, 7, 7)", "connectivity(8, 0)"})
      for (bool isInPlace : {false, true}) {
        auto const algorithm = make(way, element, isInPlace);
        std::atomic<int> nbWrites{0};
        {
          Recorder recorder;
          recorder.isTracing = false;
          recorder.onWrite = [&](auto const&) { return ++nbWrites > 0; };
          algorithm->execute();
        }
        for (int last = 1; last <= nbWrites; last += std::max(1, nbWrites / 17)) {
          Recorder recorder;
          recorder.isTracing = false;
          int nbSeen = 0;
          recorder.onWrite = [&](auto const&) {
            if (++nbSeen == last) algorithm->cancelExecution();
            return true;
          };
          pxl::instrument::withThreads(1, [&] { EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation); });
          // Rows that were held back are stored all together.
          if (!isInPlace) {
            EXPECT_LE(nbSeen, last + 30 * 6) << way.name << ' ' << element;
          }
          EXPECT_EQ(recorder.nbFrames(), 0);
          EXPECT_EQ(recorder.nbViews(), 0);
          EXPECT_EQ(recorder.nbTemporaries(), 0);
        }
        EXPECT_NO_THROW(algorithm->execute());
      }
}

TEST_F(CompositionSteps, AreCancelledFromAnotherThread) {
  auto const large = pxl::Image::New(pxl::cUnsignedInteger8, {300, 300, 40, 1, 1});
  auto const algorithm = makeAlgorithm({"Open"}, StructuringElement::parse("ball(8)"), large.get(), large.get());
  for (double from : {0.01, 0.55}) {
    std::thread canceller([&] {
      while (algorithm->getProgress() > from) std::this_thread::yield();
      while (algorithm->getProgress() < from) std::this_thread::yield();
      algorithm->cancelExecution();
    });
    EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation);
    canceller.join();
    EXPECT_LT(algorithm->getProgress(), from + 0.4);
  }
}

}  // namespace
}  // namespace elements_test
