#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <ostream>
#include <vector>

#include "Core/private/Access/simd/AlignedAllocator.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/Image.h"
#include "pxl/access/View.h"

namespace host_test {

template <class T>
constexpr pxl::VoxelTypes cTypeOf = pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;

/** A position in the order of Components: column, row, plan, sequence, spectral series. */
using Position = std::array<long, 5>;

/** Calls `visit` with each position of a box of these sizes, the column fastest. */
template <class Visit>
void forEachPosition(pxl::ImageSizes const& sizes, Visit visit) {
  Position at{};
  for (unsigned long const size : sizes)
    if (size == 0) return;
  while (true) {
    visit(static_cast<Position const&>(at));
    std::size_t i = 0;
    while (i < 5 && ++at[i] == static_cast<long>(sizes[i])) at[i++] = 0;
    if (i == 5) return;
  }
}

/** A voxel at its address, computed here from the image's base and byte strides. */
template <class T>
T loadVoxel(void const* base, pxl::ImageStrides const& strides, Position const& at) {
  char const* address = static_cast<char const*>(base);
  for (std::size_t i = 0; i < 5; ++i) address += at[i] * strides[i];
  T value;
  std::memcpy(&value, address, sizeof(T));
  return value;
}

template <class T>
void storeVoxel(void* base, pxl::ImageStrides const& strides, Position const& at, T value) {
  char* address = static_cast<char*>(base);
  for (std::size_t i = 0; i < 5; ++i) address += at[i] * strides[i];
  std::memcpy(address, &value, sizeof(T));
}

/** Fills an image in memory with make(position). */
template <class T, class Make>
void fillImage(pxl::Image& image, Make make) {
  void* const base = image.getVoxels();
  auto const strides = image.getStrides();
  forEachPosition(image.getSizes(), [&](Position const& at) { storeVoxel<T>(base, strides, at, make(at)); });
}

template <class T>
std::shared_ptr<pxl::access::View<T> const> makeConstView(pxl::ImageModel const* image) {
  return pxl::access::View<T>::New(image, pxl::access::ContinueBorderCondition<T>::New());
}

template <class T>
std::shared_ptr<pxl::access::View<T>> makeView(pxl::ImageModel* image) {
  return pxl::access::View<T>::New(image, pxl::access::ContinueBorderCondition<T>::New());
}

/** One voxel, read through a view's interface. */
template <class T>
T readVoxel(pxl::access::View<T> const& view, Position const& at) {
  T value;
  view.getInterface()->readRow(&value, 1, at[0], at[1], at[2], at[3], at[4]);
  return value;
}

/** All voxels of a view in C order, read in whole rows. */
template <class T>
std::vector<T> readAll(pxl::access::View<T> const& view) {
  std::vector<T> voxels;
  forEachPosition({1, view.nbRows, view.nbPlans, view.nbSequence, view.nbSpectralSeries}, [&](Position const& at) {
    std::vector<T> row(view.nbCols);
    if (!row.empty())
      view.getInterface()->readRow(row.data(), static_cast<long>(row.size()), 0, at[1], at[2], at[3], at[4]);
    voxels.insert(voxels.end(), row.begin(), row.end());
  });
  return voxels;
}

inline unsigned long countVoxels(pxl::ImageSizes const& sizes) {
  return sizes[0] * sizes[1] * sizes[2] * sizes[3] * sizes[4];
}

}  // namespace host_test
