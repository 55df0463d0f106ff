#include "RunProgram.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace {

constexpr unsigned kMaxSeconds = 120;

std::string Drain(int descriptor) {
  std::string text;
  char buffer[4096];
  for (ssize_t got; (got = ::read(descriptor, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(got));
  ::close(descriptor);
  return text;
}

/// A test that is run in the background would hand down that it ignores interrupts.
void TakeSignalsAsUsual() {
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) std::signal(signalNumber, SIG_DFL);
}

[[noreturn]] void Become(const std::vector<std::string>& command) {
  ::alarm(kMaxSeconds);
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  ::execv(arguments[0], arguments.data());
  ::_exit(127);
}

void WaitFor(pid_t child, ProgramResult& result) {
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& command, const ProgramOptions& options) {
  int out[2], err[2];
  if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(err[1], STDERR_FILENO);
    TakeSignalsAsUsual();
    if (options.inChild) options.inChild();
    Become(command);
  }
  ::close(out[1]);
  ::close(err[1]);
  ProgramResult result;
  std::thread errReader([&] { result.err = Drain(err[0]); });
  if (options.whileRunning) options.whileRunning(child);
  result.out = Drain(out[0]);
  errReader.join();
  WaitFor(child, result);
  return result;
}

ProgramResult RunOnTerminal(const std::vector<std::string>& command, const Typist& typist, const Resizer& resizer) {
  int terminal = -1;
  const winsize size{24, 80, 0, 0};
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
  if (child < 0) throw std::runtime_error("no terminal");
  if (child == 0) {
    TakeSignalsAsUsual();
    Become(command);
  }
  ProgramResult result;
  char buffer[4096];
  for (ssize_t got; (got = ::read(terminal, buffer, sizeof buffer)) > 0;) {
    result.out.append(buffer, static_cast<std::size_t>(got));
    const int columns = resizer ? resizer(result.out) : 0;
    const winsize wanted{24, static_cast<unsigned short>(columns), 0, 0};
    if (columns > 0) ::ioctl(terminal, TIOCSWINSZ, &wanted);
    const std::string keys = typist ? typist(result.out) : "";
    if (!keys.empty() && ::write(terminal, keys.data(), keys.size()) < 0) break;
  }
  ::close(terminal);
  WaitFor(child, result);
  return result;
}
