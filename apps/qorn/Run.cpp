#include <tbb/global_control.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "pxl/Settings.h"
#include "pxl/analysis/Measure.h"
#include "qorn/Commands.h"
#include "qorn/ElementText.h"
#include "qorn/MappedFileGuard.h"
#include "qorn/MeasureText.h"
#include "qorn/Operators.h"
#include "qorn/RunWithProgress.h"
#include "qorn/Scale.h"
#include "qorn/StandardOutput.h"
#include "qorn/WindowedRun.h"
#include "qorn/io/CroppedHeader.h"
#include "qorn/io/ExistingOutput.h"
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
                             : command.window       ? "--window"
                             : command.memory       ? "--memory"
                                                    : nullptr;
  if (option != nullptr) throw UsageError(option, command.operatorName + " has no output image");
}

/** The images of a run, in the order of the operator's properties. */
struct RunImages {
  std::vector<io::ImageFile> inputs;
  std::vector<std::unique_ptr<MappedFileGuard>> guards;  ///< of the inputs
  std::unique_ptr<io::OutputImage> output;               ///< null for operators without an output image
  std::shared_ptr<pxl::Image> existing;                  ///< the output instead, for a window
  std::optional<pxl::access::Region> region;             ///< what is computed; everything if empty
};

RunImages openImages(pxl::BaseAlgorithm& algorithm, RunCommand const& command) {
  io::ReadOptions options;
  options.isOnDisk = command.isOnDisk;
  options.maxCompressedVoxels = command.maxVoxels;
  options.interpretation = command.interpretation;
  RunImages images;
  options.check = [&](io::ImageHeader const& header) {
    // The sizes of the first input: all others must be equal.
    if (!images.region) images.region = getRegion(command.crop, command.window, header.sizes);
  };
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
      if (command.window) {
        images.existing = io::openExistingOutput(command.images.back(), header, command.outputType);
        output->set(images.existing.get());
        continue;
      }
      header = makeOutputHeader(algorithm, header, command.outputType);
      if (images.region) header = io::cropHeader(header, *images.region);
      if (command.isInPlace && header.type != first.header.type) {
        throw UsageError("--in-place", std::string("the output has the input's type, ") +
                                           pxl::helper::getNameOf(first.header.type));
      }
      images.output = std::make_unique<io::OutputImage>(
          command.images.back(), header,
          io::OutputOptions{command.isOnDisk, command.isReplacing, command.interpretation, isCancelRequested},
          command.isInPlace ? first.image : nullptr);
      output->set(images.output->getImage().get());
      // On disk the output is a copy of the first input.
      if (command.isInPlace) firstInput->set(images.output->getImage().get());
    }
  }
  return images;
}

/** The properties, with the element's text in the spacing of the first input if requested. */
std::vector<std::pair<std::string, std::string>> resolveSpacing(RunCommand const& command) {
  auto properties = command.properties;
  if (!command.hasSpacingOfFile) return properties;
  auto const element =
      std::find_if(properties.begin(), properties.end(), [](auto const& given) { return given.first == "element"; });
  if (element == properties.end()) throw UsageError("--spacing auto", "needs an element");
  if (command.images.empty()) throw UsageError("--spacing auto", "needs an image");
  std::string const& path = command.images.front();
  element->second = applySpacing(element->second, path, io::readImageHeader(path));
  if (!command.isQuiet)
    writeErrorLine(command.operatorName + ": with the file's spacing the element is " + element->second);
  return properties;
}

/** The scale of the first input. */
std::optional<io::ValueScale> getScale(RunImages const& images) {
  return images.inputs.empty() ? std::nullopt : images.inputs.front().header.scale;
}

/** Reports what may surprise a user of a finished run. */
void writeNotices(pxl::BaseAlgorithm const& algorithm, std::optional<pxl::access::Region> const& region,
                  std::optional<io::ValueScale> const& scale) {
  std::string const name = algorithm.getAlgoInfo()->getName();
  if (region && region->plansBegin() >= static_cast<long>(algorithm.getMaxNumOfWrittenPlans())) {
    writeErrorLine(name + ": writes no plan of this part");
  }
  if (pxl::String const warning = algorithm.getWarning(); !warning.empty())
    writeErrorLine(name + ": " + warning.str());
  if (scale && isReversedBy(*scale, *algorithm.getAlgoInfo())) {
    writeErrorLine(name + ": the file's slope is negative: dilation and erosion are swapped in scaled values");
  }
}

ExitCodes executeInWindows(pxl::BaseAlgorithm& algorithm, RunCommand const& command) {
  WindowedRun run(algorithm, command);
  runWithProgress(algorithm, {[&run] { run.execute(); }, [&run] { return run.getProgress(); }}, command.isQuiet,
                  [&run] { run.write(); });
  run.commit();
  writeNotices(algorithm, run.getRegion(), run.getHeader().scale);
  return cDone;
}

}  // namespace

ExitCodes execute(RunCommand const& command) {
  std::unique_ptr<pxl::BaseAlgorithm> const algorithm = findOperator(command.operatorName).create();
  setProperties(*algorithm, resolveSpacing(command), command.kernelOrigin);
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
  if (command.memory) return executeInWindows(*algorithm, command);
  RunImages images = openImages(*algorithm, command);
  std::vector<std::unique_ptr<pxl::analysis::Measure>> measures;
  for (pxl::PropertyBase* property : algorithm->getProperties()) {
    pxl::visitProperty(*property, pxl::Overloaded{[&measures](pxl::MeasureProperty& measure) {
                                                    measures.push_back(measure.makeMeasure());
                                                  },
                                                  [](pxl::PropertyBase&) {}});
  }
  runWithProgress(
      *algorithm, command.isQuiet,
      [&images] {
        if (images.output) images.output->write();
      },
      images.region);
  if (images.output) images.output->commit();
  // After everything that may fail with its own line.
  std::optional<io::ValueScale> const scale = getScale(images);
  writeNotices(*algorithm, images.region, scale);
  if (scale) {
    for (auto const& measure : measures) measure->scale(scale->slope, scale->intercept);
    if (!measures.empty()) writeErrorLine(command.operatorName + ": " + describeScale(*scale));
  }
  for (auto const& measure : measures) {
    writeOutput(command.isJson ? toJson(*measure, scale) : toTable(*measure, *algorithm));
  }
  return cDone;
}

}  // namespace qorn
