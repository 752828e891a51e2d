#pragma once

/**
 * Hooks that let tests observe the host. They compile to nothing in the product. The instrumented library of the
 * tests is built from the same sources with PXLWORKS_INSTRUMENTED, and passes each call to the active probe.
 */
#ifdef PXLWORKS_INSTRUMENTED

#include "instrument/Probe.h"

#define PXL_PROBE(call)                                                                 \
  do {                                                                                  \
    if (::pxl::instrument::Probe* probe_ = ::pxl::instrument::getProbe()) probe_->call; \
  } while (false)

#else

#define PXL_PROBE(call) static_cast<void>(0)

#endif
