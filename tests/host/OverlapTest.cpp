#include <gtest/gtest.h>

#include <set>

#include "pxl/ImageModelAdapter.h"
#include "support/Algorithms.h"
#include "support/Folder.h"
#include "support/Images.h"
#include "support/Raised.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageModel;
using pxl::ImageModelSizeProxy;

class Overlap : public ::testing::Test {
 protected:
  static constexpr char const* cOfBoth = "overlaps inputImage in part";
  static constexpr char const* cOfOutput = "outputImage can't be written: voxels of it lie on each other";

  // Whether a run with these images is refused, and for no other reason.
  static bool isRefused(ImageModel const& input, ImageModel& output, char const* reason = cOfBoth) {
    VolumeOperator algorithm;
    FakeRunner const runner(algorithm.getAlgoInfo());
    algorithm.inputImage = &input;
    algorithm.outputImage = &output;
    try {
      algorithm.execute();
    } catch (pxl::InvalidCall const& refusal) {
      EXPECT_TRUE(contains(refusal.what(), reason)) << refusal.what();
      EXPECT_EQ(runner.nbQuestions, 0);
      return true;
    }
    return false;
  }
};

ImageModelSizeProxy makeWindow(Image& image, Position const& begin, pxl::ImageSizes const& size) {
  auto const b = [&](std::size_t i) { return static_cast<unsigned long>(begin[i]); };
  return ImageModelSizeProxy(static_cast<ImageModel*>(&image), b(0), size[0], b(1), size[1], b(2), size[2], b(3),
                             size[3], b(4), size[4]);
}

TEST_F(Overlap, ShowsInTheUsualCases) {
  auto const image = Image::New(pxl::cFloat, {8, 8, 2, 1, 1});
  auto const other = Image::New(pxl::cFloat, {8, 8, 2, 1, 1});
  EXPECT_FALSE(isRefused(*image, *image));
  EXPECT_FALSE(isRefused(*image, *other));
  auto left = makeWindow(*image, {0, 0, 0, 0, 0}, {4, 8, 2, 1, 1});
  auto right = makeWindow(*image, {4, 0, 0, 0, 0}, {4, 8, 2, 1, 1});
  auto middle = makeWindow(*image, {2, 0, 0, 0, 0}, {4, 8, 2, 1, 1});
  auto const leftAgain = makeWindow(*image, {0, 0, 0, 0, 0}, {4, 8, 2, 1, 1});
  EXPECT_FALSE(isRefused(left, right));
  EXPECT_FALSE(isRefused(right, left));
  EXPECT_FALSE(isRefused(leftAgain, left));
  EXPECT_TRUE(isRefused(left, middle));
  EXPECT_TRUE(isRefused(middle, right));
}

TEST_F(Overlap, OfOneMemoryAsTwoTypesIsRefused) {
  std::vector<int> memory(64);
  auto const open = [&](pxl::VoxelTypes type, std::size_t first = 0) {
    return Image::OnMemory(memory.data() + first, type, {4, 4, 1, 1, 1}, {4, 16, 0, 0, 0});
  };
  EXPECT_TRUE(isRefused(*open(pxl::cInteger32), *open(pxl::cFloat)));
  EXPECT_TRUE(isRefused(*open(pxl::cInteger32), *open(pxl::cUnsignedInteger32, 2)));
  EXPECT_FALSE(isRefused(*open(pxl::cInteger32), *open(pxl::cInteger32)));
  EXPECT_FALSE(isRefused(*open(pxl::cInteger32), *open(pxl::cFloat, 16)));
  // With one column the strides say nothing of the voxel's size.
  auto const bytes = Image::OnMemory(reinterpret_cast<char*>(memory.data()) + 2, pxl::cUnsignedInteger8,
                                     {1, 4, 1, 1, 1}, {1, 16, 0, 0, 0});
  auto const words = Image::OnMemory(memory.data(), pxl::cInteger32, {1, 4, 1, 1, 1}, {4, 16, 0, 0, 0});
  EXPECT_TRUE(isRefused(*bytes, *words));
  EXPECT_TRUE(isRefused(*words, *bytes));
}

TEST_F(Overlap, OfBytesInTheMiddleOfVoxelsIsRefused) {
  std::vector<char> memory(256);
  auto const open = [&](std::size_t first) {
    return Image::OnMemory(memory.data() + first, pxl::cInteger32, {4, 2, 1, 1, 1}, {4, 32, 0, 0, 0});
  };
  for (std::size_t shift = 1; shift < 16; ++shift) EXPECT_TRUE(isRefused(*open(0), *open(shift))) << shift;
  EXPECT_FALSE(isRefused(*open(0), *open(16)));
  EXPECT_TRUE(isRefused(*open(0), *open(17)));
}

