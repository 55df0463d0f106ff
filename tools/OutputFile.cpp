#include "OutputFile.h"

#include "Interrupt.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

bool IsSpecial(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
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

bool OutputFile::Open(const std::string& path, std::string& err) {
  path_ = path;
  if (path == "-") {
    descriptor_ = STDOUT_FILENO;
    return true;
  }
  struct stat status;
  if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return Fail(err);
  }
  const bool isDirect = IsSpecial(path);
  const std::string name = isDirect ? path : path + ".part" + std::to_string(::getpid());
  descriptor_ = ::open(name.c_str(), O_WRONLY | O_CLOEXEC | (isDirect ? 0 : O_CREAT | O_TRUNC), 0666);
  if (descriptor_ < 0) return Fail(err);
  ownsDescriptor_ = true;
  if (isDirect) return true;
  temporary_ = name;
  SetUnfinishedFile(name);
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
