#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zrk {
class DiskFile;
}

/// A file with 64-bit positions. Nothing here throws: an operation that fails says so by its result.
///
/// `Read`, `Write` and `Seek` share one file position and serve one thread at a time. `ReadAt` and `WriteAt`
/// leave the position alone and may be called from many threads at once.
class ZRKIO_API XFile {
 public:
  /// How to open: one of the first three, with at most one of the sharing flags, and `kCreate` for an empty
  /// new file. The sharing flags hold between `XFile` objects of all processes, not against other programs, and only
  /// where the file system offers locks. A lock that another holds fails `kShareExclusive` and every opening that may
  /// write; a file opened with `kRead | kShareDenyWrite` is then read without a lock.
  enum OpenFlags : unsigned {
    kRead = 0,
    kWrite = 1,
    kReadWrite = 2,
    kShareExclusive = 0x10,
    kShareDenyWrite = 0x20,
    kShareDenyNone = 0x40,
    kCreate = 0x1000,
  };
  enum SeekOrigin { kBegin = 0, kCurrent = 1, kEnd = 2 };

  XFile();
  ~XFile();
  XFile(const XFile&) = delete;
  XFile& operator=(const XFile&) = delete;

  /// Opens `path`, closing what was open before. 1 on success. On 0 the object is closed and
  /// `GetLastErrorText` has the reason.
  int Open(const XString& path, unsigned flags);
  void Close();
  bool IsOpen() const { return file_ != nullptr; }

  /// Reads up to `count` bytes at the file position and moves it on; answers the bytes read. Fewer than
  /// asked for means the end of the file or an error.
  std::int64_t Read(void* buffer, std::int64_t count);
  /// Writes all of `count` bytes at the file position and moves it on; 1 or 0.
  int Write(const void* buffer, std::int64_t count);

  /// As `Read`, from a place of its own.
  std::int64_t ReadAt(std::int64_t offset, void* buffer, std::int64_t count) const;
  /// As `Write`, to a place of its own.
  int WriteAt(std::int64_t offset, const void* buffer, std::int64_t count);

  /// Moves the position; answers the new one, or -1 (and stays) where it would lie before the beginning.
  std::int64_t Seek(std::int64_t offset, SeekOrigin origin);
  void SeekToBegin() { Seek(0, kBegin); }
  std::int64_t SeekToEnd() { return Seek(0, kEnd); }
  std::int64_t GetPosition() const { return position_; }

  /// Bytes in the file now, or -1.
  std::int64_t GetLength() const;
  /// Cuts or extends (with zeros) the file; 1 or 0.
  int SetLength(std::int64_t length);
  /// Reserves the room on disk up to `length`, so that a full disk is found here; 1 or 0.
  int Preallocate(std::int64_t length);
  /// Brings what was written to the medium; 1 or 0.
  int Flush();

  XString GetFilePath() const { return path_; }
  XString GetFileName() const;
  XString GetFileTitle() const;
  XString GetLastErrorText() const { return lastError_; }

  /// The open file behind this object, or null; for code that maps it or shares it with a decoder.
  std::shared_ptr<zrk::DiskFile> GetDiskFile() const { return file_; }

  /// Replaces an existing target; 1 or 0.
  static int Rename(const XString& from, const XString& to);
  /// Deletes; 1 or 0.
  static int Remove(const XString& path);
  /// Whether something of that name exists.
  static bool Exists(const XString& path);

 private:
  std::shared_ptr<zrk::DiskFile> file_;
  XString path_;
  XString lastError_;
  std::int64_t position_ = 0;
};
