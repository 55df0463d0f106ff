#pragma once

#include "core/level/PyramidBuild.h"
#include "core/level/TileSource.h"
#include "core/level/TopMaker.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace zrk {

/// How pyramids of one shape are cut into trees of blocks.
///
/// A block is some tiles of one image that lie side by side. Two blocks, one below the other, make a block of the next
/// image that has half as many tiles, and so on up to the root of the tree. Trees share no tile. The images below the
/// roots are not part of any tree.
struct TreePlan {
  int blockTiles;   ///< the tiles of a block of the top, a multiple of 2^depth
  int partTiles;    ///< those of them that are read and made at once
  int depth;        ///< the level of the roots
  int rootColumns;  ///< how many trees there are side by side
  int rootRows;

  int CountTrees() const { return rootColumns * rootRows; }

  /// None if the bands are better read in whole rows. That is so if they are not in tiles, if their blocks can't be
  /// made apart, or if their samples are too wide to be counted value by value, because sums then depend on the order
  /// of the samples. The bands have stores of one shape.
  static std::optional<TreePlan> Make(std::span<PyramidBand> bands, const TopMaker& top, const Window& window);

 private:
  static TreePlan Cut(const PyramidLayout& layout, int step);
};

/// Builds trees of one band. For one thread.
class TileTree {
 public:
  /// `top` must outlive the tree. `window` is that of the source.
  TileTree(const PyramidBand& band, const TreePlan& plan, const TopMaker& top, const Window& window);

  /// Makes all blocks of a tree from the source and writes them to the store. Samples of the top are added to the
  /// statistics as part 0. After each block of the top, `goOn` gets the number of its tiles and answers whether to go
  /// on. Throws std::bad_alloc.
  PyramidResult Build(int tree, const std::function<bool(int)>& goOn);

  SampleStatistics statistics;

 private:
  struct Block {
    int level;
    int column;  // counted in blocks
    int row;     // counted in tiles
  };

  PyramidResult MakeBlock(const Block& block);
  PyramidResult MakeTopBlock(const Block& block);
  PyramidResult MakeFromAbove(const Block& block);
  bool ReadPart(const Block& block, int firstTile, int endTile);
  bool ReadTiles(const Window& part, int firstTile);
  bool ReadBand(const Window& part, int firstTile);
  void PutTop(BlockPair piece, int x);
  void Count(const Block& block, int firstTile, int endTile);
  void Halve(const Block& above);

  int FirstTile(const Block& block) const { return block.column * (plan_.blockTiles >> block.level); }
  int CountTiles(const Block& block) const;
  bool IsCut(const Block& block) const;
  int RowsOf(const Block& block) const;
  int ColumnsOf(const Block& block, int tile) const;

  unsigned char* Tile(int level, int tile) {
    return tiles_[static_cast<std::size_t>(level)].data() + tile * layout_.TileBytes();
  }

  ZRMBand& source_;
  std::shared_ptr<PlainStore> store_;
  const PyramidLayout& layout_;
  Reduction reduction_;
  TreePlan plan_;
  const TopMaker& top_;
  Window window_;
  std::optional<TileSource> tileSource_;           // none where the source is read through the band
  std::vector<std::vector<unsigned char>> tiles_;  // a block of each level
  std::vector<unsigned char> room_;
  const std::function<bool(int)>* goOn_ = nullptr;
};

}  // namespace zrk
