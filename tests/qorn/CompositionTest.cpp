// The commands of compositions, and elements as texts.
#include <algorithm>

#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class CompositionCommands : public ::testing::Test {
 protected:
  using Row = std::vector<short>;

  /** The image is one row. */
  void writeRow() const { writeFile(input, makeFile("<i2", row)); }
  template <class T>
  static std::string makeFile(std::string const& descr, std::vector<T> const& voxels) {
    return makeNpy(descr, "(1, " + std::to_string(voxels.size()) + ")", voxels);
  }
  /** A good run says nothing. */
  void run(std::vector<std::string> const& arguments, std::string const& expectedNote = "") const {
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << ::testing::PrintToString(arguments);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, expectedNote);
  }

  /** Largest or smallest voxel at `first` to `last` voxels from each one. */
  static Row apply(Row const& voxels, long first, long last, bool isDilation) {
    Row result;
    for (long col = 0; col < static_cast<long>(voxels.size()); ++col) {
      short value = isDilation ? -32768 : 32767;
      for (long at = std::max(0L, col + first); at <= std::min(col + last, static_cast<long>(voxels.size()) - 1);
           ++at) {
        short const voxel = voxels[static_cast<std::size_t>(at)];
        value = isDilation ? std::max(value, voxel) : std::min(value, voxel);
      }
      result.push_back(value);
    }
    return result;
  }
  static std::string subtract(Row const& from, Row const& what) {
    std::vector<unsigned short> result;
    for (std::size_t i = 0; i < from.size(); ++i) result.push_back(static_cast<unsigned short>(from[i] - what[i]));
    return makeFile("<u2", result);
  }

  TempFolder folder;
  std::string input = folder / "input.npy", output = folder / "output.npy", mask = folder / "mask.npy";
  Row const row = makeValues<short>(60);
};

// line(4, 0) reads from one voxel before to two after.
TEST_F(CompositionCommands, AreRunAsTheirOperators) {
  writeRow();
  Row const dilated = apply(row, -1, 2, true), eroded = apply(row, -1, 2, false);
  Row const opened = apply(eroded, -2, 1, true), closed = apply(dilated, -2, 1, false);
  struct Case {
    char const *command, *name;
    std::string expected;
    std::vector<std::string> more;
  };
  for (Case const& c :
       {Case{"dilate", "Dilate", makeFile("<i2", dilated), {}}, Case{"erode", "Erode", makeFile("<i2", eroded), {}},
        Case{"open", "Open", makeFile("<i2", opened), {}}, Case{"close", "Close", makeFile("<i2", closed), {}},
        Case{"white-tophat", "WhiteTopHat", subtract(row, opened), {}},
        Case{"black-tophat", "BlackTopHat", subtract(closed, row), {}},
        Case{"gradient", "Gradient", subtract(dilated, eroded), {}},
        Case{"gradient", "Gradient", subtract(dilated, row), {"gradientMode=outer"}},
        Case{"gradient", "Gradient", subtract(row, eroded), {"gradientMode=inner"}}}) {
    SCOPED_TRACE(c.command);
    std::vector<std::string> arguments{c.command, input, output, "--element", "line(4, 0)"};
    arguments.insert(arguments.end(), c.more.begin(), c.more.end());
    run(arguments);
    EXPECT_TRUE(readFile(output) == c.expected);
    arguments = {"run", c.name, input, output, "element=line(4, 0)", "--threads", "1"};
    arguments.insert(arguments.end(), c.more.begin(), c.more.end());
    run(arguments);
    EXPECT_TRUE(readFile(output) == c.expected);
  }
  run({"open", input, output, "--element", "line(4, 0)", "--in-place"});
  EXPECT_TRUE(readFile(output) == makeFile("<i2", opened));
  run({"white-tophat", input, output, "--element", "line(4, 0)", "--on-disk"});
  EXPECT_TRUE(readFile(output) == subtract(row, opened));
}

