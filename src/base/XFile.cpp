#include "XFile.h"

#include "base/Disk.h"
#include "XPath.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr unsigned kAccessMask = 0x0F;

bool IsKnownCombination(unsigned flags) {
  const unsigned access = flags & kAccessMask;
  const unsigned sharing = flags & 0xFF0;
  const bool knowsSharing = sharing == 0 || sharing == XFile::kShareExclusive || sharing == XFile::kShareDenyWrite ||
                            sharing == XFile::kShareDenyNone;
  const bool isCreate = (flags & XFile::kCreate) != 0;
  return access <= XFile::kReadWrite && knowsSharing && (flags & ~(kAccessMask | 0xFF0 | XFile::kCreate)) == 0 &&
         !(isCreate && access == XFile::kRead);
}

zrk::DiskOpen AsDiskOpen(unsigned flags) {
  const unsigned access = flags & kAccessMask;
  zrk::DiskOpen how;
  how.read = access != XFile::kWrite;
  how.write = access != XFile::kRead;
  how.create = (flags & XFile::kCreate) != 0;
  how.exclusive = (flags & XFile::kShareExclusive) != 0;
  how.denyWrite = (flags & XFile::kShareDenyWrite) != 0;
  return how;
}

}  // namespace

XFile::XFile() = default;
XFile::~XFile() = default;

int XFile::Open(const XString& path, unsigned flags) {
  Close();
  lastError_.Empty();
  if (!IsKnownCombination(flags)) {
    lastError_ = std::strerror(EINVAL);
    return 0;
  }
  if (const int error = zrk::CurrentDisk().Open(path.AsStdString(), AsDiskOpen(flags), file_)) {
    lastError_ = std::strerror(error);
    return 0;
  }
  path_ = path;
  return 1;
}

void XFile::Close() {
  file_.reset();
  path_.Empty();
  position_ = 0;
}

std::int64_t XFile::Read(void* buffer, std::int64_t count) {
  const std::int64_t got = ReadAt(position_, buffer, count);
  position_ += got;
  return got;
}

int XFile::Write(const void* buffer, std::int64_t count) {
  if (!WriteAt(position_, buffer, count)) return 0;
  position_ += count;
  return 1;
}

std::int64_t XFile::ReadAt(std::int64_t offset, void* buffer, std::int64_t count) const {
  if (!file_ || offset < 0 || count <= 0) return 0;
  const std::int64_t got = file_->ReadAt(offset, buffer, count);
  return got > 0 ? got : 0;
}

int XFile::WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) {
  if (!file_ || offset < 0 || count < 0) return 0;
  return file_->WriteAt(offset, buffer, count) == 0;
}

std::int64_t XFile::Seek(std::int64_t offset, SeekOrigin origin) {
  std::int64_t base = 0;
  if (origin == kCurrent) base = position_;
  if (origin == kEnd) base = GetLength();
  std::int64_t target = 0;
  if (base < 0 || __builtin_add_overflow(base, offset, &target) || target < 0) return -1;
  position_ = target;
  return target;
}

std::int64_t XFile::GetLength() const {
  const std::int64_t size = file_ ? file_->Size() : -1;
  return size >= 0 ? size : -1;
}

int XFile::SetLength(std::int64_t length) {
  return file_ && length >= 0 && file_->SetSize(length) == 0;
}

int XFile::Preallocate(std::int64_t length) {
  return file_ && length > 0 && file_->Preallocate(length) == 0;
}

int XFile::Flush() {
  return file_ && file_->Sync() == 0;
}

XString XFile::GetFileName() const {
  return XfnGetFileName(path_);
}

XString XFile::GetFileTitle() const {
  return XfnGetFileTitle(path_);
}

int XFile::Rename(const XString& from, const XString& to) {
  return zrk::CurrentDisk().Rename(from.AsStdString(), to.AsStdString()) == 0;
}

int XFile::Remove(const XString& path) {
  return zrk::CurrentDisk().Remove(path.AsStdString()) == 0;
}

bool XFile::Exists(const XString& path) {
  return zrk::CurrentDisk().Exists(path.AsStdString());
}
