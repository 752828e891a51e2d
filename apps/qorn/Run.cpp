#include <tbb/global_control.h>

#include <memory>
#include <optional>
#include <vector>

#include "pxl/Settings.h"
#include "pxl/analysis/Measure.h"
#include "qorn/Commands.h"
#include "qorn/MappedFileGuard.h"
#include "qorn/MeasureText.h"
#include "qorn/Operators.h"
#include "qorn/Scale.h"
#include "qorn/StandardOutput.h"
#include "qorn/Supervision.h"
#include "qorn/io/ImageFile.h"
#include "qorn/io/OutputImage.h"

namespace qorn {
namespace {

void checkNbImages(pxl::BaseAlgorithm const& algorithm, std::size_t nbGiven) {
  std::size_t const nbInputs = countProperties(algorithm, pxl::PropertyKinds::cInputImage);
  std::size_t const nbOutputs = countProperties(algorithm, pxl::PropertyKinds::cOutputImage);
  if (nbGiven == nbInputs + nbOutputs) return;
  throw UsageError(algorithm.getAlgoInfo()->getName(), "needs " + std::to_string(nbInputs) + " input image(s) and " +
                                                           std::to_string(nbOutputs) + " output image(s), " +
                                                           std::to_string(nbGiven) + " given");
}

/** Options that only make sense for an output image. */
void checkOutputOptions(pxl::BaseAlgorithm const& algorithm, RunCommand const& command) {
  if (countProperties(algorithm, pxl::PropertyKinds::cOutputImage) > 0) return;
  char const* const option = command.isInPlace      ? "--in-place"
                             : command.outputType   ? "--output-type"
                             : !command.isReplacing ? "--no-clobber"
                                                    : nullptr;
  if (option != nullptr) throw UsageError(option, command.operatorName + " has no output image");
}

/** The images of a run, in the order of the operator's properties. */
struct RunImages {
  std::vector<io::ImageFile> inputs;
  std::vector<std::unique_ptr<MappedFileGuard>> guards;  ///< of the inputs
  std::unique_ptr<io::OutputImage> output;               ///< null for operators without an output image
};

RunImages openImages(pxl::BaseAlgorithm& algorithm, RunCommand const& command) {
  io::ReadOptions options;
  options.isOnDisk = command.isOnDisk;
  options.maxCompressedVoxels = command.maxVoxels;
  options.interpretation = command.interpretation;
  RunImages images;
  pxl::Property<pxl::ImageModel const*>* firstInput = nullptr;
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    if (auto* const input = pxl::asProperty<pxl::ImageModel const*>(*property)) {
      options.isPrivate = command.isInPlace && !command.isOnDisk && images.inputs.empty();
      std::string const& path = command.images.at(images.inputs.size());
      images.inputs.push_back(io::readImage(path, options));
      images.guards.push_back(std::make_unique<MappedFileGuard>(path, *images.inputs.back().image));
      input->set(images.inputs.back().image.get());
      if (firstInput == nullptr) firstInput = input;
    } else if (auto* const output = pxl::asProperty<pxl::ImageModel*>(*property)) {
      io::ImageFile const& first = images.inputs.front();
      io::ImageHeader header = first.header;
      header.type = command.outputType.value_or(header.type);
      if (command.isInPlace && header.type != first.header.type) {
        throw UsageError("--in-place", std::string("the output has the input's type, ") +
                                           pxl::helper::getNameOf(first.header.type));
      }
      images.output = std::make_unique<io::OutputImage>(
          command.images.back(), header,
          io::OutputOptions{command.isOnDisk, command.isReplacing, command.interpretation, isCancelRequested},
          command.isInPlace ? first.image : nullptr);
      output->set(images.output->getImage().get());
      // On disk it is a copy of the first input.
      if (command.isInPlace) firstInput->set(images.output->getImage().get());
    }
  }
  return images;
}

/** What the first input says of its values. */
std::optional<io::ValueScale> getScale(RunImages const& images) {
  return images.inputs.empty() ? std::nullopt : images.inputs.front().header.scale;
}

}  // namespace

ExitCodes execute(RunCommand const& command) {
  std::unique_ptr<pxl::BaseAlgorithm> const algorithm = findOperator(command.operatorName).create();
  setProperties(*algorithm, command.properties, command.kernelOrigin);
  checkNbImages(*algorithm, command.images.size());
  checkOutputOptions(*algorithm, command);
  checkValues(*algorithm);
  for (auto const& [name, value] : command.settings) pxl::globalSettings().setValue(name, value);
  if (command.maxExtraMemory) algorithm->setMaximumExtraMemoryUsageInBytes(*command.maxExtraMemory);
  algorithm->setRunner(command.runner);
  loadPlugins(command.plugins);
  checkIsOffered(*algorithm);

  std::optional<tbb::global_control> threads;
  if (command.nbThreads) threads.emplace(tbb::global_control::max_allowed_parallelism, *command.nbThreads);
  RunImages images = openImages(*algorithm, command);
  std::vector<std::unique_ptr<pxl::analysis::Measure>> measures;
  for (pxl::PropertyBase* property : algorithm->getProperties()) {
    pxl::visitProperty(*property, pxl::Overloaded{[&measures](pxl::MeasureProperty& measure) {
                                                    measures.push_back(measure.makeMeasure());
                                                  },
                                                  [](pxl::PropertyBase&) {}});
  }
  executeNamed(*algorithm, command.isQuiet, [&images] {
    if (images.output) images.output->write();
  });
  if (images.output) images.output->commit();
  // After all that may fail with a line of its own.
  if (pxl::String const notice = algorithm->getNotice(); !notice.empty()) {
    writeErrorLine(command.operatorName + ": " + notice.str());
  }
  std::optional<io::ValueScale> const scale = getScale(images);
  if (scale) {
    if (isReversedBy(*scale, *algorithm->getAlgoInfo())) {
      writeErrorLine(command.operatorName +
                     ": the file's slope is negative: dilation and erosion change places in scaled values");
    }
    for (auto const& measure : measures) measure->scale(scale->slope, scale->intercept);
    if (!measures.empty()) writeErrorLine(command.operatorName + ": " + describeScale(*scale));
  }
  for (auto const& measure : measures) {
    writeOutput(command.isJson ? toJson(*measure, scale) : toTable(*measure, *algorithm));
  }
  return cDone;
}

}  // namespace qorn
