// Who may work on an export at a time. A call that makes a whole export holds the lock of its record exclusively.
// Shards share the lock, so that no call begins the export anew while a shard works. A shard that finds no file tries
// to get the lock exclusively and begins the file. Other shards wait for it meanwhile. Locks end with their process, so
// that a killed process leaves none behind.
//
// A call that holds the record exclusively gives the whole file its name. First it notes in the record when the file
// was last written, and then it renames. A call after a kill finds one of two things. If the file has its first name,
// the call continues it. If a file of the noted time has the last name, there is nothing to do. The record of a shared
// export stays, so that a late shard finds that note. The record of another export whose file is whole does not prevent
// a new export.

#include "writers/globe/ExportSession.h"

#include "base/Disk.h"

#include <chrono>
#include <thread>
#include <utility>

namespace zrk {

namespace {

constexpr int kMaxTries = 600;
constexpr std::chrono::milliseconds kBetweenTries{50};
/// A record that loses its name while it is opened is another's that has just ended.
constexpr int kTriesAlone = 5;

constexpr const char* kIsTaken = "Another process is making the file, or there can be no record beside it";
constexpr const char* kIsOther = "The unfinished file was begun with other sources or options";
constexpr const char* kCannotNote = "Fail to write the record of tiles that are done";

/// FNV-1a, a published function that tells texts apart which differ by chance, of the sources and the header.
std::uint64_t HashOf(const XString& key, const ExportHead& head) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  const auto add = [&](unsigned char byte) { hash = (hash ^ byte) * 0x100000001b3u; };
  for (const char letter : key.AsStdString()) add(static_cast<unsigned char>(letter));
  for (const unsigned char byte : head.header) add(byte);
  return hash;
}

bool Refuse(XString& err, const char* sentence) {
  err = sentence;
  return false;
}

/// A folder that can't be synced does not make the file in it any less whole.
void SyncFolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  CurrentDisk().SyncFolder(slash == std::string::npos ? "." : path.substr(0, slash + 1));
}

}  // namespace

std::string RecordPath(const XString& path) {
  return path.AsStdString() + ".done";
}

ExportSession::ExportSession(const XString& path, const StorePlan& plan, const tagXGlobeShare& share)
    : path_(path), plan_(plan), share_(share), key_(HashOf(share.key, plan.head)) {}

ExportSession::~ExportSession() = default;

bool ExportSession::Create(XString& err) {
  file_ = ExportFile::Create(path_, plan_.head, FileUse::kAlone);
  return file_ || Refuse(err, plan_.WhyNotMade());
}

bool ExportSession::Open(XString& err) {
  return IsShared() ? OpenTogether(err) : OpenAlone(err);
}

/// The lock of a record that lost its name meanwhile keeps nobody away.
bool ExportSession::OpenRecord(const DiskOpen& how) {
  if (CurrentDisk().Open(RecordPath(path_), how, lock_) != 0) return false;
  if (!lock_->GoesBy(RecordPath(path_))) {
    LetGo();
    return false;
  }
  record_ = std::make_unique<DoneRecord>(lock_, plan_.tiles, key_);
  return true;
}

/// Fails while another process has the record.
bool ExportSession::TakeAlone() {
  DiskOpen how;
  how.write = how.ensure = how.exclusive = true;
  return OpenRecord(how);
}

/// Fails where there is no record, and while another process has it alone.
bool ExportSession::TakeTogether() {
  DiskOpen how;
  how.write = how.together = true;
  return OpenRecord(how);
}

void ExportSession::LetGo() {
  file_.reset();
  record_.reset();
  lock_.reset();
}

/// Whether the file that the record speaks of stands whole where the caller wants it.
bool ExportSession::HasName(const DoneRecord::Status& status) const {
  FileStatus named;
  return status.isOfThis && status.isWhole && !share_.target.IsEmpty() &&
         CurrentDisk().GetStatus(share_.target.AsStdString(), named) == 0 && named.length == plan_.head.fileBytes &&
         named.modified == status.modified;
}

bool ExportSession::IsUnfinishedOfAnother(const DoneRecord::Status& status) const {
  const bool isFinished = status.isWhole && !CurrentDisk().Exists(path_.AsStdString());
  return status.isRecord && !status.isOfThis && !isFinished;
}

/// Finds the file that the record speaks of. It may have been begun and never finished being made.
bool ExportSession::GoOn() {
  if (!record_->GetStatus().isOfThis) return false;
  file_ = ExportFile::Open(path_, plan_.head, IsShared() ? FileUse::kShared : FileUse::kAlone);
  record_->SetFile(file_);
  return file_ != nullptr;
}

