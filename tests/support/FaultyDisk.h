#pragma once

#include "base/Disk.h"

#include <atomic>
#include <cerrno>
#include <cstdint>

/// What becomes of a call that fails: an error of the medium, a full disk, or less read or written than was asked for.
/// Calls that move no bytes can't fall short, and then do what they should.
enum class DiskFault { kError, kFull, kShort };

/// The system's disk with calls counted, and made to fail on request. Calls are counted from 1 over all files.
class FaultyDisk : public zrk::Disk {
 public:
  /// The N-th read from now on's count fails with EIO, and so do the next ones, `numReads` in all; with `shortBy` above
  /// 0 they succeed but answer that many bytes fewer.
  void FailRead(int nth, std::int64_t shortBy = 0, int numReads = 1);
  void FailWrite(int nth, int error = ENOSPC) { writes_.Set(nth, error); }
  void FailMap(int nth) { maps_.Set(nth, EIO); }
  void FailOpen(int nth, int error = EACCES) { opens_.Set(nth, error); }
  void FailSync(int nth) { syncs_.Set(nth, EIO); }
  void FailSetSize(int nth) { setSizes_.Set(nth, ENOSPC); }
  void FailClose(int nth) { closes_.Set(nth, EDQUOT); }
  void FailRename(int nth) { renames_.Set(nth, EIO); }
  /// The N-th call from now on fails, whatever its kind.
  void FailCall(int nth, DiskFault fault);
  /// The N-th call from now on does nothing, because the process is killed there.
  void DieAtCall(int nth);
  /// Calls of all kinds since the last `FailCall`.
  int GetCallCount() const { return numCalls_; }
  /// Every folder has room for so many bytes from now on; -1 for what can't be told.
  void SetFreeBytes(std::int64_t bytes) { freeBytes_ = bytes; }

  int GetReadCount() const { return reads_.count; }
  /// Bytes that reads were asked for.
  std::int64_t GetBytesRead() const { return bytesRead_; }
  /// Whether open files can tell the names that they go by; they can unless told otherwise.
  void SetNames(bool canTell) { tellsNames_ = canTell; }
  int GetOpenCount() const { return opens_.count; }

  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override;
  int Rename(const std::string& from, const std::string& to) override;
  int Remove(const std::string& path) override;
  int SyncFolder(const std::string& folder) override;
  int CountFreeBytes(const std::string& path, std::int64_t& bytes) override;
  bool Exists(const std::string& path) override { return zrk::SystemDisk().Exists(path); }
  bool IsWritable(const std::string& path) override { return zrk::SystemDisk().IsWritable(path); }
  int GetStatus(const std::string& path, zrk::FileStatus& status) override {
    return zrk::SystemDisk().GetStatus(path, status);
  }
  int ListFolder(const std::string& folder, std::vector<std::string>& names) override;
  int MakeFolder(const std::string& folder) override { return zrk::SystemDisk().MakeFolder(folder); }
  int ResolveLinks(const std::string& path, std::string& resolved) override;
  int FollowLink(const std::string& path, std::string& target) override {
    return zrk::SystemDisk().FollowLink(path, target);
  }
  void DropCached(const std::string& path) override { zrk::SystemDisk().DropCached(path); }
  bool AreSame(const std::string& one, const std::string& other) override {
    return zrk::SystemDisk().AreSame(one, other);
  }

 private:
  friend class FaultyFile;

  static constexpr std::int64_t kAsItIs = INT64_MIN;

  /// Calls of one kind, and which of them fails.
  struct Calls {
    /// The error of this call, or 0.
    int Next() { return Fails(++count) ? error.load() : 0; }
    bool Fails(int nth) const { return nth >= failing && nth < failing + numFailing; }
    void Set(int nth, int errorNumber, int numCalls = 1) {
      error = errorNumber;
      failing = nth;
      numFailing = numCalls;
    }
    std::atomic<int> count = 0;
    std::atomic<int> failing = 0;
    std::atomic<int> numFailing = 1;
    std::atomic<int> error = 0;
  };

  /// The error of this call, or 0. Every call asks once, with the calls of its kind where they are counted apart.
  int NextError(Calls* kind = nullptr);
  /// Whether this call, which moves bytes, falls short.
  bool FallsShort() { return fault_ == DiskFault::kShort && numCalls_ == failingCall_; }

  std::atomic<int> numCalls_ = 0;
  std::atomic<int> failingCall_ = 0;
  std::atomic<int> deadlyCall_ = 0;
  std::atomic<DiskFault> fault_ = DiskFault::kError;
  Calls reads_, writes_, maps_, opens_, syncs_, closes_, setSizes_, renames_;
  std::atomic<std::int64_t> shortBy_ = 0;
  std::atomic<std::int64_t> bytesRead_ = 0;
  std::atomic<bool> tellsNames_ = true;
  std::atomic<std::int64_t> freeBytes_ = kAsItIs;
};
