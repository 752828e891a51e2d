// The row function against one vector at a time, and what it touches.
#include <sys/mman.h>
#include <unistd.h>

#include "filtering/linear/FIRFilterDispatcher.h"
#include "support/Runs.h"

namespace filtering_test {
namespace {

using pxl::filtering::linear::FIR2dToValueSimd;
using pxl::filtering::linear::FIR3dToValueSimd;
using pxl::filtering::linear::WeightedSum;

static_assert(std::is_aggregate_v<FIR2dToValueSimd<float>> && std::is_aggregate_v<FIR3dToValueSimd<double>>);
static_assert(sizeof(FIR2dToValueSimd<float>) == 2 * sizeof(std::vector<float>));

/** Memory that ends at a page which can't be touched. */
class GuardedMemory {
 public:
  explicit GuardedMemory(unsigned long bytes)
      : m_page(static_cast<unsigned long>(::sysconf(_SC_PAGESIZE))),
        m_size((bytes + m_page - 1) / m_page * m_page + m_page),
        m_memory(
            static_cast<char*>(::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
        m_bytes(bytes) {
    ::mprotect(m_memory + m_size - m_page, m_page, PROT_NONE);
  }
  ~GuardedMemory() { ::munmap(m_memory, m_size); }
  GuardedMemory(GuardedMemory const&) = delete;
  GuardedMemory& operator=(GuardedMemory const&) = delete;

  /** The last `bytes` before the page. */
  void* get() const { return m_memory + m_size - m_page - m_bytes; }

 private:
  unsigned long m_page;
  unsigned long m_size;
  char* m_memory;
  unsigned long m_bytes;
};

template <class T>
class FirKernel : public testing::Test {};
TEST_TYPES(FirKernel, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(FirKernel, ComputesRowsOfAnyLengthAndTouchesNothingBeyond) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(731);
  for (long nbVectors = 1; nbVectors <= 35; ++nbVectors)
    for (unsigned long count : {1UL, 2UL, 3UL, 9UL, 26UL}) {
      unsigned long const length = static_cast<unsigned long>(nbVectors * L);
      std::vector<std::unique_ptr<GuardedMemory>> memory;
      std::vector<T const*> rows;
      std::vector<T> coefficients;
      for (unsigned long k = 0; k < count; ++k) {
        memory.push_back(std::make_unique<GuardedMemory>(length * sizeof(T)));
        T* const row = static_cast<T*>(memory.back()->get());
        for (unsigned long i = 0; i < length; ++i) row[i] = random.voxel<T>();
        rows.push_back(row);
        coefficients.push_back(random.voxel<T>());
      }
      GuardedMemory const result(length * sizeof(T));
      T* const out = static_cast<T*>(result.get());
      WeightedSum<T, pxl::SimdVec::arch_128_tag>::computeRow(rows.data(), coefficients.data(), count, out,
                                                             nbVectors * L);
      for (unsigned long i = 0; i < length; ++i) {
        T sum = rows[0][i] * coefficients[0];
        for (unsigned long k = 1; k < count; ++k) {
          T const product = rows[k][i] * coefficients[k];
          sum = sum + product;
        }
        ASSERT_EQ(std::memcmp(&out[i], &sum, sizeof(T)), 0) << "voxel " << i << " of " << length;
      }
    }
}

/** The voxels that a kernel makes of an image. */
template <class T, template <class, class, class, class> class Filter, class Kernel>
std::vector<T> apply(Kernel kernel, oracle::Image<T> const& image) {
  auto const input = oracle::toHost(image), output = oracle::toHost(oracle::Image<T>(image.sizes));
  Filter<T, T, pxl::SimdVec::arch_128_tag, Kernel> filter(nullptr, &kernel);
  filter.setInput(input.get(), pxl::access::MirrorBorderCondition<T>::New());
  filter.setOutput(output.get(), pxl::access::FixedBorderCondition<T>::New(0));
  filter.run();
  T const* const voxels = static_cast<T const*>(output->getVoxels());
  return std::vector<T>(voxels, voxels + image.voxels.size());
}

// Of a longer list of coefficients the rest is left alone.
TEST_OF_TYPES(FirKernel, ReadsAsManyCoefficientsAsThereAreOffsets) {
  using T = TypeParam;
  oracle::Random random(732);
  auto const image = random.image<T>({19, 6, 3, 1, 1});
  std::vector<T> const exact{T(0.5), T(-2), T(3)};
  std::vector<T> longer = exact;
  longer.insert(longer.end(), 100000, T(1e6));
  FIR2dToValueSimd<T> inPlan{{{0, 0}, {1, -1}, {-2, 0}}, exact}, inPlanLonger{inPlan.offsets, longer};
  FIR3dToValueSimd<T> inVolume{{{0, 0, 0}, {1, -1, 1}, {-2, 0, 0}}, exact}, inVolumeLonger{inVolume.offsets, longer};
  EXPECT_EQ((apply<T, pxl::ImageToImageFilter2d>(inPlanLonger, image)),
            (apply<T, pxl::ImageToImageFilter2d>(inPlan, image)));
  EXPECT_EQ((apply<T, pxl::ImageToImageFilter3d>(inVolumeLonger, image)),
            (apply<T, pxl::ImageToImageFilter3d>(inVolume, image)));
}

}  // namespace
}  // namespace filtering_test
