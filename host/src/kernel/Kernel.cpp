#include "pxl/kernel/Kernel.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "Raise.h"
#include "pxl/Limits.h"

namespace pxl::kernel {
namespace {

using limits::cMaxNbOffsets;
using limits::cMaxOffset;

template <class Offset>
class TapList final : public RefImpl {
 public:
  TapList(std::vector<Offset> offsetList, std::vector<double> coefficientList)
      : offsets(std::move(offsetList)), coefficients(std::move(coefficientList)) {}

  std::vector<Offset> const offsets;
  std::vector<double> const coefficients;
};

bool isNear(long value) { return value >= -cMaxOffset && value <= cMaxOffset; }
bool isNear(Offset2D const& offset) { return isNear(offset.col) && isNear(offset.row); }
bool isNear(Offset3D const& offset) { return isNear(offset.col) && isNear(offset.row) && isNear(offset.plan); }

template <class Offset>
RefImpl* makeTaps(std::vector<Offset> offsets, std::vector<double> coefficients) {
  if (offsets.size() != coefficients.size()) PXL_RAISE(InvalidCall, "a kernel needs as many coefficients as offsets");
  if (offsets.size() > cMaxNbOffsets)
    PXL_RAISE(InvalidCall, "a kernel has at most " + std::to_string(cMaxNbOffsets) + " taps");
  for (Offset const& offset : offsets)
    if (!isNear(offset)) PXL_RAISE(InvalidCall, "a kernel offset lies beyond 2^31 voxels");
  return new TapList<Offset>(std::move(offsets), std::move(coefficients));
}

void checkArray(double const* coefficients, long plans, long rows, long cols, std::initializer_list<long> origin) {
  if (!coefficients) PXL_RAISE(InvalidCall, "a kernel needs the address of its coefficients");
  for (long position : origin)
    if (!isNear(position)) PXL_RAISE(InvalidCall, "the origin of a kernel lies beyond 2^31 voxels");
  unsigned long nbTaps = 1;
  for (long size : {plans, rows, cols}) {
    if (size < 1 || static_cast<unsigned long>(size) > cMaxNbOffsets / nbTaps)
      PXL_RAISE(InvalidCall, "a kernel array needs 1 to " + std::to_string(cMaxNbOffsets) + " taps");
    nbTaps *= static_cast<unsigned long>(size);
  }
}

RefImpl* makeTaps2D(double const* coefficients, long rows, long cols, long originRow, long originCol) {
  checkArray(coefficients, 1, rows, cols, {originRow, originCol});
  std::vector<Offset2D> offsets;
  offsets.reserve(static_cast<unsigned long>(rows * cols));
  for (long row = 0; row < rows; ++row)
    for (long col = 0; col < cols; ++col) offsets.push_back({col - originCol, row - originRow});
  return makeTaps(std::move(offsets), std::vector<double>(coefficients, coefficients + rows * cols));
}

RefImpl* makeTaps3D(double const* coefficients, long plans, long rows, long cols, long originPlan, long originRow,
                    long originCol) {
  checkArray(coefficients, plans, rows, cols, {originPlan, originRow, originCol});
  std::vector<Offset3D> offsets;
  offsets.reserve(static_cast<unsigned long>(plans * rows * cols));
  for (long plan = 0; plan < plans; ++plan)
    for (long row = 0; row < rows; ++row)
      for (long col = 0; col < cols; ++col) offsets.push_back({col - originCol, row - originRow, plan - originPlan});
  return makeTaps(std::move(offsets), std::vector<double>(coefficients, coefficients + plans * rows * cols));
}

template <class Offset>
TapList<Offset> const& tapsOf(RefImpl const* implementation) {
  return static_cast<TapList<Offset> const&>(*implementation);
}

}  // namespace

Kernel2D::Kernel2D() : Object(makeTaps(std::vector<Offset2D>(), {})) {}
Kernel2D::Kernel2D(std::vector<Offset2D> offsets, std::vector<double> coefficients)
    : Object(makeTaps(std::move(offsets), std::move(coefficients))) {}
Kernel2D::Kernel2D(double const* coefficients, long rows, long cols, long originRow, long originCol)
    : Object(makeTaps2D(coefficients, rows, cols, originRow, originCol)) {}
Kernel2D::Kernel2D(double const* coefficients, long rows, long cols)
    : Kernel2D(coefficients, rows, cols, rows / 2, cols / 2) {}
Kernel2D::~Kernel2D() = default;

std::vector<Offset2D> const& Kernel2D::getOffsets() const { return tapsOf<Offset2D>(getImplementation()).offsets; }
std::vector<double> const& Kernel2D::getCoefficients() const {
  return tapsOf<Offset2D>(getImplementation()).coefficients;
}

Kernel3D::Kernel3D() : Object(makeTaps(std::vector<Offset3D>(), {})) {}
Kernel3D::Kernel3D(std::vector<Offset3D> offsets, std::vector<double> coefficients)
    : Object(makeTaps(std::move(offsets), std::move(coefficients))) {}
Kernel3D::Kernel3D(double const* coefficients, long plans, long rows, long cols, long originPlan, long originRow,
                   long originCol)
    : Object(makeTaps3D(coefficients, plans, rows, cols, originPlan, originRow, originCol)) {}
Kernel3D::Kernel3D(double const* coefficients, long plans, long rows, long cols)
    : Kernel3D(coefficients, plans, rows, cols, plans / 2, rows / 2, cols / 2) {}
Kernel3D::~Kernel3D() = default;

std::vector<Offset3D> const& Kernel3D::getOffsets() const { return tapsOf<Offset3D>(getImplementation()).offsets; }
std::vector<double> const& Kernel3D::getCoefficients() const {
  return tapsOf<Offset3D>(getImplementation()).coefficients;
}

}  // namespace pxl::kernel
