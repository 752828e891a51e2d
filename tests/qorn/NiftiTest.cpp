#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;
using Json = nlohmann::json;

constexpr int cCols = 23, cRows = 14, cPlans = 9;

/** Plain loops over the volume; neighbours beyond the edge don't count. */
std::vector<short> dilate(std::vector<short> const& voxels) {
  std::vector<short> result(voxels.size());
  for (int plan = 0; plan < cPlans; ++plan) {
    for (int row = 0; row < cRows; ++row) {
      for (int col = 0; col < cCols; ++col) {
        short best = -32768;
        for (int p = std::max(plan - 1, 0); p <= std::min(plan + 1, cPlans - 1); ++p) {
          for (int r = std::max(row - 1, 0); r <= std::min(row + 1, cRows - 1); ++r) {
            for (int c = std::max(col - 1, 0); c <= std::min(col + 1, cCols - 1); ++c) {
              best = std::max(best, voxels[static_cast<std::size_t>((p * cRows + r) * cCols + c)]);
            }
          }
        }
        result[static_cast<std::size_t>((plan * cRows + row) * cCols + col)] = best;
      }
    }
  }
  return result;
}

class Nifti : public ::testing::Test {
 protected:
  /** A volume of int16 with a complete header. */
  NiftiStart makeStart(float slope, float intercept, bool isBigEndian = false) const {
    NiftiStart start({cCols, cRows, cPlans}, 4, 16, isBigEndian);
    start.put(cNiftiPixdim, -1.0f).put(cNiftiPixdim + 4, 0.7f).put(cNiftiPixdim + 8, 0.75f);
    start.put(cNiftiPixdim + 12, 2.5f).put(cNiftiUnits, static_cast<char>(2 + 8));
    start.put(cNiftiSlope, slope).put(cNiftiIntercept, intercept);
    start.put(cNiftiIntentCode, short(1002)).put(cNiftiIntentP1, 3.5f).putText(cNiftiDescription, "a made volume");
    start.put(cNiftiQformCode, short(1)).put(cNiftiSformCode, short(4));
    for (std::size_t i = 0; i < 6; ++i) start.put(cNiftiQuaternion + 4 * i, quaternion[i]);
    for (std::size_t i = 0; i < 12; ++i) start.put(cNiftiRowX + 4 * i, rows[i]);
    return start;
  }

  void expectCarried(NiftiContent const& content) const {
    EXPECT_EQ(content.sizes, (std::vector<int>{cCols, cRows, cPlans}));
    EXPECT_EQ(content.spacing, (std::vector<float>{0.7f, 0.75f, 2.5f}));
    EXPECT_EQ(content.description, "a made volume");
    EXPECT_EQ(content.intentCode, 1002);
    EXPECT_EQ(content.intentP1, 3.5f);
    EXPECT_EQ(content.spaceUnit, 2);
    EXPECT_EQ(content.timeUnit, 8);
    EXPECT_EQ(content.qformCode, 1);
    EXPECT_EQ(content.sformCode, 4);
    EXPECT_EQ(content.quaternion, quaternion);
    EXPECT_EQ(content.rows, rows);
  }

  Outcome run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "run");
    return runQorn(arguments);
  }
  void expectQuiet(std::vector<std::string> const& arguments) const {
    Outcome const outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
  }

  TempFolder folder;
  std::vector<float> quaternion{0.1f, -0.2f, 0.3f, 10, -20, 30.5f};
  std::vector<float> rows{0.7f, 0, 0.01f, -5, 0, -0.75f, 0, 6, 0.02f, 0, 2.5f, 7};
  std::vector<short> values = makeValues<short>(cCols * cRows * cPlans);
};

