#include "base/BytesFile.h"
#include "ByteFlips.h"
#include "codec/J2kReader.h"
#include "FaultyDisk.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "MemoryDisk.h"
#include "Samples.h"
#include "Sanitizers.h"
#include "Stopwatch.h"
#include "XFormatId.h"
#include "XRSFileIO.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <fstream>

// Headers that no program writes end in a sentence, soon and with little memory.

namespace {

using Bytes = std::vector<unsigned char>;

/// A codestream with a main header that says what a test wants, and one tile-part of a few bytes.
struct Header {
  std::uint32_t width = 64, height = 64, x = 0, y = 0;
  std::uint32_t tileWidth = 64, tileHeight = 64, tileX = 0, tileY = 0;
  int numComponents = 1;
  int depth = 8, dx = 1, dy = 1;
  int numLayers = 1, numLevels = 5, blockWidth = 4, blockHeight = 4;
  int precinct = -1;  ///< the byte of all precincts; none where it is below 0
  std::size_t numDataBytes = 8;
  std::uint32_t partBytes = 0;  ///< as the head of the tile-part tells; 0 for the true length
  int numParts = 1;             ///< tile-parts, all alike
  Bytes further = {};           ///< segments of the main header
  Bytes ofPart = {};            ///< segments of the tile-part's header

