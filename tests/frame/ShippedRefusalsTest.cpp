// What the runners of the shipped plug-in accept, each of the 19, asked through the host as it asks them.
#include <dlfcn.h>
#include <elf.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "frame/support/FakeImage.h"
#include "frame/support/Registered.h"
#include "frame/support/SetProperty.h"
#include "gtest/gtest.h"
#include "host/support/PluginLoading.h"
#include "instrument/ShippedPaths.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Exception.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"

namespace frame_test {
namespace {

/** A neighbourhood, and the most iterations that a binary image may have. */
using Limits = std::vector<std::pair<int, unsigned int>>;

/** How a runner decides. */
struct Row {
  char const* registration;      ///< its short name, after which the registration object is named
  std::set<int> types;           ///< of the leading image; empty for all
  bool needsEqualTypes = false;  ///< of leading and output image
  bool looksAtAlgorithm = true;  ///< before it asks for the level
  Limits limits{};
};

std::set<int> const cSix{0, 1, 2, 4, 5, 6}, cEight{0, 1, 2, 4, 5, 6, 8, 9};

std::map<std::string, Row> const cRows{
    {"IntensityExtrema", {"IntensityExtremaSSERunner", cEight}},
    {"FiniteImpulseResponseFilter2D", {"FIRFilter2DSSE41Runner", {}, false, false}},
    {"FiniteImpulseResponseFilter3D", {"FIRFilter3DSSE41Runner", {}, false, false}},
    {"Dilation2d", {"Dilation2dSSE41Runner", cEight, false, true, {{0, 41}, {1, 34}}}},
    {"Dilation3d", {"Dilation3dSSE41Runner", cEight, false, true, {{0, 64}, {1, 47}, {2, 70}}}},
    {"DilationBall3d", {"DilationBall3dSSE41Runner", cEight, true}},
    {"DilationDisk2d", {"DilationDisk2dSSE41Runner", cEight, true}},
    {"DilationDisk3d", {"DilationDisk3dSSE41Runner", cEight, true}},
    {"DilationLine2d", {"DilationLine2dSSE41Runner", cEight, true}},
    {"DilationLine3d", {"DilationLine3dSSE41Runner", cEight, true}},
    {"Erosion2d", {"Erosion2dSSE41Runner", cEight, false, true, {{0, 50}, {1, 37}}}},
    {"Erosion3d", {"Erosion3dSSE41Runner", cEight, false, true, {{0, 97}, {1, 66}, {2, 121}}}},
    {"ErosionBall3d", {"ErosionBall3dSSE41Runner", cEight, true}},
    {"ErosionDisk2d", {"ErosionDisk2dSSE41Runner", cEight, true}},
    {"ErosionDisk3d", {"ErosionDisk3dSSE41Runner", cEight, true}},
    {"ErosionLine2d", {"ErosionLine2dSSE41Runner", cEight, true}},
    {"ErosionLine3d", {"ErosionLine3dSSE41Runner", cEight, true}},
    {"LogicalOperationWithImage", {"SSE41LogicalOperationWithImageRunner", cSix, true}},
    {"LogicalOperationWithValue", {"SSE41LogicalOperationWithValueRunner", cSix, true}}};

/** Each test runs over all operators of the table. */
class ShippedRefusals : public testing::Test {
 protected:
  ShippedRefusals() {
    host_test::loadPlugin(shipped::getPlugin());
    m_runners = getRegistered();
  }
  ~ShippedRefusals() override { pxl::plugins::unload(shipped::getPlugin()); }

  // Calls check(row) with everything set up so that the operator is accepted.
  template <class Check>
  void forEachOperator(Check&& check) {
    ASSERT_EQ(m_runners.size(), cRows.size());
    for (auto const& [name, row] : cRows) {
      SCOPED_TRACE(name);
      m_algorithm = pxl::AlgoInfo::find(name.c_str())->create();
      m_runner = m_runners.at(name);
      m_leading = std::make_unique<FakeImage>(pxl::cUnsignedInteger8);
      m_output = std::make_unique<FakeImage>(pxl::cUnsignedInteger8);
      bool const hasTwoInputs = m_algorithm->findProperty("inputImage1");
      setProperty<pxl::ImageModel const*>(*m_algorithm, hasTwoInputs ? "inputImage1" : "inputImage", m_leading.get());
      if (m_algorithm->findProperty("outputImage"))
        setProperty<pxl::ImageModel*>(*m_algorithm, "outputImage", m_output.get());
      m_probe.hasSSE = true;
      m_probe.sseLevel = 65;
      EXPECT_TRUE(isAccepted());
      check(row);
    }
  }

