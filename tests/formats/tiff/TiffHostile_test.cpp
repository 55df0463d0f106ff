#include "MemoryDisk.h"
#include "TiffBuilder.h"
#include "TiffTrial.h"
#include "ZRMBandGTIFF.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

// Headers that no program writes.

namespace {

using Bytes = std::vector<unsigned char>;

enum class Outcome {
  kRefused,   ///< or no pixel can be read
  kZeros,     ///< pixels are there and all are 0
  kReadable,  ///< some pixels are there
  kAny        ///< libtiff decides
};

struct Hostile {
  const char* name;
  Outcome outcome;
  Bytes (*build)();
};

std::ostream& operator<<(std::ostream& stream, const Hostile& hostile) {
  return stream << hostile.name;
}

constexpr int kShort = 3, kLong = 4, kLong8 = 16;
constexpr std::uint64_t kHuge32 = 0xFFFFFFFFu;

TiffBuilder Strips() {
  return TiffBuilder().Size(9, 12).Strips(4);
}

TiffBuilder Tiles() {
  return TiffBuilder().Size(20, 18).Tiles(16, 16);
}

/// Writes another count into the entry of a tag, of a classic or a big file of the order II.
Bytes WithCount(Bytes bytes, int tag, std::uint64_t count) {
  const bool isBig = bytes[2] == 43;
  const std::size_t entryBytes = isBig ? 20 : 12;
  for (std::size_t entry = FindTiffDirectory(bytes) + (isBig ? 8 : 2); entry + entryBytes <= bytes.size();
       entry += entryBytes) {
    if ((bytes[entry] | bytes[entry + 1] << 8) != tag) continue;
    for (std::size_t i = 0; i < (isBig ? 8 : 4); ++i)
      bytes[entry + 4 + i] = static_cast<unsigned char>(count >> (8 * i));
    return bytes;
  }
  ADD_FAILURE() << "no tag " << tag;
  return bytes;
}

/// A classic file whose only directory is followed by the one at `next`, or by itself.
Bytes FollowedBy(Bytes bytes, std::size_t next) {
  const std::size_t directory = FindTiffDirectory(bytes);
  const auto numEntries = static_cast<std::size_t>(bytes[directory] | bytes[directory + 1] << 8);
  const std::size_t place = directory + 2 + 12 * numEntries;
  if (next == 0) next = directory;
  for (std::size_t i = 0; i < 4; ++i) bytes[place + i] = static_cast<unsigned char>(next >> (8 * i));
  return bytes;
}

std::vector<std::uint16_t> Colours(int count) {
  return std::vector<std::uint16_t>(static_cast<std::size_t>(count), std::uint16_t{0x8000});
}

const Hostile kHostiles[] = {
    {"TilesOf2To31", Outcome::kRefused,
     [] { return Tiles().Tag(322, kLong, {1u << 31}).Tag(323, kLong, {1u << 31}).Build(); }},
    {"TilesOf2To31In1Row", Outcome::kRefused, [] { return Tiles().Tag(322, kLong, {1u << 31}).Build(); }},
    {"TilesOfMostWidth", Outcome::kRefused,
     [] { return Tiles().Tag(322, kLong, {kHuge32}).Tag(323, kLong, {kHuge32}).Build(); }},
    {"TilesWithoutWidth", Outcome::kRefused, [] { return Tiles().Tag(322, kLong, {0}).Build(); }},
    {"TilesWithoutHeight", Outcome::kRefused, [] { return Tiles().Tag(323, kLong, {0}).Build(); }},
    {"FewerByteCountsThanStrips", Outcome::kReadable, [] { return Strips().ByteCounts(1).Build(); }},
    {"OneStripOfThree", Outcome::kReadable, [] { return Strips().Tag(273, kLong, {8}).Tag(279, kLong, {36}).Build(); }},
    {"StripsBeyondAllMemory", Outcome::kRefused, [] { return Strips().Claim(kHuge32, kHuge32).Build(); }},
    {"StripsOfAnImageOf2To31Rows", Outcome::kAny, [] { return Strips().Claim(9, 1u << 31).Build(); }},
    {"NoRowsInAStrip", Outcome::kAny, [] { return Strips().Tag(278, kLong, {0}).Build(); }},
    {"MostRowsInAStrip", Outcome::kReadable,
     [] { return TiffBuilder().Size(9, 12).Tag(278, kLong, {kHuge32}).Build(); }},
    {"NoWidth", Outcome::kRefused, [] { return Strips().Claim(0, 12).Build(); }},
    {"NoHeight", Outcome::kRefused, [] { return Strips().Claim(9, 0).Build(); }},
    {"NoSize", Outcome::kRefused, [] { return Strips().Without(256).Without(257).Build(); }},
    {"TooFewColours", Outcome::kAny, [] { return Strips().Photometric(3).ColourMap(Colours(30)).Build(); }},
    {"TooManyColours", Outcome::kAny, [] { return Strips().Photometric(3).ColourMap(Colours(3000)).Build(); }},
    {"ColoursOf32Bits", Outcome::kAny, [] { return Strips().Bits(32).Photometric(3).ColourMap(Colours(768)).Build(); }},
    {"MostSamples", Outcome::kRefused, [] { return Strips().Tag(277, kShort, {65535}).Build(); }},
    {"MostSamplesInPlanes", Outcome::kRefused, [] { return Strips().Planar().Tag(277, kShort, {65535}).Build(); }},
    {"NoSamples", Outcome::kAny, [] { return Strips().Tag(277, kShort, {0}).Build(); }},
    {"MostBits", Outcome::kAny, [] { return Strips().Tag(258, kShort, {65535}).Build(); }},
    {"NoBits", Outcome::kAny, [] { return Strips().Tag(258, kShort, {0}).Build(); }},
    {"MostBitsAndSamples", Outcome::kRefused,
     [] { return Strips().Tag(258, kShort, {65535}).Tag(277, kShort, {65535}).Claim(1u << 20, 1).Build(); }},
    {"PlanesThatAreNeither", Outcome::kAny, [] { return Strips().Samples(3).Tag(284, kShort, {77}).Build(); }},
    {"DirectoryAfterItself", Outcome::kReadable, [] { return FollowedBy(Strips().Build(), 0); }},
    {"DirectoryAtTheHeader", Outcome::kReadable, [] { return FollowedBy(Strips().Build(), 2); }},
    {"DirectoryBeyondTheEnd", Outcome::kReadable, [] { return FollowedBy(Strips().Build(), 0xFFFFFFF0u); }},
    {"BigCountOfStrips", Outcome::kAny,
     [] { return WithCount(Strips().BigTiff().Build(), 273, std::uint64_t{1} << 60); }},
    {"BigCountOfByteCounts", Outcome::kAny,
     [] { return WithCount(Strips().BigTiff().Build(), 279, std::uint64_t{1} << 60); }},
    {"BigCountOfBits", Outcome::kAny,
     [] { return WithCount(Strips().BigTiff().Build(), 258, std::uint64_t{1} << 60); }},
    {"BigCountOfText", Outcome::kReadable,
     [] {
       return WithCount(Strips().BigTiff().Text(270, "a text of some length").Build(), 270, std::uint64_t{1} << 60);
     }},
    {"BigCountOfTiePoints", Outcome::kReadable,
     [] {
       return WithCount(Strips().BigTiff().Reals(33922, {0, 0, 0, 5, 6, 0}).Build(), 33922, std::uint64_t{1} << 60);
     }},
    {"StripsBeyondTheEnd", Outcome::kZeros,
     [] {
       return Strips().Tag(273, kLong, {1u << 20, 1u << 30, kHuge32}).Build();
     }},
    {"CompressedStripsBeyondTheEnd", Outcome::kZeros,
     [] {
       return Strips().Compression(5).Tag(273, kLong, {1u << 20, 1u << 30, kHuge32}).Build();
     }},
    {"BigStripsBeyondTheEnd", Outcome::kZeros,
     [] {
       const std::uint64_t most = ~std::uint64_t{0};
       return Strips().BigTiff().Tag(273, kLong8, {most, most - 8, std::uint64_t{1} << 63}).Build();
     }},
    {"StripsOverTheHeader", Outcome::kReadable,
     [] {
       return Strips().Tag(273, kLong, {0, 2, 4}).Build();
     }},
    {"ByteCountsBeyondAllMemory", Outcome::kAny,
     [] {
       return Strips().Compression(5).Tag(279, kLong, {kHuge32, kHuge32, kHuge32}).Build();
     }},
};

class HostileTiffs : public testing::TestWithParam<Hostile> {};

TEST_P(HostileTiffs, DoNoHarm) {
  const TiffTrial trial = TryTiff(GetParam().build());
  switch (GetParam().outcome) {
    case Outcome::kRefused:
      EXPECT_EQ(0, trial.numReads);
      break;
    case Outcome::kZeros:
      EXPECT_GT(trial.numReads, 0);
      EXPECT_FALSE(trial.hasPixels);
      break;
    case Outcome::kReadable:
      EXPECT_TRUE(trial.hasPixels);
      break;
    case Outcome::kAny:
      break;
  }
}

TEST_P(HostileTiffs, EndTheirListOfDirectories) {
  const Bytes bytes = GetParam().build();
  MemoryDisk disk;
  disk.Add("hostile.tif", bytes);
  const zrk::ScopedDisk scoped(disk);
  ZRMBandGTIFF band(nullptr);
  XString err;
  if (!band.ReadFile("hostile.tif", err, nullptr)) GTEST_SKIP() << "refused";
  EXPECT_LE(band.GetDirectories(100000).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Headers, HostileTiffs, testing::ValuesIn(kHostiles),
                         [](const auto& hostile) { return std::string(hostile.param.name); });

}  // namespace
