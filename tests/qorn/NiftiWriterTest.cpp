#include "support/Files.h"
#include "support/Nifti.h"
#include "support/Writing.h"

namespace {

using namespace test;

class NiftiWriter : public ::testing::Test {
 protected:
  TempFolder folder;
};

TEST_F(NiftiWriter, IsReadByItsLibrary) {
  for (std::size_t type = 0; type < std::size(cAllTypes); ++type) {
    for (Shape const& shape : {Shape{5, 37},
                               {1, 1},
                               {1, 32767},
                               {4, 5, 37},
                               {1, 5, 37},
                               {3, 4, 5, 7},
                               {2, 3, 4, 5, 7},
                               {2, 1, 1, 5, 7},
                               {1, 1, 1, 1, 1},
                               {3, 300, 600}}) {
      for (std::string const name : {"image.nii", "image.nii.gz", "image.Nii.GZ"}) {
        TypeNames const& names = cAllTypes[type];
        SCOPED_TRACE(names.npy + toText(shape) + name);
        std::string const voxels = makeVoxels(names, countVoxels(shape));
        std::string const path = folder / name;
        saveImage(path, names, shape, voxels);
        std::string const bytes = name == "image.nii" ? readFile(path) : readGzip(path);
        EXPECT_TRUE(bytes.substr(std::min<std::size_t>(bytes.size(), 352)) == voxels);
        EXPECT_EQ(bytes.substr(344, 8), std::string("n+1\0\0\0\0\0", 8));
        auto const read = qorn::io::readImage(path);
        EXPECT_EQ(read.header.type, names.type);
        EXPECT_EQ(read.header.sizes, makeHeader(names, shape).sizes);
        EXPECT_EQ(read.header.rank, static_cast<int>(shape.size()));
        EXPECT_FALSE(read.header.scale);
        EXPECT_TRUE(getVoxelBytes(*read.image) == voxels);
        if (name == "image.Nii.GZ") continue;  // a name that the library doesn't know
        NiftiContent const content = readNifti(path);
        EXPECT_EQ(content.sizes, std::vector<int>(shape.rbegin(), shape.rend()));
        EXPECT_EQ(content.datatype, cNiftiTypes[type]);
        EXPECT_EQ(content.spacing, std::vector<float>(shape.size(), 1.0f));
        EXPECT_EQ(content.slope, 0);
        // The library makes zeros of what isn't finite.
        EXPECT_TRUE(names.tiffFormat == 3 || content.voxels == voxels);
      }
    }
  }
}

TEST_F(NiftiWriter, SizesOfSixteenBits) {
  for (std::string const name : {"image.nii", "image.nii.gz"}) {
    EXPECT_EQ(getSaveFault(folder / name, cAllTypes[0], {1, 32768}),
              "NIfTI-1 holds at most 32767 columns, this image has 32768");
    EXPECT_EQ(getSaveFault(folder / name, cAllTypes[0], {40000, 1, 1, 1}),
              "NIfTI-1 holds at most 32767 sequence, this image has 40000");
  }
  EXPECT_EQ(listFolder(folder / "").size(), 0u);
}

TEST_F(NiftiWriter, NotOnDisk) {
  qorn::io::OutputOptions options;
  options.isOnDisk = true;
  EXPECT_EQ(getSaveFault(folder / "image.nii", cAllTypes[0], {3, 4}, options), "only .npy can be used on disk");
  EXPECT_EQ(getSaveFault(folder / "image.nii.gz", cAllTypes[0], {3, 4}, options), "only .npy can be used on disk");
}

}  // namespace
