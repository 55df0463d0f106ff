// zrkio tile, grid, verify and value --level on tile stores that are built byte by byte.

#include "AnyJson.h"
#include "PbeBuilder.h"
#include "PbiBuilder.h"
#include "PngReader.h"
#include "Program.h"
#include "StoreBytes.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

namespace {

class ZrkioStore : public Zrkio {
 protected:
  ZrkioStore() {
    store_.Level({.level = 2, .llRow = 3, .llCol = 4, .urRow = 4, .urCol = 6});
    path_ = Write("a.pbi", store_.Build());
  }
  std::string Out(const char* name) const { return folder_.Path(name); }

  PbiBuilder store_;
  std::string path_;
};

using Bytes = std::vector<unsigned char>;

std::uint32_t WordAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes.data() + offset, sizeof word);
  return word;
}

}  // namespace

TEST_F(ZrkioStore, TileTakesTheBytesOut) {
  const ProgramResult result = Run({"tile", path_, "2", "4", "5", "-o", Out("t.raw")});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  const Bytes all = store_.Build(), tile = ReadBytes(folder_.Path("t.raw"));
  const auto begin = all.begin() + static_cast<std::ptrdiff_t>(store_.OffsetOf(0, 4, 5));
  EXPECT_EQ(Bytes(begin, begin + 32768), tile);
}

TEST_F(ZrkioStore, TileMakesADdsFileOfTheBlocks) {
  ASSERT_EQ(0, Run({"tile", path_, "2", "3", "4", "-o", Out("t.dds")}).exitStatus);
  const Bytes dds = ReadBytes(folder_.Path("t.dds")), all = store_.Build();
  ASSERT_EQ(128u + 32768, dds.size());
  EXPECT_EQ("DDS ", std::string(dds.begin(), dds.begin() + 4));
  EXPECT_EQ(124u, WordAt(dds, 4));
  EXPECT_EQ(256u, WordAt(dds, 12));
  EXPECT_EQ(256u, WordAt(dds, 16));
  EXPECT_EQ(32768u, WordAt(dds, 20));
  EXPECT_EQ(32u, WordAt(dds, 76));
  EXPECT_EQ("DXT1", std::string(dds.begin() + 84, dds.begin() + 88));
  EXPECT_EQ(Bytes(all.begin() + 51200, all.begin() + 51200 + 32768), Bytes(dds.begin() + 128, dds.end()));
}

TEST_F(ZrkioStore, TileMakesAPictureWithOpacity) {
  ASSERT_EQ(0, Run({"tile", path_, "2", "3", "6", "-o", Out("t.png")}).exitStatus);
  const DecodedPng png = DecodePng(Out("t.png"));
  ASSERT_EQ(256, png.width);
  ASSERT_EQ(4, png.channels);
  for (const auto& [x, y] : {std::pair{0, 0}, {255, 0}, {17, 200}, {255, 255}}) {
    const auto expected = store_.At(0, 3, 6, x, y);
    for (int c = 0; c < 4; ++c) EXPECT_EQ(expected[static_cast<std::size_t>(c)], png.At(x, y, c)) << x << ", " << y;
  }
}

