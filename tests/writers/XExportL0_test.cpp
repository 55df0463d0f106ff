// L0 files, compared byte by byte with what the scene has at each place.

#include "XExportL0.h"

#include "MapScene.h"
#include "XSystem.h"

#include <climits>
#include <cmath>
#include <iterator>

namespace {

class L0 : public MapScene {
 protected:
  /// The scene's own extent at its own pixels.
  int ExportImage(int width, int height, int tileSize, XThread* thread = nullptr) {
    return XfnExport2L0Data_Image(Out(), &manager_, kPixel, kPixel, kLeft, kTop - height * kPixel,
                                  kLeft + width * kPixel, kTop, tileSize, kBack, err_, thread);
  }
  int ExportHeights(int width, int height, int tileSize, XThread* thread = nullptr) {
    return XfnExport2L0Data_DEM(Out(), &manager_, kPixel, kPixel, kLeft, kTop - height * kPixel, kLeft + width * kPixel,
                                kTop, tileSize, kBack, err_, thread);
  }
  std::string Report() const {
    const std::vector<unsigned char> bytes = ReadBytes(Out("out.l0.info"));
    return {bytes.begin(), bytes.end()};
  }

  static constexpr XColour kBack = 0x00FEFDFC;  // blue, green, red
};

/// The byte of a plane at a place that counts from the lower left of all tiles.
int ByteAt(const std::vector<unsigned char>& file, int plane, int x, int y, int columns, int rows) {
  constexpr int kT = 64;
  const int tile = y / kT * columns + x / kT;
  return file.at(static_cast<std::size_t>((plane * columns * rows + tile) * kT * kT + y % kT * kT + x % kT));
}

TEST_F(L0, HasPlanesOfTilesFromTheSouthInTheExactPolicy) {
  const DefaultPolicy policy(kReadExact);
  ShowColours(130, 70);
  ASSERT_EQ(1, ExportImage(130, 70, 64)) << err_.GetText();
  const std::vector<unsigned char> file = ReadBytes(Out());
  ASSERT_EQ(3u * 64 * 64 * 3 * 2, file.size());
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 192; ++x) {
      const bool isInside = x < 130 && y < 70;
      const int row = 69 - y;
      ASSERT_EQ(isInside ? x + row : 0xFE, ByteAt(file, 0, x, y, 3, 2)) << x << " " << y;
      ASSERT_EQ(isInside ? row : 0xFD, ByteAt(file, 1, x, y, 3, 2));
      ASSERT_EQ(isInside ? x : 0xFC, ByteAt(file, 2, x, y, 3, 2));
    }
  }
}

TEST_F(L0, LiesATileTooFarSouthInTheCompatiblePolicy) {
  ShowColours(130, 70);
  ASSERT_EQ(1, ExportImage(130, 70, 64));
  const std::vector<unsigned char> file = ReadBytes(Out());
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 192; ++x) {
      const bool isInside = x < 130 && y >= 64;
      ASSERT_EQ(isInside ? 69 - (y - 64) : 0xFD, ByteAt(file, 1, x, y, 3, 2)) << x << " " << y;
    }
  }
}

TEST_F(L0, KeepsSmallPicturesInTheLowerLeftOfTheirTilesInTheCompatiblePolicy) {
  ShowColours(64, 128);
  ASSERT_EQ(1, ExportImage(64, 128, 32));
  const std::vector<unsigned char> file = ReadBytes(Out());
  ASSERT_EQ(3u * 64 * 64 * 2, file.size());
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      // The second tile shows the middle of the lower half of the scene.
      const bool isShown = x < 32 && y < 32;
      ASSERT_EQ(isShown ? 16 + x : 0, ByteAt(file, 2, x, 64 + y, 1, 2)) << x << " " << y;
      ASSERT_EQ(isShown ? 127 - 16 - y : 0, ByteAt(file, 1, x, 64 + y, 1, 2));
    }
  }
}

TEST_F(L0, FillsRaisedTilesInTheExactPolicy) {
  const DefaultPolicy policy(kReadExact);
  ShowColours(64, 64);
  ASSERT_EQ(1, ExportImage(64, 64, 32));
  const std::vector<unsigned char> file = ReadBytes(Out());
  ASSERT_EQ(3u * 64 * 64, file.size());
  EXPECT_EQ(63, ByteAt(file, 2, 63, 0, 1, 1));
  EXPECT_EQ(63, ByteAt(file, 1, 63, 0, 1, 1));
}

