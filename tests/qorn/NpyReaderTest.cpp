#include <cstdio>

#include "oracle/VoxelTypeTests.h"
#include "qorn/io/ImageReaders.h"
#include "qorn/io/InputFile.h"
#include "support/Npy.h"
#include "support/Reading.h"

namespace {

using namespace test;
using pxl::ImageSizes;

template <class T>
constexpr pxl::VoxelTypes cTypeOf = pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType;

template <class T>
std::string getDescr() {
  for (TypeNames const& names : cAllTypes) {
    if (names.type == cTypeOf<T>) return names.npy;
  }
  return "";
}

template <class T>
class NpyReader : public ::testing::Test {
 protected:
  TempFolder folder;
  std::string path = folder / "image.npy";
};
TEST_TYPES(NpyReader, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(NpyReader, MapsNativeData) {
  auto const values = makeValues<TypeParam>(3 * 4 * 5);
  for (std::string const order : {"<", "="}) {
    writeFile(this->path, makeNpy(order + getDescr<TypeParam>(), "(3, 4, 5)", values));
    auto const read = qorn::io::readImage(this->path);
    EXPECT_EQ(read.header.rank, 3);
    EXPECT_EQ(read.image->getVoxelType(), cTypeOf<TypeParam>);
    EXPECT_EQ(read.image->getSizes(), (ImageSizes{5, 4, 3, 1, 1}));
    EXPECT_EQ(getVoxelBytes(*read.image), toBytes(values));
    EXPECT_FALSE(read.image->getSource().isWritable);
    EXPECT_FALSE(read.image->getSource().storage->isOnDisk());
  }
}

TEST_OF_TYPES(NpyReader, SwapsBigEndianData) {
  auto const values = makeValues<TypeParam>(4 * 7);
  writeFile(this->path, makeNpy(">" + getDescr<TypeParam>(), "(4, 7)", values));
  auto const read = qorn::io::readImage(this->path);
  EXPECT_EQ(read.image->getSizes(), (ImageSizes{7, 4, 1, 1, 1}));
  EXPECT_EQ(getVoxelBytes(*read.image), toBytes(values));
}

/** The element at each index stands at another place in the file; found here index by index. */
template <class T>
std::string toFortranBytes(std::vector<T> const& values, std::vector<unsigned long> const& shape, bool isBigEndian) {
  std::vector<T> reordered(values.size());
  for (unsigned long i = 0; i < values.size(); ++i) {
    unsigned long rest = i;
    std::vector<unsigned long> index(shape.size());
    for (std::size_t d = shape.size(); d-- > 0; rest /= shape[d]) index[d] = rest % shape[d];
    unsigned long place = 0;
    for (std::size_t d = shape.size(); d-- > 0;) place = place * shape[d] + index[d];
    reordered[place] = values[i];
  }
  return toBytes(reordered, isBigEndian);
}

TEST_OF_TYPES(NpyReader, PutsFortranDataInOrder) {
  std::vector<std::vector<unsigned long>> const shapes{
      {3, 4}, {1, 9}, {9, 1}, {2, 3, 4}, {2, 3, 4, 5}, {2, 1, 4, 3, 5}, {1500, 3}, {2, 1100, 70}, {3, 70000}};
  for (auto const& shape : shapes) {
    unsigned long count = 1;
    std::string text = "(";
    for (unsigned long const size : shape) {
      count *= size;
      text += std::to_string(size) + ",";
    }
    auto const values = makeValues<TypeParam>(count);
    for (bool const isBigEndian : {false, true}) {
      std::string const descr = (isBigEndian ? ">" : "<") + getDescr<TypeParam>();
      writeFile(this->path, makeNpyHeader(makeNpyDictionary(descr, text + ")", true)) +
                                toFortranBytes(values, shape, isBigEndian));
      auto const read = qorn::io::readImage(this->path);
      EXPECT_EQ(read.header.rank, static_cast<int>(shape.size()));
      EXPECT_TRUE(getVoxelBytes(*read.image) == toBytes(values)) << text << isBigEndian;
    }
  }
}

TEST_OF_TYPES(NpyReader, StaysOnDiskWhenAsked) {
  auto const values = makeValues<TypeParam>(4 * 6);
  qorn::io::ReadOptions options;
  options.isOnDisk = true;
  writeFile(this->path, makeNpy("<" + getDescr<TypeParam>(), "(4, 6)", values));
  auto const read = qorn::io::readImage(this->path, options);
  EXPECT_TRUE(read.image->getSource().storage->isOnDisk());
  std::vector<TypeParam> row(6);
  read.image->getSource().storage->readRun(row.data(), 6, {0, 2, 0, 0, 0});
  EXPECT_EQ(row, std::vector<TypeParam>(values.begin() + 12, values.begin() + 18));

  writeFile(this->path,
            makeNpyHeader(makeNpyDictionary("<" + getDescr<TypeParam>(), "(4, 6)", true)) + toBytes(values));
  EXPECT_NE(getReadFault(this->path, options).find("Fortran order"), std::string::npos);
  writeFile(this->path, makeNpy(">" + getDescr<TypeParam>(), "(4, 6)", values));
  EXPECT_EQ(getReadFault(this->path, options).empty(), sizeof(TypeParam) == 1) << "one byte has no order";
}

TEST(NpyReaderShapes, RanksBecomeDimensions) {
  TempFolder const folder;
  std::string const path = folder / "image.NPY";
  struct Case {
    char const* shape;
    int rank;
    ImageSizes sizes;
  };
  for (Case const& expected :
       {Case{"(2, 3)", 2, {3, 2, 1, 1, 1}}, Case{"(2, 3, 4)", 3, {4, 3, 2, 1, 1}},
        Case{"(2, 3, 4, 5)", 4, {5, 4, 3, 2, 1}}, Case{"(2, 3, 4, 5, 6)", 5, {6, 5, 4, 3, 2}}}) {
    writeFile(path, makeNpy("|u1", expected.shape, makeValues<unsigned char>(720)));
    auto const header = qorn::io::readImageHeader(path);
    EXPECT_EQ(header.rank, expected.rank);
    EXPECT_EQ(header.sizes, expected.sizes);
    EXPECT_EQ(header.format, std::string("npy"));
  }
}

TEST(NpyReaderShapes, InterpretationIsGiven) {
  TempFolder const folder;
  std::string const path = folder / "image.npy";
  for (std::string const order : {"<", ">"}) {
    writeFile(path, makeNpy(order + "u2", "(2, 3)", makeValues<unsigned short>(6)));
    EXPECT_EQ(qorn::io::readImage(path).image->getInterpretation(), pxl::cGrey);
    qorn::io::ReadOptions options;
    options.interpretation = pxl::cBinary;
    EXPECT_EQ(qorn::io::readImage(path, options).image->getInterpretation(), pxl::cBinary);
  }
}

TEST(NpyFiles, HeaderAndVoxelsAreOfOneFile) {
  TempFolder folder;
  std::string const path = folder / "image.npy", other = folder / "other.npy";
  auto const values = makeValues<unsigned char>(6);
  writeFile(path, makeNpy("|u1", "(2, 3)", values));
  writeFile(other, makeNpy("|u1", "(2, 3)", std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
  qorn::io::InputFile const file(path);
  ASSERT_EQ(std::rename(other.c_str(), path.c_str()), 0);
  qorn::io::ReadOptions options;
  for (bool const isOnDisk : {false, true}) {
    options.isOnDisk = isOnDisk;
    try {
      qorn::io::readNpy(file, options);
      ADD_FAILURE() << "the voxels of another file were taken";
    } catch (qorn::io::FileError const& error) {
      EXPECT_EQ(error.what(), path + ": was replaced while it was read");
    }
  }
  options.isOnDisk = false;
  options.isPrivate = true;
  EXPECT_EQ(getVoxelBytes(*qorn::io::readNpy(file, options).image), toBytes(values));
}

}  // namespace