  Bytes Build() const {
    Bytes size = Join({BigEndian(0, 2), BigEndian(width, 4), BigEndian(height, 4), BigEndian(x, 4), BigEndian(y, 4),
                       BigEndian(tileWidth, 4), BigEndian(tileHeight, 4), BigEndian(tileX, 4), BigEndian(tileY, 4),
                       BigEndian(static_cast<std::uint64_t>(numComponents), 2)});
    for (int i = 0; i < numComponents; ++i) {
      for (const int each : {depth - 1, dx, dy}) size.push_back(static_cast<unsigned char>(each));
    }
    Bytes coding = Join(
        {{static_cast<unsigned char>(precinct >= 0), 0}, BigEndian(static_cast<std::uint64_t>(numLayers), 2), {0}});
    for (const int each : {numLevels, blockWidth, blockHeight, 0, 1})
      coding.push_back(static_cast<unsigned char>(each));
    for (int i = 0; precinct >= 0 && i <= numLevels; ++i) coding.push_back(static_cast<unsigned char>(precinct));
    Bytes steps(static_cast<std::size_t>(2 + 3 * numLevels), 0x40);
    const Bytes part = Join({BigEndian(0xFF900000 + 10, 4),
                             BigEndian(0, 2),
                             BigEndian(partBytes ? partBytes : 14 + ofPart.size() + numDataBytes, 4),
                             {0, 1},
                             ofPart,
                             {0xFF, 0x93},
                             Bytes(numDataBytes)});
    Bytes parts;
    for (int i = 0; i < numParts; ++i) parts.insert(parts.end(), part.begin(), part.end());
    return Join({{0xFF, 0x4F},
                 Segment(0xFF51, size),
                 Segment(0xFF52, coding),
                 Segment(0xFF5C, steps),
                 further,
                 parts,
                 {0xFF, 0xD9}});
  }
  static Bytes Segment(std::uint32_t marker, const Bytes& content) {
    return Join({BigEndian(marker, 2), BigEndian(content.size() + 2, 2), content});
  }
};

Header Large(int codeBlock) {
  Header header;
  header.width = header.height = header.tileWidth = header.tileHeight = 20000;
  header.blockWidth = header.blockHeight = codeBlock;
  return header;
}

/// So many segments of a content, which are numbered by their first byte.
Bytes RepeatSegment(int count, std::uint32_t marker, Bytes content) {
  Bytes segments;
  for (int i = 0; i < count; ++i) {
    content[0] = static_cast<unsigned char>(i);
    const Bytes one = Header::Segment(marker, content);
    segments.insert(segments.end(), one.begin(), one.end());
  }
  return segments;
}

/// A file that begins as it should and then has the boxes.
Bytes WithBoxes(const Bytes& boxes) {
  return Join({Jp2Builder::MakeBox("jP  ", {0x0D, 0x0A, 0x87, 0x0A}), boxes});
}

struct Hostile {
  const char* name;
  Bytes (*build)();
  const char* sentence;              ///< of the load, or of the read of a corner; empty where that succeeds
  const char* compatibly = nullptr;  ///< the same under the compatible policy, where it is another one
};

const Hostile kHostiles[] = {
    {"TheLargestSizes",
     [] {
       Header header;
       header.width = header.height = header.tileWidth = header.tileHeight = UINT32_MAX;
       return header.Build();
     },
     "The codestream has an image or tiles of a size that cannot be"},
    {"AnImageWithoutColumns",
     [] {
       Header header;
       header.x = header.width;
       return header.Build();
     },
     "The codestream has an image or tiles of a size that cannot be"},
    {"TilesBesideTheImage",
     [] {
       Header header;
       header.x = 40;
       header.tileWidth = 8;
       return header.Build();
     },
     "The codestream has an image or tiles of a size that cannot be"},
    {"TilesOfNoSize",
     [] {
       Header header;
       header.tileWidth = 0;
       return header.Build();
     },
     "The codestream has an image or tiles of a size that cannot be"},
    {"TilesOfOnePixel",
     [] {
       Header header;
       header.width = header.height = 30000;
       header.tileWidth = header.tileHeight = 1;
       return header.Build();
     },
     "The codestream has more tiles than it can number"},
    {"SixteenThousandComponents",
     [] {
       Header header;
       header.numComponents = 16384;
       return header.Build();
     },
     "The codestream has too many components: 16384"},
    {"NoComponents",
     [] {
       Header header;
       header.numComponents = 0;
       return header.Build();
     },
     "The codestream has no components"},
    {"AComponentAtNoColumn",
     [] {
       Header header;
       header.dx = 0;
       return header.Build();
     },
     "The codestream has a component that cannot be"},
    {"AComponentBesideTheImage",
     [] {
       Header header;
       header.x = 1;
       header.width = 3;
       header.dx = 200;
       return header.Build();
     },
     "The codestream has a component without samples"},
    {"TinyCodeBlocks", [] { return Large(0).Build(); }, "The file is too short for what tile 0 promises"},
    {"TinyPrecincts",
     [] {
       Header header = Large(4);
       header.precinct = 0x11;
       return header.Build();
     },
     "The file is too short for what tile 0 promises"},
    {"PrecinctsOfNoSize",
     [] {
       Header header;
       header.precinct = 0;
       return header.Build();
     },
     "The file is too short for what tile 0 promises"},
    {"ManyLayers",
     [] {
       Header header;
       header.numLayers = 65535;
       header.numLevels = 32;
       return header.Build();
     },
     "The file is too short for what tile 0 promises"},
    {"CodeBlocksTooLarge",
     [] {
       Header header;
       header.blockWidth = header.blockHeight = 8;
       return header.Build();
     },
     "The codestream is coded in a way that cannot be"},
    {"LevelsTooMany",
     [] {
       Header header;
       header.numLevels = 33;
       return header.Build();
     },
     "The codestream is coded in a way that cannot be"},
    {"NoLayers",
     [] {
       Header header;
       header.numLayers = 0;
       return header.Build();
     },
     "The codestream is coded in a way that cannot be"},
    {"APartBeyondTheFile",
     [] {
       Header header;
       header.partBytes = UINT32_MAX;
       return header.Build();
     },
     "The file ends within tile 0", ""},
    {"APartOfNoLength",
     [] {
       Header header;
       header.partBytes = 5;
       return header.Build();
     },
     "The file has no tile 0", ""},
    {"ALargeImageOfOneColour", [] { return Large(4).Build(); }, "The file is too short for what tile 0 promises"},
    {"ASmallerImageOfOneColour",
     [] {
       Header header = Large(4);
       header.width = header.height = header.tileWidth = header.tileHeight = 8000;
       return header.Build();
     },
     ""},
    {"TilesOfOnePixelInManyComponents",
     [] {
       Header header;
       header.width = 255;
       header.height = 257;
       header.tileWidth = header.tileHeight = 1;
       header.numComponents = 4096;
       return header.Build();
     },
     "The codestream is too short for its tiles and components"},
    {"TilesOfOnePixelThatAreMissing",
     [] {
       Header header;
       header.width = 255;
       header.height = 257;
       header.tileWidth = header.tileHeight = 1;
       header.numComponents = 4;
       header.numLevels = 0;
       return header.Build();
     },
     "The file has no tile 1", ""},
    {"AListOfLengthsThatFillsTheHeader",
     [] {
       Header header;
       header.further = RepeatSegment(500, 0xFF55, Bytes(65532));
       return header.Build();
     },
     ""},
    {"HeadsOfPacketsThatFillTheHeader",
     [] {
       Header header;
       header.further = RepeatSegment(256, 0xFF60, Bytes(65533));
       return header.Build();
     },
     "The codestream lacks heads of packets of tile 0",
     "The codestream can't be decoded : Not enough memory to read PPM marker"},
    {"AHeadOfEmptyBitPlanesWithoutEnd",
     [] {
       Header header;
       header.width = header.height = header.tileWidth = header.tileHeight = 2000;
       header.numLevels = 0;
       header.ofPart = RepeatSegment(60, 0xFF61, Bytes(65533));
       header.ofPart[5] = 0xFE;                              // six floors of a tree, and then empty planes
       const Bytes blocks = {0xFC, 0x18, 0x3C, 0x03, 0x00};  // the first ones, with a pass of no bytes each
       std::ranges::copy(blocks, header.ofPart.end() - 5);
       return header.Build();
     },
     "The codestream lacks heads of packets of tile 0", ""},
    {"FewerBytesThanPackets",
     [] {
       Header header;
       header.numDataBytes = 5;  // for six resolutions
       return header.Build();
     },
     "The codestream lacks heads of packets of tile 0", ""},
    {"ManyComponentsInOneTile",
     [] {
       Header header;
       header.width = header.height = header.tileWidth = header.tileHeight = 50;
       header.numComponents = 4096;
       header.numLevels = 0;
       header.numDataBytes = 4096;
       return header.Build();
     },
     ""},
    {"MoreTilePartsThanThereCanBe",
     [] {
       Header header;
       header.numDataBytes = 0;
       header.numParts = 600000;
       return header.Build();
     },
     "The file lacks a part of tile 0", "The codestream can't be decoded : Failed to decode tile 1/1"},
    {"TwentyThousandNestedBoxes",
     [] {
       Bytes boxes;
       for (std::uint32_t i = 20000; i > 0; --i) {
         const Bytes head = Join({BigEndian(8 * i, 4), Jp2Builder::Text("asoc")});
         boxes.insert(boxes.end(), head.begin(), head.end());
       }
       return WithBoxes(boxes);
     },
     "The boxes of the file are nested too deeply"},
    {"SixtyThousandTexts",
     [] {
       const Bytes box = Jp2Builder::MakeBox("xml ", {});
       Bytes boxes;
       for (int i = 0; i < 60000; ++i) boxes.insert(boxes.end(), box.begin(), box.end());
       return WithBoxes(boxes);
     },
     "The file has too many boxes"},
};

std::int64_t GetPeakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stoll(line.substr(6));
  }
  return 0;
}

