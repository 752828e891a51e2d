#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <string>

#include "Benchmarks.h"
#include "ContractRows.h"
#include "Core/private/Access/simd/AlignedAllocator.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Images.h"
#include "PlainLoops.h"
#include "RowCopies.h"
#include "pxl/point_operations/LogicalOperation.h"
#ifdef PXLWORKS_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace bench {
namespace {

using pxl::ImageSizes;

constexpr int cXor = 2;
constexpr unsigned int cValue = 0x5A5A5A5A;

struct Case {
  ImagePointer first;
  ImagePointer second;  ///< null for the operation with a value
  ImagePointer output;
};

Side makeOurs(Case const& one, char const* runner = "") {
  return [one, runner] {
    if (one.second) {
      pxl::point_operations::LogicalOperationWithImage algorithm;
      algorithm.inputImage1 = one.first.get();
      algorithm.inputImage2 = one.second.get();
      algorithm.logicalOperator = cXor;
      algorithm.outputImage = one.output.get();
      algorithm.setRunner(runner);
      algorithm.execute();
    } else {
      pxl::point_operations::LogicalOperationWithValue algorithm;
      algorithm.inputImage = one.first.get();
      algorithm.value = cValue;
      algorithm.logicalOperator = cXor;
      algorithm.outputImage = one.output.get();
      algorithm.setRunner(runner);
      algorithm.execute();
    }
  };
}

// Baselines: the operation directly on the memory of the images, in bands of rows. Either without copies; or with a
// copy of each row in and out, the lower bound if rows can't be used in place; or with rows that are read and written
// through the contract.
enum class Rows { cDirect, cCopied, cByContract };

template <class T, Rows cRows>
class IdealXor {
 public:
  explicit IdealXor(Case const& one)
      : m_case(one),
        m_nbCols(countCols(one.first)),
        m_nbRows(countRows(one.first)),
        m_nbRowsPerPlan(static_cast<long>(one.first->getNumOf(pxl::cRows))),
        m_first(one.first, 0),
        m_second(one.second ? one.second : one.first, 0),
        m_output(one.output, 0) {}

  void operator()() const {
    T const* const a = getVoxels<T>(m_case.first);
    T const* const b = m_case.second ? getVoxels<T>(m_case.second) : nullptr;
    T* const out = static_cast<T*>(m_case.output->getVoxels());
    constexpr long cNbRowsPerBand = 32;
    tbb::parallel_for(tbb::blocked_range<long>(0, m_nbRows, cNbRowsPerBand), [&](auto const& band) {
      std::size_t const size = static_cast<std::size_t>(cHasCopies ? m_nbCols : 0);
      Buffer first(size), second(b ? size : 0), result(size);
      for (long row = band.begin(); row < band.end(); ++row) {
        long const at = row * m_nbCols;
        T const* const from = cHasCopies ? copyIn(a + at, row, m_first, first.data()) : a + at;
        T* const to = cHasCopies ? result.data() : out + at;
        if (b)
          compute(from, cHasCopies ? copyIn(b + at, row, m_second, second.data()) : b + at, to, m_nbCols);
        else
          compute(from, to, m_nbCols);
        if (cRows == Rows::cByContract)
          m_output.write(to, m_nbCols, row % m_nbRowsPerPlan, row / m_nbRowsPerPlan);
        else if (cHasCopies)
          copyRowOut(to, out + at, m_nbCols);
      }
    });
  }

 private:
  using Vec = pxl::SimdVec::Simd<T, pxl::SimdVec::arch_128_tag>;
  static constexpr long L = Vec::cNbLanes;
  static constexpr bool cHasCopies = cRows != Rows::cDirect;
  using Buffer = std::vector<T, pxl::SimdVec::AlignedAllocator<T, 16>>;

  [[gnu::noinline]] static void compute(T const* __restrict a, T const* __restrict b, T* __restrict out, long n) {
#pragma GCC unroll 4
    for (long col = 0; col < n; col += L) Vec::store(out + col, Vec::bitXor(Vec::load(a + col), Vec::load(b + col)));
  }
  [[gnu::noinline]] static void compute(T const* __restrict a, T* __restrict out, long n) {
    auto const value = Vec::broadcast(static_cast<T>(cValue));
#pragma GCC unroll 4
    for (long col = 0; col < n; col += L) Vec::store(out + col, Vec::bitXor(Vec::load(a + col), value));
  }

