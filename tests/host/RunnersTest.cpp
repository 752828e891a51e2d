// Runners by their names.
#include "pxl/Exception.h"
#include "pxl/Image.h"
#include "pxl/morphology/Morphology.h"
#include "support/Raised.h"
#include "support/Running.h"

namespace {

using namespace host_test;

class Runners : public RunningTest {
 protected:
  pxl::AlgoInfo* const record = algorithm.getAlgoInfo();
};

TEST_F(Runners, AreListedInTheirOrder) {
  EXPECT_TRUE(algorithm.getRunners().empty());
  FakeRunner const first(record, {}, 7, true, "first"), refusing(record, {}, 9, false, "refusing"), nameless(record);
  auto const runners = algorithm.getRunners();
  ASSERT_EQ(runners.size(), 3u);
  EXPECT_EQ(runners[0].name.str(), "first");
  EXPECT_EQ(runners[0].optimType, 7);
  EXPECT_TRUE(runners[0].isAccepting);
  EXPECT_EQ(runners[0].refusal.str(), "");
  EXPECT_EQ(runners[1].name.str(), "refusing");
  EXPECT_EQ(runners[1].optimType, 9);
  EXPECT_FALSE(runners[1].isAccepting);
  EXPECT_EQ(runners[1].refusal.str().rfind("doesn't accept inputImage of uint8, outputImage of uint8", 0), 0u)
      << runners[1].refusal.str();
  EXPECT_EQ(runners[2].name.str(), "");
  EXPECT_EQ(first.nbRuns + refusing.nbRuns + nameless.nbRuns, 0);
}

TEST_F(Runners, AreNotAskedAboutWhatIsMissing) {
  FakeRunner const runner(record, {}, 1, true, "any");
  algorithm.inputImage = nullptr;
  auto const runners = algorithm.getRunners();
  ASSERT_EQ(runners.size(), 1u);
  EXPECT_FALSE(runners[0].isAccepting);
  EXPECT_EQ(runners[0].refusal.str(), "inputImage isn't set");
  EXPECT_EQ(runner.nbQuestions, 0);
}

TEST_F(Runners, OneIsTakenByItsName) {
  FakeRunner const best(record, {}, 9, true, "best"), plain(record, {}, 1, true, "plain"),
      better(record, {}, 2, true, "plain");
  algorithm.execute();
  EXPECT_EQ(best.nbRuns, 1);
  algorithm.setRunner("plain");
  EXPECT_EQ(algorithm.getRunner().str(), "plain");
  algorithm.execute();
  EXPECT_EQ(best.nbRuns, 1);
  EXPECT_EQ(plain.nbRuns, 0);
  EXPECT_EQ(better.nbRuns, 1) << "of one name the better one";
  algorithm.setRunner("");
  algorithm.execute();
  EXPECT_EQ(best.nbRuns, 2);
}

TEST_F(Runners, AnotherOneIsNotTakenInItsPlace) {
  FakeRunner const able(record, {}, 1, true, "able"), unable(record, {}, 1, false, "unable");
  algorithm.setRunner("unable");
  EXPECT_TRUE(contains(raisedBy<pxl::RuntimeError>([&] { algorithm.execute(); }), "none of 1 registered runner(s)"));
  algorithm.setRunner("absent");
  EXPECT_EQ(raisedBy<pxl::RuntimeError>([&] { algorithm.execute(); }),
            "TestOperator: no runner has the name absent; there are able, unable");
  EXPECT_EQ(able.nbRuns, 0);
}

TEST_F(Runners, WithoutNamesCannotBeAskedFor) {
  FakeRunner const nameless(record);
  algorithm.setRunner("any");
  EXPECT_EQ(raisedBy<pxl::RuntimeError>([&] { algorithm.execute(); }),
            "TestOperator: no runner has the name any; there are none with names");
  EXPECT_EQ(nameless.nbRuns, 0);
}

}  // namespace
