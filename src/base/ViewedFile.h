#pragma once

#include "base/Disk.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

namespace zrk {

/// An open file of which small pieces are copied out of a mapping, and large ones read.
///
/// Calls for a large piece cost little beside its bytes, which then don't stay in the process, and a file that is cut
/// while they are read is an error. Small ones are quicker out of the mapping; a file that is cut in the instant in
/// which one is copied raises a signal. For many threads at once.
class ViewedFile {
 public:
  explicit ViewedFile(std::shared_ptr<DiskFile> file) : file_(std::move(file)) {}

  /// What the file holds now, for work that copies `numBytes` of it at once; empty where those are better read, or
  /// where there is no mapping.
  std::span<const unsigned char> View(std::int64_t numBytes) const;
  DiskFile& File() const { return *file_; }
  const std::shared_ptr<DiskFile>& Share() const { return file_; }

 private:
  std::shared_ptr<DiskFile> file_;
  mutable std::once_flag isMapped_;
  mutable std::unique_ptr<DiskMap> map_;
};

}  // namespace zrk
