#include "OutputFile.h"

#include "Interrupt.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

bool IsSpecial(const struct stat& status) {
  return !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

bool IsSameFile(const struct stat& status, const std::string& path) {
  struct stat other;
  return ::stat(path.c_str(), &other) == 0 && status.st_dev == other.st_dev && status.st_ino == other.st_ino;
}

}  // namespace

OutputFile::~OutputFile() {
  if (ownsDescriptor_) ::close(descriptor_);
  if (temporary_.empty()) return;
  ::unlink(temporary_.c_str());
  SetUnfinishedFile("");
}

bool OutputFile::Fail(std::string& err) const {
  err = "can't write " + path_ + " (" + std::strerror(errno) + ")";
  return false;
}

/// Never an existing file, whoever has put it there.
bool OutputFile::OpenTemporary() {
  const std::string stem = path_ + ".part" + std::to_string(::getpid());
  std::string name = stem;
  for (int i = 1;; ++i) {
    descriptor_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0 || errno != EEXIST) break;
    name = stem + "-" + std::to_string(i);
  }
  if (descriptor_ < 0) return false;
  temporary_ = name;
  SetUnfinishedFile(name);
  return true;
}

bool OutputFile::Open(const std::string& path, const std::string& input, std::string& err) {
  path_ = path;
  if (path == "-") {
    path_ = "standard output";
    descriptor_ = STDOUT_FILENO;
    return true;
  }
  struct stat status;
  const bool exists = ::stat(path.c_str(), &status) == 0;
  if (exists && IsSameFile(status, input)) {
    err = "the output would take the place of this file";
    return false;
  }
  if (exists && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return Fail(err);
  }
  const bool isDirect = exists && IsSpecial(status);
  if (isDirect) descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (isDirect ? descriptor_ < 0 : !OpenTemporary()) return Fail(err);
  ownsDescriptor_ = true;
  return true;
}

bool OutputFile::Write(const void* data, std::size_t count, std::string& err) {
  for (const char* next = static_cast<const char*>(data); count > 0;) {
    const ssize_t put = ::write(descriptor_, next, count);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return Fail(err);
    next += put;
    count -= static_cast<std::size_t>(put);
  }
  return true;
}

bool OutputFile::SyncFolder() const {
  const std::size_t slash = path_.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool isDone = ::fsync(descriptor) == 0;
  ::close(descriptor);
  return isDone;
}

bool OutputFile::Commit(std::string& err) {
  if (temporary_.empty()) return true;
  if (::fsync(descriptor_) != 0 || ::rename(temporary_.c_str(), path_.c_str()) != 0) return Fail(err);
  temporary_.clear();
  SetUnfinishedFile("");
  // A folder that can't be synced does not make the file any less whole.
  SyncFolder();
  return true;
}
