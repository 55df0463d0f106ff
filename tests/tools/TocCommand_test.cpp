// zrkio toc, and the picture that zrkio view makes of a table of contents, run as a program. The tables are built here,
// so each frame's state and each coloured cell is known beforehand.

#include "AnyJson.h"
#include "PngReader.h"
#include "Program.h"
#include "TocBuilder.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::array<int, 3> kWhite = {255, 255, 255}, kGrey = {200, 200, 200}, kGreen = {60, 150, 70},
                             kRed = {205, 60, 50}, kDark = {40, 40, 40};

std::array<int, 3> ColourAt(const DecodedPng& image, int x, int y) {
  return {image.At(x, y, 0), image.At(x, y, 1), image.At(x, y, 2)};
}

class ZrkioToc : public Zrkio {
 protected:
  static TocBoundary Grid(double west, double east, double south, double north, int rows, int columns) {
    TocBoundary boundary;
    boundary.west = west;
    boundary.east = east;
    boundary.south = south;
    boundary.north = north;
    boundary.rows = rows;
    boundary.columns = columns;
    return boundary;
  }
  void WriteFrame(const std::string& name) {
    const std::filesystem::path path = folder_.Path(name);
    std::filesystem::create_directories(path.parent_path());
    folder_.Write(name, "frame");
  }
  /// A product of 2 x 2 frames, of which one lies under its own name, one under another letter case, one is not there,
  /// and one is not listed; and a rectangle of another product without frames.
  std::string WriteProduct() {
    WriteFrame("ONC/00000001.ON2");
    WriteFrame("tpc/00000002.on2");
    TocBuilder builder = TocBuilder().Boundary(Grid(0, 20, 0, 10, 2, 2));
    TocBoundary other = Grid(30, 40, 0, 10, 1, 1);
    other.product = "CIB";
    other.scale = "5M";
    builder.Boundary(other);
    builder.Frame(0, 0, 0, "./ONC/", "00000001.ON2").Frame(0, 1, 0, "./TPC/", "00000002.ON2");
    return Write("A.TOC", builder.Frame(0, 1, 1, "./ONC/", "00000003.ON2").Build());
  }
  AnyJson Tell(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"toc", "--json"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return AnyJson::parse(Run(all).out)[0];
  }
  DecodedPng View(const std::string& path, const std::string& maxSize) {
    const ProgramResult result = Run({"view", path, "-o", folder_.Path("a.png"), "--max-size", maxSize});
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return DecodePng(folder_.Path("a.png"));
  }
};

TEST_F(ZrkioToc, TellsBoundariesAndHowManyFramesAreThere) {
  const ProgramResult result = Run({"toc", WriteProduct()});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ("", result.err);
  EXPECT_EQ(folder_.Path("A.TOC") +
                "\n"
                "  frames      3 listed, 2 there, 1 missing\n"
                "  boundary 0  CADRG, scale 1:1,000,000, zone 2\n"
                "  made        by DMAAC, compressed 55:1\n"
                "  grid        2 x 2 frames, rows by columns\n"
                "  frames      3 listed, 2 there, 1 missing\n"
                "  upper left  0.0000000 E, 10.0000000 N\n"
                "  upper right 20.0000000 E, 10.0000000 N\n"
                "  lower right 20.0000000 E, 0.0000000 N\n"
                "  lower left  0.0000000 E, 0.0000000 N\n"
                "  boundary 1  CIB, scale 5M, zone 2\n"
                "  made        by DMAAC, compressed 55:1\n"
                "  grid        1 x 1 frames, rows by columns\n"
                "  frames      0 listed, 0 there, 0 missing\n"
                "  upper left  30.0000000 E, 10.0000000 N\n"
                "  upper right 40.0000000 E, 10.0000000 N\n"
                "  lower right 40.0000000 E, 0.0000000 N\n"
                "  lower left  30.0000000 E, 0.0000000 N\n",
            result.out);
}

