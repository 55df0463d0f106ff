#include "FaultyDisk.h"

#include <algorithm>

class FaultyFile : public zrk::DiskFile {
 public:
  FaultyFile(FaultyDisk& disk, std::shared_ptr<zrk::DiskFile> file) : disk_(disk), file_(std::move(file)) {}

  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
    const int error = disk_.reads_.Next();
    if (!error) return file_->ReadAt(offset, buffer, count);
    if (disk_.shortBy_ == 0) return -error;
    return file_->ReadAt(offset, buffer, std::max<std::int64_t>(count - disk_.shortBy_, 0));
  }
  int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) override {
    const int error = disk_.writes_.Next();
    return error ? error : file_->WriteAt(offset, buffer, count);
  }
  std::int64_t Size() override { return file_->Size(); }
  int SetSize(std::int64_t size) override {
    const int error = disk_.setSizes_.Next();
    return error ? error : file_->SetSize(size);
  }
  int Preallocate(std::int64_t size) override {
    const int error = disk_.setSizes_.Next();
    return error ? error : file_->Preallocate(size);
  }
  int Sync() override {
    const int error = disk_.syncs_.Next();
    return error ? error : file_->Sync();
  }
  int CheckClose() override {
    const int error = disk_.closes_.Next();
    return error ? error : file_->CheckClose();
  }
  void StartSync(std::int64_t offset, std::int64_t count) override { file_->StartSync(offset, count); }
  std::unique_ptr<zrk::DiskMap> Map() override { return disk_.maps_.Next() ? nullptr : file_->Map(); }

 private:
  FaultyDisk& disk_;
  std::shared_ptr<zrk::DiskFile> file_;
};

void FaultyDisk::FailRead(int nth, std::int64_t shortBy) {
  shortBy_ = shortBy;
  reads_.Set(nth, EIO);
}

int FaultyDisk::Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) {
  if (const int error = opens_.Next()) return error;
  std::shared_ptr<zrk::DiskFile> inner;
  if (const int error = zrk::SystemDisk().Open(path, how, inner)) return error;
  file = std::make_shared<FaultyFile>(*this, std::move(inner));
  return 0;
}

int FaultyDisk::Rename(const std::string& from, const std::string& to) {
  const int error = renames_.Next();
  return error ? error : zrk::SystemDisk().Rename(from, to);
}

int FaultyDisk::CountFreeBytes(const std::string& path, std::int64_t& bytes) {
  const std::int64_t pretended = freeBytes_;
  if (pretended == kAsItIs) return zrk::SystemDisk().CountFreeBytes(path, bytes);
  if (pretended < 0) return ENOSYS;
  bytes = pretended;
  return 0;
}
