// Reduced images of TIFF files serve exact reads of their levels, and compatible reads not at all.

#include "bands/tiff/TiffReduced.h"
#include "ExactTiffs.h"
#include "TiffMemory.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <utility>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

/// An image of 41 x 30, whose pixels of row y are 100, but for those of the first column, which are y.
TiffBuilder Base() {
  return TiffBuilder().Size(41, 30).Tiles(16, 16).Pixel([](int x, int y, int) { return std::uint64_t(x ? 100 : y); });
}

/// A reduced image whose pixels are its columns and `first`.
TiffBuilder Reduced(int width, int height, int first) {
  return TiffBuilder().Size(width, height).Strips(4).Tag(254, 4, {1}).Pixel([first](int x, int, int) {
    return std::uint64_t(first + x);
  });
}

class TiffExactOverviews : public ExactTiffs {};

TEST_F(TiffExactOverviews, InTheFileServeTheirLevels) {
  TiffChannels image(Write(Base().Next(Reduced(11, 8, 50))), kReadExact);
  EXPECT_THAT(image.GetMaster().GetOverviewLevels(), ElementsAre(2));
  EXPECT_THAT(image.Read(0, 2, 0, 15, 0, 3), ElementsAre(50u, 51u, 52u, 53u));
  // Column 10 lies in column 2 of the reduced image.
  EXPECT_THAT(image.Read(0, 2, 10, 25, 3, 6), ElementsAre(52u, 53u, 54u, 55u));
  EXPECT_EQ(10u * 7u, image.Read(0, 2, 0, 40, 0, 29).size());
}

TEST_F(TiffExactOverviews, AreNotLookedAtInCompatibleReads) {
  TiffChannels image(Write(Base().Next(Reduced(11, 8, 50))));
  EXPECT_THAT(image.GetMaster().GetOverviewLevels(), IsEmpty());
  EXPECT_THAT(image.Read(0, 2, 4, 19, 0, 3), Each(100u));
}

TEST_F(TiffExactOverviews, ServeCoarserLevelsByTheirPhase) {
  TiffChannels image(Write(Base().Next(Reduced(20, 15, 50)).Next(Reduced(5, 3, 200))), kReadExact);
  EXPECT_THAT(image.GetMaster().GetOverviewLevels(), ElementsAre(1, 3));
  EXPECT_THAT(image.Read(0, 1, 2, 9, 0, 1), ElementsAre(51u, 52u, 53u, 54u));
  EXPECT_THAT(image.Read(0, 2, 2, 17, 0, 3), ElementsAre(51u, 53u, 55u, 57u));
  EXPECT_THAT(image.Read(0, 3, 8, 31, 0, 7), ElementsAre(201u, 202u, 203u));
  EXPECT_THAT(image.Read(0, 4, 0, 31, 0, 15), ElementsAre(200u, 202u));
}

TEST_F(TiffExactOverviews, LeaveFinerLevelsToTheImage) {
  TiffChannels image(Write(Base().Next(Reduced(11, 8, 50))), kReadExact);
  EXPECT_THAT(image.Read(0, 1, 4, 11, 0, 1), Each(100u));
  EXPECT_THAT(image.Read(0, 1, 0, 1, 6, 11), ElementsAre(6u, 8u, 10u));
}

TEST_F(TiffExactOverviews, LieInAFileBesideToo) {
  const std::string path = Write(Base());
  folder_.Write("a.tif.ovr", Reduced(21, 15, 50).Next(Reduced(11, 8, 70)).Build());
  TiffChannels image(path, kReadExact);
  EXPECT_THAT(image.GetMaster().GetOverviewLevels(), ElementsAre(1, 2));
  EXPECT_THAT(image.Read(0, 2, 0, 7, 0, 3), ElementsAre(70u, 71u));
  EXPECT_THAT(image.Read(0, 1, 0, 3, 0, 1), ElementsAre(50u, 51u));
}

TEST_F(TiffExactOverviews, InTheFileComeBeforeThoseBeside) {
  const std::string path = Write(Base().Next(Reduced(11, 8, 50)));
  folder_.Write("a.tif.ovr", Reduced(11, 8, 70).Build());
  TiffChannels image(path, kReadExact);
  EXPECT_THAT(image.Read(0, 2, 0, 7, 0, 3), ElementsAre(50u, 51u));
}

