#include "qorn/io/ExistingOutput.h"

#include "pxl/Exception.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/NpyHeader.h"
#include "qorn/io/Suffix.h"

namespace qorn::io {

std::shared_ptr<pxl::Image> openExistingOutput(std::string const& path, ImageHeader const& input,
                                               std::optional<pxl::VoxelTypes> type) {
  if (getSuffix(path) != ".npy") throw FileError(path, "only parts of .npy files can be written");
  InputFile const file(path);
  NpyHeader const npy = readNpyHeader(file);
  ImageHeader const header = readNpyImageHeader(file);
  if (npy.isSwapped || npy.isFortranOrder) {
    throw FileError(path, std::string("parts of ") + (npy.isSwapped ? "big-endian data" : "data in Fortran order") +
                              " can't be written");
  }
  if (type && *type != header.type) {
    throw FileError(path, std::string("is of type ") + pxl::helper::getNameOf(header.type) + ", not " +
                              pxl::helper::getNameOf(*type));
  }
  for (std::size_t i = 0; i < header.sizes.size(); ++i) {
    if (header.sizes[i] == input.sizes[i]) continue;
    throw FileError(path, "has " + std::to_string(header.sizes[i]) + ' ' + cAxisNames[i] + ", the input " +
                              std::to_string(input.sizes[i]));
  }
  try {
    auto image = pxl::Image::OnDisk(path, pxl::FileModes::cReadWrite, header.type, header.sizes, npy.dataOffset);
    if (!file.holds(*image)) throw FileError(path, "was replaced while it was read");
    return image;
  } catch (pxl::Exception const& error) {
    // The message of the host already contains the file.
    std::string const text = error.what();
    std::string const prefix = path + ": ";
    throw FileError(path, text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : text);
  }
}

}  // namespace qorn::io
