#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zrk {
class DiskFile;
}

/// A file with 64-bit lengths. Nothing here throws: an operation that fails says so by its result. Reads and writes of
/// a closed file fail.
///
/// `Read`, `Write` and `Seek` share one file position, in bytes from the beginning, and serve one thread at a time.
/// `ReadAt` and `WriteAt` leave it alone and may be called from many threads at once. The object closes its file with
/// itself.
class ZRKIO_API XFile {
 public:
  /// How to open: one of the first three, with at most one of the sharing flags, and `kCreate` for an empty
  /// new file. The sharing flags hold between `XFile` objects of all processes, not against other programs, and only
  /// where the file system offers locks. A lock that another holds fails `kShareExclusive` and every opening that may
  /// write; a file opened with `kRead | kShareDenyWrite` is then read without a lock.
  enum OpenFlags : unsigned {
    /// For reading. The file has to be there.
    kRead = 0,
    /// For writing, and for both. The file has to be there, unless `kCreate` is added; what it holds stays.
    kWrite = 1,
    kReadWrite = 2,
    /// Takes a lock that goes with no other lock on the file. An opening that takes no lock still succeeds.
    kShareExclusive = 0x10,
    /// Takes a lock that readers with this flag may share. A writer has it alone.
    kShareDenyWrite = 0x20,
    /// Takes no lock, as without a sharing flag.
    kShareDenyNone = 0x40,
    /// Makes an empty file, or empties the one that is there. It needs a right to write.
    kCreate = 0x1000,
  };
  /// Where `Seek` counts from: the beginning, the file position, or the end.
  enum SeekOrigin { kBegin = 0, kCurrent = 1, kEnd = 2 };

  XFile();
  ~XFile();
  XFile(const XFile&) = delete;
  XFile& operator=(const XFile&) = delete;

  /// Opens `path`, closing what was open before. Returns 1 on success. On 0 the object is closed and `GetLastErrorText`
  /// has the reason. Unknown flags, several sharing flags, and `kCreate` without a right to write are refused. So is
  /// everything that is not a regular file: a folder, a pipe, a device.
  int Open(const XString& path, unsigned flags);
  /// Closes the file and forgets its path and position. A closed object stays as it is. Written bytes may still be on
  /// their way to the medium. Call `Flush` before if that matters.
  void Close();
  bool IsOpen() const { return file_ != nullptr; }

  /// Reads up to `count` bytes at the file position and moves it on; the result is the number of bytes read. Fewer than
  /// asked for means the end of the file or an error.
  std::int64_t Read(void* buffer, std::int64_t count);
  /// Writes all of `count` bytes at the file position and moves it on; 1. On 0 the position stays, and part of the
  /// bytes may have been written.
  int Write(const void* buffer, std::int64_t count);

  /// As `Read`, from an offset in the file. An error, and an offset behind the end, give 0 bytes.
  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) const;
  /// As `Write`, to an offset in the file. An offset behind the end extends the file, with zeros in between.
  int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count);

  /// Moves the position by `offset` from the origin; the result is the new one. It may lie behind the end. A position
  /// before the beginning gives -1, and the old one stays.
  std::int64_t Seek(std::int64_t offset, SeekOrigin origin);
  void SeekToBegin() { Seek(0, kBegin); }
  /// Moves the position behind the last byte; the result is the length of the file, or -1.
  std::int64_t SeekToEnd() { return Seek(0, kEnd); }
  /// Bytes from the beginning of the file; 0 after an opening.
  std::int64_t GetPosition() const { return position_; }

  /// Bytes in the file now, asked anew each time; -1 for a closed file and where the system can't tell.
  std::int64_t GetLength() const;
  /// Cuts or extends (with zeros) the file; 1 or 0. The position stays.
  int SetLength(std::int64_t length);
  /// Reserves the room on disk up to `length`, so that a full disk is found here; 1 or 0. A length that is not positive
  /// gives 0.
  int Preallocate(std::int64_t length);
  /// Waits until what was written is on the medium; 1 or 0.
  int Flush();

  /// The path as it was given to `Open`, its part behind the last folder, and that without the extension. All are empty
  /// for a closed file.
  XString GetFilePath() const { return path_; }
  XString GetFileName() const;
  XString GetFileTitle() const;
  /// Why the last opening failed, as the system says it; empty after one that succeeded. No other operation sets it.
  XString GetLastErrorText() const { return lastError_; }

  /// The open file behind this object, or null; for code that maps it or shares it with a decoder.
  std::shared_ptr<zrk::DiskFile> GetDiskFile() const { return file_; }

  /// Gives a file another name. A file of that name is replaced; 1 or 0. On 0 both stay as they were.
  static int Rename(const XString& from, const XString& to);
  /// Deletes a file; 1, or 0 where it can't be deleted or is not there.
  static int Remove(const XString& path);
  /// Whether something of that name exists: a file, a folder or anything else.
  static bool Exists(const XString& path);

 private:
  std::shared_ptr<zrk::DiskFile> file_;
  XString path_;
  XString lastError_;
  std::int64_t position_ = 0;
};
