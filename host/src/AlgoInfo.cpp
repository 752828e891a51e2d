#include "pxl/AlgoInfo.h"

#include <algorithm>
#include <cstring>

#include "instrument/Instrument.h"
#include "pxl/BaseAlgorithm.h"

namespace pxl {

AlgoInfo::AlgoInfo(char const* name, char const* category, char const* help, WorkingDimension dimension,
                   Factory factory, Runnable* composition)
    : m_name(name),
      m_category(category),
      m_help(help),
      m_dimension(dimension),
      m_factory(factory),
      m_isComposed(composition != nullptr) {
  if (composition) m_runners.push_back(composition);
}

AlgoInfo::~AlgoInfo() = default;

char const* AlgoInfo::getName() const { return m_name; }
char const* AlgoInfo::getCategory() const { return m_category; }
char const* AlgoInfo::getHelp() const { return m_help; }
WorkingDimension AlgoInfo::getWorkingDimension() const { return m_dimension; }
bool AlgoInfo::isComposed() const { return m_isComposed; }
std::unique_ptr<BaseAlgorithm> AlgoInfo::create() const { return m_factory(); }

void AlgoInfo::addRunner(Runnable* runner) {
  PXL_PROBE(onAddRunner(this, runner));
  std::lock_guard<std::mutex> lock(m_mutex);
  m_runners.push_back(runner);
}

void AlgoInfo::removeRunner(Runnable* runner) {
  PXL_PROBE(onRemoveRunner(this, runner));
  std::lock_guard<std::mutex> lock(m_mutex);
  m_runners.erase(std::remove(m_runners.begin(), m_runners.end(), runner), m_runners.end());
}

std::vector<Runnable*> AlgoInfo::getRunners() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_runners;
}

AlgoInfo* AlgoInfo::find(char const* name) {
  for (AlgoInfo* info : getAll())
    if (name && std::strcmp(info->getName(), name) == 0) return info;
  return nullptr;
}

}  // namespace pxl
