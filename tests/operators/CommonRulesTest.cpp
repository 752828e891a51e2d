// The rules of every operator, whatever it computes. A new one is covered as soon as it is registered with the host.
#include <array>
#include <cstring>

#include "instrument/Recorder.h"
#include "instrument/Threads.h"
#include "operators/support/EveryOperator.h"
#include "oracle/Oracle.h"
#include "pxl/Exception.h"

namespace operators_test {
namespace {

constexpr pxl::ImageSizes cSizes{21, 13, 5, 2, 2};
constexpr pxl::VoxelTypes cType = pxl::cUnsignedInteger16;
constexpr std::size_t cNbVoxels = 21 * 13 * 5 * 2 * 2;

using Voxels = std::vector<unsigned short>;

void fillRandomly(pxl::Image& image, oracle::Random& random) {
  auto* const voxels = static_cast<unsigned short*>(image.getVoxels());
  for (std::size_t i = 0; i < cNbVoxels; ++i) voxels[i] = random.voxel<unsigned short>();
}

Voxels getVoxels(pxl::Image const& image) {
  auto const* const voxels = static_cast<unsigned short const*>(image.getVoxels());
  return Voxels(voxels, voxels + cNbVoxels);
}

/** All results of a run. */
struct Result {
  Voxels voxels;
  std::vector<double> measured;

  explicit Result(ReadyRun const& run) {
    if (run.output) voxels = getVoxels(*run.output);
    for (auto const& measure : run.measures)
      for (auto const& entry : measure->getEntries())
        for (unsigned long i0 = 0; i0 < entry.array->getSize(0); ++i0)
          for (unsigned long i1 = 0; i1 < entry.array->getSize(1); ++i1)
            for (unsigned long i2 = 0; i2 < entry.array->getSize(2); ++i2)
              measured.push_back(entry.array->getValue(i0, i1, i2));
  }
  friend bool operator==(Result const& a, Result const& b) {
    return a.voxels == b.voxels && a.measured == b.measured;
  }
};

class CommonRules : public EveryOperator {
 protected:
  /** A run on random images, the same each time. */
  static ReadyRun makeFilledRun() {
    oracle::Random random(271828);
    ReadyRun run = makeRun(cSizes, cType);
    for (auto const& input : run.inputs) fillRandomly(*input, random);
    if (run.output) fillRandomly(*run.output, random);
    return run;
  }
};
PXLWORKS_FOR_EVERY_OPERATOR(CommonRules);

TEST_P(CommonRules, GiveAResult) {
  auto const run = makeFilledRun();
  Result const before(run);
  run.algorithm->execute();
  EXPECT_FALSE(Result(run) == before);
  EXPECT_EQ(run.algorithm->getProgress(), 1);
}

TEST_P(CommonRules, GiveTheSameHoweverTheWorkIsCut) {
  auto const whole = makeFilledRun();
  pxl::instrument::withThreads(1, [&whole] { whole.algorithm->execute(); });
  for (auto const& [cols, rows, plans] : {std::array{4UL, 1UL, 1UL}, std::array{5UL, 3UL, 2UL}}) {
    auto const run = makeFilledRun();
    pxl::instrument::Recorder recorder;
    recorder.isTracing = false;
    recorder.grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{cols, rows, plans};
    pxl::instrument::withThreads(4, [&run] { run.algorithm->execute(); });
    EXPECT_TRUE(Result(run) == Result(whole)) << cols;
  }
}

TEST_P(CommonRules, GiveTheSameEachTime) {
  auto const run = makeFilledRun();
  run.algorithm->execute();
  Result const first(run);
  run.algorithm->execute();
  EXPECT_TRUE(Result(run) == first);
}

TEST_P(CommonRules, LeaveTheirInputsAlone) {
  auto const run = makeFilledRun(), untouched = makeFilledRun();
  run.algorithm->execute();
  for (std::size_t i = 0; i < run.inputs.size(); ++i)
    EXPECT_EQ(getVoxels(*run.inputs[i]), getVoxels(*untouched.inputs[i])) << i;
}

TEST_P(CommonRules, GiveTheSameInPlaceOfEachInput) {
  auto const apart = makeFilledRun();
  if (!apart.output) return;
  // Voxels that a run doesn't write must be the same before both.
  for (std::size_t i = 0; i < apart.inputs.size(); ++i) {
    std::memcpy(apart.output->getVoxels(), apart.inputs[i]->getVoxels(), cNbVoxels * sizeof(unsigned short));
    apart.algorithm->execute();
    for (unsigned long const extraMemory : {0UL, 1UL << 20}) {
      auto const run = makeFilledRun();
      for (pxl::PropertyBase* property : run.algorithm->getProperties())
        if (auto* const output = pxl::asProperty<pxl::ImageModel*>(*property)) output->set(run.inputs[i].get());
      run.algorithm->setMaximumExtraMemoryUsageInBytes(extraMemory);
      run.algorithm->execute();
      EXPECT_EQ(getVoxels(*run.inputs[i]), getVoxels(*apart.output)) << i << ", " << extraMemory;
    }
  }
}

TEST_P(CommonRules, RefuseImagesOfOtherSizes) {
  auto const run = makeFilledRun();
  if (run.inputs.size() + (run.output ? 1 : 0) < 2) return;
  auto const larger = pxl::Image::New(cType, {22, 13, 5, 2, 2});
  for (pxl::PropertyBase* property : run.algorithm->getProperties())
    if (auto* const input = pxl::asProperty<pxl::ImageModel const*>(*property)) {
      input->set(larger.get());
      break;
    }
  EXPECT_THROW(run.algorithm->execute(), pxl::InvalidCall);
}

TEST_P(CommonRules, RefuseToRunWithoutAnyOfWhatHasNoDefault) {
  auto const fresh = pxl::AlgoInfo::find(GetParam().c_str())->create();
  for (std::size_t i = 0; i < fresh->getProperties().size(); ++i) {
    auto const run = makeFilledRun();
    pxl::PropertyBase& property = *run.algorithm->getProperties()[i];
    // A number that was set can't be unset.
    if (property.hasDefault() || pxl::asProperty<unsigned int>(property)) continue;
    property.assign(*fresh->getProperties()[i]);
    EXPECT_THROW(run.algorithm->execute(), pxl::InvalidCall) << property.getName();
  }
}

}  // namespace
}  // namespace operators_test
