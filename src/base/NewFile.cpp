#include "base/NewFile.h"

#include "base/Disk.h"
#include "XPath.h"

namespace zrk {
namespace {

/// The folder holds the name, so that it is the folder that has to be synced after a name was given.
std::string FolderOf(const std::string& path) {
  return XfnGetFileFolder(path).AsStdString();
}

/// The file is opened to write, since an empty file that can't be written is no place for a new one.
bool IsEmptyFile(const std::string& path) {
  XFile file;
  return file.Open(path, XFile::kReadWrite | XFile::kShareDenyNone) && file.GetLength() == 0;
}

}  // namespace

NewFile::~NewFile() {
  // The name is removed before the lock is given back. While the file is held nobody else can have begun one of its
  // name.
  if (IsBegun()) CurrentDisk().Remove(unfinished_);
  End();
}

void NewFile::End() {
  file_.Close();
  unfinished_.clear();
}

/// The file is opened exclusively, so that two savers of one name can't write into each other where the file system
/// knows locks. The second one is refused before it has emptied anything.
bool NewFile::Create(const std::string& name) {
  if (!file_.Open(name, XFile::kReadWrite | XFile::kShareExclusive | XFile::kCreate)) return false;
  unfinished_ = name;
  return true;
}

/// The link is followed before the name is extended, because the unfinished file has to lie in the folder of the true
/// target: a file can be renamed only within its file system.
bool NewFile::Begin(const XString& path) {
  return CurrentDisk().FollowLink(path.AsStdString(), target_) == 0 && Create(target_ + "_tmp");
}

bool NewFile::BeginOrFill(const XString& path) {
  if (CurrentDisk().FollowLink(path.AsStdString(), target_) != 0) return false;
  return Create(IsEmptyFile(target_) ? target_ : target_ + "_tmp");
}

void NewFile::DropOld() const {
  CurrentDisk().DropCached(target_);
}

/// The order is what makes a published file whole: sync, ask what a close would report, rename, sync the folder. The
/// name is given while the file is still held, so that nobody begins another one under the name that it has before.
bool NewFile::Publish() {
  if (!IsBegun() || !file_.Flush() || file_.GetDiskFile()->CheckClose() != 0) return false;
  if (unfinished_ != target_ && CurrentDisk().Rename(unfinished_, target_) != 0) return false;
  // The file is whole under its name by now. A folder that can't be synced does not make it any less so.
  CurrentDisk().SyncFolder(FolderOf(target_));
  End();
  return true;
}

/// A good old file is worth more than an unfinished new one, and so the name is taken only where it is free.
void NewFile::Leave() {
  if (!IsBegun()) return;
  if (!CurrentDisk().Exists(target_)) CurrentDisk().Rename(unfinished_, target_);
  End();
}

}  // namespace zrk