TEST_F(CompositionCommands, RefuseWhatDoesNotFit) {
  writeRow();
  expectFailure(runQorn({"open", input, output}), 2, "Open", "element=VALUE is missing");
  expectFailure(runQorn({"open", input, "--element", "ball(1)"}), 2, "Open", "needs 1 input image(s)");
  expectFailure(runQorn({"open", input, output, "--element", "bowl(1)"}), 2, "element=bowl(1)",
                "\"bowl\" isn't an element; known are connectivity, disk, ball,");
  expectFailure(runQorn({"open", input, output, "--element", "ball(1)", "element=ball(2)"}), 2, "element",
                "is given twice");
  expectFailure(runQorn({"gradient", input, output, "--element", "ball(1)", "--output-type", "int16"}), 1, "Gradient",
                "for an input of int16 the output must be uint16, not int16");
  expectFailure(runQorn({"gradient", input, output, "--element", "ball(1)", "--in-place"}), 2, "--in-place",
                "the output has the input's type, int16");
  expectFailure(runQorn({"gradient", input, output, "--element", "ball(1)", "gradientMode=3"}), 2, "Gradient",
                "gradientMode must be 0 (full), 1 (outer) or 2 (inner), not 3");
  expectFailure(runQorn({"run", "Dilation2d", input, output, "--element", "ball(1)"}), 2, "element",
                "no such property");
  EXPECT_FALSE(exists(output));
}

TEST_F(CompositionCommands, TakeMasksFromFiles) {
  writeRow();
  // Any type; all that isn't 0 is in.
  writeFile(mask, makeNpy("<f4", "(1, 4)", std::vector<float>{0.5, -2, 1e30f, 0}));
  run({"dilate", input, output, "--element", "mask(" + mask + ")"});
  EXPECT_TRUE(readFile(output) == makeFile("<i2", apply(row, -2, 0, true)));
  run({"erode", input, output, "--element", "mask( " + mask + " , 0, 1)"});
  EXPECT_TRUE(readFile(output) == makeFile("<i2", apply(row, -1, 1, false)));
  run({"erode", input, output, "--element", "mask(" + mask + ", 0, -3)"});
  EXPECT_TRUE(readFile(output) == makeFile("<i2", apply(row, 3, 5, false)));
  std::string const element = "element=mask(" + mask + ")";
  writeFile(mask, makeNpy("|u1", "(2, 2)", std::vector<unsigned char>(4)));
  expectFailure(runQorn({"dilate", input, output, element}), 2, element, "a mask needs a voxel that isn't 0");
  writeFile(mask, makeNpy("|u1", "(1, 1, 1, 1)", std::vector<unsigned char>(1)));
  expectFailure(runQorn({"dilate", input, output, element}), 2, element,
                "the file has 4 dimensions and a mask 2 or 3");
  writeFile(mask, makeNpy("|u1", "(2, 2)", std::vector<unsigned char>(4, 1)));
  expectFailure(runQorn({"dilate", input, output, "element=mask(" + mask + ", 1, 1, 1)"}), 2,
                "element=mask(" + mask + ", 1, 1, 1)", "an origin of 3 values doesn't fit 2 dimensions");
  EXPECT_EQ(runQorn({"dilate", input, output, "element=mask(" + folder / "none.npy" + ")"}).exitCode, 1);
}

TEST_F(CompositionCommands, TakeTheSpacingOfAFile) {
  std::string const volume = folder / "volume.nii", result = folder / "result.nii", direct = folder / "direct.nii";
  auto const values = makeValues<unsigned char>(9 * 8 * 7);
  writeFile(volume, NiftiStart({9, 8, 7}, 2, 8)
                            .put(cNiftiPixdim + 4, 1.f)
                            .put(cNiftiPixdim + 8, 0.75f)
                            .put(cNiftiPixdim + 12, 2.5f)
                            .getBytes() +
                        toBytes(values));
  struct Case {
    char const *given, *meant;
  };
  for (Case const& c :
       {Case{"ball(3)", "ellipsoid(3, 2.5, 0.75, 1)"}, Case{"ellipsoid( 3.5 )", "ellipsoid(3.5, 2.5, 0.75, 1)"},
        Case{"disk(2.5)", "ellipse(2.5, 0.75, 1)"}, Case{"ellipse(2)", "ellipse(2, 0.75, 1)"}}) {
    run({"open", volume, result, "--element", c.given, "--spacing", "auto"},
        std::string("qorn: Open: with the file's spacing the element is ") + c.meant + "\n");
    run({"open", volume, direct, "--element", c.meant});
    EXPECT_EQ(readNifti(result).voxels, readNifti(direct).voxels) << c.given;
  }
  run({"open", volume, result, "--element", "ball(3)", "--spacing", "auto", "--quiet"});
  expectFailure(runQorn({"open", volume, result, "--element", "line(3, 2)", "--spacing", "auto"}), 2,
                "--spacing auto", "the element must be ball(RADIUS)");
  expectFailure(runQorn({"open", volume, result, "--element", "ball(3)", "--spacing", "1"}), 2, "--spacing 1",
                "must be auto");
  expectFailure(runQorn({"run", "Dilation3d", volume, result, "--spacing", "auto"}), 2, "--spacing auto",
                "needs an element");
  writeRow();
  expectFailure(runQorn({"open", input, output, "--element", "ball(3)", "--spacing", "auto"}), 2, "--spacing auto",
                input + " has no spacing of 3 axes");
}

