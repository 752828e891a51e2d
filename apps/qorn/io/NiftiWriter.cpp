#include <cstring>

#include "qorn/io/FileError.h"
#include "qorn/io/GzipFile.h"
#include "qorn/io/ImageWriters.h"
#include "qorn/io/NiftiHeader.h"
#include "qorn/io/OutputFile.h"

namespace qorn::io {
namespace {

/** The header and four zeros, which declare that there are no extensions. */
std::string makeStart(OutputFile const& file, ImageHeader const& header) {
  std::string start(cNiftiStartBytes, '\0');
  nifti_1_header const fields = makeNiftiFields(file.getPath(), header);
  std::memcpy(start.data(), &fields, sizeof fields);
  return start;
}

}  // namespace

void checkNifti(std::string const& path, ImageHeader const& header) {
  constexpr unsigned long cMaxNiftiSize = 32767;
  for (std::size_t i = 0; i < header.sizes.size(); ++i) {
    if (header.sizes[i] <= cMaxNiftiSize) continue;
    throw FileError(path, std::string("NIfTI-1 holds at most 32767 ") + cAxisNames[i] + ", this image has " +
                              std::to_string(header.sizes[i]));
  }
}

void writeNifti(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  std::string const start = makeStart(file, header);
  file.reserve(start.size() + getNbBytes(header));
  file.write(start.data(), start.size(), 0);
  file.write(voxels, getNbBytes(header), start.size());
}

void writeCompressedNifti(OutputFile const& file, ImageHeader const& header, void const* voxels) {
  std::string const start = makeStart(file, header);
  GzipWriter gzip(file);
  gzip.write(start.data(), start.size());
  gzip.write(voxels, getNbBytes(header));
  gzip.finish();
}

}  // namespace qorn::io