TEST_F(Nifti, DilatedVolumeKeepsItsHeader) {
  for (bool const isBigEndian : {false, true}) {
    std::string const bytes = makeStart(2, -3, isBigEndian).getBytes() + toBytes(values, isBigEndian);
    writeFile(folder / "in.nii", bytes);
    writeGzip(folder / "in.nii.gz", bytes);
    for (std::string const in : {"in.nii", "in.nii.gz"}) {
      for (std::string const out : {"out.nii", "out.nii.gz"}) {
        for (std::string const more : {"--quiet", "--in-place", "--threads=1"}) {
          SCOPED_TRACE(in + out + more);
          expectQuiet({"Dilation3d", folder / in, folder / out, more});
          NiftiContent const content = readNifti(folder / out);
          expectCarried(content);
          EXPECT_EQ(content.datatype, 4);
          EXPECT_EQ(content.slope, 2);
          EXPECT_EQ(content.intercept, -3);
          EXPECT_TRUE(content.voxels == toBytes(dilate(values)));
        }
      }
    }
    EXPECT_EQ(readFile(folder / "in.nii"), bytes);
  }
}

TEST_F(Nifti, AnotherTypeDropsTheScale) {
  writeFile(folder / "in.nii", makeStart(2, -3).getBytes() + toBytes(values));
  expectQuiet({"Dilation3d", folder / "in.nii", folder / "out.nii", "--output-type=float32"});
  NiftiContent const content = readNifti(folder / "out.nii");
  expectCarried(content);
  EXPECT_EQ(content.datatype, 16);
  EXPECT_EQ(content.slope, 0);
  EXPECT_EQ(content.intercept, 0);
  auto const dilated = dilate(values);
  EXPECT_TRUE(content.voxels == toBytes(std::vector<float>(dilated.begin(), dilated.end())));
}

TEST_F(Nifti, FromAndToOtherFormats) {
  std::string const npy = makeNpy("<i2", "(9, 14, 23)", values);
  writeFile(folder / "in.npy", npy);
  expectQuiet({"Dilation3d", folder / "in.npy", folder / "out.nii.gz"});
  NiftiContent const content = readNifti(folder / "out.nii.gz");
  EXPECT_EQ(content.sizes, (std::vector<int>{cCols, cRows, cPlans}));
  EXPECT_EQ(content.spacing, (std::vector<float>{1, 1, 1}));
  EXPECT_EQ(content.description, "");
  EXPECT_EQ(content.qformCode, 0);
  EXPECT_EQ(content.sformCode, 0);
  EXPECT_TRUE(content.voxels == toBytes(dilate(values)));
  writeFile(folder / "in.nii", makeStart(0, 0).getBytes() + toBytes(values));
  expectQuiet({"Dilation3d", folder / "in.nii", folder / "out.npy"});
  EXPECT_TRUE(readFile(folder / "out.npy") == makeNpy("<i2", "(9, 14, 23)", dilate(values)));
}

