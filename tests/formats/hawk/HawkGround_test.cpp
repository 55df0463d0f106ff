// Ground along the equator: heights depend on the longitude alone, and lines of sight stay in the equator's plane. A
// line of sight is then a line in a plane, walked in steps of centimetres by a second implementation.

#include "HawkScene.h"
#include "MemoryBand.h"
#include "XResourceFolder.h"
#include "XRSFile2ZRM.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr long double kRadius = 6378137.0L, kTurn = 180.0L / 3.14159265358979323846264L;
constexpr double kAxisOfLines = 20 * (1.0 - 0.78);
constexpr double kNear = 1e-9;  // degrees

/// Looks east, so far from the vertical, from a height.
HawkBuilder LooksEast(double angle, double height) {
  return HawkBuilder().Pose([=](int part, int) { return part == 4 ? -angle : part == 2 ? height : 0.0; });
}

struct Hit {
  double lon, height;
};

/// Walks down the line of sight of the middle column until it is beneath the ground.
Hit WalkDown(double angle, double height, const std::function<long double(long double lon)>& ground) {
  const auto lonAt = [&](long double t) {
    return std::atan2(t * std::sin(static_cast<long double>(angle)),
                      kRadius + height - t * std::cos(static_cast<long double>(angle))) *
           kTurn;
  };
  const auto above = [&](long double t) {
    const long double x = kRadius + height - t * std::cos(static_cast<long double>(angle));
    const long double y = t * std::sin(static_cast<long double>(angle));
    return std::hypot(x, y) - kRadius - ground(lonAt(t));
  };
  long double low = 0.0L, high = 0.5L;
  while (above(high) > 0.0L) {
    low = high;
    high += 0.5L;
  }
  for (int i = 0; i < 80; ++i) {
    const long double middle = 0.5L * (low + high);
    (above(middle) > 0.0L ? low : high) = middle;
  }
  return {static_cast<double>(lonAt(high)), static_cast<double>(ground(lonAt(high)))};
}

/// Heights at posts of 0.0002 degrees, 22 metres, from 0.1 degrees west of longitude 0.
HeightGrid Profile(const std::function<int(int column)>& heightAt, int width = 2000) {
  return {-0.1,  0.01, 0.0002,
          width, 100,  [heightAt](int column, int) { return static_cast<std::int16_t>(heightAt(column)); }};
}

long double Between(const std::function<int(int column)>& heightAt, long double lon) {
  const long double column = (lon + 0.1L) / 0.0002L - 0.5L;
  const int first = static_cast<int>(std::floor(column));
  const long double share = column - first;
  return (1.0L - share) * heightAt(first) + share * heightAt(first + 1);
}

int Hill(int column) {
  return static_cast<int>(std::lround(300.0 + 250.0 * std::sin(column / 17.0) + 40.0 * std::sin(column / 3.1)));
}

TEST(HawkExactGround, LiesWhereTheLineOfSightFirstMeetsTheHills) {
  for (const double angle : {0.0, 0.4, 0.9, 1.3}) {
    for (const double height : {2000.0, 5000.0}) {
      const Hit right = WalkDown(angle, height, [](long double lon) { return Between(&Hill, lon); });
      HawkScene scene{LooksEast(angle, height), kReadExact};
      const HawkScene::Place place = scene.Ground(Profile(&Hill)).GroundOf(15, kAxisOfLines);
      ASSERT_TRUE(place.isFound) << scene.Failure(15, kAxisOfLines);
      EXPECT_NEAR(right.lon, place.lon, kNear) << angle;
      EXPECT_NEAR(right.height, place.height, 1e-4) << angle;
      EXPECT_NEAR(0.0, place.lat, kNear);
    }
  }
}

/// One post alone stands out of the plain before the place where the line of sight would meet that.
TEST(HawkExactGround, IsASpireThatStandsInTheWay) {
  const auto spire = [](int column) { return column == 600 ? 900 : 0; };
  const double angle = 1.0, height = 2000.0;
  const Hit right = WalkDown(angle, height, [&](long double lon) { return Between(spire, lon); });
  ASSERT_LT(right.lon, 0.0205);  // the spire, and not the plain behind it
  HawkScene scene{LooksEast(angle, height), kReadExact};
  EXPECT_NEAR(right.lon, scene.Ground(Profile(spire)).GroundOf(15, kAxisOfLines).lon, kNear);
}

