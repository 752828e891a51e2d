#include "Operators.h"

#include <pybind11/stl.h>

#include <vector>

#include "Arenas.h"
#include "Arrays.h"
#include "Failure.h"
#include "Run.h"
#include "Values.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Runnable.h"
#include "pxl/io/TemporaryImage.h"

namespace qorn::python {
namespace {

namespace py = pybind11;

pxl::AlgoInfo& findRecord(std::string const& name) {
  pxl::AlgoInfo* const record = pxl::AlgoInfo::find(name.c_str());
  if (record == nullptr) throw py::value_error(name + " is no operator; qorn.operators() lists them");
  return *record;
}

py::dict describe(pxl::PropertyBase const& property) {
  py::dict choices;
  for (pxl::Choice const& choice : property.getChoices()) choices[choice.name] = choice.value;
  py::dict description;
  description["name"] = property.getName();
  description["type"] = getTypeName(property);
  description["help"] = property.getHelp();
  description["has_default"] = property.hasDefault();
  description["choices"] = choices;
  return description;
}

py::list describeOperators() {
  py::list all;
  for (pxl::AlgoInfo const* record : pxl::AlgoInfo::getAll()) {
    py::list properties;
    auto const algorithm = record->create();
    for (pxl::PropertyBase const* property : algorithm->getProperties()) properties.append(describe(*property));
    py::dict description;
    description["name"] = record->getName();
    description["category"] = record->getCategory();
    description["help"] = record->getHelp();
    description["properties"] = properties;
    all.append(description);
  }
  return all;
}

std::vector<std::string> getRunnerNames(std::string const& name) {
  std::vector<std::string> names;
  for (pxl::Runnable const* runner : findRecord(name).getRunners()) names.emplace_back(runner->getName());
  return names;
}

/** An array for each property of an image, in their order, with its axes. */
using GivenImages = std::vector<std::pair<py::buffer, Axes>>;

/** Sets the images of an algorithm. @return them, to be kept for the run */
std::vector<std::unique_ptr<ArrayImage>> setImages(pxl::BaseAlgorithm& algorithm, GivenImages const& given) {
  std::vector<std::unique_ptr<ArrayImage>> images;
  auto const add = [&](bool isWritable) {
    if (images.size() == given.size()) throw py::value_error("an image is missing");
    auto const& [array, axes] = given[images.size()];
    return images.emplace_back(std::make_unique<ArrayImage>(array, axes, isWritable))->getImage().get();
  };
  for (pxl::PropertyBase* property : algorithm.getProperties()) {
    if (auto* const input = pxl::asProperty<pxl::ImageModel const*>(*property)) input->set(add(false));
    if (auto* const output = pxl::asProperty<pxl::ImageModel*>(*property)) output->set(add(true));
  }
  if (images.size() != given.size()) throw py::value_error("more images than the operator has");
  return images;
}

py::object run(std::string const& name, GivenImages const& given, py::dict const& properties,
               std::string const& runner, int nbThreads, std::optional<unsigned long> maxMemory,
               py::object const& progress, CancelToken const* cancel) {
  auto const algorithm = makeAlgorithm(name, properties);
  auto const images = setImages(*algorithm, given);
  std::unique_ptr<pxl::analysis::Measure> measure;
  for (pxl::PropertyBase* property : algorithm->getProperties()) {
    pxl::visitProperty(*property, pxl::Overloaded{[&](pxl::MeasureProperty& one) { measure = one.makeMeasure(); },
                                                  [](pxl::PropertyBase&) {}});
  }
  if (!runner.empty()) algorithm->setRunner(runner);
  if (maxMemory) algorithm->setMaximumExtraMemoryUsageInBytes(*maxMemory);
  double nbVoxels = 1;
  for (unsigned long const size : images.front()->getImage()->getSizes()) nbVoxels *= static_cast<double>(size);
  execute(*algorithm, nbVoxels, RunOptions{nbThreads, progress, cancel});
  return measure ? py::object(getResults(*measure)) : py::none();
}

std::string getOutputType(std::string const& name, std::string const& format) {
  constexpr char cLetters[] = "BHI?bhi?fd";
  auto const position = std::string(cLetters).find(format);
  if (format.size() != 1 || format == "?" || position == std::string::npos) throw py::type_error(format);
  return getFormat(findRecord(name).create()->getNaturalOutputType(static_cast<pxl::VoxelTypes>(position)));
}

}  // namespace

std::unique_ptr<pxl::BaseAlgorithm> makeAlgorithm(std::string const& name, py::dict const& properties) {
  auto algorithm = findRecord(name).create();
  setProperties(*algorithm, properties);
  return algorithm;
}

py::tuple getMarginTuple(pxl::kernel::Margins const& m) {
  return py::make_tuple(py::make_tuple(m.plansBefore, m.plansAfter), py::make_tuple(m.rowsBefore, m.rowsAfter),
                        py::make_tuple(m.colsBefore, m.colsAfter));
}

void addOperators(py::module_& module) {
  py::class_<CancelToken>(module, "CancelToken")
      .def(py::init())
      .def("cancel", &CancelToken::cancel)
      .def_property_readonly("cancelled", &CancelToken::isCancelled);
  module.def("operators", describeOperators);
  module.def("runners", getRunnerNames, py::arg("name"));
  module.def("run", run, py::arg("name"), py::arg("images"), py::arg("properties"), py::arg("runner"),
             py::arg("threads"), py::arg("max_memory"), py::arg("progress"), py::arg("cancel"));
  module.def("output_format", getOutputType, py::arg("name"), py::arg("format"));
  module.def(
      "margins",
      [](std::string const& name, py::dict const& properties) {
        return getMarginTuple(makeAlgorithm(name, properties)->getMargins());
      },
      py::arg("name"), py::arg("properties"));
  module.def(
      "offsets",
      [](std::string const& name, py::dict const& properties) {
        return getOffsetBytes(makeAlgorithm(name, properties)->getOffsets());
      },
      py::arg("name"), py::arg("properties"));
  module.def(
      "written_plans", [](std::string const& name) { return findRecord(name).create()->getMaxNumOfWrittenPlans(); },
      py::arg("name"));
  module.def("core_count", getNbCores);
  module.def("release_memory", pxl::releaseTemporaries);
}

}  // namespace qorn::python
