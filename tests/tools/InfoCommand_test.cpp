// zrkio info, run as a program: its text, its JSON, its exit status and what it says of bad files. The facts expected
// are those of the files that the tests have made.

#include "AnyJson.h"
#include "JpegBuilder.h"
#include "Program.h"

#include <fcntl.h>
#include <unistd.h>
#include <algorithm>

namespace {

using ZrkioInfo = Zrkio;

TEST_F(ZrkioInfo, TellsFormatSizeAndChannels) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  const ProgramResult result = Run({"info", path});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ("", result.err);
  EXPECT_NE(std::string::npos, result.out.find(path));
  EXPECT_NE(std::string::npos, result.out.find("Windows bitmap (0x68)"));
  EXPECT_NE(std::string::npos, result.out.find("7 x 5 pixels, 3 channels"));
  EXPECT_NE(std::string::npos, result.out.find("PINT08, 0 levels"));
  EXPECT_NE(std::string::npos, result.out.find("none, pixel coordinates only"));
}

TEST_F(ZrkioInfo, TellsThePlaceOfAWorldFile) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(10, 20).Build());
  folder_.Write("a.bmw", "0.5\n0\n0\n-0.25\n100\n200\n");
  const AnyJson json = AnyJson::parse(Run({"info", "--json", path}).out);
  const AnyJson& place = json[0]["georeference"];
  // A world file names the centre of the first pixel.
  EXPECT_EQ((std::vector<double>{99.75, 200.125}), place["upperLeft"]);
  EXPECT_EQ((std::vector<double>{0.5, 0.25}), place["pixelSize"]);
  EXPECT_EQ((std::vector<double>{99.75, 0.5, 0.0, 200.125, 0.0, -0.25}), place["transform"]);
  EXPECT_EQ(104.75, place["east"]);
  EXPECT_EQ(195.125, place["south"]);
  EXPECT_TRUE(place["system"].is_null());
}

TEST_F(ZrkioInfo, ComputesStatisticsOnRequestOnly) {
  const std::string path =
      Write("a.bmp", BmpBuilder().Size(2, 2).Pixel([](int x, int y) { return 10u * (2 * y + x) + 10; }).Build());
  EXPECT_TRUE(AnyJson::parse(Run({"info", "--json", path}).out)[0]["channels"][2]["statistics"].is_null());
  const AnyJson blue = AnyJson::parse(Run({"info", "--json", "--stats", path}).out)[0]["channels"][2]["statistics"];
  EXPECT_EQ(10.0, blue["min"]);
  EXPECT_EQ(40.0, blue["max"]);
  EXPECT_EQ(25.0, blue["mean"]);
  EXPECT_NEAR(12.909944, blue["stdDev"].get<double>(), 1e-6);
}

TEST_F(ZrkioInfo, StatisticsThatFailLeaveTheRestToBeTold) {
  const std::string path = WriteHuge("a.bmp", 4000);
  std::filesystem::resize_file(path, 54);  // no row is there
  const ProgramResult result = Run({"info", "--json", "--stats", path});
  EXPECT_EQ(1, result.exitStatus);
  const std::string reason = "the file ends before the bitmap's row ";
  EXPECT_EQ(0u, result.err.find("zrkio: " + path + ": " + reason)) << result.err;
  const AnyJson json = AnyJson::parse(result.out)[0];
  EXPECT_EQ(0u, json["error"].get<std::string>().find(reason));
  EXPECT_EQ(4000, json["width"]);
  EXPECT_TRUE(json["channels"][0]["statistics"].is_null());
}

TEST_F(ZrkioInfo, TellsWhetherThereIsALevelFileAndOfWhichKind) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(600, 500).Build());
  EXPECT_TRUE(AnyJson::parse(Run({"info", "--json", path}).out)[0]["levelFile"].is_null());
  EXPECT_EQ(std::string::npos, Run({"info", path}).out.find("a.xld"));
  Run({"levels", "--stats-only", path});
  EXPECT_EQ((AnyJson{{"file", folder_.Path("a.xld")}, {"kind", "short"}}),
            AnyJson::parse(Run({"info", "--json", path}).out)[0]["levelFile"]);
  EXPECT_NE(std::string::npos, Run({"info", path}).out.find("  statistics  in a.xld\n"));
  Run({"levels", path});
  EXPECT_EQ("full", AnyJson::parse(Run({"info", "--json", path}).out)[0]["levelFile"]["kind"]);
  EXPECT_NE(std::string::npos, Run({"info", path}).out.find("  levels      in a.xld\n"));
}

TEST_F(ZrkioInfo, TakesStatisticsOfALevelFileAsStoredUnlessAllPixelsAreAskedFor) {
  const std::string path = Write("a.jpg", JpegBuilder().Size(600, 500).Build());
  Run({"levels", path});
  const auto source = [&](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"info", "--json", path};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return AnyJson::parse(Run(arguments).out)[0]["channels"][0]["statistics"]["source"];
  };
  EXPECT_EQ("stored", source({}));
  EXPECT_EQ("stored", source({"--stats", "--approximate"}));
  EXPECT_EQ("allPixels", source({"--stats"}));
  EXPECT_NE(std::string::npos, Run({"info", path}).out.find(", as stored\n"));
  EXPECT_NE(std::string::npos, Run({"info", "--stats", path}).out.find(", of all pixels\n"));
}