TEST_F(Overlap, OfOneFileIsKnownHoweverItIsReached) {
  Folder const folder;
  writeFile(folder / "a", std::string(64, 'a'));
  std::filesystem::create_symlink(folder / "a", folder / "link");
  pxl::ImageSizes const sizes{4, 4, 1, 1, 1};
  auto const open = [&](char const* name, pxl::FileModes mode, unsigned long offset = 0) {
    return Image::OnDisk(folder / name, mode, pxl::cUnsignedInteger8, sizes, offset);
  };
  auto const output = open("a", pxl::FileModes::cReadWrite);
  EXPECT_FALSE(isRefused(*open("a", pxl::FileModes::cReadWrite), *output));
  EXPECT_FALSE(isRefused(*open("link", pxl::FileModes::cReadWrite), *output));
  EXPECT_TRUE(isRefused(*open("a", pxl::FileModes::cReadOnly), *output));
  EXPECT_TRUE(isRefused(*Image::OnMappedFile(folder / "a", pxl::cUnsignedInteger8, sizes), *output));
  EXPECT_TRUE(isRefused(*open("link", pxl::FileModes::cReadWrite, 4), *output));
  EXPECT_FALSE(isRefused(*open("a", pxl::FileModes::cReadOnly, 16), *output));
  EXPECT_FALSE(isRefused(*Image::New(pxl::cUnsignedInteger8, sizes), *output));
}

TEST_F(Overlap, OfWindowsOfOneImageIsExact) {
  Random random;
  auto const image = Image::New(pxl::cUnsignedInteger16, {6, 5, 4, 3, 2});
  int nbRefused = 0;
  for (int round = 0; round < 3000; ++round) {
    Position a{}, b{};
    pxl::ImageSizes size{};
    for (std::size_t i = 0; i < 5; ++i) {
      long const whole = static_cast<long>(image->getSizes()[i]);
      long const n = random.between(1L, whole);
      size[i] = static_cast<unsigned long>(n);
      a[i] = random.between(0L, whole - n);
      b[i] = random.between(0L, 3L) == 0 ? a[i] : random.between(0L, whole - n);
    }
    bool shareVoxels = true;
    for (std::size_t i = 0; i < 5; ++i)
      shareVoxels = shareVoxels && std::abs(a[i] - b[i]) < static_cast<long>(size[i]);
    auto const input = makeWindow(*image, a, size);
    auto output = makeWindow(*image, b, size);
    bool const isExpected = shareVoxels && a != b;
    ASSERT_EQ(isRefused(input, output), isExpected);
    nbRefused += isExpected;
  }
  EXPECT_GT(nbRefused, 300);
}

std::set<long> collectBytes(long origin, pxl::ImageSizes const& sizes, pxl::ImageStrides const& strides, long size) {
  std::set<long> bytes;
  forEachPosition(sizes, [&](Position const& at) {
    for (long byte = 0; byte < size; ++byte) {
      long address = origin + byte;
      for (std::size_t i = 0; i < 5; ++i) address += at[i] * strides[i];
      bytes.insert(address);
    }
  });
  return bytes;
}

// Rows that overlap each other, run backwards or lie in each other's gaps: nothing may slip through.
TEST_F(Overlap, OfAnyForeignLayoutsNeverSlipsThrough) {
  Random random;
  std::vector<char> memory(4096);
  int nbShared = 0, nbOnEachOther = 0;
  for (int round = 0; round < 20000; ++round) {
    pxl::ImageSizes sizes{random.between(1UL, 12UL), random.between(1UL, 4UL), random.between(1UL, 3UL), 1, 1};
    auto const choose = [&] {
      return pxl::ImageStrides{2, 2 * random.between(-12L, 12L), random.between(-40L, 40L), 0, 0};
    };
    auto const strides = choose();
    auto const others = round % 3 == 0 ? choose() : strides;
    long const first = 2048, second = first + random.between(-100L, 100L);
    auto const a = collectBytes(first, sizes, strides, 2);
    auto const b = collectBytes(second, sizes, others, 2);
    bool shareBytes = false;
    for (long const byte : b) shareBytes = shareBytes || a.count(byte);
    auto const input = Image::OnMemory(memory.data() + first, pxl::cInteger16, sizes, strides);
    auto const output = Image::OnMemory(memory.data() + second, pxl::cInteger16, sizes, others);
    bool isSame = first == second;
    for (std::size_t i = 0; i < 5; ++i) isSame = isSame && (sizes[i] == 1 || strides[i] == others[i]);
    nbShared += shareBytes;
    bool const isOnItself = b.size() < 2 * countVoxels(sizes);
    nbOnEachOther += isOnItself;
    if (isOnItself) {
      ASSERT_TRUE(isRefused(*input, *output, cOfOutput));
    } else if (isSame) {
      ASSERT_FALSE(isRefused(*input, *output));
    } else if (shareBytes) {
      ASSERT_TRUE(isRefused(*input, *output)) << sizes[0] << ' ' << sizes[1] << ' ' << sizes[2] << ": " << strides[1]
                                              << ' ' << strides[2] << " at " << second - first;
    } else if (strides == others) {
      ASSERT_FALSE(isRefused(*input, *output));
    }
  }
  EXPECT_GT(nbShared, 3000);
  EXPECT_GT(nbOnEachOther, 3000);
}

