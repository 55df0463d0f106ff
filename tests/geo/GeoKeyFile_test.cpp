#include "geo/GeoKeyFile.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using zrk::GeoKey;
using zrk::GeoKeySet;
using zrk::MakeGeoKeyFile;
using zrk::ReadGeoKeyFile;
using Bytes = std::vector<unsigned char>;

GeoKeySet AllKinds() {
  GeoKeySet set{.version = 1, .majorRevision = 1, .minorRevision = 1, .keys = {}};
  set.keys.push_back({1024, std::uint16_t{1}});
  set.keys.push_back({1026, std::string("of a | bar")});
  set.keys.push_back({2057, std::vector{6378137.0}});
  set.keys.push_back({2062, std::vector{1.0, -2.0, 3.5, 0.0, 1e-300, std::numeric_limits<double>::infinity(), 7.0}});
  set.keys.push_back({3072, std::uint16_t{65535}});
  set.keys.push_back({3073, std::string()});
  set.keys.push_back({3080, std::vector{9.0}});
  return set;
}

/// The place of a tag's entry in the directory, which follows a head of eight bytes and its count.
std::size_t EntryOf(const Bytes& file, int tag) {
  for (std::size_t at = 10; at + 12 <= file.size(); at += 12) {
    if (file[at] + 256 * file[at + 1] == tag) return at;
  }
  ADD_FAILURE() << "no tag " << tag;
  return 0;
}

/// A file in which one byte of a tag's entry is another.
Bytes WithByte(Bytes file, int tag, std::size_t at, unsigned char value) {
  file[EntryOf(file, tag) + at] = value;
  return file;
}

/// A file with one key, whose four words are these.
Bytes WithEntry(const std::vector<int>& words) {
  Bytes file = MakeGeoKeyFile({.keys = {{1026, std::string("abc")}, {2057, std::vector{1.0, 2.0}}}});
  const std::size_t entry = EntryOf(file, 34735);
  const std::size_t first = file[entry + 8] + std::size_t{256} * file[entry + 9] + 8;
  for (std::size_t i = 0; i < words.size(); ++i) {
    file[first + 2 * i] = static_cast<unsigned char>(words[i]);
    file[first + 2 * i + 1] = static_cast<unsigned char>(words[i] >> 8);
  }
  return file;
}

}  // namespace

TEST(GeoKeyFile, IsReadAsItWasMade) {
  EXPECT_EQ(AllKinds(), ReadGeoKeyFile(MakeGeoKeyFile(AllKinds())));
}

TEST(GeoKeyFile, OfNoKeysIsReadAsSuch) {
  const GeoKeySet none{.version = 1, .majorRevision = 2, .minorRevision = 3, .keys = {}};
  EXPECT_EQ(none, ReadGeoKeyFile(MakeGeoKeyFile(none)));
}

TEST(GeoKeyFile, OfAFewBytesHasItsTextWithinTheEntry) {
  for (const char* text : {"", "a", "ab", "abc"}) {
    const GeoKeySet set{.keys = {{1026, std::string(text)}}};
    EXPECT_EQ(set, ReadGeoKeyFile(MakeGeoKeyFile(set))) << text;
  }
}

TEST(GeoKeyFile, HasTheTagsThatPlaceAnImageBeforeTheKeys) {
  const Bytes plain = MakeGeoKeyFile(AllKinds());
  const double upright[] = {1, 2, 0, 3, 0, -4}, turned[] = {1, 2, 5, 3, 6, -4};
  const Bytes placed = MakeGeoKeyFile(AllKinds(), zrk::PlaceByTransform(upright));
  EXPECT_EQ(AllKinds(), ReadGeoKeyFile(placed));
  EXPECT_LT(EntryOf(placed, 33550), EntryOf(placed, 33922));
  EXPECT_LT(EntryOf(placed, 33922), EntryOf(placed, 34735));
  // Two entries, three reals and six.
  EXPECT_EQ(plain.size() + 2 * 12 + 9 * 8, placed.size());
  const Bytes byMatrix = MakeGeoKeyFile(AllKinds(), zrk::PlaceByTransform(turned));
  EXPECT_EQ(AllKinds(), ReadGeoKeyFile(byMatrix));
  EXPECT_LT(EntryOf(byMatrix, 34264), EntryOf(byMatrix, 34735));
  EXPECT_EQ(plain.size() + 12 + 16 * 8, byMatrix.size());
}

