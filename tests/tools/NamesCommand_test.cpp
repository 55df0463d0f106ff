// zrkio names, and the marks that zrkio view makes of such a file.

#include "AnyJson.h"
#include "PngReader.h"
#include "Program.h"

#include <gmock/gmock.h>

#include <array>

namespace {

using testing::HasSubstr;

class ZrkioNames : public Zrkio {
 protected:
  std::string WriteText(const std::string& name, const std::string& text) {
    return Write(name, std::vector<unsigned char>(text.begin(), text.end()));
  }
  /// A file of five places.
  std::string BuildCities() {
    const std::string list = WriteText("cities.csv",
                                       "name,lon,lat\nBerlin,13.4,52.5\nParis,2.35,48.9\nSuva,178.44,-18.14\n"
                                       "Nuku'alofa,-175.2,-21.13\nLondon,-0.13,51.5\n");
    const ProgramResult result = Run({"names", "build", list, "-o", Path()});
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return Path();
  }
  std::string Path() const { return folder_.Path("cities.pbp"); }
  /// A grey bitmap of 360 x 180 pixels, the whole world in degrees.
  std::string WriteWorld() {
    std::vector<unsigned char> bytes = BmpBuilder().Size(1, 1).Claim(360, 180).Build();
    bytes.resize(54);
    bytes.resize(54 + 3 * 360 * 180, 128);
    const std::string path = Write("world.bmp", bytes);
    WriteText("world.bmw", "1\n0\n0\n-1\n-179.5\n89.5\n");
    EXPECT_EQ(0, Run({"levels", path}).exitStatus);
    EXPECT_EQ(0, Run({"levels", "--update-srs", "EPSG:4326", path}).exitStatus);
    return path;
  }
};

}  // namespace

TEST_F(ZrkioNames, BuildWritesAFileThatCheckFindsSound) {
  BuildCities();
  EXPECT_EQ(12u + 5 * 88, ReadBytes(Path()).size());
  const ProgramResult check = Run({"names", "check", Path()});
  EXPECT_EQ(0, check.exitStatus);
  EXPECT_EQ(Path() + "\n  places      5\n  nothing is wrong\n", check.out);
  EXPECT_EQ((std::set<std::string>{"cities.csv", "cities.pbp"}), ListFiles());
}

TEST_F(ZrkioNames, BuildTakesListsOfSeveralKindsAndTellsWhatIsLeftOut) {
  const std::string zones = WriteText("zone.tab", "AD\t+4230+00131\tEurope/Andorra\n");
  const std::string markers = WriteText("earth", "1 2 \"Here\"\nposition=sun image=a.png\n");
  const ProgramResult result = Run({"names", "build", zones, markers, "-o", Path()});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  EXPECT_THAT(result.err, HasSubstr("in " + markers + ", left out, without a name or a place on earth: 1"));
  EXPECT_THAT(result.err, HasSubstr("cities.pbp: 2 places"));
}

TEST_F(ZrkioNames, BuildLeavesNothingWhereItFails) {
  const std::string good = WriteText("good.csv", "1,2,a\n"), bad = WriteText("bad.csv", "1,2,a\n1,x,b\n");
  const ProgramResult result = Run({"names", "build", good, bad, "-o", Path(), "--format", "csv"});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + good + ": " + bad + ": Line 2: longitude and latitude are no numbers\n", result.err);
  EXPECT_EQ((std::set<std::string>{"bad.csv", "good.csv"}), ListFiles());
}

TEST_F(ZrkioNames, BuildNeverReplacesOneOfItsLists) {
  const std::string one = WriteText("one.csv", "1,2,a\n"), list = WriteText("list.pbp", "1,2,a\n");
  EXPECT_EQ(1, Run({"names", "build", list, "-o", list}).exitStatus);
  EXPECT_EQ(1, Run({"names", "build", one, list, "-o", list}).exitStatus);
  EXPECT_EQ(6u, ReadBytes(list).size());
}

TEST_F(ZrkioNames, BuildLeavesNothingWhereTheDiskIsFull) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "1,2,place " + std::to_string(i) + "\n";
  const std::string list = WriteText("a.csv", text);
  ProgramOptions options;
  options.inChild = [] { LimitFileSize(); };
  const ProgramResult result = Run({"names", "build", list, "-o", Path()}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + list + ": can't write " + Path() + "\n", result.err);
  EXPECT_EQ((std::set<std::string>{"a.csv"}), ListFiles());
}

