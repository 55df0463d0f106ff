#include "ForeignFiles.h"
#include "ForeignImages.h"
#include "XDib.h"
#include "XFormatId.h"

#include <cstring>

// Bitmaps that other programs wrote.

namespace {

/// The bytes behind the palette, whatever they were meant to be.
constexpr Foreign PlainRows(const char* name, const char* reason) {
  return InOwnWay(name, reason);
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

class ForeignBitmaps : public ForeignImage {
 protected:
  /// The file has an info header of 40 bytes by our reading of it; what lies behind its palette are the rows.
  void ExpectOwnWay(const std::vector<unsigned char>& bytes) override {
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
};

TEST_P(ForeignBitmaps, ComeOutAsListed) {
  Check("bmp", kFormatBMP);
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignBitmaps, testing::ValuesIn(kBitmaps), NameOfForeign);

TEST(ForeignBitmapFolder, HoldsNoFileThatIsNotListed) {
  ExpectAllListed("bmp", {".bmp"}, NamesOf(kBitmaps));
}

}  // namespace