/// The sentence of the load, or of a read of the corner.
std::string WhyNot(const Bytes& bytes, XReadPolicy policy) {
  MemoryDisk disk;
  disk.Add("/a.j2k", bytes);
  const zrk::ScopedDisk scope(disk);
  XRSFile file;
  file.SetReadPolicy(policy);
  XString err;
  if (!XRSFileIO::LoadFileJP2(&file, "/a.j2k", err, 0, kLevelNone, nullptr)) return err.AsStdString();
  ZRMBand& band = *file.GetBandAt(0);
  const Window corner{0, std::min(band.GetXSize(), 256) - 1, 0, std::min(band.GetYSize(), 256) - 1};
  if (!ReadPixels(band, 0, corner).bytes.empty()) return "";
  return XfnGetLastReadError(err) ? err.AsStdString() : "no reason";
}

class Jp2Hostile : public testing::TestWithParam<std::tuple<Hostile, XReadPolicy>> {};

TEST_P(Jp2Hostile, EndsInASentenceSoonAndWithLittleMemory) {
  const auto& [hostile, policy] = GetParam();
  const Bytes bytes = hostile.build();
  const bool isOther = policy == kReadCompatible && hostile.compatibly;
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak is counted from here
  const std::int64_t before = GetPeakKilobytes();
  const Stopwatch watch;
  EXPECT_EQ(isOther ? hostile.compatibly : hostile.sentence, WhyNot(bytes, policy));
  EXPECT_LT(watch.Seconds(), 1.0 * static_cast<double>(TrialStep()));
  constexpr std::int64_t kMaxKilobytes = 64 << 10;
  if (!IsSanitized()) {
    EXPECT_LT(GetPeakKilobytes() - before, kMaxKilobytes);
  }
}

