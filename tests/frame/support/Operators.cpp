#include "frame/support/Operators.h"

#include <mutex>
#include <utility>

#include "Core/private/Helper/Raise.h"

namespace frame_test {
namespace {

std::mutex mutex;
std::vector<Report> reports;
char const* failure = nullptr;

}  // namespace

void report(char const* dispatcher, std::type_info const& voxelType, pxl::BaseAlgorithm* algorithm) {
  std::lock_guard<std::mutex> const lock(mutex);
  reports.push_back({dispatcher, voxelType.name(), algorithm});
  if (failure) pxl::helper::raise<pxl::RuleException>(failure, "dispatcher", 7);
}

std::vector<Report> takeReports() {
  std::lock_guard<std::mutex> const lock(mutex);
  return std::exchange(reports, {});
}

void failDispatchers(char const* text) {
  std::lock_guard<std::mutex> const lock(mutex);
  failure = text;
}

}  // namespace frame_test
