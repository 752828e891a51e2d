#include "support/Npy.h"
#include "support/Reading.h"

namespace {

using namespace test;

class NpyHeader : public ::testing::Test {
 protected:
  void expectFault(std::string const& bytes, std::string const& why) const {
    writeFile(path, bytes);
    expectHeaderFault(path, why);
  }

  /** A file with this dictionary and 64 bytes of data. */
  static std::string withDictionary(std::string const& dictionary, int major = 1) {
    return makeNpyHeader(dictionary, major) + std::string(64, '\1');
  }
  static std::string withShape(std::string const& shape, std::string const& descr = "|u1") {
    return withDictionary(makeNpyDictionary(descr, shape));
  }

  TempFolder folder;
  std::string path = folder / "image.npy";
};

TEST_F(NpyHeader, AcceptsAllThreeVersions) {
  for (int const major : {1, 2, 3}) {
    writeFile(path, withDictionary(makeNpyDictionary("|u1", "(2, 3)"), major));
    EXPECT_EQ(qorn::io::readImageHeader(path).sizes, (pxl::ImageSizes{3, 2, 1, 1, 1})) << major;
    EXPECT_EQ(getVoxelBytes(*qorn::io::readImage(path).image), std::string(6, '\1')) << major;
  }
}

TEST_F(NpyHeader, AcceptsAnyOrderAndSpacing) {
  for (std::string const dictionary : {
           "{'shape': (2, 3), 'descr': '|u1', 'fortran_order': False}",
           "{\"fortran_order\":False,\"shape\":(2,3,),\"descr\":\"|u1\",}",
           "{ 'descr' : '|u1' ,\n 'fortran_order' : False ,\t'shape' : ( 2 , 3 ) , } ",
       }) {
    writeFile(path, withDictionary(dictionary));
    EXPECT_EQ(getReadFault(path), "") << dictionary;
  }
}

TEST_F(NpyHeader, RefusesOtherFiles) {
  expectFault("x", "not a .npy file");
  expectFault("\x93NUMPX\1", "not a .npy file");
  expectFault("GIF89a and so on, long enough for a header", "not a .npy file");
  std::string bytes = withShape("(2, 3)");
  bytes[6] = 9;
  expectFault(bytes, "version 9.0");
  bytes[6] = 0;
  expectFault(bytes, "version 0.0");
  bytes[6] = 1;
  bytes[7] = 1;
  expectFault(bytes, "version 1.1");
}

TEST_F(NpyHeader, RefusesFilesThatEndTooSoon) {
  std::string const bytes = makeNpy("<u2", "(4, 5)", makeValues<unsigned short>(20));
  for (std::string::size_type length = 1; length < bytes.size(); ++length) {
    writeFile(path, bytes.substr(0, length));
    EXPECT_NE(getReadFault(path), "") << length;
    EXPECT_THROW(qorn::io::readImageHeader(path), qorn::io::FileError) << length;
  }
  writeFile(path, bytes);
  EXPECT_EQ(getReadFault(path), "");
  expectFault(bytes.substr(0, bytes.size() - 1), "declares 40 bytes of voxels and has 39");
}

TEST_F(NpyHeader, RefusesLengthsBeyondTheFileAndTheCap) {
  std::string bytes = withShape("(2, 3)");
  bytes[9] = '\xff';
  expectFault(bytes, "ends within its header");
  bytes = withDictionary(makeNpyDictionary("|u1", "(2, 3)"), 2);
  bytes.replace(8, 4, std::string("\xff\xff\xff\xff", 4));
  expectFault(bytes, "4294967295 bytes; at most 65536");
  expectFault(withDictionary(makeNpyDictionary("|u1", "(2, 3)") + std::string(70000, ' '), 2), "at most 65536");
  writeFile(path, withDictionary(makeNpyDictionary("|u1", "(2, 3)") + std::string(60000, ' '), 2));
  EXPECT_EQ(getReadFault(path), "");
}

TEST_F(NpyHeader, RefusesWhatIsNoDictionary) {
  for (std::string const dictionary : {
           "",
           "{",
           "[]",
           "()",
           "{}",
           "{'descr'}",
           "{'descr': '|u1'}",
           "import os",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2, 3)",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2, 3)} + {}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2, 3), 'more': 1}",
           "{'descr': '|u1', 'descr': '|u1', 'fortran_order': False, 'shape': (2, 3)}",
           "{'descr': '|u1', 'fortran_order': 0, 'shape': (2, 3)}",
           "{'descr': '|u1', 'fortran_order': false, 'shape': (2, 3)}",
           "{'descr': '|u1' 'fortran_order': False 'shape': (2, 3)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': [2, 3]}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2 3)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2,, 3)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2.0, 3)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (+2, 3)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2, 1+2)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': 6}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (6)}",
           "{'descr': '\\x7cu1', 'fortran_order': False, 'shape': (2, 3)}",
           "{'descr': '|u1', 'fortran_order': False, 'shape': (2, 3), 'x",
           "{'descr': |u1, 'fortran_order': False, 'shape': (2, 3)}",
           "{,'descr': '|u1', 'fortran_order': False, 'shape': (2, 3)}",
       }) {
    SCOPED_TRACE(dictionary);
    expectFault(withDictionary(dictionary), "malformed header");
  }
  std::string bytes = withShape("(2, 3)");
  bytes.insert(20, 1, '\0').erase(21, 1);
  expectFault(bytes, "malformed header");
}

