#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;
using Json = nlohmann::json;

class Runner : public ::testing::Test {
 protected:
  Runner() {
    writeFile(image, makeNpy("|u1", "(3, 4)", makeValues<unsigned char>(12)));
    writeFile(real, makeNpy("<f4", "(3, 4)", makeValues<float>(12)));
  }

  TempFolder folder;
  std::string image = folder / "image.npy", real = folder / "real.npy", output = folder / "output.npy";
};

TEST_F(Runner, IsTakenByItsName) {
  Outcome const outcome = runQorn({"run", "Dilation2d", image, output, "--runner", "sse41"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  std::string const named = readFile(output);
  EXPECT_EQ(runQorn({"run", "Dilation2d", image, output}).exitCode, 0);
  EXPECT_EQ(readFile(output), named);
}

TEST_F(Runner, OfAnotherNameIsRefusedBeforeFilesAreTouched) {
  expectFailure(runQorn({"run", "Dilation2d", folder / "none.npy", output, "--runner", "sse42"}), 2, "--runner sse42",
                "no such runner; \"qorn operators Dilation2d\" lists them; the nearest is sse41");
  EXPECT_FALSE(exists(output));
}

TEST_F(Runner, OfStepsIsTakenByItsName) {
  std::vector<std::string> command{"open", image, output, "--element", "disk(1)", "--runner", "sse41"};
  EXPECT_EQ(runQorn(command).exitCode, 0);
  command.back() = "sse42";
  expectFailure(runQorn(command), 2, "--runner sse42", "no such runner; the nearest is sse41");
}

TEST_F(Runner, EveryOperatorHasOneWithAName) {
  ::Json const json = ::Json::parse(runQorn({"operators", "--json"}).out);
  ASSERT_GE(json["operators"].size(), 19u);
  for (::Json const& record : json["operators"]) {
    // The host runs what is composed itself.
    ::Json const runners{{{"name", "sse41"}, {"optimisation", 1}}, {{"name", "wide"}, {"optimisation", 2}}};
    ::Json const expected = record["composed"] ? ::Json::array() : runners;
    EXPECT_EQ(record["registered"], expected) << record["name"];
  }
}

TEST_F(Runner, IsListed) {
  Outcome const outcome = runQorn({"operators", "Dilation2d"});
  EXPECT_NE(
      outcome.out.find(
          "registered runners: 2\n\nRUNNER  OPTIMISATION\nsse41              1\nwide               2\n\nPROPERTY"),
      std::string::npos)
      << outcome.out;
  Program::Options options;
  options.environment = {"PXLWORKS_PLUGIN_DIR=" + folder / ""};
  EXPECT_NE(runQorn({"operators", "Dilation2d"}, options).out.find("registered runners: 0\n\nPROPERTY"),
            std::string::npos);
}

TEST_F(Runner, TellsWhatItAccepts) {
  Outcome outcome = runQorn({"operators", "Dilation2d", image, "numberOfIterations=3"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("RUNNER  OPTIMISATION  ACCEPTS\nsse41              1  yes\nwide               2  yes\n"),
            std::string::npos)
      << outcome.out;

  outcome = runQorn({"operators", "Dilation2d", image, "numberOfIterations=3000", "--interpretation", "binary"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("sse41              1  no: doesn't accept inputImage of uint8 (binary), outputImage of "
                             "uint8 (binary); with a binary image numberOfIterations can be at most "),
            std::string::npos)
      << outcome.out;
  EXPECT_NE(outcome.out.find("wide               2  yes\n"), std::string::npos) << outcome.out;

  outcome = runQorn({"operators", "LogicalOperationWithImage", real, real, "--json"});
  ::Json const runner = ::Json::parse(outcome.out)["operators"][0]["registered"][0];
  EXPECT_EQ(runner["accepts"], false);
  EXPECT_NE(runner["refusal"].get<std::string>().find("of float32"), std::string::npos) << runner;
  outcome = runQorn({"operators", "LogicalOperationWithImage", image, image, "--json"});
  EXPECT_EQ(::Json::parse(outcome.out)["operators"][0]["registered"][0]["accepts"], true);
  outcome = runQorn({"operators", "LogicalOperationWithImage", image, image, "--output-type", "uint16", "--json"});
  EXPECT_EQ(::Json::parse(outcome.out)["operators"][0]["registered"][0]["accepts"], false);
  outcome = runQorn({"operators", "IntensityExtrema", real, "--json"});
  EXPECT_EQ(::Json::parse(outcome.out)["operators"][0]["registered"][0]["accepts"], true);
  outcome = runQorn({"operators", "FiniteImpulseResponseFilter2D", real, "kernel=1 2 1", "--json"});
  EXPECT_EQ(::Json::parse(outcome.out)["operators"][0]["registered"][0]["accepts"], true);
}

TEST_F(Runner, IsAskedInTheRightWay) {
  expectFailure(runQorn({"operators", "Dilation2d", image, image}), 2, "Dilation2d", "1 input image(s), 2 given");
  expectFailure(runQorn({"operators", "Dilation2d", "numberOfIterations=3"}), 2, "Dilation2d",
                "1 input image(s), 0 given");
  expectFailure(runQorn({"operators", "Dilation2d", image, "radius=3"}), 2, "radius", "no such property");
  expectFailure(runQorn({"operators", "Dilation2d", folder / "none.npy"}), 1, folder / "none.npy", "No such file");
  expectFailure(runQorn({"operators", "Dilation2d", image, "--output-type", "bit"}), 2, "--output-type bit",
                "must be one of");
}

}  // namespace