// Several blocks would write the same bytes at once.
TEST_F(Overlap, OfAnOutputWithItselfIsRefused) {
  std::vector<unsigned short> memory(4096);
  auto const apart = Image::New(pxl::cUnsignedInteger16, {8, 4, 3, 2, 2});
  auto const open = [&](pxl::ImageStrides const& strides) {
    return Image::OnMemory(memory.data() + 2048, pxl::cUnsignedInteger16, apart->getSizes(), strides);
  };
  // Packed, backwards, plans between rows, and rows in the gaps of columns of plans.
  for (pxl::ImageStrides const& strides :
       {pxl::ImageStrides{2, 16, 64, 192, 384}, {2, -16, 64, 192, -384}, {2, 48, 16, 192, 384}, {2, 384, 16, 96, 48}})
    EXPECT_FALSE(isRefused(*apart, *open(strides))) << strides[1];
  // No step, one that is too short, one that leads into another dimension, and a half voxel.
  for (pxl::ImageStrides const& strides : {pxl::ImageStrides{2, 0, 64, 192, 384},
                                           {2, 16, 64, 192, 0},
                                           {2, 14, 64, 192, 384},
                                           {2, -14, 64, 192, 384},
                                           {2, 16, 48, 192, 384},
                                           {2, 16, 64, 64, 384},
                                           {2, 15, 64, 192, 384},
                                           {2, 16, 64, 192, 383}}) {
    auto const image = open(strides);
    EXPECT_TRUE(isRefused(*apart, *image, cOfOutput)) << strides[1];
    EXPECT_TRUE(isRefused(*image, *image, cOfOutput)) << strides[1];
    // Reading is safe.
    EXPECT_FALSE(isRefused(*image, *apart)) << strides[1];
  }
}

TEST_F(Overlap, OfAnOutputWithItselfIgnoresStridesThatAreNeverTaken) {
  std::vector<unsigned char> memory(64);
  auto const image = Image::OnMemory(memory.data(), pxl::cUnsignedInteger8, {8, 1, 4, 1, 1}, {1, 0, 8, 1, -3});
  EXPECT_FALSE(isRefused(*image, *image));
  // A row of an image whose rows lie on each other.
  auto const flat = Image::OnMemory(memory.data(), pxl::cUnsignedInteger8, {8, 4, 1, 1, 1}, {1, 0, 0, 0, 0});
  auto row = makeWindow(*flat, {0, 2, 0, 0, 0}, {8, 1, 1, 1, 1});
  EXPECT_FALSE(isRefused(row, row));
  auto rows = makeWindow(*flat, {0, 2, 0, 0, 0}, {8, 2, 1, 1, 1});
  EXPECT_TRUE(isRefused(rows, rows, cOfOutput));
  auto const empty = makeWindow(*flat, {0, 2, 0, 0, 0}, {0, 2, 1, 1, 1});
  auto alsoEmpty = makeWindow(*flat, {0, 1, 0, 0, 0}, {0, 2, 1, 1, 1});
  EXPECT_FALSE(isRefused(empty, alsoEmpty));
}

TEST_F(Overlap, OfImagesThatTouchIsNone) {
  std::vector<unsigned char> memory(64);
  // Of different strides, so that no search is made.
  auto const first = Image::OnMemory(memory.data(), pxl::cUnsignedInteger8, {4, 4, 1, 1, 1}, {1, 4, 16, 16, 16});
  auto const second =
      Image::OnMemory(memory.data() + 16, pxl::cUnsignedInteger8, {4, 4, 1, 1, 1}, {1, 8, 32, 32, 32});
  auto const shared =
      Image::OnMemory(memory.data() + 15, pxl::cUnsignedInteger8, {4, 4, 1, 1, 1}, {1, 8, 32, 32, 32});
  EXPECT_FALSE(isRefused(*first, *second));
  EXPECT_FALSE(isRefused(*second, *first));
  EXPECT_TRUE(isRefused(*first, *shared));
}