  bool isAccepted() const { return m_runner->isRunnable(m_algorithm.get()); }
  void setTypes(int leading, int output) {
    m_leading->type = leading;
    m_output->type = output;
  }

  pxl::instrument::Recorder m_probe;
  Runners m_runners;
  pxl::Runnable* m_runner = nullptr;
  std::unique_ptr<pxl::BaseAlgorithm> m_algorithm;
  std::unique_ptr<FakeImage> m_leading, m_output;
};

TEST_F(ShippedRefusals, AreAllOfTheShippedOperators) {
  std::set<std::string> known, tabled;
  for (auto const& [name, runner] : getRegistered()) known.insert(name);
  for (auto const& [name, row] : cRows) tabled.insert(name);
  EXPECT_EQ(known, tabled);
}

TEST_F(ShippedRefusals, ComeFromAProcessorBelowTheLevel) {
  forEachOperator([this](Row const&) {
    for (int level : {INT_MIN, -1, 0, 63, 64, 65, 80, INT_MAX}) {
      m_probe.sseLevel = level;
      EXPECT_EQ(isAccepted(), level > 64) << level;
    }
    m_probe.hasSSE = false;
    for (int level : {0, 64, 65, INT_MAX}) {
      m_probe.sseLevel = level;
      EXPECT_FALSE(isAccepted()) << level;
    }
    EXPECT_EQ(m_runner->getOptimType(), 1);
  });
}

TEST_F(ShippedRefusals, AreExplainedWhereTheProcessorIsTheReason) {
  forEachOperator([this](Row const&) {
    std::string const explanation = "the processor has no SSE4.1";
    EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()), pxl::String());
    m_probe.sseLevel = 64;
    EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()).str(), explanation);
    m_probe.sseLevel = 80;
    m_probe.hasSSE = false;
    EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()).str(), explanation);
  });
}

TEST_F(ShippedRefusals, AreExplainedWhereALimitIsTheReason) {
  forEachOperator([this](Row const& row) {
    m_leading->interpretation = pxl::cBinary;
    for (auto const& [neighborhood, limit] : row.limits) {
      setProperty(*m_algorithm, "neighborhood", neighborhood);
      setProperty(*m_algorithm, "numberOfIterations", limit);
      EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()), pxl::String());
      setProperty(*m_algorithm, "numberOfIterations", limit + 1);
      EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()).str(),
                "with a binary image numberOfIterations can be at most " + std::to_string(limit) +
                    " (neighborhood=" + std::to_string(neighborhood) + "), and is " + std::to_string(limit + 1));
      m_probe.sseLevel = 64;
      EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()).str(), "the processor has no SSE4.1");
      m_probe.sseLevel = 65;
      m_leading->interpretation = pxl::cGrey;
      EXPECT_EQ(m_runner->explainRefusal(m_algorithm.get()), pxl::String());
      m_leading->interpretation = pxl::cBinary;
    }
  });
}

TEST_F(ShippedRefusals, ComeFromVoxelTypesOfTheLeadingImage) {
  forEachOperator([this](Row const& row) {
    for (int type : {INT_MIN, -4, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 16, 0x100, 0x104, INT_MAX}) {
      setTypes(type, type);
      EXPECT_EQ(isAccepted(), row.types.empty() || row.types.count(type) > 0) << type;
    }
  });
}

TEST_F(ShippedRefusals, ComeFromAnOutputOfAnotherTypeWhereTypesMustBeEqual) {
  forEachOperator([this](Row const& row) {
    for (int type : row.types.empty() ? cEight : row.types)
      for (int output = -1; output <= 12; ++output) {
        setTypes(type, output);
        EXPECT_EQ(isAccepted(), !row.needsEqualTypes || output == type) << type << " to " << output;
      }
  });
}

