#pragma once

#include <cstring>

#include "oracle/Oracle.h"

/** Bitwise operations with plain loops over bits. */
namespace oracle {

/** 0 and, 1 or, 2 xor, 3 nand, 4 nor, 5 nxor, 6 a and not b: the results for the bits (a, b) = 00, 01, 10, 11. */
constexpr bool cTruth[7][4] = {{false, false, false, true}, {false, true, true, true},   {false, true, true, false},
                               {true, true, true, false},   {true, false, false, false}, {true, false, false, true},
                               {false, false, true, false}};

template <class T>
T combine(int operation, T a, T b) {
  unsigned char bytesA[sizeof(T)], bytesB[sizeof(T)], bytes[sizeof(T)];
  std::memcpy(bytesA, &a, sizeof(T));
  std::memcpy(bytesB, &b, sizeof(T));
  for (unsigned long i = 0; i < sizeof(T); ++i) {
    bytes[i] = 0;
    for (int bit = 0; bit < 8; ++bit) {
      int const row = 2 * ((bytesA[i] >> bit) & 1) + ((bytesB[i] >> bit) & 1);
      if (cTruth[operation][row]) bytes[i] = static_cast<unsigned char>(bytes[i] | (1 << bit));
    }
  }
  T result;
  std::memcpy(&result, bytes, sizeof(T));
  return result;
}

template <class T>
Image<T> combine(int operation, Image<T> const& a, Image<T> const& b) {
  Image<T> result(a.sizes);
  forEachPosition(a.sizes, [&](Five const& p) { result.at(p) = combine(operation, a.at(p), b.at(p)); });
  return result;
}

/** With the low bits of one value. */
template <class T>
Image<T> combine(int operation, Image<T> const& a, unsigned int value) {
  Image<T> b(a.sizes);
  for (T& voxel : b.voxels) std::memcpy(&voxel, &value, sizeof(T));  // little-endian: the low bits come first
  return combine(operation, a, b);
}

}  // namespace oracle