TEST_F(L0, HasATileMoreForOneSampleMore) {
  ShowColours(129, 129);
  ASSERT_EQ(1, ExportImage(128, 128, 64));
  EXPECT_EQ(3u * 64 * 64 * 4, std::filesystem::file_size(Out()));
  ASSERT_EQ(1, ExportImage(129, 129, 64));
  EXPECT_EQ(3u * 64 * 64 * 9, std::filesystem::file_size(Out()));
}

TEST_F(L0, ReportsTheImageInLines) {
  ShowColours(130, 70);
  ASSERT_EQ(1, ExportImage(130, 70, 32));
  XString wkt;
  manager_.GetSR()->exportToWkt(wkt);
  EXPECT_EQ("ProjectionWKT : " + wkt.AsStdString() +
                "\r\nImage Size : 130, 70\r\nTileSize : 64\r\n"
                "PixelSize : 10.000000000000, 10.000000000000\r\n"
                "Bound LLX : 500000.000000000000, 5299300.000000000000\r\n"
                "Bound URX : 501300.000000000000, 5300000.000000000000\r\n"
                "DataType : PINT08\r\nNum Layer : 3",
            Report());
}

TEST_F(L0, DropsAPixelThatLacksTheLastBitsInTheCompatiblePolicy) {
  ShowHeights(64, 64);
  ASSERT_EQ(1, XfnExport2L0Data_Image(Out(), &manager_, 0.1, 0.1, 0, 0, 0.3, 0.3, 64, 0, err_, nullptr));
  EXPECT_NE(std::string::npos, Report().find("Image Size : 2, 2\r\n"));
}

TEST_F(L0, CountsAPixelThatLacksTheLastBitsInTheExactPolicy) {
  const DefaultPolicy policy(kReadExact);
  ShowHeights(64, 64);
  ASSERT_EQ(1, XfnExport2L0Data_Image(Out(), &manager_, 0.1, 0.1, 0, 0, 0.3, 0.3, 64, 0, err_, nullptr));
  EXPECT_NE(std::string::npos, Report().find("Image Size : 3, 3\r\n"));
}

TEST_F(L0, HasHeightsFromTheNorthInTheTypeOfTheBand) {
  ShowHeights(70, 65);
  ASSERT_EQ(1, ExportHeights(70, 65, 64)) << err_.GetText();
  const std::vector<unsigned char> bytes = ReadBytes(Out());
  ASSERT_EQ(2u * 64 * 64 * 4, bytes.size());
  std::vector<std::int16_t> file(64 * 64 * 4);
  std::memcpy(file.data(), bytes.data(), bytes.size());
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 128; ++x) {
      const int tile = y / 64 * 2 + x / 64;
      const int expected = x < 70 && y < 65 ? x + 100 * y : 0;
      ASSERT_EQ(expected, file[static_cast<std::size_t>(tile * 4096 + y % 64 * 64 + x % 64)]) << x << " " << y;
    }
  }
  EXPECT_TRUE(Report().ends_with("DataType : SINT16\r\nNum Layer : 1"));
}

TEST_F(L0, RefusesWhatIsNoMap) {
  EXPECT_EQ(0, XfnExport2L0Data_Image(Out(), nullptr, 1, 1, 0, 0, 1, 1, 64, 0, err_, nullptr));
  EXPECT_EQ(XString("Invalid ZRM composite manager"), err_);
  EXPECT_EQ(0, ExportImage(64, 64, 64));
  EXPECT_EQ(XString("Invalid spatial reference : NULL"), err_);
  ShowHeights(64, 64);
  for (const bool isKnown : {false, true}) {
    XSpatialReference sr;
    if (isKnown) sr.importFromEPSG(4326);
    manager_.SetSR(sr);
    EXPECT_EQ(0, ExportHeights(64, 64, 64));
    EXPECT_EQ(XString("Invalid spatial reference : must be Map coordinate system"), err_);
  }
  EXPECT_FALSE(HasFile("out.l0"));
}

TEST_F(L0, EndsAtOnceForPixelsThatCannotBe) {
  ShowHeights(64, 64);
  for (const double pixel : {0.0, -1.0, static_cast<double>(NAN), static_cast<double>(INFINITY), 1e-300}) {
    EXPECT_EQ(0,
              XfnExport2L0Data_Image(Out(), &manager_, pixel, 10, kLeft, 0, kLeft + 640, kTop, 64, 0, err_, nullptr));
    EXPECT_EQ(XString("Fail to allocate L0 data memory"), err_);
    EXPECT_EQ(0, XfnExport2L0Data_DEM(Out(), &manager_, 10, pixel, kLeft, 0, kLeft + 640, kTop, 64, 0, err_, nullptr));
    EXPECT_EQ(XString("Fail to create mosaic DEM data band"), err_);
  }
  EXPECT_FALSE(HasFile("out.l0"));
}

