#pragma once

#include <string>

namespace qorn::io {

/** Keeps the library's messages off standard error, and clears those of this thread. */
void captureTiffMessages();
/** The first error since then on this thread; empty if there is none. */
std::string getTiffMessage();
/** The system's message at that time; empty if no system call had failed. */
std::string getTiffSystemError();

}  // namespace qorn::io
