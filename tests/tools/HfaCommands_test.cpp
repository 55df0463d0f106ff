// The commands of the program on HFA files. Samples are worked out by the builder's formula and places by hand; GDAL
// tells what is in the files that are written.

#include "AnyJson.h"
#include "ConvertProgram.h"
#include "GdalOverview.h"
#include "HfaBuilder.h"
#include "Oracle.h"
#include "PngReader.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

using testing::HasSubstr;
using testing::Not;

class ZrkioHfa : public ZrkioConversion {
 protected:
  std::string WriteHfa(const HfaBuilder& file, const char* name = "a.img") { return Write(name, file.Build()); }
  std::string Out(const char* name) const { return folder_.Path(name); }
  /// Pixels of half a degree by a quarter, from 10 degrees east and 50 degrees north on.
  static HfaBuilder Placed() { return HfaBuilder().Place(10.0, 0.5, 50.0, 0.25).Epsg(4326); }
  /// The bytes of a window at a level as the formula has them.
  static Bytes SamplesOf(int layer, const std::array<int, 4>& window, int level = 0) {
    Bytes samples;
    const auto [x0, x1, y0, y1] = window;
    for (int y = y0; y + (1 << level) <= y1 + 1; y += 1 << level) {
      for (int x = x0; x + (1 << level) <= x1 + 1; x += 1 << level)
        samples.push_back(static_cast<unsigned char>(HfaBuilder::Value(x, y, layer)));
    }
    return samples;
  }
  /// What a command that fails leaves of its output and says of the file.
  void ExpectNothing(const std::vector<std::string>& arguments, const std::string& path, const std::string& reason) {
    EXPECT_THAT(Refuse(arguments), testing::StartsWith("zrkio: " + path + ": " + reason)) << arguments[0];
    EXPECT_EQ((Names{"a.img"}), ListFiles()) << arguments[0];
  }
  /// The commands that write pixels, and that have to fail.
  void ExpectNoOutput(const std::string& path, const std::string& reason) {
    ExpectNothing({"view", path, "-o", Out("a.png")}, path, reason);
    ExpectNothing({"read", path, "-o", Out("a.raw")}, path, reason);
    ExpectNothing({"convert", path, Out("a.tif")}, path, reason);
    ExpectNothing({"levels", path}, path, reason);
  }
};

TEST_F(ZrkioHfa, InfoTellsBlocksOverviewsCompressionAndClasses) {
  const std::string path = WriteHfa(HfaBuilder().Size(200, 160).Option("COMPRESSED=YES").Overviews({2, 4}).Classes(3));
  const ProgramResult result = Run({"info", path});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  for (const char* line : {"  format      HFA (0x", "  size        200 x 160 pixels, 1 channel\n",
                           "  blocks      64 x 64, compression run lengths\n", "  overviews   levels 1 2\n",
                           "  classes     3, with colours\n", "  Layer_1\n    data type PINT08, "}) {
    EXPECT_THAT(result.out, HasSubstr(line));
  }
  EXPECT_THAT(Run({"info", WriteHfa(HfaBuilder())}).out, HasSubstr("  blocks      64 x 64, compression none\n"));
}

TEST_F(ZrkioHfa, InfoTellsTheSameToMachines) {
  const AnyJson json =
      Describe(WriteHfa(HfaBuilder().Size(200, 160).Option("COMPRESSED=YES").Overviews({2, 4}).Classes(3)));
  EXPECT_EQ("HFA", json["format"]);
  EXPECT_EQ(AnyJson::parse(R"({"width": 64, "height": 64})"), json["blocks"]);
  EXPECT_EQ("run lengths", json["compression"]);
  EXPECT_EQ(AnyJson::parse("[1, 2]"), json["overviews"]);
  EXPECT_EQ(AnyJson::parse(R"([{"number": 0, "colour": [0, 0, 255]}, {"number": 1, "colour": [1, 2, 254]},
                               {"number": 2, "colour": [2, 4, 253]}])"),
            json["classes"]);
  const AnyJson plain = Describe(WriteHfa(HfaBuilder()));
  EXPECT_EQ("none", plain["compression"]);
  EXPECT_EQ(AnyJson::array(), plain["overviews"]);
  EXPECT_EQ(AnyJson::array(), plain["classes"]);
}

