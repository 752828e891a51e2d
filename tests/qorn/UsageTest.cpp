#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class Usage : public ::testing::Test {
 protected:
  Usage() { writeFile(image, makeNpy("|u1", "(2, 3)", makeValues<unsigned char>(6))); }

  void expectUsage(std::vector<std::string> const& arguments, std::string const& what, std::string const& why) const {
    SCOPED_TRACE(::testing::PrintToString(arguments));
    expectFailure(runQorn(arguments), 2, what, why);
  }
  /** An error in how IntensityExtrema is called. */
  void expectRunUsage(std::vector<std::string> const& more, std::string const& what, std::string const& why) const {
    std::vector<std::string> arguments{"run", "IntensityExtrema", image};
    arguments.insert(arguments.end(), more.begin(), more.end());
    expectUsage(arguments, what, why);
  }

  TempFolder folder;
  std::string image = folder / "image.npy";
};

TEST_F(Usage, NothingIsAskedFor) {
  Outcome const outcome = runQorn({});
  EXPECT_EQ(outcome.exitCode, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find("Usage: qorn"), std::string::npos);
}

TEST_F(Usage, HelpAndVersion) {
  Outcome outcome = runQorn({"--version"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.out.rfind("qorn ", 0), 0u);
  EXPECT_EQ(outcome.err, "");
  for (std::vector<std::string> const& arguments :
       {std::vector<std::string>{"--help"}, {"run", "--help"}, {"operators", "--help"}, {"info", "--help"}}) {
    outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find("Usage: qorn"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.err, "");
  }
  outcome = runQorn({"run", "--help"});
  for (std::string const option :
       {"--interpretation", "--threads", "--max-extra-memory", "--on-disk", "--json", "--quiet", "--plugin",
        "--setting", "--max-voxels", "PXL_MAX_EXTRA_MEMORY", "--in-place", "--output-type", "--no-clobber"}) {
    EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
  }
}

TEST_F(Usage, UnknownWords) {
  expectUsage({"fly"}, "command line", "fly");
  expectUsage({"--fly"}, "command line", "--fly");
  expectUsage({"--"}, "command line", "a command is missing");
  expectUsage({"run"}, "command line", "OPERATOR");
  expectUsage({"info"}, "command line", "IMAGE");
  expectUsage({"run", "NoSuchOperator", image}, "NoSuchOperator", "no such operator");
  expectUsage({"operators", "NoSuchOperator"}, "NoSuchOperator", "no such operator");
  expectUsage({"operators", "IntensityExtrema", "Dilation2d"}, "command line", "Dilation2d");
  expectRunUsage({"--fly"}, "command line", "--fly");
}

TEST_F(Usage, OptionsOfOutputImages) {
  expectRunUsage({"--output-type", "uint8"}, "--output-type", "IntensityExtrema has no output image");
  expectRunUsage({"--in-place"}, "--in-place", "IntensityExtrema has no output image");
  expectRunUsage({"--no-clobber"}, "--no-clobber", "IntensityExtrema has no output image");
  std::string const known = "must be one of uint8 uint16 uint32 int8 int16 int32 float32 float64\n";
  std::string const output = folder / "output.npy";
  for (std::string const type : {"uint64", "UINT8", "float", "double", "complex64", "0", "uint8 "}) {
    expectUsage({"run", "Dilation2d", image, output, "--output-type=" + type}, "--output-type " + type, known);
  }
  expectUsage({"run", "Dilation2d", image, output, "--in-place", "--output-type=int8"}, "--in-place",
              "the output has the input's type, uint8");
  EXPECT_FALSE(exists(output));
  EXPECT_EQ(runQorn({"run", "Dilation2d", image, output, "--in-place", "--output-type=uint8"}).exitCode, 0);
}

TEST_F(Usage, NumberOfImages) {
  expectUsage({"run", "IntensityExtrema"}, "IntensityExtrema", "needs 1 input image(s)");
  expectRunUsage({image}, "IntensityExtrema", "2 given");
  expectUsage({"run", "Dilation2d", image}, "Dilation2d", "1 output image(s), 1 given");
  expectUsage({"run", "Dilation2d", image, "a.npy", "b.npy"}, "Dilation2d", "1 output image(s), 3 given");
}

TEST_F(Usage, PropertyNames) {
  expectRunUsage({"size=3"}, "size", "no such property");
  expectRunUsage({"ANALYSISDIMENSIONS=3"}, "ANALYSISDIMENSIONS", "no such property");
  expectRunUsage({"analysisDimensions=1", "analysisDimensions=1"}, "analysisDimensions", "given twice");
  expectRunUsage({"inputImage=x.npy"}, "inputImage", "is an image");
  expectRunUsage({"outputMeasure=x"}, "outputMeasure", "is a result");
  expectUsage({"run", "LogicalOperationWithValue", image, "out.npy"}, "LogicalOperationWithValue",
              "value=VALUE is missing");
  expectUsage({"run", "FiniteImpulseResponseFilter2D", image, "out.npy"}, "FiniteImpulseResponseFilter2D",
              "kernel=VALUE is missing");
  expectUsage({"run", "FiniteImpulseResponseFilter2D", image, "out.npy", "kernel="}, "kernel", "has no value");
}

TEST_F(Usage, Integers) {
  for (std::string const text :
       {"", " ", "x", "1x", "1 ", " 1", "+1", "1.0", "1e0", "0x1", "--1", "-", "1,0", "1\n"}) {
    expectRunUsage({"analysisDimensions=" + text},
                   text == "1\n" ? "analysisDimensions=1 " : "analysisDimensions=" + text, "not a number");
  }
  for (std::string const text : {"2147483648", "-2147483649", "99999999999999999999"}) {
    expectRunUsage({"analysisDimensions=" + text}, "analysisDimensions=" + text, "out of range");
  }
  // Nothing more than the range of the type is checked: only three bits count.
  for (std::string const text : {"2147483647", "-2147483648", "-1", "8"}) {
    Outcome const outcome = runQorn({"run", "IntensityExtrema", image, "analysisDimensions=" + text});
    EXPECT_EQ(outcome.exitCode, 0) << text << outcome.err;
  }
}

TEST_F(Usage, UnsignedIntegers) {
  for (std::string const text : {"-1", "-0", "4294967296", "-99999999999999999999", "99999999999999999999"}) {
    expectUsage({"run", "LogicalOperationWithValue", image, "o.npy", "value=" + text}, "value=" + text,
                "out of range: unsigned integer from 0 to 4294967295");
  }
  for (std::string const text : {"", "x", "+1", "1 ", "--1", "-", "-x", "1.5"}) {
    expectUsage({"run", "LogicalOperationWithValue", image, "o.npy", "value=" + text}, "value=" + text,
                "not a number of type unsigned integer");
  }
}

TEST_F(Usage, Reals) {
  for (std::string const text : {"nan", "inf", "-inf", "infinity", "NaN"}) {
    expectUsage({"run", "DilationLine2d", image, "o.npy", "lineAngle=" + text}, "lineAngle=" + text,
                "must be finite");
  }
  for (std::string const text : {"", "x", "1x", "+1", " 1", "1 ", "1,5", "0x10", "1e", "--1"}) {
    expectUsage({"run", "DilationLine2d", image, "o.npy", "lineAngle=" + text}, "lineAngle=" + text, "not a number");
  }
  expectUsage({"run", "DilationLine2d", image, "o.npy", "lineAngle=1e999"}, "lineAngle=1e999", "out of range");
}

TEST_F(Usage, Options) {
  expectRunUsage({"--interpretation", "colour"}, "--interpretation colour", "grey or binary");
  for (std::string const text : {"0", "1025"}) {
    expectRunUsage({"--threads", text}, "--threads " + text, "from 1 to 1024");
  }
  for (std::string const text : {"-1", "99999999999"}) {
    expectRunUsage({"--threads=" + text}, "--threads " + text, "out of range");
  }
  for (std::string const text : {"x", "+1", "1.5", " 1", "0x2"}) {
    expectRunUsage({"--threads=" + text}, "--threads " + text, "not a number");
    expectRunUsage({"--max-voxels=" + text}, "--max-voxels " + text, "not a number");
    expectRunUsage({"--max-extra-memory=" + text}, "--max-extra-memory " + text, "not a number");
  }
  for (std::string const text : {"K", "1KB", "1k", "1T", "1 G", "1KK"}) {
    expectRunUsage({"--max-extra-memory=" + text}, "--max-extra-memory " + text, "not a number");
  }
  for (std::string const text : {"18446744073709551616", "17179869184G", "-1"}) {
    expectRunUsage({"--max-extra-memory=" + text}, "--max-extra-memory " + text, "out of range");
  }
  for (std::string const text : {"0", "1099511627777"}) {
    expectRunUsage({"--max-voxels", text}, "--max-voxels " + text, "from 1 to 2^40");
  }
  for (std::string const text : {"PXL_MAX_EXTRA_MEMORY", "=1", "NO_SUCH_SETTING=1", "PXL_MAX_EXTRA_MEMORY=much",
                                 "PXL_MAX_EXTRA_MEMORY=", "PXL_MAX_EXTRA_MEMORY=-1"}) {
    expectRunUsage({"--setting", text}, "--setting " + text, "");
  }
  expectRunUsage({"--threads", "1", "--threads", "2"}, "command line", "--threads");
  expectRunUsage({"--threads"}, "command line", "--threads");
}

TEST_F(Usage, GoodOptions) {
  for (std::vector<std::string> const& options : {std::vector<std::string>{"--threads", "1"},
                                                  {"--threads=3"},
                                                  {"--max-extra-memory", "0"},
                                                  {"--max-extra-memory", "64M"},
                                                  {"--max-extra-memory=17179869183G"},
                                                  {"--on-disk"},
                                                  {"--quiet"},
                                                  {"--interpretation", "binary"},
                                                  {"--interpretation", "grey"},
                                                  {"--max-voxels", "1099511627776"},
                                                  {"--setting", "PXL_MAX_EXTRA_MEMORY=1000"},
                                                  {"--plugin", QORN_PLUGIN}}) {
    std::vector<std::string> arguments{"run", "IntensityExtrema"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(image);
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << ::testing::PrintToString(options) << outcome.err;
    EXPECT_NE(outcome.out, "");
  }
}

TEST_F(Usage, ImagesWhoseNamesLookLikeProperties) {
  std::string const bytes = makeNpy("|u1", "(2, 3)", makeValues<unsigned char>(6));
  Program::Options options;
  options.folder = folder / "";
  writeFile(folder / "a=b.npy", bytes);
  EXPECT_EQ(runQorn({"run", "IntensityExtrema", "./a=b.npy"}, options).exitCode, 0);
  expectFailure(runQorn({"run", "IntensityExtrema", "a=b.npy"}, options), 2, "a", "no such property");
  writeFile(folder / "1=b.npy", bytes);
  EXPECT_EQ(runQorn({"run", "IntensityExtrema", "1=b.npy"}, options).exitCode, 0);
  writeFile(folder / "=b.npy", bytes);
  EXPECT_EQ(runQorn({"run", "IntensityExtrema", "=b.npy"}, options).exitCode, 0);
  writeFile(folder / "run", bytes);
  expectFailure(runQorn({"run", "IntensityExtrema", "run"}, options), 1, "run", "suffix");
  writeFile(folder / "-b.npy", bytes);
  EXPECT_EQ(runQorn({"run", "IntensityExtrema", "--", "-b.npy"}, options).exitCode, 0);
}

TEST_F(Usage, NearestNames) {
  std::string const output = folder / "output.npy";
  expectUsage({"run", "Dilatoin2d", image, output}, "Dilatoin2d", "lists them; the nearest is Dilation2d\n");
  expectUsage({"operators", "erosionball"}, "erosionball", "lists them; the nearest is ErosionBall3d\n");
  expectUsage({"element", "IntensityExtremes"}, "IntensityExtremes", "; the nearest is IntensityExtrema\n");
  for (std::string const& far : {std::string("NoSuchOperator"), std::string(), std::string(100000, 'x')}) {
    Outcome const outcome = runQorn({"run", far, image});
    EXPECT_EQ(outcome.exitCode, 2) << far;
    EXPECT_EQ(outcome.err.find("nearest"), std::string::npos) << outcome.err;
  }
  expectRunUsage({"analysisdimension=1"}, "analysisdimension", "; the nearest is analysisDimensions\n");
  expectUsage({"run", "Dilation2d", image, output, "neighbourhood=0"}, "neighbourhood", "nearest is neighborhood\n");
  // Images have no name to be given by.
  expectUsage({"run", "Dilation2d", image, output, "inputImages=0"}, "inputImages",
              "\"qorn operators Dilation2d\" lists them\n");
}

TEST_F(Usage, HelpOfFlagsShowsNoValues) {
  for (char const* const command : {"run", "element"}) {
    std::string const help = runQorn({command, "--help"}).out;
    EXPECT_NE(help.find("--no-clobber "), std::string::npos) << help;
    EXPECT_EQ(help.find("{"), std::string::npos) << help;
  }
}

}  // namespace
