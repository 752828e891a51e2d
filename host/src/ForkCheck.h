#pragma once

namespace pxl {

/**
 * Records that the process uses threads and locks from now on. Takes no lock itself: in a forked process it could be
 * held forever by a thread that doesn't exist there.
 * @throws RuntimeError the process was forked after its parent's first call
 */
void checkForkAndNoteUse();

}  // namespace pxl
