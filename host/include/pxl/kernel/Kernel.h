#pragma once

#include <vector>

#include "pxl/Export.h"
#include "pxl/Object.h"
#include "pxl/kernel/Offsets.h"

namespace pxl::kernel {

/**
 * The taps of a 2D correlation: immutable lists of offsets and of their coefficients, of equal length. Copies share
 * the lists. Taps are not mirrored, normalised, sorted or dropped.
 */
class PXL_API Kernel2D : public Object {
 public:
  /** No taps. */
  Kernel2D();
  /** @throws InvalidCall the lists differ in length, there are more than 10^6 taps, or an offset exceeds +-2^31 */
  Kernel2D(std::vector<Offset2D> offsets, std::vector<double> coefficients);
  /**
   * The taps of an array of rows x cols coefficients in C order. The offset of a coefficient is its index - origin.
   * @throws InvalidCall `coefficients` is null, there aren't 1 to 10^6 taps, or an offset exceeds +-2^31
   */
  Kernel2D(double const* coefficients, long rows, long cols, long originRow, long originCol);
  /** The same with the origin at size / 2 (integer division). */
  Kernel2D(double const* coefficients, long rows, long cols);
  ~Kernel2D() override;

  std::vector<Offset2D> const& getOffsets() const;
  std::vector<double> const& getCoefficients() const;
};

/** The taps of a 3D correlation; as Kernel2D, also in what the constructors throw. */
class PXL_API Kernel3D : public Object {
 public:
  Kernel3D();
  Kernel3D(std::vector<Offset3D> offsets, std::vector<double> coefficients);
  /** The taps of an array of plans x rows x cols coefficients in C order. */
  Kernel3D(double const* coefficients, long plans, long rows, long cols, long originPlan, long originRow,
           long originCol);
  Kernel3D(double const* coefficients, long plans, long rows, long cols);
  ~Kernel3D() override;

  std::vector<Offset3D> const& getOffsets() const;
  std::vector<double> const& getCoefficients() const;
};

}  // namespace pxl::kernel
