#pragma once

#include <vector>

#include "pxl/Export.h"
#include "pxl/Object.h"
#include "pxl/kernel/Offsets.h"

namespace pxl::kernel {

/**
 * The taps of a 2D correlation: offsets and their coefficients, two lists of equal length that never change. Copies
 * share the lists. Nothing is mirrored, normalised, sorted or dropped.
 */
class PXL_API Kernel2D : public Object {
 public:
  /** No taps. */
  Kernel2D();
  /** @throws InvalidCall lists of different length, more than 10^6 taps, or an offset beyond +-2^31 */
  Kernel2D(std::vector<Offset2D> offsets, std::vector<double> coefficients);
  /** Taps of an array of rows x cols coefficients in C order; the offset of an element is its index less the origin.
   */
  Kernel2D(double const* coefficients, long rows, long cols, long originRow, long originCol);
  /** The same with the origin at size / 2 (integer division). */
  Kernel2D(double const* coefficients, long rows, long cols);
  ~Kernel2D() override;

  std::vector<Offset2D> const& getOffsets() const;
  std::vector<double> const& getCoefficients() const;
};

/** The taps of a 3D correlation; see Kernel2D. */
class PXL_API Kernel3D : public Object {
 public:
  Kernel3D();
  Kernel3D(std::vector<Offset3D> offsets, std::vector<double> coefficients);
  /** Taps of an array of plans x rows x cols coefficients in C order. */
  Kernel3D(double const* coefficients, long plans, long rows, long cols, long originPlan, long originRow,
           long originCol);
  Kernel3D(double const* coefficients, long plans, long rows, long cols);
  ~Kernel3D() override;

  std::vector<Offset3D> const& getOffsets() const;
  std::vector<double> const& getCoefficients() const;
};

}  // namespace pxl::kernel
