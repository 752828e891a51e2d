#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Png.h"
#include "support/Qorn.h"
#include "support/Tiff.h"

namespace {

using namespace test;
using Json = nlohmann::json;

constexpr unsigned long cSpectral = 2, cSequence = 3, cPlans = 4, cRows = 5, cCols = 37;

/** A number of the output; infinities and NaN are texts. */
double toNumber(Json const& value) {
  if (value.is_number()) return value.get<double>();
  if (value == "inf") return std::numeric_limits<double>::infinity();
  if (value == "-inf") return -std::numeric_limits<double>::infinity();
  EXPECT_EQ(value, "nan");
  return std::numeric_limits<double>::quiet_NaN();
}

/** Finds the extrema of the part of the image that cell (i0, i1, i2) stands for, voxel by voxel. */
template <class T>
std::pair<double, double> getExpected(std::vector<T> const& values, int dimensions, unsigned long i0,
                                      unsigned long i1, unsigned long i2) {
  std::pair<double, double> extrema(INFINITY, -INFINITY);
  for (unsigned long i = 0; i < values.size(); ++i) {
    unsigned long const plan = i / (cRows * cCols) % cPlans;
    unsigned long const sequence = i / (cRows * cCols * cPlans) % cSequence;
    unsigned long const spectral = i / (cRows * cCols * cPlans * cSequence);
    if ((dimensions & 1) && plan != i0) continue;
    if ((dimensions & 4) && sequence != i1) continue;
    if ((dimensions & 2) && spectral != i2) continue;
    extrema.first = std::min(extrema.first, static_cast<double>(values[i]));
    extrema.second = std::max(extrema.second, static_cast<double>(values[i]));
  }
  return extrema;
}

class Measure : public ::testing::Test {
 protected:
  template <class T>
  void expectExtrema(std::string const& descr, std::vector<std::string> const& options) {
    auto const values = makeValues<T>(cSpectral * cSequence * cPlans * cRows * cCols);
    writeFile(path, makeNpy(descr, "(2, 3, 4, 5, 37)", values));
    for (int dimensions = 0; dimensions < 8; ++dimensions) {
      SCOPED_TRACE(descr + " " + std::to_string(dimensions));
      std::vector<std::string> arguments{"run", "IntensityExtrema", path, "--json",
                                         "analysisDimensions=" + std::to_string(dimensions)};
      arguments.insert(arguments.end(), options.begin(), options.end());
      Outcome const outcome = runQorn(arguments);
      ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      Json const json = Json::parse(outcome.out);
      ASSERT_EQ(json.size(), 2u);
      std::size_t const sizes[3] = {dimensions & 1 ? cPlans : 1, dimensions & 4 ? cSequence : 1,
                                    dimensions & 2 ? cSpectral : 1};
      for (char const* name : {"minimum", "maximum"}) {
        ASSERT_EQ(json[name].size(), sizes[0]);
        for (std::size_t i0 = 0; i0 < sizes[0]; ++i0) {
          ASSERT_EQ(json[name][i0].size(), sizes[1]);
          for (std::size_t i1 = 0; i1 < sizes[1]; ++i1) {
            ASSERT_EQ(json[name][i0][i1].size(), sizes[2]);
            for (std::size_t i2 = 0; i2 < sizes[2]; ++i2) {
              auto const expected = getExpected(values, dimensions, i0, i1, i2);
              EXPECT_EQ(toNumber(json[name][i0][i1][i2]),
                        name == std::string("minimum") ? expected.first : expected.second);
            }
          }
        }
      }
    }
  }

  std::string run(std::vector<std::string> const& more) const {
    std::vector<std::string> arguments{"run", "IntensityExtrema", path};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }

