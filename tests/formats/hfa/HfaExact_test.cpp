// Exact reads of HFA files, and the files that an image may name.

#include "bands/hfa/HfaFile.h"
#include "FaultyDisk.h"
#include "GdalOverview.h"
#include "HfaBuilder.h"
#include "OpenRaster.h"
#include "XBlockCache.h"
#include "XFormatId.h"
#include "XFormatTable.h"
#include "ZRMBandHFA.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace {

class ExactHfa : public OpenRaster<ZRMBandHFA> {
 public:
  explicit ExactHfa(const std::vector<unsigned char>& bytes) : OpenRaster(bytes, "a.img", kFormatHFA, kReadExact) {}
};

int ByteAt(const Pixels& pixels, int x, int y) {
  return pixels.bytes.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) +
                         static_cast<std::size_t>(x));
}

/// Puts another text of the same length in the place of each hit.
void ReplaceText(std::vector<unsigned char>& bytes, std::string_view from, std::string_view to) {
  for (auto hit = bytes.begin(); (hit = std::search(hit, bytes.end(), from.begin(), from.end())) != bytes.end();
       ++hit) {
    std::copy(to.begin(), to.end(), hit);
  }
}

/// A shared image whose pixels lie in a file that it names: by `name`, which has as many letters as the name before. It
/// is loaded exactly, from a folder that lies in another one. Both have the pixels, under a name each.
class SpilledImage {
 public:
  explicit SpilledImage(const std::string& name) {
    const std::filesystem::path source = std::filesystem::path(SharedDataDir()) / "hfa";
    isThere = std::filesystem::exists(source / "gen_spill.img");
    if (!isThere) return;
    std::vector<unsigned char> image = ReadBytes((source / "gen_spill.img").string());
    ReplaceText(image, "gen_spill.ige", name);
    std::filesystem::create_directory(folder_.Path("in"));
    folder_.Write("in/gen_spill.img", image);
    folder_.Write("in/x_spillxx.ige", ReadBytes((source / "gen_spill.ige").string()));
    folder_.Write("xspill.ige", ReadBytes((source / "gen_spill.ige").string()));
    file_.SetReadPolicy(kReadExact);
    isOpen = XRSFileIO::LoadFileHFA(&file_, folder_.Path("in/gen_spill.img"), err_, 0, kLevelNone, nullptr);
    tagXArr2* out = nullptr;
    isRead = isOpen && file_.GetBandAt(0)->ReadSubset(out, 0, 0, 9, 0, 9, nullptr);
  }

  bool isThere = false;
  int isOpen = 0;
  bool isRead = false;

 private:
  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

}  // namespace

TEST(HfaExact, LevelsHavePixelsByTheirPlaces) {
  ExactHfa file(HfaBuilder().Size(150, 140).Build());
  const Pixels pixels = file.Read(2, {2, 149, 1, 139});
  ASSERT_EQ(37, pixels.width);
  for (int y = 0; y < 34; ++y) {
    for (int x = 0; x < 37; ++x)
      ASSERT_EQ(HfaBuilder::Value(2 + 4 * x, 1 + 4 * y, 0), ByteAt(pixels, x, y)) << x << ", " << y;
  }
}

TEST(HfaExact, ALevelComesFromAnOverviewThatIsExactlyThatLevel) {
  ExactHfa file(HfaBuilder().Size(200, 160).Overviews({2, 4}).Build());
  EXPECT_THAT(file.BandAt().GetOverviewLevels(), testing::ElementsAre(1, 2));
  const GdalOverview quarter(file.FilePath(), 1);
  const Pixels pixels = file.Read(2, {9, 170, 6, 133});
  ASSERT_EQ(40, pixels.width);
  ASSERT_EQ(32, pixels.height);
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 40; ++x) ASSERT_EQ(quarter.At(2 + x, 1 + y), ByteAt(pixels, x, y)) << x << ", " << y;
  }
}

