#include "qorn/WindowedRun.h"

#include <algorithm>
#include <cstring>

#include "pxl/AlgoInfo.h"
#include "qorn/Operators.h"
#include "qorn/RunWithProgress.h"
#include "qorn/io/CroppedHeader.h"

namespace qorn {
namespace {

using pxl::access::Region;

constexpr unsigned long cNoLimit = 1UL << 62;
constexpr unsigned long cNbStepsOfWindow = 3;  ///< it is read, computed and written

Region makeWhole(pxl::ImageSizes const& sizes) {
  auto const end = [&sizes](pxl::Components i) { return static_cast<long>(sizes[i]); };
  return {0, end(pxl::cRows),     0, end(pxl::cColumns),       0, end(pxl::cPlans),
          0, end(pxl::cSequence), 0, end(pxl::cSpectralSeries)};
}

}  // namespace

/** An image with sizes but without voxels: the properties of a run may depend on the sizes. */
class WindowedRun::Sizes : public pxl::ImageModel {
 public:
  explicit Sizes(io::ImageHeader const& header) : m_header(header) {}
  unsigned long getNumOf(pxl::Components const& component) const override {
    return m_header.sizes[static_cast<std::size_t>(component)];
  }
  pxl::VoxelTypes getVoxelType() const override { return m_header.type; }
  int getInterpretation() const override { return pxl::cGrey; }

 private:
  io::ImageHeader m_header;
};

WindowedRun::WindowedRun(pxl::BaseAlgorithm& algorithm, RunCommand const& command)
    : m_algorithm(algorithm), m_interpretation(command.interpretation) {
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    if (auto* const input = pxl::asProperty<pxl::ImageModel const*>(*property)) m_inputs.push_back(input);
    if (auto* const output = pxl::asProperty<pxl::ImageModel*>(*property)) m_outputProperty = output;
  }
  openFiles(command);
  io::WindowDemand const demand = makeDemand(*command.memory);
  m_plan.emplace(demand);
  if (m_plan->getCount() == 0) {
    throw UsageError("--memory", "a row and what the operator needs around it take " +
                                     std::to_string(m_plan->getLeastBytes()) + " bytes");
  }
  limitExtraMemory(command);
  m_output = std::make_unique<io::WindowedOutput>(
      command.images.back(), m_outputHeader,
      io::OutputOptions{false, command.isReplacing, command.interpretation, isCancelRequested});
  m_sizes = std::make_unique<Sizes>(m_outputHeader);
}

WindowedRun::~WindowedRun() = default;

void WindowedRun::openFiles(RunCommand const& command) {
  for (std::size_t i = 0; i < m_inputs.size(); ++i) {
    m_readers.push_back(io::WindowReader::open(command.images.at(i), isCancelRequested));
    if (m_readers.back()->getHeader().sizes == getHeader().sizes) continue;
    throw ProgramError(
        cFailed, command.operatorName,
        std::string(m_inputs.front()->getName()) + " and " + m_inputs[i]->getName() + " differ in size");
  }
  m_region = qorn::getRegion(command.crop, std::nullopt, getHeader().sizes).value_or(makeWhole(getHeader().sizes));
  m_outputHeader = io::cropHeader(makeOutputHeader(m_algorithm, getHeader(), command.outputType), m_region);
}

/** The voxels of inputs and output, and of the temporary image that an operator with neighbours may need. */
io::WindowDemand WindowedRun::makeDemand(unsigned long memory) const {
  unsigned long bytes = pxl::helper::getSizeOf(m_outputHeader.type);
  unsigned long largest = 0;
  for (auto const& reader : m_readers) {
    unsigned long const inputBytes = pxl::helper::getSizeOf(reader->getHeader().type);
    bytes += inputBytes;
    largest = std::max(largest, inputBytes);
  }
  pxl::kernel::Margins const margins = m_algorithm.getMargins();
  // A composition may need an extra image, and its steps a temporary one.
  if (margins != pxl::kernel::Margins()) bytes += largest * (m_algorithm.getAlgoInfo()->isComposed() ? 2 : 1);
  return {getHeader().sizes, m_region, margins, bytes, memory};
}

