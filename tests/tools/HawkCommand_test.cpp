// zrkio hawk, run as a program on data sets that it has simulated.

#include "AnyJson.h"
#include "DtedBuilder.h"
#include "FlightFile.h"
#include "GdalDataset.h"
#include "Program.h"
#include "SensorTruth.h"

#include <gdal.h>
#include <gmock/gmock.h>
#include <ogr_srs_api.h>

#include <cmath>
#include <fstream>
#include <sstream>

namespace {

using testing::HasSubstr;

/// A picture in shades of grey with a place: pixels of one size, north up.
struct Picture {
  double west = 0.0, north = 0.0, pixel = 1.0;
  int width = 0, height = 0;
  std::vector<unsigned char> shades;

  unsigned char At(int x, int y) const { return shades[static_cast<std::size_t>(y * width + x)]; }
};

Picture ReadPicture(const std::string& path) {
  GDALAllRegister();
  Picture picture;
  const GdalDataset file(GDALOpen(path.c_str(), GA_ReadOnly));
  if (!file) return picture;
  double place[6];
  GDALGetGeoTransform(file.get(), place);
  picture.west = place[0], picture.north = place[3], picture.pixel = place[1];
  picture.width = GDALGetRasterXSize(file.get()), picture.height = GDALGetRasterYSize(file.get());
  picture.shades.resize(static_cast<std::size_t>(picture.width * picture.height));
  EXPECT_EQ(CE_None, GDALRasterIO(GDALGetRasterBand(file.get(), 1), GF_Read, 0, 0, picture.width, picture.height,
                                  picture.shades.data(), picture.width, picture.height, GDT_Byte, 0, 0));
  return picture;
}

/// Written by GDAL, in zone 32 of UTM.
void WritePicture(const Picture& picture, const std::string& path) {
  GDALAllRegister();
  const GdalDataset file(
      GDALCreate(GDALGetDriverByName("GTiff"), path.c_str(), picture.width, picture.height, 1, GDT_Byte, nullptr));
  double place[6] = {picture.west, picture.pixel, 0.0, picture.north, 0.0, -picture.pixel};
  GDALSetGeoTransform(file.get(), place);
  OGRSpatialReferenceH system = OSRNewSpatialReference(nullptr);
  OSRImportFromEPSG(system, 32632);
  GDALSetSpatialRef(file.get(), system);
  OSRDestroySpatialReference(system);
  std::vector<unsigned char> shades = picture.shades;
  EXPECT_EQ(CE_None, GDALRasterIO(GDALGetRasterBand(file.get(), 1), GF_Write, 0, 0, picture.width, picture.height,
                                  shades.data(), picture.width, picture.height, GDT_Byte, 0, 0));
}

/// Blurred noise, whose spots are some pixels wide, so that every part of it is unlike all others.
Picture MakeNoise(double west, double north, double pixel, int size) {
  Picture picture{west, north, pixel, size, size, {}};
  std::minstd_rand random(7);
  std::vector<double> noise(static_cast<std::size_t>(size * size));
  for (double& each : noise) each = static_cast<double>(random() % 1000) / 999.0;
  const auto at = [&](int x, int y) {
    return noise[static_cast<std::size_t>((y + size) % size * size + (x + size) % size)];
  };
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      double sum = 0.0;
      for (int dy = -2; dy <= 2; ++dy) {
        for (int dx = -2; dx <= 2; ++dx) sum += at(x + dx, y + dy);
      }
      picture.shades.push_back(static_cast<unsigned char>(std::clamp(128.0 + 60.0 * (sum - 12.5), 1.0, 255.0)));
    }
  }
  return picture;
}

/// How much patches of a map are moved against their source, which has pixels of the same size.
class PatchMatch {
 public:
  static constexpr int kSide = 32, kReach = 3;

  PatchMatch(const Picture& map, const Picture& source)
      : map_(map),
        source_(source),
        east_(static_cast<int>(std::lround((map.west - source.west) / map.pixel))),
        south_(static_cast<int>(std::lround((source.north - map.north) / map.pixel))) {}

  /// Whether both pictures have the patch, and the map shows all of it.
  bool IsCovered(int x, int y) const {
    if (x + kSide > map_.width || y + kSide > map_.height) return false;
    const int left = x + east_ - kReach, top = y + south_ - kReach, span = kSide + 2 * kReach;
    if (left < 0 || top < 0 || left + span > source_.width || top + span > source_.height) return false;
    for (int j = 0; j < kSide; ++j) {
      for (int i = 0; i < kSide; ++i) {
        if (map_.At(x + i, y + j) == 0) return false;
      }
    }
    return true;
  }

