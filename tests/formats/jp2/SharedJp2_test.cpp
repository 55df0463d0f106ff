#include "ForeignFiles.h"
#include "ForeignImages.h"
#include "J2kComparison.h"
#include "Oracle.h"
#include "ReferenceJ2k.h"
#include "TempFolder.h"
#include "XFormatId.h"
#include "XRSFileIO.h"
#include "ZRMBandJ2K.h"

#include <gtest/gtest.h>

#include <cmath>

// JPEG 2000 files that other programs wrote, under the exact policy.

namespace {

const Foreign kJp2s[] = {
    AsGdal("byte.jp2"),
    AsGdal("byte_2gcps.jp2"),
    AsGdal("byte_nogeoref.jp2"),
    AsGdal("byte_point.jp2"),
    AsGdal("byte_tlm_plt.jp2"),
    AsGdal("erdas_foo.jp2"),
    AsGdal("file4.jp2"),
    AsGdal("file8.jp2"),
    InOwnWay("gen_420.jp2", "GDAL turns luminance into colours"),
    AsGdal("gen_codestream.j2k"),
    AsGdal("gen_grey_both.jp2"),
    AsGdal("gen_grey_gmljp2_only.jp2"),
    InOwnWay("gen_palette.jp2", "the numbers of the palette's entries are kept"),
    AsGdal("gen_rgb_lossless_geojp2.jp2"),
    AsGdal("gen_rgb_lossy_geojp2.jp2"),
    AsGdal("gen_rgba.jp2"),
    AsGdal("gen_s16_elev.jp2"),
    AsGdal("gen_u16_nbits12.jp2"),
    AsGdal("gen_world.jp2"),
    AsGdal("gmljp2_dtedsm_epsg_4326_axes.jp2"),
    AsGdal("gtsmall_10_uint16.jp2"),
    AsGdal("int16.jp2"),
    AsGdal("ll.jp2"),
    AsGdal("p0_01.j2k"),
    InOwnWay("p0_03.j2k", "signed bytes keep their sign"),
    AsGdal("p0_09.j2k"),
    InOwnWay("p1_01.j2k", "GDAL refuses its tiles"),
    Refused("p1_07.j2k", "The first component has fewer samples than another one",
            "repeating its neighbour's samples would drop some"),
    AsGdal("stefan_full_rgba.jp2"),
    AsGdal("tile_size_16.jp2"),
    Refused("truncated.jp2", "This file does not have any boxes.", "it ends behind its signature"),
};

/// Samples are those of the codestream, whatever its boxes say of them.
void ExpectSamplesOfTheCodestream(const std::vector<unsigned char>& bytes, XRSFile& file) {
  const ReferenceJ2k whole = DecodeWithOpenJpeg(bytes, 0);
  ASSERT_EQ(whole.planes.size(), static_cast<std::size_t>(file.GetNumOfBands()));
  const ReferenceJ2k::Plane& first = whole.planes[0];
  for (int c = 0; c < file.GetNumOfBands(); ++c) {
    ZRMBand& band = *file.GetBandAt(c);
    const Pixels pixels = ReadPixels(band, 0, WholeWindowOf(band));
    const ReferenceJ2k::Plane& plane = whole.planes[static_cast<std::size_t>(c)];
    ASSERT_EQ(1, band.GetDataSize());
    for (int i = 0; i < pixels.width * pixels.height; ++i) {
      const long x = (first.left + i % pixels.width) * first.dx / plane.dx;
      const long y = (first.top + i / pixels.width) * first.dy / plane.dy;
      const unsigned char sample = pixels.bytes[static_cast<std::size_t>(i)];
      ASSERT_EQ(static_cast<unsigned char>(plane.At(x, y)), sample) << c << ": " << i;
    }
  }
}

class ForeignJp2s : public ForeignImage {
 protected:
  ForeignJp2s() { file_.SetReadPolicy(kReadExact); }
  void ExpectOwnWay(const std::vector<unsigned char>& bytes) override { ExpectSamplesOfTheCodestream(bytes, file_); }
};

TEST_P(ForeignJp2s, ComeOutAsListed) {
  Check("jp2", kFormatJP2);
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignJp2s, testing::ValuesIn(kJp2s), NameOfForeign);

TEST(ForeignJp2Folder, HoldsNoFileThatIsNotListed) {
  ExpectAllListed("jp2", {".jp2", ".j2k"}, NamesOf(kJp2s));
}

/// GDAL turns the axes of a grid around.
bool IsPlacedElsewhereByGdal(const std::string& name) {
  return name == "ll.jp2";
}

class ForeignJp2Places : public testing::TestWithParam<Foreign> {};

TEST_P(ForeignJp2Places, AreThoseOfGdal) {
  const std::string path = PathOfForeign("jp2", GetParam().name);
  const StoredImage gdal = ReadStoredWithGdal(path);
  if (!gdal.isOpen) GTEST_SKIP() << "GDAL can't read it, or the file is absent";
  if (IsPlacedElsewhereByGdal(GetParam().name)) GTEST_SKIP() << "GDAL places it by other means";
  XRSFile file;
  XString err;
  file.SetReadPolicy(kReadExact);
  ASSERT_TRUE(XRSFileIO::LoadFileJP2(&file, path, err, 0, kLevelNone, nullptr)) << err.GetText();
  const ZRMBand& band = *file.GetBandAt(0);
  EXPECT_EQ(gdal.width, band.GetXSize());
  EXPECT_EQ(gdal.height, band.GetYSize());
  EXPECT_EQ(gdal.isPlaced, band.GetCoordinateKind() == kCoordinateWorld);
  EXPECT_EQ(gdal.isPlaced ? gdal.epsg : 0, band.GetSR()->GetEPSG());
  double transform[6] = {};
  band.GetGeoTransform(transform);
  for (std::size_t i = 0; gdal.isPlaced && i < 6; ++i) {
    EXPECT_NEAR(gdal.transform[i], transform[i], 1e-9 * std::abs(gdal.transform[i])) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignJp2Places, testing::ValuesIn(kJp2s), NameOfForeign);

class ForeignJp2Levels : public testing::TestWithParam<Foreign> {};

TEST_P(ForeignJp2Levels, AreThoseOfOpenJpegInWindowsToo) {
  const std::vector<unsigned char> bytes = ReadBytes(PathOfForeign("jp2", GetParam().name));
  if (bytes.empty()) GTEST_SKIP() << "no shared data";
  if (GetParam().outcome == Outcome::kRefused) GTEST_SKIP() << "refused: " << GetParam().sentence;
  CompareWithOpenJpeg(bytes, 6);
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignJp2Levels, testing::ValuesIn(kJp2s), NameOfForeign);

TEST(ForeignJp2Places, AGridWithoutASystemHasThatOfItsText) {
  const std::string path = PathOfForeign("jp2", "ll.jp2");
  if (ReadBytes(path).empty()) GTEST_SKIP() << "no shared data";
  XRSFile file;
  XString err;
  file.SetReadPolicy(kReadExact);
  ASSERT_TRUE(XRSFileIO::LoadFileJP2(&file, path, err, 0, kLevelNone, nullptr)) << err.GetText();
  double transform[6] = {};
  file.GetBandAt(0)->GetGeoTransform(transform);
  EXPECT_NEAR(8.0, transform[0], 1e-9);
  EXPECT_NEAR(50.0, transform[3], 1e-9);
  EXPECT_EQ(4326, file.GetBandAt(0)->GetSR()->GetEPSG());
}

}  // namespace
