// Plain blocks of HFA files, which are copied straight out of the file. Pixels are worked out by the builder's formula.

#include "bands/hfa/HfaFile.h"
#include "FaultyDisk.h"
#include "HfaBuilder.h"
#include "OpenRaster.h"
#include "WithoutMaps.h"
#include "XDataType.h"
#include "XFormatId.h"
#include "XRSFileIO.h"
#include "ZRMBandHFA.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace {

using HfaFileBytes = HfaBuilder::Bytes;

class PlainHfa : public OpenRaster<ZRMBandHFA> {
 public:
  explicit PlainHfa(const HfaFileBytes& bytes, XReadPolicy policy = kReadExact)
      : OpenRaster(bytes, "a.img", kFormatHFA, policy) {}
};

/// Looks for the blocks of a layer of one byte a sample, in blocks of 64 x 64.
std::optional<zrk::HfaStore> FindStore(const HfaFileBytes& bytes, int width, int height, int number = 0) {
  const TempFolder folder;
  folder.Write("a.img", bytes);
  std::shared_ptr<zrk::DiskFile> file;
  if (zrk::CurrentDisk().Open(folder.Path("a.img"), {}, file) != 0) return std::nullopt;
  zrk::HfaLayer layer;
  layer.grid = {width, height, 64, 64};
  layer.dataType = kPint08;
  bool diskFails = false;
  return zrk::FindHfaStore(std::make_shared<zrk::RowFile>(file), number, layer, diskFails);
}

/// The blocks where all of them are plain.
std::optional<zrk::PlainBlocks> FindBlocks(const HfaFileBytes& bytes, int width, int height, int number = 0) {
  const auto store = FindStore(bytes, width, height, number);
  return store ? store->plain : std::nullopt;
}

/// Whether every pixel of a window is the formula's, in layer 1, at some levels of an exact read.
template <class Sample>
void CompareWindow(PlainHfa& file, const Window& window) {
  for (int level = 0; level < 4; ++level) {
    const Pixels pixels = file.Read(level, window, 1);
    ASSERT_EQ((window.x1 - window.x0 + 1) >> level, pixels.width) << file.Error();
    std::size_t offset = 0;
    int numWrong = 0;
    for (int y = 0; y < pixels.height; ++y) {
      for (int x = 0; x < pixels.width; ++x, offset += sizeof(Sample)) {
        Sample sample;
        std::memcpy(&sample, &pixels.bytes.at(offset), sizeof sample);
        const int expected = HfaBuilder::Value(window.x0 + (x << level), window.y0 + (y << level), 1);
        numWrong += sample == static_cast<Sample>(expected) ? 0 : 1;
      }
    }
    EXPECT_EQ(0, numWrong) << level;
  }
}

template <class Sample>
void CompareType(GDALDataType type) {
  PlainHfa file(HfaBuilder().Size(200, 150).Layers(2).Type(type).Build());
  for (const Window& window : {Window{0, 199, 0, 149}, Window{30, 181, 60, 100}}) CompareWindow<Sample>(file, window);
}

void CompareTypes() {
  CompareType<std::uint8_t>(GDT_Byte);
  CompareType<std::int16_t>(GDT_Int16);
  CompareType<std::uint32_t>(GDT_UInt32);
  CompareType<double>(GDT_Float64);
}

/// The pixels of a window of bytes as the formula has them.
std::vector<unsigned char> HfaPixelsOf(const Window& window, int layer) {
  std::vector<unsigned char> bytes;
  for (int y = window.y0; y <= window.y1; ++y) {
    for (int x = window.x0; x <= window.x1; ++x) {
      bytes.push_back(static_cast<unsigned char>(HfaBuilder::Value(x, y, layer)));
    }
  }
  return bytes;
}

/// The file with the first hit of a text replaced by one of the same length.
HfaFileBytes Reworded(HfaFileBytes bytes, std::string_view from, std::string_view to) {
  const auto hit = std::search(bytes.begin(), bytes.end(), from.begin(), from.end());
  EXPECT_NE(bytes.end(), hit);
  std::copy(to.begin(), to.end(), hit);
  return bytes;
}

