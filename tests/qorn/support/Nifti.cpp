#include "support/Nifti.h"

#include <nifti1_io.h>
#include <zlib.h>

#include <stdexcept>

namespace test {

NiftiStart::NiftiStart(std::vector<int> const& sizes, int datatype, int bits, bool isBigEndian)
    : m_isBigEndian(isBigEndian), m_bytes(352, '\0') {
  put(cNiftiHeaderBytes, 348);
  put(cNiftiDim, static_cast<short>(sizes.size()));
  for (std::size_t i = 0; i < sizes.size(); ++i) put(cNiftiDim + 2 + 2 * i, static_cast<short>(sizes[i]));
  put(cNiftiDatatype, static_cast<short>(datatype));
  put(cNiftiBitpix, static_cast<short>(bits));
  for (std::size_t i = 0; i < 8; ++i) put(cNiftiPixdim + 4 * i, 1.0f);
  put(cNiftiOffset, 352.0f);
  putText(cNiftiMagic, "n+1");
}

void writeGzip(std::string const& path, std::string const& bytes) {
  gzFile const file = gzopen(path.c_str(), "wb");
  if (file == nullptr) throw std::runtime_error("can't write " + path);
  int const done = gzwrite(file, bytes.data(), static_cast<unsigned int>(bytes.size()));
  if (gzclose(file) != Z_OK || done != static_cast<int>(bytes.size())) throw std::runtime_error("can't compress");
}

std::string readGzip(std::string const& path) {
  gzFile const file = gzopen(path.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error("can't read " + path);
  std::string bytes;
  std::string part(1 << 16, '\0');
  int done = 0;
  while ((done = gzread(file, part.data(), 1 << 16)) > 0) bytes.append(part, 0, static_cast<std::size_t>(done));
  if (done < 0 || gzdirect(file) != 0 || gzclose(file) != Z_OK) throw std::runtime_error("not a good gzip file");
  return bytes;
}

NiftiContent readNifti(std::string const& path) {
  nifti_image* const image = nifti_image_read(path.c_str(), 1);
  if (image == nullptr) throw std::runtime_error("can't read " + path);
  NiftiContent content{};
  content.sizes.assign(image->dim + 1, image->dim + 1 + image->dim[0]);
  content.datatype = image->datatype;
  content.spacing.assign(image->pixdim + 1, image->pixdim + 1 + image->dim[0]);
  content.slope = image->scl_slope;
  content.intercept = image->scl_inter;
  content.description = image->descrip;
  content.intentCode = image->intent_code;
  content.intentP1 = image->intent_p1;
  content.spaceUnit = image->xyz_units;
  content.timeUnit = image->time_units;
  content.qformCode = image->qform_code;
  content.sformCode = image->sform_code;
  content.quaternion = {image->quatern_b, image->quatern_c, image->quatern_d,
                        image->qoffset_x, image->qoffset_y, image->qoffset_z};
  for (int i = 0; i < 12; ++i) content.rows.push_back(image->sto_xyz.m[i / 4][i % 4]);
  content.voxels.assign(static_cast<char const*>(image->data), nifti_get_volsize(image));
  nifti_image_free(image);
  return content;
}

}  // namespace test