/// The record is empty on the disk before the file is made, so that it never speaks of tiles that are not there.
bool ExportSession::Begin(XString& err) {
  const bool isForgotten = record_->Forget();
  if (isForgotten) file_ = ExportFile::Create(path_, plan_.head, IsShared() ? FileUse::kShared : FileUse::kAlone);
  record_->SetFile(file_);
  if (file_ && file_->Sync() && record_->Begin()) return true;
  err = file_ || !isForgotten ? kCannotNote : plan_.WhyNotMade();
  Discard();
  return false;
}

/// What stays of an export that was killed between the two last steps is cleared up.
bool ExportSession::OpenAlone(XString& err) {
  bool isTaken = TakeAlone();
  for (int i = 1; i < kTriesAlone && !isTaken; ++i) isTaken = TakeAlone();
  if (!isTaken) return Refuse(err, kIsTaken);
  if (!share_.resumes) return Begin(err);
  const DoneRecord::Status status = record_->GetStatus();
  if (HasName(status)) {
    isWhole_ = true;
    CurrentDisk().Remove(RecordPath(path_));
    LetGo();
    return true;
  }
  if (IsUnfinishedOfAnother(status)) return Refuse(err, kIsOther);
  return GoOn() || Begin(err);
}

/// True where the file was begun, by this shard or another one, or is whole.
bool ExportSession::OpenTogether(XString& err) {
  for (int i = 0; i < kMaxTries; ++i) {
    if (i > 0) std::this_thread::sleep_for(kBetweenTries);
    if (TakeTogether()) {
      if (IsUnfinishedOfAnother(record_->GetStatus())) return Refuse(err, kIsOther);
      if (GoOn()) return true;
    }
    LetGo();
    if (!TakeAlone()) continue;
    const DoneRecord::Status status = record_->GetStatus();
    if (IsUnfinishedOfAnother(status)) return Refuse(err, kIsOther);
    isWhole_ = HasName(status);
    const bool isBegun = isWhole_ || GoOn() || Begin(err);
    LetGo();
    if (isWhole_ || !isBegun) return isBegun;
  }
  return Refuse(err, kIsTaken);
}

/// The first handle stays open, because the lock goes with it.
bool ExportSession::SeeOthers(XString& err) {
  if (!IsShared()) return true;
  DiskOpen how;
  how.write = true;
  std::shared_ptr<DiskFile> record;
  if (CurrentDisk().Open(RecordPath(path_), how, record) != 0) {
    return Refuse(err, "Fail to read the record of tiles that are done");
  }
  file_ = ExportFile::Open(path_, plan_.head, FileUse::kShared);
  if (!file_) return Refuse(err, "The unfinished file can't be opened again");
  record_->UseRecord(std::move(record));
  record_->SetFile(file_);
  return true;
}

/// Shards that end at the same time keep the record from each other only for a moment.
bool ExportSession::TakeOver() {
  if (!IsShared()) return true;
  LetGo();
  for (int i = 0; i < kMaxTries; ++i) {
    if (i > 0) std::this_thread::sleep_for(kBetweenTries);
    if (TakeAlone()) return true;
  }
  return false;
}

bool ExportSession::AreAllDone() const {
  for (int i = 0; i < plan_.tiles.CountLevels(); ++i) {
    if (record_->CountDone(i, {0, plan_.tiles.CountUnits(i)}) != plan_.tiles.CountTiles(i)) return false;
  }
  return true;
}

/// Another shard may have been quicker, and somebody may even have begun another export since then.
bool ExportSession::Publish(XString& err) {
  if (share_.target.IsEmpty()) {
    isWhole_ = true;
    return true;
  }
  if (!TakeOver()) return true;
  const DoneRecord::Status status = record_->GetStatus();
  isWhole_ = HasName(status) || (status.isRecord && !status.isOfThis);
  const bool isNamed = isWhole_ || ((file_ || GoOn()) && AreAllDone() && NameFile(err));
  if (!isNamed && err.IsEmpty()) err = "Fail to read the record of tiles that are done";
  LetGo();
  return isNamed;
}

/// A rename keeps the time by which the file is known.
bool ExportSession::NameFile(XString& err) {
  const std::string target = share_.target.AsStdString();
  FileStatus status;
  if (!file_->Sync() || CurrentDisk().GetStatus(path_.AsStdString(), status) != 0 ||
      !record_->NoteWhole(status.modified)) {
    return Refuse(err, kCannotNote);
  }
  // Without locks two may come here at once, and the slower one finds the work done.
  if (CurrentDisk().Rename(path_.AsStdString(), target) != 0 && !HasName(record_->GetStatus())) {
    return Refuse(err, "The finished file can't take the name of its target");
  }
  SyncFolderOf(target);
  isWhole_ = true;
  if (IsShared()) {
    record_->ForgetTiles();
  } else {
    CurrentDisk().Remove(RecordPath(path_));
  }
  return true;
}

void ExportSession::Discard() {
  if (file_) CurrentDisk().Remove(path_.AsStdString());
  CurrentDisk().Remove(RecordPath(path_));
  LetGo();
}

}  // namespace zrk
