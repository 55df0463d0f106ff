// Pyramids of sources in tiles, made block by block. A block of the top is made from the source and counted. It is made
// smaller into a half of the block of the next image. When that has both halves it goes the same way, and so on up to
// the root of the tree. Each block is written as soon as it is whole. All of this happens in memory that the core has
// at hand: there is room for one block of each level. Blocks lie in memory as their tiles do in the file, so that
// nothing has to be laid out for a write.
//
// Tiles have even sides, so that two by two samples never lie in two tiles. A last block that has no pair may have
// nothing below it. It belongs to a tree all the same.
//
// A source that is an uncompressed store is read tile by tile as well, and the means are made straight from its tiles.

#include "core/level/TileTree.h"

#include "base/OwnReads.h"
#include "core/level/PyramidStore.h"
#include "XJointReader.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace zrk {
namespace {

/// About how much a block of the top takes, which is one write. Smaller writes cost more for each byte.
constexpr std::int64_t kBlockBytes = 512 << 10;
/// About how much of it is made at once. What is read for it, four times as much, stays near the core until it is made
/// smaller and counted.
constexpr std::int64_t kPartBytes = 128 << 10;
/// Larger blocks would not stay in the cache, nor would tiles that are larger than this and come together.
constexpr std::int64_t kMaxBlockBytes = 2 << 20;
constexpr std::int64_t kMaxTileBytes = 512 << 10;
/// The level of the roots, where the pyramid has it. Deeper trees leave less for the end.
constexpr int kDepth = 3;
/// Blocks are smaller where there would be fewer trees for the workers to share.
constexpr int kMinTrees = 16;

}  // namespace

std::optional<TreePlan> TreePlan::Make(std::span<PyramidBand> bands, const TopMaker& top, const Window& window) {
  const PyramidLayout& layout = bands.front().store->Layout();
  const int xTile = layout.Shape().xTile, yTile = layout.Shape().yTile, scale = top.GetBlockScale();
  const int together = bands.front().source->GetDecodeColumns();
  const bool canBeCut = top.CanMakeBlocks() && layout.SampleBytes() <= 2 && xTile % 2 == 0 && yTile % 2 == 0 &&
                        layout.TileBytes() <= kMaxTileBytes;
  // Blocks begin and end at edges of the source's tiles, or each tile on the edge would be read twice.
  const auto isInTiles = [&](const PyramidBand& band) {
    return band.source->GetDecodeColumns() == together &&
           scale * yTile % std::max(band.source->GetDecodeRows(), 1) == 0;
  };
  if (!canBeCut || together <= 0 || window.x0 % together != 0 || !std::ranges::all_of(bands, isInTiles)) {
    return std::nullopt;
  }
  std::vector<ZRMBand*> sources;
  for (const PyramidBand& band : bands) sources.push_back(band.source);
  const int step = together / std::gcd(together, scale * xTile);
  if (XfnHaveJointSource(sources) || step > kMaxTileBytes / layout.TileBytes()) return std::nullopt;
  return Cut(layout, step);
}

/// Tiles of the top come in multiples of `step`.
TreePlan TreePlan::Cut(const PyramidLayout& layout, int step) {
  // Samples pair up as long as both sides have two.
  const int smallest = std::min(layout.Width(0), layout.Height(0));
  const auto depthOf = [](std::int64_t count) {
    return static_cast<int>(std::bit_width(static_cast<std::uint64_t>(count))) - 1;
  };
  const int mostDepth = depthOf(kMaxBlockBytes / (step * layout.TileBytes()));
  TreePlan plan;
  plan.depth = std::min({layout.Shape().levels, depthOf(smallest), mostDepth, kDepth});
  plan.partTiles = std::max(static_cast<int>(kPartBytes / layout.TileBytes()) / step, 1) * step;
  const int least = step << plan.depth;
  plan.blockTiles = std::max(static_cast<int>(kBlockBytes / layout.TileBytes()) / least, 1) * least;
  plan.rootRows = ((layout.Rows(0) - 1) >> plan.depth) + 1;
  const auto countColumns = [&] { return (layout.Columns(0) - 1) / plan.blockTiles + 1; };
  if (plan.rootRows < kMinTrees / countColumns()) plan.blockTiles = least;
  plan.rootColumns = countColumns();
  return plan;
}

