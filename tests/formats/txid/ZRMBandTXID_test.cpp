#include "ZRMBandTXID.h"

#include "OpenStore.h"
#include "TxidReference.h"
#include "XLimits.h"
#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

// Stores under the compatible policy: what an index must be, and what reads give.

namespace {

/// The sentence of an index that is refused.
std::string Refusal(const TxidBuilder::Bytes& index, std::string& path) {
  TempFolder folder;
  folder.Write("a.txi", index);
  path = folder.Path("a.txi");
  ZRMBandTXID band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile(path, err, nullptr));
  return err.AsStdString();
}

std::string RefusalBehindPath(const TxidBuilder& builder) {
  std::string path;
  const std::string sentence = Refusal(builder.BuildIndex(), path);
  EXPECT_EQ(0u, sentence.find(path)) << sentence;
  return sentence.substr(std::min(path.size(), sentence.size()));
}

TEST(TxidIndex, OfNoFileIsTold) {
  ZRMBandTXID band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile("/no/such.txi", err, nullptr));
  EXPECT_EQ("Failed to open file : /no/such.txi", err.AsStdString());
}

TEST(TxidIndex, Of47BytesIsInvalid) {
  TxidBuilder::Bytes index = TxidBuilder().BuildIndex();
  ASSERT_EQ(48u, index.size());
  index.pop_back();
  std::string path;
  const std::string sentence = Refusal(index, path);
  EXPECT_EQ("Invalid TXI file : " + path, sentence);
}

TEST(TxidIndex, NeedsItsMagic) {
  EXPECT_EQ(" : Wrong magic string", RefusalBehindPath(TxidBuilder().Magic("TXIE")));
}

TEST(TxidIndex, NamesTheFieldThatCannotBe) {
  EXPECT_EQ(" : Error in reading number of x-tiles", RefusalBehindPath(TxidBuilder().Grid(-1, -1, 0)));
  EXPECT_EQ(" : Error in reading number of y-tiles", RefusalBehindPath(TxidBuilder().Grid(1, -1, 0)));
  EXPECT_EQ(" : Error in reading number of tile size", RefusalBehindPath(TxidBuilder().Grid(1, 1, 0).PixelSize(0, 0)));
  EXPECT_EQ(" : Error in reading number of psx", RefusalBehindPath(TxidBuilder().PixelSize(0, 0)));
  EXPECT_EQ(" : Error in reading number of psy", RefusalBehindPath(TxidBuilder().PixelSize(1, 0)));
}

TEST(TxidIndex, OfSizesThatOverflowIsInvalid) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const TxidBuilder impossible[] = {TxidBuilder().Grid(0x10000, 1, 0x8000),
                                    TxidBuilder().Grid(1, 0x7FFFFFFF, 2),
                                    TxidBuilder().PixelSize(INT64_MAX / 23, 1),
                                    TxidBuilder().PixelSize(1, INT64_MIN),
                                    TxidBuilder().Grid(0, 0, 0x7FFFFFFF).PixelSize(INT64_MAX, 1),
                                    TxidBuilder().Corner(kInfinity, 0),
                                    TxidBuilder().Corner(0, -kInfinity),
                                    TxidBuilder().Corner(std::nan(""), 0)};
  for (const TxidBuilder& builder : impossible) {
    std::string path;
    const std::string sentence = Refusal(builder.BuildIndex(), path);
    EXPECT_EQ("Invalid TXI file : " + path, sentence);
  }
}

TEST(TxidIndex, ThatCannotBeReadWholeIsToldSo) {
  TempFolder folder;
  const std::string path = WriteStore(TxidBuilder().Tile(0), folder);
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  disk.FailRead(1, 1);
  ZRMBandTXID band(nullptr);
  XString err;
  EXPECT_EQ(0, band.ReadFile(path, err, nullptr));
  EXPECT_EQ("Error in reading file : " + path, err.AsStdString());
}