TEST_F(NpyHeader, RefusesOtherTypesByName) {
  struct Case {
    char const* descr;
    char const* kind;
  };
  for (Case const& refused : {Case{"|b1", "bool"}, Case{"<u8", "unsigned integer"}, Case{"<i8", "integer"},
                              Case{"<f2", "floating point"}, Case{"<f16", "floating point"}, Case{"<c8", "complex"},
                              Case{"<c16", "complex"}, Case{"|O", "pickled objects"}, Case{"|S3", "text"},
                              Case{"<U3", "text"}, Case{"<M8[ns]", "time"}, Case{"|V8", "raw bytes"}}) {
    SCOPED_TRACE(refused.descr);
    expectFault(withShape("(1, 1)", refused.descr),
                std::string("dtype '") + refused.descr + "' (" + refused.kind + ") isn't read");
  }
  for (char const* const descr : {"", "<", "u1", "u2", "|u2", "*u2", "<u3", "<u22", "<2u"}) {
    SCOPED_TRACE(descr);
    expectFault(withShape("(1, 1)", descr), std::string("dtype '") + descr + "'");
  }
  expectFault(withDictionary("{'descr': [('a', '<u2')], 'fortran_order': False, 'shape': (1, 1)}"), "structured");
}

TEST_F(NpyHeader, RefusesBadShapes) {
  expectFault(withShape("()"), "0 dimensions; an image has 2 to 5");
  expectFault(withShape("(6,)"), "1 dimensions; an image has 2 to 5");
  expectFault(withShape("(1, 1, 1, 1, 1, 6)"), "6 dimensions; an image has 2 to 5");
  expectFault(withShape("(0, 6)"), "has no voxels");
  expectFault(withShape("(6, 0)"), "has no voxels");
  expectFault(withShape("(99999999999, 0)"), "has no voxels");
  expectFault(withShape("(-1, 6)"), "negative size");
  expectFault(withShape("(2, 2147483648)"), "2147483648 columns; at most 2147483647");
  expectFault(withShape("(18446744073709551615, 1)"), "18446744073709551615 rows");
  expectFault(withShape("(18446744073709551616, 1)"), "too large");
  expectFault(withShape("(4294967296, 4294967296)"), "at most 2147483647");
  expectFault(withShape("(2147483647, 2147483647, 2147483647, 2147483647, 2147483647)"), "more than 2^40 voxels");
  expectFault(withShape("(65536, 65536, 65536, 65536)"), "more than 2^40 voxels");
  expectFault(withShape("(1048576, 1048577)"), "more than 2^40 voxels");
  expectFault(withShape("(1048576, 1048576)", "<f8"), "declares 8796093022208 bytes of voxels and has 64");
  expectFault(withShape("(5, 13)"), "declares 65 bytes of voxels and has 64");
}

TEST_F(NpyHeader, AcceptsTheLargestImage) {
  writeFile(path, withShape("(1048576, 1048576)"));
  resizeFile(path, 128 + (1UL << 40));
  EXPECT_EQ(qorn::io::readImageHeader(path).sizes, (pxl::ImageSizes{1048576, 1048576, 1, 1, 1}));
}

}  // namespace
