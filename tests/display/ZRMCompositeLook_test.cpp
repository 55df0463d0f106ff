// How samples become colours: stretches, cuts, tables and what is left out. Expected bytes are worked out by hand.

#include "DrawnPicture.h"
#include "tagXRSGIS.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using Reds = std::vector<int>;

/// A composite of one band with a row of samples.
template <class Sample>
struct GreyRow {
  explicit GreyRow(const std::vector<Sample>& samples) {
    band.Set(static_cast<int>(samples.size()), 1, samples);
    composite.SetBand(0, &band);
  }
  PlacedBand band;
  ZRMComposite composite;
};

TEST(ZRMCompositeLook, ShowsOneBandInGrey) {
  GreyRow<std::uint8_t> grey({0, 128, 255});
  Picture picture(3, 1, 0, 1, 1);
  EXPECT_EQ(kDrawDone, picture.Draw(grey.composite));
  EXPECT_EQ(0x00808080u, picture.At(1, 0));
  EXPECT_EQ((Reds{0, 128, 255}), picture.Reds());
}

TEST(ZRMCompositeLook, ShowsBandsAsRedGreenAndBlue) {
  PlacedBand red, green, blue;
  ZRMComposite composite;
  composite.SetBand(0, &red.Set<std::uint8_t>(1, 1, {1}));
  composite.SetBand(1, &green.Set<std::uint8_t>(1, 1, {2}));
  composite.SetBand(2, &blue.Set<std::uint8_t>(1, 1, {3}));
  Picture picture(1, 1, 0, 1, 1);
  picture.Draw(composite);
  EXPECT_EQ(0x00030201u, picture.At(0, 0));
  composite.SetHideFlag(1, 1);
  picture.Draw(composite);
  EXPECT_EQ(0x00030001u, picture.At(0, 0));
}

TEST(ZRMCompositeLook, DrawsNothingWhereAllBandsAreHidden) {
  GreyRow<std::uint8_t> grey({5});
  grey.composite.SetHideFlag(0, 1);
  Picture picture(1, 1, 0, 1, 1, 99);
  EXPECT_EQ(kDrawNothing, picture.Draw(grey.composite));
  EXPECT_EQ((Reds{99}), picture.Reds());
}

