#include <nlohmann/json.hpp>
#include <set>

#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "qorn/AskRunners.h"
#include "qorn/Commands.h"
#include "qorn/NumberText.h"
#include "qorn/Operators.h"
#include "qorn/StandardOutput.h"
#include "qorn/Table.h"

namespace qorn {
namespace {

using Json = nlohmann::ordered_json;

/** The default of a property as a number, or null. */
Json getDefault(pxl::PropertyBase const& property) {
  if (!property.hasDefault()) return nullptr;
  return pxl::visitProperty(
      property, pxl::Overloaded{[](pxl::Property<int> const& number) -> Json { return number.getDefault(); },
                                [](pxl::Property<unsigned int> const& number) -> Json { return number.getDefault(); },
                                [](pxl::Property<double> const& number) -> Json { return number.getDefault(); },
                                [](pxl::PropertyBase const&) -> Json { return nullptr; }});
}

/** How a property is given: its default, or that it is required. */
std::string describeDefault(pxl::PropertyBase const& property) {
  if (property.getKind() == pxl::PropertyKinds::cMeasure) return "printed";
  Json const value = getDefault(property);
  if (value.is_number_integer()) {
    if (pxl::String const name = property.getChoices().getText(value.get<int>()); !name.empty()) return name.str();
  }
  if (value.is_null()) return "required";
  return value.is_number_float() ? toText(value.get<double>()) : value.dump();
}

void describeChoices(Json& description, pxl::Choices const& choices) {
  if (choices.isEmpty()) return;
  Json names = Json::array();
  for (pxl::Choice const& choice : choices) {
    names.push_back({{"name", choice.name}, {"value", choice.value}, {"help", choice.help}});
  }
  description["choices"] = names;
  description["combinable"] = choices.getKind() == pxl::ChoiceKinds::cSum;
}

/** The runners of an operator that plug-ins provide, with their answers if runners were asked. */
std::vector<pxl::RunnerInfo> findRunners(pxl::AlgoInfo const& record, OperatorsCommand const& command) {
  if (record.isComposed()) return {};  // its runner is the host's own
  if (isQuestion(command)) return askRunners(record, command);
  std::vector<pxl::RunnerInfo> runners;
  for (pxl::Runnable const* runner : record.getRunners()) {
    runners.push_back({runner->getName(), runner->getOptimType(), false, ""});
  }
  return runners;
}

Json describe(pxl::AlgoInfo const& record, OperatorsCommand const& command) {
  Json optimisations = Json::array();
  Json runners = Json::array();
  for (pxl::RunnerInfo const& runner : findRunners(record, command)) {
    optimisations.push_back(runner.optimType);
    runners.push_back({{"name", runner.name.str()}, {"optimisation", runner.optimType}});
    if (!isQuestion(command)) continue;
    runners.back()["accepts"] = runner.isAccepting;
    if (!runner.isAccepting) runners.back()["refusal"] = runner.refusal.str();
  }
  Json properties = Json::array();
  auto const algorithm = record.create();
  for (pxl::PropertyBase const* property : algorithm->getProperties()) {
    properties.push_back({{"name", property->getName()},
                          {"type", getTypeName(*property)},
                          {"default", getDefault(*property)},
                          {"help", property->getHelp()}});
    describeChoices(properties.back(), property->getChoices());
  }
  return {{"name", record.getName()},        {"category", record.getCategory()}, {"help", record.getHelp()},
          {"composed", record.isComposed()}, {"runners", runners.size()},        {"optimisations", optimisations},
          {"registered", runners},           {"properties", properties}};
}

std::string toText(std::vector<pxl::RunnerInfo> const& runners, bool isAsked) {
  std::string const text = "registered runners: " + std::to_string(runners.size()) + "\n\n";
  if (runners.empty()) return text;
  Table table(isAsked ? "lrl" : "lr");
  table.addRow(isAsked ? std::vector<std::string>{"RUNNER", "OPTIMISATION", "ACCEPTS"}
                       : std::vector<std::string>{"RUNNER", "OPTIMISATION"});
  for (pxl::RunnerInfo const& runner : runners) {
    std::vector<std::string> row{runner.name.empty() ? "-" : runner.name.str(), std::to_string(runner.optimType)};
    if (isAsked) row.push_back(runner.isAccepting ? "yes" : "no: " + runner.refusal.str());
    table.addRow(row);
  }
  return text + table.toText() + "\n";
}

std::string toText(pxl::AlgoInfo const& record, OperatorsCommand const& command) {
  std::string text = std::string(record.getName()) + " (" + record.getCategory() + "): " + record.getHelp() + "\n";
  text += record.isComposed() ? "composed of other operators\n\n"
                              : toText(findRunners(record, command), isQuestion(command));
  Table table("llll");
  table.addRow({"PROPERTY", "TYPE", "DEFAULT", "MEANING"});
  auto const algorithm = record.create();
  for (pxl::PropertyBase const* property : algorithm->getProperties()) {
    table.addRow({property->getName(), getTypeName(*property), describeDefault(*property), property->getHelp()});
    pxl::Choices const& choices = property->getChoices();
    for (pxl::Choice const& choice : choices) {
      table.addRow({std::string("  =") + choice.name, std::to_string(choice.value), "", choice.help});
    }
    if (choices.getKind() == pxl::ChoiceKinds::cSum)
      table.addRow({"", "", "", "several names are separated by commas"});
  }
  return text + table.toText();
}

std::string listAll() {
  // A runner that is registered with several operators counts once for each.
  std::size_t nbRunners = 0;
  Table table("lrl");
  table.addRow({"OPERATOR", "RUNNERS", "MEANING"});
  for (pxl::AlgoInfo const* record : pxl::AlgoInfo::getAll()) {
    std::size_t const nbOfRecord = findRunners(*record, {}).size();
    nbRunners += nbOfRecord;
    table.addRow(
        {record->getName(), record->isComposed() ? "composed" : std::to_string(nbOfRecord), record->getHelp()});
  }
  std::string text = table.toText();
  text += "\n" + std::to_string(nbRunners) + (nbRunners == 1 ? " runner is" : " runners are") + " registered";
  std::vector<std::string> const plugins = pxl::plugins::getLoaded();
  if (plugins.empty()) text += "; no plug-in is loaded";
  for (std::size_t i = 0; i < plugins.size(); ++i) text += (i == 0 ? ", from " : ", ") + plugins[i];
  return text + "\n";
}

}  // namespace

ExitCodes execute(OperatorsCommand const& command) {
  std::vector<pxl::AlgoInfo*> records = pxl::AlgoInfo::getAll();
  if (!command.operatorName.empty()) records = {&findOperator(command.operatorName)};
  loadPlugins(command.plugins);
  if (!command.isJson) {
    writeOutput(command.operatorName.empty() ? listAll() : toText(*records.front(), command));
    return cDone;
  }
  Json list = Json::array();
  std::size_t nbRunners = 0;
  for (pxl::AlgoInfo const* record : records) {
    list.push_back(describe(*record, command));
    nbRunners += list.back()["registered"].size();
  }
  Json const json{{"operators", list}, {"runners", nbRunners}, {"plugins", pxl::plugins::getLoaded()}};
  writeOutput(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
  return cDone;
}

}  // namespace qorn
