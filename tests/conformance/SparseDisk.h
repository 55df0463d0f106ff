#pragma once

#include "base/Disk.h"

#include <cstdint>
#include <memory>
#include <string>

/// The system's disk, but of what is written only the parts that are not all zeros take room, and only they take time.
/// It never runs full.
class SparseDisk : public zrk::Disk {
 public:
  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override;
  int Rename(const std::string& from, const std::string& to) override { return zrk::SystemDisk().Rename(from, to); }
  int Remove(const std::string& path) override { return zrk::SystemDisk().Remove(path); }
  int SyncFolder(const std::string& folder) override { return zrk::SystemDisk().SyncFolder(folder); }
  bool Exists(const std::string& path) override { return zrk::SystemDisk().Exists(path); }
  bool AreSame(const std::string& one, const std::string& other) override {
    return zrk::SystemDisk().AreSame(one, other);
  }
  int CountFreeBytes(const std::string&, std::int64_t& bytes) override {
    bytes = INT64_MAX;
    return 0;
  }
};
