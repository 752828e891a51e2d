// What a pass passes to its kernel.
#include <atomic>
#include <set>
#include <thread>

#include "support/Kernels2d.h"

namespace morphology_test {
namespace {

using View = pxl::access::View<short>;

template <class Direction>
class RecursiveContext : public testing::Test {
 protected:
  using Context = pxl::RecursiveImageContext<short, short, Arch, Direction>;

  oracle::Random random{281};
  oracle::Image<short> image = random.image<short>({20, 9, 2, 1, 1});
  std::shared_ptr<pxl::Image> hostInput = oracle::toHost(image);
  std::shared_ptr<pxl::Image> hostOutput = oracle::toHost(image);
  std::shared_ptr<pxl::access::BorderCondition<short>> border = pxl::access::FixedBorderCondition<short>::New(0);
  std::shared_ptr<View const> input = View::New(static_cast<pxl::ImageModel const*>(hostInput.get()), border);
  std::shared_ptr<View> output = View::New(hostOutput.get(), border);
  pxl::instrument::Recorder recorder;

  static std::vector<unsigned long> countSlots(Context const& context) {
    return {context.inputRowCaches.size(), context.outputRowCaches.size(), context.inputPlanCaches.size(),
            context.outputPlanCaches.size()};
  }
  unsigned long countCaches() const {
    unsigned long count = 0;
    for (char const* name :
         {"createRowCacheRead", "createRowCacheReadWrite", "createPlanCacheRead", "createPlanCacheReadWrite"})
      count += recorder.count(name);
    return count;
  }

  // Creates caches twice, and checks both and the slot of this thread only.
  template <class Create, class Slots, class Count>
  void expectCreated(char const* operation, void const* view, Create&& create, Slots& slots, Count&& countRows) {
    auto const first = create(3UL);
    EXPECT_EQ(slots.local(), first);
    EXPECT_EQ(first->view, view);
    EXPECT_EQ(countRows(*first), 3U);
    auto const second = create(1UL);
    EXPECT_NE(second, first) << "never looks whether the slot is filled";
    EXPECT_EQ(slots.local(), second);
    EXPECT_EQ(countRows(*second), 1U);
    EXPECT_EQ(first.use_count(), 1) << "the slot has let it go";
    EXPECT_EQ(countRows(*first), 3U) << "and it lives on";
    auto const ofOther = [&] {
      typename std::decay_t<decltype(slots.local())> cache;
      std::thread([&] { cache = create(2UL); }).join();
      return cache;
    }();
    EXPECT_EQ(slots.local(), second);
    EXPECT_NE(ofOther, second);
    EXPECT_EQ(slots.size(), 2U);
    ASSERT_EQ(recorder.count(operation), 3U);
    for (unsigned long i = 0; i < 3; ++i) {
      long const counts[] = {3, 1, 2};
      EXPECT_EQ(recorder.getTrace(operation)[i].values, std::vector<long>{counts[i]});
    }
    EXPECT_EQ(countCaches(), 3U) << "of no other kind";
  }
};
using Directions = testing::Types<pxl::InputToOutput, pxl::OutputToOutput>;
TEST_TYPES(RecursiveContext, Directions);

auto const countRowsOf = [](auto const& cache) { return cache.rows.size(); };
auto const countPlansOf = [](auto const& cache) { return cache.plans.size(); };

TEST_OF_TYPES(RecursiveContext, StartsWithItsViewsAndWithoutAnyCache) {
  typename TestFixture::Context const context(this->input, this->output);
  EXPECT_EQ(context.input, this->input);
  EXPECT_EQ(context.output, this->output);
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{0, 0, 0, 0}));
  EXPECT_EQ(this->countCaches(), 0U);
}

TEST_OF_TYPES(RecursiveContext, CreatesInputRowsOfTheInput) {
  typename TestFixture::Context context(this->input, this->output);
  this->expectCreated(
      "createRowCacheRead", this->input.get(), [&](unsigned long n) { return context.createInputRowCache(n); },
      context.inputRowCaches, countRowsOf);
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{2, 0, 0, 0}));
}

TEST_OF_TYPES(RecursiveContext, CreatesOutputRowsOfTheOutput) {
  typename TestFixture::Context context(this->input, this->output);
  this->expectCreated(
      "createRowCacheReadWrite", this->output.get(), [&](unsigned long n) { return context.createOuputRowCache(n); },
      context.outputRowCaches, countRowsOf);
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{0, 2, 0, 0}));
}

TEST_OF_TYPES(RecursiveContext, CreatesInputPlansOfTheInput) {
  typename TestFixture::Context context(this->input, this->output);
  this->expectCreated(
      "createPlanCacheRead", this->input.get(), [&](unsigned long n) { return context.createInputPlanCache(n); },
      context.inputPlanCaches, countPlansOf);
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{0, 0, 2, 0}));
}

TEST_OF_TYPES(RecursiveContext, CreatesOutputPlansOfTheOutput) {
  typename TestFixture::Context context(this->input, this->output);
  this->expectCreated(
      "createPlanCacheReadWrite", this->output.get(),
      [&](unsigned long n) { return context.createOuputPlanCache(n); }, context.outputPlanCaches, countPlansOf);
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{0, 0, 0, 2}));
}

TEST_OF_TYPES(RecursiveContext, LeavesAReplacedCacheUsable) {
  typename TestFixture::Context context(this->input, this->output);
  auto const first = context.createInputRowCache(1);
  context.createInputRowCache(1);
  auto const* const row = first->fetchRowInBlock(0, 20, Block2d(4, 5, 1, 0, 20, 1, 1, 0, 0), 0, 0, 0, 0, 0);
  for (long col = 0; col < 20; ++col)
    EXPECT_EQ(row->voxels[static_cast<unsigned long>(col)], this->image.at({col, 4, 1, 0, 0}));
}

