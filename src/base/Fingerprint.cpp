// A fingerprint of all bytes of a file. XXH64 keeps four sums over 32 bytes at a time, which a processor works on side
// by side. Every step can be undone, so that two blocks which differ in one word never have the same sums.
//
// Blocks are hashed apart from each other, so that several threads can share a file. They are small enough to be still
// near the core when they are hashed.

#include "base/Fingerprint.h"

#include "base/Disk.h"
#include "base/LittleEndian.h"
#include "base/Parallel.h"
#include "XThread.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <vector>

namespace zrk {
namespace {

constexpr std::uint64_t kPrime1 = 0x9E3779B185EBCA87, kPrime2 = 0xC2B2AE3D27D4EB4F, kPrime3 = 0x165667B19E3779F9,
                        kPrime4 = 0x85EBCA77C2B2AE63, kPrime5 = 0x27D4EB2F165667C5;

/// The machine's own order of bytes, which is the lowest first wherever this library runs.
template <class Word>
std::uint64_t WordAt(const unsigned char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

std::uint64_t AddWord(std::uint64_t sum, std::uint64_t word) {
  return std::rotl(sum + word * kPrime2, 31) * kPrime1;
}

/// The four sums over all whole groups of 32 bytes, as one. `bytes` moves behind these.
std::uint64_t HashGroups(const unsigned char*& bytes, std::size_t numGroups) {
  std::uint64_t sums[4] = {kPrime1 + kPrime2, kPrime2, 0, 0 - kPrime1};
  for (const unsigned char* const end = bytes + 32 * numGroups; bytes != end; bytes += 32) {
    for (int i = 0; i < 4; ++i) sums[i] = AddWord(sums[i], WordAt<std::uint64_t>(bytes + 8 * i));
  }
  std::uint64_t hash = std::rotl(sums[0], 1) + std::rotl(sums[1], 7) + std::rotl(sums[2], 12) + std::rotl(sums[3], 18);
  for (const std::uint64_t sum : sums) hash = (hash ^ AddWord(0, sum)) * kPrime1 + kPrime4;
  return hash;
}

/// Adds what is left behind the groups.
std::uint64_t HashRest(std::uint64_t hash, const unsigned char* bytes, std::size_t count) {
  for (; count >= 8; bytes += 8, count -= 8) {
    hash = std::rotl(hash ^ AddWord(0, WordAt<std::uint64_t>(bytes)), 27) * kPrime1 + kPrime4;
  }
  if (count >= 4) {
    hash = std::rotl(hash ^ (WordAt<std::uint32_t>(bytes) * kPrime1), 23) * kPrime2 + kPrime3;
    bytes += 4;
    count -= 4;
  }
  for (; count > 0; ++bytes, --count) hash = std::rotl(hash ^ (*bytes * kPrime5), 11) * kPrime1;
  return hash;
}

}  // namespace

std::uint64_t HashBytes(const void* bytes, std::size_t count) {
  const auto* place = static_cast<const unsigned char*>(bytes);
  std::uint64_t hash = count >= 32 ? HashGroups(place, count / 32) : kPrime5;
  hash = HashRest(hash + count, place, count % 32);
  hash = (hash ^ (hash >> 33)) * kPrime2;
  hash = (hash ^ (hash >> 29)) * kPrime3;
  return hash ^ (hash >> 32);
}

bool FingerprintFile(DiskFile& file, std::int64_t length, const int* cancel, std::uint64_t& fingerprint) {
  if (length < 0 || length / kFingerprintBlock >= INT_MAX) return false;
  const auto numBlocks = static_cast<int>((length + kFingerprintBlock - 1) / kFingerprintBlock);
  const int numWorkers = CountWorkers(numBlocks);
  std::vector<std::vector<unsigned char>> buffers(static_cast<std::size_t>(numWorkers));
  std::vector<unsigned char> hashes(static_cast<std::size_t>(numBlocks) * sizeof(std::uint64_t));
  const bool isRead = ForEachInParallel(numWorkers, numBlocks, [&](int block, int worker) {
    if (XfnIsStopRequested(cancel)) return false;
    const std::int64_t offset = block * kFingerprintBlock, count = std::min(kFingerprintBlock, length - offset);
    std::vector<unsigned char>& buffer = buffers[static_cast<std::size_t>(worker)];
    buffer.resize(static_cast<std::size_t>(kFingerprintBlock));
    if (file.ReadAt(offset, buffer.data(), count) != count) return false;
    const auto hash = LittleEndian(HashBytes(buffer.data(), static_cast<std::size_t>(count)));
    std::ranges::copy(hash, hashes.begin() + std::int64_t{block} * 8);
    return true;
  });
  if (isRead) fingerprint = HashBytes(hashes.data(), hashes.size());
  return isRead;
}

}  // namespace zrk
