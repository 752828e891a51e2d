#include <cxxabi.h>
#include <dlfcn.h>

#include <map>
#include <string>
#include <typeinfo>

#include "frame/support/FakeImage.h"
#include "frame/support/Registered.h"
#include "gtest/gtest.h"
#include "host/support/PluginLoading.h"
#include "instrument/ShippedPaths.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/morphology/Morphology.h"

namespace frame_test {
namespace {

using pxl::instrument::Event;

/** The entry of a morphological operator whose runner needs nothing beyond the common rule. */
std::pair<std::string const, std::string> makeOneTypeEntry(std::string const& name) {
  return {name, "pxl::morphology::SSE41OneTypeMinMaxRunner<pxl::morphology::" + name + ", pxl::morphology::" + name +
                    "SSE41Dispatcher>"};
}

constexpr char cRunnerOf2D[] =
    "pxl::filtering::linear::FIRFilterSSE41Runner<pxl::filtering::linear::FiniteImpulseResponseFilter2D, "
    "pxl::filtering::linear::FIRFilterDispatcher<pxl::Filter2dTag, pxl::SimdVec::arch_128_tag> >";
constexpr char cRunnerOf3D[] =
    "pxl::filtering::linear::FIRFilterSSE41Runner<pxl::filtering::linear::FiniteImpulseResponseFilter3D, "
    "pxl::filtering::linear::FIRFilterDispatcher<pxl::Filter3dTag, pxl::SimdVec::arch_128_tag> >";

/** The class that the runner's derives from; for the FIR filters the one above that. */
std::string getBaseOf(pxl::Runnable const& runner) {
  auto const* const type = dynamic_cast<abi::__si_class_type_info const*>(&typeid(runner));
  if (!type) return "none or several";
  std::string const base = demangle(type->__base_type->name());
  auto const* const shared = dynamic_cast<abi::__si_class_type_info const*>(type->__base_type);
  bool const isFir = base.rfind("pxl::filtering::linear::AbstractFIRFilterRunner<", 0) == 0;
  return isFir && shared ? demangle(shared->__base_type->name()) : base;
}

/** The runners that the shipped plug-in registers by now, by the names of their operators. */
std::map<std::string, std::string> const cShipped{
    {"IntensityExtrema", "pxl::analysis::IntensityExtremaSSERunner"},
    {"FiniteImpulseResponseFilter2D", cRunnerOf2D},
    {"FiniteImpulseResponseFilter3D", cRunnerOf3D},
    {"Dilation2d", "pxl::morphology::Dilation2dSSE41Runner"},
    {"Dilation3d", "pxl::morphology::Dilation3dSSE41Runner"},
    makeOneTypeEntry("DilationBall3d"),
    makeOneTypeEntry("DilationDisk2d"),
    makeOneTypeEntry("DilationDisk3d"),
    makeOneTypeEntry("DilationLine2d"),
    makeOneTypeEntry("DilationLine3d"),
    {"Erosion2d", "pxl::morphology::Erosion2dSSE41Runner"},
    {"Erosion3d", "pxl::morphology::Erosion3dSSE41Runner"},
    makeOneTypeEntry("ErosionBall3d"),
    makeOneTypeEntry("ErosionDisk2d"),
    makeOneTypeEntry("ErosionDisk3d"),
    makeOneTypeEntry("ErosionLine2d"),
    makeOneTypeEntry("ErosionLine3d"),
    {"LogicalOperationWithImage", "pxl::point_operations::SSE41LogicalOperationWithImageRunner"},
    {"LogicalOperationWithValue", "pxl::point_operations::SSE41LogicalOperationWithValueRunner"}};

class ShippedPlugin : public testing::Test {
 protected:
  ShippedPlugin() {
    pxl::AlgoInfo::getAll();
    m_probe.clear();
  }
  std::vector<Event> takeTrace() {
    auto const trace = m_probe.getTrace();
    m_probe.clear();
    return trace;
  }
  // Each unit asks for its record and adds its runner; the order of the units is the loader's.
  void expectLoaded(std::vector<Event> const& trace) {
    ASSERT_EQ(trace.size(), 2 * cShipped.size());
    m_runners = getRegistered();
    ASSERT_EQ(m_runners.size(), cShipped.size());
    for (unsigned long i = 0; i < trace.size(); i += 2) {
      std::string const& name = trace[i].text;
      EXPECT_EQ(trace[i].name, "getClassInfo");
      EXPECT_EQ(trace[i + 1].name, "addRunner");
      EXPECT_EQ(trace[i + 1].text, name);
      ASSERT_EQ(m_runners.count(name), 1U) << name;
      pxl::Runnable* const runner = m_runners.at(name);
      EXPECT_EQ(runner, trace[i + 1].object);
      EXPECT_EQ(demangle(typeid(*runner).name()), cShipped.at(name));
      EXPECT_EQ(runner->getOptimType(), 1);
      EXPECT_EQ(getBaseOf(*runner), "pxl::Runnable") << name;
    }
  }
  void expectUnloaded(std::vector<Event> const& trace) {
    ASSERT_EQ(trace.size(), 2 * cShipped.size());
    for (unsigned long i = 0; i < trace.size(); i += 2) {
      EXPECT_EQ(trace[i].name, "getClassInfo");
      EXPECT_EQ(trace[i + 1].name, "removeRunner");
      EXPECT_EQ(trace[i + 1].object, m_runners.at(trace[i].text));
    }
    EXPECT_FALSE(isInMemory(shipped::getPlugin()));
    EXPECT_TRUE(getRegistered().empty());
  }