TEST_F(ZrkioHfa, InfoAndBoundsTellTheCorners) {
  const std::string path = WriteHfa(Placed());
  const AnyJson corners = AnyJson::parse("[[10.0, 50.0], [20.0, 50.0], [20.0, 46.25], [10.0, 46.25]]");
  const AnyJson place = Describe(path)["georeference"];
  EXPECT_EQ(corners, place["corners"]);
  EXPECT_EQ(4326, place["system"]["epsg"]);
  const AnyJson bounds = AnyJson::parse(Run({"bounds", "--json", path}).out)[0];
  EXPECT_EQ("dataset", bounds["source"]);
  EXPECT_EQ(corners, bounds["corners"]);
  EXPECT_EQ(corners, bounds["lonLat"]);
  EXPECT_THAT(Run({"bounds", path}).out, HasSubstr("  lower right 20, 46.25 (20.0000000 E, 46.2500000 N)\n"));
}

TEST_F(ZrkioHfa, WithoutAPlaceThereAreNoCorners) {
  const ProgramResult result = Run({"bounds", WriteHfa(HfaBuilder())});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_THAT(result.out, HasSubstr("  place       none, pixel coordinates only\n"));
}

TEST_F(ZrkioHfa, ViewShowsTheSamplesOfThreeLayersAsColours) {
  const std::string path = WriteHfa(HfaBuilder().Size(70, 66).Layers(3));
  EXPECT_EQ(0, Run({"view", path, "-o", Out("a.png")}).exitStatus);
  const DecodedPng image = DecodePng(Out("a.png"));
  ASSERT_EQ(3, image.channels);
  ASSERT_EQ(70, image.width);
  for (int y = 0; y < 66; ++y) {
    for (int x = 0; x < 70; ++x) {
      for (int c = 0; c < 3; ++c) ASSERT_EQ(HfaBuilder::Value(x, y, c), image.At(x, y, c)) << x << ", " << y;
    }
  }
}

TEST_F(ZrkioHfa, ViewShowsClassesInTheirColours) {
  // Samples are 0 to 119, and those from 100 on have no class.
  const std::string path = WriteHfa(HfaBuilder().Size(70, 66).Classes(100));
  EXPECT_EQ(0, Run({"view", path, "-o", Out("a.png")}).exitStatus);
  const DecodedPng image = DecodePng(Out("a.png"));
  ASSERT_EQ(3, image.channels);
  for (int y = 0; y < 66; ++y) {
    for (int x = 0; x < 70; ++x) {
      const int number = HfaBuilder::Value(x, y, 0);
      const bool isClass = number < 100;
      ASSERT_EQ(isClass ? number : 0, image.At(x, y, 0)) << x << ", " << y;
      ASSERT_EQ(isClass ? 2 * number : 0, image.At(x, y, 1)) << x << ", " << y;
      ASSERT_EQ(isClass ? 255 - number : 0, image.At(x, y, 2)) << x << ", " << y;
    }
  }
}

TEST_F(ZrkioHfa, ViewShowsMeansOfTheColoursAndNotOfTheNumbers) {
  // Samples are 0 to 119, in 16 bits, and half of them have no class.
  const std::string path = WriteHfa(HfaBuilder().Size(300, 280).Type(GDT_UInt16).Classes(60));
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(0, Run({"view", path, "--max-size", "150", "-o", Out("a.png")}).exitStatus);
  const DecodedPng image = DecodePng(Out("a.png"));
  ASSERT_EQ(150, image.width);
  const auto blue = [](int x, int y) {
    const int number = HfaBuilder::Value(x, y, 0);
    return number < 60 ? 255 - number : 0;
  };
  for (int y = 0; y < 140; ++y) {
    for (int x = 0; x < 150; ++x) {
      const int left = 2 * x, top = 2 * y;
      const double mean = (blue(left, top) + blue(left + 1, top) + blue(left, top + 1) + blue(left + 1, top + 1)) / 4.0;
      ASSERT_NEAR(mean, image.At(x, y, 2), 0.51) << x << ", " << y;
    }
  }
}

TEST_F(ZrkioHfa, ViewShowsTheNumbersOfClassesWhereTheirBandIsAskedFor) {
  const std::string path = WriteHfa(HfaBuilder().Classes(100));
  EXPECT_EQ(0, Run({"view", path, "--bands", "1", "-o", Out("a.png")}).exitStatus);
  const DecodedPng image = DecodePng(Out("a.png"));
  ASSERT_EQ(1, image.channels);
  EXPECT_EQ(HfaBuilder::Value(7, 5, 0), image.At(7, 5, 0));
}