TEST_F(ZrkioToc, ListsFramesWithPathsThatOpen) {
  const ProgramResult result = Run({"toc", "--frames", WriteProduct()});
  const std::string folder = folder_.Path() + "/";
  EXPECT_THAT(result.out, HasSubstr("  boundary 0, row 0, column 0: there    " + folder +
                                    "ONC/00000001.ON2  from ./ONC/00000001.ON2\n"
                                    "  boundary 0, row 1, column 0: there    " +
                                    folder +
                                    "tpc/00000002.on2  from ./TPC/00000002.ON2\n"
                                    "  boundary 0, row 1, column 1: missing  " +
                                    folder + "ONC/00000003.ON2  from ./ONC/00000003.ON2\n"));
}

TEST_F(ZrkioToc, ListsOnlyMissingFrames) {
  const ProgramResult result = Run({"toc", "--missing", WriteProduct()});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.out, HasSubstr("column 1: missing  "));
  EXPECT_THAT(result.out, Not(HasSubstr("column 0: there")));
  EXPECT_EQ(2, Run({"toc", "--missing", "--frames", folder_.Path("A.TOC")}).exitStatus);
}

TEST_F(ZrkioToc, TellsMachinesTheSame) {
  const AnyJson json = Tell({"--frames", WriteProduct()});
  EXPECT_EQ(4, json["productDataType"]);
  EXPECT_EQ(AnyJson::parse(R"({"listed": 3, "there": 2, "missing": 1, "outside": 0})"), json["frames"]);
  ASSERT_EQ(2u, json["boundaries"].size());
  const AnyJson& first = json["boundaries"][0];
  EXPECT_EQ(AnyJson::parse(R"({"number": 0, "product": "CADRG", "scale": "1:1,000,000", "zone": "2",
    "compression": "55:1", "producer": "DMAAC", "lonLat": [[0.0, 10.0], [20.0, 10.0], [20.0, 0.0], [0.0, 0.0]],
    "resolution": [140.25, 150.5], "interval": [0.00178, 0.00135], "rows": 2, "columns": 2,
    "frames": {"listed": 3, "there": 2, "missing": 1, "outside": 0}})"),
            first);
  ASSERT_EQ(3u, json["list"].size());
  EXPECT_EQ((AnyJson{{"boundary", 0},
                     {"row", 1},
                     {"column", 0},
                     {"state", "there"},
                     {"path", folder_.Path("tpc/00000002.on2")},
                     {"stored", "./TPC/00000002.ON2"}}),
            json["list"][1]);
  EXPECT_FALSE(Tell({folder_.Path("A.TOC")}).contains("list"));
  EXPECT_EQ(1u, Tell({"--missing", folder_.Path("A.TOC")})["list"].size());
}

TEST_F(ZrkioToc, FramesOutsideTheFolderAreNotLookedForUnlessAsked) {
  WriteFrame("other/A.ON2");
  std::filesystem::create_directory(folder_.Path("maps"));
  const std::string path = Write("maps/A.TOC", TocBuilder().Boundary().Frame(0, 0, 0, "./../other/", "A.ON2").Build());
  EXPECT_THAT(Run({"toc", "--missing", path}).out, HasSubstr("outside  (not looked for)  from ./../other/A.ON2"));
  const AnyJson json = Tell({"--frames", path});
  EXPECT_EQ(1, json["frames"]["outside"]);
  EXPECT_TRUE(json["list"][0]["path"].is_null());
  const AnyJson followed = Tell({"--frames", "--anywhere", path});
  EXPECT_EQ(1, followed["frames"]["there"]);
  EXPECT_EQ(folder_.Path("maps/../other/A.ON2"), followed["list"][0]["path"]);
}

TEST_F(ZrkioToc, NamesOfStrangersAreShownPrintable) {
  TocBoundary boundary;
  boundary.product = "\033[2J!";
  boundary.zone = "\n";
  const std::string path =
      Write("A.TOC", TocBuilder().Boundary(boundary).Frame(0, 0, 0, "./\033[H/", "A\r\n\tB.ON2").Build());
  const ProgramResult result = Run({"toc", "--frames", path});
  EXPECT_THAT(result.out, HasSubstr("?[2J!, scale 1:1,000,000, zone ?\n"));
  EXPECT_THAT(result.out, HasSubstr("from ./?[H/A???B.ON2"));
  EXPECT_EQ(std::string::npos, result.out.find_first_of("\033\r\t"));
}

