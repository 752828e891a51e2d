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
unsigned long countExtraBytes(Stages const& stages, RowKernels const& kernels, ProgramImages const& images);

/** Runs stages on an image, slice by slice, in parallel tiles. Serves one run. */
class ProgramFilter final : public BaseTbbAlgorithm {
 public:
  /** Asks whether the run goes on: throws if it was cancelled. Called by all threads. */
  using Check = void (*)(void const* object);

  ProgramFilter(BaseAlgorithm* algorithm, Stages const& stages, RowKernels const& kernels,
                ProgramImages const& images, Check check, void const* checked)
      : BaseTbbAlgorithm(algorithm),
        m_stages(stages),
        m_kernels(kernels),
        m_images(images),
        m_check(check),
        m_checked(checked) {}

  /** @throws ExceptionCancelation the output then holds what was written so far */
  void run() override;

 private:
  class Tiles;

  void runStage(ElementPrograms const& programs, ProgramImages const& images);

  Stages const& m_stages;
  RowKernels const& m_kernels;
  ProgramImages const m_images;
  Check const m_check;
  void const* const m_checked;
};

}  // namespace pxl::wide
