// LXY trees: which files there are, what is in them, and the index. Pictures are read back by the library's JPEG band.

#include "XExportLXY.h"

#include "MapScene.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XSystem.h"

#include <climits>
#include <cmath>
#include <iterator>

namespace {

class LXY : public MapScene {
 protected:
  int ExportPictures(int maxLevel, int tileSize, XThread* thread = nullptr) {
    return XfnExport2LXYTexture(Out("map.xml"), &manager_, maxLevel, tileSize, kLeft, kTop - 640, kLeft + 640, kTop,
                                err_, thread);
  }
  int ExportHeights(int maxLevel, int tileSize, XThread* thread = nullptr) {
    return XfnExport2LXYDem(Out("map.xml"), &manager_, maxLevel, tileSize, kLeft, kTop - 640, kLeft + 640, kTop, err_,
                            thread);
  }
  /// All regular files, in order.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path())) {
      if (entry.is_regular_file()) names.push_back(std::filesystem::relative(entry.path(), folder_.Path()).string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  std::vector<float> Posts(const std::string& name) const {
    const std::vector<unsigned char> bytes = ReadBytes(Out(name));
    std::vector<float> posts(bytes.size() / sizeof(float));
    std::memcpy(posts.data(), bytes.data(), bytes.size());
    return posts;
  }
};

TEST_F(LXY, HasOneTileAndTheIndexAtLevelZero) {
  ShowColours(64, 64);
  ASSERT_EQ(1, ExportPictures(0, 32)) << err_.GetText();
  EXPECT_EQ((std::vector<std::string>{"0/000000000000000000000.jpg", "map.xml"}), Files());
}

TEST_F(LXY, HasTheSameFilesFromAnyNumberOfThreads) {
  ShowColours(64, 64);
  for (const bool areHeights : {false, true}) {
    std::vector<std::vector<unsigned char>> alone;
    for (const int numWorkers : {1, 2, 5}) {
      XfnSetWorkerCount(numWorkers);
      EXPECT_EQ(1, areHeights ? ExportHeights(2, 16) : ExportPictures(2, 16)) << err_.GetText();
      std::vector<std::vector<unsigned char>> made;
      for (const std::string& name : Files()) made.push_back(ReadBytes(Out(name)));
      if (numWorkers == 1) alone = made;
      EXPECT_TRUE(alone == made) << numWorkers;
    }
  }
  XfnSetWorkerCount(1);
}

TEST_F(LXY, TellsTheTreeInItsIndex) {
  ShowColours(64, 64);
  ASSERT_EQ(1, ExportPictures(1, 32));
  XString wkt;
  manager_.GetSR()->exportToWkt(wkt);
  const std::vector<unsigned char> bytes = ReadBytes(Out("map.xml"));
  EXPECT_EQ(
      "<?xml version=\"1.0\"?>\n<LXY>\n\t<MAGIC_STR>LXY</MAGIC_STR>\n\t<VERSION>1</VERSION>\n"
      "\t<DATA>TEXTURE</DATA>\n\t<PROJECTIONWKT>" +
          wkt.AsStdString() +
          "</PROJECTIONWKT>\n\t<MAXLEVEL>1</MAXLEVEL>\n\t<TILESIZE>32</TILESIZE>\n\t<ROOT_BOUND>\n"
          "\t\t<MINX>500000.000000000000</MINX>\n\t\t<MAXX>500640.000000000000</MAXX>\n"
          "\t\t<MINY>5299360.000000000000</MINY>\n\t\t<MAXY>5300000.000000000000</MAXY>\n\t</ROOT_BOUND>\n</LXY>\n",
      std::string(bytes.begin(), bytes.end()));
}

TEST_F(LXY, ShowsEachCellWhereItLies) {
  // A brightness for each quarter: north-west, north-east, south-west, south-east.
  Fill<std::uint8_t>(bands_[0], 64, 64, [](int x, int y) { return 40 + 50 * (x / 32) + 100 * (y / 32); });
  Show({&bands_[0]});
  ASSERT_EQ(1, ExportPictures(1, 16));
  const std::pair<const char*, int> cells[] = {{"1/001000000000000000000.jpg", 140},
                                               {"1/001000000001000000000.jpg", 190},
                                               {"1/001000000000000000001.jpg", 40},
                                               {"1/001000000001000000001.jpg", 90}};
  for (const auto& [name, brightness] : cells) {
    XRSFile file;
    ASSERT_EQ(1, XfnOpenFile(&file, Out(name), err_, nullptr)) << name;
    tagXArr2* pixels = nullptr;
    ASSERT_EQ(1, file.GetBandAt(0)->ReadSubset(pixels, 0, 0, 15, 0, 15, nullptr));
    EXPECT_NEAR(brightness, pixels->data[5], 2) << name;
    EXPECT_NEAR(brightness, pixels->data[255], 2) << name;
  }
}

TEST_F(LXY, HasNoFilesForCellsWithoutData) {
  ShowColours(16, 16);  // the north-western quarter of the north-western quarter
  ASSERT_EQ(1, ExportPictures(2, 16));
  EXPECT_EQ((std::vector<std::string>{"0/000000000000000000000.jpg", "1/001000000000000000001.jpg",
                                      "2/002000000000000000003.jpg", "map.xml"}),
            Files());
}

TEST_F(LXY, VisitsOnlyTheCellsThatTheDataCovers) {
  ShowHeights(1, 1);
  const auto everywhere = 1e7;
  ASSERT_EQ(1, XfnExport2LXYDem(Out("map.xml"), &manager_, 20, 4, kLeft - everywhere, kTop - everywhere,
                                kLeft + everywhere, kTop + everywhere, err_, nullptr));
  EXPECT_EQ(22u, Files().size());
  EXPECT_TRUE(std::filesystem::is_directory(Out("20")));
}

TEST_F(LXY, SharesPostsBetweenNeighbours) {
  ShowHeights(65, 65);
  ASSERT_EQ(1, ExportHeights(2, 16)) << err_.GetText();
  const std::vector<float> upper = Posts("2/002000000001000000003.dem"), lower = Posts("2/002000000001000000002.dem");
  ASSERT_EQ(17u * 17, upper.size());
  ASSERT_EQ(17u * 17, lower.size());
  for (int y = 0; y < 17; ++y) {
    for (int x = 0; x < 17; ++x) {
      // A post stands on the upper left corner of a pixel.
      ASSERT_EQ(16 + x + 100 * y, upper[static_cast<std::size_t>(y * 17 + x)]) << x << " " << y;
      ASSERT_EQ(16 + x + 100 * (16 + y), lower[static_cast<std::size_t>(y * 17 + x)]) << x << " " << y;
    }
  }
  const std::vector<float> root = Posts("0/000000000000000000000.dem");
  EXPECT_EQ(64 + 100 * 64, root.back());
  EXPECT_EQ(4 + 100 * 8, root[2 * 17 + 1]);
}

TEST_F(LXY, HasNoRimOfZeros) {
  Fill<std::int16_t>(bands_[0], 64, 64, [](int, int) { return 7; });
  Show({&bands_[0]});
  ASSERT_EQ(1, ExportHeights(1, 32));
  for (const char* name : {"1/001000000000000000000.dem", "1/001000000001000000001.dem"}) {
    EXPECT_EQ(std::vector<float>(33 * 33, 7.0f), Posts(name)) << name;
  }
}

TEST_F(LXY, RefusesLevelsAndSystemsInTheirOrder) {
  EXPECT_EQ(0, XfnExport2LXYTexture(Out(), nullptr, -1, 16, 0, 0, 1, 1, err_, nullptr));
  EXPECT_EQ(XString("Invalid ZRM composite manager"), err_);
  for (const int level : {-1, 28, 31, INT_MAX, INT_MIN}) {
    EXPECT_EQ(0, ExportPictures(level, 16));
    EXPECT_EQ(XString("Invalid output data level"), err_);
    EXPECT_EQ(0, ExportHeights(level, 16));
    EXPECT_EQ(XString("Invalid output data level"), err_);
  }
  EXPECT_EQ(0, ExportHeights(0, 16));
  EXPECT_EQ(XString("Invalid spatial reference : NULL"), err_);
  ShowHeights(16, 16);
  XSpatialReference degrees;
  degrees.importFromEPSG(4326);
  manager_.SetSR(degrees);
  EXPECT_EQ(0, ExportPictures(0, 16));
  EXPECT_EQ(XString("Invalid spatial reference : must be Map coordinate system"), err_);
}

TEST_F(LXY, RefusesTilesThatCannotBe) {
  ShowHeights(16, 16);
  for (const int tileSize : {0, -5, INT_MAX, 65501}) {
    EXPECT_EQ(0, ExportPictures(0, tileSize));
    EXPECT_EQ(XString("Invalid output image size"), err_);
  }
  const std::pair<int, int> cases[] = {{0, 0}, {0, -5}, {23, 256}, {27, 16}};
  for (const auto& [level, tileSize] : cases) {
    EXPECT_EQ(0, ExportHeights(level, tileSize));
    EXPECT_EQ(XString("Invalid output image size"), err_);
  }
}

TEST_F(LXY, RefusesTilesOfHeightsThatNoMemoryHolds) {
  ShowHeights(16, 16);
  for (const int tileSize : {INT_MAX, 1 << 20}) {
    EXPECT_EQ(0, ExportHeights(0, tileSize));
    EXPECT_EQ(XString("Fail to allocate LXY DEM output data memory"), err_);
  }
}

TEST_F(LXY, RefusesBoundsWithoutAnArea) {
  ShowHeights(16, 16);
  for (const double east : {kLeft, kLeft - 1, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    EXPECT_EQ(0, XfnExport2LXYTexture(Out(), &manager_, 0, 16, kLeft, 0, east, kTop, err_, nullptr));
    EXPECT_EQ(XString("Invalid output image size"), err_);
    EXPECT_EQ(0, XfnExport2LXYDem(Out(), &manager_, 0, 16, kLeft, 0, east, kTop, err_, nullptr));
    EXPECT_EQ(XString("Fail to create resize DEM data band"), err_);
  }
}

TEST_F(LXY, RefusesHeightsWithoutABand) {
  ShowHeights(16, 16);
  manager_.SetSR(*bands_[0].GetSR());
  manager_.GetZRMCompositeAt(0)->SetBand(0, nullptr);
  EXPECT_EQ(0, ExportHeights(0, 16));
  EXPECT_EQ(XString("Fail to create mosaic DEM data band"), err_);
}

TEST_F(LXY, KeepsTilesAndWritesNoIndexWhereItIsStopped) {
  ShowColours(64, 64);
  ::Posts posts;
  posts.stopAt = 3;
  XThread thread(&posts);
  EXPECT_EQ(0, ExportPictures(1, 16, &thread));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ((std::vector<long>{0, 20, 40}), posts.values);
  EXPECT_EQ((std::vector<std::string>{"0/000000000000000000000.jpg", "1/001000000000000000000.jpg"}), Files());
}

TEST_F(LXY, LeavesTilesOutThatCannotBeMadeInTheCompatiblePolicy) {
  ShowHeights(64, 64);
  bands_[0].FailReads();
  EXPECT_EQ(1, ExportHeights(1, 16));
  EXPECT_EQ((std::vector<std::string>{"map.xml"}), Files());
}

TEST_F(LXY, FailsWhereATileCannotBeMadeInTheExactPolicy) {
  const DefaultPolicy policy(kReadExact);
  ShowHeights(64, 64);
  bands_[0].FailReads();
  EXPECT_EQ(0, ExportHeights(1, 16));
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_EQ(std::vector<std::string>{}, Files());
}

TEST_F(LXY, TellsThatItsIndexCannotBeMade) {
  ShowHeights(16, 16);
  EXPECT_EQ(0, XfnExport2LXYDem(Out("none/map.xml"), &manager_, 0, 16, kLeft, 0, kLeft + 1, kTop, err_, nullptr));
  EXPECT_EQ(XString("Fail to create output LXY index File"), err_);
}

}  // namespace
