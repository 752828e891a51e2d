// The passes of the filter that repeats a kernel, seen by a kernel that does nothing to the images.
#include "pxl/Exception.h"
#include "support/WatchingFilter.h"

namespace morphology_test {
namespace {

class RecursivePasses : public RecursiveFilterTest {};

TEST_F(RecursivePasses, AsksTheHostInOneOrder) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  algorithm->setMaximumExtraMemoryUsageInBytes(1 << 20);
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 2);
  recorder.clear();
  std::vector<std::string> const uninteresting{"propertyRead", "getClassInfo"};
  std::vector<std::vector<std::string>> callsBeforePass;
  kernel.onRun = [&] { callsBeforePass.push_back(recorder.getNames(uninteresting)); };
  filter.run();
  std::vector<std::string> const beforeAll{"getPartitionerGrainSizes",
                                           "setMaxProgress",
                                           "hasPropertyImageOnDisk",
                                           "getMaximumExtraMemoryUsageInBytes",
                                           "TemporaryImage::New",
                                           "reserve",
                                           "View::New"};
  EXPECT_EQ(callsBeforePass, (std::vector<std::vector<std::string>>{beforeAll, beforeAll}));
  auto withFlush = beforeAll;
  withFlush.push_back("writeAllTemporizedRows");
  EXPECT_EQ(recorder.getNames(uninteresting), withFlush);
  EXPECT_EQ(recorder.getTrace("setMaxProgress")[0].values, (std::vector<long>{2 * 9 * 8}));
}

TEST_F(RecursivePasses, RunsAllPassesOfAPlanInANewContextEach) {
  setImages({9, 8, 2, 2, 2}, {9, 8, 2, 2, 2});
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 3);
  withThreads(1, [&] { filter.run(); });
  ASSERT_EQ(kernel.blocks.size(), 3U * 8);
  unsigned long i = 0;
  for (long spectral = 0; spectral < 2; ++spectral)
    for (long sequence = 0; sequence < 2; ++sequence)
      for (long plan = 0; plan < 2; ++plan)
        for (int pass = 0; pass < 3; ++pass, ++i) {
          Block2d const& block = kernel.blocks[i];
          EXPECT_EQ((std::vector<long>{block.plan, block.sequence, block.spectralSeries}),
                    (std::vector<long>{plan, sequence, spectral}));
          EXPECT_EQ((std::vector<long>{block.cols.begin, block.cols.end, block.rows.begin, block.rows.end}),
                    (std::vector<long>{0, 9, 0, 8}));
          EXPECT_EQ(kernel.areOutputToOutput[i], pass > 0);
        }
  EXPECT_EQ(filter.m_progress, 3U * 9 * 8 * 8);
}

TEST_F(RecursivePasses, GivesTheBlocksTheirGrains) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  recorder.grains = {70, 60, 50};
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 1);
  filter.run();
  ASSERT_EQ(kernel.blocks.size(), 1U);
  EXPECT_EQ(kernel.blocks[0].cols.grain, 70);
  EXPECT_EQ(kernel.blocks[0].rows.grain, 60);
}

TEST_F(RecursivePasses, OfOneImageBeginsWithAPassAmongOutputs) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  hostInput = hostOutput;
  algorithm->inputImage = hostInput.get();
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 1);
  filter.run();
  EXPECT_EQ(kernel.areOutputToOutput, std::vector<bool>{true});
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 1U);
}

TEST_F(RecursivePasses, DoesNothingForNoIterations) {
  setImages({9, 8, 3, 1, 1}, {9, 8, 3, 1, 1});
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 0);
  filter.m_cancelled = true;  // nobody looks at it
  filter.run();
  EXPECT_TRUE(kernel.blocks.empty());
  EXPECT_EQ(recorder.getTrace("setMaxProgress").at(0).values, std::vector<long>{0});
  for (char const* name : {"readRowAt", "writeRowAt", "writeAllTemporizedRows", "TemporaryImage::New"})
    EXPECT_EQ(recorder.count(name), 0U) << name;
}

TEST_F(RecursivePasses, GoesThroughItsPassesWithoutAnyVoxel) {
  for (Five const& sizes : {Five{0, 4, 3, 1, 1}, Five{5, 0, 3, 1, 1}})
    for (bool hasTemporary : {false, true}) {
      setImages(sizes, sizes);
      algorithm->setMaximumExtraMemoryUsageInBytes(hasTemporary ? 1 : 0);
      WatchingFilter filter(algorithm.get(), &kernel);
      prepare(filter, 3);
      recorder.clear();
      filter.run();
      EXPECT_TRUE(kernel.blocks.empty());
      EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 3U * 2) << "in two of three passes of three plans";
      EXPECT_EQ(recorder.count("TemporaryImage::New"), hasTemporary ? 1U : 0U);
      filter.setNbIterations(1);
      filter.m_cancelled = true;
      EXPECT_THROW(filter.run(), pxl::ExceptionCancelation);
    }
}

TEST_F(RecursivePasses, DoesNotCountTheBlockInWhichItIsCancelled) {
  setImages({9, 8, 3, 1, 1}, {9, 8, 3, 1, 1});
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 2);
  kernel.onRun = [&] {
    if (kernel.blocks.size() == 3) filter.m_cancelled = true;
  };
  recorder.clear();
  EXPECT_THROW(filter.run(), pxl::ExceptionCancelation);
  EXPECT_EQ(filter.m_progress, 2U * 9 * 8);
  EXPECT_EQ(kernel.blocks.size(), 3U);
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 1U) << "of the first plan";
}

TEST_F(RecursivePasses, CountsNothingForABodyWithoutFilter) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 1);
  using Context = pxl::RecursiveImageContext<short, short, Arch, pxl::InputToOutput>;
  Context context(filter.input, filter.output);
  Block2d const block(0, 8, 1, 0, 9, 1, 0, 0, 0);
  pxl::TbbBodyRecursiveImage<WatchingKernel, Context>{{&kernel, &context, nullptr}}(block);
  EXPECT_EQ(filter.m_progress, 0U);
  pxl::TbbBodyRecursiveImage<WatchingKernel, Context>{{&kernel, &context, &filter}}(block);
  EXPECT_EQ(filter.m_progress, 72U);
  EXPECT_EQ(kernel.contexts, (std::vector<void const*>{&context, &context}));
}

TEST_F(RecursivePasses, EndsInAnExceptionOfTheHostWithoutItsTemporary) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  algorithm->setMaximumExtraMemoryUsageInBytes(1 << 20);
  recorder.isTemporaryMade = false;
  for (bool isOnDisk : {false, true}) {
    recorder.isOnDisk = isOnDisk;
    WatchingFilter filter(algorithm.get(), &kernel);
    prepare(filter, 2);
    EXPECT_THROW(filter.run(), pxl::UnexpectedError);
    EXPECT_TRUE(kernel.blocks.empty());
    EXPECT_EQ(recorder.count("reserve"), 0U);
  }
}

}  // namespace
}  // namespace morphology_test
