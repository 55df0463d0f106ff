// Tiles of image stores: taken out one by one, and checked block by block.

#include "tiles/BlockCoder.h"
#include "tiles/StoreCheck.h"
#include "tiles/TileFile.h"

#include <algorithm>
#include <utility>

namespace zrk {
namespace {

std::uint32_t TakeBits(const unsigned char* bytes, int count) {
  std::uint32_t bits = 0;
  for (int i = count - 1; i >= 0; --i) bits = bits << 8 | bytes[i];
  return bits;
}

/// Whether any of the sixteen codes is 1.
bool HasCodeOne(std::uint32_t codes) {
  constexpr std::uint32_t kLowBits = 0x55555555;
  return (codes & kLowBits & ~(codes >> 1)) != 0;
}

bool IsMadeByNobody(const unsigned char* colours) {
  return TakeBits(colours, 2) == TakeBits(colours + 2, 2) && HasCodeOne(TakeBits(colours + 4, 4));
}

}  // namespace

void CheckBlocks(std::span<const unsigned char> blocks, _XDXTTYPE type, const StoreTilePlace& place,
                 StoreFindings& findings) {
  const std::size_t blockBytes = type == kDxt1 ? 8 : 16, colourOffset = blockBytes - 8;
  std::size_t numBad = 0;
  for (std::size_t at = 0; at + blockBytes <= blocks.size(); at += blockBytes) {
    numBad += IsMadeByNobody(blocks.data() + at + colourOffset);
  }
  if (numBad > 0) {
    findings.Add("Level %d, row %d, column %d: %zu %s none that an encoder makes", place.level, place.row, place.col,
                 numBad, WordFor(static_cast<std::int64_t>(numBad), "block is", "blocks are"));
  }
}

int CheckImageStore(const XString& path, StoreFindings& findings, XString& err, XThread* thread) {
  const StoreCheckPlan plan = {
      .kind = StoreKind::kImage,
      .tileBytes =
          [](const StoreHeader&, const tagXTileLevel& level) {
            const auto type = static_cast<_XDXTTYPE>(level.blockType);
            return static_cast<std::int64_t>(BlockBytes({type, level.tileWidth, level.tileHeight}));
          },
      .begin = nullptr,
      .checkTile =
          [&](const tagXTileLevel& level, const StoreTilePlace& place, std::span<const unsigned char> bytes) {
            const auto type = static_cast<_XDXTTYPE>(level.blockType);
            if (BlockBytes({type, level.tileWidth, level.tileHeight}) == bytes.size()) {
              CheckBlocks(bytes, type, place, findings);
            }
          }};
  return CheckGlobeStore(path, plan, findings, err, thread);
}

}  // namespace zrk
