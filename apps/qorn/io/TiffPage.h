#pragma once

#include <string>

#include "pxl/VoxelTypes.h"
#include "qorn/io/Picture.h"
#include "qorn/io/TiffFile.h"

namespace qorn::io {

/** The strips or tiles of a page: separately stored pieces of the picture, in C order, sample by sample. */
struct TiffPieces {
  bool isTiled;
  unsigned long count;
  unsigned long countPerPlane;  ///< of one plane, if each sample has its own pieces; else all
  unsigned long nbSamples;      ///< of each pixel in a piece
  unsigned long cols;           ///< of every piece; tiles may reach beyond the picture's edge
  unsigned long rows;           ///< the last strip may have fewer
};

/** One page, a picture. */
struct TiffPage {
  unsigned long cols;
  unsigned long rows;
  pxl::VoxelTypes type;
  Picture picture;
  bool isCompressed;
  TiffPieces pieces;
};

/**
 * Describes the present page and checks that its data can be in the file: every piece is within it, uncompressed
 * pieces are complete, and compressed ones aren't smaller than the method allows.
 * @throws FileError a check failed, or there is a palette, a colour space other than RGB or an unsupported sample
 * type
 */
TiffPage readTiffPage(TiffFile const& file);

/** The number of rows of piece `index`, including those of a tile below the picture. */
unsigned long getPieceRows(TiffPage const& page, unsigned long index);
/** The bytes of an uncompressed row of a piece. */
unsigned long getPieceRowBytes(TiffPage const& page);
/** The bytes of piece `index` without compression. */
unsigned long getPieceBytes(TiffPage const& page, unsigned long index);

}  // namespace qorn::io