TEST(HawkGround, OfOneHeightIsMetByBothPolicies) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    HawkScene scene{LooksEast(0.9, 9000.0), policy};
    const Hit right = WalkDown(0.9, 9000.0, [](long double) { return 700.0L; });
    const HawkScene::Place place = scene.Ground(FlatGround(700)).GroundOf(15, kAxisOfLines);
    EXPECT_NEAR(right.lon, place.lon, kNear);
    EXPECT_NEAR(700.0, place.height, 1e-4);
  }
}

TEST(HawkGround, IsThePlainEllipsoidWithoutATerrainModel) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    HawkScene scene{LooksEast(0.9, 9000.0), policy};
    const Hit right = WalkDown(0.9, 9000.0, [](long double) { return 0.0L; });
    // A geoid alone is no ground.
    EXPECT_NEAR(right.lon, scene.Geoid(FlatGround(3000)).GroundOf(15, kAxisOfLines).lon, kNear);
  }
}

TEST(HawkCompatibleGround, HasTheGeoidInWholeMetresTowardsZero) {
  for (const int centimetres : {1850, -1850}) {
    HawkScene scene{LooksEast(0.0, 9000.0)};
    scene.Ground(FlatGround(700)).Geoid(FlatGround(centimetres));
    EXPECT_NEAR(700.0 + centimetres / 100, scene.GroundOf(15, kAxisOfLines).height, 1e-6);
  }
}

TEST(HawkExactGround, HasTheGeoidInCentimetres) {
  for (const int centimetres : {1850, -1850}) {
    HawkScene scene{LooksEast(0.0, 9000.0), kReadExact};
    scene.Ground(FlatGround(700)).Geoid(FlatGround(centimetres));
    EXPECT_NEAR(700.0 + centimetres / 100.0, scene.GroundOf(15, kAxisOfLines).height, 1e-4);
  }
}

/// Steep ground: 100 metres from post to post.
int Slope(int column) {
  return 100 * (column - 498);
}

TEST(HawkCompatibleGround, IsThatOfThePixelThatThePlaceLiesIn) {
  HawkScene scene{LooksEast(0.0, 9000.0)};
  scene.Ground(Profile(&Slope, 520));
  double height = 0.0;
  ASSERT_TRUE(scene.Band().GetGroundHeight(0.00019, 0.00001, height));
  EXPECT_EQ(200.0, height);
  ASSERT_TRUE(scene.Band().GetGroundHeight(0.00021, 0.00001, height));
  EXPECT_EQ(300.0, height);
}

TEST(HawkCompatibleGround, IsThatOfTheSampleWhichIsReadAtThePlace) {
  HawkScene scene{HawkBuilder()};
  ZRMBand& dem = *scene.Ground(Profile(&Hill)).Band().GetDemFile()->GetBandAt(0);
  for (double lon = -0.1005; lon < 0.31; lon += 0.00137) {
    tagXArr2* sample = nullptr;
    const bool isRead = dem.ReadPixel(sample, lon, 0.0012) != 0;
    const double right = isRead ? *reinterpret_cast<const std::int16_t*>(sample->data) : 0.0;
    double height = NAN;
    ASSERT_TRUE(scene.Band().GetGroundHeight(lon, 0.0012, height));
    EXPECT_EQ(right, height) << lon;
  }
}

TEST(HawkExactGround, IsInterpolatedBetweenTheMiddlesOfPixels) {
  HawkScene scene{LooksEast(0.0, 9000.0), kReadExact};
  scene.Ground(Profile(&Slope, 520));
  double height = 0.0;
  ASSERT_TRUE(scene.Band().GetGroundHeight(0.0001, 0.0, height));
  EXPECT_NEAR(200.0, height, 1e-6);
  ASSERT_TRUE(scene.Band().GetGroundHeight(0.0002, 0.0, height));
  EXPECT_NEAR(250.0, height, 1e-6);
}

/// Heights jump from post to post, so that no pass finds the height that it was raised to.
TEST(HawkCompatibleGround, EndsAfterFourPasses) {
  const auto jump = [](int column) { return 500 + 400 * (column % 5); };
  double raised = 0.0;
  Hit hit{};
  for (int pass = 0; pass < 4; ++pass) {
    hit = WalkDown(0.9, 9000.0, [raised](long double) { return static_cast<long double>(raised); });
    const int terrain = jump(static_cast<int>((hit.lon + 0.1) / 0.0002));
    ASSERT_GE(std::abs(raised - terrain), 1.0) << pass;
    if (pass < 3) raised = terrain;
  }
  HawkScene scene{LooksEast(0.9, 9000.0)};
  const HawkScene::Place place = scene.Ground(Profile(jump)).GroundOf(15, kAxisOfLines);
  ASSERT_TRUE(place.isFound);
  EXPECT_NEAR(hit.lon, place.lon, kNear);
  EXPECT_NEAR(raised, place.height, 1e-4);
}

