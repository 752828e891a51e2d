#include "qorn/AskRunners.h"

#include <sys/mman.h>

#include <memory>
#include <string>

#include "pxl/Image.h"
#include "pxl/Property.h"
#include "pxl/analysis/Measure.h"
#include "qorn/Operators.h"
#include "qorn/io/ImageFile.h"

namespace qorn {
namespace {

// An image in memory as a run has it, but only its addresses are reserved: nobody reads or writes the voxels.
std::shared_ptr<pxl::Image> describeImage(io::ImageHeader const& header, pxl::VoxelTypes type, int interpretation) {
  pxl::ImageStrides strides;
  unsigned long nbBytes = pxl::helper::getSizeOf(type);
  for (std::size_t i = 0; i < strides.size(); ++i) {
    strides[i] = static_cast<long>(nbBytes);
    nbBytes *= header.sizes[i];
  }
  void* const space = ::mmap(nullptr, nbBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (space == MAP_FAILED) throw std::bad_alloc();
  std::shared_ptr<void> const reserved(space, [nbBytes](void* begin) { ::munmap(begin, nbBytes); });
  return pxl::Image::OnMemory(space, type, header.sizes, strides, interpretation, reserved);
}

}  // namespace

bool isQuestion(OperatorsCommand const& command) { return !command.images.empty() || !command.properties.empty(); }

std::vector<pxl::RunnerInfo> askRunners(pxl::AlgoInfo const& record, OperatorsCommand const& command) {
  for (std::string const& path : command.images) {
    // Not an image: it has no suffix.
    if (pxl::AlgoInfo::find(path.c_str()) != nullptr) {
      throw UsageError("command line", path + " is an operator; one is described at a time");
    }
  }
  std::unique_ptr<pxl::BaseAlgorithm> const algorithm = record.create();
  setProperties(*algorithm, command.properties, std::nullopt);
  checkValues(*algorithm);
  std::size_t const nbInputs = countProperties(*algorithm, pxl::PropertyKinds::cInputImage);
  if (command.images.size() != nbInputs) {
    throw UsageError(record.getName(), "runners are asked about " + std::to_string(nbInputs) + " input image(s), " +
                                           std::to_string(command.images.size()) + " given");
  }
  std::vector<io::ImageHeader> headers;
  for (std::string const& path : command.images) headers.push_back(io::readImageHeader(path));
  std::vector<std::shared_ptr<pxl::Image>> images;
  std::vector<std::unique_ptr<pxl::analysis::Measure>> measures;
  std::size_t nbSet = 0;
  for (pxl::PropertyBase* property : algorithm->getProperties()) {
    if (auto* const input = pxl::asProperty<pxl::ImageModel const*>(*property)) {
      io::ImageHeader const& header = headers[nbSet++];
      images.push_back(describeImage(header, header.type, command.interpretation));
      input->set(images.back().get());
    } else if (auto* const output = pxl::asProperty<pxl::ImageModel*>(*property)) {
      pxl::VoxelTypes const type = command.outputType.value_or(headers.front().type);
      images.push_back(describeImage(headers.front(), type, command.interpretation));
      output->set(images.back().get());
    } else if (auto* const measure = dynamic_cast<pxl::MeasureProperty*>(property)) {
      measures.push_back(measure->makeMeasure());
    }
  }
  return algorithm->getRunners();
}

}  // namespace qorn