TEST(GeoKeyFile, TellsAPlaceByTiePointAndScaleOrByAMatrix) {
  const double upright[] = {1, 2, 0, 3, 0, -4}, northward[] = {1, 2, 0, 3, 0, 4};
  const zrk::GeoPlaceTags tags = zrk::PlaceByTransform(upright);
  EXPECT_EQ((std::vector<double>{2, 4, 0}), tags.pixelScale);
  EXPECT_EQ((std::vector<double>{0, 0, 0, 1, 3, 0}), tags.tiePoint);
  EXPECT_TRUE(tags.matrix.empty());
  const zrk::GeoPlaceTags matrix = zrk::PlaceByTransform(northward);
  EXPECT_TRUE(matrix.pixelScale.empty() && matrix.tiePoint.empty());
  EXPECT_EQ((std::vector<double>{2, 0, 0, 1, 0, 4, 0, 3, 0, 0, 0, 0, 0, 0, 0, 1}), matrix.matrix);
}

TEST(GeoKeyFile, LeavesOutWhatItHasNoRoomFor) {
  const GeoKey small{1024, std::uint16_t{1}};
  const GeoKeySet set{.keys = {small, {1026, std::string(65535, 'x')}, {2057, std::vector<double>(65536)}}};
  EXPECT_EQ((GeoKeySet{.keys = {small}}), ReadGeoKeyFile(MakeGeoKeyFile(set)));
}

TEST(GeoKeyFile, ThatIsCutIsNotRead) {
  const Bytes whole = MakeGeoKeyFile(AllKinds());
  const std::size_t end = whole.size() - whole.size() % 2;
  for (std::size_t size = 0; size + 1 < end; ++size) {
    // A buffer of just that size, so that a look beyond it is found out.
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(std::nullopt, ReadGeoKeyFile(part)) << size;
  }
}

TEST(GeoKeyFile, OfAnotherKindIsNotRead) {
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile({}));
  for (const std::size_t at : {0u, 1u, 2u, 3u}) {
    Bytes file = MakeGeoKeyFile(AllKinds());
    ++file[at];
    EXPECT_EQ(std::nullopt, ReadGeoKeyFile(file)) << at;
  }
}

TEST(GeoKeyFile, WithoutADirectoryOfKeysIsNotRead) {
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithByte(MakeGeoKeyFile(AllKinds()), 34735, 0, 0)));
}

TEST(GeoKeyFile, WhoseTablesAreOfAnotherTypeOrTooLongIsNotRead) {
  const Bytes file = MakeGeoKeyFile(AllKinds());
  for (const int tag : {34735, 34736, 34737}) {
    EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithByte(file, tag, 2, 1))) << tag;     // type
    EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithByte(file, tag, 7, 255))) << tag;   // count
    EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithByte(file, tag, 11, 255))) << tag;  // place
  }
}

TEST(GeoKeyFile, WhoseTablesAreMissingIsNotReadWhereKeysNeedThem) {
  const Bytes file = MakeGeoKeyFile(AllKinds());
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithByte(file, 34736, 0, 255)));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithByte(file, 34737, 0, 255)));
}

TEST(GeoKeyFile, WhoseKeysReachBeyondTheirTablesIsNotRead) {
  EXPECT_NE(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34737, 4, 0})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34737, 4, 2})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34737, 65535, 65535})));
  EXPECT_NE(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34736, 2, 0})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34736, 2, 1})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34736, 65535, 65535})));
}

TEST(GeoKeyFile, WhoseTextsDoNotEndInABarIsNotRead) {
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34737, 3, 0})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34737, 0, 0})));
}

TEST(GeoKeyFile, WhoseKeysLieInOtherTagsIsNotRead) {
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 256, 1, 0})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 34735, 2, 0})));
  EXPECT_EQ(std::nullopt, ReadGeoKeyFile(WithEntry({1026, 0, 2, 0})));
}
