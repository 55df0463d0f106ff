// The fingerprint of a file: a sum over its blocks, each block's hash mixed with its number. A sum does not depend on
// the order. So the threads that read an image hash its blocks while these are in the processor's cache. Blocks are
// small, since most edges of a read lie within a block. A block on an edge is read again.
//
// Each block has a bit, which the thread that takes the block sets. A block that is read twice is so counted once.

#include "math/Fingerprint.h"

#include "base/Disk.h"
#include "base/Parallel.h"
#include "math/BlockHash.h"
#include "XThread.h"

#include <algorithm>
#include <array>
#include <climits>

namespace zrk {
namespace {

/// How much is read at once: the hash finds it in the cache beside the core.
constexpr std::int64_t kChunkBlocks = 64;

std::int64_t CountBlocks(std::int64_t length) {
  return length / kHashBlock + (length % kHashBlock != 0);
}

/// The hash of a block and its number, so that blocks which change places change the sum. Each step can be undone.
std::uint64_t MixWithNumber(std::uint64_t hash, std::int64_t block) {
  hash += static_cast<std::uint64_t>(block) * 0x9E3779B97F4A7C15;
  hash = (hash ^ (hash >> 33)) * 0xC2B2AE3D27D4EB4F;
  hash = (hash ^ (hash >> 29)) * 0x165667B19E3779F9;
  return hash ^ (hash >> 32);
}

/// The last block is filled up with zeros.
std::uint64_t HashPart(const unsigned char* bytes, std::int64_t count) {
  std::array<unsigned char, kHashBlock> block{};
  std::copy_n(bytes, count, block.begin());
  return HashBlock(block.data());
}

std::uint64_t BitOf(std::int64_t block) {
  return std::uint64_t{1} << (block % 64);
}

}  // namespace

Fingerprint::Fingerprint(std::int64_t length)
    : length_(std::max<std::int64_t>(length, 0)),
      numBlocks_(CountBlocks(length_)),
      numChunks_(static_cast<int>(std::min<std::int64_t>((numBlocks_ + kChunkBlocks - 1) / kChunkBlocks, INT_MAX))),
      taken_(static_cast<std::size_t>(numBlocks_ / 64 + 1)) {}

bool Fingerprint::IsTaken(std::int64_t block) const {
  return (taken_[static_cast<std::size_t>(block / 64)].load(std::memory_order_relaxed) & BitOf(block)) != 0;
}

bool Fingerprint::Claim(std::int64_t block) {
  auto& bits = taken_[static_cast<std::size_t>(block / 64)];
  return (bits.fetch_or(BitOf(block), std::memory_order_relaxed) & BitOf(block)) == 0;
}

void Fingerprint::Take(std::int64_t offset, const unsigned char* bytes, std::int64_t count) {
  if (offset < 0 || offset >= length_) return;
  const std::int64_t end = offset + std::min(count, length_ - offset);
  std::uint64_t sum = 0;
  for (std::int64_t block = CountBlocks(offset); block < numBlocks_; ++block) {
    const std::int64_t from = block * kHashBlock, size = std::min(kHashBlock, length_ - from);
    if (from + size > end) break;
    if (!Claim(block)) continue;
    const unsigned char* const place = bytes + (from - offset);
    sum += MixWithNumber(size == kHashBlock ? HashBlock(place) : HashPart(place, size), block);
  }
  sum_ += sum;
}

/// Reads the runs of blocks that are still missing. What lies at the end of a file is what others come by last, or
/// never.
bool Fingerprint::ReadChunk(DiskFile& file, int chunk, std::vector<unsigned char>& room) {
  const std::int64_t firstBlock = (std::int64_t{numChunks_} - 1 - chunk) * kChunkBlocks;
  const std::int64_t endBlock = std::min(firstBlock + kChunkBlocks, numBlocks_);
  room.resize(static_cast<std::size_t>(kChunkBlocks * kHashBlock));
  for (std::int64_t block = firstBlock, last = 0; block < endBlock; block = last + 1) {
    for (last = block; last < endBlock && !IsTaken(last);) ++last;
    const std::int64_t from = block * kHashBlock, count = std::min(last * kHashBlock, length_) - from;
    if (count <= 0) continue;
    if (file.ReadAt(from, room.data(), count) != count) return false;
    Take(from, room.data(), count);
  }
  return true;
}

bool Fingerprint::ReadRest(DiskFile& file, const int* cancel) {
  if (numChunks_ == INT_MAX) return false;
  const int numWorkers = CountWorkers(numChunks_);
  std::vector<std::vector<unsigned char>> rooms(static_cast<std::size_t>(numWorkers));
  return ForEachInParallel(numWorkers, numChunks_, [&](int chunk, int worker) {
    return !XfnIsStopRequested(cancel) && ReadChunk(file, chunk, rooms[static_cast<std::size_t>(worker)]);
  });
}

}  // namespace zrk