/// Every second pixel, as a reduced level takes them, is 10, and there is one of 99 that none of them meets.
TEST_F(ZrkioInfo, StatisticsAreOfAllPixelsUnlessApproximateOnesAreWanted) {
  const auto pixel = [](int x, int y) { return x == 301 && y == 301 ? 99u : x % 2 || y % 2 ? 20u : 10u; };
  const std::string path = Write("a.bmp", BmpBuilder().Size(1200, 1200).Pixel(pixel).Build());
  const AnyJson exact = AnyJson::parse(Run({"info", "--json", "--stats", path}).out)[0]["channels"][2]["statistics"];
  EXPECT_EQ(99.0, exact["max"]);
  EXPECT_EQ(0, exact["level"]);
  const ProgramResult quick = Run({"info", "--json", "--stats", "--approximate", path});
  EXPECT_EQ(0, quick.exitStatus) << quick.err;
  const AnyJson statistics = AnyJson::parse(quick.out)[0]["channels"][2]["statistics"];
  EXPECT_EQ(statistics["level"] == 0 ? "allPixels" : "level", statistics["source"]);
  EXPECT_EQ(2, Run({"info", "--approximate", path}).exitStatus);
}

TEST_F(ZrkioInfo, TellsTheLevelsOfNativeRastersAndWhetherTheyAreCompressed) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(600, 500).Build()), native = folder_.Path("a.zrm");
  Run({"convert", path, native, "--levels", "1"});
  EXPECT_NE(std::string::npos, Run({"info", native}).out.find("PINT08, 1 level, not compressed\n"));
  Run({"convert", path, native, "--max-error", "0"});
  EXPECT_NE(std::string::npos, Run({"info", native}).out.find("PINT08, 2 levels, compressed\n"));
  EXPECT_FALSE(AnyJson::parse(Run({"info", "--json", path}).out)[0]["channels"][0].contains("compressed"));
}

TEST_F(ZrkioInfo, AFullStandardOutputFails) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  ProgramOptions options;
  options.inChild = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
  const ProgramResult result = Run({"info", path}, options);
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: can't write to standard output\n", result.err);
}

TEST_F(ZrkioInfo, NamesCannotControlTheTerminal) {
  const std::string path = Write("a\x1B[2J.bmp", BmpBuilder().Build());
  EXPECT_EQ(0u, Run({"info", path}).out.find(folder_.Path("a?[2J.bmp\n")));
  EXPECT_EQ(std::string::npos, Run({"info", path + "\x1B.bmp"}).err.find('\x1B'));
}

TEST_F(ZrkioInfo, GoesOnAfterAFileThatFails) {
  const std::string good = Write("good.bmp", BmpBuilder().Build());
  const std::string bad = Write("bad.bmp", {'x', 'y'});
  const ProgramResult result = Run({"info", bad, good});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + bad + ": Can't read bitmap file header.\n", result.err);
  EXPECT_NE(std::string::npos, result.out.find(good));
}

TEST_F(ZrkioInfo, FailuresStandInTheJsonToo) {
  const std::string none = folder_.Path("none.bmp");
  const ProgramResult result = Run({"info", "--json", none});
  EXPECT_EQ(1, result.exitStatus);
  const AnyJson json = AnyJson::parse(result.out);
  EXPECT_EQ(none, json[0]["file"]);
  EXPECT_EQ("no such file", json[0]["error"]);
}

TEST_F(ZrkioInfo, NamesWhatThisBuildCannotRead) {
  const std::string sid = Write("a.sid", {1});
  EXPECT_EQ("zrkio: " + sid +
                ": MrSID files need the MrSID Decode SDK (libltidsdk.so) or GDAL's MrSID plug-in; neither was found.\n",
            Run({"info", sid}).err);
  const std::string odd = Write("a.odd", {1});
  EXPECT_EQ("zrkio: " + odd +
                ": the format can't be told from the file's extension or its first bytes; zrkio formats lists those "
                "that are known\n",
            Run({"info", odd}).err);
}

TEST_F(ZrkioInfo, TellsTheLayersOfVectorFiles) {
  const std::string path = SharedDataDir() + "/vector/nc.shp";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample data";
  const AnyJson layer = AnyJson::parse(Run({"info", "--json", path}).out)[0]["layers"][0];
  EXPECT_EQ("nc", layer["name"]);
  EXPECT_EQ(100, layer["features"]);
  EXPECT_EQ(4267, layer["system"]["epsg"]);
  EXPECT_NEAR(-84.3238525390625, layer["extent"]["west"].get<double>(), 1e-9);
}

TEST_F(ZrkioInfo, BadUsageEndsWithTwo) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"info"}, {"nonsense"}, {"info", "--nonsense", "a"}}) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(2, result.exitStatus);
    EXPECT_EQ(0u, result.err.find("zrkio: "));
    EXPECT_EQ("", result.out);
  }
}

TEST_F(ZrkioInfo, HelpAndVersionGoToStandardOutput) {
  const ProgramResult version = Run({"--version"});
  EXPECT_EQ(0, version.exitStatus);
  EXPECT_EQ(0u, version.out.find("zrkio "));
  EXPECT_NE(std::string::npos, version.out.find("GDAL"));
  const ProgramResult help = Run({"view", "--help"});
  EXPECT_EQ(0, help.exitStatus);
  EXPECT_NE(std::string::npos, help.out.find("--max-size"));
}

TEST_F(ZrkioInfo, ListsEveryFormat) {
  const ProgramResult text = Run({"formats"});
  EXPECT_EQ(0, text.exitStatus);
  EXPECT_NE(std::string::npos, text.out.find("0x3EF"));
  const AnyJson json = AnyJson::parse(Run({"formats", "--json"}).out);
  EXPECT_EQ(24u, json.size());
  const auto find = [&](int id) {
    return *std::find_if(json.begin(), json.end(), [id](const AnyJson& format) { return format["id"] == id; });
  };
  EXPECT_EQ(true, find(0x68)["canRead"]);
  EXPECT_EQ("", find(0x6E)["extensions"]);
}

}  // namespace
