#include "qorn/io/CroppedHeader.h"

#include <nifti1_io.h>

#include "qorn/io/NiftiHeader.h"

namespace qorn::io {
namespace {

/** The coordinate of the voxel (x, y, z) that a row of an affine transform gives. */
float apply(float const (&row)[4], pxl::access::Region const& region) {
  double const sum = static_cast<double>(row[0]) * static_cast<double>(region.colsBegin()) +
                     static_cast<double>(row[1]) * static_cast<double>(region.rowsBegin()) +
                     static_cast<double>(row[2]) * static_cast<double>(region.plansBegin()) +
                     static_cast<double>(row[3]);
  return static_cast<float>(sum);
}

void moveOrigin(nifti_1_header& fields, pxl::access::Region const& region) {
  if (fields.qform_code > 0) {
    float const qfac = fields.pixdim[0] < 0 ? -1.0f : 1.0f;
    mat44 const matrix = nifti_quatern_to_mat44(fields.quatern_b, fields.quatern_c, fields.quatern_d,
                                                fields.qoffset_x, fields.qoffset_y, fields.qoffset_z,
                                                fields.pixdim[1], fields.pixdim[2], fields.pixdim[3], qfac);
    fields.qoffset_x = apply(matrix.m[0], region);
    fields.qoffset_y = apply(matrix.m[1], region);
    fields.qoffset_z = apply(matrix.m[2], region);
  }
  if (fields.sform_code > 0) {
    fields.srow_x[3] = apply(fields.srow_x, region);
    fields.srow_y[3] = apply(fields.srow_y, region);
    fields.srow_z[3] = apply(fields.srow_z, region);
  }
  fields.toffset += fields.pixdim[4] * static_cast<float>(region.sequenceBegin());
}

}  // namespace

pxl::ImageSizes getSizes(pxl::access::Region const& region) {
  return {static_cast<unsigned long>(region.getNbCols()), static_cast<unsigned long>(region.getNbRows()),
          static_cast<unsigned long>(region.getNbPlans()), static_cast<unsigned long>(region.getNbSequencePlans()),
          static_cast<unsigned long>(region.getNbSpectralSeries())};
}

ImageHeader cropHeader(ImageHeader header, pxl::access::Region const& region) {
  pxl::ImageSizes const sizes = getSizes(region);
  if (header.nifti) {
    NiftiHeader nifti = *header.nifti;
    moveOrigin(nifti.fields, region);
    nifti.fields.slice_code = 0;
    nifti.fields.slice_start = nifti.fields.slice_end = 0;
    header.nifti = std::make_shared<NiftiHeader const>(nifti);
  }
  header.sizes = sizes;
  if (unsigned long const nbSamples = getNbSamples(header.picture);
      nbSamples > 1 && nbSamples != sizes[pxl::cSpectralSeries]) {
    header.picture = Picture();
    // With one sample per pixel the image has fewer dimensions.
    if (sizes[pxl::cSpectralSeries] == 1) {
      header.rank = sizes[pxl::cSequence] > 1 ? 4 : sizes[pxl::cPlans] > 1 ? 3 : 2;
    }
  }
  return header;
}

}  // namespace qorn::io
