#include <algorithm>
#include <memory>

#include "frame/support/Operators.h"

namespace frame_test {
namespace {

struct Limit {
  int neighborhood;
  unsigned int largest;
};

// The settled numbers, each for itself.
template <class Algo>
std::vector<Limit> getLimits() {
  if constexpr (std::is_same_v<Algo, pxl::morphology::Dilation2d>) return {{0, 41}, {1, 34}};
  if constexpr (std::is_same_v<Algo, pxl::morphology::Erosion2d>) return {{0, 50}, {1, 37}};
  if constexpr (std::is_same_v<Algo, pxl::morphology::Dilation3d>) return {{0, 64}, {1, 47}, {2, 70}};
  return {{0, 97}, {1, 66}, {2, 121}};
}

template <class Op>
class BinaryIterations : public RunnerTest<Op> {
 protected:
  BinaryIterations() { this->input.interpretation = pxl::cBinary; }

  bool isAcceptedWith(int neighborhood, unsigned int nbIterations) {
    this->algorithm.neighborhood = neighborhood;
    this->algorithm.numberOfIterations = nbIterations;
    return this->isAccepted();
  }

  // Each read of the property gives the next of these values, the last one for ever.
  void answerNeighborhoodBy(std::vector<int> values) {
    auto const next = std::make_shared<std::vector<int>>(std::move(values));
    this->probe.onProperty = [this, next](pxl::PropertyBase const& property) {
      if (&property != &this->algorithm.neighborhood) return;
      this->algorithm.neighborhood = next->front();
      if (next->size() > 1) next->erase(next->begin());
    };
  }
};
TEST_TYPES(BinaryIterations, IteratedOperators, OperatorNames);

TEST_OF_TYPES(BinaryIterations, AreAcceptedUpToTheLimitOfTheNeighborhood) {
  for (Limit const& limit : getLimits<typename TypeParam::Algorithm>())
    for (unsigned int n :
         {0U, 1U, limit.largest - 1, limit.largest, limit.largest + 1, limit.largest + 2, 4294967295U})
      EXPECT_EQ(this->isAcceptedWith(limit.neighborhood, n), n <= limit.largest) << limit.neighborhood << ", " << n;
}

TEST_OF_TYPES(BinaryIterations, HaveNoLimitWithAnUnknownNeighborhood) {
  int const nbRows = static_cast<int>(getLimits<typename TypeParam::Algorithm>().size());
  for (int neighborhood : {nbRows, nbRows + 1, 99, -1, INT_MIN, INT_MAX})
    EXPECT_TRUE(this->isAcceptedWith(neighborhood, 4294967295U)) << neighborhood;
}

TEST_OF_TYPES(BinaryIterations, HaveNoLimitOnOtherInterpretations) {
  for (int interpretation : {1, 2, -1, 255, 256, INT_MIN, INT_MAX}) {
    this->input.interpretation = interpretation;
    for (Limit const& limit : getLimits<typename TypeParam::Algorithm>())
      EXPECT_TRUE(this->isAcceptedWith(limit.neighborhood, 4294967295U)) << interpretation;
  }
}

TEST_OF_TYPES(BinaryIterations, AreLimitedForEveryVoxelType) {
  Limit const limit = getLimits<typename TypeParam::Algorithm>()[0];
  for (int type : cEightTypes) {
    this->setTypes(type, type);
    EXPECT_TRUE(this->isAcceptedWith(0, limit.largest)) << type;
    EXPECT_FALSE(this->isAcceptedWith(0, limit.largest + 1)) << type;
  }
}

// One read for each row of the table until a row refuses; a value read once would be taken for all rows.
TEST_OF_TYPES(BinaryIterations, ReadTheNeighborhoodAfreshForEachRow) {
  auto const limits = getLimits<typename TypeParam::Algorithm>();
  for (std::size_t row = 0; row < limits.size(); ++row) {
    std::vector<int> answers(row, 77);
    answers.push_back(limits[row].neighborhood);
    answers.push_back(77);
    this->answerNeighborhoodBy(answers);
    this->algorithm.numberOfIterations = limits[row].largest + 1;
    EXPECT_FALSE(this->isAccepted()) << row;
    EXPECT_EQ(std::count(this->probe.log.begin(), this->probe.log.end(), "neighborhood"), static_cast<long>(row) + 1);
    this->answerNeighborhoodBy(answers);
    this->algorithm.numberOfIterations = limits[row].largest;
    EXPECT_TRUE(this->isAccepted()) << row;
    EXPECT_EQ(std::count(this->probe.log.begin(), this->probe.log.end(), "neighborhood"),
              static_cast<long>(limits.size()));
  }
}

TEST_OF_TYPES(BinaryIterations, CompareTheRowsInTheirOrder) {
  // Each value stands in another row than the one it is compared with.
  auto const limits = getLimits<typename TypeParam::Algorithm>();
  std::vector<int> answers;
  for (std::size_t row = 0; row < limits.size(); ++row)
    answers.push_back(limits[(row + 1) % limits.size()].neighborhood);
  this->answerNeighborhoodBy(answers);
  this->algorithm.numberOfIterations = 4294967295U;
  EXPECT_TRUE(this->isAccepted());
}

}  // namespace
}  // namespace frame_test
