// The system's disk, which passes every call on and spoils the one that a test has chosen: it fails with an error, or
// comes short. Calls are counted across all files, so that a sweep can spoil each in turn.

#include "FaultyDisk.h"

#include <algorithm>
#include <csignal>

class FaultyFile : public zrk::DiskFile {
 public:
  FaultyFile(FaultyDisk& disk, std::shared_ptr<zrk::DiskFile> file) : disk_(disk), file_(std::move(file)) {}

  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
    const int readsBefore = disk_.reads_.count;
    disk_.bytesRead_ += count;
    const int error = disk_.NextError(&disk_.reads_);
    if (disk_.FallsShort()) return file_->ReadAt(offset, buffer, count / 2);
    if (!error) return file_->ReadAt(offset, buffer, count);
    if (disk_.shortBy_ == 0 || !disk_.reads_.Fails(readsBefore + 1)) return -error;
    return file_->ReadAt(offset, buffer, std::max<std::int64_t>(count - disk_.shortBy_, 0));
  }
  int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) override {
    const int error = disk_.NextError(&disk_.writes_);
    if (disk_.FallsShort()) {
      file_->WriteAt(offset, buffer, count / 2);
      return ENOSPC;
    }
    return error ? error : file_->WriteAt(offset, buffer, count);
  }
  std::int64_t Size() override {
    const int error = disk_.NextError();
    return error ? -error : file_->Size();
  }
  int SetSize(std::int64_t size) override {
    const int error = disk_.NextError(&disk_.setSizes_);
    return error ? error : file_->SetSize(size);
  }
  int Preallocate(std::int64_t size) override {
    const int error = disk_.NextError(&disk_.setSizes_);
    return error ? error : file_->Preallocate(size);
  }
  int Sync() override {
    const int error = disk_.NextError(&disk_.syncs_);
    return error ? error : file_->Sync();
  }
  int CheckClose() override {
    const int error = disk_.NextError(&disk_.closes_);
    return error ? error : file_->CheckClose();
  }
  void StartSync(std::int64_t offset, std::int64_t count) override { file_->StartSync(offset, count); }
  bool GoesBy(const std::string& path) override { return disk_.tellsNames_ && file_->GoesBy(path); }
  std::unique_ptr<zrk::DiskMap> Map() override { return disk_.NextError(&disk_.maps_) ? nullptr : file_->Map(); }

 private:
  FaultyDisk& disk_;
  std::shared_ptr<zrk::DiskFile> file_;
};

void FaultyDisk::FailRead(int nth, std::int64_t shortBy, int numReads) {
  shortBy_ = shortBy;
  reads_.Set(nth, EIO, numReads);
}

void FaultyDisk::FailCall(int nth, DiskFault fault) {
  fault_ = fault;
  failingCall_ = nth;
  numCalls_ = 0;
}

void FaultyDisk::DieAtCall(int nth) {
  deadlyCall_ = nth;
  numCalls_ = 0;
}

int FaultyDisk::NextError(Calls* kind) {
  const int ofKind = kind ? kind->Next() : 0;
  const int call = ++numCalls_;
  if (call == deadlyCall_) std::raise(SIGKILL);
  if (call != failingCall_) return ofKind;
  switch (fault_.load()) {
    case DiskFault::kError:
      return EIO;
    case DiskFault::kFull:
      return ENOSPC;
    default:
      return ofKind;
  }
}

int FaultyDisk::Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) {
  if (const int error = NextError(&opens_)) return error;
  std::shared_ptr<zrk::DiskFile> inner;
  if (const int error = zrk::SystemDisk().Open(path, how, inner)) return error;
  file = std::make_shared<FaultyFile>(*this, std::move(inner));
  return 0;
}

int FaultyDisk::Rename(const std::string& from, const std::string& to) {
  const int error = NextError(&renames_);
  return error ? error : zrk::SystemDisk().Rename(from, to);
}

int FaultyDisk::Remove(const std::string& path) {
  const int error = NextError();
  return error ? error : zrk::SystemDisk().Remove(path);
}

int FaultyDisk::SyncFolder(const std::string& folder) {
  const int error = NextError();
  return error ? error : zrk::SystemDisk().SyncFolder(folder);
}

int FaultyDisk::ListFolder(const std::string& folder, std::vector<std::string>& names) {
  const int error = NextError();
  return error ? error : zrk::SystemDisk().ListFolder(folder, names);
}

int FaultyDisk::ResolveLinks(const std::string& path, std::string& resolved) {
  const int error = NextError();
  return error ? error : zrk::SystemDisk().ResolveLinks(path, resolved);
}

int FaultyDisk::CountFreeBytes(const std::string& path, std::int64_t& bytes) {
  if (const int error = NextError()) return error;
  const std::int64_t pretended = freeBytes_;
  if (pretended == kAsItIs) return zrk::SystemDisk().CountFreeBytes(path, bytes);
  if (pretended < 0) return ENOSYS;
  bytes = pretended;
  return 0;
}