TEST_F(Nifti, ExtremaAreScaled) {
  std::vector<short> const few{-100, 5, 7, 0, 30, 9};
  struct Case {
    float slope;
    float intercept;
    char const* table;
    char const* notice;
  };
  for (Case const& one : {Case{2, -3, "-203       57", "scaled by 2 and shifted by -3"},
                          {-2, -3, "-63      197", "scaled by -2 and shifted by -3"},
                          {0.5f, 0, "-50       15", "scaled by 0.5 and shifted by 0"},
                          {0.1f, 0, "3.000000", "scaled by 0.1 and shifted by 0"},
                          {1, 1000, "900     1030", "scaled by 1 and shifted by 1000"}}) {
    NiftiStart start({3, 2}, 4, 16);
    start.put(cNiftiSlope, one.slope).put(cNiftiIntercept, one.intercept);
    writeFile(folder / "a.nii", start.getBytes() + toBytes(few));
    Outcome outcome = run({"IntensityExtrema", folder / "a.nii"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find(one.table), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.err, std::string("qorn: IntensityExtrema: values are ") + one.notice +
                               " as the file says: slope * voxel + intercept, not voxels as they are stored\n");
    std::string const notice = outcome.err;
    outcome = run({"IntensityExtrema", folder / "a.nii", "--json"});
    ::Json const json = ::Json::parse(outcome.out);
    double const ends[2] = {one.slope * -100.0 + one.intercept, one.slope * 30.0 + one.intercept};
    EXPECT_EQ(json["minimum"][0][0][0], std::min(ends[0], ends[1]));
    EXPECT_EQ(json["maximum"][0][0][0], std::max(ends[0], ends[1]));
    EXPECT_EQ(json["slope"], static_cast<double>(one.slope));
    EXPECT_EQ(json["intercept"], static_cast<double>(one.intercept));
    EXPECT_EQ(outcome.err, notice);
  }
}

TEST_F(Nifti, EveryCellIsScaled) {
  NiftiStart start({1, 1, 2, 3, 2}, 4, 16);
  start.put(cNiftiSlope, -1.0f).put(cNiftiIntercept, 0.5f);
  writeFile(folder / "a.nii", start.getBytes() + toBytes<short>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  Outcome const outcome = run({"IntensityExtrema", folder / "a.nii", "--json", "analysisDimensions=7"});
  ::Json const json = ::Json::parse(outcome.out);
  for (std::size_t plan = 0; plan < 2; ++plan) {
    for (std::size_t sequence = 0; sequence < 3; ++sequence) {
      for (std::size_t spectral = 0; spectral < 2; ++spectral) {
        double const expected = 0.5 - static_cast<double>(plan + 2 * (sequence + 3 * spectral));
        EXPECT_EQ(json["minimum"][plan][sequence][spectral], expected);
        EXPECT_EQ(json["maximum"][plan][sequence][spectral], expected);
      }
    }
  }
}

TEST_F(Nifti, ExtremaWithoutAScaleAreThoseOfVoxels) {
  for (float const slope : {0.0f, 1.0f, static_cast<float>(NAN)}) {
    NiftiStart start({3, 2}, 4, 16);
    start.put(cNiftiSlope, slope).put(cNiftiIntercept, slope == 1 ? 0.0f : 9.0f);
    writeFile(folder / "a.nii", start.getBytes() + toBytes<short>({-100, 5, 7, 0, 30, 9}));
    Outcome const outcome = run({"IntensityExtrema", folder / "a.nii"});
    EXPECT_EQ(outcome.out, "minimum  maximum\n   -100       30\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(run({"IntensityExtrema", folder / "a.nii", "--json"}).out,
              "{\"minimum\": [[[-100]]], \"maximum\": [[[30]]]}\n");
  }
}

TEST_F(Nifti, ANegativeSlopeIsWarnedOf) {
  writeFile(folder / "in.nii", makeStart(-2, 0).getBytes() + toBytes(values));
  for (std::string const name : {"Dilation2d", "Erosion2d", "Dilation3d", "Erosion3d"}) {
    Outcome const outcome = run({name, folder / "in.nii", folder / "out.nii"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "qorn: " + name +
                               ": the file's slope is negative: dilation and erosion are swapped in "
                               "scaled values\n");
    EXPECT_EQ(readNifti(folder / "out.nii").slope, -2);
  }
  expectQuiet({"LogicalOperationWithValue", folder / "in.nii", folder / "out.nii", "value=1", "logicalOperator=0"});
  // A run that fails says why, and nothing else.
  expectFailure(run({"Dilation3d", folder / "in.nii", folder / "missing/out.nii"}), 1, folder / "missing/out.nii",
                "");
}

TEST_F(Nifti, InfoTellsSpacingAndScale) {
  writeFile(folder / "a.nii", makeStart(2, -3).getBytes() + toBytes(values));
  writeGzip(folder / "b.nii.gz", makeStart(0, 0).getBytes() + toBytes(values));
  std::string const sizes = ": int16, columns 23, rows 14, plans 9, spacing 0.7 x 0.75 x 2.5";
  Outcome outcome = runQorn({"info", folder / "a.nii", folder / "b.nii.gz"});
  EXPECT_EQ(outcome.out, folder / "a.nii" + sizes + ", scale 2 and -3, nifti\n" + folder / "b.nii.gz" + sizes +
                             ", nifti, compressed\n");
  outcome = runQorn({"info", folder / "a.nii", folder / "b.nii.gz", "--json"});
  ::Json const json = ::Json::parse(outcome.out);
  EXPECT_EQ(json[0]["format"], "nifti");
  EXPECT_EQ(json[0]["spacing"], (::Json{{"columns", 0.7f}, {"rows", 0.75f}, {"plans", 2.5f}}));
  EXPECT_EQ(json[0]["scale"], (::Json{{"slope", 2.0}, {"intercept", -3.0}}));
  EXPECT_FALSE(json[1].contains("scale"));
}

}  // namespace
