#pragma once

namespace test {

/** Abilities that file systems may lack, taken from this process and from the programs it starts, for ever. */
enum Refusals : unsigned int {
  cUnnamedFiles = 1,     ///< open() with O_TMPFILE
  cHardLinks = 2,        ///< linkat()
  cExclusiveRename = 4,  ///< renameat2() with flags
  cAccess = 8            ///< access() finds nothing, as where /proc isn't mounted
};

/** @return whether it could be done */
bool refuse(unsigned int refusals);

}  // namespace test
