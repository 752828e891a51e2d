// Rows of every number of vectors: several of them are folded in one walk over a list, and some remain.
#include <sys/mman.h>
#include <unistd.h>

#include "support/Kernels3d.h"

namespace morphology_test {
namespace {

constexpr long cMaxNbVectors = 40;

/** A row that ends where memory may not be touched. */
template <class T>
class GuardedRow {
 public:
  GuardedRow() {
    void* const pages = ::mmap(nullptr, 2 * cPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    m_pages = static_cast<char*>(pages);
    ::mprotect(m_pages + cPage, cPage, PROT_NONE);
  }
  ~GuardedRow() { ::munmap(m_pages, 2 * cPage); }
  GuardedRow(GuardedRow const&) = delete;
  GuardedRow& operator=(GuardedRow const&) = delete;

  /** The last `count` voxels before the page. */
  T* last(long nbVoxels) const { return reinterpret_cast<T*>(m_pages + cPage) - nbVoxels; }

 private:
  unsigned long const cPage = static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
  char* m_pages;
};

template <class T>
class WideRows : public testing::Test {
 protected:
  WideRows() { recorder.isTracing = false; }
  pxl::instrument::Recorder recorder;
};
TEST_TYPES(WideRows, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(WideRows, AreFoldedWithoutAStepBeyondThem) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  constexpr long cMost = cMaxNbVectors * L;
  oracle::Random random(421);
  std::vector<GuardedRow<T>> rows(9);
  for (auto const& row : rows)
    for (long col = 0; col < cMost + L; ++col) row.last(cMost + L)[col] = random.voxel<T>();
  GuardedRow<T> const target;
  for (long width = L; width <= cMost; width += L)
    for (unsigned long nbNeighbours : {1UL, 2UL, 3UL, 9UL}) {
      std::vector<T const*> neighbours;
      for (unsigned long i = 0; i < nbNeighbours; ++i)
        neighbours.push_back(rows[i].last(width) - static_cast<long>(i) % 3);
      T* const out = target.last(width);
      for (long col = -L; col < width; ++col) out[col] = T(77);
      pxl::morphology::ListFold<DilationFunctor>::computeRow<pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>>(
          neighbours.data(), nbNeighbours, out, width);
      for (long col = -L; col < width; ++col) {
        T expected = neighbours[0][std::max(col, 0L)];
        for (T const* voxels : neighbours) expected = std::max(expected, voxels[std::max(col, 0L)]);
        ASSERT_EQ(out[col], col < 0 ? T(77) : expected) << width << " voxels, " << nbNeighbours << " neighbours";
      }
    }
}

/** Unlike those of the operators: without the voxel itself, with duplicates, or with all offsets on one side. */
std::vector<Offsets3d> makeOddLists() {
  return {{{-1, 0, 0}, {1, 0, 0}},
          {{0, 0, 0}, {3, 1, 0}, {0, 0, 0}, {3, 1, 0}},
          {{0, -3, 0}, {1, 0, 0}, {-2, 3, 0}},
          {{5, 1, 0}, {9, 2, 0}},
          {{1, 0, 0}, {20, 0, 0}, {300, 0, 0}}};
}

TEST_OF_TYPES(WideRows, EqualPlainLoops) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(422);
  for (long nbVectors = 1; nbVectors <= cMaxNbVectors; ++nbVectors)
    for (long cols : {nbVectors * L, nbVectors * L + 1}) {
      auto const image = random.image<T>({cols, 3, 1, 1, 1});
      for (Offsets3d const& offsets : makeOddLists()) {
        Offsets inPlan;
        for (auto const& offset : offsets) inPlan.push_back({offset.col, offset.row});
        General<ErosionFunctor> kernel(inPlan);
        General3d<ErosionFunctor> kernel3d(offsets);
        auto const expected = applyListTimes(image, Operation::cErosion, offsets, 1);
        for (bool isInPlace : {false, true}) {
          Way way;
          way.isInPlace = isInPlace;
          ASSERT_TRUE(areEqual(runKernel<ErosionFunctor>(way, kernel, image), expected)) << cols;
          ASSERT_TRUE(areEqual(runKernel3d<ErosionFunctor>(way, kernel3d, image), expected)) << cols;
        }
      }
    }
}

// However many vectors are folded in one walk: of NaN and of zeros of both signs the second operand is taken.
TEST_OF_TYPES(WideRows, FoldNansAndZerosInTheOrderOfTheList) {
  using T = TypeParam;
  if constexpr (!std::is_floating_point_v<T>) {
    GTEST_SKIP() << "integers are all alike";
  } else {
    constexpr long L = oracle::cLanes<T>;
    constexpr T cNaN = std::numeric_limits<T>::quiet_NaN();
    T const special[] = {cNaN, -cNaN, T(0), -T(0), T(0), -T(0), T(1), T(-1)};
    oracle::Random random(424);
    for (long cols : {8 * L - 1, 8 * L, 8 * L + 1, 9 * L, 12 * L + 1, 16 * L + 1, 24 * L + 3}) {
      oracle::Image<T> image({cols, 4, 1, 1, 1});
      for (T& voxel : image.voxels) voxel = special[random.number(0, 7)];
      Offsets3d const offsets{{-1, 0, 0}, {2, 1, 0}, {0, 0, 0}, {1, -1, 0}, {0, 1, 0}};
      Offsets inPlan;
      for (auto const& offset : offsets) inPlan.push_back({offset.col, offset.row});
      auto const check = [&](auto functor) {
        using Functor = decltype(functor);
        General<Functor> kernel(inPlan);
        General3d<Functor> kernel3d(offsets);
        auto const expected = applyListTimes(image, cOperationOf<Functor>, offsets, 1);
        Way const way{cOperationOf<Functor>};
        ASSERT_TRUE(areEqual(runKernel<Functor>(way, kernel, image), expected)) << cols;
        ASSERT_TRUE(areEqual(runKernel3d<Functor>(way, kernel3d, image), expected)) << cols;
      };
      check(DilationFunctor());
      check(ErosionFunctor());
    }
  }
}

TEST_OF_TYPES(WideRows, TakeListsLongerThanAnyElement) {
  using T = TypeParam;
  oracle::Random random(423);
  auto const image = random.image<T>({33, 2, 2, 1, 1});
  Offsets3d offsets;
  // The voxels of interest are in the middle of the list.
  for (int i = 0; i < 600000; ++i) offsets.push_back({random.number(100, 120), random.number(-4, -3), 0});
  for (auto const& o : {pxl::kernel::Offset3D{2, 0, 0}, {-3, 1, 0}, {0, 0, 1}}) offsets.push_back(o);
  for (int i = 0; i < 600000; ++i) offsets.push_back({random.number(-120, -100), random.number(3, 4), 0});
  General3d<DilationFunctor> kernel(offsets);
  auto const expected =
      oracle::applyVolumeList(image, Operation::cDilation, {{100, 0, 0}, {2, 0, 0}, {-3, 1, 0}, {0, 0, 1}});
  this->recorder.grains = Grains{99, 99, 99};
  EXPECT_TRUE(areEqual(runKernel3d<DilationFunctor>(Way{}, kernel, image), expected));
}

}  // namespace
}  // namespace morphology_test
