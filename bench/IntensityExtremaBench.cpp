#include <tbb/blocked_range.h>
#include <tbb/parallel_reduce.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "Benchmarks.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Images.h"
#include "PlainLoops.h"
#include "pxl/analysis/IntensityExtrema.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace bench {
namespace {

using pxl::ImageSizes;

Side makeOurs(ImagePointer image, char const* runner = "") {
  return [image, runner] {
    pxl::analysis::IntensityExtremaMsr measure;
    pxl::analysis::IntensityExtrema algorithm;
    algorithm.inputImage = image.get();
    algorithm.outputMeasure = &measure;
    algorithm.setRunner(runner);
    algorithm.execute();
  };
}

// A baseline: a scan directly on the rows of an image in memory, with or without a copy of each row. It has four
// independent pairs of accumulators, and no host, border or progress.
template <class T, bool cHasCopy>
class IdealScan {
 public:
  explicit IdealScan(ImagePointer image) : m_image(image), m_nbCols(countCols(image)), m_nbRows(countRows(image)) {}

  void operator()() const {
    T const* const voxels = getVoxels<T>(m_image);
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
  using Vec = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;
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
    pxl::SimdVec::forEachLane<Vec>(low[0], high[0], [&extrema](T lowLane, T highLane) {
      if (lowLane < extrema.low) extrema.low = lowLane;
      if (highLane > extrema.high) extrema.high = highLane;
    });
  }

  ImagePointer m_image;
  long m_nbCols;
  long m_nbRows;
  mutable volatile bool m_sink = false;
};

template <class T>
Side makePlain(ImagePointer image) {
  auto const result = std::make_shared<PlainExtrema<T>>();
  return [image, result] { *result = findExtremaPlainly(getVoxels<T>(image), countCols(image) * countRows(image)); };
}

#ifdef PXLWORKS_HAVE_OPENCV
template <class T>
Side makeOpenCv(ImagePointer image) {
  cv::Mat const mat(static_cast<int>(countRows(image)), static_cast<int>(countCols(image)),
                    cv::traits::Type<T>::value, image->getVoxels());
  return [image, mat] {
    double low, high;
    cv::minMaxLoc(mat, &low, &high);
  };
}
#endif

template <class T>
void addType(char const* type, char const* size, ImageSizes const& sizes) {
  for (int nbThreads : {1, 2}) {
    std::string const prefix = std::string("IntensityExtrema/") + type + "/" + size + "/relative_to_";
    auto const add = [&](char const* peer, Side (*makeTheirs)(ImagePointer)) {
      addPair(prefix + peer, nbThreads, [sizes, makeTheirs] {
        auto image = makeImage<T>(sizes);
        return Pair{makeOurs(image), makeTheirs(image)};
      });
    };
    add("sse41", [](ImagePointer image) { return makeOurs(image, "sse41"); });
    add("copy_ceiling", [](ImagePointer image) { return Side(IdealScan<T, true>(image)); });
    add("scan_without_copy", [](ImagePointer image) { return Side(IdealScan<T, false>(image)); });
    if (hasPlainLoops()) add("plain_loop", makePlain<T>);
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
  addType<double>("f64", size, sizes);
}

}  // namespace

void addIntensityExtrema() {
  addSizes("4096x4096", {4096, 4096, 1, 1, 1});
  addSizes("256x256x256", {256, 256, 256, 1, 1});
  addSizes("1024x1024", {1024, 1024, 1, 1, 1});
  addSizes("512x512", {512, 512, 1, 1, 1});
  addSizes("64x64", {64, 64, 1, 1, 1});
}

}  // namespace bench