TEST(TxidIndex, BeyondTheLimitOfTablesIsOutOfMemory) {
  const tagXLimits before = XfnGetLimits();
  tagXLimits limits = before;
  limits.tableBytes = 63;
  XfnSetLimits(limits);
  std::string path;
  const std::string sentence = Refusal(TxidBuilder().Record(0, 0, 8).BuildIndex(), path);
  XfnSetLimits(before);
  EXPECT_EQ("Out of memory. Failed to open file : " + path, sentence);
}

TEST(TxidIndex, IsReadIntoTheCallersRecord) {
  TempFolder folder;
  TxidBuilder builder =
      TxidBuilder().Grid(7, 5, 16).PixelSize(3, -4).Corner(1.5, -2.5).Record(9, 1000, 0).Record(-3, 1ULL << 63, 128);
  folder.Write("a.txi", builder.Record(9, 7, 99).Record(34, 5, 0).BuildIndex());
  ZRMBandTXID band(nullptr);
  tagTxiInfo info;
  info.tiles[1] = 1;
  XString err;
  ASSERT_EQ(1, band.ReadTXI(folder.Path("a.txi"), &info, err)) << err;
  EXPECT_EQ(7, info.numXTiles);
  EXPECT_EQ(5, info.numYTiles);
  EXPECT_EQ(16, info.tileSize);
  EXPECT_EQ(3, info.xPixelSize);
  EXPECT_EQ(-4, info.yPixelSize);
  EXPECT_EQ(1.5, info.x);
  EXPECT_EQ(-2.5, info.y);
  EXPECT_EQ(128, info.tileDataSize);
  const std::map<std::int32_t, std::uint64_t> tiles = {{9, 7}, {-3, 1ULL << 63}, {34, 5}};
  EXPECT_EQ(tiles, info.tiles);
}

TEST(TxidIndex, LeavesTheCallersRecordWhereItIsRefused) {
  ZRMBandTXID band(nullptr);
  tagTxiInfo info;
  info.numXTiles = 12;
  XString err;
  EXPECT_EQ(0, band.ReadTXI("/no/such.txi", &info, err));
  EXPECT_EQ(12, info.numXTiles);
  EXPECT_EQ(0, band.ReadTXI("/no/such.txi", nullptr, err));
}

TEST(TxidIndex, EndsWithTheLastWholeRecord) {
  TempFolder folder;
  TxidBuilder::Bytes index = TxidBuilder().Record(1, 2, 3).Record(2, 3, 4).BuildIndex();
  index.pop_back();
  folder.Write("a.txi", index);
  ZRMBandTXID band(nullptr);
  tagTxiInfo info;
  XString err;
  ASSERT_EQ(1, band.ReadTXI(folder.Path("a.txi"), &info, err));
  EXPECT_EQ(1u, info.tiles.size());
}

TEST(ZRMBandTXID, HasSizePlaceAndSystemOfTheIndex) {
  OpenStore store(TxidBuilder().Grid(3, 2, 8).PixelSize(2500000, -1250000).Corner(-71.5, 12.25).Tile(0));
  ASSERT_TRUE(store.IsOpen()) << store.Error();
  for (int channel = 0; channel < 4; ++channel) {
    const ZRMBandTXID& band = store.Band(channel);
    EXPECT_EQ(24, band.GetXSize());
    EXPECT_EQ(16, band.GetYSize());
    EXPECT_DOUBLE_EQ(0.025, band.GetXPixelSize());
    EXPECT_DOUBLE_EQ(-0.0125, band.GetYPixelSize());
    EXPECT_EQ(-71.5, band.GetULX());
    EXPECT_EQ(12.25, band.GetULY());
    EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
    XSpatialReference wgs84;
    wgs84.SetWellKnownGeogCS("WGS84");
    EXPECT_TRUE(band.GetSR()->IsSame(wgs84));
    EXPECT_EQ(kPint08, band.GetDataType());
    EXPECT_EQ(0.0, band.GetBandMin());
    EXPECT_EQ(255.0, band.GetBandMax());
  }
}

