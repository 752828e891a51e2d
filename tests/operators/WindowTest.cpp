// A run on a window computes that part of the whole result, whatever the window, the images and the memory.
#include <fstream>

#include "host/support/Algorithms.h"
#include "host/support/Folder.h"
#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
#include "instrument/Threads.h"
#include "operators/support/RandomRuns.h"
#include "pxl/Exception.h"
#include "pxl/ImageModelAdapter.h"
#include "pxl/io/TemporaryImage.h"

namespace operators_test {
namespace {

using pxl::access::Region;

void setInput(pxl::BaseAlgorithm& algorithm, pxl::ImageModel const* image) {
  dynamic_cast<pxl::Property<pxl::ImageModel const*>&>(*algorithm.getProperties().front()).set(image);
}
void setOutput(pxl::BaseAlgorithm& algorithm, pxl::ImageModel* image) {
  setProperty(algorithm, "outputImage", image);
}

// Of real types only the shape: extrema of images with NaN depend on how the image was cut.
void expectSame(pxl::analysis::Measure const& actual, pxl::analysis::Measure const& expected, bool isReal,
                std::string const& description) {
  auto const entries = actual.getEntries(), expectedEntries = expected.getEntries();
  ASSERT_EQ(entries.size(), expectedEntries.size()) << description;
  for (unsigned long i = 0; i < entries.size(); ++i) {
    pxl::analysis::MeasureArray const &cells = *entries[i].array, &others = *expectedEntries[i].array;
    for (unsigned int d = 0; d < 3; ++d) ASSERT_EQ(cells.getSize(d), others.getSize(d)) << description;
    for (unsigned long c = 0; c < cells.getSize(0) * cells.getSize(1) * cells.getSize(2) && !isReal; ++c)
      ASSERT_EQ(cells.values[c], others.values[c]) << entries[i].name << ' ' << description;
  }
}

class OnWindow : public EveryOperator {};
PXLWORKS_FOR_EVERY_OPERATOR(OnWindow);

/** What random windows are run on. */
struct Case {
  pxl::VoxelTypes type;
  pxl::VoxelTypes outputType;
  oracle::Five sizes;
  bool isInPlace;
  bool isOutputWhole;
  bool isOnDisk;
  unsigned long extraMemory;

