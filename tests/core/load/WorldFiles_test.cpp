#include "BmpBuilder.h"
#include "JpegBuilder.h"
#include "TempFolder.h"
#include "XFormatId.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

// Where images lie by the world files beside them, in both policies.

namespace {

constexpr const char* kPlain = "10\n0\n0\n-20\n1005\n1990\n";

class WorldFiles : public testing::Test {
 protected:
  WorldFiles() {
    folder_.Write("a.bmp", BmpBuilder().Size(7, 5).Build());
    folder_.Write("a.jpg", JpegBuilder().Size(32, 24).Build());
  }
  ZRMBand& Open(const char* name, int id, XReadPolicy policy) {
    file_ = std::make_unique<XRSFile>();
    file_->SetReadPolicy(policy);
    XString err;
    EXPECT_EQ(1, XRSFileIO::LoadFileRaster(file_.get(), id, folder_.Path(name), err, 0, kLevelNone, nullptr));
    return *file_->GetBandAt(1);
  }
  /// The sentence of a load that fails, which leaves the dataset without bands.
  std::string TryExactly(const char* name, int id) const {
    XRSFile file;
    file.SetReadPolicy(kReadExact);
    XString err;
    EXPECT_EQ(0, XRSFileIO::LoadFileRaster(&file, id, folder_.Path(name), err, 0, kLevelNone, nullptr));
    EXPECT_EQ(0, file.GetNumOfBands());
    return err.AsStdString();
  }
  ZRMBand& OpenBmp(XReadPolicy policy) { return Open("a.bmp", kFormatBMP, policy); }
  static std::vector<double> TransformOf(const ZRMBand& band) {
    std::vector<double> transform(6);
    band.GetGeoTransform(transform.data());
    return transform;
  }

  TempFolder folder_;
  std::unique_ptr<XRSFile> file_;
};

TEST_F(WorldFiles, GiveCentresOfPixelsAndTheTransformCornersInBothPolicies) {
  folder_.Write("a.bmw", kPlain);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const ZRMBand& band = OpenBmp(policy);
    EXPECT_EQ(1005.0, band.GetULX());
    EXPECT_EQ(1990.0, band.GetULY());
    EXPECT_THAT(TransformOf(band), testing::ElementsAre(1000.0, 10.0, 0.0, 2000.0, 0.0, -20.0));
  }
}

TEST_F(WorldFiles, GiveTheTransformTheirRotationInBothPolicies) {
  folder_.Write("a.bmw", "2\n0.5\n0.25\n-4\n100\n200\n");
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    EXPECT_THAT(TransformOf(OpenBmp(policy)), testing::ElementsAre(98.875, 2.0, 0.25, 201.75, 0.5, -4.0));
  }
}

TEST_F(WorldFiles, GiveTheTransformRowsThatGoNorthInBothPolicies) {
  folder_.Write("a.bmw", "2\n0\n0\n4\n100\n200\n");
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    EXPECT_THAT(TransformOf(OpenBmp(policy)), testing::ElementsAre(99.0, 2.0, 0.0, 198.0, 0.0, 4.0));
  }
}

TEST_F(WorldFiles, UnderOtherNamesAreNotLookedForInTheCompatiblePolicy) {
  for (const char* name : {"a.bpw", "a.bmpw", "a.wld", "a.BMW"}) folder_.Write(name, kPlain);
  EXPECT_EQ(kCoordinatePixel, OpenBmp(kReadCompatible).GetCoordinateKind());
  for (const char* name : {"a.jgw", "a.jpgw", "a.wld"}) folder_.Write(name, kPlain);
  EXPECT_EQ(kCoordinatePixel, Open("a.jpg", kFormatJPG, kReadCompatible).GetCoordinateKind());
}

TEST_F(WorldFiles, UnderEachUsualNameAreFoundInTheExactPolicy) {
  for (const char* name : {"a.bpw", "a.BPW", "a.bmpw", "a.BMPW", "a.bmw", "a.wld", "a.WLD"}) {
    const TempFolder folder;
    folder.Write("a.bmp", BmpBuilder().Size(7, 5).Build());
    folder.Write(name, kPlain);
    XRSFile file;
    file.SetReadPolicy(kReadExact);
    XString err;
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatBMP, folder.Path("a.bmp"), err, 0, kLevelNone, nullptr));
    EXPECT_EQ(kCoordinateWorld, file.GetBandAt(0)->GetCoordinateKind()) << name;
    EXPECT_EQ(1000.0, TransformOf(*file.GetBandAt(0))[0]) << name;
  }
}

TEST_F(WorldFiles, OfExtensionsOfOtherLengthsAreThoseWithFourCharactersReplacedInTheCompatiblePolicy) {
  folder_.Write("a.dibs", BmpBuilder().Size(7, 5).Build());
  folder_.Write("a.dsw", kPlain);
  EXPECT_EQ(kCoordinatePixel, Open("a.dibs", kFormatBMP, kReadCompatible).GetCoordinateKind());
  folder_.Write("a..bmw", kPlain);
  EXPECT_EQ(kCoordinateWorld, Open("a.dibs", kFormatBMP, kReadCompatible).GetCoordinateKind());
}

TEST_F(WorldFiles, OfExtensionsOfOtherLengthsAreThoseOfTheWholeExtensionInTheExactPolicy) {
  folder_.Write("a.dibs", BmpBuilder().Size(7, 5).Build());
  folder_.Write("a..bmw", kPlain);
  EXPECT_EQ(kCoordinatePixel, Open("a.dibs", kFormatBMP, kReadExact).GetCoordinateKind());
  folder_.Write("a.dsw", kPlain);
  EXPECT_EQ(kCoordinateWorld, Open("a.dibs", kFormatBMP, kReadExact).GetCoordinateKind());
}

TEST_F(WorldFiles, OfTooFewLinesPlaceAnImageInTheCompatiblePolicy) {
  folder_.Write("a.bmw", "10\n0\n0\n-20\n1005\n");
  EXPECT_EQ(kCoordinateWorld, OpenBmp(kReadCompatible).GetCoordinateKind());
}

TEST_F(WorldFiles, OfTooFewLinesFailTheLoadInTheExactPolicy) {
  folder_.Write("a.bmw", "10\n0\n0\n-20\n1005\n");
  EXPECT_EQ("The world file a.bmw has fewer than six lines", TryExactly("a.bmp", kFormatBMP));
  folder_.Write("a.jgw", "");
  EXPECT_EQ("The world file a.jgw has fewer than six lines", TryExactly("a.jpg", kFormatJPG));
}

TEST_F(WorldFiles, ThatCannotBeReadCountAsNoneInTheCompatiblePolicy) {
  std::filesystem::create_directory(folder_.Path("a.bmw"));
  EXPECT_EQ(kCoordinatePixel, OpenBmp(kReadCompatible).GetCoordinateKind());
}

TEST_F(WorldFiles, ThatCannotBeReadFailTheLoadInTheExactPolicy) {
  std::filesystem::create_directory(folder_.Path("a.bmw"));
  EXPECT_THAT(TryExactly("a.bmp", kFormatBMP), testing::StartsWith("The world file a.bmw can't be read: "));
}

TEST_F(WorldFiles, AreNotThereForAnImageThatIsPlacedInPixels) {
  EXPECT_THAT(TransformOf(OpenBmp(kReadExact)), testing::ElementsAre(0.0, 1.0, 0.0, 5.0, 0.0, -1.0));
}

}  // namespace
