#pragma once

#include "writers/globe/DoneRecord.h"
#include "writers/globe/ExportFile.h"
#include "writers/globe/StorePlan.h"

namespace zrk {

/// An export that can be gone on with: its file, and the record of done tiles beside it under the same name with
/// ".done" behind it. A process that makes all of it holds it alone; shards share it.
struct ExportSession {
  std::shared_ptr<ExportFile> file;
  std::unique_ptr<DoneRecord> record;
  std::shared_ptr<DiskFile> lock;  ///< keeps others from beginning anew
  bool isWhole = false;            ///< the file has been made and taken away; nothing else is set

  /// Goes on with what was begun, where that is asked for, or begins. `plan` has to outlive the session. False with
  /// the reason in `err`.
  bool Open(const XString& path, const StorePlan& plan, const tagXGlobeShare& share, XString& err);
};

/// The name of the record beside a file.
std::string RecordPath(const XString& path);

}  // namespace zrk
