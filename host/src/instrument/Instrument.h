#pragma once

/**
 * The seam for watching the host from tests. The product compiles it away; the instrumented library of the tests is
 * built of the same sources with PXLWORKS_INSTRUMENTED and hands each call to the active probe.
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
