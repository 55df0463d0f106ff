// The full transform of a TIFF image, in either policy, and what exact loads place that others leave in pixels. All
// places are worked out by hand.

#include "bands/tiff/TiffPlace.h"
#include "GeoTiffFile.h"
#include "TempFolder.h"
#include "XSpatialReference.h"
#include "ZRMBandGTIFF.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <string>

namespace {

using testing::ElementsAre;
using zrk::TransformByTags;

constexpr XReadPolicy kPolicies[] = {kReadCompatible, kReadExact};

/// A file of 7 x 5 pixels, and a band that reads it.
class TiffTransform : public testing::Test {
 protected:
  std::unique_ptr<ZRMBandGTIFF> Open(const GeoTiffFile& file, XReadPolicy policy, const std::string& name = "a.tif") {
    folder_.Write(name, file.Build());
    auto band = std::make_unique<ZRMBandGTIFF>(nullptr);
    band->SetReadPolicy(policy);
    XString err;
    EXPECT_EQ(1, band->ReadFile(folder_.Path(name), err, nullptr)) << err;
    return band;
  }
  /// The sentence of an exact load that fails.
  std::string TryExactly(const GeoTiffFile& file) {
    folder_.Write("a.tif", file.Build());
    ZRMBandGTIFF band(nullptr);
    band.SetReadPolicy(kReadExact);
    XString err;
    EXPECT_EQ(0, band.ReadFile(folder_.Path("a.tif"), err, nullptr));
    return err.AsStdString();
  }
  static std::array<double, 6> Of(const ZRMBand& band) {
    std::array<double, 6> transform{};
    band.GetGeoTransform(transform.data());
    return transform;
  }

