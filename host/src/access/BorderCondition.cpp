#include "pxl/access/BorderCondition.h"

#include <algorithm>

#include "access/CacheLine.h"
#include "instrument/Instrument.h"
#include "pxl/VoxelTypes.h"

namespace pxl::access {

template <class T>
BorderCondition<T>::BorderCondition() {
  PXL_PROBE(onBorderNew(this));
}

template <class T>
BorderCondition<T>::~BorderCondition() {
  PXL_PROBE(onBorderDelete(this));
}

namespace {

struct RowPosition {
  long row;
  long plan;
  long sequence;
  long spectralSeries;
};

template <class T>
bool isEmpty(ViewInterface<T> const& image) {
  return image.nbCols < 1 || image.nbRows < 1 || image.nbPlans < 1 || image.nbSequence < 1 ||
         image.nbSpectralSeries < 1;
}

bool isInside(long position, long size) { return position >= 0 && position < size; }

// Most rows lie within the image and need no rule.
template <class T>
bool isWithin(ViewInterface<T> const& image, long count, long col, long row, long plan, long sequence,
              long spectralSeries) {
  return col >= 0 && col + count <= image.nbCols && isInside(row, image.nbRows) && isInside(plan, image.nbPlans) &&
         isInside(sequence, image.nbSequence) && isInside(spectralSeries, image.nbSpectralSeries);
}

// A row of an image without voxels: there is nothing to read.
template <class T>
bool fillEmpty(T* first, T* last) {
  std::fill(first, last, T(0));
  return true;
}

template <class T>
class alignas(cCacheLine) FixedBorder final : public BorderCondition<T> {
 public:
  explicit FixedBorder(T value) : m_value(value) {}

  bool readRowAt(ViewInterface<T> const* image, T* first, T* last, long col, long row, long plan, long sequence,
                 long spectralSeries) const override {
    PXL_PROBE(onReadRow(image, first, last - first, col, row, plan, sequence, spectralSeries));
    if (isWithin(*image, last - first, col, row, plan, sequence, spectralSeries)) {
      image->readRow(first, last - first, col, row, plan, sequence, spectralSeries);
      return true;
    }
    long const begin = std::max(col, 0L);
    long const end = std::min(col + (last - first), image->nbCols);
    if (begin >= end || !isInside(row, image->nbRows) || !isInside(plan, image->nbPlans) ||
        !isInside(sequence, image->nbSequence) || !isInside(spectralSeries, image->nbSpectralSeries)) {
      std::fill(first, last, m_value);
      return true;
    }
    fillMargin(first, first + (begin - col));
    image->readRow(first + (begin - col), end - begin, begin, row, plan, sequence, spectralSeries);
    fillMargin(first + (end - col), last);
    return true;
  }

 private:
  // Usually one voxel, for which a call would cost more than the voxel itself.
  void fillMargin(T* first, T* last) const {
    if (last - first == 1)
      *first = m_value;
    else if (first != last)
      std::fill(first, last, m_value);
  }