TileTree::TileTree(const PyramidBand& band, const TreePlan& plan, const TopMaker& top, const Window& window)
    : statistics(band.store->Layout().Shape().dataType, band.reduction.nullValue),
      source_(*band.source),
      store_(band.store),
      layout_(band.store->Layout()),
      reduction_(band.reduction),
      plan_(plan),
      top_(top),
      window_(window),
      tileSource_(TileSource::Find(band, top, window)),
      tiles_(static_cast<std::size_t>(plan.depth) + 1) {
  for (int level = 0; level <= plan.depth; ++level) {
    tiles_[static_cast<std::size_t>(level)].resize(
        static_cast<std::size_t>((plan.blockTiles >> level) * layout_.TileBytes()));
  }
}

/// The tiles of a block that the image has. Not above 0 for a block beyond it.
int TileTree::CountTiles(const Block& block) const {
  return std::min(plan_.blockTiles >> block.level, layout_.Columns(block.level) - FirstTile(block));
}

/// The rows of a block and the columns of one of its tiles that the image has. Not above 0 beyond it.
int TileTree::RowsOf(const Block& block) const {
  const std::int64_t yTile = layout_.Shape().yTile;
  return static_cast<int>(std::min(yTile, layout_.Height(block.level) - block.row * yTile));
}
int TileTree::ColumnsOf(const Block& block, int tile) const {
  const std::int64_t xTile = layout_.Shape().xTile;
  return static_cast<int>(std::min(xTile, layout_.Width(block.level) - (FirstTile(block) + tile) * xTile));
}

/// Whether the image ends within the block.
bool TileTree::IsCut(const Block& block) const {
  const int last = (plan_.blockTiles >> block.level) - 1;
  return RowsOf(block) < layout_.Shape().yTile || ColumnsOf(block, last) < layout_.Shape().xTile;
}

PyramidResult TileTree::Build(int tree, const std::function<bool(int)>& goOn) {
  goOn_ = &goOn;
  return MakeBlock({plan_.depth, tree % plan_.rootColumns, tree / plan_.rootColumns});
}

PyramidResult TileTree::MakeBlock(const Block& block) {
  auto& tiles = tiles_[static_cast<std::size_t>(block.level)];
  // Tiles are whole on the medium. What lies beyond the edges of the image is 0.
  if (IsCut(block)) std::ranges::fill(tiles, 0);
  const PyramidResult made = block.level == 0 ? MakeTopBlock(block) : MakeFromAbove(block);
  if (made != PyramidResult::kDone) return made;
  const PlainStore::TileRun run = {block.level, FirstTile(block), block.row, CountTiles(block)};
  if (run.count <= 0 || RowsOf(block) <= 0) return PyramidResult::kDone;
  if (!store_->WriteTiles(run, tiles.data())) return PyramidResult::kWriteFailed;
  // Nobody writes to these tiles again. The medium may take them while the rest is computed.
  store_->StartSync(run);
  return PyramidResult::kDone;
}

PyramidResult TileTree::MakeTopBlock(const Block& block) {
  const int count = CountTiles(block);
  for (int tile = 0, end = 0; tile < count; tile = end) {
    end = std::min(tile + plan_.partTiles, count);
    if (!ReadPart(block, tile, end)) return PyramidResult::kReadFailed;
    Count(block, tile, end);
  }
  return (*goOn_)(count) ? PyramidResult::kDone : PyramidResult::kStopped;
}

/// There may be no block above in the last row, and one that lies beyond its image may have blocks above it.
PyramidResult TileTree::MakeFromAbove(const Block& block) {
  for (int half = 0; half < 2; ++half) {
    const Block above = {block.level - 1, block.column, 2 * block.row + half};
    if (above.row << above.level >= layout_.Rows(0)) continue;
    const PyramidResult made = MakeBlock(above);
    if (made != PyramidResult::kDone) return made;
    Halve(above);
  }
  return PyramidResult::kDone;
}

