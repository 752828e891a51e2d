#include "WindowRun.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

#include <algorithm>
#include <string>

#include "PropertyChecks.h"
#include "Raise.h"
#include "RunnerChoice.h"
#include "access/VisitVoxelType.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/ImageModel.h"
#include "pxl/access/View.h"

namespace pxl {
namespace {

using Sizes = std::array<unsigned long, cNbComponents>;

std::string nameOf(BaseAlgorithm const& algorithm) { return algorithm.getAlgoInfo()->getName(); }

Sizes getSizes(ImageModel const& image) {
  Sizes sizes;
  for (int i = 0; i < cNbComponents; ++i)
    sizes[static_cast<std::size_t>(i)] = image.getNumOf(static_cast<Components>(i));
  return sizes;
}

unsigned long countVoxels(Sizes const& sizes) {
  return sizes[cColumns] * sizes[cRows] * sizes[cPlans] * sizes[cSequence] * sizes[cSpectralSeries];
}

bool isSame(Window const& a, Window const& b) { return a.begin == b.begin && a.size == b.size; }

Window makeWindow(BaseAlgorithm const& algorithm, access::Region const& region, Sizes const& sizes) {
  long const bounds[cNbComponents][2] = {{region.colsBegin(), region.colsEnd()},
                                         {region.rowsBegin(), region.rowsEnd()},
                                         {region.plansBegin(), region.plansEnd()},
                                         {region.sequenceBegin(), region.sequenceEnd()},
                                         {region.spectralSeriesBegin(), region.spectralSeriesEnd()}};
  Window window;
  for (std::size_t i = 0; i < cNbComponents; ++i) {
    auto const [begin, end] = bounds[i];
    if (end <= begin) PXL_RAISE(InvalidCall, nameOf(algorithm) + ": the window is empty");
    if (begin < 0 || static_cast<unsigned long>(end) > sizes[i])
      PXL_RAISE(InvalidCall, nameOf(algorithm) + ": the window reaches beyond the images");
    window.begin[i] = static_cast<unsigned long>(begin);
    window.size[i] = static_cast<unsigned long>(end - begin);
  }
  return window;
}

Window enlarge(Window window, kernel::Margins const& margins, Sizes const& sizes) {
  unsigned long const reach[3][2] = {{margins.colsBefore, margins.colsAfter},
                                     {margins.rowsBefore, margins.rowsAfter},
                                     {margins.plansBefore, margins.plansAfter}};
  for (std::size_t i = 0; i < 3; ++i) {
    unsigned long const end = window.begin[i] + window.size[i];
    unsigned long const before = std::min(reach[i][0], window.begin[i]);
    unsigned long const after = std::min(reach[i][1], sizes[i] - end);
    window.begin[i] -= before;
    window.size[i] += before + after;
  }
  return window;
}

/** The position of a window within one that contains it. */
Window moveInto(Window window, Window const& outer) {
  for (std::size_t i = 0; i < cNbComponents; ++i) window.begin[i] -= outer.begin[i];
  return window;
}

template <class Image>
std::unique_ptr<ImageModel> makeProxy(Image* image, Window const& w) {
  return std::make_unique<ImageModelSizeProxy>(image, w.begin[0], w.size[0], w.begin[1], w.size[1], w.begin[2],
                                               w.size[2], w.begin[3], w.size[3], w.begin[4], w.size[4]);
}

access::Region makeRegion(Window const& w) {
  auto const begin = [&w](Components i) { return static_cast<long>(w.begin[i]); };
  auto const end = [&w](Components i) { return static_cast<long>(w.begin[i] + w.size[i]); };
  return access::Region(begin(cRows), end(cRows), begin(cColumns), end(cColumns), begin(cPlans), end(cPlans),
                        begin(cSequence), end(cSequence), begin(cSpectralSeries), end(cSpectralSeries));
}

/** Gets the view's interface for each row, which tests the cancel flag of the run. */
template <class T>
void copyVoxels(ImageModel const& source, ImageModel& target) {
  using View = access::View<T>;
  auto const border = access::FixedBorderCondition<T>::New(T());
  std::shared_ptr<View const> const from = View::New(&source, border);
  std::shared_ptr<View> const to = View::New(&target, border);
  Sizes const sizes = getSizes(source);
  unsigned long const nbRows = countVoxels(sizes) / sizes[cColumns];
  tbb::task_group_context context(tbb::task_group_context::isolated);
  auto const copyRows = [&](tbb::blocked_range<unsigned long> const& rows) {
    long const nbCols = static_cast<long>(sizes[cColumns]);
    std::vector<T> voxels(sizes[cColumns]);
    for (unsigned long i = rows.begin(); i < rows.end(); ++i) {
      long p[cNbComponents] = {};
      unsigned long rest = i;
      for (std::size_t d = 1; d < cNbComponents; ++d) {
        p[d] = static_cast<long>(rest % sizes[d]);
        rest /= sizes[d];
      }
      from->getInterface()->readRow(voxels.data(), nbCols, 0, p[1], p[2], p[3], p[4]);
      if (!to->getInterface()->writeRowAt(nbCols, voxels.data(), 0, p[1], p[2], p[3], p[4]))
        PXL_RAISE(UnexpectedError, "a row of a window can't be written");
    }
  };
  tbb::parallel_for(tbb::blocked_range<unsigned long>(0, nbRows, 16), copyRows, context);
}

}  // namespace

WindowRun::WindowRun(BaseAlgorithm& algorithm)
    : m_algorithm(algorithm), m_hadExtraMemory(algorithm.m_hasExtraMemory), m_extraMemory(algorithm.m_extraMemory) {
  for (PropertyBase* property : algorithm.getProperties()) {
    if (auto* const input = asProperty<ImageModel const*>(*property)) m_inputs.push_back({input, input->get()});
    if (auto* const output = asProperty<ImageModel*>(*property)) m_outputs.push_back({output, output->get()});
  }
}

// Delegates, so that the destructor runs if this constructor throws.
WindowRun::WindowRun(BaseAlgorithm& algorithm, access::Region const& region) : WindowRun(algorithm) {
  if (algorithm.hasProcessingRegion())
    PXL_RAISE(InvalidCall, nameOf(algorithm) + ": a window can't be combined with a region to process");
  Sizes const sizes = checkImages();
  m_window = makeWindow(algorithm, region, sizes);
  for (auto const& output : m_outputs)
    if (!m_isOutputWhole && getSizes(*output.image) != m_window.size)
      PXL_RAISE(InvalidCall, nameOf(algorithm) + ": " + output.property->getName() +
                                 " has neither the size of the input nor that of the window");
  if (!m_isOutputWhole) {
    showInputs(m_window);
    checkProperties(algorithm);
  }
  unsigned long const nbPlans = algorithm.getMaxNumOfWrittenPlans();
  m_hasWork = m_window.begin[cPlans] < nbPlans;
  if (!m_hasWork) return;
  Window inner = m_window;
  inner.size[cPlans] = std::min(inner.size[cPlans], nbPlans - inner.begin[cPlans]);
  kernel::Margins const margins = algorithm.getMargins();
  if (margins != kernel::Margins()) m_availableMemory = algorithm.getMaximumExtraMemoryUsageInBytes();
  show(inner, enlarge(inner, margins, sizes), sizes);
}

WindowRun::~WindowRun() {
  for (auto const& input : m_inputs) input.property->set(input.image);
  for (auto const& output : m_outputs) output.property->set(output.image);
  if (m_isRegionChosen) m_algorithm.clearProcessingRegion();
  m_algorithm.m_hasExtraMemory = m_hadExtraMemory;
  m_algorithm.m_extraMemory = m_extraMemory;
}

Sizes WindowRun::checkImages() {
  bool isAnyMissing = m_inputs.empty() && m_outputs.empty();
  for (auto const& input : m_inputs) isAnyMissing = isAnyMissing || !input.image;
  for (auto const& output : m_outputs) isAnyMissing = isAnyMissing || !output.image;
  if (isAnyMissing) {
    checkProperties(m_algorithm);
    PXL_RAISE(InvalidCall, nameOf(m_algorithm) + ": there is no image for the window");
  }
  Sizes const sizes = getSizes(m_inputs.empty() ? *m_outputs.front().image : *m_inputs.front().image);
  for (auto const& output : m_outputs) m_isOutputWhole = m_isOutputWhole && getSizes(*output.image) == sizes;
  if (m_isOutputWhole) checkProperties(m_algorithm);
  for (auto const& input : m_inputs)
    if (getSizes(*input.image) != sizes)
      PXL_RAISE(InvalidCall, nameOf(m_algorithm) + ": " + m_inputs.front().property->getName() + " and " +
                                 input.property->getName() + " differ in size");
  return sizes;
}

void WindowRun::showInputs(Window const& window) {
  for (auto const& input : m_inputs) {
    m_proxies.push_back(makeProxy(input.image, window));
    input.property->set(m_proxies.back().get());
  }
}

std::unique_ptr<ImageModel> WindowRun::makeTarget(ImageModel* output, Window const& window) const {
  return makeProxy(output, m_isOutputWhole ? window : moveInto(window, m_window));
}

void WindowRun::showOutputs(Window const& window) {
  for (auto const& output : m_outputs) {
    m_proxies.push_back(makeTarget(output.image, window));
    output.property->set(m_proxies.back().get());
  }
}

void WindowRun::show(Window const& inner, Window const& enlarged, Sizes const& sizes) {
  RegionUses const use = m_algorithm.getRegionUse();
  bool const isRegionHonoured = use == RegionUses::cAnyBox || use == RegionUses::cAnyRectangle;
  bool const isOnDisk = m_algorithm.hasPropertyImageOnDisk();
  showInputs(enlarged);
  if (m_outputs.empty() || isSame(inner, enlarged)) {
    showOutputs(inner);
  } else if (m_isOutputWhole && isRegionHonoured) {
    showOutputs(enlarged);
    m_algorithm.setProcessingRegion(makeRegion(moveInto(inner, enlarged)));
    m_isRegionChosen = true;
  } else {
    // Passes may need as much memory as the largest input.
    unsigned long voxelBytes = 0;
    for (auto const& input : m_inputs)
      voxelBytes = std::max(voxelBytes, helper::getSizeOf(input.image->getVoxelType()));
    for (auto const& output : m_outputs) voxelBytes += helper::getSizeOf(output.image->getVoxelType());
    bool const isSmall = countVoxels(enlarged.size) < m_availableMemory / std::max(voxelBytes, 1UL);
    showTemporaries(inner, enlarged, isOnDisk || !isSmall ? io::cOnDisk : io::cInMemory);
  }
  // The passes of a part use a temporary image if those of the whole would: the result may depend on it.
  __extension__ using Wide = unsigned __int128;
  Wide const whole = countVoxels(sizes);
  Wide const share = (Wide(m_availableMemory) * countVoxels(enlarged.size) + whole - 1) / whole;
  m_algorithm.setMaximumExtraMemoryUsageInBytes(static_cast<unsigned long>(share));
}

void WindowRun::showTemporaries(Window const& inner, Window const& enlarged, io::LocationMode location) {
  for (auto const& output : m_outputs) {
    Result result{io::TemporaryImage::New(location), nullptr, makeTarget(output.image, inner)};
    auto const& size = enlarged.size;
    if (!result.temporary->reserve(output.image->getVoxelType(), size[0], size[1], size[2], size[3], size[4]))
      PXL_RAISE(RuntimeError, nameOf(m_algorithm) + ": there is no room for the temporary image of the window");
    ImageModel* const temporary = result.temporary->getImageModel();
    result.computed = makeProxy(temporary, moveInto(inner, enlarged));
    output.property->set(temporary);
    m_results.push_back(std::move(result));
  }
}

void WindowRun::store() {
  for (Result const& result : m_results) {
    access::visitVoxelType(
        result.target->getVoxelType(),
        [&result](auto tag) { copyVoxels<typename decltype(tag)::Type>(*result.computed, *result.target); }, [] {});
  }
}

}  // namespace pxl
