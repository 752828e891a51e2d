#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "pxl/Runnable.h"

namespace host_test {

/** An operator of the tests: one image in, one out, with a record of its own that no plug-in knows. */
template <pxl::WorkingDimension Dimension>
class TestOperator : public pxl::BaseAlgorithm {
 public:
  static pxl::AlgoInfo* getClassInfo() {
    static pxl::AlgoInfo record(
        "TestOperator", "test", "does what its runner does", Dimension,
        []() -> std::unique_ptr<pxl::BaseAlgorithm> { return std::make_unique<TestOperator>(); });
    return &record;
  }
  pxl::AlgoInfo* getAlgoInfo() const override { return getClassInfo(); }

  pxl::Property<pxl::ImageModel const*> inputImage{*this, "inputImage", "image to read"};
  pxl::Property<pxl::ImageModel*> outputImage{*this, "outputImage", "image to write"};
};

using VolumeOperator = TestOperator<pxl::WorkingDimension::cVolume>;
using PlanOperator = TestOperator<pxl::WorkingDimension::cPlanByPlan>;

/** A runner whose work is a function of the test, registered while it exists. */
class FakeRunner final : public pxl::Runnable {
 public:
  explicit FakeRunner(pxl::AlgoInfo* record, std::function<void(pxl::BaseAlgorithm*)> work = {}, int optimType = 1,
                      bool isAccepting = true, std::string name = "")
      : m_record(record),
        m_work(std::move(work)),
        m_optimType(optimType),
        m_isAccepting(isAccepting),
        m_name(std::move(name)) {
    m_record->addRunner(this);
  }
  ~FakeRunner() override { m_record->removeRunner(this); }
  FakeRunner(FakeRunner const&) = delete;
  FakeRunner& operator=(FakeRunner const&) = delete;

  void run(pxl::BaseAlgorithm* algorithm) const override {
    ++nbRuns;
    if (m_work) m_work(algorithm);
  }
  bool isRunnable(pxl::BaseAlgorithm*) const override {
    ++nbQuestions;
    return m_isAccepting;
  }
  int getOptimType() const override { return m_optimType; }
  char const* getName() const override { return m_name.c_str(); }

  // Algorithms may run concurrently.
  mutable std::atomic<int> nbRuns{0};
  mutable std::atomic<int> nbQuestions{0};

 private:
  pxl::AlgoInfo* m_record;
  std::function<void(pxl::BaseAlgorithm*)> m_work;
  int m_optimType;
  bool m_isAccepting;
  std::string m_name;
};

}  // namespace host_test
