#include "RunnerChoice.h"

#include <algorithm>
#include <string>

#include "Raise.h"
#include "RunnerRefusal.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/Runnable.h"

namespace pxl {
namespace {

std::string nameOf(BaseAlgorithm const& algorithm) { return algorithm.getAlgoInfo()->getName(); }

// All, or those with the requested name. The runner of a composed operator passes the name on to its steps.
std::vector<Runnable*> getEligibleRunners(BaseAlgorithm const& algorithm) {
  auto runners = algorithm.getAlgoInfo()->getRunners();
  std::string const wanted = algorithm.getRunner().str();
  if (wanted.empty() || runners.empty() || algorithm.getAlgoInfo()->isComposed()) return runners;
  std::string names;
  for (Runnable const* runner : runners)
    if (*runner->getName() != '\0') names += (names.empty() ? "" : ", ") + std::string(runner->getName());
  auto const isOther = [&wanted](Runnable const* runner) { return runner->getName() != wanted; };
  runners.erase(std::remove_if(runners.begin(), runners.end(), isOther), runners.end());
  if (runners.empty())
    PXL_RAISE(RuntimeError, nameOf(algorithm) + ": no runner has the name " + wanted + "; there are " +
                                (names.empty() ? "none with names" : names));
  return runners;
}

// What an algorithm lacks before a runner can be asked; empty if it lacks nothing.
std::string findMissing(BaseAlgorithm const& algorithm) {
  for (PropertyBase const* property : algorithm.getProperties())
    if (!property->isSet()) return std::string(property->getName()) + " isn't set";
  return algorithm.validate().str();
}

}  // namespace

std::vector<RunnerInfo> describeRunners(BaseAlgorithm& algorithm) {
  std::vector<RunnerInfo> infos;
  std::string const missing = findMissing(algorithm);
  for (Runnable* runner : algorithm.getAlgoInfo()->getRunners()) {
    bool const isAccepting = missing.empty() && runner->isRunnable(&algorithm);
    std::string const refusal = isAccepting || !missing.empty() ? missing : explainOneRefusal(algorithm, *runner);
    infos.push_back({runner->getName(), runner->getOptimType(), isAccepting, refusal});
  }
  return infos;
}

Runnable* chooseRunner(BaseAlgorithm& algorithm) {
  Runnable* chosen = nullptr;
  auto const runners = getEligibleRunners(algorithm);
  for (Runnable* runner : runners)
    if (runner->isRunnable(&algorithm) && (!chosen || runner->getOptimType() > chosen->getOptimType()))
      chosen = runner;
  if (!chosen) PXL_RAISE(RuntimeError, explainRefusal(algorithm, runners));
  return chosen;
}

}  // namespace pxl
