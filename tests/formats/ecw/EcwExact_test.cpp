// Exact reads of ECW files, through the stand-in for the makers' library and through that for GDAL's plug-in.

#include "StandInImageTest.h"
#include "XFormatId.h"
#include "XLimits.h"
#include "XSpatialReference.h"
#include "ZRMBandECW.h"

#include <gdal_priv.h>
#include <memory>

namespace {

class ExactEcw : public StandInImageOf<ZRMBandECW> {
 public:
  explicit ExactEcw(const std::string& words, const std::string& kind = "whole")
      : StandInImageOf(kFormatECW, words, kReadExact, kind) {}
};

/// A window of the first band, as GDAL scales it by itself.
Pixels ScaledByGdal(const std::string& path, const Window& window, int width, int height) {
  const char* const drivers[] = {"ECW", nullptr};
  const std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER, drivers));
  Pixels pixels{width, height, std::vector<unsigned char>(static_cast<std::size_t>(width * height))};
  EXPECT_EQ(CE_None, dataset->GetRasterBand(1)->RasterIO(GF_Read, window.x0, window.y0, window.Width(), window.Height(),
                                                         pixels.bytes.data(), width, height, GDT_Byte, 0, 0, nullptr));
  return pixels;
}

/// No library is in this folder.
constexpr const char* kNowhere = "none";

TEST(EcwExact, ALevelHasWholePixelsOnly) {
  ExactEcw ecw("width=41 height=31 bands=1");
  // Of eleven columns the last three make no pixel of four.
  EXPECT_EQ(StandInPixels(0, {3, 7}, {6, 10}), ecw->Read(2, {3, 13, 6, 13}));
  EXPECT_EQ(StandInPixels(0, Places(0, 20, 2), Places(0, 15, 2)), ecw->Read(1, ecw->Whole()));
}

struct RefusedEcw {
  const char* words;
  const char* sentence;
};

TEST(EcwExact, SaysWhyAFileIsRefused) {
  for (const RefusedEcw& each :
       {RefusedEcw{"fail=NCSOpenFileViewA", "The ECW library refuses the file (its error 1)"},
        RefusedEcw{"fail=NCSGetViewFileInfo", "The ECW library tells nothing of the file (its error 1)"},
        RefusedEcw{"fail=nothing", "The ECW library tells nothing of the file (its error 0)"},
        RefusedEcw{"width=0", "The decoder tells a size that no image can have here"},
        RefusedEcw{"width=-5", "The decoder tells a size that no image can have here"},
        RefusedEcw{"width=2147483647 height=2147483647", "The decoder tells a size that no image can have here"},
        RefusedEcw{"bands=0", "The decoder tells a number of channels that no image can have here"},
        RefusedEcw{"bands=65535", "The decoder tells a number of channels that no image can have here"},
        RefusedEcw{"cell=1", "The samples have more than 8 bits, which only GDAL's ECW plug-in gives whole"}}) {
    ExactEcw ecw(each.words);
    EXPECT_FALSE(ecw->IsOpen()) << each.words;
    EXPECT_EQ(each.sentence, ecw->Error()) << each.words;
    EXPECT_EQ(0, ecw->File().GetNumOfBands());
  }
}

TEST(EcwExact, AChannelThatFailsFailsTheLoad) {
  ExactEcw ecw("bands=3 failOpen=2");
  EXPECT_FALSE(ecw->IsOpen());
  EXPECT_EQ("The ECW library refuses the file (its error 1)", ecw->Error());
}

TEST(EcwCompatible, TakesTheBytesOfWiderSamples) {
  StandInImageOf<ZRMBandECW> ecw(kFormatECW, "cell=1 width=41", kReadCompatible);
  ASSERT_TRUE(ecw->IsOpen());
  EXPECT_EQ(kPint08, ecw->BandAt().GetDataType());
}

TEST(EcwExact, SamplesOfMoreBitsComeThroughGdalWithoutLoss) {
  const ScopedStandInDriver driver("ECW");
  ExactEcw ecw("width=41 height=31 bands=2 cell=1 type=3");
  ASSERT_TRUE(ecw->IsOpen()) << ecw->Error();
  EXPECT_EQ(kPint16, ecw->BandAt().GetDataType());
  EXPECT_EQ("GDAL's driver ECW", ecw->BandAt().GetDecoder().AsStdString());
  const Pixels pixels = ecw->Read(0, {7, 7, 9, 9}, 1);
  ASSERT_EQ(2u, pixels.bytes.size());
  EXPECT_EQ(static_cast<int>(StandInValue(3, 1, 7, 9)), pixels.bytes[0] | pixels.bytes[1] << 8);
}

TEST(EcwThroughGdal, HasPixelsPlaceAndSystem) {
  const ScopedStandInDriver driver("ECW");
  ExactEcw ecw("width=41 height=31 bands=3 x=10 y=50 dx=0.5 dy=-0.25 epsg=4258", kNowhere);
  ASSERT_TRUE(ecw->IsOpen()) << ecw->Error();
  EXPECT_EQ(StandInPixels(2, Places(0, 41), Places(0, 31)), ecw->Read(0, ecw->Whole(), 2));
  EXPECT_EQ(StandInPixels(1, Places(4, 2, 4), Places(8, 1, 4)), ecw->Read(2, {4, 11, 8, 11}, 1));
  EXPECT_EQ(10.0, ecw->BandAt().GetULX());
  EXPECT_EQ(50.0, ecw->BandAt().GetULY());
  EXPECT_EQ(0.25, ecw->BandAt().GetYPixelSize());
  EXPECT_EQ(4258, ecw->BandAt().GetSR()->GetEPSG());
}

TEST(EcwThroughGdal, GivesCompatibleReadsBytesAndTheSystemOfTheWords) {
  const ScopedStandInDriver driver("ECW");
  StandInImageOf<ZRMBandECW> ecw(kFormatECW, "type=1 epsg=4258 datum=NAD27 projection=NUTM52", kReadCompatible,
                                 kNowhere);
  ASSERT_TRUE(ecw->IsOpen());
  EXPECT_EQ(kPint08, ecw->BandAt().GetDataType());
  EXPECT_EQ(32652, ecw->BandAt().GetSR()->GetEPSG());
  EXPECT_EQ(ScaledByGdal(ecw->FilePath(), {3, 13, 6, 13}, 2, 2), ecw->Read(2, {3, 13, 6, 13}));
}

TEST(EcwThroughGdal, TellsWhatTheDriverSays) {
  const ScopedStandInDriver driver("ECW");
  ExactEcw refused("fail=driver", kNowhere);
  EXPECT_FALSE(refused->IsOpen());
  EXPECT_EQ("GDAL's driver refuses the file: the stand-in refuses " + refused->FilePath(), refused->Error());
  ExactEcw broken("fail=block failLine=5", kNowhere);
  ASSERT_TRUE(broken->IsOpen());
  EXPECT_EQ(StandInPixels(0, Places(0, 41), Places(0, 5)), broken->Read(0, {0, 40, 0, 4}));
  EXPECT_EQ(0u, broken->Failure(0, broken->Whole()).find("GDAL's driver can't decode the window: "));
}

TEST(EcwThroughGdal, IsAskedForAFileThatTheLibraryRefuses) {
  const ScopedStandInDriver driver("ECW");
  ExactEcw ecw("fail=NCSOpenFileViewA");
  ASSERT_TRUE(ecw->IsOpen());
  EXPECT_EQ("GDAL's driver ECW", ecw->BandAt().GetDecoder().AsStdString());
}

}  // namespace
