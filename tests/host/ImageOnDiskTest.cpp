#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>

#include "support/Folder.h"
#include "support/Images.h"
#include "support/Raised.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using pxl::FileModes;
using pxl::Image;
using pxl::ImageSizes;

template <class T>
class ImageInFile : public ::testing::Test {
 protected:
  // A file of `offset` odd bytes, random voxels and a tail.
  std::vector<T> makeFile(unsigned long offset, ImageSizes const& sizes) {
    std::vector<T> voxels(countVoxels(sizes));
    for (T& voxel : voxels) voxel = random.voxel<T>();
    std::string const bytes(reinterpret_cast<char const*>(voxels.data()), voxels.size() * sizeof(T));
    writeFile(path, std::string(offset, 'h') + bytes + "tail");
    return voxels;
  }

  Random random;
  Folder folder;
  std::string path = folder / "image.raw";
};
TEST_TYPES(ImageInFile, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ImageInFile, IsReadFromAnyOffset) {
  ImageSizes const sizes{7, 3, 2, 2, 3};
  for (unsigned long const offset : {0UL, 1UL, 128UL, 4096UL, 10007UL}) {
    auto const voxels = this->makeFile(offset, sizes);
    auto const onDisk = Image::OnDisk(this->path, FileModes::cReadOnly, cTypeOf<TypeParam>, sizes, offset);
    EXPECT_EQ(readAll(*makeConstView<TypeParam>(onDisk.get())), voxels);
    auto const mapped = Image::OnMappedFile(this->path, cTypeOf<TypeParam>, sizes, offset);
    EXPECT_EQ(readAll(*makeConstView<TypeParam>(mapped.get())), voxels);
    EXPECT_EQ(static_cast<Image const&>(*onDisk).getVoxels(), nullptr);
    EXPECT_NE(static_cast<Image const&>(*mapped).getVoxels(), nullptr);
  }
}

TEST_OF_TYPES(ImageInFile, IsWrittenInPlaceAndNowhereElse) {
  ImageSizes const sizes{5, 4, 3, 2, 2};
  auto const voxels = this->makeFile(13, sizes);
  std::string expected = readFile(this->path);
  {
    auto const image = Image::OnDisk(this->path, FileModes::cReadWrite, cTypeOf<TypeParam>, sizes, 13);
    auto const view = makeView<TypeParam>(image.get());
    TypeParam const row[3] = {TypeParam(1), TypeParam(2), TypeParam(3)};
    ASSERT_TRUE(view->getInterface()->writeRowAt(3, row, 1, 2, 1, 0, 1));
    unsigned long const index = 1 + 5 * (2 + 4 * (1 + 3 * (0 + 2 * 1)));
    expected.replace(13 + index * sizeof(TypeParam), sizeof(row), reinterpret_cast<char const*>(row), sizeof(row));
    EXPECT_EQ(readVoxel(*view, {2, 2, 1, 0, 1}), TypeParam(2));
  }
  EXPECT_EQ(readFile(this->path), expected);
}

TEST_OF_TYPES(ImageInFile, IsMadeWithItsSpaceReservedAndZero) {
  ImageSizes const sizes{100, 300, 2, 1, 1};
  unsigned long const nbBytes = countVoxels(sizes) * sizeof(TypeParam);
  auto const image = Image::OnDisk(this->path, FileModes::cCreate, cTypeOf<TypeParam>, sizes, 64);
  struct stat status;
  ASSERT_EQ(::stat(this->path.c_str(), &status), 0);
  EXPECT_EQ(static_cast<unsigned long>(status.st_size), nbBytes + 64);
  EXPECT_GE(static_cast<unsigned long>(status.st_blocks) * 512, nbBytes + 64);
  auto const view = makeView<TypeParam>(image.get());
  EXPECT_EQ(readAll(*view), std::vector<TypeParam>(countVoxels(sizes)));
  TypeParam const row[2] = {TypeParam(4), TypeParam(5)};
  EXPECT_TRUE(view->getInterface()->writeRowAt(2, row, 98, 299, 1, 0, 0));
  EXPECT_EQ(readVoxel(*view, {99, 299, 1, 0, 0}), TypeParam(5));
}

TEST_OF_TYPES(ImageInFile, OpenedReadOnlyGivesNoWritableView) {
  ImageSizes const sizes{2, 1, 1, 1, 1};
  this->makeFile(0, sizes);
  auto const onDisk = Image::OnDisk(this->path, FileModes::cReadOnly, cTypeOf<TypeParam>, sizes);
  auto const mapped = Image::OnMappedFile(this->path, cTypeOf<TypeParam>, sizes);
  refusalOf([&] { makeView<TypeParam>(onDisk.get()); });
  refusalOf([&] { makeView<TypeParam>(mapped.get()); });
  EXPECT_EQ(mapped->getVoxels(), nullptr);
}

