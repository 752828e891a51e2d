#include "qorn/AskRunners.h"

#include <memory>
#include <string>

#include "pxl/ImageModel.h"
#include "pxl/Property.h"
#include "pxl/analysis/Measure.h"
#include "qorn/Operators.h"
#include "qorn/io/ImageFile.h"

namespace qorn {
namespace {

/** An image with characteristics but without voxels. */
class DescribedImage final : public pxl::ImageModel {
 public:
  DescribedImage(io::ImageHeader const& header, pxl::VoxelTypes type, int interpretation)
      : m_sizes(header.sizes), m_type(type), m_interpretation(interpretation) {}
  unsigned long getNumOf(pxl::Components const& component) const override {
    return m_sizes[static_cast<std::size_t>(component)];
  }
  pxl::VoxelTypes getVoxelType() const override { return m_type; }
  int getInterpretation() const override { return m_interpretation; }

 private:
  pxl::ImageSizes m_sizes;
  pxl::VoxelTypes m_type;
  int m_interpretation;
};

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
  std::vector<std::unique_ptr<DescribedImage>> images;
  std::vector<std::unique_ptr<pxl::analysis::Measure>> measures;
  std::size_t nbSet = 0;
  for (pxl::PropertyBase* property : algorithm->getProperties()) {
    if (auto* const input = pxl::asProperty<pxl::ImageModel const*>(*property)) {
      io::ImageHeader const& header = headers[nbSet++];
      images.push_back(std::make_unique<DescribedImage>(header, header.type, command.interpretation));
      input->set(images.back().get());
    } else if (auto* const output = pxl::asProperty<pxl::ImageModel*>(*property)) {
      pxl::VoxelTypes const type = command.outputType.value_or(headers.front().type);
      images.push_back(std::make_unique<DescribedImage>(headers.front(), type, command.interpretation));
      output->set(images.back().get());
    } else if (auto* const measure = dynamic_cast<pxl::MeasureProperty*>(property)) {
      measures.push_back(measure->makeMeasure());
    }
  }
  return algorithm->getRunners();
}

}  // namespace qorn
