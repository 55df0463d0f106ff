#include "faults/FaultyProgram.h"

#include "TempFolder.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdlib>
#include <stdexcept>

namespace {

std::string ReadText(const std::string& path) {
  const std::vector<unsigned char> bytes = ReadBytes(path);
  return std::string(bytes.begin(), bytes.end());
}

[[noreturn]] void BecomeServer(const std::vector<std::string>& command, int socket) {
  ::dup2(socket, STDIN_FILENO);
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  ::execv(arguments[0], arguments.data());
  ::_exit(127);
}

}  // namespace

FaultyProgram::FaultyProgram(const std::vector<std::string>& command, const std::string& folder, const std::string& log)
    : log_(log) {
  int sockets[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) throw std::runtime_error("no socket");
  server_ = ::fork();
  if (server_ == 0) {
    ::setenv("ZRK_FAULT_FOLDER", folder.c_str(), 1);
    ::setenv("ZRK_FAULT_LOG", log.c_str(), 1);
    ::setenv("LD_PRELOAD", ZRK_FAULTY_CALLS, 1);
    BecomeServer(command, sockets[1]);
  }
  ::close(sockets[1]);
  socket_ = sockets[0];
}

FaultyProgram::~FaultyProgram() {
  ::close(socket_);
  ::waitpid(server_, nullptr, 0);
}

ProgramResult FaultyProgram::Run(const FaultOrder& order) {
  ::unlink(log_.c_str());
  int status = 0;
  if (::send(socket_, &order, sizeof order, MSG_NOSIGNAL) != sizeof order ||
      ::recv(socket_, &status, sizeof status, MSG_WAITALL) != sizeof status) {
    throw std::runtime_error("the program can't be run");
  }
  ProgramResult result;
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = ReadText(log_ + ".out");
  result.err = ReadText(log_ + ".err");
  return result;
}
