// The floor under the build of a level file: the same reads and writes by the system's own calls, with nothing in
// between. No builder that moves these bytes can be quicker, and so the ratio to it tells what the arithmetic costs.
//
// A worker takes a stripe at a time and reads a half of it in pieces. After each half it writes the share that it has
// in the level file, so that reads and writes alternate as they do in the builder. What is written are bytes of the
// source, since a file system does not look at them. Preallocation, early and last syncs and the rename over an older
// file are those of the builder.

#include "LevelLimit.h"

#include "Inputs.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

// The pieces that a machine moves fastest. Those that are read fit into the cache that is next to the core.
constexpr std::int64_t kReadBytes = 256 << 10;
constexpr std::int64_t kWriteBytes = 1 << 20;
constexpr std::int64_t kHalfBytes = 4 << 20;
constexpr std::int64_t kStripeBytes = 2 * kHalfBytes;

/// A file descriptor that closes itself.
class OpenFile {
 public:
  OpenFile(const std::string& path, int flags) : number_(::open(path.c_str(), flags | O_CLOEXEC, 0644)) {
    Must(number_ >= 0, "can't open " + path);
  }
  ~OpenFile() { ::close(number_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  int Number() const { return number_; }

 private:
  int number_;
};

/// The two open files and their sizes.
struct Files {
  int source;
  int target;
  std::int64_t sourceBytes;
  std::int64_t targetBytes;

  /// Where the share of the level file begins that belongs to the source's bytes from `offset` on.
  std::int64_t ShareOf(std::int64_t offset) const {
    return static_cast<std::int64_t>(static_cast<double>(offset) / static_cast<double>(sourceBytes) *
                                     static_cast<double>(targetBytes));
  }
};

void ReadPieces(const Files& files, std::int64_t from, std::int64_t to, std::vector<char>& bytes) {
  for (std::int64_t offset = from, count = 0; offset < to; offset += count) {
    count = std::min(kReadBytes, to - offset);
    Must(::pread(files.source, bytes.data(), static_cast<std::size_t>(count), offset) == count, "can't read");
  }
}

void WriteShare(const Files& files, std::int64_t from, std::int64_t to, const std::vector<char>& bytes) {
  for (std::int64_t offset = from, count = 0; offset < to; offset += count) {
    count = std::min(kWriteBytes, to - offset);
    Must(::pwrite(files.target, bytes.data(), static_cast<std::size_t>(count), offset) == count, "can't write");
    // The medium begins with what is written while the rest is read, and the sync at the end has less to wait for.
    ::sync_file_range(files.target, offset, count, SYNC_FILE_RANGE_WRITE);
  }
}

void MoveStripe(const Files& files, std::int64_t begin, std::vector<char>& bytes) {
  const std::int64_t end = std::min(begin + kStripeBytes, files.sourceBytes);
  for (std::int64_t offset = begin, halfEnd = 0; offset < end; offset = halfEnd) {
    halfEnd = std::min(offset + kHalfBytes, end);
    ReadPieces(files, offset, halfEnd, bytes);
    WriteShare(files, files.ShareOf(offset), files.ShareOf(halfEnd), bytes);
  }
}

void MoveStripes(const Files& files, int numWorkers) {
  const std::int64_t numStripes = (files.sourceBytes - 1) / kStripeBytes + 1;
  // Stripes are taken one by one, as the builder does. Shares fixed beforehand would leave one worker to wait.
  std::atomic<std::int64_t> next = 0;
  const auto work = [&] {
    std::vector<char> bytes(kWriteBytes);
    for (std::int64_t stripe = next++; stripe < numStripes; stripe = next++) {
      MoveStripe(files, stripe * kStripeBytes, bytes);
    }
  };
  std::vector<std::jthread> others;
  for (int worker = 1; worker < numWorkers; ++worker) others.emplace_back(work);
  work();
}

}  // namespace

void MoveBytesOfLevelFile(const std::string& source, const std::string& built, int numWorkers) {
  const std::string unfinished = built + ".limit_tmp", moved = built + ".limit";
  const auto sourceBytes = static_cast<std::int64_t>(fs::file_size(source));
  const auto targetBytes = static_cast<std::int64_t>(fs::file_size(built));
  {
    const OpenFile from(source, O_RDONLY), to(unfinished, O_RDWR | O_CREAT | O_TRUNC);
    const Files files = {from.Number(), to.Number(), sourceBytes, targetBytes};
    Must(::posix_fallocate(to.Number(), 0, targetBytes) == 0, "no room for " + unfinished);
    MoveStripes(files, numWorkers);
    Must(::fsync(to.Number()) == 0, "can't sync " + unfinished);
  }
  fs::rename(unfinished, moved);
  // A new name is safe only when its folder is on the medium.
  const OpenFile folder(fs::path(moved).parent_path().string(), O_RDONLY | O_DIRECTORY);
  Must(::fsync(folder.Number()) == 0, "can't sync the folder");
}
