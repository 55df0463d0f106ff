#pragma once

#include "base/BlockGrid.h"
#include "core/model/PlainWindow.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace zrk {

struct HfaLayer;

/// A block as it lies in its file.
struct HfaStoredBlock {
  std::uint32_t offset = 0;
  std::uint32_t bytes = 0;
  bool isThere = false;
  bool isCompressed = false;
};

/// Where the blocks of a layer lie. For many threads at once.
struct HfaStore {
  std::shared_ptr<const RowFile> file;
  BlockGrid grid;
  int sampleBytes = 1;
  std::optional<PlainBlocks> plain;    ///< where all blocks are there and plain
  std::vector<HfaStoredBlock> blocks;  ///< row by row, where they are not
};

/// Finds the blocks of layer `number` in its file. Empty where the blocks lie in another file, where samples are not
/// whole bytes, where the dictionary of the file is not the usual one, and where the file lacks some of the records.
/// `diskFails` tells that the disk did not give some of them, and may do so later.
std::optional<HfaStore> FindHfaStore(const std::shared_ptr<const RowFile>& file, int number, const HfaLayer& layer,
                                     bool& diskFails);

}  // namespace zrk
