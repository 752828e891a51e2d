#include "morphology/MorphologySteps.h"

#include <memory>
#include <string>
#include <utility>

#include "Raise.h"
#include "RunnerChoice.h"
#include "access/Overlap.h"
#include "morphology/RowDifference.h"
#include "pxl/Runnable.h"
#include "pxl/Settings.h"
#include "pxl/algorithms/AbstractPrivateImplementation.h"
#include "pxl/morphology/Morphology.h"

namespace pxl::morphology {
namespace {

using kernel::ElementKinds;
using kernel::StructuringElement;

template <class Dilation, class Erosion, class Base>
std::unique_ptr<Base> makeEither(bool isDilation) {
  if (isDilation) return std::make_unique<Dilation>();
  return std::make_unique<Erosion>();
}

template <class Algo>
std::unique_ptr<BaseAlgorithm> onImages(std::unique_ptr<Algo> algorithm, ImageModel const* from, ImageModel* to) {
  algorithm->inputImage = from;
  algorithm->outputImage = to;
  return algorithm;
}

/** The operator that has this element, with its properties set. */
std::unique_ptr<BaseAlgorithm> makeOperator(bool isDilation, StructuringElement const& element,
                                            ImageModel const* from, ImageModel* to) {
  switch (element.getKind()) {
    case ElementKinds::cConnectivity: {
      auto iterated = element.getDimension() == 2 ? makeEither<Dilation2d, Erosion2d, IteratedMorphology>(isDilation)
                                                  : makeEither<Dilation3d, Erosion3d, IteratedMorphology>(isDilation);
      switch (element.getNbNeighbours()) {
        case 4:
          iterated->neighborhood = cCross;
          break;
        case 8:
          iterated->neighborhood = cSquare;
          break;
        case 6:
          iterated->neighborhood = cFaces;
          break;
        case 18:
          iterated->neighborhood = cEdges;
          break;
        default:
          iterated->neighborhood = cCube;
      }
      iterated->numberOfIterations = element.getSize();
      return onImages(std::move(iterated), from, to);
    }
    case ElementKinds::cDisk:
    case ElementKinds::cBall: {
      auto round = element.getKind() == ElementKinds::cDisk
                       ? makeEither<DilationDisk2d, ErosionDisk2d, RadiusMorphology>(isDilation)
                       : makeEither<DilationBall3d, ErosionBall3d, RadiusMorphology>(isDilation);
      round->radius = element.getSize();
      round->shapeMode = element.getMode() == kernel::ElementModes::cFast ? cFastShape : cExactShape;
      return onImages(std::move(round), from, to);
    }
    case ElementKinds::cLine: {
      auto line = makeEither<DilationLine2d, ErosionLine2d, Line2dMorphology>(isDilation);
      line->lineSize = element.getSize();
      line->lineAngle = element.getAngle();
      return onImages(std::move(line), from, to);
    }
    case ElementKinds::cLine3d: {
      auto line = makeEither<DilationLine3d, ErosionLine3d, Line3dMorphology>(isDilation);
      line->lineSize = element.getSize();
      line->firstAngle = element.getAngle();
      line->secondAngle = element.getElevation();
      return onImages(std::move(line), from, to);
    }
    case ElementKinds::cDisk3d: {
      auto disk = makeEither<DilationDisk3d, ErosionDisk3d, OrientedDiskMorphology>(isDilation);
      disk->radius = element.getSize();
      disk->firstAngle = element.getAngle();
      disk->secondAngle = element.getElevation();
      return onImages(std::move(disk), from, to);
    }
    default: {
      auto listed = makeEither<DilationElement3d, ErosionElement3d, ListedMorphology>(isDilation);
      listed->element = element;
      return onImages(std::move(listed), from, to);
    }
  }
}

/** Whether the element is applied in 0 passes; the operators would leave the output unchanged. */
bool isWithoutPasses(StructuringElement const& element) {
  bool const isInPasses =
      element.getKind() == ElementKinds::cConnectivity || element.getMode() == kernel::ElementModes::cFast;
  return isInPasses && element.getSize() == 0;
}

/** An element as a sequence of others: a box as lines, where that is less work. An element that changes nothing is a
 * sequence of none. */
std::vector<StructuringElement> decompose(StructuringElement const& element) {
  if (isWithoutPasses(element)) return {};
  if (element.getKind() != ElementKinds::cBox) return {element};
  std::vector<kernel::Offset3D> const offsets = element.getOffsets();
  kernel::Offset3D const &first = offsets.front(), &last = offsets.back();
  // In array order.
  std::vector<long> const sizes{last.plan - first.plan + 1, last.row - first.row + 1, last.col - first.col + 1};
  std::vector<long> const origin{-first.plan, -first.row, -first.col};
  std::vector<StructuringElement> lines;
  long sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (sizes[axis] == 1 && origin[axis] == 0) continue;
    std::vector<long> lineSizes{1, 1, 1}, lineOrigin{0, 0, 0};
    lineSizes[axis] = sizes[axis];
    lineOrigin[axis] = origin[axis];
    lines.push_back(StructuringElement::box(lineSizes, lineOrigin));
    sum += sizes[axis];
  }
  // A pass also reads and writes the image, which costs as much as a few voxels of an element.
  constexpr long cCostOfPass = 4;
  long const cost = sum + cCostOfPass * static_cast<long>(lines.size());
  return cost < static_cast<long>(offsets.size()) + cCostOfPass ? lines : std::vector<StructuringElement>{element};
}

}  // namespace

