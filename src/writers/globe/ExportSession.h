#pragma once

#include "writers/globe/DoneRecord.h"
#include "writers/globe/ExportFile.h"
#include "writers/globe/StorePlan.h"

namespace zrk {

struct DiskOpen;

/// One call's hold on the file of an export, and on the record of done tiles beside it under the same name with ".done"
/// behind it. A process that makes all of it holds the record alone; shards hold it together. For one thread.
class ExportSession {
 public:
  /// What is given has to outlive the session.
  ExportSession(const XString& path, const StorePlan& plan, const tagXGlobeShare& share);
  ~ExportSession();

  // All answer false with the reason in `err`.

  /// Makes the file, and keeps no record.
  bool Create(XString& err);
  /// Goes on with what was begun, where that is asked for, or begins.
  bool Open(XString& err);
  /// Opens file and record anew, so that what other machines have written is seen also where a file system on a network
  /// looks only then.
  bool SeeOthers(XString& err);
  /// Gives the file the name that it is to have when all its tiles are done, which the caller has found they are.
  /// `IsWhole` tells afterwards whether it has it. Where it has not, another process holds the record, and names the
  /// file at its own end.
  bool Publish(XString& err);
  /// Removes a file without a tile of use, and its record.
  void Discard();

  /// Whether the file is whole and has its name. It is no longer open then.
  bool IsWhole() const { return isWhole_; }
  const std::shared_ptr<ExportFile>& GetFile() const { return file_; }
  /// Returns null where none is kept.
  DoneRecord* GetRecord() const { return record_.get(); }

 private:
  bool IsShared() const { return share_.numShards > 1; }
  bool OpenAlone(XString& err);
  bool OpenTogether(XString& err);
  bool OpenRecord(const DiskOpen& how);
  bool TakeAlone();
  bool TakeTogether();
  void LetGo();
  bool HasName(const DoneRecord::Status& status) const;
  bool IsUnfinishedOfAnother(const DoneRecord::Status& status) const;
  bool GoOn();
  bool Begin(XString& err);
  bool TakeOver();
  bool AreAllDone() const;
  bool NameFile(XString& err);

  const XString& path_;
  const StorePlan& plan_;
  const tagXGlobeShare& share_;
  std::uint64_t key_;
  std::shared_ptr<DiskFile> lock_;  // the record's file, which the lock goes with
  std::unique_ptr<DoneRecord> record_;
  std::shared_ptr<ExportFile> file_;
  bool isWhole_ = false;
};

/// The name of the record beside a file.
std::string RecordPath(const XString& path);

}  // namespace zrk
