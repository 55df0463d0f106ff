// Compressed blocks are short, often shorter than what a call of the system costs, and threads that read one file by
// many calls hinder each other. Writers put the blocks of a row one behind the other, and so a reader fetches as many
// of the window's as a room holds. Whatever can't be fetched so is fetched by itself, so that damage costs its own
// block only.
//
// Small windows unpack out of a mapping, as `RowReader` decides.

#include "bands/hfa/HfaStoreReader.h"

#include "bands/hfa/HfaRuns.h"
#include "base/AlignLike.h"

#include <algorithm>

namespace zrk {

namespace {

constexpr std::int64_t kMaxTogether = 64 << 10;  // bytes that are fetched at once
constexpr std::int64_t kMaxBetween = 512;        // bytes between two blocks that are fetched along with them

FileRows HfaPiece(std::int64_t offset, std::int64_t count) {
  return {offset, count, count, 1};
}

}  // namespace

bool HfaStoreReader::ReadBlock(int blockX, int blockY, unsigned char* out) {
  const HfaStoredBlock* const block = FindBlock(blockX, blockY);
  if (!block) return false;
  const std::int64_t numSamples = std::int64_t{store_.grid.blockWidth} * store_.grid.blockHeight;
  if (!block->isCompressed) {
    return block->bytes == numSamples * store_.sampleBytes &&
           reader_.Read(HfaPiece(block->offset, block->bytes), out, block->bytes);
  }
  // The head, and a length and a value for each sample, are more than any writer would keep.
  constexpr std::int64_t kMaxOfSample = 8, kMaxHead = 64;
  if (block->bytes > kMaxHead + numSamples * kMaxOfSample) return false;
  const Bytes coded = FetchCoded(*block, blockX, blockY);
  return !coded.empty() && UnpackHfaRuns(coded, store_.sampleBytes, numSamples, out);
}

/// Null for a block that the file doesn't hold.
const HfaStoredBlock* HfaStoreReader::FindBlock(int blockX, int blockY) const {
  const std::int64_t number = store_.grid.NumberOf(blockX, blockY);
  if (number >= std::ssize(store_.blocks)) return nullptr;
  const HfaStoredBlock& block = store_.blocks[static_cast<std::size_t>(number)];
  return block.isThere ? &block : nullptr;
}

HfaStoreReader::Bytes HfaStoreReader::FetchCoded(const HfaStoredBlock& block, int blockX, int blockY) {
  if (const unsigned char* const mapped = reader_.FindMapped(HfaPiece(block.offset, block.bytes))) {
    return {mapped, block.bytes};
  }
  if (FindAhead(block).empty() && !ReadAhead(block.offset, CountTogether(block, blockX, blockY)) &&
      !ReadAhead(block.offset, block.bytes)) {
    return {};
  }
  return FindAhead(block);
}

/// Empty for a block that isn't in memory as a whole.
HfaStoreReader::Bytes HfaStoreReader::FindAhead(const HfaStoredBlock& block) const {
  const std::int64_t behind = block.offset - aheadOffset_;
  if (behind < 0 || behind + block.bytes > std::ssize(ahead_)) return {};
  return ahead_.subspan(static_cast<std::size_t>(behind), block.bytes);
}

/// How many bytes a block takes together with those of its row that follow it closely and belong to the window.
std::int64_t HfaStoreReader::CountTogether(const HfaStoredBlock& block, int blockX, int blockY) const {
  std::int64_t count = block.bytes;
  for (int x = blockX + 1; x <= lastBlockX_; ++x) {
    const HfaStoredBlock* const next = FindBlock(x, blockY);
    if (!next || !next->isCompressed) break;
    const std::int64_t between = next->offset - (block.offset + count);
    if (between < 0 || between > kMaxBetween || count + between + next->bytes > kMaxTogether) break;
    count += between + next->bytes;
  }
  return count;
}

/// False, with nothing in memory, where the file doesn't give all of the bytes.
bool HfaStoreReader::ReadAhead(std::int64_t offset, std::int64_t count) {
  ahead_ = {};
  const FileRows piece = HfaPiece(offset, count);
  const std::int64_t roomBytes = RowReader::CountRoomBytes(piece, count);
  if (!room_.Reserve(static_cast<std::size_t>(std::max(roomBytes, kMaxTogether + kAlignRoom)))) return false;
  const unsigned char* const first = reader_.Fetch(piece, count, room_.Get()).first;
  if (!first) return false;
  aheadOffset_ = offset;
  ahead_ = {first, static_cast<std::size_t>(count)};
  return true;
}

}  // namespace zrk
