#pragma once

#include "pxl/Noncopyable.h"

namespace qorn::python {

/**
 * A call during which other Python threads may run. The end of the interpreter waits for all of them: a thread that
 * comes back later would be torn out of C++ code. Made and destroyed with the interpreter's lock.
 */
class Call : private pxl::Noncopyable {
 public:
  /** @throws Failure the interpreter is ending */
  Call();
  ~Call();
};

/** Whether the interpreter is ending, so that calls are to end as soon as they can. With the interpreter's lock. */
bool isEnding();

/** Makes all calls end, lets other threads run until they have, and refuses new ones. For the interpreter's end. */
void endCalls();

/** Whether this process was forked from one in which calls had been made: their threads are missing. */
bool isForkedAfterCalls();

}  // namespace qorn::python