TEST_OF_TYPES(RecursiveContext, TakesItsCachesAndViewsWithIt) {
  std::weak_ptr<void> inputRows, outputPlans;
  {
    typename TestFixture::Context context(this->input, this->output);
    inputRows = context.createInputRowCache(1);
    outputPlans = context.createOuputPlanCache(1);
    EXPECT_FALSE(inputRows.expired());
    EXPECT_EQ(this->input.use_count(), 2);
    EXPECT_EQ(this->output.use_count(), 2);
  }
  EXPECT_TRUE(inputRows.expired());
  EXPECT_TRUE(outputPlans.expired());
  EXPECT_EQ(this->input.use_count(), 1);
  EXPECT_EQ(this->output.use_count(), 1);
}

TEST_OF_TYPES(RecursiveContext, KnowsWhetherItsViewsShowOneImage) {
  using Pass = typename TestFixture::Context;
  EXPECT_FALSE(Pass(this->input, this->output).isInPlace());
  EXPECT_TRUE(Pass(this->output, this->output).isInPlace());
  EXPECT_TRUE(Pass(this->input, View::New(this->hostInput.get(), this->border)).isInPlace()) << "by another view";
}

TEST_OF_TYPES(RecursiveContext, HasNothingThatCrossAndListsUse) {
  typename TestFixture::Context context(this->input, this->output);
  for (Block2d const& block : cutPlan(this->image.sizes, 7, 4)) {
    Cross<DilationFunctor>().run(block, context);
    General<DilationFunctor>({{1, 0}, {0, 2}}).run(block, context);
  }
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{0, 0, 0, 0}));
}

TEST_OF_TYPES(RecursiveContext, IsAskedByCrossAndListsForOneCacheOfEachKindInABlock) {
  typename TestFixture::Context context(this->input, this->output);
  auto const blocks = cutPlan(this->image.sizes, 7, 4);
  auto const expectOneEach = [&](auto const& kernel, long nbRows) {
    this->recorder.clear();
    for (Block2d const& block : blocks) kernel.run(block, context);
    for (auto const& [name, count] : {std::pair{"createRowCacheRead", nbRows}, {"createRowCacheReadWrite", 1L}}) {
      auto const trace = this->recorder.getTrace(name);
      EXPECT_EQ(trace.size(), blocks.size()) << name;
      for (auto const& event : trace) EXPECT_EQ(event.values, std::vector<long>{count}) << name;
    }
    EXPECT_EQ(this->countCaches(), 2 * blocks.size());
  };
  expectOneEach(Cross<DilationFunctor>(), 3);
  expectOneEach(General<DilationFunctor>({{1, 0}, {0, 2}}), 3);
  expectOneEach(General<DilationFunctor>({{4, -1}}), 1);
}

TEST_OF_TYPES(RecursiveContext, KeepsTheRowsOfTheSquareFromBlockToBlock) {
  typename TestFixture::Context context(this->input, this->output);
  Square<DilationFunctor, short> const square;
  for (long nbCols : {3L, 11L, 5L})
    for (Block2d const& block : cutPlan(this->image.sizes, nbCols, 4)) square.run(block, context);
  EXPECT_EQ(this->countSlots(context), (std::vector<unsigned long>{1, 1, 0, 0}));
  EXPECT_EQ(this->recorder.getTrace("createRowCacheRead").at(0).values, std::vector<long>{1});
  EXPECT_EQ(this->recorder.getTrace("createRowCacheReadWrite").at(0).values, std::vector<long>{1});
  EXPECT_EQ(this->countCaches(), 2U);
}

TEST_OF_TYPES(RecursiveContext, LetsTheSquareUseWhatStandsInItsSlots) {
  typename TestFixture::Context context(this->input, this->output);
  auto const rows = context.createInputRowCache(2);
  Square<DilationFunctor, short>().run(cutPlan(this->image.sizes, 9, 9)[0], context);
  EXPECT_EQ(context.inputRowCaches.local(), rows);
  EXPECT_EQ(rows->rows[0]->voxels.size(), 11U) << "with a voxel on each side of the block";
  EXPECT_EQ(this->recorder.count("createRowCacheRead"), 1U);
}

// A thread that runs no block makes no cache, and one that runs many makes one of each kind.
TEST(RecursiveContextOfAPass, GetsOneCacheFromEachThreadThatRunsABlock) {
  for (int nbThreads : {1, 2, 16}) {
    pxl::instrument::Recorder recorder;
    recorder.grains = {2, 2, 1};
    auto const input = oracle::toHost(oracle::Image<short>({64, 48, 1, 1, 1}));
    auto const output = oracle::toHost(oracle::Image<short>({64, 48, 1, 1, 1}));
    auto const algorithm = makeAlgorithm(Way{}, input.get(), output.get());
    Square<DilationFunctor, short> square;
    withThreads(nbThreads, [&] {
      pxl::morphology::runRecursive<pxl::Filter2dTag, Arch, DilationFunctor, short>(algorithm.get(), square, 1U);
    });
    std::multiset<std::thread::id> readers, makers, writers;
    for (auto const& event : recorder.getTrace("createRowCacheRead")) makers.insert(event.thread);
    for (auto const& event : recorder.getTrace("createRowCacheReadWrite")) writers.insert(event.thread);
    for (auto const& event : recorder.getTrace("readRowAt"))
      if (readers.count(event.thread) == 0) readers.insert(event.thread);
    EXPECT_EQ(makers, readers);
    EXPECT_EQ(writers, readers);
    EXPECT_LE(makers.size(), static_cast<unsigned long>(nbThreads));
  }
}

}  // namespace
}  // namespace morphology_test
