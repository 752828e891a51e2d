#pragma once

namespace pxl {

/**
 * Notes that the process uses threads and locks from now on. Takes no lock itself: in a forked process another thread
 * may hold it for ever. @throws RuntimeError the process was forked after its parent's first use
 */
void checkForkAndNoteUse();

}  // namespace pxl
