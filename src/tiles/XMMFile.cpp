// A file seen through a view that slides. The view is a range of the file, a multiple of the granularity in front, and
// nothing is mapped for it: bytes are moved by positional reads and writes. A caller can't tell the difference, because
// both see what other handles and mappings of the file have written. But a mapping ends the process with a signal where
// others cut the file short, or where the disk is full under a range that had no room yet. A read then comes short
// here, and a write fails. Where Windows would refuse a mapping, an opening asks for what a mapping needs: a length,
// and a first byte that can be read.
//
// The range still decides what callers see: a write within the view neither flushes nor moves the view, and a read or
// write that reaches its end seeks to what follows, which fails at the end of the file and leaves a sentence.

#include "XMMFile.h"

#include "base/Checked.h"
#include "base/Disk.h"
#include "XSystem.h"

#include <algorithm>

namespace Vexorine::ZRL::IO {

namespace {

constexpr unsigned kWriteBits = 3;
constexpr unsigned kModeOfNewFile = 2;

/// A missing file is made, and one that is there keeps its bytes. Others may read.
zrk::DiskOpen OpenAlways(bool isWritable) {
  zrk::DiskOpen how;
  how.write = isWritable;
  how.ensure = true;
  how.denyWrite = true;
  return how;
}

/// A length as the disk takes it; empty where the bytes are more than it can count.
std::optional<std::int64_t> AsLength(std::uint64_t bytes) {
  if (bytes > static_cast<std::uint64_t>(INT64_MAX)) return std::nullopt;
  return static_cast<std::int64_t>(bytes);
}

}  // namespace

/// Deletes the file once, whichever copy is closed first.
struct XMMFile::TemporaryFile {
  explicit TemporaryFile(const XString& path) : name(path) {}
  void Delete() {
    if (!name.IsEmpty()) zrk::CurrentDisk().Remove(name.AsStdString());
    name.Empty();
  }
  XString name;  // empty once the file is deleted
};

XMMFile::XMMFile() = default;

XMMFile::~XMMFile() {
  Close();
}

XMMFile::XMMFile(const XMMFile& other) = default;

XMMFile& XMMFile::operator=(const XMMFile& other) {
  if (this == &other) return *this;
  // A temporary file that only this object has goes now. One that the other object has as well stays with it.
  if (temporary_ == other.temporary_) temporary_.reset();
  Close();
  file_ = other.file_;
  fileSize_ = other.fileSize_;
  sizeOnDisk_ = other.sizeOnDisk_;
  position_ = other.position_;
  viewOffset_ = other.viewOffset_;
  viewLength_ = other.viewLength_;
  isWritable_ = other.isWritable_;
  path_ = other.path_;
  lastError_ = other.lastError_;
  temporary_ = other.temporary_;
  return *this;
}

bool XMMFile::Fail(const char* sentence) {
  lastError_ = sentence;
  return false;
}

bool XMMFile::Open(const char* path, unsigned mode) {
  Close();
  path_ = path;
  const bool isWritable = (mode & kWriteBits) != 0;
  if (zrk::CurrentDisk().Open(path_.AsStdString(), OpenAlways(isWritable), file_) != 0) {
    return Fail("Error encountered during file open.");
  }
  if (!OpenView()) {
    file_.reset();
    return false;
  }
  isWritable_ = isWritable;
  return true;
}

bool XMMFile::OpenView() {
  const std::int64_t size = file_->Size();
  if (size == 0) return Fail("Cannot open zero byte file.");
  if (size < 0) return Fail("Failed to create file mapping object.");
  unsigned char first = 0;
  if (file_->ReadAt(0, &first, 1) != 1) return Fail("Failed to map view of file.");
  fileSize_ = static_cast<std::uint64_t>(size);
  sizeOnDisk_ = fileSize_;
  viewLength_ = ViewLengthAt(0);
  return true;
}

bool XMMFile::Create(const char* path, std::uint64_t size) {
  Close();
  path_ = path;
  zrk::Disk& disk = zrk::CurrentDisk();
  const bool isNew = !disk.Exists(path_.AsStdString());
  std::shared_ptr<zrk::DiskFile> file;
  if (disk.Open(path_.AsStdString(), OpenAlways(true), file) != 0) return Fail("Failed to create file.");
  if (!Reserve(*file, size)) {
    // What is empty now is of use to nobody: it was made here, or it was emptied for this.
    const bool isEmpty = file->Size() == 0;
    file.reset();
    if (isNew || isEmpty) disk.Remove(path_.AsStdString());
    return Fail("The file pointer cannot be set to specified location.");
  }
  file.reset();
  return Open(XString(path_), kModeOfNewFile);
}

/// Empties a file and takes the room for its new size. The free room is asked for first, because taking it bit by bit
/// until the disk is full would starve others. Nothing is done where it is not there.
bool XMMFile::Reserve(zrk::DiskFile& file, std::uint64_t size) {
  const std::optional<std::int64_t> length = AsLength(size);
  if (!length || !XfnIsDiskSpaceEnough(path_, *length - std::max<std::int64_t>(file.Size(), 0))) return false;
  if (file.SetSize(0) != 0) return false;
  if (size == 0 || file.Preallocate(*length) == 0) return true;
  file.SetSize(0);
  return false;
}

bool XMMFile::CreateTemp(std::uint64_t size) {
  const XString name = XfnGetTempFileName("XMMFileTemp");
  const bool isCreated = Create(name, size);
  temporary_ = std::make_shared<TemporaryFile>(name);
  return isCreated;
}

void XMMFile::Close() {
  // What the view holds goes to the medium first. The others need no flush of ours.
  if (isWritable_) file_->StartSync(static_cast<std::int64_t>(viewOffset_), viewLength_);
  file_.reset();
  fileSize_ = 0;
  sizeOnDisk_ = 0;
  position_ = 0;
  viewOffset_ = 0;
  viewLength_ = kGranularity;
  isWritable_ = false;
  if (temporary_) temporary_->Delete();
  temporary_.reset();
}

/// A view ends with the file.
std::uint32_t XMMFile::ViewLengthAt(std::uint64_t viewOffset) const {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(kGranularity, fileSize_ - viewOffset));
}