  TempFolder folder;
  std::string path = folder / "image.npy";
};

TEST_F(Measure, AgreesWithPlainLoops) {
  expectExtrema<unsigned char>("|u1", {});
  expectExtrema<unsigned short>("<u2", {});
  expectExtrema<unsigned int>("<u4", {});
  expectExtrema<signed char>("|i1", {});
  expectExtrema<short>("<i2", {});
  expectExtrema<int>("<i4", {});
  expectExtrema<float>("<f4", {});
  expectExtrema<double>("<f8", {});
}

TEST_F(Measure, AgreesOnDiskWithOneThreadAndAsBinary) {
  expectExtrema<short>("<i2", {"--on-disk"});
  expectExtrema<int>("<i4", {"--threads", "1"});
  expectExtrema<float>("<f4", {"--on-disk", "--threads", "3"});
  expectExtrema<unsigned char>("|u1", {"--interpretation", "binary"});
  expectExtrema<unsigned short>(">u2", {});
}

TEST_F(Measure, ReadsOtherFormats) {
  auto const values = makeValues<unsigned short>(16 * 11);
  auto const extrema = std::minmax_element(values.begin(), values.end());
  std::string const expected = "{\"minimum\": [[[" + std::to_string(*extrema.first) + "]]], \"maximum\": [[[" +
                               std::to_string(*extrema.second) + "]]]}\n";
  writePng(folder / "image.png", 16, 11, 16, 0, toBytes(values, true));
  TiffLayout layout = makeTiffLayout(16, 11);
  layout.bits = 16;
  layout.mode = "wb";
  layout.compression = 5;
  writeTiff(folder / "image.tif", layout, toBytes(values));
  for (std::string const name : {"image.png", "image.tif"}) {
    EXPECT_EQ(runQorn({"run", "IntensityExtrema", folder / name, "--json"}).out, expected) << name;
  }
}

TEST_F(Measure, PrintsATable) {
  writeFile(path, makeNpy<short>("<i2", "(1, 2, 1, 1, 3)", {-300, 7, 5, 1, 2, 30000}));
  EXPECT_EQ(run({}),
            "minimum  maximum\n"
            "   -300    30000\n");
  EXPECT_EQ(run({"analysisDimensions=3"}),
            "minimum  maximum\n"
            "   -300    30000\n");
  EXPECT_EQ(run({"analysisDimensions=4"}),
            "sequence  minimum  maximum\n"
            "       0     -300        7\n"
            "       1        1    30000\n");
  EXPECT_EQ(run({"analysisDimensions=7"}),
            "plan  sequence  spectral  minimum  maximum\n"
            "   0         0         0     -300        7\n"
            "   0         1         0        1    30000\n");
}

TEST_F(Measure, NumbersReadBackExactly) {
  std::vector<double> const values{0.1,
                                   1e300,
                                   -2.5e-308,
                                   1.0 / 3,
                                   100000,
                                   123456789012,
                                   -1e15,
                                   9007199254740993.0,
                                   std::numeric_limits<double>::denorm_min(),
                                   1e-5,
                                   4294967295.0,
                                   0.0};
  writeFile(path, makeNpy("<f8", "(12, 1, 1)", values));
  Json const json = Json::parse(run({"analysisDimensions=1", "--json"}));
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(json["minimum"][i][0][0].get<double>(), values[i]);
    EXPECT_EQ(json["maximum"][i][0][0].get<double>(), values[i]);
  }
  std::istringstream table(run({"analysisDimensions=1"}));
  std::string word;
  for (int i = 0; i < 3; ++i) table >> word;
  for (char const* expected : {"0.1", "1e+300", "-2.5e-308", "0.3333333333333333", "100000", "123456789012",
                               "-1000000000000000", "9007199254740992", "5e-324", "1e-05", "4294967295", "0"}) {
    table >> word >> word;
    EXPECT_EQ(word, expected);
    table >> word;
    EXPECT_EQ(word, expected);
  }
}

TEST_F(Measure, InfinitiesAreTexts) {
  double const infinity = std::numeric_limits<double>::infinity();
  writeFile(path, makeNpy<double>("<f8", "(1, 4)", {-infinity, 1, 2, infinity}));
  EXPECT_EQ(run({"--json"}), "{\"minimum\": [[[\"-inf\"]]], \"maximum\": [[[\"inf\"]]]}\n");
  EXPECT_EQ(run({}), "minimum  maximum\n   -inf      inf\n");
}

TEST_F(Measure, FloatsWidenExactly) {
  writeFile(path, makeNpy<float>("<f4", "(1, 1)", {0.1f}));
  EXPECT_EQ(Json::parse(run({"--json"}))["minimum"][0][0][0].get<double>(), static_cast<double>(0.1f));
}

TEST_F(Measure, ManyCellsPrintQuickly) {
  unsigned long const count = 20000;
  auto const values = makeValues<unsigned short>(count);
  writeFile(path, makeNpy("<u2", "(20000, 1, 1)", values));
  Outcome const outcome = runQorn({"run", "IntensityExtrema", path, "analysisDimensions=1", "--json"});
  ASSERT_EQ(outcome.exitCode, 0);
  Json const json = Json::parse(outcome.out);
  ASSERT_EQ(json["maximum"].size(), count);
  for (unsigned long i = 0; i < count; ++i) ASSERT_EQ(json["maximum"][i][0][0], values[i]);
  std::string const table = run({"analysisDimensions=1"});
  EXPECT_EQ(static_cast<unsigned long>(std::count(table.begin(), table.end(), '\n')), count + 1);
}

TEST_F(Measure, OperatorsWithoutARunnerSaySo) {
  writeFile(path, makeNpy<short>("<i2", "(2, 2)", {1, 2, 3, 4}));
  std::string const output = folder / "output.npy";
  // A folder without plug-ins: nothing is offered, and nothing is read or written.
  Program::Options options;
  options.environment = {"PXLWORKS_PLUGIN_DIR=" + folder / ""};
  expectFailure(runQorn({"run", "Dilation2d", path, output}, options), 1, "Dilation2d", "no plug-in provides it");
  expectFailure(runQorn({"run", "IntensityExtrema", "missing.npy"}, options), 1, "IntensityExtrema",
                "no plug-in provides it");
  EXPECT_EQ(readFile(output), "");
  options.environment.clear();
  options.folder = folder / "";
  expectFailure(runQorn({"run", "IntensityExtrema", path, "--plugin", "none.so"}, options), 1, "plug-ins",
                folder / "none.so");
}

}  // namespace
