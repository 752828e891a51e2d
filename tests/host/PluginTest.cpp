#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

#include "instrument/ShippedPaths.h"
#include "pxl/Plugins.h"
#include "pxl/analysis/IntensityExtrema.h"
#include "support/Algorithms.h"
#include "support/Folder.h"
#include "support/Images.h"
#include "support/PluginLoading.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using pxl::analysis::IntensityExtrema;

std::string const cPlugin = shipped::getPlugin();

bool isLoaded(std::string const& path) {
  auto const loaded = pxl::plugins::getLoaded();
  return std::find(loaded.begin(), loaded.end(), path) != loaded.end();
}

unsigned long countRunners() { return IntensityExtrema::getClassInfo()->getRunners().size(); }

class Plugins : public ::testing::Test {
 protected:
  ~Plugins() override {
    for (std::string const& path : pxl::plugins::getLoaded()) pxl::plugins::unload(path);
    ::unsetenv("PXLWORKS_PLUGIN_DIR");
  }
  void useFolder(std::string const& path) { ::setenv("PXLWORKS_PLUGIN_DIR", path.c_str(), 1); }
  std::string copyPlugin(std::string const& name) {
    std::filesystem::copy_file(cPlugin, folder / name);
    return folder / name;
  }

  Folder folder;
};

TEST_F(Plugins, AreLoadedByAbsolutePathOnly) {
  auto const before = std::filesystem::current_path();
  std::filesystem::current_path(std::filesystem::path(cPlugin).parent_path());
  std::string const name = std::filesystem::path(cPlugin).filename().string();
  for (std::string const& path : {name, "./" + name, std::string()})
    EXPECT_TRUE(contains(refusalOf([&] { loadPlugin(path); }), "absolute"));
  std::filesystem::current_path(before);
  EXPECT_EQ(countRunners(), 0u);
}

