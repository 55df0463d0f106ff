// A file seen through a view that slides. The view is a range of the file, a multiple of the granularity in front, and
// nothing is mapped for it: bytes are moved by positional reads and writes. A caller can't tell the difference, because
// both see what other handles and mappings of the file have written. But a mapping ends the process with a signal where
// others cut the file short, or where the disk is full under a range that had no room yet. A read then comes short
// here, and a write fails. Where Windows would refuse a mapping, an opening asks for what a mapping needs: a length,
// and a first byte that can be read.
//
// The range still decides what callers see. A write within the view neither flushes nor moves the view. A read or write
// that reaches the end of the view seeks to the bytes behind it. At the end of the file that seek fails and leaves a
// sentence.

#include "XMMFile.h"

#include "base/Checked.h"
#include "base/Disk.h"
#include "tiles/StoreFence.h"
#include "XSystem.h"

#include <algorithm>
#include <utility>

namespace Vexorine::ZRL::IO {

namespace {

constexpr unsigned kWriteBits = 3;

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
  void Delete() {
    zrk::FencedStore([this] { return name.IsEmpty() || zrk::CurrentDisk().Remove(name.AsStdString()) == 0; });
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
  position_ = other.position_;
  viewOffset_ = other.viewOffset_;
  viewLength_ = other.viewLength_;
  isWritable_ = other.isWritable_;
  path_ = other.path_;
  lastError_ = other.lastError_;
  temporary_ = other.temporary_;
  return *this;
}

/// The sentence is lost where there is no memory for it.
bool XMMFile::Fail(const char* sentence) {
  zrk::FencedStore([&] { return !(lastError_ = sentence).IsEmpty(); });
  return false;
}

bool XMMFile::Open(const char* path, unsigned mode) {
  Close();
  const bool isWritable = (mode & kWriteBits) != 0;
  std::shared_ptr<zrk::DiskFile> file;
  if (!OpenFile(path, isWritable, file)) return Fail("Error encountered during file open.");
  return OpenView(std::move(file), isWritable);
}

/// A path that there is no memory for can't be opened.
bool XMMFile::OpenFile(const char* path, bool isWritable, std::shared_ptr<zrk::DiskFile>& file) {
  return zrk::FencedStore([&] {
    path_ = path;
    return zrk::CurrentDisk().Open(path_.AsStdString(), OpenAlways(isWritable), file) == 0;
  });
}

bool XMMFile::OpenView(std::shared_ptr<zrk::DiskFile> file, bool isWritable) {
  const std::int64_t size = file->Size();
  if (size == 0) return Fail("Cannot open zero byte file.");
  if (size < 0) return Fail("Failed to create file mapping object.");
  unsigned char first = 0;
  if (file->ReadAt(0, &first, 1) != 1) return Fail("Failed to map view of file.");
  file_ = std::move(file);
  fileSize_ = static_cast<std::uint64_t>(size);
  viewLength_ = ViewLengthAt(0);
  isWritable_ = isWritable;
  return true;
}

bool XMMFile::Create(const char* path, std::uint64_t size) {
  Close();
  const bool isNew = zrk::FencedStore([path] { return path && !zrk::CurrentDisk().Exists(path); });
  std::shared_ptr<zrk::DiskFile> file;
  if (!OpenFile(path, true, file)) return Fail("Failed to create file.");
  const std::int64_t oldSize = file->Size();
  if (!Reserve(*file, size)) {
    // A file that was made here, or emptied for this, is of use to nobody. Any other stays.
    const bool isEmptied = oldSize > 0 && file->Size() == 0;
    file.reset();
    if (isNew || isEmptied) zrk::CurrentDisk().Remove(path_.AsStdString());
    return Fail("The file pointer cannot be set to specified location.");
  }
  const bool isOpen = OpenView(std::move(file), true);
  if (!isOpen && size > 0) zrk::CurrentDisk().Remove(path_.AsStdString());
  return isOpen;
}

/// Empties a file and takes the room for its new size. The free room is asked for first, because taking it bit by bit
/// until the disk is full would starve others. Nothing is done where it is not there.
bool XMMFile::Reserve(zrk::DiskFile& file, std::uint64_t size) {
  const std::optional<std::int64_t> length = AsLength(size);
  if (!length || !HasRoom(*length - std::max<std::int64_t>(file.Size(), 0))) return false;
  if (file.SetSize(0) != 0) return false;
  if (size == 0 || file.Preallocate(*length) == 0) return true;
  file.SetSize(0);
  return false;
}

bool XMMFile::CreateTemp(std::uint64_t size) {
  std::shared_ptr<TemporaryFile> temporary;
  const bool isNamed = zrk::FencedStore([&] {
    temporary = std::make_shared<TemporaryFile>();
    temporary->name = XfnGetTempFileName("XMMFileTemp");
    return true;
  });
  const bool isCreated = Create(isNamed ? temporary->name.GetText() : nullptr, size);
  temporary_ = temporary;
  return isCreated;
}

void XMMFile::Close() {
  // What the view holds goes to the medium first. The others need no flush of ours.
  if (isWritable_) file_->StartSync(static_cast<std::int64_t>(viewOffset_), viewLength_);
  file_.reset();
  fileSize_ = 0;
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
/// longer is cut back to what it was. The file itself is asked how long that is, because a copy may have made it
/// longer.
bool XMMFile::SetLength(const std::uint64_t& newSize) {
  const std::optional<std::int64_t> onDisk = AsLength(newSize + kGranularity);
  const std::int64_t before = file_->Size();
  if (!onDisk || before < 0 || !HasRoom(*onDisk - before)) {
    return Fail("The file pointer cannot be set to specified location.");
  }
  if (before < *onDisk && file_->Preallocate(*onDisk) != 0) {
    file_->SetSize(before);
    return Fail("Failed to set end of file.");
  }
  if (file_->Size() < *onDisk) return Fail("Failed to create file mapping.");
  fileSize_ = newSize;
  return true;
}

/// Whether the disk has so many bytes to give, or can't tell.
bool XMMFile::HasRoom(std::int64_t bytes) const {
  return bytes <= 0 || zrk::FencedStore([&] { return XfnIsDiskSpaceEnough(path_, bytes) != 0; });
}

bool XMMFile::Flush() {
  return file_ && file_->Sync() == 0;
}

/// The text is left alone where there is no memory for the sentence.
void XMMFile::GetLastError(XString& text) const {
  zrk::FencedStore([&] { return (text = lastError_).IsEmpty(); });
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
