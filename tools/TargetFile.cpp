#include "TargetFile.h"

#include "Interrupt.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace {

bool IsSameFile(const struct stat& status, const std::string& path) {
  struct stat other;
  return ::stat(path.c_str(), &other) == 0 && status.st_dev == other.st_dev && status.st_ino == other.st_ino;
}

/// A folder that can't be synced does not make the files in it any less whole.
void SyncFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

}  // namespace

bool IsSpecialFile(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

std::string CannotWrite(const std::string& name) {
  return "can't write " + name + " (" + std::strerror(errno) + ")";
}

TargetFile::~TargetFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (unfinished_.empty()) return;
  ::unlink(unfinished_.c_str());
  SetUnfinishedFile("");
}

bool TargetFile::Fail(std::string& err) const {
  err = CannotWrite(path_);
  return false;
}

/// Never an existing file, whoever has put it there.
bool TargetFile::Create() {
  const std::string stem = path_ + ".part" + std::to_string(::getpid());
  std::string name = stem;
  for (int i = 1;; ++i) {
    descriptor_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0 || errno != EEXIST) break;
    name = stem + "-" + std::to_string(i);
  }
  if (descriptor_ < 0) return false;
  unfinished_ = name;
  SetUnfinishedFile(name);
  return true;
}

bool TargetFile::Begin(const std::string& path, const std::string& input, std::string& err) {
  path_ = path;
  struct stat status;
  const bool exists = ::stat(path.c_str(), &status) == 0;
  if (exists && IsSameFile(status, input)) {
    err = "the output would take the place of this file";
    return false;
  }
  if (exists && !S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return Fail(err);
  }
  return Create() || Fail(err);
}

bool TargetFile::Commit(std::string& err) {
  if (::fsync(descriptor_) != 0 || ::rename(unfinished_.c_str(), path_.c_str()) != 0) return Fail(err);
  unfinished_.clear();
  SetUnfinishedFile("");
  SyncFolderOf(path_);
  return true;
}