TEST(HawkCompatibleGround, TakesAHeightThatStandsForNoneAsItIs) {
  HawkScene scene{LooksEast(0.0, 9000.0)};
  double height = 0.0;
  ASSERT_TRUE(scene.Ground(FlatGround(-32768)).Band().GetGroundHeight(0.0, 0.0, height));
  EXPECT_EQ(-32768.0, height);
}

TEST(HawkExactGround, FailsWhereItHasNoHeight) {
  HawkScene scene{LooksEast(0.0, 9000.0), kReadExact};
  EXPECT_FALSE(scene.Ground(FlatGround(-32768)).GroundOf(15, kAxisOfLines).isFound);
  double height = 5.0;
  EXPECT_FALSE(scene.Band().GetGroundHeight(0.0, 0.0, height));
  XString reason;
  ASSERT_TRUE(XfnGetLastReadError(reason));
  EXPECT_EQ("The terrain model has no height there", reason);
  EXPECT_EQ(5.0, height);
}

TEST(HawkExactGround, FailsInAVoidOfOnePost) {
  const auto pit = [](int column) { return column == 500 ? -32768 : 100; };
  EXPECT_FALSE(HawkScene(LooksEast(0.0, 9000.0), kReadExact).Ground(Profile(pit)).GroundOf(15, kAxisOfLines).isFound);
  const auto elsewhere = [](int column) { return column == 510 ? -32768 : 100; };
  EXPECT_TRUE(
      HawkScene(LooksEast(0.0, 9000.0), kReadExact).Ground(Profile(elsewhere)).GroundOf(15, kAxisOfLines).isFound);
}

TEST(HawkCompatibleGround, IsZeroOutsideTheTerrainModel) {
  HawkScene scene{LooksEast(0.0, 9000.0)};
  const HeightGrid far{10.0, 1.0, 0.01, 100, 100, [](int, int) { return std::int16_t{700}; }};
  EXPECT_NEAR(0.0, scene.Ground(far).GroundOf(15, kAxisOfLines).height, 1e-6);
}

TEST(HawkExactGround, FailsOutsideTheTerrainModel) {
  HawkScene scene{LooksEast(0.0, 9000.0), kReadExact};
  const HeightGrid far{10.0, 1.0, 0.01, 100, 100, [](int, int) { return std::int16_t{700}; }};
  EXPECT_EQ("The line of sight meets no ground of the terrain model", scene.Ground(far).Failure(15, kAxisOfLines));
  double height = 0.0;
  EXPECT_FALSE(scene.Band().GetGroundHeight(0.0, 0.0, height));
}

TEST(HawkExactGround, FailsBeneathTheTerrainModel) {
  HawkScene scene{LooksEast(0.0, 500.0), kReadExact};
  EXPECT_EQ("The line of sight comes from beneath the terrain model, or from where it has no height",
            scene.Ground(FlatGround(700)).Failure(15, kAxisOfLines));
}

TEST(HawkExactGround, FailsWhereTheGeoidIsNotKnown) {
  HawkScene scene{LooksEast(0.0, 9000.0), kReadExact};
  const HeightGrid far{10.0, 1.0, 0.01, 100, 100, [](int, int) { return std::int16_t{0}; }};
  EXPECT_EQ("The geoid is not known there", scene.Ground(FlatGround(0)).Geoid(far).Failure(15, kAxisOfLines));
}

/// The date line runs through the middle of a model from 179 to 181 degrees east, and of one around the whole earth.
TEST(HawkExactGround, RunsOnAcrossTheDateLine) {
  const HeightGrid local{179.0, 1.0, 0.01, 200, 200, [](int, int) { return std::int16_t{500}; }};
  const HeightGrid whole{
      -180.0, 10.0,
      0.5,    720,
      40,     [](int column, int) {
                           return static_cast<std::int16_t>(column == 0 ? 600 : column == 719 ? 400 : 0); }};
  for (const double lon : {179.9, -179.9}) {
    double height = 0.0;
    EXPECT_TRUE(HawkScene(HawkBuilder(), kReadExact).Ground(local).Band().GetGroundHeight(lon, 0.0, height));
    EXPECT_NEAR(500.0, height, 1e-6);
  }
  double height = 0.0;
  HawkScene scene{HawkBuilder(), kReadExact};
  ASSERT_TRUE(scene.Ground(whole).Band().GetGroundHeight(180.0, 0.0, height));
  EXPECT_NEAR(500.0, height, 1e-6);  // half way between the last post and the first
  ASSERT_TRUE(scene.Band().GetGroundHeight(-179.75, 0.0, height));
  EXPECT_NEAR(600.0, height, 1e-6);
  ASSERT_TRUE(scene.Band().GetGroundHeight(-179.875, 0.0, height));
  EXPECT_NEAR(550.0, height, 1e-6);
}