TEST_F(ZrkioNames, QueryFindsPlacesInABoxAlsoAcrossTheDateLine) {
  BuildCities();
  EXPECT_EQ("  Berlin  13.4, 52.5\n  Paris  2.35, 48.9\n  London  -0.13, 51.5\n",
            Run({"names", "query", Path(), "--box", "-10,40,20,60"}).out);
  EXPECT_EQ("  Suva  178.44, -18.14\n  Nuku'alofa  -175.2, -21.13\n",
            Run({"names", "query", Path(), "--box", "170,-30,-170,0"}).out);
  EXPECT_EQ("  Berlin  13.4, 52.5\n", Run({"names", "query", Path(), "--box", "-10,40,20,60", "--count", "1"}).out);
}

TEST_F(ZrkioNames, QueryTellsTheNearestWithTheirDistances) {
  BuildCities();
  const AnyJson json =
      AnyJson::parse(Run({"names", "query", Path(), "--near", "2.35,48.9", "--count", "2", "--json"}).out);
  ASSERT_EQ(2u, json["places"].size());
  EXPECT_EQ("Paris", json["places"][0]["name"]);
  EXPECT_EQ(1, json["places"][0]["number"]);
  EXPECT_EQ(0.0, json["places"][0]["distance"]);
  EXPECT_EQ("London", json["places"][1]["name"]);
  // London and Paris are some 340 km apart.
  EXPECT_NEAR(340e3, json["places"][1]["distance"].get<double>(), 10e3);
}

TEST_F(ZrkioNames, CheckListsWhatIsWrong) {
  BuildCities();
  std::vector<unsigned char> bytes = ReadBytes(Path());
  std::swap(bytes[12 + 5 * 80], bytes[12 + 5 * 80 + 4]);
  Write("cities.pbp", bytes);
  const ProgramResult result = Run({"names", "check", Path(), "--json"});
  EXPECT_EQ(1, result.exitStatus);
  const AnyJson json = AnyJson::parse(result.out);
  EXPECT_EQ(1, json["numFindings"]);
  EXPECT_EQ("Rank 1 of the table by the first coordinate comes before the rank in front of it", json["findings"][0]);
}

TEST_F(ZrkioNames, RefusesCommandsThatMakeNoSense) {
  const std::string file = BuildCities();
  using Arguments = std::vector<std::string>;
  for (const Arguments& each : {Arguments{"names", "make", file},
                                {"names", "build", file},
                                {"names", "build", file, "-o", "a.txt"},
                                {"names", "build", file, "-o", "a.pbp", "--format", "kml"},
                                {"names", "query", file},
                                {"names", "query", file, "--box", "1,2,3"},
                                {"names", "query", file, "--box", "1,5,3,2"},
                                {"names", "query", file, "--near", "0,91"},
                                {"names", "query", file, file, "--near", "0,0"},
                                {"names", "check", file, "--near", "0,0"},
                                {"names", "query", file, "--near", "0,0", "-o", "x.pbp"}}) {
    EXPECT_EQ(2, Run(each).exitStatus) << each.back();
  }
  EXPECT_EQ(1, Run({"names", "query", folder_.Path("cities.csv"), "--near", "0,0"}).exitStatus);
}

TEST_F(ZrkioNames, ViewMarksPlacesAndListsThem) {
  const std::string names = BuildCities(), world = WriteWorld();
  const std::string picture = folder_.Path("w.png");
  const ProgramResult result = Run({"view", world, "-o", picture, "--bbox", "-30,30,60,70", "--names", names});
  ASSERT_EQ(0, result.exitStatus) << result.err;
  EXPECT_EQ("  1  Berlin  13.4, 52.5\n  2  Paris  2.35, 48.9\n  3  London  -0.13, 51.5\n", result.out);
  const DecodedPng png = DecodePng(picture);
  // A pixel is a degree: London lies in column -1 + 30 and in row 70 - 52.
  const auto colourAt = [&](int x, int y) { return std::array{png.At(x, y, 0), png.At(x, y, 1), png.At(x, y, 2)}; };
  EXPECT_EQ((std::array{255, 220, 0}), colourAt(29, 18));
  EXPECT_EQ((std::array{0, 0, 0}), colourAt(29 - 4, 18));
  EXPECT_EQ((std::array{128, 128, 128}), colourAt(29 - 6, 18));
}

TEST_F(ZrkioNames, ViewRefusesNamesWhereTheyCannotBeMarked) {
  const std::string names = BuildCities();
  const std::string plain = Write("a.bmp", BmpBuilder().Size(5, 5).Build());
  const ProgramResult result = Run({"view", plain, "-o", folder_.Path("a.png"), "--names", names});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_THAT(result.err, HasSubstr("the image has no place on earth, and so no place can be marked"));
  const std::string world = WriteWorld();
  EXPECT_EQ(1, Run({"view", world, "-o", folder_.Path("a.png"), "--names", plain}).exitStatus);
  EXPECT_FALSE(ListFiles().contains("a.png"));
}