TEST(ZRMBandTXID, IsLoadedAsFourChannelsWithoutStatistics) {
  OpenStore store(TxidBuilder().Tile(0));
  ASSERT_EQ(4, store.File().GetNumOfBands());
  const int roles[] = {kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha};
  for (int channel = 0; channel < 4; ++channel) {
    ZRMBandTXID& band = store.Band(channel);
    EXPECT_EQ("a.txi : Channel " + std::to_string(channel + 1), band.GetBandName().AsStdString());
    EXPECT_EQ(channel, band.GetChannel());
    EXPECT_EQ(4, band.GetNumChannels());
    EXPECT_EQ(roles[channel], band.GetColourRole());
    EXPECT_EQ(kNotSet, band.GetBandMean());
  }
  EXPECT_EQ(store.Folder().Path("a.txi"), store.File().GetFilePath().AsStdString());
}

TEST(ZRMBandTXID, OfNoTilesIsZeroAndBlank) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8), kReadCompatible, OpenStore::WithoutData());
  ASSERT_TRUE(store.IsOpen()) << store.Error();
  const Pixels pixels = store.Read(0, store.Whole());
  EXPECT_EQ(std::vector<unsigned char>(256, 0), pixels.bytes);
  EXPECT_EQ(1, store.Band().IsBlankSubset());
}

TEST(ZRMBandTXID, OfNoColumnsIsOpenedAndReadsNothing) {
  OpenStore store(TxidBuilder().Grid(0, 3, 8).Tile(0));
  ASSERT_TRUE(store.IsOpen());
  EXPECT_EQ(Pixels(), store.Read(0, {0, 0, 0, 0}));
}

TEST(ZRMBandTXID, WithAMasterCannotBeOpenedAgain) {
  OpenStore store(TxidBuilder().Tile(0));
  XString err;
  EXPECT_EQ(0, store.Band(1).ReadFile(store.Folder().Path("a.txi"), err, nullptr));
  EXPECT_EQ("It is not allowed to reset the band that has a master band.", err.AsStdString());
}

TEST(ZRMBandTXID, ChannelsAreRedGreenBlueAndAlpha) {
  // Colour 0 is 0xF800, pure red; all codes are 0. The next tile is 0x07E0, green, and its fourth colour is clear.
  const TxidBuilder::Bytes red = {0x00, 0xF8, 0, 0, 0, 0, 0, 0}, holes = {0xE0, 0x07, 0xFF, 0xFF, 0, 0, 0, 0xFF};
  OpenStore store(TxidBuilder().Grid(2, 1, 4).Tile(0, red).Tile(1, holes));
  const unsigned char first[] = {255, 0, 0, 255}, second[] = {0, 255, 0, 255};
  ASSERT_FALSE(store.Read(0, {0, 7, 0, 3}).bytes.empty());
  for (int channel = 0; channel < 4; ++channel) {
    const std::vector<unsigned char> bytes = store.Result(channel).bytes;
    EXPECT_EQ(first[channel], bytes[0]) << channel;
    EXPECT_EQ(second[channel], bytes[4]) << channel;
    EXPECT_EQ(0, bytes[8 * 3 + 4]) << channel;  // the lowest row has the last codes
  }
}

TEST(ZRMBandTXID, ReadsNothingOfChannelThreeByItsOwnReadButKeepsItsResult) {
  const TxidBuilder builder = TxidBuilder().Grid(2, 2, 8).Tile(0).Tile(3);
  OpenStore store(builder);
  const Window window{1, 6, 2, 6};
  EXPECT_EQ("The channel can't be read", store.Failure(0, window, 3));
  ASSERT_FALSE(store.Read(0, window, 1).bytes.empty());
  EXPECT_EQ(Pixels(), store.Read(0, window, 3));
  EXPECT_EQ(store.Expected(0, window, 3), store.Result(3));
  EXPECT_EQ(store.Band().GetResult(3), store.Band(2).GetResult(3));
  EXPECT_EQ(nullptr, store.Band().GetResult(4));
  EXPECT_EQ(nullptr, store.Band().GetResult(-1));
}

