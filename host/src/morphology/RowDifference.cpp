#include "morphology/RowDifference.h"

#include <memory>
#include <type_traits>
#include <vector>

#include "Core/private/Filters/FilterCancel.h"
#include "Core/private/Filters/RunBlocks.h"
#include "Raise.h"
#include "access/PresentedImage.h"
#include "access/VisitVoxelType.h"
#include "pxl/access/View.h"

namespace pxl::morphology {
namespace {

template <class T>
using View = access::View<T>;

/** The work on one leaf of the loop. */
template <class T>
struct Body {
  void operator()(access::Block3d const& block) const {
    long const nbCols = block.getNbCols(), col = block.colsBegin();
    long const sequence = block.sequenceBegin(), spectral = block.spectralSeriesBegin();
    std::vector<T> voxels(static_cast<unsigned long>(nbCols)), others(what ? voxels.size() : 0);
    for (long plan = block.plansBegin(); plan < block.plansEnd(); ++plan)
      for (long row = block.rowsBegin(); row < block.rowsEnd(); ++row) {
        from->getInterface()->readRow(voxels.data(), nbCols, col, row, plan, sequence, spectral);
        if (what) {
          what->getInterface()->readRow(others.data(), nbCols, col, row, plan, sequence, spectral);
          subtract(voxels.data(), others.data(), nbCols);
        }
        if (!output->getInterface()->writeRowAt(nbCols, voxels.data(), col, row, plan, sequence, spectral))
          PXL_RAISE(UnexpectedError, "a row of a difference can't be written");
      }
    details::throwIfCancelled(*frame);
    frame->m_progress.fetch_add(static_cast<unsigned long>(block.getNumOfVoxels()));
  }

  static void subtract(T* __restrict voxels, T const* __restrict others, long count) {
    for (long i = 0; i < count; ++i) voxels[i] = subtract(voxels[i], others[i]);
  }

  static T subtract(T voxel, T other) {
    if constexpr (std::is_integral_v<T>) {
      using Bits = std::make_unsigned_t<T>;
      return voxel > other ? static_cast<T>(static_cast<Bits>(voxel) - static_cast<Bits>(other)) : T(0);
    } else {
      return voxel < other ? T(0) : voxel - other;
    }
  }

  std::shared_ptr<View<T> const> from;
  std::shared_ptr<View<T> const> what;
  std::shared_ptr<View<T>> output;
  RowDifference* frame;
};

}  // namespace

RowDifference::RowDifference(ImageModel const* from, ImageModel const* what, ImageModel* output)
    : BaseTbbAlgorithm(nullptr), m_from(from), m_what(what), m_output(output) {}
RowDifference::~RowDifference() = default;

template <class T>
void RowDifference::runAs() {
  VoxelTypes const type = helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;
  auto const border = access::FixedBorderCondition<T>::New(0);
  access::PresentedImage const from(m_from, type), what(m_what ? m_what : m_from, type);
  access::PresentedImage output(m_output, type);
  ImageModel const* const constantWhat = &what;
  Body<T> const body{View<T>::New(static_cast<ImageModel const*>(&from), border),
                     m_what ? View<T>::New(constantWhat, border) : nullptr,
                     View<T>::New(static_cast<ImageModel*>(&output), border), this};
  setProcessingRegion(body.output->getLargestPossibleRegion());
  access::Region const& region = m_processingRegion;
  setMaxProgress(region.getNumOfVoxels());
  AbstractPartitionerPolicy::PartitionerGrainSizes grains;
  getPartitionerGrainSizes(grains);
  for (long spectral = 0; spectral < region.getNbSpectralSeries(); ++spectral)
    for (long sequence = 0; sequence < region.getNbSequencePlans(); ++sequence) {
      access::Block3d const block(0, region.getNbPlans(), static_cast<long>(grains.plans), 0, region.getNbRows(),
                                  static_cast<long>(grains.rows), 0, region.getNbCols(),
                                  static_cast<long>(grains.cols), sequence, spectral);
      if (!block.empty()) pxl::details::runBlocks(block, body, m_taskGroupContext);
      pxl::details::throwIfCancelled(*this);
    }
}

void RowDifference::run() {
  access::visitVoxelType(
      m_from->getVoxelType(), [this](auto tag) { runAs<typename decltype(tag)::Type>(); },
      [] { PXL_RAISE(UnexpectedError, "a difference of images of an unknown type"); });
}

}  // namespace pxl::morphology