TEST_F(ShippedRefusals, ComeFromIterationsBeyondTheLimitOnBinaryImages) {
  forEachOperator([this](Row const& row) {
    if (row.limits.empty()) return;
    auto const isAcceptedWith = [this](int neighborhood, unsigned int nbIterations) {
      setProperty(*m_algorithm, "neighborhood", neighborhood);
      setProperty(*m_algorithm, "numberOfIterations", nbIterations);
      return isAccepted();
    };
    m_leading->interpretation = pxl::cBinary;
    for (auto const& [neighborhood, limit] : row.limits) {
      for (unsigned int n : {0U, limit - 1, limit}) EXPECT_TRUE(isAcceptedWith(neighborhood, n)) << n;
      for (unsigned int n : {limit + 1, limit + 100, UINT_MAX}) EXPECT_FALSE(isAcceptedWith(neighborhood, n)) << n;
    }
    int const nbLimits = static_cast<int>(row.limits.size());
    for (int neighborhood : {-1, nbLimits, 99}) EXPECT_TRUE(isAcceptedWith(neighborhood, UINT_MAX)) << neighborhood;
    for (int interpretation : {1, 2, -1, 256}) {
      m_leading->interpretation = interpretation;
      EXPECT_TRUE(isAcceptedWith(0, UINT_MAX)) << interpretation;
    }
  });
}

TEST_F(ShippedRefusals, NeedNoAlgorithmWhereTheProcessorAloneDecides) {
  forEachOperator([this](Row const& row) {
    if (row.looksAtAlgorithm) return;
    EXPECT_TRUE(m_runner->isRunnable(nullptr));
    m_probe.sseLevel = 64;
    EXPECT_FALSE(m_runner->isRunnable(nullptr));
  });
}

// Another operator's algorithm can't be run, nor can none.
TEST_F(ShippedRefusals, OfARunAreErrors) {
  forEachOperator([this](Row const&) {
    EXPECT_THROW(m_runner->run(nullptr), pxl::UnexpectedError);
    for (char const* other : {"Dilation2d", "ErosionBall3d", "IntensityExtrema"}) {
      auto const foreign = pxl::AlgoInfo::find(other)->create();
      if (typeid(*foreign) == typeid(*m_algorithm)) continue;
      EXPECT_THROW(m_runner->run(foreign.get()), pxl::UnexpectedError) << other;
    }
  });
}

/** The names of a library's own objects of 8 bytes, from its table of symbols. */
std::set<std::string> readNamesOfPointers(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> const bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  auto const read = [&bytes](auto& record, unsigned long at) {
    std::memcpy(&record, bytes.data() + at, sizeof(record));
  };
  Elf64_Ehdr header;
  read(header, 0);
  std::vector<Elf64_Shdr> sections(header.e_shnum);
  for (unsigned long i = 0; i < sections.size(); ++i) read(sections[i], header.e_shoff + i * sizeof(Elf64_Shdr));
  std::set<std::string> names;
  for (Elf64_Shdr const& section : sections) {
    if (section.sh_type != SHT_SYMTAB) continue;
    for (unsigned long at = 0; at < section.sh_size; at += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol;
      read(symbol, section.sh_offset + at);
      if (ELF64_ST_TYPE(symbol.st_info) == STT_OBJECT && symbol.st_size == sizeof(void*))
        names.insert(bytes.data() + sections[section.sh_link].sh_offset + symbol.st_name);
    }
  }
  return names;
}

TEST_F(ShippedRefusals, HaveRegistrationObjectsNamedAfterTheirRunners) {
  std::map<std::string, std::string> const namespaces{
      {"Int", "pxl::analysis::"}, {"Fin", "pxl::filtering::linear::"}, {"Log", "pxl::point_operations::"}};
  std::set<std::string> registrations;
  for (std::string const& symbol : readNamesOfPointers(shipped::getPlugin())) {
    std::string const name = demangle(symbol.c_str());
    if (name.find("g_autoRegisterRunnable") != std::string::npos) registrations.insert(name);
  }
  std::set<std::string> expected;
  for (auto const& [name, row] : cRows) {
    auto const known = namespaces.find(name.substr(0, 3));
    expected.insert((known == namespaces.end() ? "pxl::morphology::" : known->second) + "g_autoRegisterRunnable" +
                    row.registration);
  }
  EXPECT_EQ(registrations, expected);
}

}  // namespace
}  // namespace frame_test
