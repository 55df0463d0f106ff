// Tiles of pictures are drawn several at once. What a tile shows does not depend on which of them are wanted, or can be
// read.

#include "GlobeSources.h"
#include "LevelDataset.h"
#include "XThread.h"

#include <gtest/gtest.h>

namespace {

/// A band of the whole earth whose pixels from column 200 on can't be read.
class HalfABand : public MemoryBand {
 public:
  HalfABand() {
    SetSamples(360, 180, std::vector<std::uint8_t>(360 * 180, 200));
    SetUpperLeft(-180.0, 90.0);
    SetCoordinateKind(kCoordinateWorld);
    GetSR()->importFromEPSG(4326);
  }
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    return x1 < 200 ? MemoryBand::ReadSubset(out, level, x0, x1, y0, y1, cancel) : 0;
  }
};

}  // namespace

// The blocks of places that are warped follow from the picture that is drawn, which is therefore always the same.
TEST(DrawnUnits, AreTheSameWhereTheWorkWasStoppedAmidOne) {
  const TempFolder folder;
  GlobeSources sources;
  sources.Add<std::uint8_t>(
      {300000.0, 5700000.0, 1000.0, 1000.0, 400, 400}, [](int x, int y) { return (x * 5 + y * 11) % 250; }, 32632);
  const tagXGlobeExport what{false, 5, 5, 6.0, 48.0, 11.9, 49.5};
  const auto make = [&](const char* name, bool resumes, XThread* thread) {
    tagXGlobeState state;
    XString error;
    XfnContinueGlobeExport(folder.Path(name), &sources.manager, what, {1, 1, resumes, "", ""}, state, error, thread);
    return state.numDone;
  };
  const std::int64_t numTiles = make("whole", false, nullptr);
  // Four rows of twelve, so that units of eight go over the ends of rows.
  ASSERT_EQ(48, numTiles);
  for (const int tile : {2, 5, 11, 14}) {
    PercentKeeper keeper(tile);
    XThread thread(&keeper);
    EXPECT_EQ(tile - 1, make("part", false, &thread));
    EXPECT_EQ(numTiles, make("part", true, nullptr));
    EXPECT_TRUE(ReadBytes(folder.Path("whole")) == ReadBytes(folder.Path("part"))) << tile;
  }
}

// Columns from 0 to 18 degrees can be read, and those up to 36 degrees can't.
TEST(DrawnUnits, LackACompositeInThoseTilesAloneThatItCannotBeReadForInTheCompatiblePolicy) {
  const TempFolder folder;
  HalfABand band;
  auto* const composite = new ZRMComposite;
  composite->SetBand(0, &band);
  ZRMCompManager manager;
  manager.AddZRMComposite(composite);
  XString error;
  ASSERT_EQ(1, XfnExport2PBI(folder.Path("a"), &manager, 0, 0, 0.0, 0.0, 35.0, 17.0, 0, error, nullptr));
  const ExportedStore store(folder.Path("a"));
  const std::vector<unsigned char> shown = store.Blocks(0, 5, 10), background = store.Blocks(0, 5, 11);
  EXPECT_EQ(200, shown[1] & 0xF8);
  EXPECT_EQ(0, background[1]);
}
