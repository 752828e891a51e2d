#include "support/Npy.h"

namespace test {

std::string makeNpyHeader(std::string const& dictionary, int major) {
  std::string::size_type const prefix = major == 1 ? 10 : 12;
  std::string text = dictionary;
  while ((prefix + text.size() + 1) % 64 != 0) text += ' ';
  text += '\n';
  std::string bytes = "\x93NUMPY";
  bytes += static_cast<char>(major);
  bytes += '\0';
  for (std::string::size_type i = 8; i < prefix; ++i) bytes += static_cast<char>(text.size() >> (8 * (i - 8)));
  return bytes + text;
}

std::string makeNpyDictionary(std::string const& descr, std::string const& shape, bool isFortranOrder) {
  return "{'descr': '" + descr + "', 'fortran_order': " + (isFortranOrder ? "True" : "False") +
         ", 'shape': " + shape + ", }";
}

}  // namespace test