bool XMMFile::Seek(std::int64_t offset, int origin) {
  std::uint64_t base = 0;
  if (origin == kCurrent) base = position_;
  if (origin == kEnd) base = fileSize_;
  const std::optional<std::int64_t> target = zrk::CheckedAdd(static_cast<std::int64_t>(base), offset);
  if (!target || *target < 0 || static_cast<std::uint64_t>(*target) >= fileSize_) {
    return Fail("Seek request lies outside file boundary.");
  }
  position_ = static_cast<std::uint64_t>(*target);
  if (position_ < viewOffset_ || position_ >= ViewEnd()) MoveView(position_);
  return true;
}

void XMMFile::MoveView(std::uint64_t position) {
  viewOffset_ = position / kGranularity * kGranularity;
  viewLength_ = ViewLengthAt(viewOffset_);
}

/// The bytes come in one read, however many views they lie in. The position ends where it would by going from view to
/// view.
std::uint32_t XMMFile::Read(void* buffer, std::uint32_t count) {
  if (position_ >= fileSize_) return 0;
  viewLength_ = ViewLengthAt(viewOffset_);
  const auto got = static_cast<std::uint32_t>(ReadAt(position_, buffer, count));
  position_ += got;
  if (position_ > ViewEnd()) MoveView(position_ - 1);
  if (got > 0 && position_ == ViewEnd()) Seek(static_cast<std::int64_t>(position_), kBegin);
  return got;
}

bool XMMFile::Write(const void* buffer, std::uint32_t count, bool flush) {
  if (count == 0) return true;
  if (!isWritable_ || !buffer) return false;
  const auto* bytes = static_cast<const unsigned char*>(buffer);
  const std::uint64_t end = position_ + count;
  if (end <= ViewEnd()) return Put(bytes, count);
  if (end > fileSize_ && !SetLength(end)) return false;
  while (position_ < end) {
    const std::uint64_t piece = std::min(ViewEnd(), end) - position_;
    if (!Put(bytes, piece)) return false;
    bytes += piece;
    Seek(static_cast<std::int64_t>(position_), kBegin);
  }
  return !flush || Flush();
}

/// Writes at the position and moves it. A view that was used up leaves nothing to be written.
bool XMMFile::Put(const unsigned char* bytes, std::uint64_t count) {
  if (count > 0 && file_->WriteAt(static_cast<std::int64_t>(position_), bytes, static_cast<std::int64_t>(count)) != 0) {
    return Fail("Failed to write file.");
  }
  position_ += count;
  return true;
}

/// Makes the file longer, with one view more on disk, so that a whole last view has room. A file that could not become
/// longer is cut back.
bool XMMFile::SetLength(const std::uint64_t& newSize) {
  const std::optional<std::int64_t> onDisk = AsLength(newSize + kGranularity);
  if (!onDisk || !XfnIsDiskSpaceEnough(path_, *onDisk - static_cast<std::int64_t>(sizeOnDisk_))) {
    return Fail("The file pointer cannot be set to specified location.");
  }
  if (file_->Preallocate(*onDisk) != 0) {
    file_->SetSize(static_cast<std::int64_t>(sizeOnDisk_));
    return Fail("Failed to set end of file.");
  }
  if (file_->Size() < *onDisk) return Fail("Failed to create file mapping.");
  fileSize_ = newSize;
  sizeOnDisk_ = static_cast<std::uint64_t>(*onDisk);
  return true;
}

bool XMMFile::Flush() {
  return file_ && file_->Sync() == 0;
}

void XMMFile::GetLastError(XString& text) const {
  text = lastError_;
}

std::uint64_t XMMFile::ReadAt(std::uint64_t offset, void* buffer, std::uint64_t count) const {
  if (!buffer || offset >= fileSize_) return 0;
  const std::uint64_t wanted = std::min(count, fileSize_ - offset);
  const std::int64_t got = file_->ReadAt(static_cast<std::int64_t>(offset), buffer, static_cast<std::int64_t>(wanted));
  return static_cast<std::uint64_t>(std::max<std::int64_t>(got, 0));
}

bool XMMFile::WriteAt(std::uint64_t offset, const void* buffer, std::uint64_t count) {
  if (!isWritable_ || !buffer || offset > fileSize_ || count > fileSize_ - offset) return false;
  return file_->WriteAt(static_cast<std::int64_t>(offset), buffer, static_cast<std::int64_t>(count)) == 0;
}

}  // namespace Vexorine::ZRL::IO

XMMFile::XMMFile() = default;
XMMFile::~XMMFile() = default;
XMMFile::XMMFile(const XMMFile& other) = default;
XMMFile& XMMFile::operator=(const XMMFile& other) = default;
