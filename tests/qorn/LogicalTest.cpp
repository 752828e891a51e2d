#include "support/Files.h"
#include "support/Npy.h"
#include "support/Qorn.h"

namespace {

using namespace test;

class Logical : public ::testing::Test {
 protected:
  void run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "run");
    Outcome const outcome = runQorn(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out + outcome.err, "");
  }

  TempFolder folder;
  std::string first = folder / "first.npy", second = folder / "second.npy", output = folder / "output.npy";
  std::vector<unsigned short> const a = makeValues<unsigned short>(2 * 21 * 37);
  std::vector<unsigned short> const b{a.rbegin(), a.rend()};
};

TEST_F(Logical, CombinesTwoImages) {
  writeFile(first, makeNpy("<u2", "(2, 21, 37)", a));
  writeFile(second, makeNpy("<u2", "(2, 21, 37)", b));
  std::vector<unsigned short> expected(a.size());
  for (std::size_t i = 0; i < a.size(); ++i) expected[i] = static_cast<unsigned short>(a[i] ^ b[i]);
  for (char const* option : {"--quiet", "--in-place", "--on-disk", "--threads=2"}) {
    run({"LogicalOperationWithImage", first, second, output, "logicalOperator=2", option});
    EXPECT_TRUE(readFile(output) == makeNpy("<u2", "(2, 21, 37)", expected)) << option;
    EXPECT_TRUE(readFile(first) == makeNpy("<u2", "(2, 21, 37)", a)) << option;
  }
}

TEST_F(Logical, MayReplaceEitherInput) {
  std::vector<unsigned short> expected(a.size());
  for (std::size_t i = 0; i < a.size(); ++i) expected[i] = static_cast<unsigned short>(a[i] & ~b[i]);
  for (std::string const* target : {&first, &second}) {
    writeFile(first, makeNpy("<u2", "(2, 21, 37)", a));
    writeFile(second, makeNpy("<u2", "(2, 21, 37)", b));
    run({"LogicalOperationWithImage", first, second, *target, "logicalOperator=6"});
    EXPECT_TRUE(readFile(*target) == makeNpy("<u2", "(2, 21, 37)", expected));
  }
}

TEST_F(Logical, CombinesAnImageWithAValue) {
  writeFile(first, makeNpy("<u2", "(2, 21, 37)", a));
  std::vector<unsigned short> expected(a.size());
  for (std::size_t i = 0; i < a.size(); ++i) expected[i] = static_cast<unsigned short>(a[i] | 0x2345);
  run({"LogicalOperationWithValue", first, output, "value=" + std::to_string(0x12345), "logicalOperator=1"});
  EXPECT_TRUE(readFile(output) == makeNpy("<u2", "(2, 21, 37)", expected));
}

TEST_F(Logical, KnowsBinaryImages) {
  std::vector<unsigned char> bits(40);
  for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = i % 3 == 0;
  writeFile(first, makeNpy("|u1", "(5, 8)", bits));
  run({"LogicalOperationWithValue", first, output, "value=200", "--interpretation=binary"});
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(5, 8)", bits));
  run({"LogicalOperationWithValue", first, output, "value=200"});
  EXPECT_TRUE(readFile(output) == makeNpy("|u1", "(5, 8)", std::vector<unsigned char>(40)));
}

TEST_F(Logical, RefusesWhatItCannotCombine) {
  writeFile(first, makeNpy("<f4", "(5, 8)", std::vector<float>(40)));
  char const integers[] = "accepted would be images of the same type, uint8 uint16 uint32 int8 int16 int32\n";
  expectFailure(runQorn({"run", "LogicalOperationWithImage", first, first, output}), 1, "LogicalOperationWithImage",
                integers);
  expectFailure(runQorn({"run", "LogicalOperationWithValue", first, output, "value=1"}), 1,
                "LogicalOperationWithValue", integers);
  writeFile(first, makeNpy("|u1", "(5, 8)", std::vector<unsigned char>(40)));
  writeFile(second, makeNpy("|u1", "(8, 5)", std::vector<unsigned char>(40)));
  expectFailure(runQorn({"run", "LogicalOperationWithImage", first, second, output}), 1, "LogicalOperationWithImage",
                "inputImage1 and inputImage2 differ in size");
  expectFailure(runQorn({"run", "LogicalOperationWithValue", first, output}), 2, "LogicalOperationWithValue",
                "value=VALUE is missing");
  expectFailure(runQorn({"run", "LogicalOperationWithValue", first, output, "value=1", "logicalOperator=7"}), 1,
                "LogicalOperationWithValue", "The provided logicalOperator is unknow (value=7).");
  EXPECT_EQ(listFolder(folder / ""), (std::vector<std::string>{"first.npy", "second.npy"}));
}

}  // namespace
