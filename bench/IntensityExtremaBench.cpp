#include <tbb/blocked_range.h>
#include <tbb/parallel_reduce.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "Benchmarks.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Paired.h"
#include "pxl/Image.h"
#include "pxl/analysis/IntensityExtrema.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace bench {
namespace {

using pxl::Image;
using pxl::ImageSizes;

template <class T>
constexpr pxl::VoxelTypes cType = pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;

// Values that never fill the range of their type, or the operator would be done before it has read the image.
template <class T>
std::shared_ptr<Image> makeImage(ImageSizes const& sizes) {
  auto image = Image::New(cType<T>, sizes);
  T* const voxels = static_cast<T*>(image->getVoxels());
  unsigned long const count = sizes[0] * sizes[1] * sizes[2];
  std::mt19937 random(7);
  for (unsigned long i = 0; i < count; ++i) voxels[i] = static_cast<T>(1 + random() % 250);
  return image;
}

template <class T>
Side makeOurs(std::shared_ptr<Image> image) {
  return [image] {
    pxl::analysis::IntensityExtremaMsr measure;
    pxl::analysis::IntensityExtrema algorithm;
    algorithm.inputImage = image.get();
    algorithm.outputMeasure = &measure;
    algorithm.execute();
  };
}

// An idealised scan straight on the rows of an image in memory, with or without a copy of each row: four independent
// pairs of accumulators, no host, no border, no progress.
template <class T, bool cHasCopy>
class IdealScan {
 public:
  explicit IdealScan(std::shared_ptr<Image> image)
      : m_image(image),
        m_nbCols(static_cast<long>(image->getNumOf(pxl::cColumns))),
        m_nbRows(static_cast<long>(image->getNumOf(pxl::cRows) * image->getNumOf(pxl::cPlans))) {}

  void operator()() const {
    T const* const voxels = static_cast<T const*>(static_cast<Image const&>(*m_image).getVoxels());
    Extrema const result = tbb::parallel_reduce(
        tbb::blocked_range<long>(0, m_nbRows, 8), Extrema(),
        [&](tbb::blocked_range<long> const& rows, Extrema extrema) {
          std::vector<T> buffer(static_cast<unsigned long>(cHasCopy ? m_nbCols : 0));
          for (long row = rows.begin(); row < rows.end(); ++row) {
            T const* source = voxels + row * m_nbCols;
            if (cHasCopy) {
              std::memcpy(buffer.data(), source, static_cast<unsigned long>(m_nbCols) * sizeof(T));
              source = buffer.data();
            }
            scan(source, extrema);
          }
          return extrema;
        },
        [](Extrema a, Extrema const& b) {
          a.low = a.low < b.low ? a.low : b.low;
          a.high = a.high > b.high ? a.high : b.high;
          return a;
        });
    m_sink = result.low < result.high;
  }

 private:
  using Vec = pxl::SimdVec::Simd<T>;
  struct Extrema {
    T low = std::numeric_limits<T>::max();
    T high = std::numeric_limits<T>::lowest();
  };

  void scan(T const* row, Extrema& extrema) const {
    constexpr long L = Vec::cNbLanes;
    typename Vec::Vector low[4], high[4];
    for (int k = 0; k < 4; ++k) low[k] = high[k] = Vec::load(row + k * L);
    for (long col = 4 * L; col < m_nbCols; col += 4 * L)
      for (int k = 0; k < 4; ++k) {
        auto const v = Vec::load(row + col + k * L);
        low[k] = Vec::min(low[k], v);
        high[k] = Vec::max(high[k], v);
      }
    low[0] = Vec::min(Vec::min(low[0], low[1]), Vec::min(low[2], low[3]));
    high[0] = Vec::max(Vec::max(high[0], high[1]), Vec::max(high[2], high[3]));
    pxl::SimdVec::forEachLane<T>(low[0], high[0], [&extrema](T lowLane, T highLane) {
      if (lowLane < extrema.low) extrema.low = lowLane;
      if (highLane > extrema.high) extrema.high = highLane;
    });
  }

  std::shared_ptr<Image> m_image;
  long m_nbCols;
  long m_nbRows;
  mutable volatile bool m_sink = false;
};

template <class T>
Side makeCopy(std::shared_ptr<Image> image) {
  auto target = std::make_shared<std::vector<T>>(image->getNumOf(pxl::cColumns) * image->getNumOf(pxl::cRows) *
                                                 image->getNumOf(pxl::cPlans));
  return [image, target] {
    std::memcpy(target->data(), static_cast<Image const&>(*image).getVoxels(), target->size() * sizeof(T));
  };
}

#ifdef PXLWORKS_HAVE_OPENCV
template <class T>
Side makeOpenCv(std::shared_ptr<Image> image) {
  int const rows = static_cast<int>(image->getNumOf(pxl::cRows) * image->getNumOf(pxl::cPlans));
  int const cols = static_cast<int>(image->getNumOf(pxl::cColumns));
  cv::Mat const mat(rows, cols, cv::traits::Type<T>::value, image->getVoxels());
  return [image, mat] {
    double low, high;
    cv::minMaxLoc(mat, &low, &high);
  };
}
#endif

template <class T>
void addType(char const* type, char const* size, ImageSizes const& sizes) {
  for (int nbThreads : {1, 2}) {
    std::string const prefix = std::string("IntensityExtrema/") + type + "/" + size + "/by_";
    auto const add = [&](char const* peer, Side (*makeTheirs)(std::shared_ptr<Image>)) {
      addPair(prefix + peer, nbThreads, [sizes, makeTheirs] {
        auto image = makeImage<T>(sizes);
        return Pair{makeOurs<T>(image), makeTheirs(image)};
      });
    };
    add("copy_ceiling", [](std::shared_ptr<Image> image) { return Side(IdealScan<T, true>(image)); });
    add("scan_without_copy", [](std::shared_ptr<Image> image) { return Side(IdealScan<T, false>(image)); });
    add("memcpy", makeCopy<T>);
#ifdef PXLWORKS_HAVE_OPENCV
    add("opencv_minMaxLoc", makeOpenCv<T>);
#endif
  }
}

void addSizes(char const* size, ImageSizes const& sizes) {
  addType<unsigned char>("u8", size, sizes);
  addType<unsigned short>("u16", size, sizes);
  addType<short>("i16", size, sizes);
  addType<float>("f32", size, sizes);
}

}  // namespace

void addIntensityExtrema() {
  addSizes("4096x4096", {4096, 4096, 1, 1, 1});
  addSizes("256x256x256", {256, 256, 256, 1, 1});
  addSizes("512x512", {512, 512, 1, 1, 1});
}

}  // namespace bench
