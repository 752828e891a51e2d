#pragma once

#include <string>

#include "support/Files.h"

namespace test {

/** A .npy header with this dictionary, padded to a multiple of 64 bytes. */
std::string makeNpyHeader(std::string const& dictionary, int major = 1);

/** {'descr': DESCR, 'fortran_order': ORDER, 'shape': SHAPE, } */
std::string makeNpyDictionary(std::string const& descr, std::string const& shape, bool isFortranOrder = false);

/** A whole file in C order. */
template <class T>
std::string makeNpy(std::string const& descr, std::string const& shape, std::vector<T> const& values) {
  return makeNpyHeader(makeNpyDictionary(descr, shape)) + toBytes(values, descr[0] == '>');
}

}  // namespace test