  T m_value;
};

template <class T>
class alignas(cCacheLine) ContinueBorder final : public BorderCondition<T> {
 public:
  bool readRowAt(ViewInterface<T> const* image, T* first, T* last, long col, long row, long plan, long sequence,
                 long spectralSeries) const override {
    PXL_PROBE(onReadRow(image, first, last - first, col, row, plan, sequence, spectralSeries));
    if (first == last) return true;
    if (isWithin(*image, last - first, col, row, plan, sequence, spectralSeries)) {
      image->readRow(first, last - first, col, row, plan, sequence, spectralSeries);
      return true;
    }
    if (isEmpty(*image)) return fillEmpty(first, last);
    long const lastCol = col + (last - first) - 1;
    // At least one voxel of the row is read: the one that is repeated.
    long const begin = std::clamp(col, 0L, image->nbCols - 1);
    long const end = std::clamp(lastCol, 0L, image->nbCols - 1) + 1;
    T* const target = first + std::clamp(begin - col, 0L, static_cast<long>(last - first) - 1);
    image->readRow(target, end - begin, begin, std::clamp(row, 0L, image->nbRows - 1),
                   std::clamp(plan, 0L, image->nbPlans - 1), std::clamp(sequence, 0L, image->nbSequence - 1),
                   std::clamp(spectralSeries, 0L, image->nbSpectralSeries - 1));
    T* const targetEnd = target + (end - begin);
    std::fill(first, target, *target);
    std::fill(targetEnd, last, *(targetEnd - 1));
    return true;
  }
};

// Maps `position` into a dimension that is reflected at both ends: 2 1 0 1 2 3 2 1 0 ...
long reflect(long position, long size) {
  if (isInside(position, size)) return position;
  if (size == 1) return 0;
  long const period = 2 * (size - 1);
  long const phase = ((position % period) + period) % period;
  return phase < size ? phase : period - phase;
}

template <class T>
class alignas(cCacheLine) MirrorBorder final : public BorderCondition<T> {
 public:
  bool readRowAt(ViewInterface<T> const* image, T* first, T* last, long col, long row, long plan, long sequence,
                 long spectralSeries) const override {
    PXL_PROBE(onReadRow(image, first, last - first, col, row, plan, sequence, spectralSeries));
    if (isEmpty(*image)) return fillEmpty(first, last);
    RowPosition const at{reflect(row, image->nbRows), reflect(plan, image->nbPlans),
                         reflect(sequence, image->nbSequence), reflect(spectralSeries, image->nbSpectralSeries)};
    long const begin = std::max(col, 0L);
    long const end = std::min(col + (last - first), image->nbCols);
    long const nbBefore = begin - col, nbAfter = col + (last - first) - end;
    if (nbBefore < end - begin && nbAfter < end - begin) {
      readWithMargins(*image, first, begin, end, nbBefore, nbAfter, at);
      return true;
    }
    while (first != last) {
      long const done = readRun(*image, first, last - first, col, at);
      first += done;
      col += done;
    }
    return true;
  }

 private:
  // Reads the voxels within the image at once, and copies the reflections from them.
  static void readWithMargins(ViewInterface<T> const& image, T* first, long begin, long end, long nbBefore,
                              long nbAfter, RowPosition const& at) {
    T* const inside = first + nbBefore;
    image.readRow(inside, end - begin, begin, at.row, at.plan, at.sequence, at.spectralSeries);
    T* const last = inside + (end - begin) - 1;
    for (long i = 1; i <= nbBefore; ++i) inside[-i] = inside[i];
    for (long i = 1; i <= nbAfter; ++i) last[i] = last[-i];
  }

  // Reads one run of the reflected row, ascending or descending, and returns its length.
  static long readRun(ViewInterface<T> const& image, T* voxels, long count, long col, RowPosition const& at) {
    long const from = reflect(col, image.nbCols);
    if (image.nbCols == 1) {
      image.readRow(voxels, 1, 0, at.row, at.plan, at.sequence, at.spectralSeries);
      std::fill(voxels + 1, voxels + count, *voxels);
      return count;
    }
    bool const isRising = reflect(col + 1, image.nbCols) > from;
    long const length = std::min(count, isRising ? image.nbCols - from : from + 1);
    image.readRow(voxels, length, isRising ? from : from - length + 1, at.row, at.plan, at.sequence,
                  at.spectralSeries);
    if (!isRising) std::reverse(voxels, voxels + length);
    return length;
  }
};

}  // namespace

template <class T>
std::shared_ptr<BorderCondition<T>> FixedBorderCondition<T>::New(T value) {
  return std::make_shared<FixedBorder<T>>(value);
}

template <class T>
std::shared_ptr<BorderCondition<T>> ContinueBorderCondition<T>::New() {
  return std::make_shared<ContinueBorder<T>>();
}

std::shared_ptr<BorderCondition<float>> MirrorBorderCondition<float>::New() {
  return std::make_shared<MirrorBorder<float>>();
}

std::shared_ptr<BorderCondition<double>> MirrorBorderCondition<double>::New() {
  return std::make_shared<MirrorBorder<double>>();
}

#define PXL_INSTANTIATE(T)                \
  template class BorderCondition<T>;      \
  template class FixedBorderCondition<T>; \
  template class ContinueBorderCondition<T>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_INSTANTIATE)
#undef PXL_INSTANTIATE

}  // namespace pxl::access