TEST(HfaExact, ALevelWithoutSuchAnOverviewComesFromTheImage) {
  // 201 columns are not divided by 2, and no overview is level 3.
  ExactHfa odd(HfaBuilder().Size(201, 160).Overviews({2}).Build());
  EXPECT_TRUE(odd.BandAt().GetOverviewLevels().empty());
  EXPECT_EQ(HfaBuilder::Value(2, 4, 0), ByteAt(odd.Read(1, odd.Whole()), 1, 2));
  ExactHfa even(HfaBuilder().Size(200, 160).Overviews({2, 4}).Build());
  EXPECT_EQ(HfaBuilder::Value(16, 8, 0), ByteAt(even.Read(3, even.Whole()), 2, 1));
}

TEST(HfaExact, TellsSignedBytesApart) {
  const std::vector<unsigned char> bytes = HfaBuilder().Option("PIXELTYPE=SIGNEDBYTE").Build();
  EXPECT_EQ(kSint08, ExactHfa(bytes).BandAt().GetDataType());
  EXPECT_EQ(kPint08, OpenRaster<ZRMBandHFA>(bytes, "a.img", kFormatHFA).BandAt().GetDataType());
}

TEST(HfaCompatible, TakesSignedBytesAsUnsignedOnes) {
  OpenRaster<ZRMBandHFA> file(HfaBuilder().Option("PIXELTYPE=SIGNEDBYTE").Build(), "a.img", kFormatHFA);
  EXPECT_EQ(kPint08, file.BandAt().GetDataType());
}

TEST(HfaExact, TellsTheNullValueOfALayer) {
  ExactHfa file(HfaBuilder().Null(17.0).Build());
  EXPECT_EQ(17.0, file.BandAt().GetNullValue());
}

TEST(HfaCompatible, HasNoNullValue) {
  OpenRaster<ZRMBandHFA> file(HfaBuilder().Null(17.0).Build(), "a.img", kFormatHFA);
  EXPECT_EQ(kNotSet, file.BandAt().GetNullValue());
}

TEST(HfaCompatible, AThematicLayerWithoutColoursIsNone) {
  OpenRaster<ZRMBandHFA> file(HfaBuilder().Thematic().Build(), "a.img", kFormatHFA);
  EXPECT_TRUE(file.BandAt().IsThematic());
  EXPECT_EQ(0, file.BandAt().GetBandType());
}

TEST(HfaExact, AThematicLayerNeedsNoColours) {
  ExactHfa file(HfaBuilder().Layers(2).Thematic().Build());
  EXPECT_EQ(kBandTypeThematic, file.BandAt().GetBandType());
  EXPECT_EQ(0, file.BandAt().GetNumOfGIS());
  EXPECT_EQ(0, file.BandAt(1).GetBandType());
}

TEST(HfaNotes, TellBlocksOverviewsAndClasses) {
  ExactHfa file(HfaBuilder().Size(200, 160).Overviews({2, 4}).Classes(3).Build());
  const tagXFormatNotes notes = XfnDescribeFormat(&file.BandAt(), false);
  EXPECT_THAT(notes.lines, testing::ElementsAre("blocks      64 x 64, compression none", "overviews   levels 1 2",
                                                "classes     3, with colours"));
  ASSERT_EQ(4u, notes.values.size());
  EXPECT_EQ("none", notes.values[1].text);
  EXPECT_EQ(64, notes.values[0].parts[1].number);
  EXPECT_EQ(2, notes.values[2].parts[1].number);
  const tagXNote& second = notes.values[3].parts.at(1);
  EXPECT_EQ(1, second.parts[0].number);
  EXPECT_EQ(254, second.parts[1].parts[2].number);
}

TEST(HfaExact, SaysWhyAFileIsRefused) {
  ExactHfa file({'E', 'H', 'F', 'A', '_', 'H', 'E', 'A', 'D', 'E', 'R', '_', 'T', 'A', 'G', 0});
  EXPECT_FALSE(file.IsOpen());
  EXPECT_THAT(file.Error(), testing::StartsWith("Can't open file : " + file.FilePath() + " : "));
}

TEST(HfaExact, OpensByFewReadsOfTheDisk) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  for (const XReadPolicy policy : {kReadExact, kReadCompatible}) {
    const int before = disk.GetReadCount();
    OpenRaster<ZRMBandHFA> file(HfaBuilder().Size(200, 160).Overviews({2, 4}).Classes(3).Build(), "a.img", kFormatHFA,
                                policy);
    EXPECT_TRUE(file.IsOpen()) << file.Error();
    // The text that describes the records has some 4,000 bytes, and GDAL asks for one after the other.
    EXPECT_GT(100, disk.GetReadCount() - before);
  }
}

