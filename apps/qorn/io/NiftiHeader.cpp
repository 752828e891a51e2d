#include "qorn/io/NiftiHeader.h"

#include <nifti1_io.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "qorn/io/FileError.h"

namespace qorn::io {
namespace {

static_assert(sizeof(nifti_1_header) == 348, "the header is read as it stands in the file");

constexpr int cHeaderBytes = 348;
constexpr int cSecondVersionBytes = 540;

/** A voxel type and its code in files. */
struct TypeCode {
  pxl::VoxelTypes type;
  short code;
};
constexpr TypeCode cTypeCodes[] = {{pxl::cUnsignedInteger8, DT_UINT8},
                                   {pxl::cUnsignedInteger16, DT_UINT16},
                                   {pxl::cUnsignedInteger32, DT_UINT32},
                                   {pxl::cInteger8, DT_INT8},
                                   {pxl::cInteger16, DT_INT16},
                                   {pxl::cInteger32, DT_INT32},
                                   {pxl::cFloat, DT_FLOAT32},
                                   {pxl::cDouble, DT_FLOAT64}};

pxl::VoxelTypes getType(std::string const& path, short code) {
  for (TypeCode const& entry : cTypeCodes) {
    if (entry.code == code) return entry.type;
  }
  std::string const name = nifti_datatype_string(code);
  if (name.find('*') != std::string::npos) {
    throw FileError(path, "the voxel type " + std::to_string(code) + " isn't one of the NIfTI-1 standard");
  }
  throw FileError(path, "voxels of type " + name +
                            " aren't read; only integers of 8, 16 and 32 bits, FLOAT32 and "
                            "FLOAT64");
}

short getCode(pxl::VoxelTypes type) {
  return std::find_if(std::begin(cTypeCodes), std::end(cTypeCodes), [type](auto const& e) { return e.type == type; })
      ->code;
}

int swapInteger(int value) {
  nifti_swap_4bytes(1, &value);
  return value;
}

/** The sizes, slowest first; at least rows and columns. */
std::vector<unsigned long> getShape(std::string const& path, nifti_1_header const& fields) {
  constexpr int cMaxRank = pxl::cNbComponents;
  int const rank = fields.dim[0];
  if (rank < 1 || rank > 7) throw FileError(path, std::to_string(rank) + " dimensions; a NIfTI-1 file has 1 to 7");
  std::vector<unsigned long> shape;
  for (int i = rank; i >= 1; --i) {
    int const size = fields.dim[i];
    if (size < 0) throw FileError(path, "dimension " + std::to_string(i) + " has the size " + std::to_string(size));
    if (size != 1 && i > cMaxRank) throw FileError(path, "dimensions 6 and 7 can only have the size 1");
    if (i <= cMaxRank) shape.push_back(static_cast<unsigned long>(size));
  }
  if (rank == 1) shape.insert(shape.begin(), 1);
  return shape;
}

/** The scale that the file declares for its voxels, if any. */
std::optional<ValueScale> getScale(nifti_1_header const& fields) {
  ValueScale const scale{fields.scl_slope, fields.scl_inter};
  bool const isValid = std::isfinite(scale.slope) && std::isfinite(scale.intercept) && scale.slope != 0;
  bool const isIdentity = scale.slope == 1 && scale.intercept == 0;
  return isValid && !isIdentity ? std::optional<ValueScale>(scale) : std::nullopt;
}

unsigned long getDataOffset(std::string const& path, float offset) {
  constexpr float cMaxOffset = 0x1p50f;
  if (!(offset >= cNiftiStartBytes && offset <= cMaxOffset) || std::trunc(offset) != offset) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(offset));
    throw FileError(path, std::string("says that its voxels begin at byte ") + text);
  }
  return static_cast<unsigned long>(offset);
}

}  // namespace

NiftiHeader parseNiftiHeader(std::string const& path, void const* start) {
  nifti_set_debug_level(0);  // the library would print
  NiftiHeader nifti{};
  std::memcpy(&nifti.fields, start, sizeof nifti.fields);
  int const bytes = nifti.fields.sizeof_hdr;
  if (bytes == cSecondVersionBytes || bytes == swapInteger(cSecondVersionBytes)) {
    throw FileError(path, "a NIfTI-2 file; only NIfTI-1 is read");
  }
  nifti.isSwapped = bytes == swapInteger(cHeaderBytes);
  if (bytes != cHeaderBytes && !nifti.isSwapped) throw FileError(path, "not a NIfTI-1 file");
  if (std::memcmp(nifti.fields.magic, "ni1", 4) == 0) {
    throw FileError(path, "its voxels are in another file; only single files are read");
  }
  if (std::memcmp(nifti.fields.magic, "n+1", 4) != 0) throw FileError(path, "not a NIfTI-1 file");
  if (nifti.isSwapped) swap_nifti_header(&nifti.fields, 1);
  nifti.dataOffset = getDataOffset(path, nifti.fields.vox_offset);
  return nifti;
}

ImageHeader makeNiftiImageHeader(std::string const& path, NiftiHeader const& nifti, bool isCompressed) {
  nifti_1_header const& fields = nifti.fields;
  pxl::VoxelTypes const type = getType(path, fields.datatype);
  ImageHeader header = makeHeader(path, type, getShape(path, fields), isCompressed);
  if (fields.bitpix != static_cast<int>(8 * pxl::helper::getSizeOf(type))) {
    throw FileError(path, "says " + std::to_string(fields.bitpix) + " bits per voxel and the type " +
                              pxl::helper::getNameOf(type));
  }
  header.spacing.assign(fields.pixdim + 1, fields.pixdim + 1 + header.rank);
  header.scale = getScale(fields);
  header.nifti = std::make_shared<NiftiHeader>(nifti);
  return header;
}

void dropIntercept(ImageHeader& header) {
  if (header.scale) header.scale->intercept = 0;
  if (!header.nifti) return;
  auto nifti = std::make_shared<NiftiHeader>(*header.nifti);
  nifti->fields.scl_inter = 0;
  header.nifti = std::move(nifti);
}

nifti_1_header makeNiftiFields(std::string const& path, ImageHeader const& header) {
  nifti_set_debug_level(0);
  int dimensions[8] = {header.rank, 1, 1, 1, 1, 1, 1, 1};
  for (std::size_t i = 0; i < header.sizes.size(); ++i) dimensions[i + 1] = static_cast<int>(header.sizes[i]);
  short const code = getCode(header.type);
  std::unique_ptr<nifti_1_header, void (*)(void*)> const plain(nifti_make_new_header(dimensions, code), std::free);
  if (plain == nullptr) throw FileError(path, "not enough memory");
  nifti_1_header fields = header.nifti ? header.nifti->fields : *plain;
  if (fields.datatype != code) fields.scl_slope = fields.scl_inter = 0;
  std::copy(std::begin(dimensions), std::end(dimensions), fields.dim);
  fields.datatype = code;
  fields.bitpix = plain->bitpix;
  fields.vox_offset = cNiftiStartBytes;
  return fields;
}

}  // namespace qorn::io
