#pragma once

#include "base/Disk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <span>
#include <string>

/// A disk of named byte ranges in memory, read-only, so that a fuzz run touches no file.
class MemoryDisk : public zrk::Disk {
 public:
  using Bytes = std::span<const unsigned char>;

  /// The bytes must outlive the disk.
  void Add(const std::string& path, Bytes bytes) { files_[path] = bytes; }

  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override {
    const auto hit = files_.find(path);
    if (hit == files_.end()) return ENOENT;
    if (how.write) return EROFS;
    file = std::make_shared<File>(hit->second);
    return 0;
  }
  int Rename(const std::string&, const std::string&) override { return EROFS; }
  int Remove(const std::string&) override { return EROFS; }
  int SyncFolder(const std::string&) override { return EROFS; }
  bool Exists(const std::string& path) override { return files_.contains(path); }
  /// All files are of the same time.
  int GetStatus(const std::string& path, zrk::FileStatus& status) override {
    const auto hit = files_.find(path);
    if (hit == files_.end()) return ENOENT;
    status = {static_cast<std::int64_t>(hit->second.size()), 0, 0};
    return 0;
  }

 private:
  class Map : public zrk::DiskMap {
   public:
    explicit Map(Bytes bytes) : bytes_(bytes) {}
    const unsigned char* Data() const override { return bytes_.data(); }
    std::int64_t Size() const override { return static_cast<std::int64_t>(bytes_.size()); }

   private:
    Bytes bytes_;
  };

  class File : public zrk::DiskFile {
   public:
    explicit File(Bytes bytes) : bytes_(bytes) {}
    std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
      if (offset < 0 || count < 0) return -EINVAL;
      const std::int64_t available = std::max<std::int64_t>(Size() - offset, 0);
      const auto numBytes = static_cast<std::size_t>(std::min(available, count));
      if (numBytes > 0) std::memcpy(buffer, bytes_.data() + offset, numBytes);
      return static_cast<std::int64_t>(numBytes);
    }
    int WriteAt(std::int64_t, const void*, std::int64_t) override { return EROFS; }
    std::int64_t Size() override { return static_cast<std::int64_t>(bytes_.size()); }
    int SetSize(std::int64_t) override { return EROFS; }
    int Preallocate(std::int64_t) override { return EROFS; }
    int Sync() override { return 0; }
    std::unique_ptr<zrk::DiskMap> Map() override {
      return bytes_.empty() ? nullptr : std::make_unique<MemoryDisk::Map>(bytes_);
    }

   private:
    Bytes bytes_;
  };

  std::map<std::string, Bytes> files_;
};