/// The offset of the entry of a name.
std::size_t FindEntryOf(const HfaFileBytes& bytes, const std::string& name) {
  const std::string field = name + std::string(64 - name.size(), '\0');
  const auto hit = std::search(bytes.begin(), bytes.end(), field.begin(), field.end());
  EXPECT_NE(bytes.end(), hit) << name;
  return static_cast<std::size_t>(hit - bytes.begin()) - 24;
}

std::uint32_t NumberAt(const HfaFileBytes& bytes, std::size_t offset) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number |= std::uint32_t{bytes.at(offset + i)} << 8 * i;
  return number;
}

void PutNumber(HfaFileBytes& bytes, std::size_t offset, std::size_t number) {
  for (std::size_t i = 0; i < 4; ++i) bytes.at(offset + i) = static_cast<unsigned char>(number >> 8 * i);
}

/// A file of 200 x 150 whose list of blocks lies behind all else, but for its last bytes.
HfaFileBytes WithListLast(std::size_t numCut) {
  constexpr std::size_t kStateBytes = 22, kListBytes = 4 * 3 * 14;
  HfaFileBytes bytes = HfaBuilder().Size(200, 150).Build();
  const std::size_t entry = FindEntryOf(bytes, "RasterDMS"), end = bytes.size();
  const std::uint32_t state = NumberAt(bytes, entry + 16);
  bytes.resize(end + kStateBytes + kListBytes);
  std::copy_n(bytes.begin() + state, kStateBytes + kListBytes, bytes.begin() + static_cast<std::ptrdiff_t>(end));
  PutNumber(bytes, entry + 16, end);
  PutNumber(bytes, end + kStateBytes - 4, end + kStateBytes);
  bytes.resize(bytes.size() - numCut);
  return bytes;
}

/// Reads a window while the N-th read from now on fails, or answers some bytes fewer, and once more afterwards. False
/// where there are fewer reads.
bool ReadDespiteFault(const std::string& path, int nth, std::int64_t shortBy, XReadPolicy policy) {
  const Window window = {30, 181, 60, 100};
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XRSFile file;
  file.SetReadPolicy(policy);
  XString reason;
  if (!XRSFileIO::LoadFileRaster(&file, kFormatHFA, path, reason, 0, kLevelNone, nullptr)) return false;
  const int failing = disk.GetReadCount() + nth;
  disk.FailRead(failing, shortBy);
  const Pixels pixels = ReadPixels(*file.GetBandAt(0), 0, window);
  EXPECT_TRUE(pixels.bytes.empty() ? XfnGetLastReadError(reason) : HfaPixelsOf(window, 0) == pixels.bytes) << nth;
  const bool isReached = disk.GetReadCount() >= failing;
  EXPECT_TRUE(HfaPixelsOf(window, 0) == ReadPixels(*file.GetBandAt(0), 0, window).bytes) << nth;
  return isReached;
}

}  // namespace

TEST(HfaPlain, ReadsEveryKindOfSamplesOutOfAMapping) {
  CompareTypes();
}

TEST(HfaPlain, ReadsEveryKindOfSamplesByPositionalReads) {
  const WithoutMaps off;
  CompareTypes();
}

TEST(HfaPlain, ReadsLargeWindows) {
  PlainHfa file(HfaBuilder().Size(1100, 1000).Layers(2).Build());
  CompareWindow<std::uint8_t>(file, {7, 1099, 3, 999});
}

TEST(HfaPlain, FindsTheFirstSampleOfEachBlock) {
  const HfaFileBytes bytes = HfaBuilder().Size(200, 150).Layers(2).Build();
  const auto blocks = FindBlocks(bytes, 200, 150, 1);
  ASSERT_TRUE(blocks.has_value());
  ASSERT_EQ(4u * 3u, blocks->offsets.size());
  for (int by = 0; by < 3; ++by) {
    for (int bx = 0; bx < 4; ++bx) {
      const auto offset = static_cast<std::size_t>(blocks->OffsetOf(bx, by));
      EXPECT_EQ(HfaBuilder::Value(64 * bx, 64 * by, 1), bytes.at(offset)) << bx << by;
      EXPECT_EQ(HfaBuilder::Value(64 * bx + 3, 64 * by + 2, 1), bytes.at(offset + 2 * 64 + 3)) << bx << by;
    }
  }
}

