// The order in which a cancel sets its flag and cancels the task group, detected by the field that it writes first.
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <new>

#include "gtest/gtest.h"
#include "instrument/Sanitized.h"
#include "pxl/BaseTbbAlgorithm.h"

namespace {

/** Pages that record the address of the first write since lock(). Only one at a time. */
class NotingPages {
 public:
  NotingPages() {
    m_begin = ::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m_begin == MAP_FAILED) throw std::bad_alloc();
    active = this;
    struct sigaction action {};
    action.sa_sigaction = onFault;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGSEGV, &action, &m_before);
  }
  ~NotingPages() {
    ::sigaction(SIGSEGV, &m_before, nullptr);
    active = nullptr;
    ::munmap(m_begin, m_size);
  }
  NotingPages(NotingPages const&) = delete;
  NotingPages& operator=(NotingPages const&) = delete;

  void* get() const { return m_begin; }
  void lock() {
    m_firstWritten = nullptr;
    ::mprotect(m_begin, m_size, PROT_READ);
  }
  void const* getFirstWritten() const { return m_firstWritten; }

 private:
  static void onFault(int, siginfo_t* info, void*) {
    char* const begin = static_cast<char*>(active->m_begin);
    char* const address = static_cast<char*>(info->si_addr);
    if (address < begin || address >= begin + active->m_size) {
      ::signal(SIGSEGV, SIG_DFL);  // a fault of its own: it comes again and ends the program
      return;
    }
    active->m_firstWritten = address;
    ::mprotect(begin, active->m_size, PROT_READ | PROT_WRITE);
  }

  static inline NotingPages* active = nullptr;
  unsigned long const m_size = 4 * static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
  void* m_begin;
  void const* volatile m_firstWritten = nullptr;
  struct sigaction m_before {};
};

// A worker that the group stops tests the flag, which must be set by then.
TEST(CancelOrder, IsTheFlagAndThenTheGroup) {
  if (host_test::isSanitized()) GTEST_SKIP() << "the sanitizer looks at the memory, too";
  NotingPages pages;
  auto* const run = new (pages.get()) pxl::BaseTbbAlgorithm(nullptr);
  pages.lock();
  run->cancelExecution();
  EXPECT_EQ(pages.getFirstWritten(), &run->m_cancelled);
  EXPECT_TRUE(run->m_cancelled);
  EXPECT_TRUE(run->m_taskGroupContext.is_group_execution_cancelled());
  // The group itself is elsewhere in memory.
  pages.lock();
  run->m_taskGroupContext.reset();
  char const* const group = reinterpret_cast<char const*>(&run->m_taskGroupContext);
  EXPECT_GE(pages.getFirstWritten(), group);
  EXPECT_LT(pages.getFirstWritten(), group + sizeof(run->m_taskGroupContext));
  run->~BaseTbbAlgorithm();
}

}  // namespace
