#include "qorn/MappedFileGuard.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>

#include "qorn/Errors.h"
#include "qorn/StandardOutput.h"
#include "qorn/io/TemporaryName.h"

namespace qorn {
namespace {

std::array<std::atomic<MappedFileGuard const*>, MappedFileGuard::cMaxNb> s_guards{};
std::atomic<bool> s_isEnding{false};
static_assert(std::atomic<MappedFileGuard const*>::is_always_lock_free, "it is read in a signal handler");

}  // namespace

struct MappedFileHandler {
  static void onSignal(int signal, siginfo_t* information, void*) {
    auto const address = reinterpret_cast<unsigned long>(information->si_addr);
    for (auto const& slot : s_guards) {
      MappedFileGuard const* const guard = slot.load();
      if (guard == nullptr || address < guard->m_begin || address >= guard->m_end) continue;
      while (s_isEnding.exchange(true)) ::pause();  // another thread is ending the process
      io::TemporaryName::unlinkPresent();
      writeErrorText(guard->m_line);
      ::_exit(cFailed);
    }
    // Another cause: on return the same instruction raises the signal again, with its default effect.
    std::signal(signal, SIG_DFL);
  }
};

MappedFileGuard::MappedFileGuard(std::string const& path, pxl::Image const& image) : m_begin(0), m_end(0) {
  pxl::access::VoxelStorage const& storage = *image.getSource().storage;
  if (storage.getMemory() == nullptr || storage.isWritable()) return;
  auto const pageBytes = static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
  m_begin = reinterpret_cast<unsigned long>(storage.getMemory()) / pageBytes * pageBytes;
  m_end = reinterpret_cast<unsigned long>(storage.getMemory()) + pxl::helper::getSizeOf(image.getVoxelType());
  for (std::size_t i = 0; i < pxl::cNbComponents; ++i)
    m_end += (storage.getSizes()[i] - 1) * static_cast<unsigned long>(storage.getStrides()[i]);
  m_end = (m_end + pageBytes - 1) / pageBytes * pageBytes;
  m_line = makeErrorLine(path + ": can no longer be read; it was truncated, or its disk fails");
  // Longer than the progress line, which it overwrites.
  if (::isatty(STDERR_FILENO)) m_line = '\r' + m_line;
  for (auto& slot : s_guards) {
    MappedFileGuard const* none = nullptr;
    if (slot.compare_exchange_strong(none, this)) break;
  }
  struct sigaction action = {};
  action.sa_sigaction = MappedFileHandler::onSignal;
  action.sa_flags = SA_SIGINFO;
  sigemptyset(&action.sa_mask);
  sigaction(SIGBUS, &action, nullptr);
}

MappedFileGuard::~MappedFileGuard() {
  for (auto& slot : s_guards) {
    MappedFileGuard const* own = this;
    slot.compare_exchange_strong(own, nullptr);
  }
}

}  // namespace qorn