TEST(HfaExact, NoticesEachReadThatFailsWhileAFileIsOpened) {
  const TempFolder folder;
  folder.Write("a.img", HfaBuilder().Size(200, 160).Layers(2).Overviews({2}).Classes(3).Null(17.0).Build());
  for (const std::int64_t shortBy : {0, 1}) {
    int numReads = 0;
    for (bool isReached = true; isReached; ++numReads) {
      FaultyDisk disk;
      const zrk::ScopedDisk scope(disk);
      disk.FailRead(numReads + 1, shortBy, 2);  // a small read has a second try
      XString reason;
      const bool isOpen = zrk::HfaFile::Open(folder.Path("a.img"), true, reason) != nullptr;
      isReached = disk.GetReadCount() > numReads;
      EXPECT_EQ(isReached, !isOpen) << numReads;
      EXPECT_EQ(isReached, !reason.IsEmpty()) << numReads;
    }
    EXPECT_LT(5, numReads);
  }
}

TEST(HfaExact, SaysWhichBlockIsNotAllThere) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ExactHfa file(HfaBuilder().Size(200, 160).Option("NBITS=4").Build());
  ASSERT_TRUE(file.IsOpen()) << file.Error();
  EXPECT_EQ("", file.Failure(0, {0, 9, 0, 9}));
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_EQ("The file doesn't hold all of the block at column 1 and row 2 of blocks",
            file.Failure(0, {70, 90, 130, 150}));
  EXPECT_EQ("", file.Failure(0, {70, 90, 130, 150}));
}

TEST(HfaCompatible, TakesPixelsThatTheFileLacksForZero) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  OpenRaster<ZRMBandHFA> file(HfaBuilder().Size(200, 160).Option("NBITS=4").Build(), "a.img", kFormatHFA);
  ASSERT_EQ(100u, file.Read(0, {0, 9, 0, 9}).bytes.size());
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_EQ(std::vector<unsigned char>(100, 0), file.Read(0, {70, 79, 130, 139}).bytes);
}

TEST(HfaExact, LoadsGiveEveryBandStatisticsInAnyLevelMode) {
  ExactHfa file(HfaBuilder().Layers(2).Build());
  EXPECT_NE(kNotSet, file.BandAt(0).GetBandMean());
  EXPECT_NE(kNotSet, file.BandAt(1).GetBandMean());
}

TEST(HfaFiles, ThatTheImageNamesAreReadBesideIt) {
  const SpilledImage image("x_spillxx.ige");
  if (!image.isThere) GTEST_SKIP() << "no shared files";
  EXPECT_TRUE(image.isOpen);
  EXPECT_TRUE(image.isRead);
}

TEST(HfaFiles, ThatTheImageNamesAreNotReadAboveItsFolder) {
  const SpilledImage image("../xspill.ige");
  if (!image.isThere) GTEST_SKIP() << "no shared files";
  EXPECT_FALSE(image.isRead);
}

TEST(HfaFiles, GiveTheSamePixelsOfLayersAndOverviewsFromBlocksThatAreKept) {
  const std::vector<unsigned char> bytes =
      HfaBuilder().Size(200, 160).Layers(2).Option("COMPRESSED=YES").Overviews({2, 4}).Build();
  const auto readAll = [&](ExactHfa& file) {
    std::vector<Pixels> all;
    for (int layer = 0; layer < 2; ++layer) {
      for (const int level : {0, 1, 2}) all.push_back(file.Read(level, {3, 190, 5, 150}, layer));
    }
    return all;
  };
  ExactHfa plain(bytes);
  const std::vector<Pixels> expected = readAll(plain);
  XfnSetBlockCacheBytes(1 << 24);
  ExactHfa kept(bytes);
  const std::vector<Pixels> first = readAll(kept), again = readAll(kept);
  XfnSetBlockCacheBytes(0);
  EXPECT_EQ(expected, first);
  EXPECT_EQ(expected, again);
}
