#pragma once

#include "pxl/BaseTbbAlgorithm.h"
#include "wide/FirTaps.h"
#include "wide/MemoryImage.h"
#include "wide/RunViews.h"

namespace pxl::wide {

/** Images of a correlation. Of two-dimensional ones only the first plan is looked at. */
struct FirImages {
  FirImages(ImageModel const& input, ImageModel const& output, bool isVolume);

  SlabBox getBox() const;
  bool isInPlace() const { return source.voxels == target.voxels; }

  MemoryImage source;
  MemoryImage target;
  bool isVolume;
};

/** Bytes beyond the images that a run takes with as many threads as the arena of the caller has. */
unsigned long countExtraBytes(FirTaps const& taps, FirKernels const& kernels, FirImages const& images);

/** Correlates an image with taps, in parallel tiles. Serves one run. */
class FirFilter final : public BaseTbbAlgorithm {
 public:
  FirFilter(BaseAlgorithm* algorithm, FirTaps const& taps, FirKernels const& kernels, FirImages const& images,
            RunViews const& views)
      : BaseTbbAlgorithm(algorithm), m_taps(taps), m_kernels(kernels), m_images(images), m_views(views) {}

  /** @throws ExceptionCancelation the output then holds what was written so far */
  void run() override;

 private:
  FirTaps const& m_taps;
  FirKernels const& m_kernels;
  FirImages const& m_images;
  RunViews const& m_views;
};

}  // namespace pxl::wide
