// A thin face on `zrk::DiskFile`. It adds the flags that callers open with, a position, and results without errnos:
// what went wrong in an opening is kept as a text, and all else is told by counts and by 1 or 0.
//
// Everything goes through the current disk, so that tests can make any call fail. The position belongs to this object
// and not to the open file. `ReadAt` and `WriteAt` therefore leave it alone, and may be called from many threads at
// once; `Read`, `Write` and `Seek` may not.

#include "XFile.h"

#include "base/Disk.h"
#include "XPath.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr unsigned kAccessMask = 0x0F;

/// Flags that contradict each other are refused and not guessed at. A new file that could only be read would stay
/// empty.
bool IsKnownCombination(unsigned flags) {
  const unsigned access = flags & kAccessMask;
  const unsigned sharing = flags & 0xFF0;
  const bool knowsSharing = sharing == 0 || sharing == XFile::kShareExclusive || sharing == XFile::kShareDenyWrite ||
                            sharing == XFile::kShareDenyNone;
  const bool isCreate = (flags & XFile::kCreate) != 0;
  return access <= XFile::kReadWrite && knowsSharing && (flags & ~(kAccessMask | 0xFF0 | XFile::kCreate)) == 0 &&
         !(isCreate && access == XFile::kRead);
}

/// The flags were checked before, so that each bit can be looked at by itself.
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

/// The path is kept only of an opening that succeeded: the path of a closed file is empty.
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

/// An error gives no bytes, like an offset behind the end. Callers compare the count with what they asked for.
std::int64_t XFile::ReadAt(std::int64_t offset, void* buffer, std::int64_t count) const {
  if (!file_ || offset < 0 || count <= 0) return 0;
  const std::int64_t got = file_->ReadAt(offset, buffer, count);
  return got > 0 ? got : 0;
}

int XFile::WriteAt(std::int64_t offset, const void* buffer, std::int64_t count) {
  if (!file_ || offset < 0 || count < 0) return 0;
  return file_->WriteAt(offset, buffer, count) == 0;
}

/// The sum is checked, since offsets come from files. A position behind the end is allowed: a write there extends the
/// file.
std::int64_t XFile::Seek(std::int64_t offset, SeekOrigin origin) {
  std::int64_t base = 0;
  if (origin == kCurrent) base = position_;
  if (origin == kEnd) base = GetLength();
  std::int64_t target = 0;
  if (base < 0 || __builtin_add_overflow(base, offset, &target) || target < 0) return -1;
  position_ = target;
  return target;
}

/// Asked anew each time, because others may be writing to the file.
std::int64_t XFile::GetLength() const {
  const std::int64_t size = file_ ? file_->Size() : -1;
  return size >= 0 ? size : -1;
}

int XFile::SetLength(std::int64_t length) {
  return file_ && length >= 0 && file_->SetSize(length) == 0;
}

/// The system refuses a length of 0, and so it counts as failed here.
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
