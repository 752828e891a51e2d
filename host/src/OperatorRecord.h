#pragma once

#include <memory>

#include "instrument/Instrument.h"
#include "pxl/AlgoInfo.h"
#include "pxl/BaseAlgorithm.h"

namespace pxl {

template <class Algo>
std::unique_ptr<BaseAlgorithm> makeAlgorithm() {
  return std::make_unique<Algo>();
}

}  // namespace pxl

// The record of an operator, and its destructor. The arguments after the help go to the constructor of AlgoInfo, with
// the factory after the dimension. Records are never destroyed: plug-ins remove their runners as late as at the end
// of the process.
#define PXL_RECORD(Name, ...) PXL_RECORD_OF(Name, __VA_ARGS__, makeAlgorithm<Name>)
#define PXL_COMPOSED_RECORD(Name, composition, ...) PXL_RECORD_OF(Name, __VA_ARGS__, makeAlgorithm<Name>, composition)
#define PXL_RECORD_OF(Name, ...)                                      \
  AlgoInfo* Name::getClassInfo() {                                    \
    static AlgoInfo* const record = new AlgoInfo(#Name, __VA_ARGS__); \
    AlgoInfo* result = record;                                        \
    PXL_PROBE(onClassInfo(#Name, result));                            \
    return result;                                                    \
  }                                                                   \
  AlgoInfo* Name::getAlgoInfo() const { return getClassInfo(); }      \
  Name::~Name() = default;
