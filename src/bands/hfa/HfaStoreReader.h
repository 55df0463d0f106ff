#pragma once

#include "bands/hfa/HfaPlain.h"
#include "base/PixelStorage.h"
#include "base/RowReader.h"

#include <cstdint>
#include <span>

namespace zrk {

/// Reads blocks of a store one by one, for a window. Compressed blocks of one row that lie close together in the file
/// share a call of the system. For one thread at a time.
class HfaStoreReader {
 public:
  /// For a window that takes so many bytes, and whose last column of blocks is `lastBlockX`. The store outlives this.
  HfaStoreReader(const HfaStore& store, std::int64_t windowBytes, int lastBlockX)
      : store_(store), reader_(*store.file, windowBytes), lastBlockX_(lastBlockX) {}

  /// Fills `out` with the samples of a block. False where the block is to be read in another way; no reason is noted.
  bool ReadBlock(int blockX, int blockY, unsigned char* out);

 private:
  using Bytes = std::span<const unsigned char>;

  const HfaStoredBlock* FindBlock(int blockX, int blockY) const;
  Bytes FetchCoded(const HfaStoredBlock& block, int blockX, int blockY);
  Bytes FindAhead(const HfaStoredBlock& block) const;
  std::int64_t CountTogether(const HfaStoredBlock& block, int blockX, int blockY) const;
  bool ReadAhead(std::int64_t offset, std::int64_t count);

  const HfaStore& store_;
  RowReader reader_;
  int lastBlockX_;
  PixelStorage room_;
  std::int64_t aheadOffset_ = 0;  // the piece of the file that is in memory
  Bytes ahead_;
};

}  // namespace zrk
