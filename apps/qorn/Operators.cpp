#include "qorn/Operators.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>

#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "pxl/morphology/ElementMorphology.h"
#include "qorn/ElementText.h"
#include "qorn/Errors.h"
#include "qorn/KernelText.h"
#include "qorn/NearestName.h"
#include "qorn/NumberText.h"

namespace qorn {
namespace {

/** Sets a property from its text; one that isn't given by name is left unchanged. */
class ValueSetter {
 public:
  ValueSetter(std::string const& value, std::optional<std::string> const& kernelOrigin)
      : m_value(value), m_kernelOrigin(kernelOrigin) {}

  void operator()(pxl::PropertyBase&) const {}
  void operator()(pxl::Property<int>& property) const {
    pxl::Choices const& choices = property.getChoices();
    int value = 0;
    if (choices.findValue(m_value, value)) return property.set(value);
    if (choices.isEmpty() || parseNumber(m_value, value) != ParseError::cMalformed) return setNumber(property);
    refuseName(property);
  }
  void operator()(pxl::Property<unsigned int>& property) const { setNumber(property); }
  void operator()(pxl::Property<double>& property) const { setNumber(property); }
  void operator()(pxl::Property<pxl::kernel::Kernel2D>& property) const {
    setKernel(property, m_value, m_kernelOrigin);
  }
  void operator()(pxl::Property<pxl::kernel::Kernel3D>& property) const {
    setKernel(property, m_value, m_kernelOrigin);
  }
  void operator()(pxl::Property<pxl::kernel::StructuringElement>& property) const {
    property.set(parseElement(m_value));
  }

 private:
  /** @throws UsageError that lists the names */
  [[noreturn]] void refuseName(pxl::Property<int> const& property) const {
    pxl::Choices const& choices = property.getChoices();
    bool const isSum = choices.getKind() == pxl::ChoiceKinds::cSum;
    std::string why = std::string("not a number of type ") + getTypeName(property) +
                      (isSum ? ", nor comma-separated names of " : ", nor one of ");
    std::vector<std::string> known;
    for (pxl::Choice const& choice : choices) {
      why += (known.empty() ? "" : ", ") + std::string(choice.name);
      known.emplace_back(choice.name);
    }
    throw UsageError(std::string(property.getName()) + "=" + m_value, suggestName(why, m_value, known));
  }

  template <class T>
  void setNumber(pxl::Property<T>& property) const {
    std::string const what = std::string(property.getName()) + "=" + m_value;
    property.set(parseNumberOrThrow<T>(what, m_value, getTypeName(property)));
  }

  std::string const& m_value;
  std::optional<std::string> const& m_kernelOrigin;
};

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

bool isGivenByName(pxl::PropertyBase const& property) {
  return pxl::visitProperty(property,
                            pxl::Overloaded{[](pxl::Property<pxl::ImageModel const*> const&) { return false; },
                                            [](pxl::Property<pxl::ImageModel*> const&) { return false; },
                                            [](pxl::MeasureProperty const&) { return false; },
                                            [](pxl::PropertyBase const&) { return true; }});
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
    pxl::visitProperty(*property, ValueSetter(value, kernelOrigin));
  }
  for (pxl::PropertyBase const* property : algorithm.getProperties()) {
    if (isGivenByName(*property) && !property->hasDefault() && given.count(property->getName()) == 0) {
      throw UsageError(operatorName, std::string(property->getName()) + "=VALUE is missing");
    }
  }
}

void checkValues(pxl::BaseAlgorithm const& algorithm) {
  if (pxl::String const refusal = algorithm.validate(); !refusal.empty()) {
    throw UsageError(algorithm.getAlgoInfo()->getName(), refusal.str());
  }
}

void checkIsOffered(pxl::BaseAlgorithm const& algorithm) {
  pxl::AlgoInfo const& record = *algorithm.getAlgoInfo();
  if (record.getRunners().empty()) throw ProgramError(cFailed, record.getName(), "no plug-in provides it");
  std::string const wanted = algorithm.getRunner().str();
  if (wanted.empty()) return;
  std::vector<std::string> known;
  auto const addNames = [&known](pxl::AlgoInfo const& one) {
    for (pxl::Runnable const* runner : one.getRunners())
      if (*runner->getName() != '\0') known.emplace_back(runner->getName());
  };
  if (record.isComposed()) {
    for (pxl::AlgoInfo const* step : pxl::AlgoInfo::getAll()) addNames(*step);
  } else {
    addNames(record);
  }
  if (std::find(known.begin(), known.end(), wanted) != known.end()) return;
  std::string const others =
      record.isComposed() ? "" : "; \"qorn operators " + std::string(record.getName()) + "\" lists them";
  throw UsageError("--runner " + wanted, suggestName("no such runner" + others, wanted, known));
}

io::ImageHeader makeOutputHeader(pxl::BaseAlgorithm const& algorithm, io::ImageHeader header,
                                 std::optional<pxl::VoxelTypes> type) {
  header.type = type.value_or(algorithm.getNaturalOutputType(header.type));
  if (dynamic_cast<pxl::morphology::MorphologicalDifference const*>(&algorithm)) io::dropIntercept(header);
  return header;
}

}  // namespace qorn
