// A plug-in with all 19 runners as the loader sees it, in two orders of initialisation.
#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <typeinfo>

#include "frame/support/FakeImage.h"
#include "frame/support/Registered.h"
#include "frame/support/Runners.h"
#include "gtest/gtest.h"
#include "host/support/PluginLoading.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Runnable.h"
#include "pxl/morphology/Morphology.h"

namespace frame_test {
namespace {

using pxl::instrument::Event;

std::vector<std::string> getOperatorNames() {
#define FRAME_TEST_NAME(Namespace, Algo, Runner) #Algo,
  return {FRAME_TEST_FOR_EACH_RUNNER(FRAME_TEST_NAME)};
#undef FRAME_TEST_NAME
}

class PluginLife : public testing::TestWithParam<char const*> {
 protected:
  PluginLife() {
    pxl::AlgoInfo::getAll();
    m_probe.clear();
  }

  void load() {
    host_test::RunnersMayStay const stay;
    m_handle = ::dlopen(GetParam(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(m_handle, nullptr) << ::dlerror();
    m_loadTrace = m_probe.getTrace();
    m_probe.clear();
  }
  void unload() {
    m_probe.clear();
    ASSERT_EQ(::dlclose(m_handle), 0);
    m_unloadTrace = m_probe.getTrace();
    m_probe.clear();
    EXPECT_FALSE(isInMemory(GetParam()));
  }
  void hideRecords(std::vector<std::string> hidden) {
    m_probe.classInfo = [hidden](std::string const& name, pxl::AlgoInfo* info) {
      return std::count(hidden.begin(), hidden.end(), name) ? nullptr : info;
    };
  }

  // Each getClassInfo is followed by its own `operation`, unless the record is hidden.
  static std::map<std::string, void const*> readPairs(std::vector<Event> const& trace, std::string const& operation) {
    std::map<std::string, void const*> pairs;
    for (std::size_t i = 0; i < trace.size(); ++i) {
      if (trace[i].name == "getClassInfo") continue;
      EXPECT_EQ(trace[i].name, operation);
      EXPECT_TRUE(i > 0 && trace[i - 1].name == "getClassInfo" && trace[i - 1].text == trace[i].text) << i;
      EXPECT_EQ(pairs.count(trace[i].text), 0U) << trace[i].text;
      pairs[trace[i].text] = trace[i].object;
    }
    return pairs;
  }
  static std::size_t count(std::vector<Event> const& trace, std::string const& name) {
    return static_cast<std::size_t>(
        std::count_if(trace.begin(), trace.end(), [&name](Event const& event) { return event.name == name; }));
  }

  pxl::instrument::Recorder m_probe;
  void* m_handle = nullptr;
  std::vector<Event> m_loadTrace;
  std::vector<Event> m_unloadTrace;
};

INSTANTIATE_TEST_SUITE_P(InBothOrders, PluginLife, testing::Values(FRAME_PLUGIN_PATH, FRAME_REVERSED_PLUGIN_PATH),
                         [](auto const& order) { return order.index == 0 ? "Forward" : "Reversed"; });

TEST_P(PluginLife, AddsEachRunnerOnceAndTakesTheSamesOffAtUnload) {
  load();
  auto const added = readPairs(m_loadTrace, "addRunner");
  EXPECT_EQ(added.size(), 19U);
  EXPECT_EQ(count(m_loadTrace, "getClassInfo"), 19U);
  Runners const registered = getRegistered();
  for (std::string const& name : getOperatorNames()) EXPECT_EQ(registered.at(name), added.at(name)) << name;
  unload();
  EXPECT_EQ(readPairs(m_unloadTrace, "removeRunner"), added);
  EXPECT_EQ(count(m_unloadTrace, "getClassInfo"), 19U);
  EXPECT_TRUE(getRegistered().empty());
}

TEST_P(PluginLife, LoadsAgainAfterUnloading) {
  for (int life = 0; life < 3; ++life) {
    load();
    EXPECT_EQ(getRegistered().size(), 19U);
    EXPECT_TRUE(isInMemory(GetParam()));
    unload();
    EXPECT_EQ(m_unloadTrace.size(), 38U);
    EXPECT_TRUE(getRegistered().empty());
  }
}

TEST_P(PluginLife, LeavesOutOneOperatorWithoutARecord) {
  for (std::string const& hidden : getOperatorNames()) {
    hideRecords({hidden});
    load();
    auto const added = readPairs(m_loadTrace, "addRunner");
    EXPECT_EQ(added.size(), 18U);
    EXPECT_EQ(added.count(hidden), 0U);
    hideRecords({});
    getRegistered();
    unload();
    EXPECT_EQ(readPairs(m_unloadTrace, "removeRunner"), added);
    // A registration that made nothing asks for nothing.
    EXPECT_EQ(count(m_unloadTrace, "getClassInfo"), 18U);
  }
}

TEST_P(PluginLife, LoadsWithoutAnyRecord) {
  hideRecords(getOperatorNames());
  load();
  EXPECT_EQ(m_loadTrace.size(), 19U);
  EXPECT_EQ(count(m_loadTrace, "getClassInfo"), 19U);
  unload();
  EXPECT_TRUE(m_unloadTrace.empty());
}

TEST_P(PluginLife, UnloadsThoughTheRecordsAreGone) {
  load();
  Runners const registered = getRegistered();
  hideRecords(getOperatorNames());
  unload();
  EXPECT_EQ(m_unloadTrace.size(), 19U);
  EXPECT_EQ(count(m_unloadTrace, "getClassInfo"), 19U);
  hideRecords({});
  for (auto const& [name, runner] : registered) pxl::AlgoInfo::find(name.c_str())->removeRunner(runner);
}

TEST_P(PluginLife, RunnersCarryTheNamesOfTheirTemplates) {
  load();
  Runners const registered = getRegistered();
  std::string const fir = "pxl::filtering::linear::";
  std::string const morphology = "pxl::morphology::";
  std::map<std::string, std::string> expected{
      {"IntensityExtrema", "pxl::analysis::IntensityExtremaSSERunner"},
      {"LogicalOperationWithImage", "pxl::point_operations::SSE41LogicalOperationWithImageRunner"},
      {"LogicalOperationWithValue", "pxl::point_operations::SSE41LogicalOperationWithValueRunner"}};
  for (char const* dimension : {"2", "3"}) {
    std::string const name = std::string("FiniteImpulseResponseFilter") + dimension + "D";
    expected[name] = fir + "FIRFilterSSE41Runner<" + fir + name + ", " + fir + "FIRFilterDispatcher<pxl::Filter" +
                     dimension + "dTag, pxl::SimdVec::arch_128_tag> >";
  }
  for (char const* name : {"Dilation2d", "Dilation3d", "Erosion2d", "Erosion3d"})
    expected[name] = morphology + name + "SSE41Runner";
  for (char const* shape : {"Ball3d", "Disk2d", "Disk3d", "Line2d", "Line3d"})
    for (char const* kind : {"Dilation", "Erosion"}) {
      std::string const name = std::string(kind) + shape;
      expected[name] = morphology + "SSE41OneTypeMinMaxRunner<" + morphology + name + ", " + morphology + name +
                       "SSE41Dispatcher>";
    }
  ASSERT_EQ(registered.size(), expected.size());
  for (auto const& [name, runner] : registered) EXPECT_EQ(demangle(typeid(*runner).name()), expected.at(name));
  unload();
}

TEST_P(PluginLife, WorksAcrossTheBorderOfTheLibrary) {
  load();
  Runners const registered = getRegistered();
  m_probe.sseLevel = 80;
  m_probe.hasSSE = true;
  FakeImage image(pxl::cInteger16);
  pxl::morphology::DilationDisk2d disk;
  disk.inputImage = &image;
  disk.outputImage = &image;
  pxl::Runnable const& runner = *registered.at("DilationDisk2d");
  EXPECT_TRUE(runner.isRunnable(&disk));
  EXPECT_EQ(runner.getOptimType(), 1);
  try {
    runner.run(&disk);
    FAIL() << "nothing was thrown";
  } catch (pxl::InvalidCall const& error) {
    EXPECT_STREQ(error.what(), "DilationDisk2dSSE41Dispatcher s");
  }
  pxl::morphology::ErosionDisk2d foreign;
  EXPECT_THROW(runner.run(&foreign), pxl::UnexpectedError);
  unload();
}

}  // namespace
}  // namespace frame_test
