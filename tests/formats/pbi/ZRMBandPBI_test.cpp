#include "ZRMBandPBI.h"
#include "OpenRaster.h"
#include "PbiBuilder.h"
#include "PbiReference.h"
#include "tagXFormatNotes.h"
#include "XFormatId.h"
#include "XPBIFileInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>

// Compatible reads of image stores: each oddity that callers rely on.

namespace {

using OpenPbi = OpenRaster<ZRMBandPBI>;

OpenPbi Open(const PbiBuilder& store) {
  return OpenPbi(store.Build(), "a.pbi", kFormatPBI);
}

/// Two by three tiles above the equator.
PbiBuilder OneLevel(int level = 0) {
  return PbiBuilder().Level({.level = level, .llRow = 5, .llCol = 10, .urRow = 6, .urCol = 12});
}

/// A pyramid of one tile at level 0.
PbiBuilder ThreeLevels() {
  return PbiBuilder()
      .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10})
      .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 11, .urCol = 21})
      .Level({.level = 2, .llRow = 20, .llCol = 40, .urRow = 23, .urCol = 43});
}

TEST(ZRMBandPBI, HasFourChannelsOfBytesWithTheirRoles) {
  OpenPbi store = Open(OneLevel());
  ASSERT_EQ(1, store.IsOpen());
  ASSERT_EQ(4, store.File().GetNumOfBands());
  EXPECT_EQ("a.pbi : Channel 1", store.BandAt(0).GetBandName().AsStdString());
  EXPECT_EQ("a.pbi : Channel 4", store.BandAt(3).GetBandName().AsStdString());
  const XColourRole roles[] = {kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha};
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ(kPint08, store.BandAt(k).GetDataType());
    EXPECT_EQ(roles[k], store.BandAt(k).GetColourRole());
    EXPECT_EQ(k, store.BandAt(k).GetChannel());
  }
  EXPECT_EQ(255.0, store.BandAt().GetBandMax());
}

TEST(ZRMBandPBI, LiesAtTheCornersOfItsTiles) {
  OpenPbi store = Open(ThreeLevels());
  const ZRMBandPBI& band = store.BandAt(2);
  EXPECT_EQ(1024, band.GetXSize());
  EXPECT_EQ(1024, band.GetYSize());
  EXPECT_EQ(0.0, band.GetULX());
  EXPECT_EQ(18.0, band.GetULY());
  EXPECT_EQ(18.0 / 1024, band.GetXPixelSize());
  double transform[6];
  band.GetGeoTransform(transform);
  EXPECT_EQ(0.0, transform[0]);
  EXPECT_EQ(18.0, transform[3]);
  EXPECT_EQ(-18.0 / 1024, transform[5]);
  EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
}

TEST(ZRMBandPBI, CoversTheExtentOfAllLevels) {
  const PbiBuilder builder = PbiBuilder()
                                 .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 10, .urCol = 20})
                                 .Level({.level = 0, .llRow = 4, .llCol = 9, .urRow = 4, .urCol = 9});
  OpenPbi store = Open(builder);
  EXPECT_EQ(-18.0, store.BandAt().GetULX());
  EXPECT_EQ(9.0, store.BandAt().GetULY());
  EXPECT_EQ(768, store.BandAt().GetXSize());
  EXPECT_EQ(768, store.BandAt().GetYSize());
}

TEST(ZRMBandPBI, IsPlacedBy18DegreesWhateverTheHeaderSays) {
  OpenPbi store = Open(OneLevel().TileSize(9.0));
  EXPECT_EQ(0.0, store.BandAt().GetULX());
  EXPECT_EQ(36.0, store.BandAt().GetULY());
  EXPECT_EQ(0.0703125, store.BandAt().GetXPixelSize());
  EXPECT_EQ(Open(OneLevel()).Read(0, {30, 500, 3, 300}), store.Read(0, {30, 500, 3, 300}));
}

