#include <dlfcn.h>

#include <typeinfo>

#include "frame/support/FakeImage.h"
#include "frame/support/Registered.h"
#include "gtest/gtest.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "pxl/morphology/Morphology.h"

namespace frame_test {
namespace {

using pxl::instrument::Event;

// Until its next stages bring more operators the shipped plug-in has one runner.
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
  void expectLoaded(std::vector<Event> const& trace) {
    ASSERT_EQ(trace.size(), 2U);
    EXPECT_EQ(trace[0].name, "getClassInfo");
    EXPECT_EQ(trace[0].text, "IntensityExtrema");
    EXPECT_EQ(trace[1].name, "addRunner");
    EXPECT_EQ(trace[1].text, "IntensityExtrema");
    Runners const registered = getRegistered();
    ASSERT_EQ(registered.size(), 1U);
    pxl::Runnable* const runner = registered.at("IntensityExtrema");
    EXPECT_EQ(runner, trace[1].object);
    EXPECT_EQ(demangle(typeid(*runner).name()), "pxl::analysis::IntensityExtremaSSERunner");
    EXPECT_EQ(runner->getOptimType(), 1);
    m_runner = runner;
  }
  void expectUnloaded(std::vector<Event> const& trace) {
    ASSERT_EQ(trace.size(), 2U);
    EXPECT_EQ(trace[0].name, "getClassInfo");
    EXPECT_EQ(trace[1].name, "removeRunner");
    EXPECT_EQ(trace[1].object, m_runner);
    EXPECT_FALSE(isInMemory(PXLWORKS_PLUGIN_PATH));
    EXPECT_TRUE(getRegistered().empty());
  }

  pxl::instrument::Recorder m_probe;
  pxl::Runnable* m_runner = nullptr;
};

TEST_F(ShippedPlugin, ComesAndGoesThroughTheHost) {
  for (int life = 0; life < 3; ++life) {
    pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
    expectLoaded(takeTrace());
    pxl::plugins::unload(PXLWORKS_PLUGIN_PATH);
    expectUnloaded(takeTrace());
  }
}

TEST_F(ShippedPlugin, ComesAndGoesThroughTheLoader) {
  for (int life = 0; life < 3; ++life) {
    void* const handle = ::dlopen(PXLWORKS_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << ::dlerror();
    expectLoaded(takeTrace());
    ASSERT_EQ(::dlclose(handle), 0);
    expectUnloaded(takeTrace());
  }
}

TEST_F(ShippedPlugin, LoadsWithoutARecord) {
  m_probe.classInfo = [](std::string const&, pxl::AlgoInfo*) -> pxl::AlgoInfo* { return nullptr; };
  pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
  EXPECT_EQ(takeTrace().size(), 1U);
  m_probe.classInfo = nullptr;
  pxl::plugins::unload(PXLWORKS_PLUGIN_PATH);
  EXPECT_TRUE(takeTrace().empty());
  EXPECT_FALSE(isInMemory(PXLWORKS_PLUGIN_PATH));
}

TEST_F(ShippedPlugin, RefusesAndFailsByTheSameRules) {
  pxl::plugins::load(PXLWORKS_PLUGIN_PATH);
  expectLoaded(takeTrace());
  m_probe.hasSSE = false;
  EXPECT_FALSE(m_runner->isRunnable(nullptr));
  m_probe.hasSSE = true;
  FakeImage image(pxl::cFloat);
  pxl::analysis::IntensityExtrema algorithm;
  algorithm.inputImage = &image;
  for (int level : {64, 65}) {
    m_probe.sseLevel = level;
    EXPECT_EQ(m_runner->isRunnable(&algorithm), level == 65);
  }
  image.type = pxl::cInteger64;
  EXPECT_FALSE(m_runner->isRunnable(&algorithm));
  EXPECT_THROW(m_runner->run(nullptr), pxl::UnexpectedError);
  pxl::morphology::Dilation2d foreign;
  EXPECT_THROW(m_runner->run(&foreign), pxl::UnexpectedError);
  pxl::plugins::unload(PXLWORKS_PLUGIN_PATH);
}

}  // namespace
}  // namespace frame_test