TEST(ZRMBandTXID, TheWorkerTakesAnyColourChannel) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0).Tile(3));
  tagXArr2* out = nullptr;
  for (const int channel : {2, 0, 1}) {
    ASSERT_EQ(1, store.Band(3).ReadSubset(out, channel, 0, 9, 14, 9, 13, nullptr));
    EXPECT_EQ(store.Expected(0, {9, 14, 9, 13}, channel), OpenStore::PixelsOf(out));
  }
  EXPECT_EQ(0, store.Band().ReadSubset(out, 3, 0, 9, 14, 9, 13, nullptr));
  EXPECT_EQ(0, store.Band().ReadSubset(out, -1, 0, 9, 14, 9, 13, nullptr));
}

TEST(ZRMBandTXID, APixelIsUnknownBeforeAWindowWasRead) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0));
  EXPECT_EQ("The pixel does not lie in the last window of this thread", store.Failure(0, {3, 3, 4, 4}));
}

TEST(ZRMBandTXID, APixelComesOutOfTheLastWindow) {
  const TxidBuilder builder = TxidBuilder().Grid(3, 3, 8).Tile(0).Tile(1).Tile(4);
  OpenStore store(builder);
  const Pixels window = store.Read(2, {4, 19, 0, 15});
  ASSERT_EQ(4, window.width);
  for (const auto& [x, y] : {std::pair(4, 0), std::pair(9, 7), std::pair(19, 15)}) {
    const auto at = static_cast<std::size_t>((y >> 2) * 4 + ((x - 4) >> 2));
    EXPECT_EQ(window.bytes[at], store.Read(0, {x, x, y, y}).bytes.at(0)) << x << ", " << y;
  }
  EXPECT_EQ(Pixels(), store.Read(0, {3, 3, 0, 0}));
  EXPECT_EQ(Pixels(), store.Read(0, {20, 20, 0, 0}));
  int level = 0, overview = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  store.Band().GetPrevReadSubsetParam(level, overview, x0, x1, y0, y1);
  EXPECT_EQ((std::vector<int>{2, -1, 4, 19, 0, 15}), (std::vector<int>{level, overview, x0, x1, y0, y1}));
}

TEST(ZRMBandTXID, APixelThatALevelCutsOffIsUnknown) {
  OpenStore store(TxidBuilder().Grid(3, 3, 8).Tile(0));
  ASSERT_EQ(2, store.Read(2, {0, 10, 0, 7}).width);
  EXPECT_EQ(1, store.Read(0, {7, 7, 0, 0}).width);
  EXPECT_EQ(Pixels(), store.Read(0, {10, 10, 0, 0}));
}

TEST(ZRMBandTXID, APixelIsUnknownBehindALevelAboveThree) {
  OpenStore store(TxidBuilder().Grid(2, 2, 32).Tile(0));
  ASSERT_FALSE(store.Read(3, {0, 31, 0, 31}).bytes.empty());
  EXPECT_FALSE(store.Read(0, {5, 5, 5, 5}).bytes.empty());
  ASSERT_FALSE(store.Read(4, {0, 31, 0, 31}).bytes.empty());
  EXPECT_TRUE(store.Read(0, {5, 5, 5, 5}).bytes.empty());
}

