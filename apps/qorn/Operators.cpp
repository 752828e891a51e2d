#include "qorn/Operators.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>

#include "pxl/Plugins.h"
#include "qorn/Errors.h"
#include "qorn/KernelText.h"
#include "qorn/NearestName.h"
#include "qorn/NumberText.h"

namespace qorn {
namespace {

template <class T>
void setNumber(pxl::PropertyBase& property, std::string const& value) {
  std::string const what = std::string(property.getName()) + "=" + value;
  dynamic_cast<pxl::Property<T>&>(property).set(parseNumberOrThrow<T>(what, value, getKindName(property.getKind())));
}

void setValue(pxl::PropertyBase& property, std::string const& value, std::optional<std::string> const& kernelOrigin) {
  switch (property.getKind()) {
    case pxl::PropertyKinds::cInteger:
      return setNumber<int>(property, value);
    case pxl::PropertyKinds::cUnsignedInteger:
      return setNumber<unsigned int>(property, value);
    case pxl::PropertyKinds::cReal:
      return setNumber<double>(property, value);
    case pxl::PropertyKinds::cKernel2D:
    case pxl::PropertyKinds::cKernel3D:
      if (value.empty()) throw UsageError(property.getName(), "has no value");
      return setKernel(property, value, kernelOrigin);
    default:
      break;  // not given by name
  }
}

}  // namespace

pxl::AlgoInfo& findOperator(std::string const& name) {
  pxl::AlgoInfo* const record = pxl::AlgoInfo::find(name.c_str());
  if (record == nullptr) {
    std::vector<std::string> known;
    for (pxl::AlgoInfo const* info : pxl::AlgoInfo::getAll()) known.emplace_back(info->getName());
    throw UsageError(name, suggestName("no such operator; \"qorn operators\" lists them", name, known));
  }
  return *record;
}

void loadPlugins(std::vector<std::string> const& paths) {
  try {
    if (paths.empty()) pxl::plugins::loadFolder();
    for (std::string const& path : paths) pxl::plugins::load(std::filesystem::absolute(path).string());
  } catch (std::exception const& error) {
    throw ProgramError(cFailed, "plug-ins", error.what());
  }
}

char const* getKindName(pxl::PropertyKinds kind) {
  switch (kind) {
    case pxl::PropertyKinds::cInputImage:
      return "input image";
    case pxl::PropertyKinds::cOutputImage:
      return "output image";
    case pxl::PropertyKinds::cInteger:
      return "integer";
    case pxl::PropertyKinds::cUnsignedInteger:
      return "unsigned integer";
    case pxl::PropertyKinds::cReal:
      return "real";
    case pxl::PropertyKinds::cKernel2D:
      return "2-D kernel";
    case pxl::PropertyKinds::cKernel3D:
      return "3-D kernel";
    case pxl::PropertyKinds::cMeasure:
      return "measure";
  }
  return "unknown";
}

bool isGivenByName(pxl::PropertyBase const& property) {
  switch (property.getKind()) {
    case pxl::PropertyKinds::cInputImage:
    case pxl::PropertyKinds::cOutputImage:
    case pxl::PropertyKinds::cMeasure:
      return false;
    default:
      return true;
  }
}

std::size_t countProperties(pxl::BaseAlgorithm const& algorithm, pxl::PropertyKinds kind) {
  auto const& properties = algorithm.getProperties();
  return static_cast<std::size_t>(
      std::count_if(properties.begin(), properties.end(), [kind](auto const* p) { return p->getKind() == kind; }));
}

void setProperties(pxl::BaseAlgorithm& algorithm, std::vector<std::pair<std::string, std::string>> const& values,
                   std::optional<std::string> const& kernelOrigin) {
  std::string const operatorName = algorithm.getAlgoInfo()->getName();
  if (kernelOrigin && countProperties(algorithm, pxl::PropertyKinds::cKernel2D) == 0 &&
      countProperties(algorithm, pxl::PropertyKinds::cKernel3D) == 0) {
    throw UsageError("--kernel-origin", operatorName + " has no kernel");
  }
  std::set<std::string> given;
  for (auto const& [name, value] : values) {
    pxl::PropertyBase* const property = algorithm.findProperty(name.c_str());
    if (property == nullptr) {
      std::vector<std::string> known;
      for (pxl::PropertyBase const* own : algorithm.getProperties()) {
        if (isGivenByName(*own)) known.emplace_back(own->getName());
      }
      throw UsageError(
          name, suggestName("no such property; \"qorn operators " + operatorName + "\" lists them", name, known));
    }
    if (!isGivenByName(*property)) {
      throw UsageError(name, property->getKind() == pxl::PropertyKinds::cMeasure
                                 ? "is a result, which is printed"
                                 : "is an image, which is given by its path alone");
    }
    if (!given.insert(name).second) throw UsageError(name, "is given twice");
    setValue(*property, value, kernelOrigin);
  }
  for (pxl::PropertyBase const* property : algorithm.getProperties()) {
    if (isGivenByName(*property) && !property->hasDefault() && given.count(property->getName()) == 0) {
      throw UsageError(operatorName, std::string(property->getName()) + "=VALUE is missing");
    }
  }
}

void checkValues(pxl::BaseAlgorithm const& algorithm) {
  if (pxl::String const objection = algorithm.getObjection(); !objection.empty()) {
    throw UsageError(algorithm.getAlgoInfo()->getName(), objection.str());
  }
}

void checkIsOffered(pxl::BaseAlgorithm const& algorithm) {
  pxl::AlgoInfo const& record = *algorithm.getAlgoInfo();
  if (record.getRunners().empty()) throw ProgramError(cFailed, record.getName(), "no plug-in offers it");
}

}  // namespace qorn