TEST(ZRMBandPBI, HasTheResolutionOf256PixelsATile) {
  EXPECT_EQ(0.0703125, ZRMBandPBI::CalcResolution(0));
  EXPECT_EQ(0.0703125, ZRMBandPBI::CalcResolution(-3));
  EXPECT_EQ(0.03515625, ZRMBandPBI::CalcResolution(1));
}

TEST(ZRMBandPBI, TellsTheRangeOfItsLevels) {
  OpenPbi store = Open(ThreeLevels());
  int lowest = 0, highest = 0;
  store.BandAt(1).GetLevelRange(lowest, highest);
  EXPECT_EQ(0, lowest);
  EXPECT_EQ(2, highest);
  ZRMBandPBI(nullptr).GetLevelRange(lowest, highest);
  EXPECT_EQ(INT_MAX, lowest);
  EXPECT_EQ(INT_MIN, highest);
}

TEST(ZRMBandPBI, TellsNothingOfAFileThatIsNoStore) {
  const PbiBuilder below = PbiBuilder().Level({.level = -1, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10});
  for (const PbiBuilder& builder : {OneLevel().Mark("PBX"), PbiBuilder(), OneLevel().Count(0), below}) {
    OpenPbi store = Open(builder);
    EXPECT_EQ(0, store.IsOpen());
    EXPECT_EQ("", store.Error());
  }
  EXPECT_EQ(1, Open(OneLevel().Mark("PEI")).IsOpen());
}

TEST(ZRMBandPBI, MakesAnEmptyFileWhereThereIsNone) {
  TempFolder folder;
  ZRMBandPBI band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile(folder.Path("a.pbi"), err, nullptr));
  EXPECT_EQ("Fail to read PBI file", err.AsStdString());
  EXPECT_EQ(0u, std::filesystem::file_size(folder.Path("a.pbi")));
}

TEST(ZRMBandPBI, ReplacesTheStoreByAnother) {
  OpenPbi store = Open(ThreeLevels());
  TempFolder folder;
  folder.Write("b.pbi", OneLevel(1).Build());
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  XString err;
  ASSERT_EQ(1, store.BandAt().ReadFile(folder.Path("b.pbi"), err, nullptr));
  EXPECT_EQ(768, store.BandAt().GetXSize());
  EXPECT_EQ(nullptr, store.BandAt().GetResult(0));
}

/// Windows with all kinds of places: on seams, beside them, of one column or row, of the whole.
const Window kWindows[] = {{0, 767, 0, 511},     {0, 255, 0, 255},     {256, 511, 256, 511}, {200, 299, 180, 300},
                           {255, 256, 255, 256}, {250, 700, 250, 260}, {100, 100, 0, 511},   {256, 256, 256, 256},
                           {0, 767, 300, 300},   {1, 766, 1, 510},     {511, 767, 0, 255},   {300, 363, 100, 163}};

TEST(ZRMBandPBI, ReadsWhatPlainLoopsOverTheTilesGive) {
  const PbiBuilder builder = OneLevel();
  OpenPbi store = Open(builder);
  for (const Window& window : kWindows) {
    const int k = window.y0 % 4;
    ASSERT_EQ(ReadPlainly(builder, store.BandAt(), 0, window, k), store.Read(0, window, k)) << window << " " << k;
  }
}

TEST(ZRMBandPBI, ReadsLevelsAsPlainLoopsDo) {
  const PbiBuilder builder = ThreeLevels();
  OpenPbi store = Open(builder);
  for (int level = 0; level < 10; ++level) {
    for (const Window& window : kWindows) {
      ASSERT_EQ(ReadPlainly(builder, store.BandAt(), level, window, level % 4), store.Read(level, window, level % 4))
          << window << " at " << level;
    }
  }
}