TEST(HawkGround, SeesAcrossTheDateLine) {
  const HeightGrid local{179.0, 1.0, 0.01, 200, 200, [](int, int) { return std::int16_t{500}; }};
  HawkScene scene{LooksEast(0.9, 9000.0).Over(179.999, 0.0), kReadExact};
  const HawkScene::Place place = scene.Ground(local).GroundOf(15, kAxisOfLines);
  const Hit right = WalkDown(0.9, 9000.0, [](long double) { return 500.0L; });
  EXPECT_NEAR(right.lon + 179.999 - 360.0, place.lon, kNear);
}

/// Rolling ground of a degree each way, with holes, and another number at each post.
HeightGrid HoledGround(double west) {
  return {west, 0.5, 0.005, 200, 200, [](int column, int row) {
            const bool isHole = column / 7 % 5 == 0 && row / 9 % 4 == 0;
            return static_cast<std::int16_t>(isHole ? -32768 : 31 * column - 17 * row + column * row % 13);
          }};
}

/// Asks for many heights at once, in rows as a map has them and in leaps, and holds each against one that is asked
/// alone.
void ExpectHeightsAsAlone(const ZRMBandHawk& band, double west) {
  std::vector<double> lons, lats;
  for (int i = 0; i < 6000; ++i) {
    const bool isLeap = i % 50 == 49;
    lons.push_back(west - 0.02 + (isLeap ? i * 0.37 - std::floor(i * 0.37) : i % 300 * 0.0035));
    lats.push_back(0.52 - (isLeap ? i * 0.61 - std::floor(i * 0.61) : i / 300 * 0.053));
  }
  lons[77] = NAN;
  std::vector<double> heights(lons.size());
  const int numFound = band.FindHeights(lons.data(), lats.data(), static_cast<int>(lons.size()), heights.data());
  int numRight = 0;
  for (std::size_t i = 0; i < lons.size(); ++i) {
    double height = NAN;
    const bool isKnown = band.GetGroundHeight(lons[i], lats[i], height) != 0;
    numRight += isKnown;
    EXPECT_EQ(isKnown, !std::isnan(heights[i])) << i;
    if (isKnown) {
      EXPECT_NEAR(height, heights[i], 1e-8) << i;
    }
  }
  EXPECT_EQ(numRight, numFound);
  EXPECT_GT(numRight, 3000);
  EXPECT_LT(numRight, 5900);
}

TEST(HawkExactGround, IsTheSameForManyPlacesAtOnce) {
  HawkScene scene{HawkBuilder(), kReadExact};
  ExpectHeightsAsAlone(scene.Ground(HoledGround(-0.5)).Band(), -0.5);
  const HeightGrid geoid{
      -1.0, 1.0, 0.25, 8, 8, [](int column, int row) {
                           return static_cast<std::int16_t>(700 * column - 300 * row); }};
  ExpectHeightsAsAlone(scene.Geoid(geoid).Band(), -0.5);
}

/// The model reaches from 179.5 to 180.5 degrees east, or is counted a turn further on.
TEST(HawkExactGround, IsTheSameForManyPlacesAcrossTheDateLine) {
  HawkScene scene{HawkBuilder(), kReadExact};
  ExpectHeightsAsAlone(scene.Ground(HoledGround(179.5)).Band(), 179.5);
  ExpectHeightsAsAlone(scene.Ground(HoledGround(-180.5)).Band(), 179.5);
}

TEST(HawkExactGround, IsZeroForManyPlacesWithoutATerrainModel) {
  HawkScene scene{HawkBuilder(), kReadExact};
  const double lons[] = {0.0, 11.0, NAN}, lats[] = {0.0, 47.0, 0.0};
  double heights[] = {5.0, 5.0, 5.0};
  EXPECT_EQ(2, scene.Band().FindHeights(lons, lats, 3, heights));
  EXPECT_EQ(0.0, heights[0]);
  EXPECT_EQ(0.0, heights[1]);
  EXPECT_TRUE(std::isnan(heights[2]));
}

