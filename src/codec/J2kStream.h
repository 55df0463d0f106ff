#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace zrk {

class DiskFile;

/// A stream of bytes that is put together of bytes in memory and of ranges of a file. It is read from its beginning to
/// its end, by one thread.
class J2kStream {
 public:
  explicit J2kStream(std::shared_ptr<DiskFile> file);

  void AddBytes(std::vector<unsigned char> bytes);
  void AddRange(std::int64_t offset, std::int64_t numBytes);

  std::int64_t CountBytes() const { return numBytes_; }
  /// Reads up to `count` bytes; answers how many, 0 at the end and where the disk fails.
  std::int64_t Read(unsigned char* buffer, std::int64_t count);
  /// Passes over up to `count` bytes; answers how many.
  std::int64_t Skip(std::int64_t count);
  /// Whether the disk has failed or fallen short.
  bool HasFailed() const { return hasFailed_; }

 private:
  struct Piece {
    std::vector<unsigned char> bytes;  // empty for a range of the file
    std::int64_t offset = 0;
    std::int64_t numBytes = 0;
  };
  std::int64_t ReadPiece(const Piece& piece, unsigned char* buffer, std::int64_t count);

  std::shared_ptr<DiskFile> file_;
  std::vector<Piece> pieces_;
  std::int64_t numBytes_ = 0;
  std::size_t piece_ = 0;     // the one that is read
  std::int64_t inPiece_ = 0;  // bytes of it that are read already
  bool hasFailed_ = false;
};

}  // namespace zrk
