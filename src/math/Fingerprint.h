#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

namespace zrk {

class DiskFile;

/// The fingerprint of a file, put together of its blocks in any order. Who reads the file anyway shows what was read,
/// and the rest is read at the end. docs/FORMATS.md tells how it is computed. It tells files apart that differ by
/// chance, and not those that somebody made to look alike.
///
/// A file that is changed meanwhile has the fingerprint of no state of it; the caller compares its times before and
/// after.
class Fingerprint {
 public:
  /// Of the first `length` bytes of a file. A length below 0 counts as 0. No file is read that has 2^31 chunks. Throws
  /// std::bad_alloc.
  explicit Fingerprint(std::int64_t length);

  /// Takes `count` bytes that were read at `offset`. Blocks that lie in them as a whole are taken, each once only; what
  /// lies beyond the length is left out. For any thread.
  void Take(std::int64_t offset, const unsigned char* bytes, std::int64_t count);

  /// The file in chunks, each of which a thread may read. Those at the end of the file have the lowest numbers.
  int CountChunks() const { return numChunks_; }
  /// Reads what has not been taken of a chunk. `room` is room for the thread's use. False where that can't be read.
  bool ReadChunk(DiskFile& file, int chunk, std::vector<unsigned char>& room);

  /// Reads what has not been taken of all chunks. As many threads read the file as `XfnGetWorkerCount` tells. False
  /// where it can't be read so far, or the word behind `cancel`, which may be null, asks to stop. Throws
  /// std::bad_alloc.
  bool ReadRest(DiskFile& file, const int* cancel);

  /// The fingerprint, when all blocks have been taken. It does not depend on the order in which they were.
  std::uint64_t Get() const { return sum_; }

 private:
  bool IsTaken(std::int64_t block) const;
  bool Claim(std::int64_t block);

  std::int64_t length_;
  std::int64_t numBlocks_;
  int numChunks_;
  std::vector<std::atomic<std::uint64_t>> taken_;  // a bit for each block
  std::atomic<std::uint64_t> sum_ = 0;
};

}  // namespace zrk
