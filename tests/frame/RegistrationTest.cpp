// The registration object by itself, without a library to load.
#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "frame/support/FakeImage.h"
#include "gtest/gtest.h"
#include "pxl/morphology/Morphology.h"

namespace frame_test {
namespace {

using Algo = pxl::morphology::ErosionLine2d;
using Names = std::vector<std::string>;

struct CountedRunner : pxl::Runnable {
  CountedRunner() { ++nbMade; }
  ~CountedRunner() override { ++nbDestroyed; }
  void run(pxl::BaseAlgorithm*) const override {}
  bool isRunnable(pxl::BaseAlgorithm*) const override { return false; }
  int getOptimType() const override { return 1; }
  static inline int nbMade = 0;
  static inline int nbDestroyed = 0;
};

using Registration = pxl::helper::AutoRegisterRunnable<Algo, CountedRunner>;
static_assert(sizeof(Registration) == sizeof(pxl::Runnable*));
static_assert(!std::is_copy_constructible_v<Registration> && !std::is_copy_assignable_v<Registration>);

class RegistrationObject : public testing::Test {
 protected:
  RegistrationObject() { CountedRunner::nbMade = CountedRunner::nbDestroyed = 0; }

  void hideRecord(bool isHidden) {
    m_probe.classInfo = [isHidden](std::string const&, pxl::AlgoInfo* info) { return isHidden ? nullptr : info; };
  }
  Names takeNames() {
    Names const names = m_probe.getNames();
    m_probe.clear();
    return names;
  }

  pxl::instrument::Recorder m_probe;
};

TEST_F(RegistrationObject, AddsOneRunnerAndTakesTheSameAway) {
  pxl::Runnable* runner = nullptr;
  {
    Registration const registration;
    runner = registration.m_runner;
    ASSERT_NE(runner, nullptr);
    EXPECT_EQ(m_probe.getTrace("addRunner").at(0).object, runner);
    EXPECT_EQ(m_probe.getTrace("addRunner").at(0).text, "ErosionLine2d");
    EXPECT_EQ(takeNames(), (Names{"getClassInfo", "addRunner"}));
  }
  EXPECT_EQ(m_probe.getTrace("removeRunner").at(0).object, runner);
  EXPECT_EQ(takeNames(), (Names{"getClassInfo", "removeRunner"}));
  EXPECT_EQ(CountedRunner::nbMade, 1);
  EXPECT_EQ(CountedRunner::nbDestroyed, 0);
  delete runner;
}

TEST_F(RegistrationObject, MakesNothingWithoutARecord) {
  hideRecord(true);
  {
    Registration const registration;
    EXPECT_EQ(registration.m_runner, nullptr);
    EXPECT_EQ(takeNames(), (Names{"getClassInfo"}));
    hideRecord(false);
  }
  // Nothing was added, so that the record isn't even asked for.
  EXPECT_EQ(takeNames(), Names());
  EXPECT_EQ(CountedRunner::nbMade, 0);
}

TEST_F(RegistrationObject, RemovesNothingWhenTheRecordIsGone) {
  pxl::Runnable* runner = nullptr;
  {
    Registration const registration;
    runner = registration.m_runner;
    takeNames();
    hideRecord(true);
  }
  EXPECT_EQ(takeNames(), (Names{"getClassInfo"}));
  EXPECT_EQ(CountedRunner::nbDestroyed, 0);
  hideRecord(false);
  Algo::getClassInfo()->removeRunner(runner);
  delete runner;
}

TEST_F(RegistrationObject, ServesAnyNumberOfLives) {
  for (int life = 0; life < 3; ++life) {
    pxl::Runnable* runner = nullptr;
    {
      Registration const registration;
      runner = registration.m_runner;
      EXPECT_EQ(Algo::getClassInfo()->getRunners(), std::vector<pxl::Runnable*>{runner});
    }
    EXPECT_TRUE(Algo::getClassInfo()->getRunners().empty());
    delete runner;
  }
}

}  // namespace
}  // namespace frame_test
