#pragma once

#include <string>

#include "pxl/VoxelTypes.h"
#include "qorn/io/Picture.h"
#include "qorn/io/TiffFile.h"

namespace qorn::io {

/** The strips or tiles of a page: pieces of the picture that are stored one by one, in C order, sample by sample. */
struct TiffPieces {
  bool isTiled;
  unsigned long count;
  unsigned long countPerPlane;  ///< less where each sample has pieces of its own
  unsigned long nbSamples;      ///< of each pixel in a piece
  unsigned long cols;           ///< of every piece; tiles reach beyond the picture's edge
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
 * Describes the present page and checks that its data can be in the file: every piece lies within it, pieces without
 * compression are complete, compressed ones aren't smaller than the method allows.
 * @throws FileError also for palettes, other colours than red, green and blue, and sample types that no image has
 */
TiffPage readTiffPage(TiffFile const& file);

/** The rows of piece `index`, those of a tile that lie below the picture among them. */
unsigned long getPieceRows(TiffPage const& page, unsigned long index);
/** The bytes of a row of a piece when it isn't compressed. */
unsigned long getPieceRowBytes(TiffPage const& page);
/** The bytes of piece `index` when it isn't compressed. */
unsigned long getPieceBytes(TiffPage const& page, unsigned long index);

}  // namespace qorn::io