TEST(ZRMCompositeLook, CutsSignedBytesBelowZero) {
  GreyRow<std::int8_t> grey({-128, -1, 0, 127});
  EXPECT_EQ((Reds{0, 0, 0, 127}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, StretchesOtherTypesFromMinimumToMaximum) {
  GreyRow<std::int16_t> whole({-100, -50, 0, 100});
  EXPECT_EQ(kStretchMinMax, whole.composite.GetStretchType(0));
  // 50 and 100 of 200 steps, times 255: 63.75 and 127.5.
  EXPECT_EQ((Reds{0, 64, 128, 255}), DrawnOver99(whole.composite));
  GreyRow<float> real({0.0f, 0.25f, 1.0f});
  EXPECT_EQ((Reds{0, 64, 255}), DrawnOver99(real.composite));
}

TEST(ZRMCompositeLook, StretchesByTheStatisticsOfTheBandWhereItHasSome) {
  GreyRow<std::uint16_t> grey({0, 1000, 2000});
  grey.band.SetBandMin(1000);
  grey.band.SetBandMax(3000);
  EXPECT_EQ((Reds{0, 0, 128}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, StretchesTwoDeviationsEitherSideOfTheMean) {
  GreyRow<std::uint16_t> grey({0, 80, 100, 120, 900});
  grey.band.SetBandMin(0);
  grey.band.SetBandMax(900);
  grey.band.SetBandMean(100);
  grey.band.SetBandStdDev(20);
  grey.composite.SetStretchType(0, kStretchDeviations);
  // 60 becomes 0 and 140 becomes 255.
  EXPECT_EQ((Reds{0, 64, 128, 191, 255}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, SpreadsTheHistogramEvenly) {
  // Of eight samples the middles of the shares are 3/8, 13/16 and 15/16.
  GreyRow<std::uint16_t> grey({0, 0, 0, 0, 0, 0, 128, 255});
  grey.composite.SetStretchType(0, kStretchHistogram);
  EXPECT_EQ((Reds{96, 96, 96, 96, 96, 96, 207, 239}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, TakesHalfOfWhatIsNotCoveredOffEitherEnd) {
  GreyRow<std::uint16_t> grey({0, 20, 50, 80, 100});
  grey.composite.SetCoverage(0, 60.0);
  EXPECT_EQ((Reds{0, 0, 128, 255, 255}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, TakesSharesOfTheSamplesOffAHistogram) {
  // The middles of the shares are 1/8, 3/8, 5/8 and 7/8; a quarter is taken off at either end.
  GreyRow<std::uint16_t> grey({0, 85, 170, 255});
  grey.composite.SetStretchType(0, kStretchHistogram);
  grey.composite.SetCoverage(0, 50.0);
  EXPECT_EQ((Reds{0, 64, 191, 255}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, StretchesBetweenTheEndsOfTheCut) {
  GreyRow<std::uint8_t> grey({5, 10, 15, 20, 25});
  grey.composite.SetStretchType(0, kStretchCut);
  grey.composite.SetCutRange(0, 10, 20);
  EXPECT_EQ((Reds{0, 0, 128, 255, 255}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, ShowsABandOfOneValueAsBlack) {
  GreyRow<std::int32_t> grey({7, 7});
  EXPECT_EQ((Reds{0, 0}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, LeavesOutWhatTheCutSays) {
  GreyRow<std::uint8_t> grey({9, 10, 20, 21});
  grey.composite.SetCutRange(0, 10, 20);
  grey.composite.SetCutType(0, kCutBelow);
  EXPECT_EQ((Reds{99, 10, 20, 21}), DrawnOver99(grey.composite));
  grey.composite.SetCutType(0, kCutAbove);
  EXPECT_EQ((Reds{9, 10, 20, 99}), DrawnOver99(grey.composite));
  grey.composite.SetCutType(0, kCutOutside);
  EXPECT_EQ((Reds{99, 10, 20, 99}), DrawnOver99(grey.composite));
  grey.composite.SetCutType(0, kCutInside);
  EXPECT_EQ((Reds{9, 99, 99, 21}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, DoesNotDrawNullSamples) {
  GreyRow<std::uint8_t> bytes({1, 2, 3});
  bytes.band.SetNullValue(2);
  EXPECT_EQ((Reds{1, 99, 3}), DrawnOver99(bytes.composite));
  GreyRow<float> real({0.0f, -9999.0f, 10.0f, NAN});
  real.band.SetNullValue(-9999.0);
  EXPECT_EQ((Reds{0, 99, 255, 99}), DrawnOver99(real.composite));
}

TEST(ZRMCompositeLook, DoesNotDrawTransparentValues) {
  GreyRow<std::int32_t> grey({0, 5, 10});
  grey.composite.SetTransparentValue(0, 5);
  EXPECT_EQ((Reds{0, 99, 255}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, DrawsAPixelThatOneBandHasAsZeroInTheOthers) {
  PlacedBand red, blue;
  ZRMComposite composite;
  composite.SetBand(0, &red.Set<std::uint8_t>(2, 1, {7, 7}));
  composite.SetBand(2, &blue.Set<std::uint8_t>(2, 1, {7, 9}));
  red.SetNullValue(7);
  blue.SetNullValue(7);
  composite.TouchTables();
  Picture picture(2, 1, 0, 1, 1, 0x00636363);
  picture.Draw(composite);
  EXPECT_EQ(0x00636363u, picture.At(0, 0));
  EXPECT_EQ(0x00090000u, picture.At(1, 0));
}

TEST(ZRMCompositeLook, ReplacesBytesByTheLookupTable) {
  GreyRow<std::uint8_t> grey({0, 100, 200});
  grey.composite.GetLUT(0)[100] = 42;
  grey.composite.TouchTables();
  EXPECT_EQ((Reds{0, 42, 200}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, MakesTheLookupTableOfHistogramPoints) {
  GreyRow<std::uint8_t> grey({0, 50, 75, 100, 200});
  const tagXVector2 points[] = {{50, 0}, {100, 200}};
  ASSERT_EQ(1, grey.composite.SetHistogramPoints(0, points, 2));
  EXPECT_EQ((Reds{0, 0, 100, 200, 200}), DrawnOver99(grey.composite));
  EXPECT_EQ(2, grey.composite.GetNumOfHistogramPoints(0));
  EXPECT_EQ(200.0, grey.composite.GetHistogramPointAt(0, 1)->y);
  EXPECT_EQ(nullptr, grey.composite.GetHistogramPointAt(0, 2));
  ASSERT_EQ(1, grey.composite.SetHistogramPoints(0, nullptr, 0));
  EXPECT_EQ((Reds{0, 50, 75, 100, 200}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeLook, RefusesHistogramPointsThatDoNotRise) {
  ZRMComposite composite;
  const tagXVector2 level[] = {{50, 0}, {50, 200}}, none[] = {{NAN, 0}};
  EXPECT_EQ(0, composite.SetHistogramPoints(0, level, 2));
  EXPECT_EQ(0, composite.SetHistogramPoints(0, none, 1));
  EXPECT_EQ(0, composite.SetHistogramPoints(3, none, 0));
}

TEST(ZRMCompositeLook, ShowsTheColourTable) {
  GreyRow<std::uint8_t> grey({0, 1});
  grey.composite.GetCLT(0)[1] = 0x00112233;
  grey.composite.SetMode(kModeTable);
  Picture picture(2, 1, 0, 1, 1);
  picture.Draw(grey.composite);
  EXPECT_EQ(0u, picture.At(0, 0));
  EXPECT_EQ(0x00112233u, picture.At(1, 0));
}

TEST(ZRMCompositeLook, ShowsThematicBandsInTheColoursOfTheirClasses) {
  PlacedBand band;
  band.Set<std::uint16_t>(2, 1, {3, 4}).SetBandType(kBandTypeThematic);
  auto* const gis = new tagXRSGIS;
  gis->index = 4;
  gis->red = 1;
  gis->green = 2;
  gis->blue = 3;
  band.AddGIS(gis);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  EXPECT_EQ(kModeTable, composite.GetMode());
  Picture picture(2, 1, 0, 1, 1);
  picture.Draw(composite);
  EXPECT_EQ(0x00030303u, picture.At(0, 0));
  EXPECT_EQ(0x00030201u, picture.At(1, 0));
}

TEST(ZRMCompositeLook, ShowsTheBytesOfThematicBandsWithoutColoursInTheCompatiblePolicy) {
  PlacedBand band;
  band.Set<std::uint16_t>(2, 1, {3, 4}).SetBandType(kBandTypeThematic);
  band.SetReadPolicy(kReadCompatible);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  EXPECT_EQ(kModeTable, composite.GetMode());
  EXPECT_EQ(kStretchNone, composite.GetStretchType(0));
}

TEST(ZRMCompositeLook, ShowsThematicBandsWithoutColoursAsOthersInTheExactPolicy) {
  PlacedBand band;
  band.Set<std::uint16_t>(2, 1, {3, 4}).SetBandType(kBandTypeThematic);
  band.SetReadPolicy(kReadExact);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  EXPECT_EQ(kModeColours, composite.GetMode());
  EXPECT_EQ(kStretchMinMax, composite.GetStretchType(0));
}

TEST(ZRMCompositeLook, StretchesByTheStatisticsOfASubset) {
  GreyRow<std::uint16_t> grey({0, 1000, 2000, 5000});
  EXPECT_EQ(nullptr, grey.composite.GetSubsetStatistics(0));
  // The first three columns.
  ASSERT_EQ(1, grey.composite.CalcSubsetStatistics(0, 0.0, 0.0, 3.0, 1.0));
  EXPECT_EQ(2000.0, grey.composite.GetSubsetStatistics(0)->maxValue);
  EXPECT_EQ(1000.0, grey.composite.GetSubsetStatistics(0)->mean);
  EXPECT_EQ((Reds{0, 128, 255, 255}), DrawnOver99(grey.composite));
  EXPECT_EQ(0, grey.composite.CalcSubsetStatistics(0, 50.0, 0.0, 60.0, 1.0));
}

TEST(ZRMCompositeLook, FailsWithAReasonWhereThereAreNoStatistics) {
  GreyRow<std::uint16_t> grey({7, 7});
  grey.band.SetNullValue(7);
  Picture picture(2, 1, 0, 1, 1);
  EXPECT_EQ(kDrawFailed, picture.Draw(grey.composite));
  XString reason;
  ASSERT_EQ(1, XfnGetLastReadError(reason));
  EXPECT_EQ(XString("The band has no sample that counts"), reason);
}

TEST(ZRMCompositeLook, KeepsItsSettingsWhereValuesMakeNoSense) {
  GreyRow<std::uint8_t> grey({1});
  ZRMComposite& composite = grey.composite;
  composite.SetStretchType(0, 5);
  composite.SetCutType(0, -1);
  composite.SetCoverage(0, 100.5);
  composite.SetMode(2);
  EXPECT_EQ(kStretchNone, composite.GetStretchType(0));
  EXPECT_EQ(kCutNone, composite.GetCutType(0));
  EXPECT_EQ(100.0, composite.GetCoverage(0));
  EXPECT_EQ(kModeColours, composite.GetMode());
  EXPECT_EQ(0, composite.SetBand(3, nullptr));
  EXPECT_EQ(nullptr, composite.GetLUT(-1));
  EXPECT_EQ(nullptr, composite.GetCLT(3));
  EXPECT_EQ(nullptr, composite.GetWarpCoeff(1));
}

}  // namespace
