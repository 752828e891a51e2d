#include <tbb/global_control.h>

#include <optional>
#include <vector>

#include "pxl/Exception.h"
#include "pxl/Settings.h"
#include "pxl/analysis/IntensityExtremaMsr.h"
#include "qorn/Commands.h"
#include "qorn/MeasureText.h"
#include "qorn/Operators.h"
#include "qorn/StandardOutput.h"
#include "qorn/Supervision.h"
#include "qorn/io/ImageFile.h"

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

/** What can't be run is refused before any file is touched. */
void checkIsOffered(pxl::BaseAlgorithm const& algorithm) {
  pxl::AlgoInfo const& record = *algorithm.getAlgoInfo();
  if (record.getRunners().empty()) throw ProgramError(cFailed, record.getName(), "no plug-in offers it");
  if (countProperties(algorithm, pxl::PropertyKinds::cOutputImage) > 0) {
    throw ProgramError(cFailed, record.getName(), "this version doesn't write images");
  }
}

std::vector<std::shared_ptr<pxl::Image>> readInputs(pxl::BaseAlgorithm& algorithm, RunCommand const& command) {
  io::ReadOptions options;
  options.isOnDisk = command.isOnDisk;
  options.maxCompressedVoxels = command.maxVoxels;
  options.interpretation = command.interpretation;
  std::vector<std::shared_ptr<pxl::Image>> images;
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    if (property->getKind() != pxl::PropertyKinds::cInputImage) continue;
    images.push_back(io::readImage(command.images.at(images.size()), options).image);
    dynamic_cast<pxl::Property<pxl::ImageModel const*>&>(*property).set(images.back().get());
  }
  return images;
}

void executeNamed(pxl::BaseAlgorithm& algorithm, RunCommand const& command) {
  std::string const& name = command.operatorName;
  try {
    executeSupervised(algorithm, name, command.isQuiet);
  } catch (pxl::ExceptionCancelation const&) {
    throw ProgramError(cCancelled, name, "cancelled");
  } catch (std::bad_alloc const&) {
    throw ProgramError(cFailed, name, "not enough memory");
  } catch (std::exception const& error) {
    // The host's own messages begin with the operator's name already.
    std::string text = error.what();
    std::string const prefix = name + ": ";
    if (text.compare(0, prefix.size(), prefix) == 0) text.erase(0, prefix.size());
    throw ProgramError(cFailed, name, text);
  }
}

}  // namespace

ExitCodes execute(RunCommand const& command) {
  std::unique_ptr<pxl::BaseAlgorithm> const algorithm = findOperator(command.operatorName).create();
  setProperties(*algorithm, command.properties);
  checkNbImages(*algorithm, command.images.size());
  for (auto const& [name, value] : command.settings) pxl::globalSettings().setValue(name, value);
  if (command.maxExtraMemory) algorithm->setMaximumExtraMemoryUsageInBytes(*command.maxExtraMemory);
  loadPlugins(command.plugins);
  checkIsOffered(*algorithm);

  std::optional<tbb::global_control> threads;
  if (command.nbThreads) threads.emplace(tbb::global_control::max_allowed_parallelism, *command.nbThreads);
  auto const images = readInputs(*algorithm, command);
  pxl::analysis::IntensityExtremaMsr measure;
  for (pxl::PropertyBase* property : algorithm->getProperties()) {
    if (property->getKind() != pxl::PropertyKinds::cMeasure) continue;
    dynamic_cast<pxl::Property<pxl::analysis::IntensityExtremaMsr*>&>(*property).set(&measure);
  }
  executeNamed(*algorithm, command);
  writeOutput(command.isJson ? toJson(measure) : toTable(measure, *algorithm));
  return cDone;
}

}  // namespace qorn