// Telling apart layouts whose dimensions interleave takes a search; it must not take long for large ones.
TEST_F(Overlap, OfLargeImagesIsToldAtOnce) {
  unsigned long const n = 1UL << 20;
  std::vector<unsigned char> memory(4096);
  auto const open = [&](unsigned long columns, pxl::ImageStrides const& strides) {
    return Image::OnMemory(memory.data() + 2048, pxl::cUnsignedInteger8, {columns, n, n, 1, 1}, strides);
  };
  auto const apart = open(1, {1, long(n), 1, 0, 0});
  EXPECT_FALSE(isRefused(*apart, *apart));
  EXPECT_TRUE(isRefused(*apart, *open(1, {1, long(n) - 1, 1, 0, 0}), cOfOutput));
  EXPECT_TRUE(isRefused(*apart, *open(1, {1, 999983, -999979, 0, 0}), cOfOutput));
}

// An adapter's strides are those of the voxels that it presents as others.
TEST_F(Overlap, OfAdaptersIsThatOfTheBytesTheyLieOn) {
  for (auto const& [stored, shown] : {std::pair{pxl::cUnsignedInteger8, pxl::cFloat},
                                      {pxl::cFloat, pxl::cUnsignedInteger8},
                                      {pxl::cInteger16, pxl::cInteger16}}) {
    long const size = static_cast<long>(pxl::helper::getSizeOf(stored));
    std::vector<char> memory(512);
    auto const open = [&, type = stored](long byte) {
      return Image::OnMemory(memory.data() + byte, type, {4, 4, 1, 1, 1}, {size, 4 * size, 0, 0, 0});
    };
    long const bytes = 16 * size;
    auto const image = open(bytes);
    pxl::ImageModelAdapter const input(image.get(), shown, pxl::cRoundAndSaturate);
    for (long byte = 0; byte <= 2 * bytes; ++byte) {
      auto const other = open(byte);
      pxl::ImageModelAdapter const output(other.get(), shown, pxl::cRoundAndSaturate);
      bool const isPartial = byte > 0 && byte < 2 * bytes && byte != bytes;
      EXPECT_EQ(isRefused(*input.getImageModel(), *output.getImageModel()), isPartial) << byte;
    }
    // Two plans of one image, and two halves whose rows interleave.
    auto const stack = Image::OnMemory(memory.data(), stored, {4, 4, 2, 1, 1}, {size, 4 * size, bytes, 0, 0});
    auto plan0 = makeWindow(*stack, {0, 0, 0, 0, 0}, {4, 4, 1, 1, 1});
    auto plan1 = makeWindow(*stack, {0, 0, 1, 0, 0}, {4, 4, 1, 1, 1});
    auto left = makeWindow(*stack, {0, 0, 0, 0, 0}, {2, 4, 2, 1, 1});
    auto right = makeWindow(*stack, {2, 0, 0, 0, 0}, {2, 4, 2, 1, 1});
    auto middle = makeWindow(*stack, {1, 0, 0, 0, 0}, {2, 4, 2, 1, 1});
    auto const areRefused = [&, type = shown](ImageModelSizeProxy& a, ImageModelSizeProxy& b) {
      pxl::ImageModelAdapter const first(&a, type, pxl::cRoundAndSaturate), second(&b, type, pxl::cRoundAndSaturate);
      return isRefused(*first.getImageModel(), *second.getImageModel());
    };
    EXPECT_FALSE(areRefused(plan0, plan1));
    EXPECT_FALSE(areRefused(plan1, plan0));
    EXPECT_FALSE(areRefused(left, right));
    EXPECT_FALSE(areRefused(left, left));
    EXPECT_TRUE(areRefused(left, middle));
  }
}

TEST_F(Overlap, OfImagesWithoutVoxelsIsNone) {
  auto const image = Image::New(pxl::cFloat, {4, 4, 1, 1, 1});
  auto a = makeWindow(*image, {1, 0, 0, 0, 0}, {0, 4, 1, 1, 1});
  auto b = makeWindow(*image, {2, 0, 0, 0, 0}, {0, 4, 1, 1, 1});
  EXPECT_FALSE(isRefused(a, b));
}

}  // namespace