  /// The way in pixels to the place where the source is most alike, to a fraction of a pixel by a parabola.
  double FindShift(int x, int y) const {
    int bestX = -kReach, bestY = -kReach;
    std::array<std::array<double, 2 * kReach + 1>, 2 * kReach + 1> likeness;
    for (int dy = -kReach; dy <= kReach; ++dy) {
      for (int dx = -kReach; dx <= kReach; ++dx) {
        Of(likeness, dx, dy) = Correlate(x, y, dx, dy);
        if (Of(likeness, dx, dy) > Of(likeness, bestX, bestY)) bestX = dx, bestY = dy;
      }
    }
    if (std::abs(bestX) == kReach || std::abs(bestY) == kReach) return kReach;
    const double centre = Of(likeness, bestX, bestY);
    return std::hypot(bestX + Peak(Of(likeness, bestX - 1, bestY), centre, Of(likeness, bestX + 1, bestY)),
                      bestY + Peak(Of(likeness, bestX, bestY - 1), centre, Of(likeness, bestX, bestY + 1)));
  }

 private:
  template <class Table>
  static double& Of(Table& table, int dx, int dy) {
    return table[static_cast<std::size_t>(dy + kReach)][static_cast<std::size_t>(dx + kReach)];
  }
  static double Peak(double before, double centre, double after) {
    return 0.5 * (before - after) / (before - 2.0 * centre + after);
  }
  double Correlate(int x, int y, int dx, int dy) const {
    double sumA = 0.0, sumB = 0.0, sumAA = 0.0, sumBB = 0.0, sumAB = 0.0;
    for (int j = 0; j < kSide; ++j) {
      for (int i = 0; i < kSide; ++i) {
        const double a = map_.At(x + i, y + j), b = source_.At(x + east_ + i + dx, y + south_ + j + dy);
        sumA += a, sumB += b, sumAA += a * a, sumBB += b * b, sumAB += a * b;
      }
    }
    constexpr double kCount = kSide * kSide;
    const double spread = (sumAA - sumA * sumA / kCount) * (sumBB - sumB * sumB / kCount);
    return (sumAB - sumA * sumB / kCount) / std::sqrt(spread);
  }

  const Picture& map_;
  const Picture& source_;
  int east_;
  int south_;
};

class ZrkioHawk : public Zrkio {
 protected:
  /// A small flight of the infrared sensor, whose pixels are about square.
  void Simulate(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"hawk", "simulate", "-o", folder_.Path("f"), "--infrared", "--quiet"};
    if (std::ranges::find(more, "--size") == more.end()) more.insert(more.end(), {"--size", "200,500"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = Run(arguments);
    ASSERT_EQ(0, result.exitStatus) << result.err;
  }
  std::string Image() const { return folder_.Path("f/flight.TIF_1"); }
  std::string Terrain() const { return folder_.Path("f/flight_terrain.tif"); }
  AnyJson Tell(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"hawk"});
    arguments.push_back("--json");
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return result.exitStatus == 0 ? AnyJson::parse(result.out) : AnyJson();
  }
  AnyJson ReadJson(const std::string& name) const {
    std::ifstream stream(folder_.Path(name));
    return AnyJson::parse(stream);
  }
  /// The shifts of 200 patches spread at random over a map against its source, in order.
  static std::vector<double> FindShifts(const Picture& map, const Picture& source) {
    const PatchMatch match(map, source);
    std::vector<double> shifts;
    std::minstd_rand random(3);
    for (int tries = 0; shifts.size() < 200 && tries < 100000; ++tries) {
      const int x = static_cast<int>(random() % static_cast<unsigned>(map.width));
      const int y = static_cast<int>(random() % static_cast<unsigned>(map.height));
      if (match.IsCovered(x, y)) shifts.push_back(match.FindShift(x, y));
    }
    std::ranges::sort(shifts);
    return shifts;
  }
  /// Simulates a flight over noise, makes a map of it with pixels of the same size, and holds it against the noise.
  void ExpectMapOverItsSource(const std::vector<std::string>& flight, double pixel) {
    constexpr int kSize = 1500;
    // About 11 degrees east and 47.5 degrees north.
    const double west = 650634.0 - 0.5 * kSize * pixel, north = 5262699.0 + 0.5 * kSize * pixel;
    const Picture source = MakeNoise(std::round(west / pixel) * pixel, std::round(north / pixel) * pixel, pixel, kSize);
    WritePicture(source, folder_.Path("noise.tif"));
    std::vector<std::string> more = {"--texture", folder_.Path("noise.tif"), "--terrain", "hills"};
    more.insert(more.end(), flight.begin(), flight.end());
    ASSERT_NO_FATAL_FAILURE(Simulate(more));
    Tell({"ortho", Image(), "-o", folder_.Path("map.tif"), "--dem", Terrain(), "--srs", "EPSG:32632", "--pixel",
          std::to_string(pixel)});
    const std::vector<double> shifts = FindShifts(ReadPicture(folder_.Path("map.tif")), source);
    ASSERT_EQ(200u, shifts.size());
    EXPECT_LT(shifts[100], 0.25);
    EXPECT_LT(shifts.back(), 0.5);
    std::printf("shifts of 200 patches: median %.3f, greatest %.3f pixels\n", shifts[100], shifts.back());
  }
};

