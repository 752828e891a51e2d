#pragma once

#include "pxl/BaseTbbAlgorithm.h"
#include "wide/MemoryImage.h"
#include "wide/TileCut.h"

namespace pxl::wide {

/** What a run works on. */
struct ProgramImages {
  MemoryImage source;
  MemoryImage target;
  VoxelTypes type;
  bool isInPlace;
};

/** Bytes beyond the images that a run takes with as many threads as the arena of the caller has. */
unsigned long countExtraBytes(ElementPrograms const& programs, RowKernels const& kernels,
                              ProgramImages const& images);

/** Applies the programs of an element to an image, slice by slice, in parallel tiles. Serves one run. */
class ProgramFilter final : public BaseTbbAlgorithm {
 public:
  /** Asks whether the run goes on: throws if it was cancelled. Called by all threads. */
  using Check = void (*)(void const* object);

  ProgramFilter(BaseAlgorithm* algorithm, ElementPrograms const& programs, RowKernels const& kernels,
                ProgramImages const& images, Check check, void const* checked)
      : BaseTbbAlgorithm(algorithm),
        m_programs(programs),
        m_kernels(kernels),
        m_images(images),
        m_check(check),
        m_checked(checked) {}

  /** @throws ExceptionCancelation the output then holds what was written so far */
  void run() override;

 private:
  class Tiles;

  ElementPrograms const& m_programs;
  RowKernels const& m_kernels;
  ProgramImages const m_images;
  Check const m_check;
  void const* const m_checked;
};

}  // namespace pxl::wide