/** Uses a temporary image if a run on whole images would: the result may depend on it. */
void WindowedRun::limitExtraMemory(RunCommand const& command) const {
  unsigned long const whole = io::getNbBytes(getHeader());
  bool const isAllowed = !command.maxExtraMemory || whole < *command.maxExtraMemory;
  m_algorithm.setMaximumExtraMemoryUsageInBytes(isAllowed ? cNoLimit : 0);
}

std::shared_ptr<pxl::Image> WindowedRun::makeImage(std::vector<char>& voxels, pxl::VoxelTypes type,
                                                   Region const& region) const {
  pxl::ImageSizes const sizes = io::getSizes(region);
  voxels.resize(std::max(voxels.size(), region.getNumOfVoxels() * pxl::helper::getSizeOf(type)));
  return pxl::Image::OnMemory(static_cast<void*>(voxels.data()), type, sizes, pxl::getPackedStrides(type, sizes),
                              m_interpretation);
}

Region WindowedRun::moveIntoOutput(Region const& w) const {
  Region const& origin = m_region;
  return {w.rowsBegin() - origin.rowsBegin(),
          w.rowsEnd() - origin.rowsBegin(),
          w.colsBegin() - origin.colsBegin(),
          w.colsEnd() - origin.colsBegin(),
          w.plansBegin() - origin.plansBegin(),
          w.plansEnd() - origin.plansBegin(),
          w.sequenceBegin() - origin.sequenceBegin(),
          w.sequenceEnd() - origin.sequenceBegin(),
          w.spectralSeriesBegin() - origin.spectralSeriesBegin(),
          w.spectralSeriesEnd() - origin.spectralSeriesBegin()};
}

void WindowedRun::executeWindow(Region const& window) {
  Region const enlarged = m_plan->getEnlarged(window);
  std::vector<std::shared_ptr<pxl::Image>> images;
  for (std::size_t i = 0; i < m_readers.size(); ++i) {
    images.push_back(makeImage(m_buffers[i], m_readers[i]->getHeader().type, enlarged));
    m_readers[i]->read(enlarged, m_buffers[i].data());
    m_inputs[i]->set(images.back().get());
  }
  ++m_nbSteps;
  std::vector<char>& result = m_buffers.back();
  auto const output = makeImage(result, m_outputHeader.type, enlarged);
  // Voxels that an operator doesn't write are zero.
  std::memset(result.data(), 0, result.size());
  m_outputProperty->set(output.get());
  bool const isWritten = static_cast<unsigned long>(window.plansBegin()) < m_algorithm.getMaxNumOfWrittenPlans();
  if (isWritten) m_algorithm.execute();
  ++m_nbSteps;
  auto const strides = output->getStrides();
  long const first = (window.plansBegin() - enlarged.plansBegin()) * strides[pxl::cPlans] +
                     (window.rowsBegin() - enlarged.rowsBegin()) * strides[pxl::cRows] +
                     (window.colsBegin() - enlarged.colsBegin()) * strides[pxl::cColumns];
  m_output->write(moveIntoOutput(window), result.data() + first, static_cast<unsigned long>(strides[pxl::cRows]),
                  static_cast<unsigned long>(strides[pxl::cPlans]));
  ++m_nbSteps;
}

void WindowedRun::execute() {
  // For the largest window: growing a buffer would need its memory twice.
  m_buffers.resize(m_readers.size() + 1);
  unsigned long const nbVoxels = m_plan->getLargest();
  for (std::size_t i = 0; i < m_readers.size(); ++i) {
    m_buffers[i].reserve(nbVoxels * pxl::helper::getSizeOf(m_readers[i]->getHeader().type));
  }
  m_buffers.back().reserve(nbVoxels * pxl::helper::getSizeOf(m_outputHeader.type));
  for (unsigned long i = 0; i < m_plan->getCount(); ++i) executeWindow(m_plan->getWindow(i));
  m_buffers.clear();
  m_outputProperty->set(m_sizes.get());
}

double WindowedRun::getProgress() const {
  return static_cast<double>(m_nbSteps) / static_cast<double>(cNbStepsOfWindow * m_plan->getCount());
}

void WindowedRun::write() { m_output->finish(); }

}  // namespace qorn
