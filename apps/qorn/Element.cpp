#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pxl/AlgoInfo.h"
#include "pxl/Image.h"
#include "pxl/Property.h"
#include "qorn/Commands.h"
#include "qorn/ElementText.h"
#include "qorn/Operators.h"
#include "qorn/StandardOutput.h"
#include "qorn/Supervision.h"
#include "qorn/io/OutputImage.h"

namespace qorn {
namespace {

constexpr unsigned long cMaxDrawnColumns = 81;
constexpr unsigned long cMaxDrawnRows = 1000;

/** A structuring element as a mask of odd sizes in C order (plans, rows, columns), with the voxel itself amid it. */
struct Element {
  std::array<unsigned long, 3> reach;  ///< voxels before and after the middle: columns, rows, plans
  std::vector<unsigned char> mask;     ///< 1 in the element, else 0

  unsigned long getSize(std::size_t axis) const { return 2 * reach[axis] + 1; }
};

Element makeElement(std::array<unsigned long, 3> const& reach) {
  Element element{reach, {}};
  element.mask.resize(element.getSize(0) * element.getSize(1) * element.getSize(2));
  return element;
}

unsigned long countVoxels(Element const& element) {
  return static_cast<unsigned long>(std::count(element.mask.begin(), element.mask.end(), 1));
}

bool isVolume(pxl::BaseAlgorithm const& algorithm) {
  return algorithm.getAlgoInfo()->getWorkingDimension() == pxl::WorkingDimension::cVolume;
}

/** @throws ProgramError a run on so many voxels would take more than seconds, or much memory */
void checkEffort(pxl::BaseAlgorithm const& algorithm, std::size_t nbVoxels) {
  constexpr std::size_t cMaxVoxels = 1ul << 25;
  constexpr double cMaxSteps = 1ul << 40;
  constexpr double cMaxStepsForOne = 1ul << 20;  // Even without voxels a pass takes time.
  double const nbSteps = algorithm.estimateSteps();
  if (nbVoxels > cMaxVoxels || nbSteps * static_cast<double>(nbVoxels) > cMaxSteps || nbSteps > cMaxStepsForOne) {
    throw ProgramError(cFailed, algorithm.getAlgoInfo()->getName(), "the element is too large to be shown");
  }
}

void setImages(pxl::BaseAlgorithm& algorithm, pxl::ImageModel const* input, pxl::ImageModel* output) {
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    pxl::visitProperty(*property,
                       pxl::Overloaded{[input](pxl::Property<pxl::ImageModel const*>& image) { image.set(input); },
                                       [output](pxl::Property<pxl::ImageModel*>& image) { image.set(output); },
                                       [](pxl::PropertyBase&) {}});
  }
}

/** Which voxels of an image a single voxel that differs from the background reaches. */
Element probe(pxl::BaseAlgorithm& algorithm, std::array<unsigned long, 3> const& reach, unsigned char background) {
  Element element = makeElement(reach);
  checkEffort(algorithm, element.mask.size());
  pxl::ImageSizes const sizes{element.getSize(0), element.getSize(1), element.getSize(2), 1, 1};
  auto const input = pxl::Image::New(pxl::cUnsignedInteger8, sizes);
  auto const output = pxl::Image::New(pxl::cUnsignedInteger8, sizes);
  std::size_t const count = element.mask.size();
  auto* const voxels = static_cast<unsigned char*>(input->getVoxels());
  auto* const result = static_cast<unsigned char*>(output->getVoxels());
  std::memset(voxels, background, count);
  std::memset(result, background, count);
  voxels[count / 2] = static_cast<unsigned char>(~background);
  setImages(algorithm, input.get(), output.get());
  executeNamed(algorithm, true);
  setImages(algorithm, nullptr, nullptr);
  // A voxel reads the one that differs where that one lies within its element: the answer is the element mirrored.
  for (std::size_t i = 0; i < count; ++i) element.mask[count - 1 - i] = result[i] != background;
  return element;
}

/** How far the element reaches along each axis. */
std::array<unsigned long, 3> measure(Element const& element) {
  std::array<unsigned long, 3> reach{};
  std::size_t i = 0;
  auto const distance = [&element](unsigned long at, std::size_t axis) {
    return at < element.reach[axis] ? element.reach[axis] - at : at - element.reach[axis];
  };
  for (unsigned long plan = 0; plan < element.getSize(2); ++plan) {
    for (unsigned long row = 0; row < element.getSize(1); ++row) {
      for (unsigned long col = 0; col < element.getSize(0); ++col, ++i) {
        if (element.mask[i] == 0) continue;
        reach[0] = std::max(reach[0], distance(col, 0));
        reach[1] = std::max(reach[1], distance(row, 1));
        reach[2] = std::max(reach[2], distance(plan, 2));
      }
    }
  }
  return reach;
}

Element crop(Element const& element, std::array<unsigned long, 3> const& reach) {
  Element cropped = makeElement(reach);
  auto* target = cropped.mask.data();
  for (unsigned long plan = 0; plan < cropped.getSize(2); ++plan) {
    for (unsigned long row = 0; row < cropped.getSize(1); ++row, target += cropped.getSize(0)) {
      unsigned long const sourceRow =
          (element.reach[2] - reach[2] + plan) * element.getSize(1) + element.reach[1] - reach[1] + row;
      std::memcpy(target, element.mask.data() + sourceRow * element.getSize(0) + element.reach[0] - reach[0],
                  cropped.getSize(0));
    }
  }
  return cropped;
}

/** The element of a list. @throws ProgramError it is too large to be shown */
Element makeElement(pxl::kernel::StructuringElement const& described, std::string const& name) {
  constexpr double cMaxVoxels = 1ul << 25;
  auto const margins = described.getMargins();
  std::array<unsigned long, 3> const reach{std::max(margins.colsBefore, margins.colsAfter),
                                           std::max(margins.rowsBefore, margins.rowsAfter),
                                           std::max(margins.plansBefore, margins.plansAfter)};
  double nbVoxels = 1;
  for (unsigned long const count : reach) nbVoxels *= 2 * static_cast<double>(count) + 1;
  if (nbVoxels > cMaxVoxels) throw ProgramError(cFailed, name, "the element is too large to be shown");
  Element element = makeElement(reach);
  for (auto const& offset : described.getOffsets()) {
    auto const at = [&](long position, std::size_t axis) {
      return static_cast<unsigned long>(position + static_cast<long>(reach[axis]));
    };
    element.mask[(at(offset.plan, 2) * element.getSize(1) + at(offset.row, 1)) * element.getSize(0) +
                 at(offset.col, 0)] = 1;
  }
  return element;
}

std::string describe(Element const& element) {
  std::string text = std::to_string(countVoxels(element)) + " voxels in " + std::to_string(element.getSize(0)) +
                     " columns x " + std::to_string(element.getSize(1)) + " rows";
  return element.reach[2] == 0 ? text : text + " x " + std::to_string(element.getSize(2)) + " plans";
}

/**
 * The element that a morphological algorithm with its present properties uses, found by running it on images of a
 * single voxel that differs. Empty if the algorithm leaves its output as it is.
 * @throws ProgramError the run fails, or the element is too large to be shown
 */
Element findElement(pxl::BaseAlgorithm& algorithm) {
  std::array<unsigned long, 3> reach{4, 4, isVolume(algorithm) ? 4ul : 0ul};
  // An erosion removes a single bright voxel and widens a dark one. Every element holds the voxel itself.
  unsigned char background = 0;
  Element element = probe(algorithm, reach, background);
  if (countVoxels(element) == 0) {
    background = 255;
    element = probe(algorithm, reach, background);
  }
  while (true) {
    std::array<unsigned long, 3> const found = measure(element);
    bool isWhole = true;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (found[axis] < reach[axis] || reach[axis] == 0) continue;
      reach[axis] *= 2;
      isWhole = false;
    }
    if (isWhole) return crop(element, found);
    element = probe(algorithm, reach, background);
  }
}

