#include "ForeignFiles.h"
#include "Oracle.h"
#include "Samples.h"
#include "TempFolder.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <filesystem>

// HDF4 files that other programs wrote, read as GDAL reads them or otherwise for the reason that stands beside each.

namespace {

enum class Outcome {
  kAsGdal,    ///< byte for byte
  kRawBytes,  ///< the bytes from a place of the file on, whatever they were meant to be
  kRefused
};

struct Foreign {
  const char* name;
  Outcome outcome;
  const char* reason;  ///< why it comes out otherwise than in GDAL
  int width = 0;
  int height = 0;
  std::ptrdiff_t offset = 0;
};

constexpr Foreign AsGdal(const char* name) {
  return {name, Outcome::kAsGdal, ""};
}
constexpr Foreign RawBytes(const char* name, int width, int height, std::ptrdiff_t offset, const char* reason) {
  return {name, Outcome::kRawBytes, reason, width, height, offset};
}
constexpr Foreign Refused(const char* name, const char* reason) {
  return {name, Outcome::kRefused, reason};
}

constexpr const char* kNoRaster = "its pixels are compressed and have another tag, so bytes from 308 on are taken";

const Foreign kFiles[] = {
    AsGdal("gen_ris8_plain.hdf"),
    AsGdal("storm110.hdf"),
    RawBytes("8bit.dat", 7, 11, 294, "of three images the size of the last with the pixels of the only plain one"),
    RawBytes("tdfr8f.hdf", 321, 111, 294, "of four images the size of the last with the pixels of the only plain one"),
    RawBytes("tdf24.hdf", 13, 15, 1524, "three bytes a pixel are taken for one, of the last of three images"),
    RawBytes("gen_gr_gzip_chunk.hdf", 120, 90, 308, kNoRaster),
    RawBytes("gen_ris8_rle_palette.hdf", 120, 90, 308, kNoRaster),
    RawBytes("greyjpeg.dat", 46, 23, 308, kNoRaster),
    Refused("General_RImages.hdf", "16 bits a sample"),
    Refused("Image_with_Palette.hdf", "bytes of number type 21 instead of 3"),
    Refused("gdal_Image_with_Palette.hdf", "bytes of number type 21 instead of 3"),
    Refused("grtdfui82.hdf", "one of its four images has bytes of number type 21"),
    Refused("SDS.hdf", "32 bits a sample"),
    Refused("byte_2.hdf", "a scientific data set, bytes of number type 21"),
    Refused("float32_2.hdf", "a scientific data set of floats"),
    Refused("gen_s16_rank2.hdf", "a scientific data set of 16 bits"),
    Refused("gen_u8_rank2.hdf", "a scientific data set, bytes of number type 21"),
    Refused("gen_u8_rank3.hdf", "a scientific data set, bytes of number type 21"),
    Refused("int16_3.hdf", "a scientific data set of 16 bits"),
    Refused("swf32.hdf", "a scientific data set of floats"),
    Refused("utmsmall_2.hdf", "a scientific data set, bytes of number type 21"),
};

std::ostream& operator<<(std::ostream& stream, const Foreign& foreign) {
  return stream << foreign.name;
}

class ForeignHdf4 : public testing::TestWithParam<Foreign> {
 protected:
  void ExpectAsGdal(const Pixels& pixels, const std::string& path) {
    const OracleImage oracle = ReadWithGdal(path);
    ASSERT_TRUE(oracle.isOpen);
    ASSERT_EQ(1u, oracle.channels.size());
    EXPECT_EQ(oracle.width, pixels.width);
    EXPECT_EQ(oracle.height, pixels.height);
    EXPECT_EQ(oracle.channels[0], pixels.bytes);
  }

  void ExpectRawBytes(const Pixels& pixels, const std::string& path) {
    const std::vector<unsigned char> bytes = ReadBytes(path);
    const Foreign& wanted = GetParam();
    EXPECT_EQ(wanted.width, pixels.width);
    EXPECT_EQ(wanted.height, pixels.height);
    const auto first = bytes.begin() + wanted.offset;
    EXPECT_EQ(std::vector<unsigned char>(first, first + wanted.width * wanted.height), pixels.bytes);
  }
};

TEST_P(ForeignHdf4, ComesOutAsListed) {
  const std::string path = PathOfForeign("hdf4", GetParam().name);
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared data";
  XRSFile file;
  XString err;
  const int isOpen = XRSFileIO::LoadFileRaster(&file, kFormatHDF4, path, err, 0, kLevelNone, nullptr);
  ASSERT_EQ(GetParam().outcome != Outcome::kRefused, isOpen) << err.GetText() << "; " << GetParam().reason;
  if (!isOpen) {
    EXPECT_EQ("Can't open file : " + path, err.AsStdString());
    return;
  }
  ASSERT_EQ(1, file.GetNumOfBands());
  const Pixels pixels = ReadPixels(*file.GetBandAt(0), 0, WholeWindowOf(*file.GetBandAt(0)));
  if (GetParam().outcome == Outcome::kAsGdal) {
    ExpectAsGdal(pixels, path);
  } else {
    ExpectRawBytes(pixels, path);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignHdf4, testing::ValuesIn(kFiles),
                         [](const auto& foreign) { return TestNameOf(foreign.param.name); });

/// The pixels that a file of several images is read with are those of one of them, laid out by the width of another.
TEST(ForeignHdf4Files, OfSeveralImagesAreReadWithThePixelsOfThePlainOne) {
  const std::string path = PathOfForeign("hdf4", "8bit.dat");
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared data";
  const StoredImage first = ReadStoredWithGdal("HDF4_GR:UNKNOWN:\"" + path + "\":0");
  ASSERT_TRUE(first.isOpen);
  ASSERT_EQ(10, first.width);
  XRSFile file;
  XString err;
  ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatHDF4, path, err, 0, kLevelNone, nullptr));
  const Pixels pixels = ReadPixels(*file.GetBandAt(0), 0, WholeWindowOf(*file.GetBandAt(0)));
  const auto& bytes = first.planes[0].bytes;
  EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.begin() + 77), pixels.bytes);
}

TEST(ForeignHdf4Folder, HoldsNoFileThatIsNotListed) {
  ExpectAllListed("hdf4", {".hdf", ".dat"}, NamesOf(kFiles));
}

}  // namespace