TEST_F(ZrkioToc, TablesThatCountFromOneHaveTheirFramesInTheirBoundaries) {
  WriteFrame("A.ON2");
  const std::string path = Write("A.TOC", TocBuilder()
                                              .Boundary(Grid(0, 20, 0, 10, 1, 1))
                                              .Boundary(Grid(30, 40, 0, 10, 1, 1))
                                              .Frame(2, 1, 1, "./", "A.ON2")
                                              .Build());
  const AnyJson boundaries = Tell({path})["boundaries"];
  EXPECT_EQ(0, boundaries[0]["frames"]["listed"]);
  EXPECT_EQ(1, boundaries[0]["number"]);
  EXPECT_EQ(1, boundaries[1]["frames"]["there"]);
  EXPECT_EQ(2, boundaries[1]["number"]);
}

TEST_F(ZrkioToc, ABadFileLeavesTheOthersTheirTurn) {
  const std::string bad = Write("bad.toc", BmpBuilder().Build()), good = WriteProduct();
  const ProgramResult result = Run({"toc", bad, folder_.Path("none.toc"), good});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + bad + ": not a NITF file, as tables of contents have to be\n" +
                "zrkio: " + folder_.Path("none.toc") + ": can't be opened (No such file or directory)\n",
            result.err);
  EXPECT_THAT(result.out, StartsWith(good + "\n"));
  const AnyJson json = AnyJson::parse(Run({"toc", "--json", bad, good}).out);
  ASSERT_EQ(2u, json.size());
  EXPECT_EQ("not a NITF file, as tables of contents have to be", json[0]["error"]);
  EXPECT_EQ(3, json[1]["frames"]["listed"]);
  std::vector<unsigned char> bytes = TocBuilder().Boundary().Build();
  bytes.resize(bytes.size() / 2);
  const std::string cut = Write("cut.toc", bytes);
  EXPECT_EQ("zrkio: " + cut + ": not a table of contents, or damaged\n", Run({"toc", cut}).err);
}

TEST_F(ZrkioToc, TheViewShowsFramesThatAreThereAndMissing) {
  const std::string path = WriteProduct();
  const ProgramResult result = Run({"view", path, "-o", folder_.Path("a.png"), "--max-size", "80"});
  EXPECT_EQ(folder_.Path("a.png") + ": 80 x 20 pixels\n", result.err);
  // Two pixels a degree: cells of 20 x 10 pixels. Rows of frames are counted from the south.
  const DecodedPng image = DecodePng(folder_.Path("a.png"));
  ASSERT_EQ(3, image.channels);
  EXPECT_EQ(kGreen, ColourAt(image, 10, 5));
  EXPECT_EQ(kRed, ColourAt(image, 30, 5));
  EXPECT_EQ(kGreen, ColourAt(image, 10, 15));
  EXPECT_EQ(kGrey, ColourAt(image, 30, 15));
  EXPECT_EQ(kWhite, ColourAt(image, 50, 10));
  EXPECT_EQ(kGrey, ColourAt(image, 70, 10));
  EXPECT_EQ(kDark, ColourAt(image, 0, 0));
  EXPECT_EQ(kDark, ColourAt(image, 19, 5));
}

TEST_F(ZrkioToc, TheViewCountsRowsFromTheNorthInTablesThatCountFromOne) {
  WriteFrame("A.ON2");
  const TocBuilder builder = TocBuilder().Boundary(Grid(0, 20, 0, 20, 2, 2)).Frame(1, 1, 2, "./", "A.ON2");
  const DecodedPng image = View(Write("A.TOC", builder.Build()), "40");
  EXPECT_EQ(kGreen, ColourAt(image, 30, 10));
  EXPECT_EQ(kGrey, ColourAt(image, 10, 10));
  EXPECT_EQ(kGrey, ColourAt(image, 30, 30));
}

TEST_F(ZrkioToc, TheViewLaysSmallerRectanglesOverLargerOnes) {
  WriteFrame("A.ON2");
  TocBuilder builder = TocBuilder().Boundary(Grid(10, 20, 10, 20, 1, 1)).Boundary(Grid(0, 40, 0, 40, 1, 1));
  builder.Frame(0, 0, 0, "./", "A.ON2").Frame(1, 0, 0, "./", "B.ON2");
  const DecodedPng image = View(Write("A.TOC", builder.Build()), "40");
  EXPECT_EQ(kGreen, ColourAt(image, 15, 25));
  EXPECT_EQ(kRed, ColourAt(image, 30, 30));
}