TEST_F(ZrkioStore, TileOfHeightsIsGreyAndNoDds) {
  const std::string path = Write("a.pbe", PbeBuilder().Smooth().Level({.urRow = 1, .urCol = 1}).Build());
  ASSERT_EQ(0, Run({"tile", path, "0", "0", "0", "-o", Out("h.png")}).exitStatus);
  const DecodedPng png = DecodePng(Out("h.png"));
  EXPECT_EQ(1, png.channels);
  EXPECT_EQ(31, png.width);
  EXPECT_EQ(0, *std::ranges::min_element(png.samples));
  EXPECT_EQ(255, *std::ranges::max_element(png.samples));
  const ProgramResult result = Run({"tile", path, "0", "0", "0", "-o", Out("h.dds")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_FALSE(ListFiles().contains("h.dds"));
}

TEST_F(ZrkioStore, TileOfTheFarthestHeightsIsGreyAllTheSame) {
  const std::vector<float> heights = {-3e38F, 3e38F, 0.0F, NAN};
  Bytes body(sizeof(float) * heights.size());
  std::memcpy(body.data(), heights.data(), body.size());
  const StoreRecord level = {.tileWidth = 4, .tileHeight = 1, .storage = 16, .offset = 51200};
  const std::string path = Write("a.pbe", StoreBuilder("PBE").Version(1.2).Level(level).Body(body).Build());
  ASSERT_EQ(0, Run({"tile", path, "0", "0", "0", "-o", Out("h.png")}).exitStatus);
  EXPECT_THAT(DecodePng(Out("h.png")).samples, testing::ElementsAre(0, 255, 128, 0));
}

TEST_F(ZrkioStore, TileRefusesWhatIsNotThere) {
  const ProgramResult result = Run({"tile", path_, "2", "5", "5", "-o", Out("t.raw")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path_ + ": Level 2 has the rows 3 to 4 and the columns 4 to 6\n", result.err);
  EXPECT_EQ(2, Run({"tile", path_, "2", "0.5", "5", "-o", Out("t.raw")}).exitStatus);
  EXPECT_EQ(2, Run({"tile", path_, "2", "3", "5", "-o", Out("t.jpg")}).exitStatus);
  EXPECT_EQ(2, Run({"tile", path_, "2", "3", "5"}).exitStatus);
  EXPECT_EQ((std::set<std::string>{"a.pbi"}), ListFiles());
}

TEST_F(ZrkioStore, TileNeverReplacesItsStore) {
  std::filesystem::create_symlink(path_, Out("b.raw"));
  EXPECT_EQ(1, Run({"tile", path_, "2", "3", "4", "-o", Out("b.raw")}).exitStatus);
  EXPECT_EQ(store_.Build(), ReadBytes(folder_.Path("a.pbi")));
}

TEST_F(ZrkioStore, GridTellsTheTileOfAPlace) {
  // At level 8 a tile has 18 / 256 = 0.0703125 degrees: (11.58 + 180) / 0.0703125 = 2724.7, (48.14 + 90) / ... =
  // 1964.7.
  const AnyJson tile = AnyJson::parse(Run({"grid", "11.58", "48.14", "--level", "8", "--json"}).out);
  EXPECT_EQ(1964, tile["row"]);
  EXPECT_EQ(2724, tile["column"]);
  EXPECT_EQ(0.0703125, tile["tileSize"]);
  EXPECT_EQ(2724 * 0.0703125 - 180.0, tile["west"]);
  EXPECT_EQ(1965 * 0.0703125 - 90.0, tile["north"]);
  EXPECT_EQ("008000002724000001964", tile["name"]);
  EXPECT_EQ((std::int64_t{8} << 56) | (std::int64_t{2724} << 28) | 1964, tile["lxy"].get<std::int64_t>());
}

TEST_F(ZrkioStore, GridPrintsLinesAndTakesNegativeNumbers) {
  EXPECT_EQ(
      "-0.5, -90\n"
      "  level       0, tiles of 18 degrees\n"
      "  row         0\n"
      "  column      9\n"
      "  lower left  -18, -90\n"
      "  upper right 0, -72\n"
      "  LXY         2415919104\n"
      "  name        000000000009000000000\n",
      Run({"grid", "-0.5", "-90"}).out);
}

TEST_F(ZrkioStore, GridRefusesPlacesBesideTheGlobe) {
  for (const auto& [lon, lat] : {std::pair{"180", "0"}, {"-180.1", "0"}, {"0", "90"}, {"nan", "0"}}) {
    EXPECT_EQ(2, Run({"grid", lon, lat}).exitStatus) << lon;
  }
  EXPECT_EQ(2, Run({"grid", "0", "0", "--level", "23"}).exitStatus);
}

TEST_F(ZrkioStore, VerifySaysThatNothingIsWrong) {
  const std::string path = Write("a.pbe", PbeBuilder().Smooth().Level({.urRow = 1, .urCol = 1}).Build());
  const ProgramResult result = Run({"verify", path});
  EXPECT_EQ(0, result.exitStatus) << result.out;
  EXPECT_EQ(path + "\n  tiles       4, 0 of them empty\n  nothing is wrong\n", result.out);
}

TEST_F(ZrkioStore, VerifyListsWhatIsWrongAndEndsWithOne) {
  PbiBuilder store;
  store.Level({.level = 2, .llRow = 3, .llCol = 4, .urRow = 4, .urCol = 6});
  store.RecordAt(0).urCol = 100;
  const std::string path = Write("b.pbi", store.Build());
  const ProgramResult result = Run({"verify", path, "--json"});
  EXPECT_EQ(1, result.exitStatus);
  const AnyJson json = AnyJson::parse(result.out);
  EXPECT_EQ(2, json["numFindings"]);
  EXPECT_EQ("Level 2: rows 3 to 4 and columns 4 to 100 reach beyond the globe", json["findings"][0]);
}

TEST_F(ZrkioStore, VerifyOfWhatIsNoStoreFails) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  const ProgramResult result = Run({"verify", path});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": Not a tile store\n", result.err);
}

TEST_F(ZrkioStore, ValueTellsTheSampleOfALevel) {
  // One pixel has 4.5 / 256 degrees. The place lies in tile (3, 4), 100 pixels from the west and 50 from the north.
  const double size = 4.5 / 256;
  const std::string lon = std::to_string(4 * 4.5 - 180 + 100.5 * size),
                    lat = std::to_string(4 * 4.5 - 90 - 50.5 * size);
  const AnyJson full = AnyJson::parse(Run({"value", path_, lon, lat, "--json"}).out);
  EXPECT_EQ(store_.At(0, 3, 4, 100, 50)[0], full["channels"][0]["value"]);
  // Pixel (100, 256 + 50) of the image; at level 2 the square from (100, 304) on stands for it.
  const AnyJson reduced = AnyJson::parse(Run({"value", path_, lon, lat, "--level", "2", "--json"}).out);
  EXPECT_EQ(store_.At(0, 3, 4, 100, 48)[0], reduced["channels"][0]["value"]);
}
