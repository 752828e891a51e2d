#pragma once

#include <algorithm>
#include <cstring>

#include "Core/private/Access/simd/SimdVec.h"

namespace access_test {

/** Vectors of any number of bytes, lane by lane in plain C++: what a plug-in of another width brings along. */
template <std::size_t NbBytes>
struct PlainArch {
  static constexpr std::size_t cNbBytes = NbBytes;
};

/** A vector, so wide that no register holds it. */
template <class T, long NbLanes>
struct PlainVector {
  template <class Function>
  static PlainVector make(Function&& function) {
    PlainVector result;
    for (long i = 0; i < NbLanes; ++i) result.lanes[i] = function(i);
    return result;
  }
  T lanes[static_cast<unsigned long>(NbLanes)];
};

}  // namespace access_test

namespace pxl::SimdVec {

template <class T, std::size_t NbBytes>
struct Simd<T, access_test::PlainArch<NbBytes>> {
  static constexpr long cNbLanes = SimdVec::cNbLanes<T, access_test::PlainArch<NbBytes>>;
  using Vector = access_test::PlainVector<T, cNbLanes>;

  static Vector load(T const* voxels) {
    Vector result;
    std::memcpy(result.lanes, voxels, NbBytes);
    return result;
  }
  static void store(T* voxels, Vector const& v) { std::memcpy(voxels, v.lanes, NbBytes); }
  static Vector min(Vector const& a, Vector const& b) {
    return Vector::make([&](long i) { return a.lanes[i] < b.lanes[i] ? a.lanes[i] : b.lanes[i]; });
  }
  static Vector max(Vector const& a, Vector const& b) {
    return Vector::make([&](long i) { return a.lanes[i] > b.lanes[i] ? a.lanes[i] : b.lanes[i]; });
  }
  static Vector add(Vector const& a, Vector const& b) {
    return Vector::make([&](long i) { return a.lanes[i] + b.lanes[i]; });
  }
  static Vector multiply(Vector const& a, Vector const& b) {
    return Vector::make([&](long i) { return a.lanes[i] * b.lanes[i]; });
  }
  static Vector bitXor(Vector const& a, Vector const& b) {
    return Vector::make([&](long i) { return static_cast<T>(a.lanes[i] ^ b.lanes[i]); });
  }
  static Vector broadcast(T value) {
    return Vector::make([&](long) { return value; });
  }
  template <int Lane>
  static T extract(Vector const& v) {
    return v.lanes[Lane];
  }
};

}  // namespace pxl::SimdVec
