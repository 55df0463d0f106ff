#include "base/NewFile.h"

#include "base/Disk.h"
#include "XPath.h"

namespace zrk {
namespace {

std::string FolderOf(const std::string& path) {
  return XfnGetFileFolder(path).AsStdString();
}

bool IsEmptyFile(const std::string& path) {
  XFile file;
  return file.Open(path, XFile::kReadWrite | XFile::kShareDenyNone) && file.GetLength() == 0;
}

}  // namespace

NewFile::~NewFile() {
  // While the file is held nobody else has begun one of its name.
  if (IsBegun()) CurrentDisk().Remove(unfinished_);
  End();
}

void NewFile::End() {
  file_.Close();
  unfinished_.clear();
}

bool NewFile::Create(const std::string& name) {
  if (!file_.Open(name, XFile::kReadWrite | XFile::kShareExclusive | XFile::kCreate)) return false;
  unfinished_ = name;
  return true;
}

bool NewFile::Begin(const XString& path) {
  return CurrentDisk().FollowLink(path.AsStdString(), target_) == 0 && Create(target_ + "_tmp");
}

bool NewFile::BeginOrFill(const XString& path) {
  if (CurrentDisk().FollowLink(path.AsStdString(), target_) != 0) return false;
  return Create(IsEmptyFile(target_) ? target_ : target_ + "_tmp");
}

/// The name is given while the file is still held, so that nobody begins another one under the name that it has before.
bool NewFile::Publish() {
  if (!IsBegun() || !file_.Flush() || file_.GetDiskFile()->CheckClose() != 0) return false;
  if (unfinished_ != target_ && CurrentDisk().Rename(unfinished_, target_) != 0) return false;
  // The file is whole under its name. A folder that can't be synced does not make it any less so.
  CurrentDisk().SyncFolder(FolderOf(target_));
  End();
  return true;
}

void NewFile::Leave() {
  if (!IsBegun()) return;
  if (!CurrentDisk().Exists(target_)) CurrentDisk().Rename(unfinished_, target_);
  End();
}

}  // namespace zrk