TEST_F(TiffExactOverviews, BesideThatAreOlderThanTheImageAreNotUsed) {
  const std::string path = Write(Base());
  folder_.Write("a.tif.ovr", Reduced(11, 8, 70).Build());
  const auto written = std::filesystem::last_write_time(path);
  std::filesystem::last_write_time(folder_.Path("a.tif.ovr"), written - std::chrono::nanoseconds(1));
  TiffChannels stale(path, kReadExact);
  EXPECT_THAT(stale.GetMaster().GetOverviewLevels(), IsEmpty());
  EXPECT_STREQ("a.tif.ovr is not used, because it is older than the image", stale.GetMaster().GetOverviewRefusal());
  EXPECT_THAT(stale.Read(0, 2, 4, 11, 0, 3), Each(100u));
  std::filesystem::last_write_time(folder_.Path("a.tif.ovr"), written);
  TiffChannels fresh(path, kReadExact);
  EXPECT_STREQ("", fresh.GetMaster().GetOverviewRefusal());
  EXPECT_THAT(fresh.Read(0, 2, 4, 11, 0, 3), ElementsAre(71u, 72u));
}

TEST_F(TiffExactOverviews, BesideOfAnotherImageAreNotUsed) {
  constexpr const char* kSize = "a.tif.ovr is not used, because it has an image that is no reduced size of this one";
  constexpr const char* kKind = "a.tif.ovr is not used, because it has samples of another kind";
  const std::pair<TiffBuilder, const char*> files[] = {
      {Reduced(12, 8, 70), kSize},
      {Reduced(41, 30, 70), kSize},
      {Reduced(11, 8, 70).Next(Reduced(21, 17, 70)), kSize},
      {Reduced(11, 8, 70).Bits(16), kKind},
      {Reduced(11, 8, 70).Samples(2), kKind},
      {Reduced(21, 15, 70).Next(Reduced(11, 8, 70).Format(2)), kKind},
      {Reduced(11, 8, 70).Compression(34712), "a.tif.ovr is not used, because it has an image that can't be read"},
  };
  const std::string path = Write(Base().Next(Reduced(20, 15, 50)));
  for (const auto& [file, reason] : files) {
    folder_.Write("a.tif.ovr", file.Build());
    TiffChannels image(path, kReadExact);
    EXPECT_THAT(image.GetMaster().GetOverviewLevels(), ElementsAre(1));
    EXPECT_STREQ(reason, image.GetMaster().GetOverviewRefusal());
    EXPECT_THAT(image.Read(0, 1, 2, 5, 0, 1), ElementsAre(51u, 52u));
  }
  folder_.Write("a.tif.ovr", "no image");
  EXPECT_STREQ("a.tif.ovr is not used, because it is no TIFF file",
               TiffChannels(path, kReadExact).GetMaster().GetOverviewRefusal());
}

/// A third is no level, but may well be of this image.
TEST_F(TiffExactOverviews, BesideOfFactorsBetweenLevelsDoNotHinderOthers) {
  const std::string path = Write(Base());
  folder_.Write("a.tif.ovr", Reduced(14, 10, 70).Next(Reduced(11, 8, 50)).Build());
  TiffChannels image(path, kReadExact);
  EXPECT_THAT(image.GetMaster().GetOverviewLevels(), ElementsAre(2));
  EXPECT_STREQ("", image.GetMaster().GetOverviewRefusal());
}

TEST_F(TiffExactOverviews, BesideAreNotLookedAtInCompatibleReads) {
  const std::string path = Write(Base());
  folder_.Write("a.tif.ovr", "no image");
  TiffChannels image(path);
  EXPECT_STREQ("", image.GetMaster().GetOverviewRefusal());
  EXPECT_THAT(image.Read(0, 2, 4, 19, 0, 3), Each(100u));
}

TEST(TiffReduction, IsByAWholeFactorFrom2On) {
  EXPECT_TRUE(zrk::IsReduction(14, 10, 41, 30));
  EXPECT_TRUE(zrk::IsReduction(13, 10, 41, 30));
  EXPECT_FALSE(zrk::IsReduction(12, 10, 41, 30));
  EXPECT_FALSE(zrk::IsReduction(41, 30, 41, 30));
  EXPECT_FALSE(zrk::IsReduction(21, 14, 41, 30));
  EXPECT_TRUE(zrk::IsReduction(1, 1, 41, 30));
  EXPECT_TRUE(zrk::IsReduction(1, 1, 2147483647, 1));
  EXPECT_FALSE(zrk::IsReduction(0, 1, 41, 30));
}