// Values are slope * voxel + intercept, and the intercept isn't part of a difference.
TEST_F(CompositionCommands, KeepTheScaleThatHolds) {
  std::string const volume = folder / "volume.nii", result = folder / "result.nii";
  for (int const type : {2, 4}) {
    writeFile(
        volume,
        NiftiStart({9, 8, 7}, type, 8 * (type / 2)).put(cNiftiSlope, 2.f).put(cNiftiIntercept, 10.f).getBytes() +
            std::string(static_cast<std::size_t>(9 * 8 * 7 * (type / 2)), 'a'));
    run({"open", volume, result, "--element", "ball(1)"});
    EXPECT_EQ(readNifti(result).slope, 2);
    EXPECT_EQ(readNifti(result).intercept, 10);
    for (char const* command : {"white-tophat", "black-tophat", "gradient"}) {
      run({command, volume, result, "--element", "ball(1)"});
      // The unsigned type of signed voxels has no scale of the input's.
      EXPECT_EQ(readNifti(result).slope, type == 2 ? 2 : 0) << command;
      EXPECT_EQ(readNifti(result).intercept, 0) << command;
    }
  }
}

TEST_F(CompositionCommands, DrawElements) {
  auto const show = [](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "element");
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    return outcome.out;
  };
  EXPECT_EQ(show({"ellipse(2, 2, 1)"}),
            "ellipse(2, 2, 1): 7 voxels in 5 columns x 3 rows\n"
            ". . # . .\n"
            "# # O # #\n"
            ". . # . .\n");
  EXPECT_EQ(show({"box(1, 2, 0, -1)"}), "box(1, 2, 0, -1): 2 voxels in 5 columns x 1 rows\n. . o # #\n");
  EXPECT_EQ(show({"Open", "element=mask(1 0 | 0 1)"}),
            "Open: 2 voxels in 3 columns x 1 rows x 3 plans\n"
            "plan -1\n# . .\nplan 0\n. O .\nplan 1\n. . .\n");
  show({"disk(1)", "--output", output});
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(3, 3)", std::vector<unsigned char>{0, 1, 0, 1, 1, 1, 0, 1, 0}));
  expectFailure(runQorn({"element", "disk(x)"}), 2, "element=disk(x)", "\"x\" isn't a whole number");
  expectFailure(runQorn({"element", "disk(1)", "radius=2"}), 2, "radius", "an element has no properties");
  expectFailure(runQorn({"element", "connectivity(26, 4000000000)"}), 1, "connectivity(26, 4000000000)",
                "a structuring element has at most 1000000 voxels");
}

TEST_F(CompositionCommands, AreListedAsComposed) {
  std::string const list = runQorn({"operators"}).out;
  for (char const* name : {"Dilate", "Erode", "Open", "Close", "WhiteTopHat", "BlackTopHat", "Gradient"}) {
    std::string::size_type const line = list.find("\n" + std::string(name) + " ");
    ASSERT_NE(line, std::string::npos) << name;
    EXPECT_NE(list.substr(line + 1, list.find('\n', line + 1) - line).find(" composed  "), std::string::npos) << name;
  }
  EXPECT_NE(runQorn({"operators", "Open"}).out.find("composed of other operators"), std::string::npos);
  EXPECT_EQ(runQorn({"operators", "Dilation2d"}).out.find("composed"), std::string::npos);
}

}  // namespace
