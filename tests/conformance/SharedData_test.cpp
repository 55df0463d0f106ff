#include "ForeignFiles.h"
#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XDib.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

// Files that other programs wrote, read as GDAL reads them or otherwise for the reason that stands beside each.

namespace {

enum class Outcome {
  kAsGdal,        ///< pixel for pixel
  kNearlyAsGdal,  ///< with samples that differ by 1
  kPlainRows,     ///< the bytes behind the palette, whatever they were meant to be
  kRefused        ///< with the sentence
};

struct Foreign {
  const char* name;
  Outcome outcome;
  const char* sentence;  ///< its beginning, where the file is refused
  const char* reason;    ///< why it comes out otherwise than in GDAL
};

constexpr Foreign AsGdal(const char* name) {
  return {name, Outcome::kAsGdal, "", ""};
}
constexpr Foreign NearlyAsGdal(const char* name, const char* reason) {
  return {name, Outcome::kNearlyAsGdal, "", reason};
}
constexpr Foreign PlainRows(const char* name, const char* reason) {
  return {name, Outcome::kPlainRows, "", reason};
}
constexpr Foreign Refused(const char* name, const char* sentence, const char* reason) {
  return {name, Outcome::kRefused, sentence, reason};
}

const Foreign kBitmaps[] = {
    AsGdal("gen_grey8.bmp"),
    AsGdal("gen_pal8.bmp"),
    AsGdal("gen_rgb24.bmp"),
    AsGdal("pal8.bmp"),
    AsGdal("pal8gs.bmp"),
    AsGdal("pal8nonsquare.bmp"),
    AsGdal("pal8w126.bmp"),
    AsGdal("rgb24.bmp"),
    AsGdal("rgb32.bmp"),
    PlainRows("byte_rle8.bmp", "run-length codes are taken as pixels"),
    PlainRows("pal8v5.bmp", "the long header's rest is taken for the palette, and rows begin 84 bytes early"),
    PlainRows("rgb16.bmp", "16 bits are two channels"),
    PlainRows("rgb16-565.bmp", "16 bits are two channels, and the masks are taken for pixels"),
    PlainRows("rgb32bf.bmp", "the masks are taken for pixels"),
    Refused("badrle.bmp", "Can't read bitmap bits", "too short for plain rows"),
    Refused("pal8rle.bmp", "Can't read bitmap bits", "too short for plain rows"),
    Refused("pal8rletrns.bmp", "Can't read bitmap bits", "too short for plain rows"),
    Refused("pal8topdown.bmp", "Can't allocate memory", "rows must lie bottom-up"),
    Refused("badwidth.bmp", "Not supported bit count: 1", "below 8 bits"),
    Refused("pal1.bmp", "Not supported bit count: 1", "below 8 bits"),
    Refused("pal1bg.bmp", "Not supported bit count: 1", "below 8 bits"),
    Refused("shortfile.bmp", "Not supported bit count: 1", "below 8 bits"),
    Refused("pal4.bmp", "Not supported bit count: 4", "below 8 bits"),
    Refused("pal4rle.bmp", "Not supported bit count: 4", "below 8 bits"),
    Refused("pal8os2.bmp", "Not supported bit count: 0", "a header of 12 bytes is read as one of 40"),
};

const Foreign kJpegs[] = {
    AsGdal("16bit-qtables.jpg"),
    AsGdal("a39se10.jpg"),
    AsGdal("albania.jpg"),
    AsGdal("gen_cj_411_4x1.jpg"),
    AsGdal("gen_cj_420_restart.jpg"),
    AsGdal("gen_cj_422_2x1.jpg"),
    AsGdal("gen_cj_440_1x2.jpg"),
    AsGdal("gen_cj_greyconv.jpg"),
    AsGdal("gen_cj_opt_q20.jpg"),
    AsGdal("gen_cj_prog_444.jpg"),
    AsGdal("gen_grey.jpg"),
    AsGdal("gen_rgb_progressive.jpg"),
    AsGdal("gen_rgb_q90.jpg"),
    AsGdal("grayscale_16x24_sampling2x2.jpg"),
    AsGdal("grayscale_large.jpg"),
    AsGdal("jpg-progressive.jpg"),
    AsGdal("jpg-size-17x17.jpg"),
    AsGdal("jpg-size-1x1.jpg"),
    AsGdal("jpg-size-33x33.jpg"),
    AsGdal("jpg-size-7x7.jpg"),
    AsGdal("non-interleaved-mcu.jpg"),
    AsGdal("restarts.jpg"),
    AsGdal("rgb.jpg"),
    AsGdal("testorig.jpg"),
    NearlyAsGdal("jpg-cmyk-1.jpg", "we round the product of an ink and black, GDAL cuts it"),
    Refused("12bit_rose_extract.jpg", "Can't read JPEG header : ", "12 bits a sample"),
};

std::ostream& operator<<(std::ostream& stream, const Foreign& foreign) {
  return stream << foreign.name;
}

class ForeignFile : public testing::TestWithParam<Foreign> {
 protected:
  void Check(const std::string& folder, int id) {
    const std::string path = PathOfForeign(folder, GetParam().name);
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared data";
    const int isOpen = XRSFileIO::LoadFileRaster(&file_, id, path, err_, 0, kLevelNone, nullptr);
    ASSERT_EQ(GetParam().outcome != Outcome::kRefused, isOpen) << err_.GetText() << "; " << GetParam().reason;
    switch (GetParam().outcome) {
      case Outcome::kAsGdal:
        return ExpectAsGdal(path, 0);
      case Outcome::kNearlyAsGdal:
        return ExpectAsGdal(path, 1);
      case Outcome::kPlainRows:
        return ExpectPlainRows(ReadBytes(path));
      case Outcome::kRefused:
        EXPECT_EQ(0, err_.Find(GetParam().sentence)) << err_.GetText();
    }
  }