TEST_F(TiffExactOverviews, OfAnotherKindAreNone) {
  auto mask = Reduced(11, 8, 50).Tag(254, 4, {5});
  auto page = Reduced(11, 8, 50).Tag(254, 4, {2});
  auto words = Reduced(11, 8, 50).Bits(16);
  auto signs = Reduced(11, 8, 50).Format(2);
  auto samples = Reduced(11, 8, 50).Samples(2);
  auto inverted = Reduced(11, 8, 50).Photometric(0);
  auto otherSize = Reduced(12, 8, 50);
  auto third = Reduced(14, 10, 50);
  for (const TiffBuilder& other : {mask, page, words, signs, samples, inverted, otherSize, third}) {
    TiffChannels image(Write(Base().Next(other)), kReadExact);
    EXPECT_THAT(image.GetMaster().GetOverviewLevels(), IsEmpty());
    EXPECT_THAT(image.Read(0, 2, 4, 19, 0, 3), Each(100u));
  }
}

TEST_F(TiffExactOverviews, ThatAreDamagedFailTheirReads) {
  // The tables of the reduced image say that its blocks lie far behind the end.
  TiffChannels image(Write(Base().Next(Reduced(11, 8, 50).Tag(273, 4, {1u << 30, 1u << 30}))), kReadExact);
  EXPECT_THAT(image.Read(0, 2, 0, 15, 0, 3), IsEmpty());
  EXPECT_EQ("The file doesn't hold all of the block at column 0, row 0", GetReason());
  EXPECT_THAT(image.Read(0, 1, 4, 11, 0, 1), Each(100u));
}

TEST_F(TiffExactOverviews, ThatLackBlocksShowTheNullValue) {
  TiffChannels image(Write(Base().Text(42113, "9").Next(Reduced(11, 8, 50).Sparse(0))), kReadExact);
  EXPECT_THAT(image.Read(0, 2, 0, 15, 0, 3), Each(9u));
  EXPECT_THAT(image.Read(0, 2, 0, 7, 16, 19), ElementsAre(50u, 51u));
}

/// Writes an image and one of half its size in a directory below its own.
std::vector<unsigned char> EncodeWithDirectoryBelow() {
  std::vector<unsigned char> bytes;
  const TiffPointer tiff = OpenTiffInMemory(bytes, "w");
  for (const int size : {8, 4}) {
    std::uint64_t place = 0;
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, size);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, size);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, size);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    if (size == 8) TIFFSetField(tiff.get(), TIFFTAG_SUBIFD, 1, &place);
    if (size == 4) TIFFSetField(tiff.get(), TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
    std::vector<unsigned char> pixels(static_cast<std::size_t>(size * size), static_cast<unsigned char>(size));
    TIFFWriteEncodedStrip(tiff.get(), 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
    TIFFWriteDirectory(tiff.get());
  }
  return bytes;
}

TEST_F(TiffExactOverviews, LieInDirectoriesBelowTheFirstToo) {
  TiffChannels image(Write(EncodeWithDirectoryBelow()), kReadExact);
  EXPECT_THAT(image.GetMaster().GetOverviewLevels(), ElementsAre(1));
  EXPECT_THAT(image.Read(0, 0, 0, 7, 0, 7), Each(8u));
  EXPECT_THAT(image.Read(0, 1, 0, 7, 0, 7), Each(4u));
}

TEST_F(TiffExactOverviews, OfAllBandsAreServed) {
  TiffBuilder base, reduced;
  base.Size(40, 30).Samples(3).Photometric(2).Compression(1);
  reduced.Size(20, 15).Samples(3).Photometric(2).Tag(254, 4, {1});
  TiffChannels image(Write(base.Next(reduced)), kReadExact);
  for (int c = 0; c < 3; ++c) {
    EXPECT_EQ(ReferenceOf(reduced, c).Read(0, 0, 19, 0, 14), image.Read(c, 1, 0, 39, 0, 29));
    EXPECT_EQ(ReferenceOf(reduced, c).Read(1, 3, 12, 2, 9), image.Read(c, 2, 6, 25, 4, 19));
  }
}

TEST(TiffSizeOfLevel, IsRoundedUpOrDown) {
  EXPECT_TRUE(zrk::IsSizeAtLevel(10, 41, 2));
  EXPECT_TRUE(zrk::IsSizeAtLevel(11, 41, 2));
  EXPECT_FALSE(zrk::IsSizeAtLevel(12, 41, 2));
  EXPECT_FALSE(zrk::IsSizeAtLevel(0, 3, 2));
  EXPECT_TRUE(zrk::IsSizeAtLevel(1, 3, 2));
  EXPECT_TRUE(zrk::IsSizeAtLevel(2, 2147483647, 30));
}

}  // namespace