TEST(HfaPlain, LeavesLayersToGdalThatAreNotPlainAndThere) {
  EXPECT_FALSE(FindBlocks(HfaBuilder().Size(200, 150).Option("COMPRESSED=YES").Build(), 200, 150));
  EXPECT_FALSE(FindBlocks(HfaBuilder().Size(200, 150).Option("NBITS=4").Build(), 200, 150));
  EXPECT_FALSE(FindBlocks(HfaBuilder().Size(200, 150).Type(GDT_UInt16).Build(), 200, 150));
  const HfaFileBytes plain = HfaBuilder().Size(200, 150).Layers(2).Build();
  EXPECT_TRUE(FindBlocks(plain, 200, 150, 1));
  EXPECT_FALSE(FindBlocks(plain, 200, 150, 2)) << "there are two layers";
  EXPECT_FALSE(FindBlocks(plain, 200, 151)) << "the layer has another size";
}

TEST(HfaPlain, LeavesFilesToGdalThatDescribeTheirRecordsOtherwise) {
  const HfaFileBytes bytes = HfaBuilder().Size(200, 150).Layers(2).Build();
  for (const auto& [from, to] :
       {std::pair("lnextobjectnum", "lnextobjectxyz"), std::pair("1:lblockWidth", "1:LblockWidth"),
        std::pair("1:sfileCode", "1:SfileCode")}) {
    const HfaFileBytes other = Reworded(bytes, from, to);
    EXPECT_FALSE(FindBlocks(other, 200, 150)) << from;
    PlainHfa file(other);
    CompareWindow<std::uint8_t>(file, {30, 181, 60, 100});
  }
}

TEST(HfaPlain, ACircleOfEntriesEnds) {
  HfaFileBytes bytes = HfaBuilder().Size(200, 150).Build();
  constexpr std::string_view kName = "Layer_1";
  const auto name = std::search(bytes.begin(), bytes.end(), kName.begin(), kName.end());
  ASSERT_NE(bytes.end(), name);
  const auto entry = static_cast<std::uint32_t>(name - bytes.begin() - 24);
  for (int i = 0; i < 4; ++i) bytes[entry + static_cast<std::uint32_t>(i)] = static_cast<unsigned char>(entry >> 8 * i);
  EXPECT_FALSE(FindBlocks(bytes, 200, 150, 1'000'000));
  EXPECT_TRUE(FindBlocks(bytes, 200, 150, 0));
}

TEST(HfaPlain, CutFilesHaveNoBlocksOrThoseOfTheWholeFile) {
  const HfaFileBytes bytes = HfaBuilder().Size(200, 150).Build();
  const auto whole = FindBlocks(bytes, 200, 150);
  ASSERT_TRUE(whole.has_value());
  for (std::size_t size = 0; size < bytes.size(); size += 101) {
    const auto blocks = FindBlocks({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}, 200, 150);
    if (blocks) {
      EXPECT_EQ(whole->offsets, blocks->offsets) << size;
    }
  }
}

TEST(HfaPlain, ABlockThatTheFileLacksIsLeftToGdal) {
  HfaFileBytes bytes = HfaBuilder().Size(200, 150).Build();
  const auto blocks = FindBlocks(bytes, 200, 150);
  ASSERT_TRUE(blocks.has_value());
  // The last block lies behind the end of the file now.
  const auto place = [&] {
    std::vector<unsigned char> record(4);
    const auto offset = static_cast<std::uint32_t>(blocks->OffsetOf(3, 2));
    for (std::size_t i = 0; i < 4; ++i) record[i] = static_cast<unsigned char>(offset >> 8 * i);
    return std::search(bytes.begin(), bytes.end(), record.begin(), record.end());
  }();
  ASSERT_NE(bytes.end(), place);
  place[2] = place[3] = 0x7F;
  PlainHfa exact(bytes), compatible(bytes, kReadCompatible);
  EXPECT_EQ("The file doesn't hold all of the block at column 3 and row 2 of blocks",
            exact.Failure(0, {192, 199, 128, 149}));
  EXPECT_EQ(std::vector<unsigned char>(8 * 22, 0), compatible.Read(0, {192, 199, 128, 149}).bytes);
  EXPECT_EQ("", exact.Failure(0, {0, 99, 0, 149}));
}

