// A file is written under a name of its own beside its target, and renamed when all of it is on the disk. Whoever opens
// the target finds the old file or the new one, whole. What was begun is removed where the work fails, is stopped, or
// is ended by a second signal.
//
// The name holds the process's number, and a number more where that name is taken. Symbolic links are followed, so that
// they go on leading to the file.

#include "output/TargetFile.h"

#include "Interrupt.h"
#include "output/InputFiles.h"
#include "XPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

namespace {

/// Fails where there is a file of the name, whoever has put it there.
int CreateNew(const std::string& path) {
  return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}

/// The new name is in the folder, which has a sync of its own. A folder that can't be synced does not make the files in
/// it any less whole.
void SyncFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

}  // namespace

std::string FollowLinks(const std::string& path) {
  constexpr int kMaxLinks = 40;  // as many as the system itself follows
  std::filesystem::path place = path;
  std::error_code error;
  for (int i = 0; i < kMaxLinks && std::filesystem::is_symlink(place, error); ++i) {
    const std::filesystem::path next = std::filesystem::read_symlink(place, error);
    if (error) break;
    place = next.is_absolute() ? next : place.parent_path() / next;
  }
  return place.string();
}

std::string WithoutExtension(const std::string& path) {
  return XfnGetFileFolder(path).AsStdString() + XfnGetFileTitle(path).AsStdString();
}

bool IsSpecialFile(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

/// A rename would put a file in the place of a pipe or a device, and fails for a folder only in the end.
bool CanBeReplaced(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return true;
  errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return false;
}

std::string CannotWrite(const std::string& name) {
  return "can't write " + name + " (" + std::strerror(errno) + ")";
}

TargetFile::TargetFile(std::string extension, std::string companion)
    : extension_(std::move(extension)), companion_(std::move(companion)) {}

TargetFile::~TargetFile() {
  Discard();
}

void TargetFile::Discard() {
  const SignalsHeldBack held;
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  if (unfinished_.empty()) return;
  ::unlink(unfinished_.c_str());
  unfinished_.clear();
  SetUnfinishedFile("");
}

bool TargetFile::Fail(std::string& err) const {
  err = CannotWrite(path_);
  return false;
}

/// Creates both files or none, with the reason in `errno`. A signal may not come between a file and its name in the
/// list of those to remove.
bool TargetFile::CreateAs(const std::string& stem) {
  const SignalsHeldBack held;
  const std::string name = stem + extension_, companionName = stem + companion_;
  descriptor_ = CreateNew(name);
  if (descriptor_ < 0) return false;
  unfinished_ = name;
  SetUnfinishedFile(name);
  if (companion_.empty()) return true;
  const int descriptor = CreateNew(companionName);
  if (descriptor >= 0) {
    ::close(descriptor);
    SetUnfinishedFile(name, companionName);
    return true;
  }
  // Clearing up may fail too and would hide the reason.
  const int reason = errno;
  Discard();
  errno = reason;
  return false;
}

/// The name of another unfinished file is left alone, since another job may be writing it.
bool TargetFile::Create() {
  const std::string title = extension_.empty() ? target_ : WithoutExtension(target_);
  const std::string first = title + ".part" + std::to_string(::getpid());
  std::string stem = first;
  for (int i = 1; !CreateAs(stem); ++i) {
    if (errno != EEXIST) return false;
    stem = first + "-" + std::to_string(i);
  }
  return true;
}

bool TargetFile::Begin(const std::string& path, const std::string& input, std::string& err) {
  path_ = path;
  target_ = FollowLinks(path);
  // The image is still being read while its own file would be replaced.
  if (WouldReplaceInput(path, input, err)) return false;
  return (CanBeReplaced(path) && Create()) || Fail(err);
}

/// Brings the file to the disk. Some disks report a lost write only when the descriptor is closed.
bool TargetFile::IsWritten() {
  if (::fsync(descriptor_) != 0) return false;
  return ::close(std::exchange(descriptor_, -1)) == 0;
}

/// The rename puts the new file in the place of the old one in a single step.
bool TargetFile::Commit(std::string& err) {
  if (!IsWritten() || ::rename(unfinished_.c_str(), target_.c_str()) != 0) return Fail(err);
  unfinished_.clear();
  SetUnfinishedFile("");
  SyncFolderOf(target_);
  return true;
}