  Pixels Read(int channel) {
    ZRMBand& band = *file_.GetBandAt(channel);
    return ReadPixels(band, 0, WholeOf(band));
  }

  void ExpectAsGdal(const std::string& path, int tolerance) {
    const OracleImage oracle = ReadWithGdal(path);
    ASSERT_TRUE(oracle.isOpen);
    ASSERT_GE(file_.GetNumOfBands(), static_cast<int>(oracle.channels.size()));
    for (std::size_t c = 0; c < oracle.channels.size(); ++c) {
      const Pixels pixels = Read(static_cast<int>(c));
      ASSERT_EQ(oracle.width, pixels.width);
      ASSERT_EQ(oracle.height, pixels.height);
      EXPECT_LE(LargestDifference(oracle.channels[c], pixels.bytes), tolerance) << "channel " << c;
    }
  }

  /// The file has an info header of 40 bytes by our reading of it; what lies behind its palette are the rows.
  void ExpectPlainRows(const std::vector<unsigned char>& bytes) {
    BITMAPINFO info{};
    std::memcpy(&info.bmiHeader, bytes.data() + 14, sizeof info.bmiHeader);
    const int height = info.bmiHeader.biHeight;
    const int pixelBytes = info.bmiHeader.biBitCount / 8;
    const int numColours = static_cast<int>(info.bmiHeader.biClrUsed);
    const int rowBytes = (info.bmiHeader.biWidth * pixelBytes + 3) / 4 * 4;
    const unsigned char* const palette = bytes.data() + 54;
    const unsigned char* const rows = palette + 4 * numColours;
    ASSERT_EQ(pixelBytes == 1 ? 3 : pixelBytes, file_.GetNumOfBands());
    for (int c = 0; c < file_.GetNumOfBands(); ++c) {
      const Pixels pixels = Read(c);
      ASSERT_EQ(height, pixels.height);
      const int byteOfChannel[] = {2, 1, 0, 3};
      for (int i = 0; i < pixels.width * height; ++i) {
        const int x = i % pixels.width, y = i / pixels.width;
        const unsigned char* const pixel = rows + (height - 1 - y) * rowBytes + x * pixelBytes;
        const int byte = byteOfChannel[c];
        const int wanted = pixelBytes == 1     ? (*pixel < numColours ? palette[4 * *pixel + byte] : 0)
                           : byte < pixelBytes ? pixel[byte]
                                               : 0;
        ASSERT_EQ(wanted, pixels.bytes[static_cast<std::size_t>(i)]) << c << ": " << x << ", " << y;
      }
    }
  }

  XRSFile file_;
  XString err_;
};

class ForeignBitmaps : public ForeignFile {};
class ForeignJpegs : public ForeignFile {};

TEST_P(ForeignBitmaps, ComeOutAsListed) {
  Check("bmp", kFormatBMP);
}

TEST_P(ForeignJpegs, ComeOutAsListed) {
  Check("jpeg", kFormatJPG);
}

std::string NameOf(const testing::TestParamInfo<Foreign>& foreign) {
  return TestNameOf(foreign.param.name);
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignBitmaps, testing::ValuesIn(kBitmaps), NameOf);
INSTANTIATE_TEST_SUITE_P(Files, ForeignJpegs, testing::ValuesIn(kJpegs), NameOf);

TEST(ForeignFolders, HoldNoFileThatIsNotListed) {
  ExpectAllListed("bmp", {".bmp"}, NamesOf(kBitmaps));
  ExpectAllListed("jpeg", {".jpg"}, NamesOf(kJpegs));
}

}  // namespace
