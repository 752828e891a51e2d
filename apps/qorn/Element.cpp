#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Image.h"
#include "pxl/Property.h"
#include "qorn/Commands.h"
#include "qorn/ElementText.h"
#include "qorn/Operators.h"
#include "qorn/StandardOutput.h"
#include "qorn/io/OutputImage.h"

namespace qorn {
namespace {

constexpr unsigned long cMaxDrawnColumns = 81;
constexpr unsigned long cMaxDrawnRows = 1000;

/** A structuring element as a mask of odd sizes in C order (plans, rows, columns), centred on the voxel itself. */
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

/** The element of a list of offsets. @throws ProgramError it is too large to be shown */
Element makeElement(std::vector<pxl::kernel::Offset3D> const& offsets, std::string const& name) {
  constexpr double cMaxVoxels = 1UL << 25;
  std::array<unsigned long, 3> reach{};
  for (pxl::kernel::Offset3D const& offset : offsets) {
    std::array<long, 3> const along{offset.col, offset.row, offset.plan};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      reach[axis] = std::max(reach[axis], static_cast<unsigned long>(std::labs(along[axis])));
    }
  }
  double nbVoxels = 1;
  for (unsigned long const one : reach) nbVoxels *= 2 * static_cast<double>(one) + 1;
  if (nbVoxels > cMaxVoxels) throw ProgramError(cFailed, name, "the element is too large to be shown");
  Element element = makeElement(reach);
  auto const toIndex = [](long offset, unsigned long middle) {
    return static_cast<unsigned long>(offset + static_cast<long>(middle));
  };
  for (pxl::kernel::Offset3D const& offset : offsets) {
    unsigned long const row = toIndex(offset.plan, reach[2]) * element.getSize(1) + toIndex(offset.row, reach[1]);
    element.mask[row * element.getSize(0) + toIndex(offset.col, reach[0])] = 1;
  }
  return element;
}

std::string describe(Element const& element) {
  std::string text = std::to_string(countVoxels(element)) + " voxels in " + std::to_string(element.getSize(0)) +
                     " columns x " + std::to_string(element.getSize(1)) + " rows";
  return element.reach[2] == 0 ? text : text + " x " + std::to_string(element.getSize(2)) + " plans";
}

/**
 * The element of an object with getOffsets(): a morphological algorithm with its present properties, or an element.
 * Empty if the algorithm leaves its output unchanged.
 * @throws ProgramError the element is too large to be shown
 */
template <class Neighbours>
Element findElement(Neighbours const& neighbours, std::string const& name) {
  try {
    return makeElement(neighbours.getOffsets(), name);
  } catch (pxl::InvalidCall const& refusal) {
    throw ProgramError(cFailed, name, refusal.what());
  }
}

/** The element drawn plan by plan: `#` inside, `.` outside, and the voxel itself `O` or `o`. Not for large ones. */
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
    show(findElement(described, command.operatorName), described.getDimension(), command.operatorName, command);
    return cDone;
  }
  pxl::AlgoInfo const& record = findOperator(command.operatorName);
  if (record.getCategory() != std::string("morphology")) {
    throw UsageError(command.operatorName, "has no structuring element");
  }
  std::unique_ptr<pxl::BaseAlgorithm> const algorithm = record.create();
  setProperties(*algorithm, command.properties, std::nullopt);
  checkValues(*algorithm);
  if (pxl::PropertyBase* const property = algorithm->findProperty("element")) {
    auto const described = pxl::asProperty<pxl::kernel::StructuringElement>(*property)->get();
    show(findElement(described, described.toString().str()), described.getDimension(), command.operatorName, command);
    return cDone;
  }
  // The host knows its elements without plug-ins; a given path must still be valid.
  if (!command.plugins.empty()) loadPlugins(command.plugins);
  show(findElement(*algorithm, command.operatorName), isVolume(*algorithm) ? 3 : 2, command.operatorName, command);
  if (pxl::String const warning = algorithm->getWarning(); !warning.empty()) {
    writeErrorLine(command.operatorName + ": " + warning.str());
  }
  return cDone;
}

}  // namespace qorn