INSTANTIATE_TEST_SUITE_P(Headers, Jp2Hostile,
                         testing::Combine(testing::ValuesIn(kHostiles), testing::Values(kReadExact, kReadCompatible)),
                         [](const auto& hostile) {
                           const bool isExact = std::get<1>(hostile.param) == kReadExact;
                           return std::get<0>(hostile.param).name + std::string(isExact ? "Exactly" : "Compatibly");
                         });

/// The bytes of a tile's heads that are kept, of so many tile-parts with three megabytes each.
zrk::J2kReader::HeadBytes FindHeads(int numParts, bool isStrict) {
  Header header;
  header.ofPart = RepeatSegment(48, 0xFF61, Bytes(65533));
  header.numParts = numParts;
  Bytes bytes = header.Build();
  const std::size_t partBytes = 12 + header.ofPart.size() + 2 + header.numDataBytes;
  for (std::size_t i = 0, part = bytes.size() - 2; i < static_cast<std::size_t>(numParts); ++i) {
    part -= partBytes;
    bytes[part + 10] = static_cast<unsigned char>(static_cast<std::size_t>(numParts) - 1 - i);
    bytes[part + 11] = static_cast<unsigned char>(numParts);
  }
  XString err;
  const std::int64_t end = std::ssize(bytes);
  const auto reader = zrk::J2kReader::Open(std::make_shared<zrk::BytesFile>(bytes), 0, end, err);
  zrk::J2kReader::Tile tile;
  EXPECT_TRUE(reader && reader->OpenTile({.isStrict = isStrict}, tile, err)) << err.GetText();
  return std::move(tile.heads);
}

TEST(Jp2HeadsInHeaders, AreKeptForStrictReadsAndUpToABound) {
  EXPECT_EQ(0U, FindHeads(1, false).inHeaders.capacity());
  const zrk::J2kReader::HeadBytes few = FindHeads(1, true), many = FindHeads(6, true);
  EXPECT_EQ(48U * 65532U, few.inHeaders.size());
  EXPECT_TRUE(few.AreKept());
  EXPECT_EQ(6 * 48 * 65532, many.Count());
  EXPECT_EQ(0U, many.inHeaders.capacity());
  EXPECT_FALSE(many.AreKept());
}

TEST(Jp2ManyTiles, OpenWithFewReadsAndAWindowReadsItsTilesOnly) {
  const Bytes listed = Jp2Builder().Size(512, 512).Tiles(8, 8).Levels(1).TileLengths().BuildCodestream();
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  LoadedRaster image(listed, kFormatJP2, kReadExact);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  EXPECT_LT(disk.GetReadCount(), 40);
  const int before = disk.GetReadCount();
  ASSERT_FALSE(image.Read(0, 0, {300, 305, 300, 303}).bytes.empty());
  EXPECT_LT(disk.GetReadCount() - before, 12);
}

TEST(Jp2ManyTiles, AreWalkedThroughOnceWhereNothingListsThem) {
  const Bytes bytes = Jp2Builder().Size(512, 512).Tiles(8, 8).Levels(1).BuildCodestream();
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  LoadedRaster image(bytes, kFormatJP2, kReadExact);
  EXPECT_LT(disk.GetReadCount(), 40);
  ASSERT_FALSE(image.Read(0, 0, {300, 305, 300, 303}).bytes.empty());
  const int before = disk.GetReadCount();
  ASSERT_FALSE(image.Read(0, 0, {100, 105, 100, 103}).bytes.empty());
  EXPECT_LT(disk.GetReadCount() - before, 12);
}

/// Bytes that a level of the whole image reads.
std::int64_t CountBytesOfLevel(const Jp2Builder& builder, int level) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  LoadedRaster image(builder.BuildCodestream(), kFormatJP2, kReadExact);
  const std::int64_t before = disk.GetBytesRead();
  EXPECT_FALSE(image.Read(0, level, {0, 399, 0, 399}).bytes.empty());
  return disk.GetBytesRead() - before;
}

TEST(Jp2PacketLengths, LetALevelReadItsPacketsAlone) {
  const auto noise = [](int, int x, int y) { return (x * 7919 + y * 104729 + x * y * 31) % 251; };
  const Jp2Builder listed = Jp2Builder().Size(400, 400).Samples(noise).PacketLengths();
  EXPECT_LT(10 * CountBytesOfLevel(listed, 3), CountBytesOfLevel(listed, 0));
  const Jp2Builder plain = Jp2Builder().Size(400, 400).Samples(noise);
  EXPECT_GT(2 * CountBytesOfLevel(plain, 3), CountBytesOfLevel(plain, 0));
}

}  // namespace