TEST(ZRMBandPBI, LeapsOverTilesThatGiveNoSample) {
  // Forty tiles of the only level lie between two samples.
  const PbiBuilder builder = PbiBuilder().Level(
      {.level = 6, .llRow = 320, .llCol = 640, .urRow = 360, .urCol = 700, .width = 256, .height = 4});
  OpenPbi store = Open(builder);
  for (const int level : {7, 9, 10, 13}) {
    for (const Window& window : {store.Whole(), Window{100, 14000, 5, 9000}}) {
      ASSERT_EQ(ReadPlainly(builder, store.BandAt(), level, window, 1), store.Read(level, window, 1)) << level;
    }
  }
}

TEST(ZRMBandPBI, OfTwoLevelsThatAreEquallyCloseTheEarlierWins) {
  const PbiBuilder::Range same = {.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10};
  const PbiBuilder builder = PbiBuilder().Level(same).Level(same);
  OpenPbi store = Open(builder);
  const PbiBuilder::Pixel first = builder.At(0, 5, 10, 0, 0), second = builder.At(1, 5, 10, 0, 0);
  ASSERT_NE(first[0], second[0]);
  EXPECT_EQ(first[0], store.Read(0, {0, 255, 0, 255}).bytes[0]);
}

TEST(ZRMBandPBI, IsZeroWhereNoTileIs) {
  const PbiBuilder builder = PbiBuilder()
                                 .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10})
                                 .Level({.level = 0, .llRow = 5, .llCol = 14, .urRow = 5, .urCol = 14});
  OpenPbi store = Open(builder);
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ((Pixels{200, 200, std::vector<unsigned char>(40000)}), store.Read(0, {500, 699, 20, 219}, k));
  }
}

TEST(ZRMBandPBI, AWindowThatLeavesNoPixelFails) {
  OpenPbi store = Open(OneLevel());
  EXPECT_NE("", store.Failure(3, {0, 6, 0, 100}));
  EXPECT_NE("", store.Failure(3, {0, 100, 0, 6}));
  EXPECT_NE("", store.Failure(-1, {0, 100, 0, 100}));
  EXPECT_NE("", store.Failure(31, {0, 100, 0, 100}));
  EXPECT_EQ("", store.Failure(3, {0, 7, 0, 7}));
}

TEST(ZRMBandPBI, ASingleColumnHasTheStepOfItsPixel) {
  const PbiBuilder builder = OneLevel();
  OpenPbi store = Open(builder);
  const Pixels pixel = store.Read(0, {77, 77, 77, 77}, 1);
  ASSERT_EQ(1u, pixel.bytes.size());
  EXPECT_EQ(builder.At(0, 6, 10, 77, 77)[1], pixel.bytes[0]);
  // A column on the edge of two tiles belongs to the western one, which ends before it.
  EXPECT_EQ(0, store.Read(0, {256, 256, 10, 10}, 3).bytes[0]);
}

TEST(ZRMBandPBI, TakesTilesOfAnyWidthInRowsOf256) {
  for (const int width : {128, 512, 255, 30}) {
    const PbiBuilder builder =
        PbiBuilder().Level({.llRow = 5, .llCol = 10, .urRow = 6, .urCol = 11, .width = width, .height = width});
    OpenPbi store = Open(builder);
    ASSERT_EQ(1, store.IsOpen());
    for (const Window& window : {Window{0, 511, 0, 511}, Window{100, 400, 3, 200}}) {
      ASSERT_EQ(ReadPlainly(builder, store.BandAt(), 0, window, 0), store.Read(0, window)) << width;
    }
  }
}

TEST(ZRMBandPBI, TakesBlocksOfAllKinds) {
  for (const int type : {1, 2, 4}) {
    const PbiBuilder builder = PbiBuilder().Level({.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10, .type = type});
    OpenPbi store = Open(builder);
    for (int k = 0; k < 4; ++k) {
      ASSERT_EQ(ReadPlainly(builder, store.BandAt(), 0, {0, 255, 0, 255}, k), store.Read(0, {0, 255, 0, 255}, k));
    }
  }
}