  TempFolder folder_;
};

const std::vector<double> kTurnedMatrix = {2, 0.5, 0, 1000, 0.25, -4, 0, 2000, 0, 0, 0, 0, 0, 0, 0, 1};

TEST_F(TiffTransform, FollowsScaleAndTiePointInBothPolicies) {
  for (const XReadPolicy policy : kPolicies) {
    const auto band = Open(Utm32().Scale({10, 20, 0}).TiePoints({1, 2, 0, 400000, 5000000, 0}), policy);
    EXPECT_THAT(Of(*band), ElementsAre(399990, 10, 0, 5000040, 0, -20));
  }
}

TEST_F(TiffTransform, OfPointsBeginsAtTheOuterCornerInBothPolicies) {
  for (const XReadPolicy policy : kPolicies) {
    const auto scaled = Open(Utm32().Key(1025, 2).Scale({10, 20, 0}).TiePoints({0, 0, 0, 400000, 5000000, 0}), policy);
    EXPECT_THAT(Of(*scaled), ElementsAre(399995, 10, 0, 5000010, 0, -20));
    const auto turned = Open(Utm32().Key(1025, 2).Matrix(kTurnedMatrix), policy);
    EXPECT_THAT(Of(*turned), ElementsAre(998.75, 2, 0.5, 2001.875, 0.25, -4));
  }
}

TEST_F(TiffTransform, HasTheRotationOfTheMatrixInBothPolicies) {
  for (const XReadPolicy policy : kPolicies) {
    const auto band = Open(Utm32().Matrix(kTurnedMatrix), policy);
    EXPECT_THAT(Of(*band), ElementsAre(1000, 2, 0.5, 2000, 0.25, -4));
    EXPECT_EQ(1000, band->GetULX());
    EXPECT_EQ(4, band->GetYPixelSize());
  }
}

TEST_F(TiffTransform, HasRowsThatGoNorthWhereTheScaleIsNegative) {
  for (const XReadPolicy policy : kPolicies) {
    const auto band = Open(Utm32().Scale({10, -10, 0}).TiePoints({0, 2, 0, 400000, 5000000, 0}), policy);
    EXPECT_THAT(Of(*band), ElementsAre(400000, 10, 0, 4999980, 0, 10));
    // The corner is worked out without the sign, as callers know it.
    EXPECT_EQ(5000020, band->GetULY());
    EXPECT_EQ(-10, band->GetYPixelSize());
  }
}

TEST_F(TiffTransform, TakesTheCentreOfAWorldFileHalfAPixelOutInBothPolicies) {
  folder_.Write("a.tfw", "2\n0.25\n0.5\n-4\n1000\n2000\n");
  for (const XReadPolicy policy : kPolicies) {
    const auto band = Open(GeoTiffFile(), policy);
    EXPECT_THAT(Of(*band), ElementsAre(998.75, 2, 0.5, 2001.875, 0.25, -4));
    EXPECT_EQ(1000, band->GetULX());
    EXPECT_EQ(2000, band->GetULY());
  }
}

TEST_F(TiffTransform, IsSharedWithFollowers) {
  const auto band = Open(Utm32().Matrix(kTurnedMatrix), kReadExact);
  const ZRMBandGTIFF follower(band.get());
  EXPECT_EQ(Of(*band), Of(follower));
}

TEST_F(TiffTransform, WithoutGeokeysIsThatOfTheTagsInExactReadsAlone) {
  const auto file = GeoTiffFile().Scale({10, 20, 0}).TiePoints({0, 0, 0, 400, 500, 0});
  const auto compatible = Open(file, kReadCompatible);
  EXPECT_EQ(kCoordinatePixel, compatible->GetCoordinateKind());
  EXPECT_THAT(Of(*compatible), ElementsAre(0, 1, 0, 5, 0, -1));
  const auto exact = Open(file, kReadExact);
  EXPECT_EQ(kCoordinateWorld, exact->GetCoordinateKind());
  EXPECT_EQ(kReferenceUnknown, exact->GetSR()->GetCoordinateKind());
  EXPECT_THAT(Of(*exact), ElementsAre(400, 10, 0, 500, 0, -20));
  EXPECT_EQ(400, exact->GetULX());
  EXPECT_EQ(20, exact->GetYPixelSize());
}

TEST_F(TiffTransform, OfAQuarterTurnIsKeptInExactReadsAlone) {
  const auto file = Utm32().Matrix({0, -3, 0, 1000, -2, 0, 0, 2000, 0, 0, 0, 0, 0, 0, 0, 1});
  EXPECT_EQ(kCoordinatePixel, Open(file, kReadCompatible)->GetCoordinateKind());
  const auto exact = Open(file, kReadExact);
  EXPECT_EQ(kCoordinateWorld, exact->GetCoordinateKind());
  EXPECT_THAT(Of(*exact), ElementsAre(1000, 0, -3, 2000, -2, 0));
  EXPECT_EQ(2, exact->GetXPixelSize());
  EXPECT_EQ(3, exact->GetYPixelSize());
  EXPECT_EQ(32632, exact->GetSR()->GetEPSG());
}

TEST_F(TiffTransform, ComesFromWorldFilesOfOtherNamesInExactReadsAlone) {
  for (const char* name : {"a.tifw", "a.TIFW", "a.wld", "a.WLD"}) {
    TempFolder folder;
    folder.Write(name, "2\n0\n0\n-4\n1000\n2000\n");
    folder.Write("a.tif", GeoTiffFile().Build());
    for (const XReadPolicy policy : kPolicies) {
      ZRMBandGTIFF band(nullptr);
      band.SetReadPolicy(policy);
      XString err;
      ASSERT_EQ(1, band.ReadFile(folder.Path("a.tif"), err, nullptr));
      const bool isExact = policy == kReadExact;
      EXPECT_EQ(isExact ? kCoordinateWorld : kCoordinatePixel, band.GetCoordinateKind()) << name;
      EXPECT_EQ(isExact ? 999 : 0, Of(band)[0]) << name;
      EXPECT_EQ(isExact ? 2002 : 5, Of(band)[3]) << name;
    }
  }
}

TEST_F(TiffTransform, OfHalfAWorldFileFailsTheLoadInExactReads) {
  folder_.Write("a.tfw", "2\n0\n0\n-3\n");
  EXPECT_EQ(kCoordinateWorld, Open(GeoTiffFile(), kReadCompatible)->GetCoordinateKind());
  folder_.Write("a.wld", "2\n0\n0\n-4\n1000\n2000\n");
  EXPECT_EQ("The world file a.tfw has fewer than six lines", TryExactly(GeoTiffFile()));
}

TEST_F(TiffTransform, OfTagsNeedsNoWorldFileInExactReads) {
  folder_.Write("a.tfw", "2\n0\n0\n-3\n");
  const auto band = Open(Utm32().Scale({10, 20, 0}).TiePoints({0, 0, 0, 400, 500, 0}), kReadExact);
  EXPECT_THAT(Of(*band), ElementsAre(400, 10, 0, 500, 0, -20));
}

TEST_F(TiffTransform, ThatTheDiskDoesNotGiveCountsAsNoneInCompatibleReads) {
  std::filesystem::create_directory(folder_.Path("a.tfw"));
  EXPECT_EQ(kCoordinatePixel, Open(GeoTiffFile(), kReadCompatible)->GetCoordinateKind());
}

TEST_F(TiffTransform, ThatTheDiskDoesNotGiveFailsTheLoadInExactReads) {
  std::filesystem::create_directory(folder_.Path("a.tfw"));
  EXPECT_THAT(TryExactly(GeoTiffFile()), testing::StartsWith("The world file a.tfw can't be read: "));
}

TEST_F(TiffTransform, OfAWorldFileGoesWithTheSystemOfTheKeysInExactReads) {
  folder_.Write("a.tfw", "2\n0\n0\n-4\n1000\n2000\n");
  EXPECT_EQ(0, Open(Utm32(), kReadCompatible)->GetSR()->GetEPSG());
  EXPECT_EQ(32632, Open(Utm32(), kReadExact)->GetSR()->GetEPSG());
}

TEST_F(TiffTransform, IsNoneOfASystemWithoutAPlaceWhichStaysInExactReads) {
  for (const XReadPolicy policy : kPolicies) {
    const auto band = Open(Utm32(), policy);
    EXPECT_EQ(kCoordinatePixel, band->GetCoordinateKind());
    EXPECT_THAT(Of(*band), ElementsAre(0, 1, 0, 5, 0, -1));
    EXPECT_EQ(policy == kReadExact ? 32632 : 0, band->GetSR()->GetEPSG());
  }
}

TEST(TiffTransformOfTags, IsNoneWhereColumnsAndRowsLeadAlongOneLine) {
  EXPECT_FALSE(TransformByTags({false, {}, {}, {2, 4, 0, 1, 1, 2, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1}}));
  EXPECT_FALSE(TransformByTags({false, {0, 0, 0, 1, 2, 0}, {10, std::nan(""), 0}, {}}));
  EXPECT_FALSE(TransformByTags({false, {0, 0, 0}, {10, 10, 0}, {}}));
}

}  // namespace
