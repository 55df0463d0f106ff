// Heads of packets that the main header holds for all tiles (PPM), or a tile-part for itself (PPT). OpenJPEG writes no
// such codestreams, so they are made of one whose heads stand in the data: a mark ends each head there, and a list
// (PLT) tells the length of each packet. The marks are left out then, because a decoder would miss them where heads are
// missing.

#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using CodedBytes = std::vector<unsigned char>;

constexpr std::size_t kPartHeadBytes = 12;

std::size_t ReadNumber(const CodedBytes& bytes, std::size_t place, int count) {
  std::size_t number = 0;
  for (int i = 0; i < count; ++i) number = number << 8 | bytes[place++];
  return number;
}

CodedBytes Slice(const CodedBytes& bytes, std::size_t begin, std::size_t end) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end)};
}

std::size_t FindMark(const CodedBytes& bytes, const CodedBytes& mark, std::size_t from = 0) {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return static_cast<std::size_t>(std::search(first, bytes.end(), mark.begin(), mark.end()) - bytes.begin());
}

/// A codestream whose heads are taken out of its tile-parts.
struct PackedStream {
  CodedBytes start;               // the main header
  std::vector<CodedBytes> lists;  // of heads, by tile-part
  std::vector<CodedBytes> parts;

  CodedBytes JoinLists() const {
    CodedBytes joined;
    for (const CodedBytes& list : lists) joined = Join({joined, BigEndian(list.size(), 4), list});
    return joined;
  }
  static CodedBytes MakeSegment(unsigned char number, const CodedBytes& content) {
    return Join({{0xFF, 0x60}, BigEndian(content.size() + 3, 2), {number}, content});
  }
  CodedBytes Build(const CodedBytes& segments) const {
    CodedBytes bytes = Join({start, segments});
    for (const CodedBytes& part : parts) bytes = Join({bytes, part});
    return Join({bytes, {0xFF, 0xD9}});
  }
  CodedBytes Build() const { return Build(MakeSegment(0, JoinLists())); }
  /// With each list in the header of its tile-part.
  CodedBytes BuildInParts() const {
    PackedStream moved = *this;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const CodedBytes segment = Join({{0xFF, 0x61}, BigEndian(lists[i].size() + 3, 2), {0}, lists[i]});
      moved.parts[i] =
          Join({Slice(parts[i], 0, 6), BigEndian(parts[i].size() + segment.size(), 4),
                Slice(parts[i], 10, kPartHeadBytes), segment, Slice(parts[i], kPartHeadBytes, parts[i].size())});
    }
    return moved.Build({});
  }
};

/// The lengths of packets that the segment at that place lists.
std::vector<std::size_t> ReadLengths(const CodedBytes& bytes, std::size_t segment) {
  std::vector<std::size_t> lengths;
  std::size_t length = 0;
  const std::size_t end = segment + 2 + ReadNumber(bytes, segment + 2, 2);
  for (std::size_t i = segment + 5; i < end; ++i) {
    length = length << 7 | (bytes[i] & 0x7FU);
    if (bytes[i] >= 0x80) continue;
    lengths.push_back(length);
    length = 0;
  }
  return lengths;
}

PackedStream TakeHeadsOut(const CodedBytes& bytes) {
  PackedStream packed;
  std::size_t part = FindMark(bytes, {0xFF, 0x90, 0, 10});
  packed.start = Slice(bytes, 0, part);
  packed.start[FindMark(bytes, {0xFF, 0x52}) + 4] = 0;  // no marks
  while (bytes[part + 1] == 0x90) {
    const std::size_t list = part + kPartHeadBytes;
    std::size_t place = list + 2 + ReadNumber(bytes, list + 2, 2) + 2;
    CodedBytes heads, data;
    for (const std::size_t length : ReadLengths(bytes, list)) {
      const std::size_t mark = FindMark(bytes, {0xFF, 0x92}, place);
      heads = Join({heads, Slice(bytes, place, mark)});
      data = Join({data, Slice(bytes, mark + 2, place + length)});
      place += length;
    }
    packed.lists.push_back(heads);
    packed.parts.push_back(Join({Slice(bytes, part, part + 6),
                                 BigEndian(data.size() + 14, 4),
                                 Slice(bytes, part + 10, list),
                                 {0xFF, 0x93},
                                 data}));
    part += ReadNumber(bytes, part + 6, 4);
  }
  return packed;
}

/// Two tiles beside each other.
CodedBytes MakeTwoTiles() {
  return Jp2Builder().Tiles(32, 48).Levels(2).PacketLengths().PacketMarks().BuildCodestream();
}

constexpr Window kFirstTile{0, 31, 0, 47}, kSecondTile{32, 63, 0, 47};
constexpr const char* kLacksFirst = "The codestream lacks heads of packets of tile 0";
constexpr const char* kLacksSecond = "The codestream lacks heads of packets of tile 1";

class Jp2PackedHeads : public testing::Test {
 protected:
  /// Both tiles fail an exact read.
  void ExpectBothFail(const CodedBytes& bytes) {
    LoadedRaster image(bytes, kFormatJP2, kReadExact);
    ASSERT_TRUE(image.IsOpen()) << image.Reason();
    EXPECT_EQ(kLacksFirst, image.Failure(kFirstTile));
    EXPECT_EQ(kLacksSecond, image.Failure(kSecondTile));
  }

