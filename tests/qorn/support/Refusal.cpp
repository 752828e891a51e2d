#include "support/Refusal.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace test {
namespace {

sock_filter makeLoad(std::size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned int>(offset));
}

sock_filter makeReturn(unsigned int action) { return BPF_STMT(BPF_RET | BPF_K, action); }

sock_filter makeError(int error) { return makeReturn(SECCOMP_RET_ERRNO | static_cast<unsigned int>(error)); }

/** The call with this number fails. */
void addCall(std::vector<sock_filter>& filter, unsigned int number, int error) {
  filter.push_back(makeLoad(offsetof(seccomp_data, nr)));
  filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1));
  filter.push_back(makeError(error));
}

}  // namespace

bool refuse(unsigned int refusals) {
  std::vector<sock_filter> filter;
  if (refusals & cUnnamedFiles) {
    filter.push_back(makeLoad(offsetof(seccomp_data, nr)));
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3));
    filter.push_back(makeLoad(offsetof(seccomp_data, args) + 2 * sizeof(__u64)));
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_TMPFILE & ~O_DIRECTORY, 0, 1));
    filter.push_back(makeError(EOPNOTSUPP));
  }
  if (refusals & cHardLinks) addCall(filter, SYS_linkat, EPERM);
  if (refusals & cExclusiveRename) addCall(filter, SYS_renameat2, EINVAL);
#ifdef SYS_access  // not on ARM
  if (refusals & cAccess) addCall(filter, SYS_access, ENOENT);
#endif
  filter.push_back(makeReturn(SECCOMP_RET_ALLOW));
  sock_fprog const program{static_cast<unsigned short>(filter.size()), filter.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace test
