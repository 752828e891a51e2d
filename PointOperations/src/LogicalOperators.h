#pragma once

#include <locale>
#include <sstream>

#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Helper/Raise.h"

/** The seven operations, on the bits of whole vectors, whatever the voxel type. */
namespace pxl {

struct BinaryLogicalOperator_AndTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitAnd(a, b);
  }
};

struct BinaryLogicalOperator_OrTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitOr(a, b);
  }
};

struct BinaryLogicalOperator_XorTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitXor(a, b);
  }
};

struct BinaryLogicalOperator_NAndTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitNot(Vec::bitAnd(a, b));
  }
};

struct BinaryLogicalOperator_NOrTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitNot(Vec::bitOr(a, b));
  }
};

struct BinaryLogicalOperator_NXorTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitNot(Vec::bitXor(a, b));
  }
};

/** a and not b. */
struct BinaryLogicalOperator_SubTag {
  template <class Vec>
  static typename Vec::Vector apply(typename Vec::Vector a, typename Vec::Vector b) {
    return Vec::bitAndNot(a, b);
  }
};

namespace point_operations {

/**
 * Calls Dispatcher::runInternal<T, OperatorTag>(algorithm) for the algorithm's logicalOperator.
 * @throws InvalidCall the operator is unknown; the source location is in `file`
 */
template <class T, class Dispatcher, class Algo>
void dispatchOnLogicalOperator(Algo* algorithm, char const* file) {
  switch (algorithm->logicalOperator.get()) {
    case 0:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_AndTag>(algorithm);
    case 1:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_OrTag>(algorithm);
    case 2:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_XorTag>(algorithm);
    case 3:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_NAndTag>(algorithm);
    case 4:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_NOrTag>(algorithm);
    case 5:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_NXorTag>(algorithm);
    case 6:
      return Dispatcher::template runInternal<T, BinaryLogicalOperator_SubTag>(algorithm);
    default:
      break;
  }
  std::ostringstream message;
  message.imbue(std::locale::classic());
  message << "The provided logicalOperator is unknow (value=" << algorithm->logicalOperator.get() << ").";
  helper::raise<InvalidCall>(message.str(), file, 52);
}

}  // namespace point_operations
}  // namespace pxl