TEST_F(ZrkioHawk, MapsAnImageOfAnAircraftToHalfAPixelOfItsSource) {
  ExpectMapOverItsSource({"--size", "480,520", "--shake", "2"}, 1.5);
}

TEST_F(ZrkioHawk, MapsAnImageOfASatelliteToHalfAPixelOfItsSource) {
  ExpectMapOverItsSource({"--size", "480,520", "--platform", "satellite", "--corner", "Lower Left", "--heading", "190"},
                         2.5);
}

TEST_F(ZrkioHawk, LocatesPixelsWhereTheTruthHasThemAndFindsThemAgain) {
  ASSERT_NO_FATAL_FAILURE(Simulate({"--terrain", "slope"}));
  const AnyJson truth = ReadJson("f/flight_truth.json")["points"];
  ASSERT_EQ(400u, truth.size());
  for (const std::size_t i : {std::size_t{0}, std::size_t{211}, std::size_t{399}}) {
    const std::string x = truth[i]["pixel"][0].dump(), y = truth[i]["pixel"][1].dump();
    const AnyJson place = Tell({"locate", Image(), x, y, "--dem", Terrain()});
    EXPECT_NEAR(truth[i]["lonLat"][0].get<double>(), place["lonLat"][0].get<double>(), 1e-9);
    EXPECT_NEAR(truth[i]["lonLat"][1].get<double>(), place["lonLat"][1].get<double>(), 1e-9);
    EXPECT_NEAR(truth[i]["height"].get<double>(), place["height"].get<double>(), 1e-3);
    const AnyJson pixel =
        Tell({"find", Image(), place["lonLat"][0].dump(), place["lonLat"][1].dump(), "--dem", Terrain()});
    EXPECT_NEAR(std::stod(x), pixel["pixel"][0].get<double>(), 0.01);
    EXPECT_NEAR(std::stod(y), pixel["pixel"][1].get<double>(), 0.01);
  }
}

TEST_F(ZrkioHawk, SimulatesWhatAnotherModelOfTheSensorSees) {
  for (const char* platform : {"aircraft", "satellite"}) {
    ASSERT_NO_FATAL_FAILURE(Simulate({"--terrain", "flat:700", "--shake", "3", "--platform", platform}));
    const AnyJson flight = ReadJson("f/flight_truth.json");
    const SensorTruth model(ReadScene(folder_.Path("f/flight.XML"), flight));
    for (std::size_t i = 0; i < 400; i += 57) {
      const AnyJson& point = flight["points"][i];
      const auto flat = [](SensorTruth::Real, SensorTruth::Real) -> SensorTruth::Real { return 700; };
      const auto place =
          model.LocateByMarching(point["pixel"][0].get<double>(), point["pixel"][1].get<double>(), flat, 710);
      // A ten millionth of a degree is a centimetre.
      EXPECT_NEAR(static_cast<double>(place.lon), point["lonLat"][0].get<double>(), 1e-7);
      EXPECT_NEAR(static_cast<double>(place.lat), point["lonLat"][1].get<double>(), 1e-7);
      EXPECT_NEAR(700.0, point["height"].get<double>(), 0.01);
    }
  }
}