  Case(std::string const& name, oracle::Random& random)
      : type(cAllTypes[random.number(0, 7)]),
        sizes{random.number(1, 24), random.number(1, 12), random.number(1, 6), random.number(1, 2),
              random.number(1, 2)},
        isInPlace(random.number(0, 3) == 0),
        isOutputWhole(isInPlace || random.number(0, 1) == 0),
        isOnDisk(random.number(0, 9) == 0) {
    while (!takesType(name, type)) type = cAllTypes[random.number(0, 7)];
    bool const isConverting = name.compare(0, 6, "Finite") == 0 || name == "Dilation2d" || name == "Erosion2d" ||
                              name == "Dilation3d" || name == "Erosion3d";
    outputType = pxl::AlgoInfo::find(name.c_str())->create()->getNaturalOutputType(type);
    isInPlace = isInPlace && outputType == type;
    if (isConverting && !isInPlace) outputType = cAllTypes[random.number(0, 7)];
    long const nbVoxels = sizes[0] * sizes[1] * sizes[2] * sizes[3] * sizes[4];
    extraMemory = static_cast<unsigned long>(random.number(0, 16) * nbVoxels);
    if (random.number(0, 3) == 0) extraMemory = 1UL << 62;
    // On disk the passes of a whole always have a temporary image.
    if (isOnDisk) extraMemory = 1UL << 62;
  }
};

Bytes makeExpected(Bytes const& whole, Bytes const& before, pxl::Image const& image, Box const& box) {
  unsigned long const voxelBytes = pxl::helper::getSizeOf(image.getVoxelType());
  Bytes expected = before;
  unsigned long i = 0;
  oracle::forEachPosition(getSizes(image), [&](oracle::Five const& p) {
    bool isInside = true;
    for (std::size_t d = 0; d < 5; ++d) isInside = isInside && p[d] >= box.begin[d] && p[d] < box.end[d];
    if (isInside) std::memcpy(&expected[i], &whole[i], voxelBytes);
    i += voxelBytes;
  });
  return expected;
}

/** An image on disk with the voxels of `image`. */
std::shared_ptr<pxl::Image> putOnDisk(pxl::Image const& image, std::string const& path) {
  Bytes const bytes = takeAll(image);
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return pxl::Image::OnDisk(path, pxl::FileModes::cReadWrite, image.getVoxelType(), image.getSizes());
}

TEST_P(OnWindow, HasTheBitsOfTheWhole) {
  constexpr int cNbWindows = 2000 / 19 + 1;
  host_test::Folder const folder;
  for (int round = 0; round < cNbWindows; ++round) {
    unsigned long const seed = 40000 + static_cast<unsigned long>(round);
    oracle::Random random(seed);
    Case const test(GetParam(), random);
    ReadyRun run = makeRun(toHostSizes(test.sizes), test.type);
    chooseProperties(*run.algorithm, random);
    run.algorithm->setMaximumExtraMemoryUsageInBytes(test.extraMemory);
    for (auto const& input : run.inputs) fill(*input, random);
    Box const box = makeBox(random, test.sizes);
    std::string const description = "seed " + std::to_string(seed) + ", window " + box.toString() + "of " +
                                    wholeOf(*run.inputs.front()).toString() + pxl::helper::getNameOf(test.type) +
                                    " to " + pxl::helper::getNameOf(test.outputType);
    if (!run.output) {
      ReadyRun const part = makeAlike(*run.algorithm, sizesOf(box), test.type);
      put(*part.inputs.front(), take(*run.inputs.front(), box));
      part.algorithm->execute();
      run.algorithm->executeOnWindow(box.toRegion());
      bool const isReal = test.type == pxl::cFloat || test.type == pxl::cDouble;
      for (unsigned long m = 0; m < run.measures.size(); ++m)
        expectSame(*run.measures[m], *part.measures[m], isReal, description);
      continue;
    }
    run.output = pxl::Image::New(test.outputType, toHostSizes(test.sizes));
    fill(*run.output, random);
    std::shared_ptr<pxl::Image> input = run.inputs.front();
    if (test.isInPlace) run.output = input;
    if (test.isOnDisk) {
      input = putOnDisk(*input, folder / "input");
      setInput(*run.algorithm, input.get());
      run.output = test.isInPlace ? input : putOnDisk(*run.output, folder / "output");
    } else if (test.isInPlace) {
      setInput(*run.algorithm, input.get());
    }
    Bytes const before = takeAll(*run.output);

    ReadyRun whole = makeAlike(*run.algorithm, toHostSizes(test.sizes), test.type);
    whole.algorithm->setMaximumExtraMemoryUsageInBytes(test.extraMemory);
    for (std::size_t n = 0; n < whole.inputs.size(); ++n)
      put(*whole.inputs[n], takeAll(n == 0 ? *input : *run.inputs[n]));
    whole.output = pxl::Image::New(test.outputType, toHostSizes(test.sizes));
    put(*whole.output, before);
    setOutput(*whole.algorithm, whole.output.get());
    whole.algorithm->execute();

    if (test.isOutputWhole) {
      setOutput(*run.algorithm, run.output.get());
      run.algorithm->executeOnWindow(box.toRegion());
      ASSERT_EQ(takeAll(*run.output), makeExpected(takeAll(*whole.output), before, *run.output, box)) << description;
    } else {
      auto const window = pxl::Image::New(test.outputType, sizesOf(box));
      put(*window, take(*run.output, box));
      setOutput(*run.algorithm, window.get());
      run.algorithm->executeOnWindow(box.toRegion());
      ASSERT_EQ(takeAll(*window), take(*whole.output, box)) << description;
      run.output = window;
    }
    // The properties are what they were.
    EXPECT_EQ(dynamic_cast<pxl::Property<pxl::ImageModel*>&>(*run.algorithm->findProperty("outputImage")).get(),
              run.output.get());
    EXPECT_FALSE(run.algorithm->hasProcessingRegion());
    EXPECT_EQ(run.algorithm->getMaximumExtraMemoryUsageInBytes(), test.extraMemory);
  }
}

std::string refuse(pxl::BaseAlgorithm& algorithm, Region const& window) {
  try {
    algorithm.executeOnWindow(window);
  } catch (pxl::InvalidCall const& refusal) {
    return refusal.what();
  }
  return "nothing";
}

TEST_P(OnWindow, RefusesWhatIsNoWindow) {
  ReadyRun const run = makeRun({6, 5, 4, 1, 1});
  pxl::BaseAlgorithm& algorithm = *run.algorithm;
  std::string const name = GetParam() + ": ";
  EXPECT_EQ(refuse(algorithm, Region(2, 2, 0, 6, 0, 4, 0, 1, 0, 1)), name + "the window is empty");
  EXPECT_EQ(refuse(algorithm, Region(3, 2, 0, 6, 0, 4, 0, 1, 0, 1)), name + "the window is empty");
  EXPECT_EQ(refuse(algorithm, Region()), name + "the window is empty");
  std::string const beyond = name + "the window reaches beyond the images";
  EXPECT_EQ(refuse(algorithm, Region(0, 5, 0, 7, 0, 4, 0, 1, 0, 1)), beyond);
  EXPECT_EQ(refuse(algorithm, Region(-1, 5, 0, 6, 0, 4, 0, 1, 0, 1)), beyond);
  EXPECT_EQ(refuse(algorithm, Region(0, 5, 0, 6, 0, 4, 0, 1, 0, 2)), beyond);
  Region const good(0, 2, 0, 3, 0, 1, 0, 1, 0, 1);
  algorithm.setProcessingRegion(good);
  EXPECT_EQ(refuse(algorithm, good), name + "a window can't be combined with a region to process");
  EXPECT_TRUE(algorithm.hasProcessingRegion());
  algorithm.clearProcessingRegion();
  if (!run.output) return;
  auto const other = pxl::Image::New(pxl::cUnsignedInteger16, {3, 2, 2, 1, 1});
  setOutput(algorithm, other.get());
  EXPECT_EQ(refuse(algorithm, good), name + "outputImage has neither the size of the input nor that of the window");
  // A part of the input that the window reads, but isn't: further voxels would be computed from results.
  auto const big = pxl::Image::New(pxl::cUnsignedInteger16, {6, 5, 4, 1, 1});
  pxl::ImageModelSizeProxy shifted(big.get(), 1, 3, 0, 2, 0, 1, 0, 1, 0, 1);
  setInput(algorithm, big.get());
  setOutput(algorithm, &shifted);
  EXPECT_NE(refuse(algorithm, good).find("outputImage overlaps"), std::string::npos);
  auto const constant = pxl::Image::OnMemory(static_cast<void const*>(other->getVoxels()), pxl::cUnsignedInteger16,
                                             {3, 2, 1, 1, 1}, {2, 6, 12, 12, 12});
  setOutput(algorithm, constant.get());
  EXPECT_EQ(refuse(algorithm, good), name + "outputImage is read-only");
  setOutput(algorithm, nullptr);
  EXPECT_EQ(refuse(algorithm, good), name + "outputImage isn't set");
}

// The window of an image may be its own output.
TEST_P(OnWindow, WritesToTheSameWindowOfTheInput) {
  oracle::Random random(7);
  ReadyRun const run = makeRun({9, 8, 4, 1, 1});
  if (!run.output) return;
  for (auto const& input : run.inputs) fill(*input, random);
  setProperty(*run.algorithm, "outputImage", static_cast<pxl::ImageModel*>(run.output.get()));
  put(*run.output, takeAll(*run.inputs.front()));
  run.algorithm->execute();
  Box const box{{2, 1, 0, 0, 0}, {7, 6, 3, 1, 1}};
  Bytes const expected = take(*run.output, box);
  auto& input = *run.inputs.front();
  pxl::ImageModelSizeProxy window(&input, 2, 5, 1, 5, 0, 3, 0, 1, 0, 1);
  setOutput(*run.algorithm, &window);
  run.algorithm->executeOnWindow(box.toRegion());
  EXPECT_EQ(take(input, box), expected);
}

// Also through adapters, which store what is written to them by themselves.
TEST_P(OnWindow, GoesThroughAdapters) {
  oracle::Random random(8);
  // A type that every operator also has for its output.
  ReadyRun const run = makeRun({9, 8, 4, 1, 1}, pxl::cUnsignedInteger32);
  if (!run.output) return;
  for (auto const& input : run.inputs) fill(*input, random);
  put(*run.output, takeAll(*run.inputs.front()));
  run.algorithm->execute();
  Box const box{{2, 1, 0, 0, 0}, {7, 6, 3, 1, 1}};
  Bytes const expected = makeExpected(takeAll(*run.output), takeAll(*run.inputs.front()), *run.output, box);
  auto const real = pxl::Image::New(pxl::cDouble, {9, 8, 4, 1, 1});
  auto const* const voxels = static_cast<unsigned int const*>(run.inputs.front()->getVoxels());
  for (int i = 0; i < 9 * 8 * 4; ++i) static_cast<double*>(real->getVoxels())[i] = voxels[i];
  {
    pxl::ImageModelAdapter const adapter(real.get(), pxl::cUnsignedInteger32, pxl::cRoundAndSaturate);
    setInput(*run.algorithm, adapter.getImageModel());
    setOutput(*run.algorithm, adapter.getImageModel());
    run.algorithm->executeOnWindow(box.toRegion());
  }
  auto const* const wanted = reinterpret_cast<unsigned int const*>(expected.data());
  for (int i = 0; i < 9 * 8 * 4; ++i)
    ASSERT_EQ(static_cast<double*>(real->getVoxels())[i], wanted[i]) << "voxel " << i;
}

TEST_P(OnWindow, StopsInTheRunAndInTheCopy) {
  pxl::instrument::withThreads(1, [] {
    ReadyRun const run = makeRun({20, 40, 5, 1, 1});
    if (!run.output) return;
    Region const window(4, 30, 3, 17, 0, 4, 0, 1, 0, 1);
    pxl::instrument::Recorder recorder;
    recorder.isTracing = false;
    int nbWrites = 0, nbWanted = 1 << 30;
    recorder.onWrite = [&](pxl::instrument::Event const&) {
      if (++nbWrites == nbWanted) run.algorithm->cancelExecution();
      return true;
    };
    run.algorithm->executeOnWindow(window);
    EXPECT_EQ(run.algorithm->getProgress(), 1);
    int const nbAll = nbWrites;
    ASSERT_GT(nbAll, 20);
    for (int nb : {3, nbAll - 2}) {
      nbWrites = 0;
      nbWanted = nb;
      EXPECT_THROW(run.algorithm->executeOnWindow(window), pxl::ExceptionCancelation);
      EXPECT_EQ(nbWrites, nb);
      EXPECT_EQ(recorder.nbTemporaries(), 0);
    }
    nbWanted = 0;
    EXPECT_NO_THROW(run.algorithm->executeOnWindow(window));
  });
}

/** The sizes of the input that a runner gets for a window of 2 x 2 x 2 voxels in an image of 6 x 5 x 4. */
template <pxl::WorkingDimension Dimension>
oracle::Five getSizesInRun() {
  using Operator = host_test::TestOperator<Dimension>;
  oracle::Five sizes{};
  host_test::FakeRunner const runner(Operator::getClassInfo(), [&sizes](pxl::BaseAlgorithm* algorithm) {
    pxl::ImageModel const& input = *dynamic_cast<Operator&>(*algorithm).inputImage.get();
    for (int d = 0; d < 5; ++d)
      sizes[static_cast<std::size_t>(d)] = static_cast<long>(input.getNumOf(static_cast<pxl::Components>(d)));
  });
  auto const input = pxl::Image::New(pxl::cFloat, {6, 5, 4, 1, 1});
  auto const output = pxl::Image::New(pxl::cFloat, {2, 2, 2, 1, 1});
  Operator algorithm;
  algorithm.inputImage = input.get();
  algorithm.outputImage = output.get();
  algorithm.executeOnWindow(Region(2, 4, 2, 4, 1, 3, 0, 1, 0, 1));
  return sizes;
}

TEST(WindowOfOthers, HoldsAllThatAnOperatorMayNeed) {
  EXPECT_EQ(getSizesInRun<pxl::WorkingDimension::cVolume>(), (oracle::Five{6, 5, 4, 1, 1}));
  EXPECT_EQ(getSizesInRun<pxl::WorkingDimension::cPlanByPlan>(), (oracle::Five{6, 5, 2, 1, 1}));
  EXPECT_EQ(getSizesInRun<pxl::WorkingDimension::cVoxelByVoxel>(), (oracle::Five{2, 2, 2, 1, 1}));
}

TEST(WindowMemory, FollowsTheRulesOfTemporaries) {
  pxl::plugins::load(shipped::getPlugin());
  auto const run = makeRun(*pxl::AlgoInfo::find("ErosionLine2d"), {20, 30, 1, 1, 1}, pxl::cUnsignedInteger8);
  Region const window(0, 30, 5, 10, 0, 1, 0, 1, 0, 1);
  auto const getLocation = [&] {
    pxl::instrument::Recorder recorder;
    run.algorithm->executeOnWindow(window);
    auto const made = recorder.getTrace("TemporaryImage::New");
    return made.empty() ? 0L : made.front().values.front();
  };
  // 7 columns with their margins, 30 rows; input and output.
  run.algorithm->setMaximumExtraMemoryUsageInBytes(421 + 2);
  EXPECT_EQ(getLocation(), pxl::io::cInMemory);
  run.algorithm->setMaximumExtraMemoryUsageInBytes(420);
  EXPECT_EQ(getLocation(), pxl::io::cOnDisk);
  {
    pxl::instrument::Recorder recorder;
    recorder.isReserveGranted = false;
    EXPECT_THROW(run.algorithm->executeOnWindow(window), pxl::RuntimeError);
  }
  // A window of whole rows of the image needs none for a line along the columns; nor does a filter with any region.
  Region const rows(3, 9, 0, 20, 0, 1, 0, 1, 0, 1);
  pxl::instrument::Recorder recorder;
  run.algorithm->executeOnWindow(rows);
  auto const fir = makeRun(*pxl::AlgoInfo::find("FiniteImpulseResponseFilter3D"), {20, 30, 4, 1, 1});
  fir.algorithm->executeOnWindow(Region(3, 9, 2, 17, 1, 2, 0, 1, 0, 1));
  EXPECT_EQ(recorder.count("TemporaryImage::New"), 0UL);
}

// With NaN on the way to integers the result of several passes depends on whether they have a temporary image.
TEST(WindowMemory, LetsPassesDecideAsThoseOfTheWhole) {
  pxl::plugins::load(shipped::getPlugin());
  constexpr pxl::ImageSizes cSizes{20, 12, 1, 1, 1};
  Box const box{{5, 0, 0, 0, 0}, {9, 12, 1, 1, 1}};
  Bytes results[2];
  for (unsigned long const extraMemory : {20UL * 12 * 4, 20UL * 12 * 4 + 1}) {
    oracle::Random random(5);
    auto const run = makeRun(*pxl::AlgoInfo::find("Erosion2d"), cSizes, pxl::cFloat);
    setProperty(*run.algorithm, "numberOfIterations", 2U);
    run.algorithm->setMaximumExtraMemoryUsageInBytes(extraMemory);
    auto* const voxels = static_cast<float*>(run.inputs.front()->getVoxels());
    for (int i = 0; i < 240; ++i)
      voxels[i] = random.number(0, 3) == 0 ? std::numeric_limits<float>::quiet_NaN()
                                           : static_cast<float>(random.number(100, 200));
    auto const whole = pxl::Image::New(pxl::cUnsignedInteger8, cSizes);
    setOutput(*run.algorithm, whole.get());
    run.algorithm->execute();
    auto const part = pxl::Image::New(pxl::cUnsignedInteger8, cSizes);
    setOutput(*run.algorithm, part.get());
    run.algorithm->executeOnWindow(box.toRegion());
    EXPECT_EQ(take(*part, box), take(*whole, box));
    results[extraMemory % 2] = take(*whole, box);
  }
  EXPECT_NE(results[0], results[1]) << "the memory plays no part here";
}

}  // namespace
}  // namespace operators_test
