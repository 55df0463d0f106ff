// zrkio export, run as a program: maps of L0 and LXY with their bytes, what is refused, and what is left behind.

#include "Jp2Builder.h"
#include "PlacedImage.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class ZrkioExport : public ZrkioPlaced {
 protected:
  std::string Out(const std::string& name = "out.l0") const { return folder_.Path(name); }
  std::string Report() const {
    const std::vector<unsigned char> bytes = ReadBytes(Out("out.l0.info"));
    return {bytes.begin(), bytes.end()};
  }
  /// What a command that has to fail with a status says.
  static std::string Refuse(int status, const std::vector<std::string>& arguments) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(status, result.exitStatus);
    return result.err;
  }
};

TEST_F(ZrkioExport, WritesAnImageWithItsReport) {
  const ProgramResult result = Run({"export", "l0", path_, "-o", Out(), "--srs", "EPSG:32632", "--tile", "64"});
  ASSERT_EQ(0, result.exitStatus) << result.err;
  EXPECT_EQ((std::set<std::string>{"a.bmp", "a.bmw", "out.l0", "out.l0.info"}), ListFiles());
  EXPECT_THAT(Report(), HasSubstr("Image Size : 10, 20\r\nTileSize : 64\r\nPixelSize : 100.000000000000, "
                                  "100.000000000000\r\nBound LLX : 500000.000000000000, -1000.000000000000\r\n"));
  const std::vector<unsigned char> file = ReadBytes(Out());
  ASSERT_EQ(3u * 64 * 64, file.size());
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 10; ++x) {
      const auto place = static_cast<std::size_t>((19 - y) * 64 + x);
      ASSERT_EQ(BmpBuilder::Blue(x, y), file[place]) << x << " " << y;
      ASSERT_EQ(BmpBuilder::Red(x, y), file[2 * 64 * 64 + place]);
    }
  }
}

TEST_F(ZrkioExport, WritesAPartAtAnotherPixelSize) {
  ASSERT_EQ(0, Run({"export", "l0", path_, "-o", Out(), "--srs", "EPSG:32632", "--pixel", "50", "--bounds",
                    "500200,0,500700,600"})
                   .exitStatus);
  EXPECT_THAT(Report(), HasSubstr("Image Size : 10, 12\r\n"));
  EXPECT_EQ(BmpBuilder::Red(2, 9), ReadBytes(Out())[2 * 256 * 256]);
}

TEST_F(ZrkioExport, WritesHeightsOfTheFirstBand) {
  ASSERT_EQ(0, Run({"export", "l0", path_, "-o", Out(), "--srs", "EPSG:32632", "--dem", "--tile", "64"}).exitStatus);
  const std::vector<unsigned char> file = ReadBytes(Out());
  ASSERT_EQ(64u * 64, file.size());
  EXPECT_EQ(BmpBuilder::Red(3, 7), file[7 * 64 + 3]);
}

TEST_F(ZrkioExport, WarpsInputsToTheSystemOfTheMap) {
  GiveSystem();
  ASSERT_EQ(0, Run({"export", "l0", path_, "-o", Out(), "--srs", "EPSG:32633"}).exitStatus);
  EXPECT_THAT(Report(), HasSubstr("UTM zone 33N"));
}

// The picture in front is opaque in its left half, and 1 is its largest opacity.
TEST_F(ZrkioExport, LetsALayerShowThroughWhereTheOneInFrontIsClear) {
  const std::vector<unsigned char> definitions = {0, 4, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0,
                                                  2, 0, 2, 0, 0, 0, 3, 0, 3, 0, 1, 0, 0};
  const std::string front = Write("b.jp2", Jp2Builder()
                                               .Size(10, 20)
                                               .Components(4)
                                               .Component(3, 1, false)
                                               .Samples([](int c, int x, int) { return c < 3   ? 200
                                                                                       : x < 5 ? 1
                                                                                               : 0; })
                                               .HeaderBox("cdef", definitions)
                                               .Build());
  folder_.Write("b.j2w", "100\n0\n0\n-100\n500050\n950\n");
  const ProgramResult result = Run({"export", "l0", front, path_, "-o", Out(), "--srs", "EPSG:32632", "--tile", "64"});
  ASSERT_EQ(0, result.exitStatus) << result.err;
  const std::vector<unsigned char> file = ReadBytes(Out());
  for (int y = 0; y < 20; ++y) {
    for (int x = 0; x < 10; ++x) {
      const int blue = x < 5 ? 200 : BmpBuilder::Blue(x, y);
      ASSERT_EQ(blue, file[static_cast<std::size_t>((19 - y) * 64 + x)]) << x << " " << y;
    }
  }
}