  T const* copyIn(T const* source, long row, ContractRows<T> const& rows, T* buffer) const {
    if (cRows == Rows::cByContract)
      rows.read(buffer, m_nbCols, 0, row % m_nbRowsPerPlan, row / m_nbRowsPerPlan);
    else
      copyRowIn(source, buffer, m_nbCols);
    return buffer;
  }

  Case m_case;
  long m_nbCols;
  long m_nbRows;
  long m_nbRowsPerPlan;
  ContractRows<T> m_first;
  ContractRows<T> m_second;
  ContractRows<T> m_output;
};

template <class T>
Side makePlain(Case const& one) {
  auto const bytesOf = [](ImagePointer const& image) { return image ? getVoxels<unsigned char>(image) : nullptr; };
  long const nbBytes = countCols(one.first) * countRows(one.first) * static_cast<long>(sizeof(T));
  return [one, nbBytes, bytesOf] {
    auto* const out = static_cast<unsigned char*>(one.output->getVoxels());
    xorPlainly(bytesOf(one.first), bytesOf(one.second), cValue, out, nbBytes);
  };
}

#ifdef PXLWORKS_HAVE_OPENCV
template <class T>
Side makeOpenCv(Case const& one) {
  // Bits have no type: 32-bit voxels are passed as signed ones.
  constexpr int cDepth = sizeof(T) == 1 ? CV_8U : sizeof(T) == 2 ? CV_16U : CV_32S;
  auto const wrap = [](ImagePointer const& image) {
    return cv::Mat(static_cast<int>(countRows(image)), static_cast<int>(countCols(image)), cDepth,
                   image->getVoxels());
  };
  cv::Mat const first = wrap(one.first), output = wrap(one.output);
  if (one.second) {
    cv::Mat const second = wrap(one.second);
    return [one, first, second, output]() mutable { cv::bitwise_xor(first, second, output); };
  }
  return [one, first, output]() mutable {
    cv::bitwise_xor(first, cv::Scalar(static_cast<double>(static_cast<T>(cValue))), output);
  };
}
#endif

template <class T>
void addCase(std::string const& type, std::string const& size, ImageSizes const& sizes, bool isWithImage) {
  std::string const prefix =
      std::string("LogicalOperationWith") + (isWithImage ? "Image/" : "Value/") + type + "/" + size + "/relative_to_";
  for (int nbThreads : {1, 2}) {
    auto const add = [&](char const* peer, Side (*makeTheirs)(Case const&)) {
      addPair(prefix + peer, nbThreads, [=] {
        Case const one{makeImage<T>(sizes), isWithImage ? makeImage<T>(sizes) : nullptr,
                       pxl::Image::New(cType<T>, sizes)};
        return Pair{makeOurs(one), makeTheirs(one)};
      });
    };
    add("sse41", [](Case const& one) { return makeOurs(one, "sse41"); });
    add("copy_ceiling", [](Case const& one) { return Side(IdealXor<T, Rows::cCopied>(one)); });
    add("contract_ceiling", [](Case const& one) { return Side(IdealXor<T, Rows::cByContract>(one)); });
    add("loop_without_copies", [](Case const& one) { return Side(IdealXor<T, Rows::cDirect>(one)); });
    if (hasPlainLoops()) add("plain_loop", makePlain<T>);
    add("memcpy", [](Case const& one) { return makeCopy<T>(one.first); });
#ifdef PXLWORKS_HAVE_OPENCV
    add("opencv_bitwise_xor", makeOpenCv<T>);
#endif
  }
}

void addSize(char const* size, ImageSizes const& sizes) {
  for (bool isWithImage : {true, false}) {
    addCase<unsigned char>("u8", size, sizes, isWithImage);
    addCase<unsigned short>("u16", size, sizes, isWithImage);
    addCase<unsigned int>("u32", size, sizes, isWithImage);
  }
}

}  // namespace

void addLogical() {
  addSize("4096x4096", {4096, 4096, 1, 1, 1});
  addSize("256x256x256", {256, 256, 256, 1, 1});
  addSize("1024x1024", {1024, 1024, 1, 1, 1});
  addSize("512x512", {512, 512, 1, 1, 1});
  addSize("64x64", {64, 64, 1, 1, 1});
}

}  // namespace bench