TEST(ZRMBandTXID, TilesAreFlatFromLevelFourOn) {
  OpenStore store(TxidBuilder().Grid(3, 1, 32).Tile(0));
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  for (const int level : {4, 5}) {
    for (int channel = 0; channel < 3; ++channel) {
      const Pixels present = store.Read(level, {0, 31, 0, 31}, channel),
                   absent = store.Read(level, {34, 95, 0, 31}, channel);
      EXPECT_EQ(std::vector<unsigned char>(present.bytes.size(), 0xA0), present.bytes);
      EXPECT_EQ(std::vector<unsigned char>(absent.bytes.size(), 0), absent.bytes);
    }
    ASSERT_FALSE(store.Read(level, {0, 31, 0, 31}).bytes.empty());
    EXPECT_EQ(0xA0, store.Result(3).bytes.at(0));
    EXPECT_EQ(0, store.Band().IsBlankSubset());
  }
  EXPECT_EQ(0, disk.GetReadCount());
}

TEST(ZRMBandTXID, AtLevelOneARowBeforeATileIsTheTilesFirst) {
  const TxidBuilder builder = TxidBuilder().Grid(1, 2, 8).Tile(0).Tile(1);
  OpenStore store(builder);
  // Positions 1, 3, 5, 7: the last one is the row before tile 1, and shows row 8.
  const Pixels pixels = store.Read(1, {0, 7, 1, 9});
  ASSERT_EQ(4, pixels.height);
  EXPECT_EQ(builder.At(0, 5)[0], pixels.bytes[4 * 2]);
  EXPECT_EQ(builder.At(0, 8)[0], pixels.bytes[4 * 3]);
}

TEST(ZRMBandTXID, ARimIsSeenOnePixelIntoAnAbsentNeighbour) {
  const TxidBuilder builder = TxidBuilder().Grid(2, 2, 8).PixelSize(1 << 20, 1 << 20).Tile(0);
  OpenStore store(builder);
  const Pixels pixels = store.Read(1, {0, 15, 0, 15});
  EXPECT_EQ(builder.At(7, 0)[0], pixels.bytes[4]);
  EXPECT_EQ(0, pixels.bytes[5]);
  EXPECT_EQ(builder.At(2, 7)[0], pixels.bytes[8 * 4 + 1]);
}

/// Chooses stores and requests. `Below(n)` is a number from 0 up to but without n.
class TxidChoice {
 public:
  int Below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }
  TxidBuilder Store(int trial) {
    const int size = trial % 8 == 5 ? 66 + Below(80) : 1 + Below(trial % 2 ? 40 : 9);
    TxidBuilder builder;
    builder.Grid(2 + Below(4), 2 + Below(4), size);
    builder.PixelSize(1 + Below(3000000), (Below(2) ? 1 : -1) * (1 + Below(900)));
    builder.Corner(Below(36000) / 100.0 - 180.0, 90.0 - Below(1800) / 10.0);
    for (int key = 0; key < 25; ++key) {
      if (Below(3) > 0) builder.Tile(key);
    }
    return builder;
  }
  Window WindowOf(const TxidBuilder& builder) {
    const int x0 = Below(builder.Width()), y0 = Below(builder.Height());
    return {x0, x0 + Below(builder.Width() - x0), y0, y0 + Below(builder.Height() - y0)};
  }

 private:
  std::mt19937 random_{3};
};

/// Whole stores, single pixels and windows without a sample of the level are answered in other ways.
bool IsByArithmetic(const TxidBuilder& builder, int level, const Window& window) {
  const bool isWhole = window.Width() == builder.Width() && window.Height() == builder.Height();
  return window.Width() >> level > 0 && window.Height() >> level > 0 && window.Width() * window.Height() > 1 &&
         !isWhole;
}

TEST(ZRMBandTXID, ReadsAsItsArithmeticHasIt) {
  TxidChoice choice;
  for (int trial = 0; trial < 40; ++trial) {
    const TxidBuilder builder = choice.Store(trial);
    OpenStore store(builder);
    for (int i = 0; i < 12; ++i) {
      const Window window = choice.WindowOf(builder);
      const int level = choice.Below(6);
      if (!IsByArithmetic(builder, level, window)) continue;
      SCOPED_TRACE(testing::Message() << "trial " << trial << ", level " << level << ", " << window);
      const TxidWindowModel model = ModelCompatibleRead(builder, level, window.x0, window.x1, window.y0, window.y1);
      ASSERT_EQ(model.width, store.Read(level, window).width);
      EXPECT_EQ(model.isBlank, store.Band().IsBlankSubset() != 0);
      for (std::size_t k = 0; k < 4; ++k) ASSERT_EQ(model.planes[k], store.Result(static_cast<int>(k)).bytes);
    }
  }
}