/**
 * The element drawn plan by plan: `#` in the element, `.` not; the voxel itself is `O` or `o`. A large one isn't
 * drawn.
 */
std::string drawElement(Element const& element) {
  if (element.getSize(0) > cMaxDrawnColumns || element.getSize(1) * element.getSize(2) > cMaxDrawnRows) {
    return "too large to be drawn; --output saves it\n";
  }
  std::string text;
  std::size_t i = 0;
  for (unsigned long plan = 0; plan < element.getSize(2); ++plan) {
    if (element.reach[2] > 0) {
      text += "plan " + std::to_string(static_cast<long>(plan) - static_cast<long>(element.reach[2])) + "\n";
    }
    for (unsigned long row = 0; row < element.getSize(1); ++row) {
      for (unsigned long col = 0; col < element.getSize(0); ++col, ++i) {
        bool const isVoxelItself = i == element.mask.size() / 2;
        if (col > 0) text += ' ';
        text += element.mask[i] != 0 ? (isVoxelItself ? 'O' : '#') : (isVoxelItself ? 'o' : '.');
      }
      text += '\n';
    }
  }
  return text;
}

}  // namespace

namespace {

void save(Element const& element, int rank, ElementCommand const& command) {
  io::ImageHeader const header{
      pxl::cUnsignedInteger8, {element.getSize(0), element.getSize(1), element.getSize(2), 1, 1}, rank, false};
  io::OutputImage mask(command.output, header, {false, command.isReplacing});
  std::memcpy(mask.getImage()->getVoxels(), element.mask.data(), element.mask.size());
  mask.write();
  mask.commit();
}

void show(Element const& element, int rank, std::string const& name, ElementCommand const& command) {
  if (!command.output.empty()) save(element, rank, command);
  writeOutput(name + ": " + describe(element) + "\n" +
              (command.output.empty() ? drawElement(element) : std::string()));
}

}  // namespace

ExitCodes execute(ElementCommand const& command) {
  if (isElementText(command.operatorName)) {
    if (!command.properties.empty())
      throw UsageError(command.properties.front().first, "an element has no properties");
    auto const described = parseElement(command.operatorName);
    show(makeElement(described, command.operatorName), described.getDimension(), command.operatorName, command);
    return cDone;
  }
  pxl::AlgoInfo const& record = findOperator(command.operatorName);
  if (record.getSubject() != std::string("morphology")) {
    throw UsageError(command.operatorName, "has no structuring element");
  }
  std::unique_ptr<pxl::BaseAlgorithm> const algorithm = record.create();
  setProperties(*algorithm, command.properties, std::nullopt);
  checkValues(*algorithm);
  if (pxl::PropertyBase* const property = algorithm->findProperty("element")) {
    auto const described = pxl::asProperty<pxl::kernel::StructuringElement>(*property)->get();
    show(makeElement(described, described.toString().str()), described.getDimension(), command.operatorName, command);
    return cDone;
  }
  loadPlugins(command.plugins);
  checkIsOffered(*algorithm);
  show(findElement(*algorithm), isVolume(*algorithm) ? 3 : 2, command.operatorName, command);
  if (pxl::String const notice = algorithm->getNotice(); !notice.empty()) {
    writeErrorLine(command.operatorName + ": " + notice.str());
  }
  return cDone;
}

}  // namespace qorn
