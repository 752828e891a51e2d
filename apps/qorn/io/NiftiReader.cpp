#include <nifti1_io.h>

#include <optional>

#include "qorn/io/FileError.h"
#include "qorn/io/GzipFile.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"
#include "qorn/io/NiftiHeader.h"
#include "qorn/io/Suffix.h"

namespace qorn::io {
namespace {

/** An open file after its header, plain or compressed. */
class NiftiFile : private pxl::Noncopyable {
 public:
  explicit NiftiFile(InputFile const& file) : m_file(file) {
    std::string const& path = file.getPath();
    if (getSuffix(path) == ".nii.gz") m_gzip.emplace(file);
    if (!m_gzip && file.getSize() < cNiftiStartBytes) throw FileError(path, "not a NIfTI-1 file");
    unsigned char start[cNiftiStartBytes];
    if (m_gzip) {
      m_gzip->read(start, sizeof start);
    } else {
      file.read(start, sizeof start, 0);
    }
    m_nifti = parseNiftiHeader(path, start);
    m_header = makeNiftiImageHeader(path, m_nifti, m_gzip.has_value());
    checkLength();
  }

  ImageHeader const& getHeader() const { return m_header; }

  void readVoxels(void* voxels) {
    unsigned long const bytes = getNbBytes(m_header);
    if (m_gzip) {
      m_gzip->skip(m_nifti.dataOffset - cNiftiStartBytes);
      m_gzip->read(voxels, bytes);
      m_gzip->finish();
    } else {
      m_file.read(voxels, bytes, m_nifti.dataOffset);
    }
    auto const voxelBytes = static_cast<int>(pxl::helper::getSizeOf(m_header.type));
    if (m_nifti.isSwapped && voxelBytes > 1) nifti_swap_Nbytes(getNbVoxels(m_header), voxelBytes, voxels);
  }

 private:
  void checkLength() const {
    unsigned long const bytes = getNbBytes(m_header);
    unsigned long const offset = m_nifti.dataOffset;
    unsigned long const size = m_file.getSize();
    if (m_gzip) {
      if ((offset + bytes) / cMaxDeflateRatio <= size) return;
      throw FileError(m_file.getPath(),
                      "is too short for the " + std::to_string(getNbVoxels(m_header)) + " voxels it declares");
    }
    if (offset > size) {
      throw FileError(m_file.getPath(), "says that its voxels begin at byte " + std::to_string(offset) +
                                            ", and has only " + std::to_string(size));
    }
    if (bytes > size - offset) {
      throw FileError(m_file.getPath(), "declares " + std::to_string(bytes) + " bytes of voxels and has " +
                                            std::to_string(size - offset));
    }
  }

  InputFile const& m_file;
  std::optional<GzipReader> m_gzip;
  NiftiHeader m_nifti{};
  ImageHeader m_header{};
};

}  // namespace

ImageHeader readNiftiImageHeader(InputFile const& file) { return NiftiFile(file).getHeader(); }

ImageFile readNifti(InputFile const& file, ReadOptions const& options) {
  std::string const& path = file.getPath();
  if (options.isOnDisk) throw FileError(path, "NIfTI data can't be used on disk; only .npy can");
  NiftiFile nifti(file);
  ImageHeader const& header = nifti.getHeader();
  checkBeforeReading(path, header, options);
  std::shared_ptr<pxl::Image> image = makeImage(path, header, options.interpretation);
  nifti.readVoxels(image->getVoxels());
  return {header, image};
}

}  // namespace qorn::io
