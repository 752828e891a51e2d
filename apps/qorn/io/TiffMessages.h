#pragma once

#include <string>

namespace qorn::io {

/** Turns the library's messages away from standard error and forgets those of this thread. */
void captureTiffMessages();
/** The first error since then on this thread; empty if there was none. */
std::string getTiffMessage();
/** What the system said when it was reported; empty if no system call had failed by then. */
std::string getTiffSystemError();

}  // namespace qorn::io