  const CodedBytes plain_ = MakeTwoTiles();
  PackedStream packed_ = TakeHeadsOut(plain_);
};

TEST_F(Jp2PackedHeads, GiveTheSamplesThatHeadsInTheDataGive) {
  ASSERT_EQ(2U, packed_.lists.size());
  const CodedBytes joined = packed_.JoinLists();
  const std::size_t middle = packed_.lists[0].size() / 2;
  const CodedBytes inTwo = Join({PackedStream::MakeSegment(1, Slice(joined, middle, joined.size())),
                                 PackedStream::MakeSegment(0, Slice(joined, 0, middle))});
  LoadedRaster plain(plain_, kFormatJP2);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    for (const CodedBytes& bytes : {packed_.Build(), packed_.Build(inTwo), packed_.BuildInParts()}) {
      LoadedRaster image(bytes, kFormatJP2, policy);
      EXPECT_EQ(plain.Read(0, 0, {0, 63, 0, 47}), image.Read(0, 0, {0, 63, 0, 47})) << image.Failure({0, 63, 0, 47});
    }
  }
}

TEST_F(Jp2PackedHeads, OfWhichAListIsMissingFailAnExactRead) {
  packed_.lists.pop_back();
  ExpectBothFail(packed_.Build());
}

TEST_F(Jp2PackedHeads, OfWhichThereAreMoreThanTilePartsFailAnExactRead) {
  packed_.lists.push_back(packed_.lists.front());
  ExpectBothFail(packed_.Build());
}

TEST_F(Jp2PackedHeads, ThatAreCutShortFailAnExactRead) {
  const CodedBytes joined = packed_.JoinLists();
  for (const std::size_t count : {joined.size() - 1, packed_.lists[0].size() + 6, std::size_t{3}, std::size_t{0}}) {
    ExpectBothFail(packed_.Build(PackedStream::MakeSegment(0, Slice(joined, 0, count))));
  }
}

TEST_F(Jp2PackedHeads, WithALengthThatLiesFailAnExactRead) {
  for (const int difference : {-1, 1}) {
    CodedBytes joined = packed_.JoinLists();
    joined[3] = static_cast<unsigned char>(joined[3] + difference);
    ExpectBothFail(packed_.Build(PackedStream::MakeSegment(0, joined)));
  }
}

TEST_F(Jp2PackedHeads, OfWhichASegmentIsMissingOrThereTwiceFailAnExactRead) {
  const CodedBytes joined = packed_.JoinLists();
  const CodedBytes first = Slice(joined, 0, 9), second = Slice(joined, 9, joined.size());
  ExpectBothFail(packed_.Build(Join({PackedStream::MakeSegment(0, first), PackedStream::MakeSegment(2, second)})));
  ExpectBothFail(packed_.Build(Join({PackedStream::MakeSegment(1, first), PackedStream::MakeSegment(2, second)})));
  const CodedBytes whole = PackedStream::MakeSegment(0, joined);
  ExpectBothFail(packed_.Build(Join({whole, whole})));
}

/// A tile of three resolutions has three packets, and each has a byte of head at least.
TEST_F(Jp2PackedHeads, ThatAreTooFewForTheirTileFailAnExactReadOfIt) {
  packed_.lists[1].resize(2);
  for (const CodedBytes& bytes : {packed_.Build(), packed_.BuildInParts()}) {
    LoadedRaster image(bytes, kFormatJP2, kReadExact);
    EXPECT_EQ("", image.Failure(kFirstTile));
    EXPECT_EQ(kLacksSecond, image.Failure(kSecondTile));
  }
}

/// Bytes for all packets remain, and yet the last heads lack some of theirs.
TEST_F(Jp2PackedHeads, OfWhichSomeBytesAreMissingFailAnExactReadOfTheirTile) {
  const CodedBytes whole = packed_.lists[1];
  ASSERT_GT(whole.size(), 3U);
  for (std::size_t count = 3; count < whole.size(); ++count) {
    packed_.lists[1] = Slice(whole, 0, count);
    for (const CodedBytes& bytes : {packed_.Build(), packed_.BuildInParts()}) {
      LoadedRaster image(bytes, kFormatJP2, kReadExact);
      EXPECT_EQ("", image.Failure(kFirstTile));
      EXPECT_EQ(kLacksSecond, image.Failure(kSecondTile)) << count;
    }
  }
}

TEST_F(Jp2PackedHeads, BehindThoseOfAllPacketsFailAnExactReadOfTheirTile) {
  packed_.lists[1].push_back(0);
  LoadedRaster image(packed_.Build(), kFormatJP2, kReadExact);
  EXPECT_EQ("", image.Failure(kFirstTile));
  EXPECT_EQ(kLacksSecond, image.Failure(kSecondTile));
}

/// Without any packet a sample is in the middle of its range.
TEST_F(Jp2PackedHeads, ThatAreMissingCountAsEmptyPacketsCompatibly) {
  packed_.lists[1] = {0};
  LoadedRaster plain(plain_, kFormatJP2);
  LoadedRaster image(packed_.Build(), kFormatJP2, kReadCompatible);
  EXPECT_EQ(plain.Read(0, 0, kFirstTile), image.Read(0, 0, kFirstTile));
  const Pixels pixels = image.Read(0, 0, kSecondTile);
  EXPECT_EQ(std::vector<unsigned char>(32 * 48, 128), pixels.bytes) << image.Failure(kSecondTile);
}

}  // namespace
