#include "wide/Pieces.h"

#include <algorithm>

#include "wide/Slabs.h"

namespace pxl::wide {
namespace {

// Some microseconds of work: threads share them out, and a cancel waits for one.
constexpr long cNbPieceBytes = 64 * 1024;

}  // namespace

PieceCut::PieceCut(MemoryImage const* images, int nbImages, long voxelSize)
    : m_nbImages(nbImages), m_nbRowBytes(images[0].sizes[cColumns] * voxelSize) {
  for (int i = 0; i < nbImages; ++i) m_voxels[i] = images[i].voxels;
  bool isEmpty = m_nbRowBytes == 0;
  for (int d = cRows; d < cNbComponents; ++d) {
    Dimension next{images[0].sizes[d], {}};
    isEmpty = isEmpty || next.size == 0;
    for (int i = 0; i < nbImages; ++i) next.strides[i] = images[i].strides[d];
    if (next.size > 1) add(next);
  }
  m_nbParts = std::max(divideUp(m_nbRowBytes, cNbPieceBytes), 1L);
  m_nbRowsPerPiece = std::max(cNbPieceBytes / std::max(m_nbRowBytes, 1L), 1L);
  m_nbBands = m_nbDimensions == 0 ? 1 : divideUp(m_dimensions[0].size, m_nbRowsPerPiece);
  m_nbPieces = isEmpty ? 0 : m_nbParts * m_nbBands;
  for (int d = 1; d < m_nbDimensions; ++d) m_nbPieces *= m_dimensions[d].size;
}

void PieceCut::add(Dimension const& next) {
  Dimension* const last = m_nbDimensions == 0 ? nullptr : &m_dimensions[m_nbDimensions - 1];
  bool isAdjacent = true;
  for (int i = 0; i < m_nbImages; ++i)
    isAdjacent = isAdjacent && next.strides[i] == (last ? last->strides[i] * last->size : m_nbRowBytes);
  if (!isAdjacent)
    m_dimensions[m_nbDimensions++] = next;
  else if (last)
    last->size *= next.size;
  else
    m_nbRowBytes *= next.size;
}

Piece PieceCut::getPiece(long index) const {
  long const part = index % m_nbParts, band = index / m_nbParts % m_nbBands;
  long outer = index / m_nbParts / m_nbBands;
  long const firstRow = band * m_nbRowsPerPiece;
  Piece piece{};
  piece.nbBytes = std::min(cNbPieceBytes, m_nbRowBytes - part * cNbPieceBytes);
  piece.nbRows = m_nbDimensions == 0 ? 1 : std::min(m_nbRowsPerPiece, m_dimensions[0].size - firstRow);
  for (int i = 0; i < m_nbImages; ++i) {
    piece.strides[i] = m_nbDimensions == 0 ? 0 : m_dimensions[0].strides[i];
    piece.rows[i] = m_voxels[i] + part * cNbPieceBytes + firstRow * piece.strides[i];
  }
  for (int d = 1; d < m_nbDimensions; ++d) {
    long const position = outer % m_dimensions[d].size;
    outer /= m_dimensions[d].size;
    for (int i = 0; i < m_nbImages; ++i) piece.rows[i] += position * m_dimensions[d].strides[i];
  }
  return piece;
}

}  // namespace pxl::wide
