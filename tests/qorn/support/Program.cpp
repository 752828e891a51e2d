#include "support/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "instrument/Sanitized.h"

namespace test {
namespace {

void makePipe(int (&ends)[2]) {
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
}

/** In the child: gives it its streams and limits, and starts the program. Doesn't return. */
[[noreturn]] void startProgram(char* const* argv, Program::Options const& options, int out, int err) {
  std::signal(SIGPIPE, SIG_DFL);
  std::signal(SIGINT, SIG_DFL);
  if (!options.outputPath.empty()) out = ::open(options.outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ::dup2(out, STDOUT_FILENO);
  ::dup2(err, STDERR_FILENO);
  if (!options.folder.empty() && ::chdir(options.folder.c_str()) != 0) ::_exit(126);
  for (std::string const& assignment : options.environment) ::putenv(const_cast<char*>(assignment.c_str()));
  if (options.addressBytes > 0) {
    rlimit const limit{options.addressBytes, options.addressBytes};
    ::setrlimit(RLIMIT_AS, &limit);
  }
  if (options.fileBytes > 0) {
    rlimit const limit{options.fileBytes, options.fileBytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  if (options.prepare) options.prepare();
  ::execv(argv[0], argv);
  ::_exit(127);
}

}  // namespace

Program::Program(std::string const& path, std::vector<std::string> const& arguments, Options const& options) {
  int out[2];
  int err[2];
  makePipe(out);
  if (options.hasTerminal) {
    if (::openpty(&err[0], &err[1], nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no terminal");
    ::fcntl(err[0], F_SETFD, FD_CLOEXEC);
  } else {
    makePipe(err);
  }
  std::vector<char*> argv{const_cast<char*>(path.c_str())};
  if (options.isOutputClosed) {  // before the program exists, so that no write of it can succeed
    ::close(out[0]);
    out[0] = -1;
  }
  for (std::string const& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  m_process = ::fork();
  if (m_process == 0) startProgram(argv.data(), options, out[1], err[1]);
  ::close(out[1]);
  ::close(err[1]);
  m_out = out[0];
  m_err = err[0];
}

Program::~Program() {
  if (m_process > 0) {
    ::kill(m_process, SIGKILL);
    wait();
  }
}

void Program::send(int signal) const { ::kill(m_process, signal); }

/** One value of the status of the process. */
std::string Program::readStatus(std::string const& name) const {
  std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(name + ":\t", 0) == 0) return line.substr(name.size() + 2);
  }
  return std::string();
}

unsigned long Program::waitUntilHandled(int signal, bool isHandled) const {
  for (int i = 0; i < 20000; ++i) {
    if (readStatus("State")[0] == 'Z') return 0;
    unsigned long const handled = std::stoul(readStatus("SigCgt"), nullptr, 16);
    bool const isCaught = handled >> (signal - 1) & 1;
    if (isCaught == isHandled) return handled;
    ::usleep(500);
  }
  return 0;
}

unsigned long Program::getNbThreads() const { return std::stoul(readStatus("Threads")); }

/** Takes what is there on both streams; false at the end of both. */
bool Program::readOnce() {
  pollfd streams[2] = {{m_out, POLLIN, 0}, {m_err, POLLIN, 0}};
  ::poll(streams, 2, -1);
  for (pollfd const& stream : streams) {
    if (stream.fd < 0 || stream.revents == 0) continue;
    char buffer[65536];
    ssize_t const got = ::read(stream.fd, buffer, sizeof buffer);
    bool const isOut = stream.fd == m_out;
    if (got > 0) {
      (isOut ? m_outcome.out : m_outcome.err).append(buffer, static_cast<std::size_t>(got));
    } else {
      ::close(stream.fd);
      (isOut ? m_out : m_err) = -1;
    }
  }
  return m_out >= 0 || m_err >= 0;
}

bool Program::waitForError(std::string const& text) {
  while (m_outcome.err.find(text) == std::string::npos) {
    if (!readOnce()) return false;
  }
  return true;
}

Outcome Program::wait() {
  while ((m_out >= 0 || m_err >= 0) && readOnce()) {
  }
  int status = 0;
  rusage usage{};
  ::wait4(m_process, &status, 0, &usage);
  m_process = -1;
  if (WIFEXITED(status)) m_outcome.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) m_outcome.signal = WTERMSIG(status);
  m_outcome.peakKilobytes = usage.ru_maxrss;
  for (timeval const& time : {usage.ru_utime, usage.ru_stime}) {
    m_outcome.processorSeconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  }
  return m_outcome;
}

bool hasPlainMemory() { return !host_test::isSanitized(); }

}  // namespace test