TEST(ZRMBandPBI, ATileThatCannotBeReadIsZeroInCompatibleReads) {
  PbiBuilder cut = OneLevel(), tiny = OneLevel(), odd = OneLevel(), far = OneLevel();
  PbiBuilder::Bytes bytes = cut.Build();
  bytes.resize(cut.OffsetOf(0, 6, 12) + 32767);
  tiny.RecordAt(0).storage = 32767;
  odd.RecordAt(0).type = 3;
  far.RecordAt(0).offset = 1ULL << 62;
  OpenPbi short1(bytes, "a.pbi", kFormatPBI);
  EXPECT_EQ(std::vector<unsigned char>(65536), short1.Read(0, {512, 767, 0, 255}, 3).bytes);
  EXPECT_NE(std::vector<unsigned char>(65536), short1.Read(0, {256, 511, 0, 255}, 3).bytes);
  for (const PbiBuilder& builder : {tiny, odd, far}) {
    OpenPbi store = Open(builder);
    EXPECT_EQ(std::vector<unsigned char>(65536), store.Read(0, {0, 255, 0, 255}, 3).bytes);
  }
}

TEST(ZRMBandPBI, FollowersTakeWhatTheMasterReadLast) {
  OpenPbi store = Open(OneLevel());
  ASSERT_FALSE(store.Read(0, {0, 99, 0, 49}, 2).bytes.empty());
  int level = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  store.BandAt().GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ((std::vector<int>{0, 0, 99, 0, 49}), (std::vector<int>{level, x0, x1, y0, y1}));
  for (int k = 0; k < 4; ++k) {
    tagXArr2* out = nullptr;
    ASSERT_EQ(1, store.BandAt(k).ReadSubset(out, 0, 0, 99, 0, 49, nullptr));
    EXPECT_EQ(store.BandAt().GetResult(k), out);
    EXPECT_EQ(store.BandAt(3).GetResult(k), out);
  }
  EXPECT_EQ(nullptr, store.BandAt().GetResult(4));
  EXPECT_EQ(nullptr, store.BandAt().GetResult(-1));
}

/// The file loses its last tile, the one in the north-east, after it was opened.
TEST(ZRMBandPBI, ATileThatIsCutOffMeanwhileIsZeroBesideTheOthers) {
  OpenPbi store = Open(OneLevel());
  const Window whole = store.Whole();
  Pixels expected = store.Read(0, whole);
  ASSERT_EQ(768, expected.width);
  for (std::size_t y = 0; y < 256; ++y) std::fill_n(expected.bytes.begin() + static_cast<long>(y * 768 + 512), 256, 0);
  std::filesystem::resize_file(store.FilePath(), 51200 + 5 * 32768 + 1000);
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());  // so that the window is no repeat
  EXPECT_EQ(expected, store.Read(0, whole));
}

TEST(ZRMBandPBI, DescribesALevelWithoutTilesAsSuch) {
  PbiBuilder builder = ThreeLevels();
  builder.RecordAt(0).urCol = 9;
  builder.RecordAt(2).storage = 1;
  OpenPbi store = Open(builder);
  tagXFormatNotes notes;
  store.BandAt().DescribeLevels(notes);
  ASSERT_EQ(3u, notes.lines.size());
  EXPECT_EQ("level 0     no tiles", notes.lines[0]);
  const std::string large = "level 2     rows 20 to 23, columns 40 to 43, tiles of 256 x 256 pixels, 1 byte each, ";
  EXPECT_EQ(large, notes.lines[2].AsStdString().substr(0, large.size()));
}

/// A band whose pixels are set to be twice as high has half as many rows of them in a tile.
TEST(ZRMBandPBI, TakesNoMoreRowsOfATileThanItHasPixelsOfTheBand) {
  const PbiBuilder builder = OneLevel();
  OpenPbi store = Open(builder);
  ZRMBandPBI& band = store.BandAt();
  band.SetPixelSize(band.GetXPixelSize(), 2.0 * band.GetYPixelSize());
  for (const int level : {0, 1}) {
    const Window window{0, 255, 0, 249};
    EXPECT_EQ(ReadPlainly(builder, band, level, window, 0), store.Read(level, window)) << level;
  }
  EXPECT_EQ(0, store.Read(0, {0, 255, 0, 249}).bytes.at(200 * 256 + 100));
}