TEST_F(ZrkioHfa, ReadGivesSamplesOfAWindowAndALevel) {
  for (const char* const compressed : {"COMPRESSED=NO", "COMPRESSED=YES"}) {
    const std::string path = WriteHfa(HfaBuilder().Size(150, 140).Layers(2).Option(compressed)), raw = Out("a.raw");
    ASSERT_EQ(0, Run({"read", path, "--band", "2", "--window", "30,131,20,139", "-o", raw}).exitStatus);
    EXPECT_EQ(SamplesOf(1, {30, 131, 20, 139}), ReadBytes(raw));
    ASSERT_EQ(0, Run({"read", path, "--level", "2", "--window", "2,149,1,139", "-o", raw}).exitStatus);
    EXPECT_EQ(SamplesOf(0, {2, 149, 1, 139}, 2), ReadBytes(raw));
  }
}

TEST_F(ZrkioHfa, ReadGivesSamplesInTheirOwnType) {
  const std::string path = WriteHfa(HfaBuilder().Type(GDT_Float32));
  const ProgramResult result = Run({"read", path, "--window", "3,4,2,2", "-o", "-"});
  EXPECT_EQ("standard output: 2 x 1 samples REAL32\n", result.err);
  std::array<float, 2> samples{};
  ASSERT_EQ(sizeof samples, result.out.size());
  std::memcpy(samples.data(), result.out.data(), sizeof samples);
  EXPECT_EQ(static_cast<float>(HfaBuilder::Value(4, 2, 0)), samples[1]);
}

TEST_F(ZrkioHfa, ReadTakesALevelFromAnOverviewThatIsExactlyThatLevel) {
  const std::string path = WriteHfa(HfaBuilder().Size(200, 160).Overviews({2})), raw = Out("a.raw");
  ASSERT_EQ(0, Run({"read", path, "--level", "1", "-o", raw}).exitStatus);
  const GdalOverview half(path, 0);
  ASSERT_EQ(100, half.width);
  EXPECT_EQ(half.bytes, ReadBytes(raw));
  EXPECT_NE(SamplesOf(0, {0, 199, 0, 159}, 1), ReadBytes(raw)) << "overviews are means";
  ASSERT_EQ(0, Run({"read", path, "--level", "2", "-o", raw}).exitStatus);
  EXPECT_EQ(SamplesOf(0, {0, 199, 0, 159}, 2), ReadBytes(raw)) << "no overview is level 2";
}

TEST_F(ZrkioHfa, LevelsAreBuiltAndUsed) {
  const std::string path = WriteHfa(HfaBuilder().Size(600, 500));
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ((Names{"a.img", "a.xld"}), ListFiles());
  EXPECT_EQ(Out("a.xld") + ": whole, levels and statistics\n", Run({"levels", "--check", path}).err);
  EXPECT_EQ("full", Describe(path)["levelFile"]["kind"]);
  const ProgramResult level = Run({"read", path, "--level", "1", "--window", "100,163,200,239", "-o", "-"});
  ExpectMeans(level, {100, 163, 200, 239}, &HfaBuilder::Value);
  const ProgramResult image =
      Run({"read", path, "--level", "1", "--no-levels", "--window", "100,163,200,239", "-o", "-"});
  EXPECT_EQ(SamplesOf(0, {100, 163, 200, 239}, 1), Bytes(image.out.begin(), image.out.end()));
}

TEST_F(ZrkioHfa, LevelsOfAThematicLayerHaveClassesOfTheImage) {
  const std::string path = WriteHfa(HfaBuilder().Size(600, 500).Classes(120));
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  const ProgramResult level = Run({"read", path, "--level", "1", "--window", "100,163,200,239", "-o", "-"});
  ASSERT_EQ(32u * 20u, level.out.size()) << level.err;
  for (int i = 0; i < 32 * 20; ++i) {
    const int left = 100 + 2 * (i % 32), top = 200 + 2 * (i / 32);
    const std::array<int, 4> around = {HfaBuilder::Value(left, top, 0), HfaBuilder::Value(left + 1, top, 0),
                                       HfaBuilder::Value(left, top + 1, 0), HfaBuilder::Value(left + 1, top + 1, 0)};
    ASSERT_THAT(around, testing::Contains(static_cast<unsigned char>(level.out[static_cast<std::size_t>(i)]))) << i;
  }
}