TEST_F(ZrkioToc, TheViewDrawsARectangleAcrossTheDateLineInOnePiece) {
  const TocBuilder builder = TocBuilder().Boundary(Grid(170, -170, 0, 10, 1, 1)).Frame(0, 0, 0, "./", "A.ON2");
  const DecodedPng image = View(Write("A.TOC", builder.Build()), "40");
  EXPECT_EQ(40, image.width);
  EXPECT_EQ(20, image.height);
  EXPECT_EQ(kRed, ColourAt(image, 20, 10));
}

TEST_F(ZrkioToc, TheViewLeavesOutWhatHasNoPlace) {
  TocBuilder builder = TocBuilder().Boundary(Grid(0, 20, 0, 10, 1, 1)).Boundary(Grid(5, 5, 5, 5, 1, 1));
  builder.Boundary(Grid(NAN, 1, 0, 1, 1, 1))
      .Boundary(Grid(1e300, 2e300, 0, 1, 1, 1))
      .Boundary(Grid(0, 1, -91, 1, 1, 1));
  const DecodedPng image = View(Write("A.TOC", builder.Build()), "40");
  EXPECT_EQ(40, image.width);
  EXPECT_EQ(20, image.height);
  const std::string path = Write("B.TOC", TocBuilder().Boundary(Grid(5, 5, 5, 5, 1, 1)).Build());
  const ProgramResult result = Run({"view", path, "-o", folder_.Path("b.png")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": no boundary rectangle has a place\n", result.err);
}

TEST_F(ZrkioToc, TheViewIgnoresFramesOutsideTheirGrid) {
  TocBuilder builder = TocBuilder().Boundary(Grid(0, 20, 0, 20, 1, 1)).Boundary(Grid(40, 60, 0, 20, -5, 0));
  builder.Frame(0, 1, 0, "./", "A.ON2").Frame(0, 0, 65535, "./", "B.ON2").Frame(1, 0, 0, "./", "C.ON2");
  const DecodedPng image = View(Write("A.TOC", builder.Frame(9, 0, 0, "./", "D.ON2").Build()), "60");
  EXPECT_EQ(kGrey, ColourAt(image, 10, 10));
  EXPECT_EQ(kGrey, ColourAt(image, 50, 10));
}

TEST_F(ZrkioToc, TheViewKnowsATableByItsNameOrByWhatItHolds) {
  const std::vector<unsigned char> bytes = TocBuilder().Boundary().Build();
  for (const char* name : {"a.Toc", "contents", "a.bmp"}) EXPECT_EQ(64, View(Write(name, bytes), "64").width) << name;
  const std::string path = Write("b.tOC", BmpBuilder().Build());
  const ProgramResult result = Run({"view", path, "-o", folder_.Path("b.png")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": not a NITF file, as tables of contents have to be\n", result.err);
}

TEST_F(ZrkioToc, TheViewOfATableTakesNeitherBandsNorHillshade) {
  const std::string path = WriteProduct();
  const ProgramResult result = Run({"view", path, "--bands", "1", "-o", folder_.Path("a.png")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": a table of contents has no bands\n", result.err);
  EXPECT_EQ("zrkio: " + path + ": a table of contents has no heights\n",
            Run({"view", path, "--hillshade", "-o", folder_.Path("a.png")}).err);
  EXPECT_EQ("zrkio: " + path + ": a table of contents has no pixels for a window\n",
            Run({"view", path, "--window", "0,1,0,1", "-o", folder_.Path("a.png")}).err);
  EXPECT_FALSE(ListFiles().contains("a.png"));
}

TEST_F(ZrkioToc, TheViewIsNeverLargerThanItsLimit) {
  EXPECT_EQ(8192, View(Write("A.TOC", TocBuilder().Boundary(Grid(0, 200, 0, 1, 1, 1)).Build()), "100000").width);
}

}  // namespace