XRSFile* MakeRealGround(double height) {
  auto band = std::make_unique<MemoryBand>();
  band->SetSamples(200, 200, std::vector<double>(40000, height));
  band->SetPixelSize(0.01, 0.01);
  band->SetUpperLeft(-1.0, 1.0);
  auto file = std::make_unique<XRSFile>();
  file->AddBand(band.release());
  return file.release();
}

TEST(HawkTerrainModel, IsRefusedWithoutHeightsInDegrees) {
  ZRMBandHawk band;
  ASSERT_TRUE(band.SetDemFile(FlatGround(700).Make()));
  XRSFile* const before = band.GetDemFile();
  EXPECT_FALSE(band.SetDemFile(new XRSFile));
  XRSFile* const projected = FlatGround(700).Make();
  projected->GetBandAt(0)->GetSR()->SetUTM(52, 1);
  EXPECT_FALSE(band.SetDemFile(projected));
  XRSFile* const turned = FlatGround(700).Make();
  const double transform[6] = {0.0, 0.01, 0.002, 1.0, 0.002, -0.01};
  turned->GetBandAt(0)->SetGeoTransform(transform);
  EXPECT_FALSE(band.SetDemFile(turned));
  EXPECT_EQ(before, band.GetDemFile());
  EXPECT_TRUE(band.SetDemFile(nullptr));
  EXPECT_EQ(nullptr, band.GetDemFile());
}

TEST(HawkTerrainModel, MayHaveHeightsOfAnyType) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    auto band = std::make_unique<ZRMBandHawk>();
    band->SetReadPolicy(policy);
    EXPECT_TRUE(band->SetDemFile(MakeRealGround(700.75)));
    double height = 0.0;
    ASSERT_TRUE(band->GetGroundHeight(0.0, 0.0, height));
    EXPECT_EQ(policy == kReadExact ? 700.75 : 700.0, height);
  }
}

TEST(HawkTerrainModel, IsZeroOrUnknownWhereItCannotBeRead) {
  ZRMBandHawk band;
  XRSFile* const failing = FlatGround(700).Make();
  static_cast<MemoryBand*>(failing->GetBandAt(0))->FailReads();
  ASSERT_TRUE(band.SetDemFile(failing));
  double height = 5.0;
  EXPECT_TRUE(band.GetGroundHeight(0.0, 0.0, height));
  EXPECT_EQ(0.0, height);
  band.SetReadPolicy(kReadExact);
  EXPECT_FALSE(band.GetGroundHeight(0.0, 0.0, height));
}

void SaveHeights(const TempFolder& folder, const char* name, int height) {
  const std::unique_ptr<XRSFile> file(FlatGround(height).Make());
  XRSFile2ZRM writer;
  writer.SetXRSFile(file.get());
  XString err;
  ASSERT_TRUE(writer.Save(folder.Path(name), 0, 0, 199, 0, 199, 100, 0.0, err, nullptr)) << err;
}

TEST(HawkResources, AreFoundInTheirFolderAndSharedByAllBands) {
  const TempFolder folder;
  SaveHeights(folder, "korea_dem.zrm", 700);
  SaveHeights(folder, "WW15MGH.zrm", 1850);
  XfnSetResourceFolder(folder.Path());
  const ZRMBandHawk one, other;
  XfnSetResourceFolder("");
  ASSERT_NE(nullptr, one.GetDemFile());
  ASSERT_NE(nullptr, one.GetGeoidFile());
  EXPECT_EQ(one.GetDemFile(), other.GetDemFile());
  EXPECT_EQ(one.GetGeoidFile(), other.GetGeoidFile());
  double height = 0.0;
  EXPECT_TRUE(one.GetGroundHeight(0.0, 0.0, height));
  EXPECT_EQ(718.0, height);
  EXPECT_EQ(nullptr, ZRMBandHawk().GetDemFile());
}

TEST(HawkResources, MayBeMissingOrDamaged) {
  const TempFolder folder;
  folder.Write("korea_dem.zrm", std::string_view("ZRM.nothing of the kind"));
  XfnSetResourceFolder(folder.Path());
  const ZRMBandHawk band;
  XfnSetResourceFolder("");
  EXPECT_EQ(nullptr, band.GetDemFile());
  EXPECT_EQ(nullptr, band.GetGeoidFile());
}

}  // namespace