bool TileTree::ReadPart(const Block& block, int firstTile, int endTile) {
  const int scale = top_.GetBlockScale(), xTile = layout_.Shape().xTile;
  const int x = (FirstTile(block) + firstTile) * xTile, y = block.row * layout_.Shape().yTile;
  const int width = std::min((endTile - firstTile) * xTile, layout_.Width(0) - x);
  const Window part = {window_.x0 + scale * x, window_.x0 + scale * (x + width) - 1, window_.y0 + scale * y,
                       window_.y0 + scale * (y + RowsOf(block)) - 1};
  return (tileSource_ && ReadTiles(part, firstTile)) || ReadBand(part, firstTile);
}

bool TileTree::ReadTiles(const Window& part, int firstTile) {
  const std::int64_t stride = layout_.TileRowBytes();
  return tileSource_->Read(part, room_, [&](const TileSource::Part& tile) {
    unsigned char* const to = Tile(0, firstTile) + tile.y * stride;
    PutTop({tile.samples, tile.stride, to, stride, tile.width, tile.rows}, tile.x);
  });
}

/// A band may be the caller's own and answer with a buffer of any shape. Only the right one is looked into.
bool TileTree::ReadBand(const Window& part, int firstTile) {
  const OwnReads own;
  tagXArr2* read = nullptr;
  const bool isRead = source_.ReadSubset(read, 0, part.x0, part.x1, part.y0, part.y1, nullptr) &&
                      read->xSize == part.Width() && read->ySize == part.Height();
  if (!isRead) return false;
  const int scale = top_.GetBlockScale();
  const std::int64_t readStride = std::int64_t{read->xSize} * layout_.SampleBytes();
  PutTop(
      {read->data, readStride, Tile(0, firstTile), layout_.TileRowBytes(), part.Width() / scale, part.Height() / scale},
      0);
  return true;
}

/// Makes samples of the top, and spreads them over the tiles from the one at `piece.to` on, beginning in its column
/// `x`, which may lie in a tile behind it.
void TileTree::PutTop(BlockPair piece, int x) {
  const int xTile = layout_.Shape().xTile, end = x + piece.width;
  unsigned char* const row = piece.to;
  while (x < end) {
    const int inTile = x % xTile;
    piece.width = std::min(xTile - inTile, end - x);
    piece.to = row + x / xTile * layout_.TileBytes() + std::int64_t{inTile} * layout_.SampleBytes();
    top_.MakeBlock(piece);
    piece.from += std::int64_t{piece.width} * top_.GetBlockScale() * layout_.SampleBytes();
    x += piece.width;
  }
}

void TileTree::Count(const Block& block, int firstTile, int endTile) {
  const int rows = RowsOf(block);
  for (int tile = firstTile; tile < endTile; ++tile) {
    const int columns = ColumnsOf(block, tile);
    // Rows that fill their tile follow one another.
    const int together = columns == layout_.Shape().xTile ? rows : 1;
    for (int row = 0; row < rows; row += together) {
      statistics.Add(0, Tile(0, tile) + row * layout_.TileRowBytes(),
                     static_cast<std::size_t>(columns) * static_cast<std::size_t>(together));
    }
  }
}

/// Makes a block smaller, into the half of the next one where it belongs. A last row or column without a pair is left
/// out.
void TileTree::Halve(const Block& above) {
  const std::int64_t stride = layout_.TileRowBytes();
  const int rows = RowsOf(above) / 2;
  if (rows <= 0) return;
  for (int tile = 0; tile < CountTiles(above); ++tile) {
    unsigned char* const to =
        Tile(above.level + 1, tile / 2) + above.row % 2 * (layout_.TileBytes() / 2) + tile % 2 * (stride / 2);
    ReduceBlock(layout_.Shape().dataType, reduction_,
                {Tile(above.level, tile), stride, to, stride, ColumnsOf(above, tile) / 2, rows});
  }
}

}  // namespace zrk