  pxl::instrument::Recorder m_probe;
  Runners m_runners;
};

TEST_F(ShippedPlugin, ComesAndGoesThroughTheHost) {
  for (int life = 0; life < 3; ++life) {
    host_test::loadPlugin(shipped::getPlugin());
    expectLoaded(takeTrace());
    pxl::plugins::unload(shipped::getPlugin());
    expectUnloaded(takeTrace());
  }
}

TEST_F(ShippedPlugin, ComesAndGoesThroughTheLoader) {
  for (int life = 0; life < 3; ++life) {
    host_test::RunnersMayStay const stay;
    void* const handle = ::dlopen(shipped::getPlugin().c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << ::dlerror();
    expectLoaded(takeTrace());
    ASSERT_EQ(::dlclose(handle), 0);
    expectUnloaded(takeTrace());
  }
}

TEST_F(ShippedPlugin, LoadsWithoutARecord) {
  m_probe.classInfo = [](std::string const&, pxl::AlgoInfo*) -> pxl::AlgoInfo* { return nullptr; };
  host_test::loadPlugin(shipped::getPlugin());
  EXPECT_EQ(takeTrace().size(), cShipped.size());
  m_probe.classInfo = nullptr;
  pxl::plugins::unload(shipped::getPlugin());
  EXPECT_TRUE(takeTrace().empty());
  EXPECT_FALSE(isInMemory(shipped::getPlugin()));
}

TEST_F(ShippedPlugin, RefusesAndFailsByTheSameRules) {
  host_test::loadPlugin(shipped::getPlugin());
  expectLoaded(takeTrace());
  ASSERT_EQ(m_runners.count("IntensityExtrema"), 1U);
  pxl::Runnable* const runner = m_runners.at("IntensityExtrema");
  m_probe.hasSSE = false;
  EXPECT_FALSE(runner->isRunnable(nullptr));
  m_probe.hasSSE = true;
  FakeImage image(pxl::cFloat);
  pxl::analysis::IntensityExtrema algorithm;
  algorithm.inputImage = &image;
  for (int level : {64, 65}) {
    m_probe.sseLevel = level;
    EXPECT_EQ(runner->isRunnable(&algorithm), level == 65);
  }
  image.type = pxl::cInteger64;
  EXPECT_FALSE(runner->isRunnable(&algorithm));
  EXPECT_THROW(runner->run(nullptr), pxl::UnexpectedError);
  pxl::morphology::Dilation2d foreign;
  EXPECT_THROW(runner->run(&foreign), pxl::UnexpectedError);
  pxl::plugins::unload(shipped::getPlugin());
}

}  // namespace
}  // namespace frame_test
