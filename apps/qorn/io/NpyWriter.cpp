#include <string>

#include "qorn/io/ImageWriters.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {
namespace {

std::string getDescription(pxl::VoxelTypes type) {
  char const* const kinds = "uuu?iii?ff";
  unsigned long const bytes = pxl::helper::getSizeOf(type);
  return std::string(bytes == 1 ? "|" : "<") + kinds[type] + std::to_string(bytes);
}

}  // namespace

std::string makeNpyHeader(ImageHeader const& header) {
  std::string shape;
  for (int i = header.rank - 1; i >= 0; --i)
    shape += std::to_string(header.sizes[static_cast<std::size_t>(i)]) + ", ";
  shape.resize(shape.size() - 2);
  std::string text =
      "{'descr': '" + getDescription(header.type) + "', 'fortran_order': False, 'shape': (" + shape + "), }";
  constexpr std::size_t cPrefixBytes = 10;
  constexpr std::size_t cAlignment = 64;
  text.append(cAlignment - 1 - (cPrefixBytes + text.size()) % cAlignment, ' ');
  text += '\n';
  std::string bytes("\x93NUMPY\x01\x00", 8);
  bytes += static_cast<char>(text.size() % 256);
  bytes += static_cast<char>(text.size() / 256);
  return bytes + text;
}

void checkNpy(std::string const&, ImageHeader const&) {}

void writeNpy(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  std::string const start = makeNpyHeader(header);
  file.reserve(start.size() + getNbBytes(header));
  file.write(start.data(), start.size(), 0);
  file.write(voxels, getNbBytes(header), start.size());
}

}  // namespace qorn::io
