#include "DtedBuilder.h"
#include "ForeignFiles.h"
#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

// Elevation cells as GDAL reads them, but for what stands here: unknown heights and those from -16,000 down, which are
// 0; the corner, which is that of the post and not of its pixel; and cells that lack columns.

namespace {

struct Cell {
  const char* name;
  int firstColumn;  ///< of the file in GDAL's image, and how many of them there are; the others are unknown to GDAL
  int numColumns;
};

const Cell kCells[] = {
    {"gen_n35_e138.dt1", 0, 1201},  {"gen_n80_w123.dt2", 0, 601}, {"gen_s36_w139.dt0", 0, 121}, {"n43.dt0", 0, 121},
    {"n43_bad_crc.dt0", 0, 121},  // checksums are not looked at
    {"n43_partial_cols.dt0", 2, 2},
};

std::ostream& operator<<(std::ostream& stream, const Cell& cell) {
  return stream << cell.name;
}

class HeightsOf {
 public:
  HeightsOf(const std::vector<unsigned char>& bytes, int width) : bytes_(bytes), width_(width) {}
  int operator()(int x, int y) const {
    std::int16_t height;
    std::memcpy(&height, &bytes_[2 * static_cast<std::size_t>(width_ * y + x)], sizeof height);
    return height;
  }

 private:
  const std::vector<unsigned char>& bytes_;
  int width_;
};

struct BothReads {
  explicit BothReads(const std::string& path) : gdal(ReadStoredWithGdal(path)) {
    XString err;
    if (!XRSFileIO::LoadFileRaster(&file, kFormatDTED, path, err, 0, kLevelNone, nullptr)) return;
    ours = ReadPixels(*file.GetBandAt(0), 0, WholeWindowOf(*file.GetBandAt(0)));
  }
  bool AreThere() const {
    return gdal.isOpen && gdal.planes.size() == 1 && gdal.width == ours.width && gdal.height == ours.height;
  }

  StoredImage gdal;
  XRSFile file;
  Pixels ours;
};

class SharedDted : public testing::TestWithParam<Cell> {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(path_)) GTEST_SKIP() << "no shared data";
  }
  const std::string path_ = PathOfForeign("dted", GetParam().name);
};

TEST_P(SharedDted, HasGdalsPostsWithUnknownOnesZero) {
  const BothReads both(path_);
  ASSERT_TRUE(both.AreThere());
  const HeightsOf ours(both.ours.bytes, both.ours.width), theirs(both.gdal.planes[0].bytes, both.gdal.width);
  for (int y = 0; y < both.ours.height; ++y) {
    for (int x = 0; x < both.ours.width; ++x) {
      const bool isHeld = x < GetParam().numColumns;
      const int height = isHeld ? theirs(x + GetParam().firstColumn, y) : 0;
      ASSERT_EQ(height == kUnknownHeight ? 0 : height, ours(x, y)) << x << ", " << y;
    }
  }
}

/// GDAL knows no height of the columns that such a cell lacks.
TEST_P(SharedDted, LacksColumnsWhereGdalHasNoHeights) {
  const BothReads both(path_);
  ASSERT_TRUE(both.AreThere());
  const HeightsOf theirs(both.gdal.planes[0].bytes, both.gdal.width);
  const int last = GetParam().firstColumn + GetParam().numColumns;
  for (int x = 0; x < both.gdal.width; ++x) {
    if (x < GetParam().firstColumn || x >= last) {
      ASSERT_EQ(kUnknownHeight, theirs(x, both.gdal.height / 2)) << x;
    }
  }
}

TEST_P(SharedDted, LiesHalfAPixelFurtherInThanGdalHasIt) {
  const BothReads both(path_);
  ASSERT_TRUE(both.AreThere());
  const ZRMBand& band = *both.file.GetBandAt(0);
  const auto& transform = both.gdal.transform;
  EXPECT_NEAR(transform[1], band.GetXPixelSize(), 1e-9);
  EXPECT_NEAR(-transform[5], band.GetYPixelSize(), 1e-9);
  EXPECT_NEAR(transform[0] + transform[1] / 2, band.GetULX(), 1e-6);
  EXPECT_NEAR(transform[3] + transform[5] / 2, band.GetULY(), 1e-6);
  EXPECT_EQ(4326, band.GetSR()->GetEPSG());
}

INSTANTIATE_TEST_SUITE_P(Files, SharedDted, testing::ValuesIn(kCells),
                         [](const auto& cell) { return TestNameOf(cell.param.name); });

TEST(SharedDted, HoldsNoFileThatIsNotListed) {
  ExpectAllListed("dted", {".dt0", ".dt1", ".dt2"}, NamesOf(kCells));
}

/// Every word, in columns of an odd length as all real ones are. Of those far below zero GDAL takes the ones below
/// -16,000 for two's complement.
TEST(DtedWords, AreGdalsHeightsButFarBelowZero) {
  const TempFolder folder;
  const auto everyWord = [](int line, int point) { return static_cast<std::uint16_t>(256 * line + point); };
  folder.Write("a.dt1", DtedBuilder().Size(256, 257).Words(everyWord).Build());
  const BothReads both(folder.Path("a.dt1"));
  ASSERT_TRUE(both.AreThere());
  const HeightsOf ours(both.ours.bytes, 256), theirs(both.gdal.planes[0].bytes, 256);
  int numDifferent = 0;
  for (int word = 0; word < 65536; ++word) {
    const int x = word / 256, y = 256 - word % 256;
    const bool isFarBelow = word >= 0x8000 + 16000;
    ASSERT_EQ(isFarBelow ? 0 : theirs(x, y), ours(x, y)) << word;
    numDifferent += ours(x, y) != theirs(x, y);
  }
  EXPECT_EQ(32768 - 16000, numDifferent);
}

}  // namespace
