#include "bands/dted/DtedHeader.h"

#include "DtedBuilder.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<unsigned char>;

/// A file of spaces with some text in it.
Bytes Spaces(std::size_t offset, const std::string& text) {
  Bytes bytes(600, ' ');
  std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  return bytes;
}

zrk::DtedPlace PlaceOf(const DtedBuilder& builder) {
  return zrk::ParseDtedPlace(builder.Build(), 0);
}

TEST(DtedHeader, KnowsACellByItsMarkAtThreePlaces) {
  for (const std::size_t offset : {129u, 139u, 219u}) EXPECT_TRUE(zrk::HasDtedMark(Spaces(offset, "DTED"))) << offset;
  for (const std::size_t offset : {128u, 140u, 299u}) EXPECT_FALSE(zrk::HasDtedMark(Spaces(offset, "DTED"))) << offset;
}

TEST(DtedHeader, TakesTheMarkInAnyLetterCase) {
  EXPECT_TRUE(zrk::HasDtedMark(Spaces(139, "dTeD1")));
  EXPECT_FALSE(zrk::HasDtedMark(Spaces(139, "DTEM1")));
}

TEST(DtedHeader, NeedsAllOfTheMark) {
  Bytes bytes = Spaces(139, "DTED");
  bytes.resize(142);
  EXPECT_FALSE(zrk::HasDtedMark(bytes));
  EXPECT_FALSE(zrk::HasDtedMark({}));
}

TEST(DtedHeader, FindsTheColumnsByTheFirstTag) {
  const std::tuple<const char*, std::int64_t, std::size_t> layouts[] = {
      {"UHL1", 3428, 0}, {"uhl1", 3428, 0}, {"HDR1", 3508, 80}, {"Hdr", 3508, 80}, {"VOL1", 3588, 160}};
  for (const auto& [tag, dataStart, shift] : layouts) {
    const auto layout = zrk::FindDtedLayout(Spaces(0, tag));
    ASSERT_TRUE(layout) << tag;
    EXPECT_EQ(dataStart, layout->dataStart) << tag;
    EXPECT_EQ(shift, layout->shift) << tag;
  }
}

TEST(DtedHeader, RefusesARecordThatMustNotComeFirst) {
  for (const char* tag : {"DSI", "ACC", "dsi", "acc"}) EXPECT_FALSE(zrk::FindDtedLayout(Spaces(0, tag))) << tag;
}

TEST(DtedHeader, LooksForColumnsAtTheFirstByteBehindAnyOtherTag) {
  for (const char* tag : {"XYZ", "UH", ""}) {
    const auto layout = zrk::FindDtedLayout(Spaces(0, tag));
    ASSERT_TRUE(layout) << tag;
    EXPECT_EQ(0, layout->dataStart) << tag;
    EXPECT_EQ(0u, layout->shift) << tag;
  }
}

TEST(DtedHeader, ReadsSizesAndProduct) {
  const zrk::DtedSize size = zrk::ParseDtedSize(DtedBuilder().Claim("1201", " 601").Build(), 0);
  EXPECT_EQ(1201, size.longitudeLines);
  EXPECT_EQ(601, size.latitudePoints);
  EXPECT_EQ("DTED1", size.productDesignator);
}

TEST(DtedHeader, TakesSizesAsTheyStand) {
  const zrk::DtedSize size = zrk::ParseDtedSize(DtedBuilder().Claim("-999", "12x4").Build(), 0);
  EXPECT_EQ(-999, size.longitudeLines);
  EXPECT_EQ(12, size.latitudePoints);
  EXPECT_EQ(0, zrk::ParseDtedSize(DtedBuilder().Claim("abcd", "    ").Build(), 0).longitudeLines);
}

TEST(DtedHeader, ReadsFieldsBehindLabels) {
  for (const int numLabels : {1, 2}) {
    const Bytes bytes = DtedBuilder().Size(4, 6).Labels(numLabels).Datum("NAD27").Build();
    const std::size_t shift = 80 * static_cast<std::size_t>(numLabels);
    EXPECT_EQ(4, zrk::ParseDtedSize(bytes, shift).longitudeLines);
    EXPECT_EQ(6, zrk::ParseDtedSize(bytes, shift).latitudePoints);
    EXPECT_EQ("DTED1", zrk::ParseDtedSize(bytes, shift).productDesignator);
    EXPECT_EQ(138.0f, zrk::ParseDtedPlace(bytes, shift).west);
    EXPECT_EQ("NAD27", zrk::ParseDtedPlace(bytes, shift).datum);
  }
}

TEST(DtedHeader, ReadsCornersOfDegreesMinutesAndSeconds) {
  const zrk::DtedPlace place = PlaceOf(DtedBuilder().Corners("353000N", "1381515E", "361236N", "1394500E"));
  EXPECT_EQ(35.5f, place.south);
  EXPECT_FLOAT_EQ(138.254167f, place.west);
  EXPECT_DOUBLE_EQ(36.21, place.north);
  EXPECT_EQ(139.75f, place.east);
}

TEST(DtedHeader, MakesEveryHemisphereButNorthAndEastNegative) {
  const zrk::DtedPlace place = PlaceOf(DtedBuilder().Corners("360000S", "1390000W", "350000 ", "1380000x"));
  EXPECT_EQ(-36.0f, place.south);
  EXPECT_EQ(-139.0f, place.west);
  EXPECT_EQ(-35.0f, place.north);
  EXPECT_EQ(-138.0f, place.east);
  // The letters of the other direction count for nothing.
  EXPECT_EQ(-35.0f, PlaceOf(DtedBuilder().Corners("350000E", "1380000E", "360000N", "1390000E")).south);
  EXPECT_EQ(-138.0f, PlaceOf(DtedBuilder().Corners("350000N", "1380000N", "360000N", "1390000E")).west);
}

TEST(DtedHeader, TakesHemispheresInSmallLetters) {
  const zrk::DtedPlace place = PlaceOf(DtedBuilder().Corners("350000n", "1380000e", "360000n", "1390000e"));
  EXPECT_EQ(35.0f, place.south);
  EXPECT_EQ(138.0f, place.west);
  EXPECT_EQ(36.0f, place.north);
  EXPECT_EQ(139.0f, place.east);
}

TEST(DtedHeader, GivesTheDatumInCapitals) {
  EXPECT_EQ("WGS84", PlaceOf(DtedBuilder().Datum("wgs84")).datum);
}

TEST(DtedHeader, TakesFieldsThatAreNotThereForNothing) {
  const Bytes bytes = Spaces(0, "UHL");
  const Bytes shortened(bytes.begin(), bytes.begin() + 40);
  EXPECT_EQ(0, zrk::ParseDtedSize(shortened, 160).latitudePoints);
  EXPECT_EQ("", zrk::ParseDtedPlace(shortened, 160).datum);
  EXPECT_EQ(0.0f, zrk::ParseDtedPlace(shortened, 160).east);
}

}  // namespace