std::string PictureBytes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(ZrkioHawk, IsToldAndShownByAnyOfItsImages) {
  ASSERT_NO_FATAL_FAILURE(Simulate());
  for (const char* number : {"1", "4", "32"}) {
    const std::string image = folder_.Path(std::string("f/flight.TIF_") + number);
    const AnyJson info = AnyJson::parse(Run({"info", "--json", image}).out)[0];
    EXPECT_EQ(200, info["width"]) << number;
    EXPECT_EQ(500, info["height"]) << number;
    ASSERT_EQ(0, Run({"view", image, "-o", folder_.Path(std::string(number) + ".png")}).exitStatus);
    EXPECT_EQ(PictureBytes(folder_.Path("1.png")), PictureBytes(folder_.Path(std::string(number) + ".png")));
  }
  EXPECT_GT(PictureBytes(folder_.Path("1.png")).size(), 1000u);
}

/// Posts of a cell of elevations lie on its outer edges, so that its heights are met at whole fractions of a degree.
TEST_F(ZrkioHawk, TakesACellOfElevationsForItsTerrain) {
  const auto height = [](int line, int point) { return static_cast<std::uint16_t>(300 + 20 * line + 7 * point); };
  const std::string dem =
      Write("e.dt0",
            DtedBuilder().Size(121, 121).Corners("470000N", "0110000E", "480000N", "0120000E").Words(height).Build());
  const ProgramResult result = Run({"hawk", "simulate", "-o", folder_.Path("f"), "--infrared", "--quiet", "--size",
                                    "200,500", "--at", "11.5,47.5", "--dem", dem});
  ASSERT_EQ(0, result.exitStatus) << result.err;
  const AnyJson place = Tell({"locate", Image(), "100", "250", "--dem", dem});
  const double line = 120.0 * (place["lonLat"][0].get<double>() - 11.0);
  const double point = 120.0 * (place["lonLat"][1].get<double>() - 47.0);
  EXPECT_NEAR(300.0 + 20.0 * line + 7.0 * point, place["height"].get<double>(), 1e-3);
}

TEST_F(ZrkioHawk, TellsPlacesAsTextAndWhyThereAreNone) {
  ASSERT_NO_FATAL_FAILURE(Simulate({"--at", "-70.5,-33.2"}));
  const ProgramResult place = Run({"hawk", "locate", Image(), "100", "250"});
  EXPECT_EQ(0, place.exitStatus) << place.err;
  EXPECT_THAT(place.out, HasSubstr("  pixel       100, 250\n"));
  EXPECT_THAT(place.out, HasSubstr("  place       -70.5"));
  const ProgramResult outside = Run({"hawk", "find", Image(), "11.0", "47.5", "--json"});
  EXPECT_EQ(1, outside.exitStatus);
  EXPECT_TRUE(AnyJson::parse(outside.out).contains("error"));
  EXPECT_EQ(1, Run({"hawk", "locate", Image(), "100", "100000"}).exitStatus);
}

/// The sum of the areas of all rings, in square degrees; above 0 for rings against the clock.
double AreaOf(const AnyJson& ring) {
  double area = 0.0;
  for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
    area += 0.5 * (ring[i][0].get<double>() * ring[i + 1][1].get<double>() -
                   ring[i + 1][0].get<double>() * ring[i][1].get<double>());
  }
  return area;
}

TEST_F(ZrkioHawk, WritesItsOutlineAgainstTheClock) {
  ASSERT_NO_FATAL_FAILURE(Simulate());
  ASSERT_EQ(0, Run({"hawk", "footprint", Image(), "-o", folder_.Path("o.geojson")}).exitStatus);
  const AnyJson shape = ReadJson("o.geojson")["features"][0]["geometry"];
  EXPECT_EQ("Polygon", shape["type"]);
  const AnyJson& ring = shape["coordinates"][0];
  EXPECT_EQ(ring.front(), ring.back());
  EXPECT_EQ(129u, ring.size());
  // 200 metres across the look are 325 on the ground, by about 500 along; a square degree is some 8.37e9 square metres.
  EXPECT_NEAR(325.0 * 500.0 / 8.37e9, AreaOf(ring), 0.15 * 325.0 * 500.0 / 8.37e9);
}

