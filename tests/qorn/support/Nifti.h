#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace test {

/** Where fields stand in the header of a NIfTI-1 file. */
enum NiftiFields : std::size_t {
  cNiftiHeaderBytes = 0,    ///< int
  cNiftiDim = 40,           ///< 8 short
  cNiftiIntentP1 = 56,      ///< float
  cNiftiIntentCode = 68,    ///< short
  cNiftiDatatype = 70,      ///< short
  cNiftiBitpix = 72,        ///< short
  cNiftiPixdim = 76,        ///< 8 float
  cNiftiOffset = 108,       ///< float
  cNiftiSlope = 112,        ///< float
  cNiftiIntercept = 116,    ///< float
  cNiftiUnits = 123,        ///< char
  cNiftiDescription = 148,  ///< 80 char
  cNiftiQformCode = 252,    ///< short
  cNiftiSformCode = 254,    ///< short
  cNiftiQuaternion = 256,   ///< 3 float, and 3 float of offsets
  cNiftiRowX = 280,         ///< 3 rows of 4 float
  cNiftiMagic = 344         ///< 4 char
};

/** The first 352 bytes of a file of one piece, field by field in either byte order. */
class NiftiStart {
 public:
  /** `sizes` begin with the fastest dimension. */
  NiftiStart(std::vector<int> const& sizes, int datatype, int bits, bool isBigEndian = false);

  template <class T>
  NiftiStart& put(std::size_t place, T value) {
    std::string one(reinterpret_cast<char const*>(&value), sizeof(T));
    if (m_isBigEndian) std::reverse(one.begin(), one.end());
    m_bytes.replace(place, one.size(), one);
    return *this;
  }
  NiftiStart& putText(std::size_t place, std::string const& text) {
    m_bytes.replace(place, text.size(), text);
    return *this;
  }
  std::string const& getBytes() const { return m_bytes; }

 private:
  bool m_isBigEndian;
  std::string m_bytes;
};

/** A voxel type as NIfTI numbers it, in the order of cAllTypes. */
constexpr int cNiftiTypes[] = {2, 512, 768, 256, 4, 8, 16, 64};

/** What zlib makes of the bytes, as a gzip file. */
void writeGzip(std::string const& path, std::string const& bytes);
/** What zlib finds in a gzip file. */
std::string readGzip(std::string const& path);

/** What the library of the format finds in a file, gzip or not. */
struct NiftiContent {
  std::vector<int> sizes;
  int datatype;
  std::vector<float> spacing;
  float slope;
  float intercept;
  std::string description;
  int intentCode;
  float intentP1;
  int spaceUnit;
  int timeUnit;
  int qformCode;
  int sformCode;
  std::vector<float> quaternion;
  std::vector<float> rows;  ///< of the sform
  std::string voxels;
};
NiftiContent readNifti(std::string const& path);

}  // namespace test
