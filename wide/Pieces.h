#pragma once

#include "wide/MemoryImage.h"
#include "wide/RunParts.h"
#include "wide/RunViews.h"

/** Images whose voxels are looked at one by one, whatever lies around them. */
namespace pxl::wide {

constexpr int cMaxNbPieceImages = 3;

/** Voxels of some images at the same positions: rows of adjacent bytes. */
struct Piece {
  char* rows[cMaxNbPieceImages];    ///< the first row of each image
  long strides[cMaxNbPieceImages];  ///< bytes from one row to the next
  long nbBytes;                     ///< of a row
  long nbRows;
};

/**
 * Cuts images of the same sizes into pieces of about the first-level cache. Dimensions that follow each other in the
 * memory of all images without a gap are one, so that the rows of packed images are as long as a piece.
 */
class PieceCut {
 public:
  PieceCut(MemoryImage const* images, int nbImages, long voxelSize);

  long getNbPieces() const { return m_nbPieces; }
  Piece getPiece(long index) const;

 private:
  struct Dimension {
    long size;
    long strides[cMaxNbPieceImages];
  };

  void add(Dimension const& next);

  int m_nbImages;
  char* m_voxels[cMaxNbPieceImages];
  long m_nbRowBytes;
  int m_nbDimensions = 0;  ///< beyond the row
  Dimension m_dimensions[cNbComponents];
  long m_nbParts;         ///< of a row
  long m_nbRowsPerPiece;  ///< more than one where a row is a part of a piece
  long m_nbBands;         ///< pieces of the first dimension beyond the row
  long m_nbPieces;
};

/**
 * Calls body(index) for `count` pieces, in parallel; it returns the number of voxels that it looked at.
 * @throws ExceptionCancelation some pieces weren't looked at
 */
template <class Body>
void runPieces(BaseTbbAlgorithm& filter, RunViews const& views, long count, Body const& body) {
  runParts(filter, count, [&](long index) {
    views.check();
    filter.m_progress.fetch_add(static_cast<unsigned long>(body(index)));
  });
}

}  // namespace pxl::wide