TEST_F(ZrkioHawk, CutsItsOutlineAtTheDateLine) {
  ASSERT_NO_FATAL_FAILURE(Simulate({"--at", "180,51"}));
  ASSERT_EQ(0, Run({"hawk", "footprint", Image(), "-o", folder_.Path("o.geojson")}).exitStatus);
  const AnyJson shape = ReadJson("o.geojson")["features"][0]["geometry"];
  ASSERT_EQ("MultiPolygon", shape["type"]);
  ASSERT_EQ(2u, shape["coordinates"].size());
  for (const AnyJson& part : shape["coordinates"]) {
    EXPECT_GT(AreaOf(part[0]), 0.0);
    for (const AnyJson& point : part[0]) {
      EXPECT_NEAR(180.0, std::abs(point[0].get<double>()), 0.01);
      EXPECT_EQ(part[0][0][0].get<double>() > 0.0, point[0].get<double>() > 0.0);
    }
  }
}

TEST_F(ZrkioHawk, MapsToTheSystemAndPixelThatAreAsked) {
  ASSERT_NO_FATAL_FAILURE(Simulate());
  const AnyJson map = Tell({"ortho", Image(), "-o", folder_.Path("m.tif"), "--srs", "EPSG:4326", "--pixel", "0.00002"});
  EXPECT_EQ(4326, map["epsg"]);
  EXPECT_EQ(0.00002, map["pixelSize"]);
  const Picture picture = ReadPicture(folder_.Path("m.tif"));
  EXPECT_EQ(map["width"], picture.width);
  EXPECT_NEAR(map["upperLeft"][0].get<double>(), picture.west, 1e-9);
  EXPECT_NEAR(map["upperLeft"][1].get<double>(), picture.north, 1e-9);
  const AnyJson own = Tell({"ortho", Image(), "-o", folder_.Path("u.tif"), "--method", "nearest"});
  EXPECT_EQ(32632, own["epsg"]);
  // Along the line of flight a pixel is as long as the sensor makes it, about a metre.
  EXPECT_NEAR(1.0, own["pixelSize"].get<double>(), 0.1);
}

TEST_F(ZrkioHawk, LeavesNoMapWhereItIsStopped) {
  ASSERT_NO_FATAL_FAILURE(Simulate());
  ProgramOptions options;
  options.whileRunning = [&](pid_t child) {
    WaitForOutput(1);
    kill(child, SIGINT);
  };
  const ProgramResult result =
      Run({"hawk", "ortho", Image(), "-o", folder_.Path("m.tif"), "--pixel", "0.02", "--workers", "1"}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("stopped"));
  EXPECT_EQ((std::set<std::string>{"f"}), ListFiles());
}

TEST_F(ZrkioHawk, LeavesNoFlightWithoutItsTexture) {
  const ProgramResult result =
      Run({"hawk", "simulate", "-o", folder_.Path("f"), "--texture", folder_.Path("none.tif"), "--terrain", "hills"});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("none.tif"));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path("f")));
}

TEST_F(ZrkioHawk, RefusesWhatMakesNoSense) {
  const std::string out = folder_.Path("m.tif");
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"look", "a.TIF_1"},
                                             {"locate", "a.TIF_1", "1"},
                                             {"locate", "a.TIF_1", "1", "north"},
                                             {"locate", "a.TIF_1", "1", "2", "--pixel", "3"},
                                             {"ortho", "a.TIF_1"},
                                             {"ortho", "a.TIF_1", "-o", "m.png"},
                                             {"ortho", "a.TIF_1", "-o", out, "--pixel", "0"},
                                             {"ortho", "a.TIF_1", "-o", out, "--srs", "EPSG:0"},
                                             {"ortho", "a.TIF_1", "-o", out, "--method", "cubic"},
                                             {"ortho", "a.TIF_1", "-o", out, "--gsd", "2"},
                                             {"simulate", "-o", out, "--platform", "kite"},
                                             {"simulate", "-o", out, "--terrain", "flat:"},
                                             {"simulate", "-o", out, "--size", "1,1"},
                                             {"simulate", "a.TIF_1", "-o", out}}) {
    std::vector<std::string> arguments = words;
    arguments.insert(arguments.begin(), "hawk");
    EXPECT_EQ(2, Run(arguments).exitStatus) << words.back();
  }
}

TEST_F(ZrkioHawk, TellsOfAnImageThatHasNoSensor) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(4, 4).Build());
  const ProgramResult result = Run({"hawk", "ortho", path, "-o", folder_.Path("m.tif")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the image has no sensor model"));
}

}  // namespace
