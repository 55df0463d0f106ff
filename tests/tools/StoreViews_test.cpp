// Tile stores of the globe under the subcommands that all rasters have.

#include "PbeBuilder.h"
#include "PbiBuilder.h"
#include "PngReader.h"
#include "Program.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

namespace {

using testing::HasSubstr;

class ZrkioStoreViews : public Zrkio {
 protected:
  std::string Out(const char* name) const { return folder_.Path(name); }
  std::vector<unsigned char> ReadRaw(const std::string& path, const char* window) {
    const ProgramResult result = Run({"read", path, "--window", window, "-o", Out("part.raw")});
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return ReadBytes(Out("part.raw"));
  }
};

}  // namespace

TEST_F(ZrkioStoreViews, InfoTellsLevelsWithTheirRangesSizesAndEmptyTiles) {
  PbiBuilder store;
  store.Level({.level = 1, .llRow = 3, .llCol = 4, .urRow = 3, .urCol = 5});
  store.Level({.level = 2, .llRow = 6, .llCol = 8, .urRow = 7, .urCol = 11});
  std::vector<unsigned char> bytes = store.Build();
  std::fill(bytes.end() - 32768, bytes.end(), static_cast<unsigned char>(0));
  const std::string info = Run({"info", Write("a.pbi", bytes)}).out;
  EXPECT_THAT(info, HasSubstr("level 1     rows 3 to 3, columns 4 to 5, tiles of 256 x 256 pixels, 32768 bytes each, "
                              "0 of 2 tiles empty"));
  EXPECT_THAT(info, HasSubstr("level 2     rows 6 to 7, columns 8 to 11, tiles of 256 x 256 pixels, 32768 bytes each, "
                              "1 of 8 tiles empty"));
}

TEST_F(ZrkioStoreViews, ImageStoresAreReadLikeAnyRasterByEitherName) {
  const PbiBuilder::Range range = {.level = 1, .llRow = 3, .llCol = 4, .urRow = 3, .urCol = 4};
  for (const auto& [name, mark] : {std::pair{"a.pbi", "PBI"}, {"a.pei", "PEI"}}) {
    PbiBuilder store;
    store.Mark(mark).Level(range);
    const std::string path = Write(name, store.Build());
    EXPECT_THAT(Run({"bounds", path}).out, HasSubstr("-144")) << name;
    const std::vector<unsigned char> part = ReadRaw(path, "10,12,20,20");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(store.At(0, 3, 4, 10 + i, 20)[0], part.at(static_cast<std::size_t>(i)));
    EXPECT_EQ(0, Run({"view", path, "-o", Out("v.png")}).exitStatus);
    const DecodedPng picture = DecodePng(Out("v.png"));
    for (int c = 0; c < 3; ++c) EXPECT_EQ(store.At(0, 3, 4, 7, 9)[static_cast<std::size_t>(c)], picture.At(7, 9, c));
    EXPECT_EQ(0, Run({"convert", path, Out("c.tif")}).exitStatus);
    EXPECT_EQ(part, ReadRaw(Out("c.tif"), "10,12,20,20")) << name;
  }
}

TEST_F(ZrkioStoreViews, ElevationStoresAreReadLikeAnyRaster) {
  PbeBuilder store;
  store.Smooth().Level({.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10});
  const std::string path = Write("a.pbe", store.Build());
  EXPECT_THAT(Run({"bounds", path}).out, HasSubstr("18.3"));  // half a post beyond the tile
  float post = 0.0F;
  const std::vector<unsigned char> part = ReadRaw(path, "7,7,9,9");
  ASSERT_EQ(sizeof post, part.size());
  std::memcpy(&post, part.data(), sizeof post);
  EXPECT_EQ(static_cast<float>(store.At(0, 5, 10, 7, 9)), post);
  EXPECT_EQ(0, Run({"convert", path, Out("c.tif")}).exitStatus);
  EXPECT_EQ(part, ReadRaw(Out("c.tif"), "7,7,9,9"));
}

/// Posts are 0.6 degrees apart and rise by 3 m to the east and by 5 m to the south. On the equator these are slopes of
/// 3 / 66,792 and 5 / 66,345, and 10,000 times as steep 0.44916 and 0.75364: light (0.60140 + 0.70711) / 1.33030 =
/// 0.98362, which is 250.8.
TEST_F(ZrkioStoreViews, ElevationStoresAreShadedByTheirHeights) {
  PbeBuilder store;
  store.Smooth().Level({.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10});
  const std::string path = Write("a.pbe", store.Build());
  ASSERT_EQ(0, Run({"view", path, "--hillshade", "--z-factor", "10000", "-o", Out("h.png")}).exitStatus);
  const DecodedPng picture = DecodePng(Out("h.png"));
  ASSERT_EQ(31, picture.height);
  for (int x = 0; x < 31; ++x) EXPECT_EQ(251, picture.At(x, 30, 0)) << x;
}