class FileRefusal : public ::testing::Test {
 protected:
  std::shared_ptr<Image> open(FileModes mode, unsigned long nbCols = 16, unsigned long offset = 0) {
    return Image::OnDisk(path, mode, pxl::cUnsignedInteger8, {nbCols, 1, 1, 1, 1}, offset);
  }
  // Each way to open a file that must exist fails with this text.
  void expectFailure(unsigned long nbCols, unsigned long offset, std::string const& part) {
    for (FileModes const mode : {FileModes::cReadOnly, FileModes::cReadWrite}) {
      std::string const text = raisedBy<pxl::RuntimeError>([&] { open(mode, nbCols, offset); });
      EXPECT_TRUE(contains(text, part) && contains(text, path)) << text;
    }
    std::string const text = raisedBy<pxl::RuntimeError>([&] {
      Image::OnMappedFile(path, pxl::cUnsignedInteger8, {nbCols, 1, 1, 1, 1}, offset);
    });
    EXPECT_TRUE(contains(text, part) && contains(text, path)) << text;
  }

  Folder folder;
  std::string path = folder / "image.raw";
};

TEST_F(FileRefusal, MissingFile) { expectFailure(16, 0, "No such file"); }

TEST_F(FileRefusal, FileThatIsTooShort) {
  writeFile(path, std::string(15, 'x'));
  expectFailure(16, 0, "fewer bytes");
  expectFailure(15, 1, "fewer bytes");
  expectFailure(1, 16, "fewer bytes");
  expectFailure(1, ~0UL, "fewer bytes");
  expectFailure(1, 1UL << 63, "fewer bytes");
  EXPECT_NO_THROW(open(FileModes::cReadOnly, 15));
  EXPECT_NO_THROW(open(FileModes::cReadOnly, 1, 14));
}

TEST_F(FileRefusal, PipeThatNobodyWritesDoesNotHang) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0);
  expectFailure(16, 0, "regular");
}

TEST_F(FileRefusal, Folder) {
  path = folder.path();
  std::string const text = raisedBy<pxl::RuntimeError>([&] { open(FileModes::cReadOnly); });
  EXPECT_TRUE(contains(text, "regular")) << text;
  raisedBy<pxl::RuntimeError>([&] { open(FileModes::cReadWrite); });
  raisedBy<pxl::RuntimeError>([&] { open(FileModes::cCreate); });
}

TEST_F(FileRefusal, Device) {
  path = "/dev/zero";
  expectFailure(16, 0, "regular");
}

TEST_F(FileRefusal, NoPermission) {
  writeFile(path, std::string(16, 'x'));
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  // The superuser may read anything, so become somebody else for a while.
  bool const isSuperuser = ::geteuid() == 0;
  if (isSuperuser) {
    ASSERT_EQ(::seteuid(65534), 0);
  }
  expectFailure(16, 0, "Permission denied");
  if (isSuperuser) {
    ASSERT_EQ(::seteuid(0), 0);
  }
}

TEST_F(FileRefusal, NewFileThatExistsIsLeftAsItIs) {
  writeFile(path, "precious");
  std::string const text = raisedBy<pxl::RuntimeError>([&] { open(FileModes::cCreate); });
  EXPECT_TRUE(contains(text, "exists")) << text;
  EXPECT_EQ(readFile(path), "precious");
}

TEST_F(FileRefusal, NewFileBeyondTheLimitsIsNotMade) {
  refusalOf([&] { open(FileModes::cCreate, 1UL << 31); });
  EXPECT_FALSE(std::filesystem::exists(path));
  refusalOf([&] { open(FileModes::cCreate, 16, ~0UL); });
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(FileRefusal, NewFileWithoutSpaceIsRemovedAgain) {
  rlimit before;
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit const small{1 << 20, before.rlim_max};
  auto const handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  raisedBy<pxl::RuntimeError>([&] { open(FileModes::cCreate, 2 << 20); });
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(FileRefusal, FileThatWasCutAfterwards) {
  writeFile(path, std::string(16, 'x'));
  auto const image = open(FileModes::cReadWrite);
  ASSERT_EQ(::truncate(path.c_str(), 8), 0);
  auto const view = makeView<unsigned char>(image.get());
  std::string const text = raisedBy<pxl::RuntimeError>([&] { readAll(*view); });
  EXPECT_TRUE(contains(text, path)) << text;
}

TEST_F(FileRefusal, WriteThatTheSystemRefusesIsReported) {
  auto const image = open(FileModes::cCreate, 4 << 20);
  auto const view = makeView<unsigned char>(image.get());
  rlimit before;
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit const small{1 << 20, before.rlim_max};
  auto const handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  unsigned char const byte = 1;
  EXPECT_FALSE(view->getInterface()->writeRowAt(1, &byte, (2 << 20), 0, 0, 0, 0));
  EXPECT_TRUE(view->getInterface()->writeRowAt(1, &byte, 0, 0, 0, 0, 0));
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
}

}  // namespace
