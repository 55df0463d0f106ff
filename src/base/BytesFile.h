#pragma once

#include "base/Disk.h"

#include <algorithm>
#include <cerrno>
#include <span>

namespace zrk {

/// Bytes in memory as an open file that can only be read. They must outlive it. For readers of files that are given one
/// which lies within another.
class BytesFile final : public DiskFile {
 public:
  explicit BytesFile(std::span<const unsigned char> bytes) : bytes_(bytes) {}

  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
    if (offset < 0 || count < 0) return -EINVAL;
    const std::int64_t got = std::clamp<std::int64_t>(std::ssize(bytes_) - offset, 0, count);
    if (got > 0) std::copy_n(bytes_.data() + offset, got, static_cast<unsigned char*>(buffer));
    return got;
  }
  std::int64_t Size() override { return std::ssize(bytes_); }
  int WriteAt(std::int64_t, const void*, std::int64_t) override { return EROFS; }
  int SetSize(std::int64_t) override { return EROFS; }
  int Preallocate(std::int64_t) override { return EROFS; }
  int Sync() override { return 0; }
  std::unique_ptr<DiskMap> Map() override { return nullptr; }

 private:
  std::span<const unsigned char> bytes_;
};

}  // namespace zrk
