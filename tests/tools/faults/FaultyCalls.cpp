// A library to be loaded before a program's own, which makes one system call of the program fail.
//
// Calls that concern files in the folder ZRK_FAULT_FOLDER are counted from 1. One of them fails with an error of the
// medium, finds the disk full, or moves less than was asked for. The last applies to reads and writes, and other calls
// then do what they should. One may also be followed by two signals to end, which the program gets before its next
// instruction. Each counted call is a line of the file ZRK_FAULT_LOG: what it is, the name of the file, and "failed"
// where something befell it. What the program has left open or mapped at its end makes the last lines. Which
// file a descriptor leads to is asked of the system each time, so that copies of descriptors count too.
//
// Nearly all the time of a small run would go into loading the program's many libraries. They are therefore loaded
// once, and the process becomes a server: it forks for each order that comes by standard input, which is a socket. The
// child goes on as the program, and how it ended is the answer. What it prints goes to files named as the log, ending
// in ".out" and ".err".

#include "faults/FaultOrder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

/// The function that would be called if this library were not here.
template <class Function>
Function* FindReal(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::string Setting(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

bool IsWatched(const std::string& path) {
  static const std::string folder = Setting("ZRK_FAULT_FOLDER");
  return !folder.empty() && path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::string PathOf(int descriptor) {
  char path[PATH_MAX];
  const ssize_t length = ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path, sizeof path);
  return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : "";
}

void Log(const std::string& line) {
  static const auto openReally = FindReal<int(const char*, int, ...)>("open");
  static const auto writeReally = FindReal<ssize_t(int, const void*, std::size_t)>("write");
  static const int log = openReally(Setting("ZRK_FAULT_LOG").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (writeReally(log, line.data(), line.size()) < 0) ::_exit(126);
}

FaultOrder order;  // of this process

/// What is to become of this call.
Fault Count(const char* kind, const std::string& path) {
  static std::atomic<int> count = 0;
  if (!IsWatched(path)) return Fault::kNone;
  const int error = errno;
  const Fault fault = ++count == order.call ? order.fault : Fault::kNone;
  const std::string name = std::filesystem::path(path.ends_with('/') ? path + "." : path).filename();
  Log(std::string(kind) + " " + name + (fault == Fault::kNone ? "\n" : " failed\n"));
  errno = error;
  return fault;
}

/// The error that a call fails with, or 0 where it is to do what it should.
int ErrorOf(Fault fault) {
  if (fault == Fault::kFull) return ENOSPC;
  return fault == Fault::kError ? EIO : 0;
}

int CountCall(const char* kind, const std::string& path) {
  return ErrorOf(Count(kind, path));
}

/// The process is stopped while they are sent, so that both come at once.
void SendSignals(Fault fault) {
  if (fault != Fault::kSignals) return;
  const int error = errno;
  sigset_t both, before;
  ::sigemptyset(&both);
  for (const int signalNumber : {SIGINT, SIGTERM}) ::sigaddset(&both, signalNumber);
  ::pthread_sigmask(SIG_BLOCK, &both, &before);
  for (const int signalNumber : {SIGINT, SIGTERM}) ::kill(::getpid(), signalNumber);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
}

/// Moves bytes by `move`, which is given how many, unless they are not to be moved.
template <class Move>
ssize_t MoveBytes(const char* kind, int descriptor, std::size_t count, const Move& move) {
  const Fault fault = Count(kind, PathOf(descriptor));
  if (const int error = ErrorOf(fault)) {
    errno = error;
    return -1;
  }
  const ssize_t moved = move(fault == Fault::kShort ? (count + 1) / 2 : count);
  SendSignals(fault);
  return moved;
}

/// Calls `call` unless it has to fail; for calls that answer -1 with an error.
template <class Call>
auto CallUnlessFailing(const char* kind, const std::string& path, const Call& call) -> decltype(call()) {
  const Fault fault = Count(kind, path);
  if (const int error = ErrorOf(fault)) {
    errno = error;
    return -1;
  }
  const auto result = call();
  SendSignals(fault);
  return result;
}

const char* KindOfOpen(int flags) {
  return flags & O_CREAT ? "create" : "open";
}

bool IsForWriting(int descriptor) {
  return (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

void Redirect(int descriptor, const std::string& path) {
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (::dup2(file, descriptor) < 0) ::_exit(126);
  ::close(file);
}

/// Becomes the program. One that hangs is ended by SIGALRM.
void GoOn() {
  constexpr unsigned kMaxSeconds = 120;
  const std::string log = Setting("ZRK_FAULT_LOG");
  Redirect(STDIN_FILENO, "/dev/null");
  Redirect(STDOUT_FILENO, log + ".out");
  Redirect(STDERR_FILENO, log + ".err");
  ::alarm(kMaxSeconds);
}

/// Returns in each child. The server itself ends with its orders.
__attribute__((constructor)) void Serve() {
  while (::read(STDIN_FILENO, &order, sizeof order) == sizeof order) {
    const pid_t child = ::fork();
    if (child == 0) return GoOn();
    int status = -1;
    ::waitpid(child, &status, 0);
    if (::write(STDIN_FILENO, &status, sizeof status) != sizeof status) break;
  }
  ::_exit(0);
}

__attribute__((destructor)) void LogWhatIsLeft() {
  for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
    const std::string path = PathOf(std::stoi(each.path().filename()));
    if (IsWatched(path)) Log("left-open " + path + "\n");
  }
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    const std::size_t slash = line.find('/');
    if (slash != std::string::npos && IsWatched(line.substr(slash))) Log("left-mapped " + line.substr(slash) + "\n");
  }
  Log("end of process\n");
}

}  // namespace

#define ZRK_EXPORT extern "C" __attribute__((visibility("default")))

// Programs call these by two names, which do the same where a file offset has 64 bits.

#define ZRK_WRAP_OPEN(name)                                                                     \
  ZRK_EXPORT int name(const char* path, int flags, ...) {                                       \
    static const auto real = FindReal<int(const char*, int, ...)>(#name);                       \
    va_list rest;                                                                               \
    va_start(rest, flags);                                                                      \
    const mode_t mode = va_arg(rest, mode_t);                                                   \
    va_end(rest);                                                                               \
    return CallUnlessFailing(KindOfOpen(flags), path, [&] { return real(path, flags, mode); }); \
  }
ZRK_WRAP_OPEN(open)
ZRK_WRAP_OPEN(open64)

#define ZRK_WRAP_PREAD(name)                                                                                         \
  ZRK_EXPORT ssize_t name(int descriptor, void* buffer, std::size_t count, off_t offset) {                           \
    static const auto real = FindReal<ssize_t(int, void*, std::size_t, off_t)>(#name);                               \
    return MoveBytes("read", descriptor, count, [&](std::size_t n) { return real(descriptor, buffer, n, offset); }); \
  }
ZRK_WRAP_PREAD(pread)
ZRK_WRAP_PREAD(pread64)

#define ZRK_WRAP_PWRITE(name)                                                                                         \
  ZRK_EXPORT ssize_t name(int descriptor, const void* buffer, std::size_t count, off_t offset) {                      \
    static const auto real = FindReal<ssize_t(int, const void*, std::size_t, off_t)>(#name);                          \
    return MoveBytes("write", descriptor, count, [&](std::size_t n) { return real(descriptor, buffer, n, offset); }); \
  }
ZRK_WRAP_PWRITE(pwrite)
ZRK_WRAP_PWRITE(pwrite64)

#define ZRK_WRAP_RESIZE(name)                                                                       \
  ZRK_EXPORT int name(int descriptor, off_t size) noexcept {                                        \
    static const auto real = FindReal<int(int, off_t)>(#name);                                      \
    return CallUnlessFailing("resize", PathOf(descriptor), [&] { return real(descriptor, size); }); \
  }
ZRK_WRAP_RESIZE(ftruncate)
ZRK_WRAP_RESIZE(ftruncate64)

#define ZRK_WRAP_ALLOCATE(name)                                       \
  ZRK_EXPORT int name(int descriptor, off_t offset, off_t size) {     \
    static const auto real = FindReal<int(int, off_t, off_t)>(#name); \
    const int error = CountCall("allocate", PathOf(descriptor));      \
    return error ? error : real(descriptor, offset, size);            \
  }
ZRK_WRAP_ALLOCATE(posix_fallocate)
ZRK_WRAP_ALLOCATE(posix_fallocate64)

#define ZRK_WRAP_MAP(name)                                                                                             \
  ZRK_EXPORT void* name(void* place, std::size_t size, int access, int flags, int descriptor, off_t offset) noexcept { \
    static const auto real = FindReal<void*(void*, std::size_t, int, int, int, off_t)>(#name);                         \
    const int error = descriptor < 0 ? 0 : CountCall("map", PathOf(descriptor));                                       \
    if (!error) return real(place, size, access, flags, descriptor, offset);                                           \
    errno = error;                                                                                                     \
    return MAP_FAILED;                                                                                                 \
  }
ZRK_WRAP_MAP(mmap)
ZRK_WRAP_MAP(mmap64)

ZRK_EXPORT ssize_t read(int descriptor, void* buffer, std::size_t count) {
  static const auto real = FindReal<ssize_t(int, void*, std::size_t)>("read");
  return MoveBytes("read", descriptor, count, [&](std::size_t n) { return real(descriptor, buffer, n); });
}

ZRK_EXPORT ssize_t write(int descriptor, const void* buffer, std::size_t count) {
  static const auto real = FindReal<ssize_t(int, const void*, std::size_t)>("write");
  return MoveBytes("write", descriptor, count, [&](std::size_t n) { return real(descriptor, buffer, n); });
}

ZRK_EXPORT int fsync(int descriptor) {
  static const auto real = FindReal<int(int)>("fsync");
  return CallUnlessFailing("sync", PathOf(descriptor), [&] { return real(descriptor); });
}

ZRK_EXPORT int rename(const char* from, const char* to) noexcept {
  static const auto real = FindReal<int(const char*, const char*)>("rename");
  return CallUnlessFailing("rename", to, [&] { return real(from, to); });
}

ZRK_EXPORT int unlink(const char* path) noexcept {
  static const auto real = FindReal<int(const char*)>("unlink");
  return CallUnlessFailing("unlink", path, [&] { return real(path); });
}

/// A close that fails has closed the descriptor nevertheless.
ZRK_EXPORT int close(int descriptor) {
  static const auto real = FindReal<int(int)>("close");
  const int error = CountCall(IsForWriting(descriptor) ? "close-written" : "close", PathOf(descriptor));
  const int result = real(descriptor);
  if (!error) return result;
  errno = error;
  return -1;
}
