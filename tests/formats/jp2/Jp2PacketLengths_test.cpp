// Lists of the lengths of packets (PLT) that are wrong. Reduced levels are read by them. The exact policy fails there,
// and the compatible one reads the whole tile, as the decoder does by itself. At full resolution no list is needed.

#include "base/BytesFile.h"
#include "codec/J2kReader.h"
#include "Jp2Builder.h"
#include "LoadedRaster.h"
#include "XFormatId.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using ListBytes = std::vector<unsigned char>;

constexpr Window kAll{0, 99, 0, 79};
constexpr const char* kListIsWrong = "The lengths of packets that tile 0 lists are wrong";

/// One tile of four resolutions and two layers, whose packets go by resolution.
Jp2Builder Listed() {
  return Jp2Builder().Size(100, 80).Levels(3).Layers({8, 1}).Order("RLCP").PacketLengths();
}

/// A codestream, and where its list stands.
struct ListedStream {
  ListBytes bytes = Listed().BuildCodestream();
  std::size_t part = Find({0xFF, 0x90, 0, 10});
  std::size_t list = Find({0xFF, 0x58});

  std::size_t Find(const ListBytes& mark) const {
    return static_cast<std::size_t>(std::search(bytes.begin(), bytes.end(), mark.begin(), mark.end()) - bytes.begin());
  }
  std::size_t ListEnd() const { return list + 2 + bytes[list + 2] * 256U + bytes[list + 3]; }
  /// Where the length of each packet begins.
  std::vector<std::size_t> Entries() const {
    std::vector<std::size_t> entries;
    for (std::size_t i = list + 5; i < ListEnd(); ++i) {
      if (i == list + 5 || bytes[i - 1] < 0x80) entries.push_back(i);
    }
    return entries;
  }
  /// Without the last `count` bytes of the list.
  void Shorten(std::size_t count) {
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(ListEnd());
    bytes.erase(end - static_cast<std::ptrdiff_t>(count), end);
    for (const std::size_t length : {list + 2, part + 8}) {
      const std::size_t now = bytes[length] * 256U + bytes[length + 1] - count;
      bytes[length] = static_cast<unsigned char>(now >> 8);
      bytes[length + 1] = static_cast<unsigned char>(now & 0xFF);
    }
  }
};

/// A list with a length too few, one with a length that lies, and one where two packets have changed their lengths.
std::vector<ListBytes> MakeWrongLists() {
  ListedStream missing, lying, swapped;
  missing.Shorten(missing.ListEnd() - missing.Entries().back());
  ++lying.bytes[lying.Entries()[0]];
  const std::vector<std::size_t> entries = swapped.Entries();
  EXPECT_EQ(8U, entries.size());
  EXPECT_TRUE(swapped.bytes[entries[0]] != swapped.bytes[entries[1]] && entries[2] == entries[0] + 2);
  std::swap(swapped.bytes[entries[0]], swapped.bytes[entries[1]]);
  return {missing.bytes, lying.bytes, swapped.bytes};
}

TEST(Jp2PacketLengthsExact, ThatAreWrongFailAReducedLevel) {
  for (const ListBytes& bytes : MakeWrongLists()) {
    LoadedRaster image(bytes, kFormatJP2, kReadExact);
    for (int level = 1; level <= 3; ++level) EXPECT_EQ(kListIsWrong, image.Failure(level, kAll)) << level;
    EXPECT_EQ("", image.Failure(kAll));
  }
}

TEST(Jp2PacketLengthsCompatible, ThatAreWrongArePassedOver) {
  LoadedRaster sound(Listed().BuildCodestream(), kFormatJP2);
  for (const ListBytes& bytes : MakeWrongLists()) {
    LoadedRaster image(bytes, kFormatJP2, kReadCompatible);
    for (int level = 0; level <= 3; ++level) {
      EXPECT_EQ(sound.Read(0, level, kAll), image.Read(0, level, kAll)) << level << image.Failure(level, kAll);
    }
  }
}

/// Whoever asks for a stop gets no samples, and no reason either.
TEST(Jp2PacketLengthsExact, AreComparedUntilAStopIsAskedFor) {
  const ListBytes bytes = MakeWrongLists().back();
  XString err;
  const auto reader = zrk::J2kReader::Open(std::make_shared<zrk::BytesFile>(bytes), 0, std::ssize(bytes), err);
  ASSERT_TRUE(reader) << err.GetText();
  alignas(4) int state = XThread::kStateRun;
  zrk::J2kReader::Tile tile;
  EXPECT_EQ(0, reader->OpenTile({.level = 1, .cancel = &state}, tile, err));
  EXPECT_STREQ(kListIsWrong, err.GetText());
  state = XThread::kStateStop;
  EXPECT_EQ(1, reader->OpenTile({.level = 1, .cancel = &state}, tile, err));
}

TEST(Jp2PacketLengthsExact, ThatAreRightGiveTheSamplesOfAWholeTile) {
  LoadedRaster listed(Listed().BuildCodestream(), kFormatJP2, kReadExact);
  LoadedRaster plain(Jp2Builder().Size(100, 80).Levels(3).Layers({8, 1}).Order("RLCP").BuildCodestream(), kFormatJP2,
                     kReadExact);
  for (int level = 0; level <= 3; ++level) EXPECT_EQ(plain.Read(0, level, kAll), listed.Read(0, level, kAll)) << level;
}

}  // namespace
