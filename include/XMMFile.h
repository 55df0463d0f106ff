#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>
#include <memory>

namespace zrk {
class DiskFile;
}

namespace Vexorine::ZRL::IO {

/// A file of any length, seen through one view of 65,536 bytes that slides along as the position moves. It reads and
/// writes like an ordinary file.
///
/// Nothing here throws. An operation that fails says so by its result and keeps a sentence, which `GetLastError` gives.
/// The sentence stays until the next failure: an operation that succeeds does not clear it.
///
/// `Seek`, `Read` and `Write` share the position and the view, and serve one thread at a time. `ReadAt` and `WriteAt`
/// leave both alone, and any number of threads may call them at once. A file that others cut short gives short reads, a
/// full disk fails the write; neither is a signal. The object closes its file with itself.
class ZRKIO_API XMMFile {
 public:
  /// Where `Seek` counts from: the beginning, the position, the end.
  enum SeekOrigin { kBegin = 0, kCurrent = 1, kEnd = 2 };
  /// The bytes of a view, and what its offset in the file is a multiple of.
  static constexpr std::uint32_t kGranularity = 65536;

  XMMFile();
  virtual ~XMMFile();

  /// Opens a file and closes an earlier one. It is open for reading and writing if `mode & 3` is nonzero, otherwise for
  /// reading alone. Others may read it meanwhile, and none may write. If another has it open for writing, an opening
  /// for writing fails. A missing file is made, and then fails because it is empty. False, with the object closed:
  ///   "Error encountered during file open."      it can't be opened or made
  ///   "Cannot open zero byte file."              it is empty, and stays
  ///   "Failed to create file mapping object."    its length can't be told
  ///   "Failed to map view of file."              its first byte can't be read
  bool Open(const char* path, unsigned mode);

  /// Makes a file of `size` zeros and opens it for reading and writing. The room on disk is taken at once. A file of
  /// that name is emptied first. False, with the object closed:
  ///   "Failed to create file."                                 it can't be opened or made
  ///   "The file pointer cannot be set to specified location."  there is no room for that size; no file is left, but
  ///                                                            one that was there before stays as it was, unless the
  ///                                                            room ran out after the file had been emptied
  ///   and the sentences of `Open`, so that a size of 0 gives "Cannot open zero byte file."
  bool Create(const char* path, std::uint64_t size);
  /// The same under a new name in the system's folder for temporary files. `Close` deletes the file.
  bool CreateTemp(std::uint64_t size);

  /// Closes the file, and deletes it where it is a temporary one. A file that grew stays one view longer on disk than
  /// `GetLength` told. A closed object has no length and position 0.
  void Close();
  bool IsOpen() const { return file_ != nullptr; }
  bool IsWritable() const { return isWritable_; }

  /// Moves the position, at most to just behind the last byte. False for a position outside the file: the old position
  /// stays, and the sentence is "Seek request lies outside file boundary."
  bool Seek(std::int64_t offset, int origin);

  /// Copies up to `count` bytes from the position on and moves it; answers how many. Fewer mean the end of the file, or
  /// that it can't be read further. A read that ends with the last byte leaves the sentence of `Seek`, although it
  /// succeeds.
  std::uint32_t Read(void* buffer, std::uint32_t count);

  /// Writes `count` bytes at the position and moves it. A write that goes past the end makes the file longer: by the
  /// end of the write for `GetLength`, and by one view more on disk. With `flush` it waits until the bytes are on the
  /// medium, unless all of them lie in the present view. A file open for reading alone is left as it is. False where
  /// not all bytes were written; the file has its old length where it could not become longer:
  ///   "The file pointer cannot be set to specified location."  there is no room
  ///   "Failed to set end of file."                             the room could not be taken
  ///   "Failed to create file mapping."                         the file is shorter than it was made
  ///   "Failed to write file."                                  the bytes could not be written
  bool Write(const void* buffer, std::uint32_t count, bool flush);

  /// Waits until what was written is on the medium.
  bool Flush();

  /// The length of the file in bytes, and the position from its beginning.
  std::uint64_t GetLength() const { return fileSize_; }
  std::uint64_t GetPosition() const { return position_; }

  /// Gives the sentence of the latest failure; empty where nothing failed yet.
  void GetLastError(XString& text) const;

  /// Copies bytes from an offset in the file; answers how many. Fewer than asked for mean the end of the file, or that
  /// it can't be read further.
  std::uint64_t ReadAt(std::uint64_t offset, void* buffer, std::uint64_t count) const;
  /// Writes bytes at an offset. They must lie within the file: it does not become longer. False where they do not,
  /// where the file is open for reading alone, and where not all could be written. No sentence is kept.
  bool WriteAt(std::uint64_t offset, const void* buffer, std::uint64_t count);

 protected:
  /// Copies share the open file and have a position and a sentence each.
  XMMFile(const XMMFile& other);
  XMMFile& operator=(const XMMFile& other);

 private:
  struct TemporaryFile;

  bool Fail(const char* sentence);
  bool OpenView(std::shared_ptr<zrk::DiskFile> file, bool isWritable);
  bool OpenFile(const char* path, bool isWritable, std::shared_ptr<zrk::DiskFile>& file);
  bool Reserve(zrk::DiskFile& file, std::uint64_t size);
  bool HasRoom(std::int64_t bytes) const;
  bool SetLength(const std::uint64_t& newSize);
  void MoveView(std::uint64_t position);
  bool Put(const unsigned char* bytes, std::uint64_t count);
  std::uint32_t ViewLengthAt(std::uint64_t viewOffset) const;
  std::uint64_t ViewEnd() const { return viewOffset_ + viewLength_; }

  std::shared_ptr<zrk::DiskFile> file_;
  std::uint64_t fileSize_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t viewOffset_ = 0;
  std::uint32_t viewLength_ = kGranularity;
  bool isWritable_ = false;
  XString path_;
  XString lastError_;
  std::shared_ptr<TemporaryFile> temporary_;  // null for a file that stays
};

}  // namespace Vexorine::ZRL::IO

/// The same file, which can be copied, its latest sentence with it. Copies share the open file by counting: each has
/// its own position and is closed by itself, and what the last one lets go is closed. A temporary file goes with the
/// first that is closed.
class ZRKIO_API XMMFile : public Vexorine::ZRL::IO::XMMFile {
 public:
  XMMFile();
  ~XMMFile() override;
  XMMFile(const XMMFile& other);
  XMMFile& operator=(const XMMFile& other);
};
