#include "support/Png.h"

#include <png.h>

#include <cstdio>
#include <stdexcept>

namespace test {
namespace {

std::string toBigEndian(unsigned long value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

unsigned long getCheckSum(std::string const& bytes) {
  unsigned long sum = 0xffffffff;
  for (char const byte : bytes) {
    sum ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1) ^ (sum & 1 ? 0xedb88320 : 0);
  }
  return sum ^ 0xffffffff;
}

}  // namespace

std::string makePngChunk(std::string const& name, std::string const& data) {
  return toBigEndian(data.size()) + name + data + toBigEndian(getCheckSum(name + data));
}

std::string makePngStart(unsigned int cols, unsigned int rows, int bits, int colour, bool isInterlaced) {
  std::string header = toBigEndian(cols) + toBigEndian(rows);
  for (int const value : {bits, colour, 0, 0, isInterlaced ? 1 : 0}) header += static_cast<char>(value);
  return "\x89PNG\r\n\x1a\n" + makePngChunk("IHDR", header);
}

void writePng(std::string const& path, unsigned int cols, unsigned int rows, int bits, int colour,
              std::string const& rowBytes, bool isInterlaced) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) throw std::runtime_error("can't write " + path);
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_set_IHDR(png, info, cols, rows, bits, colour, isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_color const colours[2] = {{0, 0, 0}, {255, 0, 0}};
  if (colour == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, colours, 2);
  png_write_info(png, info);
  std::size_t const stride = rowBytes.size() / rows;
  std::vector<unsigned char*> lines;
  std::string bytes = rowBytes;
  for (unsigned int row = 0; row < rows; ++row) {
    lines.push_back(reinterpret_cast<unsigned char*>(bytes.data()) + row * stride);
  }
  png_write_image(png, lines.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  std::fclose(file);
}

}  // namespace test