TEST_F(ZrkioExport, GivesTheSameBytesForAnyNumberOfWorkers) {
  for (const char* kind : {"l0", "lxy"}) {
    std::vector<std::vector<unsigned char>> made;
    for (const char* workers : {"1", "3"}) {
      const ProgramResult result = Run({"export", kind, path_, "-o", Out(), "--srs", "EPSG:32632", "--tile", "64",
                                        "--bounds", "499000,-2000,503000,2000", "--workers", workers});
      ASSERT_EQ(0, result.exitStatus) << result.err;
      made.push_back(ReadBytes(Out()));
    }
    EXPECT_EQ(made[0], made[1]) << kind;
  }
}

TEST_F(ZrkioExport, WritesATreeDownToTheLevelOfTheInput) {
  const ProgramResult result =
      Run({"export", "lxy", path_, "-o", Out("map.xml"), "--srs", "EPSG:32632", "--tile", "8"});
  ASSERT_EQ(0, result.exitStatus) << result.err;
  // 2,000 metres in 8 pixels, and 100 metres in one of the input.
  EXPECT_EQ((std::set<std::string>{"0", "1", "2", "a.bmp", "a.bmw", "map.xml"}), ListFiles());
  EXPECT_TRUE(std::filesystem::exists(Out("2/002000000003000000003.jpg")));
  ASSERT_EQ(
      0,
      Run({"export", "lxy", path_, "-o", Out("map.xml"), "--srs", "EPSG:32632", "--level", "0", "--dem"}).exitStatus);
  EXPECT_EQ(257u * 257 * 4, std::filesystem::file_size(Out("0/000000000000000000000.dem")));
}

TEST_F(ZrkioExport, RefusesInputsWithoutAPlaceOrASystem) {
  EXPECT_EQ("zrkio: " + Out() + ": " + path_ + ": it names no system; --srs EPSG:n does\n",
            Refuse(1, {"export", "l0", path_, "-o", Out()}));
  std::filesystem::remove(folder_.Path("a.bmw"));
  EXPECT_EQ("zrkio: " + Out() + ": " + path_ + ": it has no place in the world\n",
            Refuse(1, {"export", "l0", path_, "-o", Out(), "--srs", "EPSG:32632"}));
  EXPECT_EQ((std::set<std::string>{"a.bmp"}), ListFiles());
}

TEST_F(ZrkioExport, RefusesAMapInDegrees) {
  EXPECT_EQ("zrkio: " + Out() + ": Invalid spatial reference : must be Map coordinate system\n",
            Refuse(1, {"export", "l0", path_, "-o", Out(), "--srs", "EPSG:4326"}));
  EXPECT_EQ((std::set<std::string>{"a.bmp", "a.bmw"}), ListFiles());
}

TEST_F(ZrkioExport, RefusesToReplaceAnInput) {
  const std::vector<unsigned char> before = ReadBytes(path_);
  for (const char* kind : {"l0", "lxy"}) {
    EXPECT_THAT(Refuse(1, {"export", kind, path_, "-o", path_, "--srs", "EPSG:32632"}), HasSubstr(path_));
  }
  EXPECT_EQ(before, ReadBytes(path_));
}

TEST_F(ZrkioExport, RefusesCommandsThatMakeNoSense) {
  const std::vector<std::vector<std::string>> commands = {
      {"export", "png", path_, "-o", Out()},
      {"export", "l0", path_, "-o", Out(), "--srs", "EPSG:1"},
      {"export", "l0", path_, "-o", Out(), "--pixel", "0"},
      {"export", "l0", path_, "-o", Out(), "--pixel", "nan"},
      {"export", "l0", path_, "-o", Out(), "--bounds", "5,0,1,1"},
      {"export", "l0", path_, "-o", Out(), "--level", "1"},
      {"export", "l0", path_, "-o", Out(), "--tile", "2147483648"},
      {"export", "lxy", path_, "-o", Out(), "--pixel", "1"},
      {"export", "lxy", path_, "-o", Out(), "--level", "28"},
      {"export", "l0", path_},
  };
  for (const auto& command : commands) EXPECT_NE("", Refuse(2, command));
  EXPECT_EQ((std::set<std::string>{"a.bmp", "a.bmw"}), ListFiles());
}

TEST_F(ZrkioExport, LeavesNothingWhereItIsStopped) {
  const std::string path = WriteHuge("huge.bmp", 20000);
  folder_.Write("huge.bmw", "1\n0\n0\n-1\n500000\n0\n");
  const int numInputs = CountFiles();
  ProgramOptions options;
  options.whileRunning = [&](pid_t child) {
    WaitForOutput(numInputs);
    kill(child, SIGINT);
  };
  EXPECT_NE(0, Run({"export", "l0", path, "-o", Out(), "--srs", "EPSG:32632"}, options).exitStatus);
  EXPECT_EQ((std::set<std::string>{"a.bmp", "a.bmw", "huge.bmp", "huge.bmw"}), ListFiles());
}

}  // namespace