double estimateSteps(StructuringElement const& element) {
  if (element.getKind() == ElementKinds::cConnectivity || element.getMode() == kernel::ElementModes::cFast)
    return element.getSize();
  double nbSteps = 0;
  for (StructuringElement const& part : decompose(element)) nbSteps += static_cast<double>(part.getOffsets().size());
  return nbSteps;
}

MorphologySteps::MorphologySteps(ElementMorphology& algorithm)
    : m_algorithm(algorithm),
      m_input(algorithm.inputImage.get(), algorithm.inputImage.get()->getVoxelType()),
      m_output(algorithm.outputImage.get(), m_input.getVoxelType()),
      m_isInPlace(access::getOverlap(algorithm.inputImage.get()->getSource(),
                                     algorithm.outputImage.get()->getSource()) == access::Overlaps::cSame) {}

ImageModel* MorphologySteps::getExtra() {
  if (m_extra) return m_extra;
  VoxelTypes const type = m_input.getVoxelType();
  unsigned long sizes[cNbComponents], nbBytes = helper::getSizeOf(type);
  for (int i = 0; i < cNbComponents; ++i) nbBytes *= sizes[i] = m_input.getNumOf(static_cast<Components>(i));
  bool const isOnDisk = m_algorithm.hasPropertyImageOnDisk()
                            ? globalSettings().getValueAsBool("PXL_RECURSIVITY_TMP_DISK_IMAGE", true)
                            : nbBytes >= m_algorithm.getMaximumExtraMemoryUsageInBytes();
  m_temporary = io::TemporaryImage::New(isOnDisk ? io::cOnDisk : io::cInMemory);
  if (!m_temporary->reserve(type, sizes[0], sizes[1], sizes[2], sizes[3], sizes[4]))
    PXL_RAISE(RuleException, std::string("there is no room ") + (isOnDisk ? "on disk" : "in memory") +
                                 " for the extra image of " + std::to_string(nbBytes) + " bytes");
  return m_extra = m_temporary->getImageModel();
}

void MorphologySteps::dilate(ImageModel const* from, StructuringElement const& element, ImageModel* to) {
  add(Operation::cDilation, from, element, to);
}

void MorphologySteps::erode(ImageModel const* from, StructuringElement const& element, ImageModel* to) {
  add(Operation::cErosion, from, element, to);
}

// Whether the runner of the step does so itself. For reals it would fold the voxels in another order than lines do,
// which matters where they are NaN or zeros of both signs.
bool MorphologySteps::splits(Operation operation, ImageModel const* from, StructuringElement const& element,
                             ImageModel* to) const {
  VoxelTypes const type = m_input.getVoxelType();
  if (type == cFloat || type == cDouble) return false;
  auto const whole = makeOperator(operation == Operation::cDilation, element, from, to);
  whole->setRunner(m_algorithm.getRunner());
  whole->setMaximumExtraMemoryUsageInBytes(m_algorithm.getMaximumExtraMemoryUsageInBytes());
  return chooseRunner(*whole)->splitsElements();
}

void MorphologySteps::add(Operation operation, ImageModel const* from, StructuringElement const& element,
                          ImageModel* to) {
  std::vector<StructuringElement> parts = decompose(element);
  if (parts.size() > 1 && splits(operation, from, element, to)) parts = {element};
  if (parts.empty()) {
    bool const isThere = from == to || (from == &m_input && to == &m_output && m_isInPlace);
    if (isThere) return;
    m_steps.emplace_back([from, to](algorithms::AbstractPrivateImplementation& frame) {
      RowDifference copy(from, nullptr, to);
      frame.runChildAlgo(&copy);
    });
    return;
  }
  for (StructuringElement const& part : parts) {
    m_steps.emplace_back([operation, from, part, to](algorithms::AbstractPrivateImplementation& frame) {
      frame.runChildAlgo(*makeOperator(operation == Operation::cDilation, part, from, to));
    });
    from = to;
  }
}

void MorphologySteps::subtract(ImageModel const* from, ImageModel const* what) {
  m_steps.emplace_back([from, what, to = m_algorithm.outputImage.get()](auto& frame) {
    RowDifference difference(from, what, to);
    frame.runChildAlgo(&difference);
  });
}

void MorphologySteps::run() {
  algorithms::AbstractPrivateImplementation frame(&m_algorithm);
  frame.setNumberOfSteps(m_steps.size());
  for (auto const& step : m_steps) step(frame);
}

}  // namespace pxl::morphology
