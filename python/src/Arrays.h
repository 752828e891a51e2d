#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <memory>

#include "pxl/Image.h"

namespace qorn::python {

/** Which axis of an array is the dimension at this place, in the order of pxl::Components; -1 for none. */
using Axes = std::array<int, pxl::cNbComponents>;

/** An array as an image, without a copy. Made and destroyed with the interpreter's lock. */
class ArrayImage : private pxl::Noncopyable {
 public:
  /**
   * @param array       an object with a buffer of one of the eight voxel types, or of bool, which counts as uint8
   * @param isWritable  whether voxels are to be written
   * @throws TypeError another type or byte order; InvalidCall a column stride other than one voxel; what the object
   * raises that can't be written
   */
  ArrayImage(pybind11::buffer const& array, Axes const& axes, bool isWritable);

  std::shared_ptr<pxl::Image> const& getImage() const { return m_image; }

 private:
  pybind11::buffer_info m_info;  ///< holds the array
  std::shared_ptr<pxl::Image> m_image;
};

/** The type of the elements of a buffer. @throws TypeError it is none that images have */
pxl::VoxelTypes findVoxelType(pybind11::buffer_info const& info);

/** The letter by which buffers call a voxel type. */
char const* getFormat(pxl::VoxelTypes type);

}  // namespace qorn::python
