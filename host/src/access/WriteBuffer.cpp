#include "access/WriteBuffer.h"

#include <algorithm>

#include "Raise.h"

namespace pxl::access {
namespace {

unsigned long countBytes(VoxelSource const& source) {
  unsigned long bytes = helper::getSizeOf(source.storage->getVoxelType());
  for (unsigned long const size : source.size) bytes *= size;
  return bytes;
}

bool isRoomInMemory(VoxelSource const& target, ExtraMemory getExtraMemory) {
  return !target.storage->isOnDisk() && countBytes(target) < getExtraMemory();
}

bool reserve(io::TemporaryImageReference const& room, VoxelSource const& target) {
  unsigned long const* const size = target.size;
  return room->reserve(target.storage->getVoxelType(), size[cColumns], size[cRows], size[cPlans], size[cSequence],
                       size[cSpectralSeries]);
}

io::TemporaryImageReference makeRoom(VoxelSource const& target, ExtraMemory getExtraMemory) {
  if (isRoomInMemory(target, getExtraMemory)) {
    auto const inMemory = io::TemporaryImage::New(io::cInMemory);
    if (reserve(inMemory, target)) return inMemory;
  }
  auto const onDisk = io::TemporaryImage::New(io::cOnDisk);
  if (!reserve(onDisk, target))
    PXL_RAISE(RuntimeError, "there is no room to keep the input of a filter in place while it is overwritten");
  return onDisk;
}

}  // namespace

WriteBuffer::WriteBuffer(VoxelSource const& target, VoxelTypes type, ExtraMemory getExtraMemory)
    : m_target(target),
      m_room(makeRoom(target, getExtraMemory)),
      m_window(m_room->getImageModel()->getSource(), type) {}

bool WriteBuffer::write(void const* voxels, unsigned long count, Position const& position) {
  if (!m_window.write(voxels, count, position)) return false;
  note(m_pieces.local(), count, position);
  return true;
}

// Rows are written one after the other, or alternate with the margins of their blocks.
void WriteBuffer::note(Pieces& pieces, unsigned long count, Position const& position) {
  constexpr std::ptrdiff_t cNbLast = 4;
  auto const isBelow = [&](Piece const& piece) {
    return piece.nbCols == count && piece.begin[cColumns] == position[cColumns] &&
           piece.begin[cRows] + piece.nbRows == position[cRows] &&
           std::equal(position + cPlans, position + cNbComponents, piece.begin + cPlans);
  };
  auto const last = pieces.end() - std::min(cNbLast, pieces.end() - pieces.begin());
  auto const above = std::find_if(last, pieces.end(), isBelow);
  if (above != pieces.end()) {
    ++above->nbRows;
    return;
  }
  Piece piece{{}, count, 1};
  std::copy(position, position + cNbComponents, piece.begin);
  pieces.push_back(piece);
}

void WriteBuffer::commit() {
  // Both have the same type: voxels are copied without conversion.
  VoxelTypes const type = m_target.storage->getVoxelType();
  ConvertedWindow const from(m_window.getSource(), type);
  ConvertedWindow const to(m_target, type);
  constexpr unsigned long cBufferSize = 16384;
  alignas(16) char buffer[cBufferSize];
  unsigned long const maxPart = cBufferSize / helper::getSizeOf(type);
  for (Pieces const& pieces : m_pieces)
    for (Piece piece : pieces)
      for (unsigned long row = 0; row < piece.nbRows; ++row, ++piece.begin[cRows])
        for (unsigned long done = 0; done < piece.nbCols;) {
          unsigned long const part = std::min(piece.nbCols - done, maxPart);
          Position const position = {piece.begin[cColumns] + done, piece.begin[cRows], piece.begin[cPlans],
                                     piece.begin[cSequence], piece.begin[cSpectralSeries]};
          from.read(buffer, part, position);
          if (!to.write(buffer, part, position))
            PXL_RAISE(RuntimeError, "the result of a filter in place can't be stored in the image");
          done += part;
        }
}

}  // namespace pxl::access
