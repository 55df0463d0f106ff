#pragma once

#include "base/Disk.h"

#include <atomic>
#include <cerrno>
#include <cstdint>

/// The system's disk with calls counted, and made to fail on request. Calls are counted from 1 over all files.
class FaultyDisk : public zrk::Disk {
 public:
  /// The N-th read from now on's count fails with EIO; with `shortBy` above 0 it succeeds but answers that many bytes
  /// fewer.
  void FailRead(int nth, std::int64_t shortBy = 0);
  void FailWrite(int nth, int error = ENOSPC) { writes_.Set(nth, error); }
  void FailMap(int nth) { maps_.Set(nth, EIO); }
  void FailOpen(int nth, int error = EACCES) { opens_.Set(nth, error); }
  void FailSync(int nth) { syncs_.Set(nth, EIO); }
  void FailSetSize(int nth) { setSizes_.Set(nth, ENOSPC); }
  void FailClose(int nth) { closes_.Set(nth, EDQUOT); }
  void FailRename(int nth) { renames_.Set(nth, EIO); }
  /// Every folder has room for so many bytes from now on; -1 for what can't be told.
  void SetFreeBytes(std::int64_t bytes) { freeBytes_ = bytes; }

  int GetReadCount() const { return reads_.count; }
  int GetOpenCount() const { return opens_.count; }

  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override;
  int Rename(const std::string& from, const std::string& to) override;
  int Remove(const std::string& path) override { return zrk::SystemDisk().Remove(path); }
  int SyncFolder(const std::string& folder) override { return zrk::SystemDisk().SyncFolder(folder); }
  int CountFreeBytes(const std::string& path, std::int64_t& bytes) override;
  bool Exists(const std::string& path) override { return zrk::SystemDisk().Exists(path); }
  int ListFolder(const std::string& folder, std::vector<std::string>& names) override {
    return zrk::SystemDisk().ListFolder(folder, names);
  }
  int ResolveLinks(const std::string& path, std::string& resolved) override {
    return zrk::SystemDisk().ResolveLinks(path, resolved);
  }
  int FollowLink(const std::string& path, std::string& target) override {
    return zrk::SystemDisk().FollowLink(path, target);
  }
  bool AreSame(const std::string& one, const std::string& other) override {
    return zrk::SystemDisk().AreSame(one, other);
  }

 private:
  friend class FaultyFile;

  static constexpr std::int64_t kAsItIs = INT64_MIN;

  /// Calls of one kind, and which of them fails.
  struct Calls {
    /// The error of this call, or 0.
    int Next() { return ++count == failing ? error.load() : 0; }
    void Set(int nth, int errorNumber) {
      error = errorNumber;
      failing = nth;
    }
    std::atomic<int> count = 0;
    std::atomic<int> failing = 0;
    std::atomic<int> error = 0;
  };

  Calls reads_, writes_, maps_, opens_, syncs_, closes_, setSizes_, renames_;
  std::atomic<std::int64_t> shortBy_ = 0;
  std::atomic<std::int64_t> freeBytes_ = kAsItIs;
};
