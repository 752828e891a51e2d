#include "Arrays.h"

#include <string>

#include "pxl/Exception.h"

namespace qorn::python {
namespace {

namespace py = pybind11;

pxl::ImageSizes getSizes(py::buffer_info const& info, Axes const& axes) {
  pxl::ImageSizes sizes;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    if (axes[i] >= info.ndim) throw py::index_error("an axis that the array doesn't have");
    sizes[i] = axes[i] < 0 ? 1 : static_cast<unsigned long>(info.shape[static_cast<std::size_t>(axes[i])]);
  }
  return sizes;
}

// Strides of axes with one voxel mean nothing, and numpy gives any to arrays without voxels.
pxl::ImageStrides getStrides(py::buffer_info const& info, Axes const& axes, pxl::VoxelTypes type,
                             pxl::ImageSizes const& sizes) {
  pxl::ImageStrides strides = pxl::getPackedStrides(type, sizes);
  if (info.size == 0) return strides;
  for (std::size_t i = 0; i < strides.size(); ++i) {
    if (axes[i] >= 0 && sizes[i] > 1) strides[i] = info.strides[static_cast<std::size_t>(axes[i])];
  }
  return strides;
}

}  // namespace

pxl::VoxelTypes findVoxelType(py::buffer_info const& info) {
  std::string format = info.format;
  // '@' and '^' are native; '<' is what this processor has; '=' stands before voxels that aren't aligned.
  if (format.size() == 2 && std::string("@=<^").find(format[0]) != std::string::npos) format.erase(0, 1);
  constexpr char cLetters[] = {'B', 'H', 'I', '\0', 'b', 'h', 'i', '\0', 'f', 'd'};
  if (format == "?") return pxl::cUnsignedInteger8;
  for (int type = pxl::cUnsignedInteger8; type <= pxl::cDouble; ++type) {
    if (format.size() == 1 && format[0] == cLetters[type]) return static_cast<pxl::VoxelTypes>(type);
  }
  throw py::type_error("elements of type " + info.format + " are none of an image");
}

char const* getFormat(pxl::VoxelTypes type) {
  constexpr char const* cFormats[] = {"B", "H", "I", "", "b", "h", "i", "", "f", "d"};
  return cFormats[type];
}

ArrayImage::ArrayImage(py::buffer const& array, Axes const& axes, bool isWritable)
    : m_info(array.request(isWritable)) {
  pxl::VoxelTypes const type = findVoxelType(m_info);
  pxl::ImageSizes const sizes = getSizes(m_info, axes);
  pxl::ImageStrides const strides = getStrides(m_info, axes, type, sizes);
  // What isn't null is never read.
  static char s_nothing;
  void* const voxels = m_info.ptr == nullptr ? &s_nothing : m_info.ptr;
  m_image = isWritable ? pxl::Image::OnMemory(voxels, type, sizes, strides)
                       : pxl::Image::OnMemory(static_cast<void const*>(voxels), type, sizes, strides);
}

}  // namespace qorn::python
