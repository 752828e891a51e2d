#include <nlohmann/json.hpp>

#include "support/Files.h"
#include "support/Qorn.h"

namespace {

using namespace test;
using Json = nlohmann::json;

Json getOperators(std::vector<std::string> const& more = {}, Program::Options const& options = {}) {
  std::vector<std::string> arguments{"operators", "--json"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  Outcome const outcome = runQorn(arguments, options);
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  return Json::parse(outcome.out);
}

TEST(Operators, AreAllListed) {
  Json const json = getOperators();
  EXPECT_EQ(json["operators"].size(), 28u);
  EXPECT_EQ(json["plugins"], Json::array({QORN_ELEMENTS, QORN_PLUGIN, QORN_WIDE}));
  std::size_t nbRunners = 0;
  for (Json const& record : json["operators"]) {
    nbRunners += record["runners"].get<std::size_t>();
    EXPECT_GE(record["runners"], record["name"] == "IntensityExtrema" ? 1 : 0);
  }
  EXPECT_EQ(json["runners"], nbRunners);

  Outcome const outcome = runQorn({"operators"});
  EXPECT_EQ(outcome.exitCode, 0);
  for (Json const& record : json["operators"]) {
    EXPECT_NE(outcome.out.find("\n" + record["name"].get<std::string>() + " "), std::string::npos) << record["name"];
    EXPECT_NE(outcome.out.find(record["help"].get<std::string>() + "\n"), std::string::npos) << record["name"];
  }
  EXPECT_NE(outcome.out.find("\n" + std::to_string(nbRunners) + " runner"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find(std::string("registered, from ") + QORN_ELEMENTS + ", " + QORN_PLUGIN + ", " +
                             QORN_WIDE + "\n"),
            std::string::npos);
}

TEST(Operators, ComeFromTheGivenPluginOnly) {
  TempFolder const folder;
  Program::Options options;
  options.environment = {"PXLWORKS_PLUGIN_DIR=" + folder / ""};
  EXPECT_EQ(getOperators({}, options)["runners"], 0);
  EXPECT_NE(runQorn({"operators"}, options).out.find("0 runners are registered; no plug-in is loaded"),
            std::string::npos);
  // A path that is relative to the working directory becomes absolute.
  std::string const plugin = QORN_PLUGIN;
  options.folder = plugin.substr(0, plugin.rfind('/'));
  EXPECT_EQ(getOperators({"--plugin", plugin.substr(plugin.rfind('/') + 1)}, options)["plugins"],
            Json::array({plugin}));
  EXPECT_EQ(runQorn({"operators", "--plugin", folder / "none.so"}).exitCode, 1);
}

TEST(Operators, OneIsDescribed) {
  Json const json = getOperators({"IntensityExtrema"});
  ASSERT_EQ(json["operators"].size(), 1u);
  Json const& properties = json["operators"][0]["properties"];
  ASSERT_EQ(properties.size(), 3u);
  EXPECT_EQ(properties[0]["name"], "inputImage");
  EXPECT_EQ(properties[0]["type"], "input image");
  EXPECT_EQ(properties[0]["default"], nullptr);
  EXPECT_EQ(properties[1]["name"], "analysisDimensions");
  EXPECT_EQ(properties[1]["type"], "integer");
  EXPECT_EQ(properties[1]["default"], 0);
  EXPECT_EQ(properties[2]["name"], "outputMeasure");
  EXPECT_EQ(properties[2]["type"], "measure");
  Outcome const outcome = runQorn({"operators", "IntensityExtrema"});
  EXPECT_EQ(outcome.exitCode, 0);
  for (Json const& property : properties) {
    EXPECT_NE(outcome.out.find("\n" + property["name"].get<std::string>() + " "), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find(property["help"].get<std::string>() + "\n"), std::string::npos) << outcome.out;
  }
}

TEST(Operators, DefaultsAreThoseOfTheOperators) {
  Json const json = getOperators();
  struct Case {
    char const* operatorName;
    char const* property;
    char const* type;
    Json value;
  };
  for (Case const& expected :
       {Case{"Dilation2d", "neighborhood", "integer", 1}, Case{"Erosion3d", "neighborhood", "integer", 2},
        Case{"Erosion2d", "numberOfIterations", "unsigned integer", 1},
        Case{"DilationBall3d", "radius", "unsigned integer", 1},
        Case{"DilationLine2d", "lineSize", "unsigned integer", 3}, Case{"ErosionLine3d", "secondAngle", "real", 0.0},
        Case{"FiniteImpulseResponseFilter2D", "kernel", "2-D kernel", nullptr},
        Case{"FiniteImpulseResponseFilter3D", "kernel", "3-D kernel", nullptr},
        Case{"LogicalOperationWithValue", "value", "unsigned integer", nullptr},
        Case{"LogicalOperationWithImage", "logicalOperator", "integer", 0},
        Case{"LogicalOperationWithImage", "outputImage", "output image", nullptr}}) {
    bool isFound = false;
    for (Json const& record : json["operators"]) {
      if (record["name"] != expected.operatorName) continue;
      for (Json const& property : record["properties"]) {
        if (property["name"] != expected.property) continue;
        isFound = true;
        EXPECT_EQ(property["type"], expected.type) << expected.operatorName;
        EXPECT_EQ(property["default"], expected.value) << expected.operatorName;
      }
    }
    EXPECT_TRUE(isFound) << expected.operatorName << expected.property;
  }
  std::string const text = runQorn({"operators", "LogicalOperationWithValue"}).out;
  EXPECT_NE(text.find("value            unsigned integer  required  "), std::string::npos) << text;
}

}  // namespace