TEST_F(Plugins, RegisterAndTakeOffTheirRunners) {
  for (int round = 0; round < 3; ++round) {
    loadPlugin(cPlugin);
    EXPECT_TRUE(isLoaded(cPlugin));
    EXPECT_EQ(countRunners(), 1u);
    // Twice is as good as once.
    loadPlugin(cPlugin);
    EXPECT_EQ(countRunners(), 1u);
    pxl::plugins::unload(cPlugin);
    EXPECT_FALSE(isLoaded(cPlugin));
    EXPECT_EQ(countRunners(), 0u);
    EXPECT_EQ(::dlopen(cPlugin.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
    EXPECT_TRUE(contains(refusalOf([&] { pxl::plugins::unload(cPlugin); }), cPlugin));
  }
}

TEST_F(Plugins, ThatCannotBeLoadedGiveTheLoadersText) {
  std::string const missing = folder / "libpxlworks_pxl_missing.so";
  EXPECT_TRUE(contains(raisedBy<pxl::RuntimeError>([&] { loadPlugin(missing); }), missing));
  writeFile(folder / "libpxlworks_pxl_text.so", "no library");
  raisedBy<pxl::RuntimeError>([&] { loadPlugin(folder / "libpxlworks_pxl_text.so"); });
  raisedBy<pxl::RuntimeError>([&] { loadPlugin(folder.path()); });
  EXPECT_TRUE(pxl::plugins::getLoaded().empty());
}

// The loader knows a library by the path that it was found under, which may be relative.
TEST_F(Plugins, FolderIsThatOfTheHostWhereverTheProcessGoes) {
  constexpr char const* cChild = "PXLWORKS_TEST_CHILD";
  if (::getenv(cChild)) {
    std::filesystem::current_path("/");
    std::printf("folder=%s\n", pxl::plugins::getFolder().c_str());
    return;
  }
  Dl_info host;
  ASSERT_NE(::dladdr(reinterpret_cast<void const*>(&pxl::plugins::load), &host), 0);
  std::filesystem::path const original = std::filesystem::canonical(host.dli_fname);
  std::filesystem::create_directory(folder / "libraries");
  std::filesystem::copy_file(original, folder / "libraries/" + original.filename().string());
  std::string const program = std::filesystem::canonical("/proc/self/exe").string();
  std::string const command = "cd " + folder.path() +
                              " && LD_LIBRARY_PATH=libraries GTEST_TOTAL_SHARDS=1 GTEST_SHARD_INDEX=0 " + cChild +
                              "=1 " + program + " --gtest_filter=Plugins.FolderIsThatOfTheHostWherever*";
  FILE* const output = ::popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::string text(10000, 0);
  text.resize(std::fread(text.data(), 1, text.size(), output));
  EXPECT_EQ(::pclose(output), 0) << text;
  EXPECT_TRUE(contains(text, "folder=" + std::filesystem::canonical(folder / "libraries").string() + "\n")) << text;
}

TEST_F(Plugins, FolderIsThatOfTheHostUnlessTheEnvironmentSaysElse) {
  Dl_info host;
  ASSERT_NE(::dladdr(reinterpret_cast<void const*>(&pxl::plugins::load), &host), 0);
  auto const beside = std::filesystem::canonical(host.dli_fname).parent_path();
  EXPECT_EQ(pxl::plugins::getFolder(), beside.string());
  useFolder(folder.path());
  EXPECT_EQ(pxl::plugins::getFolder(), folder.path());
  useFolder("");
  EXPECT_EQ(pxl::plugins::getFolder(), beside.string());
}

TEST_F(Plugins, OfTheFolderAreAllLoaded) {
  useFolder(folder.path());
  EXPECT_TRUE(loadPluginFolder().empty());
  std::string const a = copyPlugin("libpxlworks_pxl_a.so");
  std::string const b = copyPlugin("libpxlworks_pxl_b.so");
  for (char const* other : {"libother.so", "libpxlworks_pxl_c.so.1", "xlibpxlworks_pxl_d.so", "README"})
    writeFile(folder / other, "not a plug-in");
  EXPECT_EQ(loadPluginFolder(), (std::vector<std::string>{a, b}));
  EXPECT_EQ(countRunners(), 2u);
  EXPECT_EQ(loadPluginFolder(), (std::vector<std::string>{a, b}));
  EXPECT_EQ(countRunners(), 2u);
  pxl::plugins::unload(a);
  EXPECT_EQ(countRunners(), 1u);
}

TEST_F(Plugins, FolderMustBeAbsoluteAndReadable) {
  useFolder("relative");
  EXPECT_TRUE(contains(refusalOf([] { loadPluginFolder(); }), "relative"));
  useFolder(folder / "missing");
  EXPECT_TRUE(contains(raisedBy<pxl::RuntimeError>([] { loadPluginFolder(); }), folder / "missing"));
}

TEST_F(Plugins, StayLoadedDuringARun) {
  loadPlugin(cPlugin);
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
  VolumeOperator algorithm;
  algorithm.inputImage = image.get();
  algorithm.outputImage = image.get();
  std::atomic<bool> isInside{false}, mayEnd{false};
  FakeRunner const runner(algorithm.getAlgoInfo(), [&](pxl::BaseAlgorithm*) {
    EXPECT_TRUE(contains(refusalOf([] { pxl::plugins::unload(cPlugin); }), "run"));
    isInside = true;
    while (!mayEnd) std::this_thread::yield();
  });
  std::thread thread([&] { algorithm.execute(); });
  while (!isInside) std::this_thread::yield();
  refusalOf([] { pxl::plugins::unload(cPlugin); });
  EXPECT_TRUE(isLoaded(cPlugin));
  mayEnd = true;
  thread.join();
  EXPECT_NO_THROW(pxl::plugins::unload(cPlugin));
  // A run that failed doesn't count for ever.
  loadPlugin(cPlugin);
  FakeRunner const failing(
      algorithm.getAlgoInfo(), [](pxl::BaseAlgorithm*) { throw 1; }, 2);
  EXPECT_THROW(algorithm.execute(), int);
  algorithm.inputImage = nullptr;
  refusalOf([&] { algorithm.execute(); });
  EXPECT_NO_THROW(pxl::plugins::unload(cPlugin));
}

TEST_F(Plugins, MayBeLoadedAndUnloadedByManyThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([] {
      for (int i = 0; i < 20; ++i) {
        loadPlugin(cPlugin);
        try {
          pxl::plugins::unload(cPlugin);
        } catch (pxl::InvalidCall const&) {
          // Another thread was faster.
        }
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(isLoaded(cPlugin));
  EXPECT_EQ(countRunners(), 0u);
}

TEST_F(Plugins, WorkInTheHost) {
  loadPlugin(cPlugin);
  auto const image = pxl::Image::New(pxl::cInteger16, {40, 30, 2, 1, 1});
  fillImage<short>(*image, [](Position const& at) { return static_cast<short>(at[0] * at[1] - 7 - at[2]); });
  IntensityExtrema algorithm;
  pxl::analysis::IntensityExtremaMsr measure;
  algorithm.inputImage = image.get();
  algorithm.outputMeasure = &measure;
  algorithm.execute();
  EXPECT_EQ(measure.minimum.getValue(0, 0, 0), -8);
  EXPECT_EQ(measure.maximum.getValue(0, 0, 0), 39 * 29 - 7);
  // A failure of the plug-in is caught here as what it is.
  auto const runner = IntensityExtrema::getClassInfo()->getRunners().front();
  VolumeOperator foreign;
  EXPECT_THROW(runner->run(&foreign), pxl::UnexpectedError);
}

}  // namespace
