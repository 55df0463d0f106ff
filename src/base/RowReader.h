#pragma once

#include "base/Disk.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace zrk {

/// Rows of bytes of one length: in a file from `offset` on, `stride` bytes from one to the next. The stride is not
/// smaller than the length.
struct FileRows {
  std::int64_t offset = 0;
  std::int64_t stride = 0;
  std::int64_t rowBytes = 0;
  int numRows = 0;

  std::int64_t Bytes() const { return rowBytes * numRows; }
  /// From the first byte of the first row to the last one of the last row.
  std::int64_t Span() const { return numRows > 0 ? (numRows - 1) * stride + rowBytes : 0; }
  bool AreTogether() const { return numRows <= 1 || stride == rowBytes; }
};

/// An open file whose rows are read by `RowReader`s, which share a mapping of it. For many threads at once.
class RowFile {
 public:
  explicit RowFile(std::shared_ptr<DiskFile> file) : file_(std::move(file)) {}

  DiskFile& File() const { return *file_; }
  const std::shared_ptr<DiskFile>& Share() const { return file_; }
  /// The whole file as it was at the first call; null where it can't be mapped.
  const DiskMap* Map() const;

 private:
  std::shared_ptr<DiskFile> file_;
  mutable std::once_flag isMapped_;
  mutable std::unique_ptr<DiskMap> map_;
};

/// Reads rows of one window. Here, and nowhere else, is decided whether they come out of a mapping or by positional
/// reads. For one thread at a time.
class RowReader {
 public:
  /// For a window that takes so many bytes of the file.
  RowReader(const RowFile& file, std::int64_t windowBytes);

  /// Where rows are to be copied from a mapping, the first of them; otherwise null.
  const unsigned char* FindMapped(const FileRows& rows) const;
  /// Reads rows, by a positional read for each or for all, to memory in which they are `outStride` bytes apart. False
  /// where not all are there; what has come by then stays in `out`. `CopyFileRows` is faster for rows that lie close.
  bool Read(const FileRows& rows, unsigned char* out, std::int64_t outStride) const;

  /// Rows in memory.
  struct Fetched {
    const unsigned char* first = nullptr;  ///< null where not all rows are there
    std::int64_t stride = 0;
  };
  /// Finds rows in the mapping, or reads them into a room of `CountRoomBytes` bytes, wherever they come to lie in it.
  /// The stride is that of the rows, or `pitch`, which is not smaller than a row.
  Fetched Fetch(const FileRows& rows, std::int64_t pitch, unsigned char* room) const;
  /// Whether rows that are not mapped are fetched by one call, and so lie in the room as they do in the file.
  static bool AreFetchedAtOnce(const FileRows& rows);
  static std::int64_t CountRoomBytes(const FileRows& rows, std::int64_t pitch);

 private:
  bool ReadRange(std::int64_t offset, unsigned char* out, std::int64_t count) const;

  const RowFile& file_;
  const unsigned char* map_ = nullptr;  // where rows are to be taken from it
  std::int64_t numMapped_ = 0;          // bytes that are mapped and were in the file when this window was begun
};

/// See `XfnSetMappedReads`.
bool AreReadsMapped();
void SetMappedReads(bool areMapped);

}  // namespace zrk
