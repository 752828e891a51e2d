// Where voxels and results may lie: files, foreign memory, windows, arrays with padding.
#include <unistd.h>

#include <cmath>
#include <fstream>

#include "analysis/support/Extrema.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Exception.h"
#include "pxl/ImageModel.h"

namespace analysis_test {
namespace {

using oracle::Five;

/** A file with `offset` bytes before the voxels, removed at the end. */
class VoxelFile {
 public:
  template <class T>
  VoxelFile(oracle::Image<T> const& image, unsigned long offset)
      : path(testing::TempDir() + "/pxlworks_extrema_" + std::to_string(::getpid()) + ".raw") {
    std::ofstream file(path, std::ios::binary);
    file << std::string(offset, '\x7f');
    file.write(reinterpret_cast<char const*>(image.voxels.data()),
               static_cast<std::streamsize>(image.voxels.size() * sizeof(T)));
  }
  ~VoxelFile() { ::unlink(path.c_str()); }
  VoxelFile(VoxelFile const&) = delete;
  VoxelFile& operator=(VoxelFile const&) = delete;

  std::string const path;
};

template <class T>
class ExtremaSourcesOf : public ExtremaTest {
 protected:
  oracle::Random m_random{1301};
  oracle::Image<T> m_image = makeImage<T>(m_random, {37, 6, 4, 3, 2});