TEST(ZRMBandTXID, ARepeatIsAnsweredWithTheBuffersThatAreThere) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0));
  tagXArr2* first = nullptr;
  ASSERT_EQ(1, store.Band().ReadSubset(first, 1, 0, 9, 0, 9, nullptr));
  EXPECT_EQ(0, store.Band().IsBlankSubset());
  const unsigned char* const data = first->data;
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  for (int channel = 0; channel < 3; ++channel) {
    tagXArr2* again = nullptr;
    ASSERT_EQ(1, store.Band(channel).ReadSubset(again, 1, 0, 9, 0, 9, nullptr));
    EXPECT_EQ(store.Band().GetResult(channel), again);
  }
  EXPECT_EQ(data, first->data);
  EXPECT_EQ(1, store.Band().IsBlankSubset()) << "the flag is set before the repeat is seen";
}

TEST(ZRMBandTXID, LevelsAreThoseOfTheTileSize) {
  for (const auto& [size, levels] : {std::pair(1, 0), std::pair(8, 3), std::pair(12, 3), std::pair(256, 8)}) {
    OpenStore store(TxidBuilder().Grid(300, 200, size));
    EXPECT_EQ(levels, store.Band().GetLevel());
    EXPECT_EQ(levels, store.Band(3).GetLevel());
  }
  OpenStore store(TxidBuilder().Grid(8, 8, 256));
  EXPECT_EQ(2, store.Band().GetHighestLevelForTarget(0, 1023, 0, 1023, 200, 256));
  EXPECT_EQ(8, store.Band().GetHighestLevelForTarget(0, 2047, 0, 2047, 1, 1));
}

TEST(ZRMBandTXID, StatisticsAreThoseOfTheCoarsestLevel) {
  OpenStore store(TxidBuilder().Grid(2, 2, 32).Tile(0).Tile(1).Tile(2).Tile(3));
  ASSERT_EQ(1, store.Band().CalcStatistics(1));
  EXPECT_EQ(0xA0, store.Band().GetBandMin());
  EXPECT_EQ(0xA0, store.Band().GetBandMax());
  EXPECT_EQ(0xA0, store.Band().GetBandMean());
  EXPECT_EQ(0, store.Band(3).CalcStatistics(1));
}

TEST(ZRMBandTXID, AKeyIsKeptAndCleaningUpFreesNothing) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0));
  int key = 0;
  EXPECT_EQ(nullptr, store.Band().GetKey());
  store.Band().SetKey(&key);
  EXPECT_EQ(&key, store.Band().GetKey());
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  EXPECT_EQ(1, store.Band().CleanupMemory(1, 1));
  EXPECT_NE(nullptr, store.Band().GetResult(0));
}

/// A class above the band whose cleaning up says that it failed.
class UntidyBand : public ZRMBandTXID {
 public:
  UntidyBand() : ZRMBandTXID(nullptr) {}
  int CleanupMemory(int, int) override {
    ++numCalls;
    return 0;
  }
  int numCalls = 0;
};

TEST(ZRMBandTXID, AReadSucceedsWhateverCleaningUpAnswers) {
  TempFolder folder;
  UntidyBand band;
  XString err;
  ASSERT_EQ(1, band.ReadFile(WriteStore(TxidBuilder().Grid(2, 2, 8).Tile(0), folder), err, nullptr)) << err;
  tagXArr2* out = nullptr;
  EXPECT_EQ(1, band.ReadSubset(out, 0, 0, 9, 0, 9, nullptr));
  EXPECT_NE(nullptr, out);
  EXPECT_EQ(1, band.numCalls);
}

