#include "SparseDisk.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::int64_t kPiece = 64 << 10;

bool IsAllZero(const unsigned char* bytes, std::int64_t count) {
  return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, static_cast<std::size_t>(count - 1)) == 0;
}

class SparseFile : public zrk::DiskFile {
 public:
  explicit SparseFile(std::shared_ptr<zrk::DiskFile> file) : file_(std::move(file)) {}

  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) override {
    return file_->ReadAt(offset, buffer, count);
  }
  int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) override {
    if (const int error = Grow(offset + count)) return error;
    const auto* const bytes = static_cast<const unsigned char*>(buffer);
    for (std::int64_t done = 0; done < count; done += kPiece) {
      const std::int64_t piece = std::min(kPiece, count - done);
      if (IsAllZero(bytes + done, piece)) continue;
      if (const int error = file_->WriteAt(offset + done, bytes + done, piece)) return error;
    }
    return 0;
  }
  std::int64_t Size() override { return file_->Size(); }
  int SetSize(std::int64_t size) override { return file_->SetSize(size); }
  int Preallocate(std::int64_t size) override { return Grow(size); }
  int Sync() override { return file_->Sync(); }
  std::unique_ptr<zrk::DiskMap> Map() override { return file_->Map(); }

 private:
  int Grow(std::int64_t size) { return size > file_->Size() ? file_->SetSize(size) : 0; }

  std::shared_ptr<zrk::DiskFile> file_;
};

}  // namespace

int SparseDisk::Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) {
  std::shared_ptr<zrk::DiskFile> inner;
  if (const int error = zrk::SystemDisk().Open(path, how, inner)) return error;
  file = std::make_shared<SparseFile>(std::move(inner));
  return 0;
}