TEST(HfaPlain, AReadOfTheDiskThatFailsGivesNoOtherPixels) {
  const WithoutMaps off;
  const TempFolder folder;
  folder.Write("a.img", HfaBuilder().Size(200, 150).Layers(2).Build());
  for (const auto& [shortBy, policy] : {std::pair(0, kReadExact), {0, kReadCompatible}, {1, kReadExact}}) {
    int numReads = 0;
    while (ReadDespiteFault(folder.Path("a.img"), numReads + 1, shortBy, policy)) ++numReads;
    // The tree, the state and the list of blocks, and the blocks.
    EXPECT_LE(12, numReads);
  }
}

TEST(HfaPlain, BlocksAreFoundByTheNextReadWhereTheDiskFailedTheFirst) {
  const TempFolder folder;
  folder.Write("a.img", HfaBuilder().Size(200, 150).Build());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  XString reason;
  const auto file = zrk::HfaFile::Open(folder.Path("a.img"), true, reason);
  ASSERT_TRUE(file) << reason.AsStdString();
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_EQ(nullptr, file->FindStore(0));
  const zrk::HfaStore* const store = file->FindStore(0);
  ASSERT_TRUE(store && store->plain);
  EXPECT_EQ(4u * 3u, store->plain->offsets.size());
  const int before = disk.GetReadCount();
  EXPECT_EQ(store, file->FindStore(0));
  EXPECT_EQ(before, disk.GetReadCount()) << "what was found is kept";
}

TEST(HfaPlain, AListOfBlocksThatIsCutIsLeftToGdal) {
  const Window window = {0, 99, 0, 99};
  const HfaFileBytes whole = WithListLast(0), cut = WithListLast(1);
  ASSERT_TRUE(FindBlocks(whole, 200, 150));
  EXPECT_TRUE(HfaPixelsOf(window, 0) == PlainHfa(whole).Read(0, window).bytes);
  EXPECT_FALSE(FindStore(cut, 200, 150));
  for (const XReadPolicy policy : {kReadExact, kReadCompatible}) {
    EXPECT_EQ("The block at column 0 and row 0 of blocks", PlainHfa(cut, policy).Failure(0, window).substr(0, 41));
  }
}

TEST(HfaPlain, NamesThatDifferInCaseAreLeftToGdalWhichTakesThem) {
  const HfaFileBytes bytes = HfaBuilder().Size(200, 150).Layers(2).Build();
  // A layer that GDAL takes and we do not would have us count the next one for it.
  HfaFileBytes layer = bytes;
  layer.at(FindEntryOf(bytes, "Layer_1") + 88) = 'e';
  EXPECT_FALSE(FindStore(layer, 200, 150, 0));
  // A list that GDAL finds first hides one of the usual name.
  HfaFileBytes list = bytes;
  list.at(FindEntryOf(bytes, "RasterDMS") + 24) = 'r';
  EXPECT_FALSE(FindStore(list, 200, 150, 0));
  EXPECT_TRUE(FindStore(list, 200, 150, 1));
  const Window window = {0, 99, 0, 99};
  EXPECT_TRUE(HfaPixelsOf(window, 0) == PlainHfa(list).Read(0, window).bytes);
}

TEST(HfaPlain, AFewRowsOfABlockCostTheirBytesAlone) {
  const WithoutMaps off;
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  PlainHfa file(HfaBuilder().Size(300, 200).Build());
  EXPECT_EQ("", file.Failure(0, {0, 0, 0, 0}));
  const std::int64_t before = disk.GetBytesRead();
  EXPECT_EQ("", file.Failure(0, {0, 299, 70, 71}));
  EXPECT_EQ(4 * 128 + 64 + 44, disk.GetBytesRead() - before);
}

TEST(HfaPlain, CompatibleLevelsBeginAnewInEachBlock) {
  PlainHfa file(HfaBuilder().Size(200, 150).Build(), kReadCompatible);
  const Pixels pixels = file.Read(2, {2, 121, 5, 104});
  ASSERT_EQ(30, pixels.width);
  // The window enters the first block at (2, 5) and takes 16 pixels of it; the second begins with its own first one.
  EXPECT_EQ(HfaBuilder::Value(2 + 4 * 15, 5, 0), pixels.bytes.at(15));
  EXPECT_EQ(HfaBuilder::Value(64, 5, 0), pixels.bytes.at(16));
  EXPECT_EQ(HfaBuilder::Value(2, 64, 0), pixels.bytes.at(15 * 30));
}