TEST_F(L0, EndsAtOnceForTilesThatNoMemoryHolds) {
  ShowHeights(64, 64);
  for (const int tileSize : {INT_MAX, 1 << 30, 46341}) {
    EXPECT_EQ(0, ExportImage(64, 64, tileSize));
    EXPECT_EQ(XString("Fail to allocate L0 data memory"), err_);
    EXPECT_EQ(0, ExportHeights(64, 64, tileSize));
    EXPECT_EQ(XString("Fail to allocate L0 data memory"), err_);
  }
  EXPECT_EQ(0, ExportImage(64, 64, INT_MIN));
  EXPECT_EQ(XString("Fail to resize backbuffer for exporting L0 Data"), err_);
  EXPECT_FALSE(HasFile("out.l0"));
}

TEST_F(L0, TellsThatItsFileCannotBeMade) {
  ShowHeights(64, 64);
  const XString lost = folder_.Path("none/out.l0");
  EXPECT_EQ(0, XfnExport2L0Data_Image(lost, &manager_, 10, 10, 0, 0, 640, 640, 64, 0, err_, nullptr));
  EXPECT_EQ(XString("Fail to create output L0 File"), err_);
  EXPECT_EQ(0, XfnExport2L0Data_DEM(lost, &manager_, 10, 10, 0, 0, 640, 640, 64, 0, err_, nullptr));
  EXPECT_EQ(XString("Fail to create output L0 DEM File"), err_);
}

TEST_F(L0, HasTheSameBytesFromAnyNumberOfThreads) {
  const DefaultPolicy policy(kReadExact);
  ShowColours(250, 250);
  for (const bool areHeights : {false, true}) {
    std::vector<unsigned char> alone;
    for (const int numWorkers : {1, 2, 5}) {
      XfnSetWorkerCount(numWorkers);
      Posts posts;
      XThread thread(&posts);
      EXPECT_EQ(1, areHeights ? ExportHeights(250, 250, 64, &thread) : ExportImage(250, 250, 64, &thread));
      if (numWorkers == 1) alone = ReadBytes(Out());
      EXPECT_TRUE(alone == ReadBytes(Out())) << numWorkers;
      EXPECT_TRUE(std::is_sorted(posts.values.begin(), posts.values.end()));
    }
  }
  XfnSetWorkerCount(1);
}

TEST_F(L0, FailsOnceWhereABandCannotBeReadByManyThreads) {
  const DefaultPolicy policy(kReadExact);
  ShowHeights(250, 250);
  bands_[0].FailReads();
  XfnSetWorkerCount(3);
  EXPECT_EQ(0, ExportHeights(250, 250, 64));
  XfnSetWorkerCount(1);
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_FALSE(HasFile("out.l0"));
}

TEST_F(L0, TellsHowFarItIs) {
  ShowHeights(128, 128);
  Posts posts;
  XThread thread(&posts);
  ASSERT_EQ(1, ExportHeights(128, 128, 64, &thread));
  EXPECT_EQ((std::vector<long>{0, 25, 50, 75}), posts.values);
}

TEST_F(L0, LeavesNothingWhereItIsStopped) {
  ShowColours(128, 128);
  Posts posts;
  posts.stopAt = 3;
  XThread thread(&posts);
  EXPECT_EQ(0, ExportImage(128, 128, 64, &thread));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ(3u, posts.values.size());
  EXPECT_FALSE(HasFile("out.l0"));
  EXPECT_FALSE(HasFile("out.l0.info"));
}

TEST_F(L0, LeavesBandsThatCannotBeReadOutInTheCompatiblePolicy) {
  ShowHeights(64, 64);
  bands_[0].FailReads();
  EXPECT_EQ(1, ExportHeights(64, 64, 64));
  EXPECT_EQ(std::vector<unsigned char>(64 * 64 * 2, 0), ReadBytes(Out()));
}

TEST_F(L0, FailsWhereABandCannotBeReadInTheExactPolicy) {
  const DefaultPolicy policy(kReadExact);
  ShowHeights(64, 64);
  bands_[0].FailReads();
  EXPECT_EQ(0, ExportHeights(64, 64, 64));
  EXPECT_FALSE(err_.IsEmpty());
  EXPECT_FALSE(HasFile("out.l0"));
}

}  // namespace