  void expectAllMasks(pxl::ImageModel const& image, oracle::Image<T> const& expected) {
    for (int mask = 0; mask < 8; ++mask)
      for (Grains const& grains : {Grains{1, 1, 1}, Grains{16, 3, 2}}) {
        probe.grains = grains;
        measureImage(image, mask);
        expectMeasured(oracle::measureExtrema(expected, mask), "mask " + std::to_string(mask));
        if (HasFatalFailure()) return;
      }
  }
};
TEST_TYPES(ExtremaSourcesOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ExtremaSourcesOf, AnImageOnDiskIsMeasured) {
  for (unsigned long offset : {0UL, 13UL}) {
    VoxelFile const file(this->m_image, offset);
    auto const image = pxl::Image::OnDisk(file.path, pxl::FileModes::cReadOnly, oracle::cHostType<TypeParam>,
                                          oracle::toHostSizes(this->m_image.sizes), offset);
    this->expectAllMasks(*image, this->m_image);
  }
}

TEST_OF_TYPES(ExtremaSourcesOf, AMappedFileIsMeasured) {
  for (unsigned long offset : {0UL, 13UL}) {
    VoxelFile const file(this->m_image, offset);
    auto const image = pxl::Image::OnMappedFile(file.path, oracle::cHostType<TypeParam>,
                                                oracle::toHostSizes(this->m_image.sizes), offset);
    this->expectAllMasks(*image, this->m_image);
  }
}

// Rows with odd strides, upside down, with the extremes of the type between them: these are ignored.
TEST_OF_TYPES(ExtremaSourcesOf, ForeignMemoryIsMeasuredByItsStrides) {
  Five const& sizes = this->m_image.sizes;
  long const size = static_cast<long>(sizeof(TypeParam));
  long const rowStride = (sizes[0] + 5) * size + 1, planStride = sizes[1] * rowStride + 7;
  long const sequenceStride = sizes[2] * planStride, spectralStride = sizes[3] * sequenceStride + 3;
  std::vector<char> memory(static_cast<std::size_t>(sizes[4] * spectralStride));
  TypeParam const ends[] = {std::numeric_limits<TypeParam>::lowest(), std::numeric_limits<TypeParam>::max()};
  for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = reinterpret_cast<char const*>(ends)[i % sizeof(ends)];
  char* const firstRow = memory.data() + (sizes[1] - 1) * rowStride;
  oracle::forEachPosition(sizes, [&](Five const& at) {
    std::memcpy(firstRow + at[0] * size - at[1] * rowStride + at[2] * planStride + at[3] * sequenceStride +
                    at[4] * spectralStride,
                &this->m_image.at(at), sizeof(TypeParam));
  });
  auto const image = pxl::Image::OnMemory(static_cast<void const*>(firstRow), oracle::cHostType<TypeParam>,
                                          oracle::toHostSizes(sizes),
                                          {size, -rowStride, planStride, sequenceStride, spectralStride});
  this->expectAllMasks(*image, this->m_image);
}

// A window in an image of extreme voxels: voxels outside are ignored, also in the excess lanes of a last vector.
TEST_OF_TYPES(ExtremaSourcesOf, AWindowIsMeasuredAsAnImageOfItsOwn) {
  Five const begin{3, 2, 1, 1, 1};
  Five around;
  for (unsigned long d = 0; d < 5; ++d) around[d] = this->m_image.sizes[d] + 2 * begin[d];
  oracle::Image<TypeParam> whole(around);
  bool isHigh = false;
  for (TypeParam& voxel : whole.voxels)
    voxel = (isHigh = !isHigh) ? std::numeric_limits<TypeParam>::max() : std::numeric_limits<TypeParam>::lowest();
  oracle::forEachPosition(this->m_image.sizes, [&](Five const& at) {
    Five to;
    for (unsigned long d = 0; d < 5; ++d) to[d] = begin[d] + at[d];
    whole.at(to) = this->m_image.at(at);
  });
  auto const host = oracle::toHost(whole);
  auto const n = oracle::toHostSizes(this->m_image.sizes);
  pxl::ImageModelSizeProxy const window(static_cast<pxl::ImageModel const*>(host.get()), 3, n[0], 2, n[1], 1, n[2], 1,
                                        n[3], 1, n[4]);
  this->expectAllMasks(window, this->m_image);
  // A window in the window, of one voxel less on each side of a row.
  pxl::ImageModelSizeProxy const inner(&window, 1, n[0] - 2, 0, n[1], 0, n[2], 0, n[3], 0, n[4]);
  oracle::Image<TypeParam> expected({this->m_image.sizes[0] - 2, this->m_image.sizes[1], this->m_image.sizes[2],
                                     this->m_image.sizes[3], this->m_image.sizes[4]});
  oracle::forEachPosition(expected.sizes, [&](Five at) {
    TypeParam& voxel = expected.at(at);
    ++at[0];
    voxel = this->m_image.at(at);
  });
  this->expectAllMasks(inner, expected);
}

TEST_OF_TYPES(ExtremaSourcesOf, TheInterpretationPlaysNoPart) {
  this->expectAllMasks(*oracle::toHost(this->m_image, pxl::cBinary), this->m_image);
}

// Filters have no algorithm of their own and cover their window whole. So execute() takes the whole image alone.
TEST_OF_TYPES(ExtremaSourcesOf, TheRegionOfTheAlgorithmPlaysNoPart) {
  auto const image = oracle::toHost(this->m_image);
  this->algorithm.inputImage = image.get();
  this->algorithm.setProcessingRegion(pxl::access::Region(1, 2, 1, 2, 1, 2, 1, 2, 1, 2));
  EXPECT_THROW(this->algorithm.execute(), pxl::InvalidCall);
  getShippedRunner().run(&this->algorithm);
  this->expectMeasured(oracle::measureExtrema(this->m_image, 0));
}

/** Cells with larger strides than needed. */
class PaddedArray : public pxl::analysis::MeasureArray {
 public:
  void resize(object_model::Tuple const& shape) override {
    allocate(shape, shape[0] + 2, (shape[0] + 2) * (shape[1] + 3), (shape[0] + 2) * (shape[1] + 3) * (shape[2] + 1));
    nbCells = (shape[0] + 2) * (shape[1] + 3) * (shape[2] + 1);
    ++nbResizes;
  }
  unsigned long countWritten() const {
    unsigned long count = 0;
    for (unsigned long i = 0; i < nbCells; ++i) count += !std::isnan(values[i]);
    return count;
  }
  unsigned long nbCells = 0;
  int nbResizes = 0;
};

TEST_OF_TYPES(ExtremaSourcesOf, ResultsGoWhereTheStridesOfTheArraysSay) {
  auto const host = oracle::toHost(this->m_image);
  for (int mask = 0; mask < 8; ++mask) {
    PaddedArray minimum, maximum;
    pxl::analysis::IntensityExtremaMsr padded(minimum, maximum);
    this->algorithm.outputMeasure = &padded;
    this->measureImage(*host, mask);
    auto const expected = oracle::measureExtrema(this->m_image, mask);
    EXPECT_EQ(minimum.nbResizes, 1);
    EXPECT_EQ(maximum.nbResizes, 1);
    EXPECT_EQ(minimum.countWritten(), expected.minimum.size());
    EXPECT_EQ(maximum.countWritten(), expected.maximum.size());
    unsigned long const stride1 = static_cast<unsigned long>(expected.cells[0]) + 2;
    unsigned long const stride2 = stride1 * (static_cast<unsigned long>(expected.cells[1]) + 3);
    for (unsigned long i2 = 0; i2 < static_cast<unsigned long>(expected.cells[2]); ++i2)
      for (unsigned long i1 = 0; i1 < static_cast<unsigned long>(expected.cells[1]); ++i1)
        for (unsigned long i0 = 0; i0 < static_cast<unsigned long>(expected.cells[0]); ++i0) {
          unsigned long const cell =
              expected.indexOf(static_cast<long>(i0), static_cast<long>(i1), static_cast<long>(i2));
          ASSERT_EQ(minimum.values[i0 + stride1 * i1 + stride2 * i2], expected.minimum[cell]);
          ASSERT_EQ(maximum.values[i0 + stride1 * i1 + stride2 * i2], expected.maximum[cell]);
        }
  }
}

// With one leaf NaN has a fixed effect: it resets its lane.
TEST_F(ExtremaTest, NaNForgetsItsLaneAlsoInThePlugin) {
  oracle::Image<float> image({4, 3, 1, 1, 1});
  float const nan = std::numeric_limits<float>::quiet_NaN();
  image.voxels = {-9,  1,   2, 3,  //
                  nan, nan, 2, 3,  //
                  5,   6,   2, 3};
  probe.grains = {1000, 1000, 1000};
  measureImage(*oracle::toHost(image), 0);
  EXPECT_EQ(measure.minimum.getValue(0, 0, 0), 2);
  EXPECT_EQ(measure.maximum.getValue(0, 0, 0), 6);
  image.voxels.assign(12, nan);
  measureImage(*oracle::toHost(image), 0);
  EXPECT_EQ(measure.minimum.getValue(0, 0, 0), static_cast<double>(std::numeric_limits<float>::max()));
  EXPECT_EQ(measure.maximum.getValue(0, 0, 0), static_cast<double>(std::numeric_limits<float>::lowest()));
}

}  // namespace
}  // namespace analysis_test