TEST_F(ZrkioHfa, ClassesWithoutColoursAreGrey) {
  const std::string path = WriteHfa(HfaBuilder().Size(70, 66).Thematic());
  EXPECT_EQ(0, Run({"view", path, "-o", Out("a.png")}).exitStatus);
  ASSERT_EQ(0, Run({"convert", path, Out("a.tif")}).exitStatus);
  const DecodedPng image = DecodePng(Out("a.png"));
  ASSERT_EQ(1, image.channels);
  const ProgramResult samples = Run({"read", Out("a.tif"), "-o", "-"});
  ASSERT_EQ(70u * 66u, samples.out.size());
  for (int i = 0; i < 70 * 66; ++i) {
    const int x = i % 70, y = i / 70, number = HfaBuilder::Value(x, y, 0);
    ASSERT_EQ(number, image.At(x, y, 0)) << x << ", " << y;
    ASSERT_EQ(number, static_cast<unsigned char>(samples.out[static_cast<std::size_t>(i)])) << x << ", " << y;
  }
}

TEST_F(ZrkioHfa, LevelsOfMeansOfClassesAreToldAndRebuilt) {
  const std::string path = WriteHfa(HfaBuilder().Size(600, 500).Classes(120));
  const std::vector<std::string> read = {"read", path, "--level", "1", "-o", "-"};
  const ProgramResult alone = Run(read);
  XRSFile file;
  XString err;
  ASSERT_EQ(1, XRSFileIO::LoadFileHFA(&file, path, err, 0, kLevelNone, nullptr));
  ASSERT_EQ(1, XRSFileIO::CreateFileXLD(&file, path, err, kLevelBuild, nullptr)) << err.GetText();
  const ProgramResult stale = Run(read);
  EXPECT_THAT(stale.err, HasSubstr(" has means of class numbers and isn't used; zrkio levels rebuilds it\n"));
  EXPECT_EQ(alone.out, stale.out);
  EXPECT_NE(0, Run({"levels", "--check", path}).exitStatus);
  EXPECT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(0, Run({"levels", "--check", path}).exitStatus);
  EXPECT_THAT(Run(read).err, Not(HasSubstr("isn't used")));
}

TEST_F(ZrkioHfa, ConvertKeepsSamplesNullValueAndPlace) {
  const std::string path = WriteHfa(Placed().Size(150, 140).Null(17.0).Option("COMPRESSED=YES"));
  ASSERT_EQ(0, Run({"convert", path, Out("a.tif")}).exitStatus);
  const StoredImage image = ReadStoredWithGdal(Out("a.tif"));
  ASSERT_EQ(1u, image.planes.size());
  EXPECT_EQ(SamplesOf(0, {0, 149, 0, 139}), image.planes[0].bytes);
  EXPECT_EQ(17.0, image.planes[0].nullValue);
  EXPECT_EQ((std::array<double, 6>{10.0, 0.5, 0.0, 50.0, 0.0, -0.25}), image.transform);
  EXPECT_EQ(4326, image.epsg);
}

TEST_F(ZrkioHfa, ConvertKeepsSignedBytes) {
  const std::string path = WriteHfa(HfaBuilder().Option("PIXELTYPE=SIGNEDBYTE"));
  ASSERT_EQ(0, Run({"convert", path, Out("a.tif")}).exitStatus);
  const StoredImage image = ReadStoredWithGdal(Out("a.tif"));
  ASSERT_EQ(1u, image.planes.size());
  EXPECT_TRUE(image.planes[0].hasSignedBytes);
  EXPECT_EQ(SamplesOf(0, {0, 19, 0, 14}), image.planes[0].bytes);
}

/// The colours of a file as GDAL reads them.
std::vector<std::array<int, 3>> ColoursByGdal(const std::string& path) {
  GDALRegister_GTiff();
  const char* const drivers[] = {"GTiff", nullptr};
  GDALDataset* const dataset = GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers);
  const GDALColorTable* const table = dataset ? dataset->GetRasterBand(1)->GetColorTable() : nullptr;
  std::vector<std::array<int, 3>> colours;
  for (int i = 0; table && i < table->GetColorEntryCount(); ++i) {
    const GDALColorEntry& entry = *table->GetColorEntry(i);
    colours.push_back({entry.c1, entry.c2, entry.c3});
  }
  GDALClose(dataset);
  return colours;
}

