#include "Samples.h"
#include "TxidBuilder.h"
#include "XFormatId.h"

namespace {

/// Tiles out of order, and one that is not there.
TxidBuilder SmallStore() {
  return TxidBuilder().Grid(3, 2, 12).Tile(4).Tile(0).Tile(1).Tile(5).Tile(3);
}

/// A tile size that ends within a block.
TxidBuilder LargeStore() {
  TxidBuilder builder = TxidBuilder().Grid(3, 4, 151);
  for (int key = 0; key < 12; ++key) builder.Tile(key);
  return builder;
}

}  // namespace

std::vector<Sample> MakeTxidSamples() {
  Sample small{"TxidSparse",
               kFormatTXID,
               [] { return SmallStore().BuildIndex(); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               true,
               kNoOracle,
               nullptr,
               0,
               0,
               DamageRule::kOwnSuites};
  small.policy = kReadExact;
  small.companion = ".txd";
  small.buildCompanion = [] { return SmallStore().BuildData(); };
  Sample large{"TxidOfOddTiles",
               kFormatTXID,
               [] { return LargeStore().BuildIndex(); },
               LevelRule::kDecimated,
               SampleDisk::kPlain,
               false,
               kNoOracle,
               nullptr};
  large.policy = kReadExact;
  large.companion = ".txd";
  large.buildCompanion = [] { return LargeStore().BuildData(); };
  return {small, large};
}