TEST(ZRMBandPBI, BuffersGrowAndAreGivenBack) {
  OpenPbi store = Open(OneLevel());
  EXPECT_EQ(1, store.BandAt().AllocBuffer(131072));
  EXPECT_EQ(1, store.BandAt(2).AllocBuffer(5));
  store.BandAt().FreeBuffer();
  EXPECT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
}

/// What classes above the band may ask.
class TileBand : public ZRMBandPBI {
 public:
  TileBand() : ZRMBandPBI(nullptr) {}
  using ZRMBandPBI::GetDXTdata;
  using ZRMBandPBI::GetRGBAdata;
  using ZRMBandPBI::ReadFileInfo;
};

TEST(ZRMBandPBI, GivesTheHeaderToClassesAboveIt) {
  TempFolder folder;
  TileBand band;
  XString err;
  EXPECT_EQ(nullptr, band.ReadFileInfo());
  const StoreRecord record{4, 10, 20, 11, 22, 0.0, 8, 8, 32, 1, 51200};
  folder.Write("a.pbi", StoreBuilder("PBI").Version(1.9).TileSize(9.0).Level(record).Body(TileOf(192, 1)).Build());
  ASSERT_EQ(1, band.ReadFile(folder.Path("a.pbi"), err, nullptr));
  const auto info = band.ReadFileInfo();
  ASSERT_TRUE(info);
  EXPECT_EQ(1.0, info->GetVersion());
  EXPECT_EQ(9.0, info->GetTileSize());
  EXPECT_EQ(51200, info->GetHeaderSize());
  ASSERT_EQ(1, info->GetNumberOfLevel());
  EXPECT_EQ(22, info->GetLevelInfo(4)->GetURCol());
  folder.Write("a.pbi", "no header");
  EXPECT_EQ(nullptr, band.ReadFileInfo());
}

TEST(ZRMBandPBI, GivesTilesToClassesAboveIt) {
  const PbiBuilder builder = OneLevel();
  TempFolder folder;
  const PbiBuilder::Bytes bytes = builder.Build();
  folder.Write("a.pbi", bytes);
  TileBand band;
  XString err;
  ASSERT_EQ(1, band.ReadFile(folder.Path("a.pbi"), err, nullptr));
  int size = 0, width = 0, height = 0;
  const unsigned char* const blocks = band.GetDXTdata(0, 6, 11, size);
  ASSERT_EQ(32768, size);
  EXPECT_EQ(0, std::memcmp(blocks, &bytes[builder.OffsetOf(0, 6, 11)], 32768));
  const unsigned char* const pixels = band.GetRGBAdata(0, 6, 11, width, height);
  ASSERT_EQ(256, width);
  EXPECT_EQ(0, std::memcmp(pixels + 4 * (256 * 9 + 70), builder.At(0, 6, 11, 70, 9).data(), 4));
  EXPECT_EQ(nullptr, band.GetDXTdata(0, 7, 11, size));
  EXPECT_EQ(nullptr, band.GetRGBAdata(1, 0, 0, width, height));
  EXPECT_EQ(0, band.GetRGBAdata(0, 7, 11, width, height)[3]);
}

TEST(ZRMBandPBI, MakesNoStatisticsWhenItIsLoaded) {
  OpenPbi store = Open(OneLevel());
  EXPECT_EQ(0.0, store.BandAt().GetBandMin());
  EXPECT_EQ(255.0, store.BandAt().GetBandMax());
  EXPECT_EQ(1, store.BandAt().CalcStatistics(1));
}

}  // namespace
