// Places that the library finds for pixels, held against a model that shares nothing with it.

#include "SensorTruth.h"
#include "TempFolder.h"
#include "TerrainGrid.h"
#include "ZRMBandHawk.h"

#include <gtest/gtest.h>
#include <cmath>

namespace {

using Real = SensorTruth::Real;
using Frame = TerrainGrid::Frame;

/// A band with a sensor model and no image. It has no terrain at first.
std::unique_ptr<ZRMBandHawk> LoadScene(const FlownScene& scene, XReadPolicy policy) {
  const TempFolder folder;
  folder.Write("a.XML", scene.Document());
  auto band = std::make_unique<ZRMBandHawk>();
  band->SetReadPolicy(policy);
  band->SetDemFile(nullptr);
  band->SetGeoidFile(nullptr);
  EXPECT_EQ(1, band->LoadHawkXML(folder.Path("a.XML")));
  band->CalcSplineCoeffs();
  return band;
}

std::vector<FlownScene> ScenesOf(SensorFlight flight) {
  std::vector<FlownScene> scenes;
  for (const bool isInfrared : {false, true}) {
    flight.isInfrared = isInfrared;
    for (const char* corner : {"Upper Right", "Upper Left", "Lower Left", "Lower Right"}) {
      scenes.push_back(flight.Fly());
      scenes.back().corner = corner;
    }
  }
  return scenes;
}

/// Flights at a place by both platforms, visible and infrared, with all four corners.
std::vector<FlownScene> ScenesAt(double lon, double lat) {
  std::vector<FlownScene> scenes;
  for (SensorFlight flight : {SensorFlight::Aircraft(), SensorFlight::Satellite()}) {
    flight.lon = lon;
    flight.lat = lat;
    for (FlownScene& scene : ScenesOf(flight)) scenes.push_back(std::move(scene));
  }
  return scenes;
}

/// Calls the work for pixels all over the image, some of them with fractions.
template <class Work>
void ForPixels(const FlownScene& scene, Work&& work) {
  for (const double v : {0.0, 0.13, 0.37, 0.61, 1.0}) {
    for (const double u : {0.0, 0.21, 0.5, 0.77, 1.0}) work(u * (scene.samples - 1), v * (scene.lines - 1));
  }
}

/// Terrain and geoid as compatible reads have them: whole metres, and 0 outside the terrain.
SensorTruth::Ground WholeMetres(const TerrainGrid& terrain, const TerrainGrid* geoid = nullptr) {
  return [&terrain, geoid](Real lon, Real lat) -> Real {
    const auto height = terrain.At(lon, lat);
    const auto centimetres = geoid ? geoid->At(lon, lat) : std::nullopt;
    return height ? *height + centimetres.value_or(0) / 100 : 0;
  };
}

/// Holds a compatible band against the model, to a billionth of a degree.
void ExpectSamePlaces(const FlownScene& scene, const ZRMBandHawk& band, const SensorTruth::Ground& ground) {
  const SensorTruth model(scene);
  ForPixels(scene, [&](double x, double y) {
    const SensorTruth::Place place = model.LocateByPasses(x, y, ground);
    double lon = x, lat = y;
    band.ConvWarpPixelToWorldCoord(lon, lat);
    EXPECT_NEAR(0.0, std::remainder(lon - static_cast<double>(place.lon), 360.0), 1e-9) << x << ", " << y;
    EXPECT_NEAR(static_cast<double>(place.lat), lat, 1e-9) << x << ", " << y;
  });
}

void ExpectSamePlacesOver(double lon, double lat, const TerrainGrid& terrain, const TerrainGrid* geoid = nullptr) {
  for (const FlownScene& scene : ScenesAt(lon, lat)) {
    SCOPED_TRACE(scene.spectrum + ", " + scene.corner + ", " + std::to_string(scene.focalLength));
    const auto band = LoadScene(scene, kReadCompatible);
    ASSERT_TRUE(band->SetDemFile(terrain.MakeFile()));
    if (geoid) {
      ASSERT_TRUE(band->SetGeoidFile(geoid->MakeFile()));
    }
    ExpectSamePlaces(scene, *band, WholeMetres(terrain, geoid));
  }
}

double Hills(double lon, double lat) {
  return 600.0 + 250.0 * std::sin(lon * 150.0) * std::cos(lat * 190.0) + 60.0 * std::sin(lon * 700.0 + lat * 500.0);
}

/// The same at 180 degrees on either side.
double GeoidWaves(double lon, double lat) {
  return 4650.0 * std::sin(20.0 * lon * M_PI / 180.0) * std::cos(lat * 0.07) - 812.0;
}

TEST(HawkAgainstItsModel, FindsTheSamePlacesOnTheEllipsoid) {
  for (const auto& [lon, lat] : {std::pair(11.0, 47.5), std::pair(-70.0, -33.0), std::pair(100.0, 0.0)}) {
    for (const FlownScene& scene : ScenesAt(lon, lat)) {
      SCOPED_TRACE(scene.spectrum + ", " + scene.corner);
      ExpectSamePlaces(scene, *LoadScene(scene, kReadCompatible), [](Real, Real) -> Real { return 0; });
    }
  }
}

/// Steps of one metre would leave it to the last digit whether a pass is the last one.
TEST(HawkAgainstItsModel, FindsTheSamePlacesAcrossTheDateLineAndNearThePole) {
  const TerrainGrid terrain(Frame::World(), [](double lon, double lat) { return 300.0 + 4.0 * lon + 8.0 * lat; });
  ExpectSamePlacesOver(179.9999, 51.0, terrain);
  ExpectSamePlacesOver(40.0, 89.995, terrain);
  ExpectSamePlacesOver(-120.0, -89.9, terrain);
}

TEST(HawkAgainstItsModel, FindsTheSamePlacesOverFlatTerrain) {
  const TerrainGrid terrain(Frame::About(11.0, 47.5), [](double, double) { return 700.0; });
  ExpectSamePlacesOver(11.0, 47.5, terrain);
}

TEST(HawkAgainstItsModel, FindsTheSamePlacesOverASlope) {
  const TerrainGrid terrain(Frame::About(11.0, 47.5), [](double lon, double lat) {
    return 500.0 + 9000.0 * (lon - 11.0) - 4000.0 * (lat - 47.5);
  });
  ExpectSamePlacesOver(11.0, 47.5, terrain);
}

TEST(HawkAgainstItsModel, FindsTheSamePlacesOverHillsAndTheGeoid) {
  const TerrainGrid terrain(Frame::About(11.0, 47.5), &Hills);
  const TerrainGrid geoid({-180.125, 90.125, 0.25, 1441, 721}, &GeoidWaves);
  ExpectSamePlacesOver(11.0, 47.5, terrain);
  ExpectSamePlacesOver(11.0, 47.5, terrain, &geoid);
}

/// A hole is a sample like others there, 32768 metres below the ellipsoid.
TEST(HawkAgainstItsModel, FindsTheSamePlacesOverVoids) {
  const TerrainGrid terrain(Frame::About(11.0, 47.5), [](double lon, double lat) {
    return std::sin(lon * 900.0) * std::sin(lat * 800.0) > 0.8 ? -32768.0 : Hills(lon, lat);
  });
  ExpectSamePlacesOver(11.0, 47.5, terrain);
  const FlownScene scene = SensorFlight::Aircraft().Fly();
  int numVoids = 0;
  ForPixels(scene, [&](double x, double y) {
    const auto place = SensorTruth(scene).LocateByPasses(x, y, WholeMetres(terrain));
    numVoids += terrain.At(place.lon, place.lat) == -32768;
  });
  EXPECT_GT(numVoids, 0);
}

/// The distance in metres between a place found and the truth.
double DistanceTo(const SensorTruth::Place& truth, double lon, double lat) {
  constexpr double kMetresPerDegree = 111320.0;
  const double north = (lat - static_cast<double>(truth.lat)) * kMetresPerDegree;
  const double east =
      std::remainder(lon - static_cast<double>(truth.lon), 360.0) * kMetresPerDegree * std::cos(lat * M_PI / 180.0);
  return std::hypot(east, north);
}

TEST(HawkAgainstItsModel, MeetsFlatGroundWithinAMetreAndAHalf) {
  const TerrainGrid terrain(Frame::About(11.0, 47.5), [](double, double) { return 700.0; });
  for (const FlownScene& scene : ScenesAt(11.0, 47.5)) {
    const auto band = LoadScene(scene, kReadCompatible);
    ASSERT_TRUE(band->SetDemFile(terrain.MakeFile()));
    const SensorTruth model(scene);
    ForPixels(scene, [&](double x, double y) {
      const auto truth = model.LocateByMarching(
          x, y, [](Real, Real) -> Real { return 700; }, 710);
      double lon = x, lat = y;
      band->ConvWarpPixelToWorldCoord(lon, lat);
      EXPECT_LT(DistanceTo(truth, lon, lat), 1.5) << x << ", " << y;
    });
  }
}

/// Holds an exact band over hills and geoid against a march along the line of sight.
void ExpectNearTruthOver(double lon, double lat) {
  const TerrainGrid terrain(Frame::About(lon, lat), &Hills);
  const TerrainGrid geoid({-180.125, 90.125, 0.25, 1441, 721}, &GeoidWaves);
  const auto ground = [&](Real x, Real y) {
    return terrain.Between(lon + std::remainder(x - lon, Real{360}), y) + geoid.Between(x, y) / 100;
  };
  for (SensorFlight flight : {SensorFlight::Aircraft(), SensorFlight::Satellite()}) {
    flight.lon = lon;
    flight.lat = lat;
    const FlownScene scene = flight.Fly();
    const auto band = LoadScene(scene, kReadExact);
    ASSERT_TRUE(band->SetDemFile(terrain.MakeFile()));
    ASSERT_TRUE(band->SetGeoidFile(geoid.MakeFile()));
    const SensorTruth model(scene);
    ForPixels(scene, [&](double x, double y) {
      const auto truth = model.LocateByMarching(x, y, ground, 1000);
      double foundLon = 0.0, foundLat = 0.0, height = 0.0;
      ASSERT_EQ(1, band->FindGroundOfPixel(x, y, foundLon, foundLat, height)) << x << ", " << y;
      EXPECT_LT(DistanceTo(truth, foundLon, foundLat), 0.5) << x << ", " << y;
      EXPECT_NEAR(static_cast<double>(truth.height), height, 0.5) << x << ", " << y;
    });
  }
}

TEST(HawkAgainstItsModel, MeetsHillsWithTheGeoidWithinHalfAMetreExactly) {
  ExpectNearTruthOver(11.0, 47.5);
}

TEST(HawkAgainstItsModel, MeetsHillsAcrossTheDateLineWithinHalfAMetreExactly) {
  ExpectNearTruthOver(179.9995, 51.0);
}

/// Ground that rises towards the sensor more steeply than it looks would hide what is behind, so that a gentle slope is
/// taken.
TEST(HawkAgainstItsModel, ComesBackToItsPixels) {
  const TerrainGrid terrain(Frame::About(11.0, 47.5), [](double lon, double) { return 600.0 + 2000.0 * (lon - 11.0); });
  for (const FlownScene& scene : ScenesAt(11.0, 47.5)) {
    SCOPED_TRACE(scene.spectrum + ", " + scene.corner);
    const auto band = LoadScene(scene, kReadExact);
    ASSERT_TRUE(band->SetDemFile(terrain.MakeFile()));
    ForPixels(scene, [&](double x, double y) {
      double lon = 0.0, lat = 0.0, height = 0.0, column = 0.0, line = 0.0;
      ASSERT_EQ(1, band->FindGroundOfPixel(x, y, lon, lat, height));
      ASSERT_EQ(1, band->FindPixelOfGround(lon, lat, column, line));
      EXPECT_NEAR(x, column, 0.01);
      EXPECT_NEAR(y, line, 0.01);
      ASSERT_EQ(1, band->FindPixelOfPoint(lon, lat, height, column, line));
      EXPECT_NEAR(x, column, 0.01);
      EXPECT_NEAR(y, line, 0.01);
    });
  }
}

}  // namespace