TEST_F(ZrkioHfa, ConvertKeepsClassesAndTheirColours) {
  const std::string path = WriteHfa(HfaBuilder().Size(150, 140).Classes(100));
  for (const auto& more : std::vector<std::vector<std::string>>{{}, {"--bands", "1"}}) {
    std::vector<std::string> arguments = {"convert", path, Out("a.tif")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ASSERT_EQ(0, Run(arguments).exitStatus);
    const StoredImage image = ReadStoredWithGdal(Out("a.tif"));
    ASSERT_EQ(1u, image.planes.size());
    EXPECT_EQ(SamplesOf(0, {0, 149, 0, 139}), image.planes[0].bytes);
    const auto colours = ColoursByGdal(Out("a.tif"));
    ASSERT_EQ(256u, colours.size());
    for (int i = 0; i < 256; ++i) {
      const bool isClass = i < 100;
      ASSERT_EQ((std::array<int, 3>{isClass ? i : 0, isClass ? 2 * i : 0, isClass ? 255 - i : 0}),
                colours[static_cast<std::size_t>(i)])
          << i;
    }
  }
}

TEST_F(ZrkioHfa, ConvertKeepsTheSamplesOfWideClasses) {
  for (const GDALDataType type : {GDT_UInt16, GDT_Int16, GDT_Int32}) {
    const std::string path = WriteHfa(HfaBuilder().Type(type).Classes(100));
    ASSERT_EQ(0, Run({"convert", path, Out("a.tif")}).exitStatus);
    const StoredImage image = ReadStoredWithGdal(Out("a.tif"));
    ASSERT_EQ(1u, image.planes.size());
    EXPECT_EQ(type, image.planes[0].dataType);
    EXPECT_EQ(ReadStoredWithGdal(path).planes.at(0).bytes, image.planes[0].bytes);
    EXPECT_EQ(type == GDT_UInt16 ? 65536u : 0u, ColoursByGdal(Out("a.tif")).size());
  }
}

TEST_F(ZrkioHfa, ValueTellsTheSampleAtAPlace) {
  const std::string path = WriteHfa(Placed().Layers(2));
  // Column 7 begins at 13.5 degrees east, and row 12 at 47 degrees north.
  const AnyJson json = AnyJson::parse(Run({"value", path, "13.7", "46.9", "--json"}).out);
  ASSERT_EQ(2u, json["channels"].size());
  EXPECT_EQ(7, json["channels"][1]["column"]);
  EXPECT_EQ(12, json["channels"][1]["row"]);
  EXPECT_EQ(HfaBuilder::Value(7, 12, 1), json["channels"][1]["value"]);
}

TEST_F(ZrkioHfa, AFileIsKnownByItsBytes) {
  for (const char* name : {"a.dat", "b", "c.tif"}) {
    const std::string path = WriteHfa(HfaBuilder(), name);
    EXPECT_EQ("HFA", Describe(path)["format"]) << name;
    EXPECT_EQ(SamplesOf(0, {0, 19, 0, 14}), Samples(path, "1")) << name;
  }
}

TEST_F(ZrkioHfa, AFileWithoutItsTreeIsRefused) {
  Bytes bytes = HfaBuilder().Build();
  bytes.resize(20);
  const std::string path = Write("a.img", bytes);
  const std::string reason = "Can't open file : " + path + " : The file is no HFA file, or is damaged";
  ExpectNoOutput(path, reason);
  for (const char* command : {"info", "bounds"}) EXPECT_EQ(Failure(path, reason), Refuse({command, path}));
}

/// The file with its last block, of 4 x 3 blocks, told to lie behind its end.
Bytes WithoutLastBlock() {
  Bytes bytes = HfaBuilder().Size(200, 160).Build();
  // The entry that lists the blocks: its name stands at 24, and the offset of its data at 16. The list stands at 22 in
  // the data, and each block has 14 bytes there, with the offset of the block at 2.
  const std::string name = std::string("RasterDMS") + std::string(55, '\0');
  const auto hit = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
  const auto entry = static_cast<std::size_t>(hit - bytes.begin()) - 24;
  std::size_t data = 0;
  for (std::size_t i = 0; i < 4; ++i) data |= std::size_t{bytes.at(entry + 16 + i)} << 8 * i;
  bytes.at(data + 22 + 11 * 14 + 2 + 3) = 0x7F;
  return bytes;
}

TEST_F(ZrkioHfa, AFileThatLacksABlockLeavesNothingBehind) {
  const std::string path = Write("a.img", WithoutLastBlock());
  ExpectNoOutput(path, "the file doesn't hold all of the block at column 3 and row 2 of blocks\n");
  EXPECT_EQ(0, Run({"info", path}).exitStatus);
  EXPECT_EQ(64u * 64u, Run({"read", path, "--window", "0,63,0,63", "-o", "-"}).out.size());
}

}  // namespace
