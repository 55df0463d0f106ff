// The geoid that the program makes of the grid of EGM96, held against what PROJ makes of the same grid, and a flight
// over it against the model of the tests.

#include "AnyJson.h"
#include "FlightFile.h"
#include "Program.h"

#include <ogr_srs_api.h>

#include <cmath>
#include <memory>

namespace {

constexpr const char* kEgm96 = "/usr/share/proj/egm96_15.gtx";

/// The undulations of EGM96 in metres, as PROJ finds them: heights above the geoid become heights above the ellipsoid.
class ProjGeoid {
 public:
  ProjGeoid() : way_(nullptr, &OCTDestroyCoordinateTransformation) {
    const auto above = System("EPSG:4326+5773"), ellipsoid = System("EPSG:4979");
    way_.reset(OCTNewCoordinateTransformation(above.get(), ellipsoid.get()));
  }
  double At(double lon, double lat) const {
    double height = 0.0;
    EXPECT_TRUE(way_ && OCTTransform(way_.get(), 1, &lon, &lat, &height));
    return height;
  }

 private:
  using SystemHolder = std::unique_ptr<void, void (*)(OGRSpatialReferenceH)>;
  static SystemHolder System(const char* name) {
    SystemHolder system(OSRNewSpatialReference(nullptr), &OSRDestroySpatialReference);
    EXPECT_EQ(OGRERR_NONE, OSRSetFromUserInput(system.get(), name));
    OSRSetAxisMappingStrategy(system.get(), OAMS_TRADITIONAL_GIS_ORDER);
    return system;
  }

  std::unique_ptr<void, void (*)(OGRCoordinateTransformationH)> way_;
};

class ZrkioEgm96 : public Zrkio {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kEgm96)) GTEST_SKIP() << "proj-data is not installed, so that there is no " << kEgm96;
    const ProgramResult result = Run({"geoid", "make", kEgm96, "-o", Geoid()});
    ASSERT_EQ(0, result.exitStatus) << result.err;
  }
  std::string Geoid() const { return folder_.Path("WW15MGH.zrm"); }
  AnyJson Tell(std::vector<std::string> arguments) {
    arguments.push_back("--json");
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return result.exitStatus == 0 ? AnyJson::parse(result.out) : AnyJson();
  }
};

/// Posts lie a quarter of a degree apart.
TEST_F(ZrkioEgm96, HasTheUndulationsOfProjAtItsPosts) {
  const ProjGeoid right;
  for (const auto& [lon, lat] : {std::pair(0.0, 0.0), std::pair(11.0, 47.5), std::pair(78.75, 4.75),  // south of India
                                 std::pair(147.0, -5.25),                                             // New Guinea
                                 std::pair(-180.0, 51.0), std::pair(179.75, -16.5), std::pair(-71.25, -33.5),
                                 std::pair(0.0, 90.0), std::pair(135.0, -90.0)}) {
    const AnyJson value = Tell({"value", Geoid(), std::to_string(lon), std::to_string(lat)});
    EXPECT_NEAR(100.0 * right.At(lon, lat), value["channels"][0]["value"].get<double>(), 0.51) << lon << ", " << lat;
  }
}

/// The ground is flat at 700 metres above the geoid.
class ZrkioEgm96Flight : public ZrkioEgm96 {
 protected:
  testing::AssertionResult Simulate() const {
    const ProgramResult made = Run({"hawk", "simulate", "-o", folder_.Path("f"), "--infrared", "--quiet", "--size",
                                    "200,500", "--at", "127.1,36.9", "--terrain", "flat:700", "--geoid", Geoid()});
    return made.exitStatus == 0 ? testing::AssertionSuccess() : testing::AssertionFailure() << made.err;
  }
  SensorTruth ReadModel() const {
    std::ifstream stream(folder_.Path("f/flight_truth.json"));
    return SensorTruth(ReadScene(folder_.Path("f/flight.XML"), AnyJson::parse(stream)));
  }
};

TEST_F(ZrkioEgm96Flight, LiesUnderTheGroundThatAnotherModelOfTheSensorSees) {
  ASSERT_TRUE(Simulate());
  const SensorTruth model = ReadModel();
  const ProjGeoid geoid;
  const auto ground = [&](SensorTruth::Real lon, SensorTruth::Real lat) -> SensorTruth::Real {
    return 700 + geoid.At(static_cast<double>(lon), static_cast<double>(lat));
  };
  for (const auto& [x, y] : {std::pair(100.0, 250.0), std::pair(3.0, 7.0), std::pair(196.0, 488.0)}) {
    const AnyJson place = Tell({"hawk", "locate", folder_.Path("f/flight.TIF_1"), std::to_string(x), std::to_string(y),
                                "--dem", folder_.Path("f/flight_terrain.tif"), "--geoid", Geoid()});
    const SensorTruth::Place right = model.LocateByMarching(x, y, ground, 760);
    // Centimetres are rounded, which moves a slanting line of sight by as much.
    EXPECT_NEAR(static_cast<double>(right.height), place["height"].get<double>(), 0.006);
    EXPECT_NEAR(static_cast<double>(right.lon), place["lonLat"][0].get<double>(), 2e-7);
    EXPECT_NEAR(static_cast<double>(right.lat), place["lonLat"][1].get<double>(), 2e-7);
    EXPECT_GT(std::abs(place["height"].get<double>() - 700.0), 5.0);
  }
}

}  // namespace