/// What is wrong with a request is told in this order: its window, its channel, its level. Nothing is remembered of it.
TEST(ZRMBandTXID, LooksAtTheWindowFirstThenAtTheChannelAndThenAtTheLevel) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0));
  ASSERT_FALSE(store.Read(0, {1, 9, 2, 9}).bytes.empty());
  tagXArr2* out = nullptr;
  const auto refusal = [&](int channel, int level, const Window& window) {
    EXPECT_EQ(0, store.Band(1).ReadSubset(out, channel, level, window.x0, window.x1, window.y0, window.y1, nullptr));
    XString reason;
    EXPECT_EQ(1, XfnGetLastReadError(reason));
    return reason.AsStdString();
  };
  for (const Window& window :
       {Window{-1, 9, 0, 9}, {0, 16, 0, 9}, {5, 4, 0, 9}, {0, 9, -1, 9}, {0, 9, 0, 16}, {0, 9, 5, 4}}) {
    EXPECT_EQ("The window is not inside the band", refusal(9, 31, window));
  }
  for (const int channel : {-1, 3, 4}) EXPECT_EQ("The channel can't be read", refusal(channel, 31, {0, 9, 0, 9}));
  EXPECT_EQ("The level leaves no pixel of the window", refusal(0, 31, {0, 9, 0, 9}));
  EXPECT_EQ(nullptr, out);
  int level = 0, overview = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  store.Band().GetPrevReadSubsetParam(level, overview, x0, x1, y0, y1);
  EXPECT_EQ((std::vector<int>{0, 1, 9, 2, 9}), (std::vector<int>{level, x0, x1, y0, y1}));
}

TEST(ZRMBandTXID, OpenedAgainForgetsEverything) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0));
  ASSERT_FALSE(store.Read(1, store.Whole()).bytes.empty());
  TempFolder folder;
  const TxidBuilder other = TxidBuilder().Grid(2, 2, 8).Tile(3).Tile(2);
  XString err;
  ASSERT_EQ(1, store.Band().ReadFile(WriteStore(other, folder), err, nullptr)) << err;
  EXPECT_EQ(nullptr, store.Band().GetResult(0));
  EXPECT_EQ(nullptr, store.Band().GetResultMinimap(0));
  EXPECT_EQ(2u, store.Band().GetTxiInfo().tiles.size());
  EXPECT_EQ(Pixels(), store.Read(0, {1, 1, 1, 1}));
  EXPECT_EQ(other.At(9, 9)[0], store.Read(0, {9, 12, 9, 9}).bytes.at(0));
}

TEST(ZRMBandTXID, ThatCannotBeOpenedAgainKeepsItsStore) {
  const TxidBuilder builder = TxidBuilder().Grid(2, 2, 8).Tile(0);
  OpenStore store(builder);
  XString err;
  EXPECT_EQ(0, store.Band().ReadFile("/no/such.txi", err, nullptr));
  EXPECT_EQ(store.Expected(0, {0, 7, 0, 7}, 0), store.Read(0, {0, 7, 0, 7}));
}

TEST(ZRMBandTXID, AStopIsHeardAndLeavesNoResult) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).Tile(0));
  int cancel = 1;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, store.Band().ReadSubset(out, 0, 0, 9, 0, 9, &cancel));
  EXPECT_EQ(nullptr, store.Band().GetResult(0));
  cancel = 0;
  EXPECT_EQ(1, store.Band().ReadSubset(out, 0, 0, 9, 0, 9, &cancel));
}

TEST(ZRMBandTXID, OfTilesBeyondTheLimitReadsNothing) {
  OpenStore store(TxidBuilder().Grid(1, 1, 20000), kReadCompatible, OpenStore::WithoutData());
  ASSERT_TRUE(store.IsOpen());
  EXPECT_EQ("The tiles are larger than the limits allow", store.Failure(0, {0, 3, 0, 3}));
}

}  // namespace
