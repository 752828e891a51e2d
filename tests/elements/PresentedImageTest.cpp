#include <gtest/gtest.h>

#include "access/PresentedImage.h"
#include "host/support/Folder.h"
#include "host/support/Images.h"
#include "host/support/Raised.h"
#include "pxl/Exception.h"

namespace elements_test {
namespace {

using pxl::access::PresentedImage;

TEST(PresentedImage, IsGreyAndSharesTheVoxels) {
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {4, 3, 2, 1, 1}, pxl::cBinary);
  PresentedImage same(image.get(), pxl::cUnsignedInteger8);
  EXPECT_EQ(same.getInterpretation(), pxl::cGrey);
  EXPECT_EQ(same.getNumOf(pxl::cRows), 3u);
  EXPECT_EQ(host_test::makeView<unsigned char>(&same)->getInterface(),
            host_test::makeView<unsigned char>(image.get())->getInterface());
}

TEST(PresentedImage, ReadsTheBitsAsAnotherType) {
  host_test::Folder const folder;
  pxl::ImageSizes const sizes{4, 3, 2, 1, 1};
  for (bool isOnDisk : {false, true}) {
    auto const image =
        isOnDisk ? pxl::Image::OnDisk(folder / "image", pxl::FileModes::cCreate, pxl::cUnsignedInteger16, sizes)
                 : pxl::Image::New(pxl::cUnsignedInteger16, sizes);
    PresentedImage presented(image.get(), pxl::cInteger16);
    EXPECT_EQ(presented.getVoxelType(), pxl::cInteger16);
    short const voxels[] = {-1, -2, 3, -32768};
    EXPECT_TRUE(host_test::makeView<short>(&presented)->getInterface()->writeRowAt(4, voxels, 0, 2, 1, 0, 0));
    auto const view = host_test::makeConstView<unsigned short>(image.get());
    unsigned short const expected[] = {65535, 65534, 3, 32768};
    for (long col = 0; col < 4; ++col) EXPECT_EQ(host_test::readVoxel(*view, {col, 2, 1, 0, 0}), expected[col]);
    EXPECT_EQ(presented.getSource().storage->isOnDisk(), isOnDisk);
  }
}

TEST(PresentedImage, IsReadOnlyOfAConstantImage) {
  auto const image = pxl::Image::New(pxl::cFloat, {4, 3, 2, 1, 1});
  pxl::ImageModel const* const constant = image.get();
  PresentedImage presented(constant, pxl::cFloat);
  EXPECT_FALSE(presented.getSource().isWritable);
  host_test::raisedBy<pxl::UnexpectedError>([&] { PresentedImage(constant, pxl::cDouble); });
}

}  // namespace
}  // namespace elements_test
