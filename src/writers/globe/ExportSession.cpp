// Who makes all of an export holds the lock of its record to himself. Shards hold it together, so that nobody begins
// anew under them. A shard that finds nothing begun tries to get the lock alone and begins; another one that comes
// meanwhile waits for it. Locks go with the process that held them, so that a killed one leaves none behind.

#include "writers/globe/ExportSession.h"

#include "base/Disk.h"

#include <chrono>
#include <thread>

namespace zrk {

namespace {

constexpr int kMaxTries = 600;
constexpr std::chrono::milliseconds kBetweenTries{50};

/// FNV-1a, a published function that tells texts apart which differ by chance, of the sources and the header.
std::uint64_t HashOf(const XString& key, const ExportHead& head) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  const auto add = [&](unsigned char byte) { hash = (hash ^ byte) * 0x100000001b3u; };
  for (const char letter : key.AsStdString()) add(static_cast<unsigned char>(letter));
  for (const unsigned char byte : head.header) add(byte);
  return hash;
}

/// One try of opening a session.
class Opening {
 public:
  Opening(const XString& path, const StorePlan& plan, std::uint64_t key, ExportSession& session)
      : path_(path), plan_(plan), key_(key), session_(session) {}

  /// Takes the record for itself, which fails while another process has it.
  bool TakeAlone() {
    DiskOpen how;
    how.write = how.ensure = how.exclusive = true;
    return OpenRecord(how);
  }

  /// Takes the record together with others; false where there is none.
  bool TakeTogether() {
    DiskOpen reading;
    reading.denyWrite = true;
    if (CurrentDisk().Open(RecordPath(path_), reading, session_.lock) != 0) return false;
    DiskOpen how;
    how.write = true;
    return OpenRecord(how);
  }

  void LetGo() {
    session_.file.reset();
    session_.record.reset();
    session_.lock.reset();
  }

  /// Whether the whole file stands where the caller puts it, so that the last shard has done its work.
  bool IsWholeAt(const XString& target) const {
    FileStatus status;
    return !target.IsEmpty() && CurrentDisk().GetStatus(target.AsStdString(), status) == 0 &&
           status.length == plan_.head.fileBytes;
  }
  /// Takes away the record that was made by looking for one.
  void TellWhole() {
    LetGo();
    CurrentDisk().Remove(RecordPath(path_));
    session_.isWhole = true;
  }

  bool IsOfAnother() const { return session_.record->GetState() == DoneRecord::State::kOfAnother; }

  /// Finds the file that the record speaks of. It may have been begun and never finished being made.
  bool GoOn(FileUse use) {
    if (session_.record->GetState() != DoneRecord::State::kOfThis) return false;
    session_.file = ExportFile::Open(path_, plan_.head, use);
    session_.record->SetFile(session_.file);
    return session_.file != nullptr;
  }

  /// The record is empty on the disk before the file is made, so that it never speaks of tiles that are not there.
  bool Begin(FileUse use, const char* sentence, XString& err) {
    const bool isForgotten = session_.record->Forget();
    if (isForgotten) session_.file = ExportFile::Create(path_, plan_.head, use);
    session_.record->SetFile(session_.file);
    if (session_.file && session_.file->Sync() && session_.record->Begin()) return true;
    err = session_.file || !isForgotten ? "Fail to write the record of tiles that are done" : sentence;
    CurrentDisk().Remove(RecordPath(path_));
    return false;
  }

 private:
  bool OpenRecord(const DiskOpen& how) {
    std::shared_ptr<DiskFile> file;
    if (CurrentDisk().Open(RecordPath(path_), how, file) != 0) return false;
    session_.record = std::make_unique<DoneRecord>(std::move(file), plan_.tiles, key_);
    return true;
  }

  const XString& path_;
  const StorePlan& plan_;
  std::uint64_t key_;
  ExportSession& session_;
};

bool Refuse(XString& err) {
  err = "The unfinished file was begun with other sources or options";
  return false;
}

bool OpenAlone(Opening& opening, bool resumes, const char* cannotCreate, XString& err) {
  if (!opening.TakeAlone()) {
    err = "Another process is making the file, or there can be no record beside it";
    return false;
  }
  if (resumes && opening.IsOfAnother()) return Refuse(err);
  return (resumes && opening.GoOn(FileUse::kAlone)) || opening.Begin(FileUse::kAlone, cannotCreate, err);
}

/// True where the file was begun, by this shard or another one, false where it can't be, with the reason in `err`.
bool OpenTogether(Opening& opening, const XString& target, const char* cannotCreate, XString& err) {
  for (int i = 0; i < kMaxTries; ++i) {
    if (i > 0) std::this_thread::sleep_for(kBetweenTries);
    if (opening.TakeTogether()) {
      if (opening.GoOn(FileUse::kShared)) return true;
      if (opening.IsOfAnother()) return Refuse(err);
    }
    opening.LetGo();
    if (!opening.TakeAlone()) continue;
    if (opening.IsOfAnother()) return Refuse(err);
    const bool goesOn = opening.GoOn(FileUse::kShared);
    if (!goesOn && opening.IsWholeAt(target)) {
      opening.TellWhole();
      return true;
    }
    const bool isBegun = goesOn || opening.Begin(FileUse::kShared, cannotCreate, err);
    opening.LetGo();
    if (!isBegun) return false;
  }
  err = "Another process is making the file, or there can be no record beside it";
  return false;
}

}  // namespace

std::string RecordPath(const XString& path) {
  return path.AsStdString() + ".done";
}

bool ExportSession::Open(const XString& path, const StorePlan& plan, const tagXGlobeShare& share, XString& err) {
  const bool isElevation = !plan.levels.empty() && plan.levels.front().blockType == 0;
  Opening opening(path, plan, HashOf(share.key, plan.head), *this);
  const char* const cannotCreate = isElevation ? "Fail to crate PBE file" : "Fail to crate PBI file";
  if (share.numShards == 1) return OpenAlone(opening, share.resumes, cannotCreate, err);
  return OpenTogether(opening, share.target, cannotCreate, err);
}

}  // namespace zrk
