// The commands of the program on NITF images. Samples are worked out by the builder's formula and places by hand; GDAL
// tells what is in the files that are written.

#include "AnyJson.h"
#include "ConvertProgram.h"
#include "Jp2Builder.h"
#include "NitfBuilder.h"
#include "Oracle.h"
#include "PngReader.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

/// Corners from (10, 12) in the upper left to (12, 9) in the lower right, as longitude and latitude. They are centres
/// of pixels, so that 40 columns lie over 2 degrees, and 30 rows over 3.
NitfBuilder PlacedNitf() {
  return NitfBuilder().Size(41, 31).Corners('G', "120000N0100000E120000N0120000E090000N0120000E090000N0100000E");
}

class ZrkioNitf : public ZrkioConversion {
 protected:
  std::string WriteNitf(const NitfBuilder& file, const char* name = "a.ntf") { return Write(name, file.Build()); }
  std::string Out(const char* name) const { return folder_.Path(name); }
  /// The samples of a window at a level as the formula has them, of one byte or of two with the lowest first.
  static Bytes SamplesOf(int band, const std::array<int, 4>& window, int level = 0, int sampleBytes = 1) {
    Bytes samples;
    const auto [x0, x1, y0, y1] = window;
    for (int y = y0; y + (1 << level) <= y1 + 1; y += 1 << level) {
      for (int x = x0; x + (1 << level) <= x1 + 1; x += 1 << level) {
        samples.push_back(static_cast<unsigned char>(NitfBuilder::Value(x, y, band)));
        if (sampleBytes == 2) samples.push_back(0);
      }
    }
    return samples;
  }
  /// Has the commands that write pixels fail for a reason, with nothing left of their output.
  void ExpectNoOutput(const std::string& path, const std::string& reason) {
    const std::vector<std::vector<std::string>> commands = {{"view", path, "-o", Out("a.png")},
                                                            {"read", path, "-o", Out("a.raw")},
                                                            {"convert", path, Out("a.tif")},
                                                            {"levels", path}};
    for (const std::vector<std::string>& arguments : commands) {
      EXPECT_THAT(Refuse(arguments), testing::StartsWith("zrkio: " + path + ": " + reason)) << arguments[0];
      EXPECT_EQ((Names{"a.ntf"}), ListFiles()) << arguments[0];
    }
  }
};

TEST_F(ZrkioNitf, InfoTellsHeadersSegmentsClassificationAndCorners) {
  const std::string path =
      WriteNitf(PlacedNitf().Blocks(16, 8).Title("Harbour").Classification('S', 'C').FurtherSegments(2, 3));
  const ProgramResult result = Run({"info", path});
  EXPECT_EQ(0, result.exitStatus) << result.err;
  for (const char* line : {"  format      NITF image (0x", "  size        41 x 31 pixels, 1 channel\n",
                           "  version     NITF02.10\n  title       Harbour\n", "  image       Image1, MONO, VIS\n",
                           "  blocks      16 x 8, compression NC (none)\n", "  segments    images 3 texts 3\n",
                           "  security    file secret, image confidential\n",
                           "  corners     10.000000 12.000000, 12.000000 12.000000, 12.000000 9.000000, "
                           "10.000000 9.000000\n"}) {
    EXPECT_THAT(result.out, HasSubstr(line));
  }
}

TEST_F(ZrkioNitf, InfoTellsTheSameToMachines) {
  const AnyJson json = Describe(WriteNitf(PlacedNitf().Blocks(16, 8).Classification('S', 'C').FurtherSegments(2, 3)));
  EXPECT_EQ("NITF image", json["format"]);
  EXPECT_EQ("NITF02.10", json["version"]);
  EXPECT_EQ("A title", json["title"]);
  EXPECT_EQ(AnyJson::parse(R"({"id": "Image1", "title": "The image", "representation": "MONO", "category": "VIS"})"),
            json["image"]);
  EXPECT_EQ(AnyJson::parse(R"({"width": 16, "height": 8})"), json["blocks"]);
  EXPECT_EQ("NC", json["compression"]["code"]);
  EXPECT_EQ(AnyJson::parse(R"({"images": 3, "graphics": 0, "labels": 0, "texts": 3, "extensions": 0, "reserved": 0})"),
            json["segments"]);
  EXPECT_EQ(AnyJson::parse(R"({"file": "S", "image": "C"})"), json["classification"]);
  EXPECT_EQ(AnyJson::parse(R"(["10.000000 12.000000", "12.000000 12.000000", "12.000000 9.000000",
                               "10.000000 9.000000"])"),
            json["cornerCoordinates"]);
}

TEST_F(ZrkioNitf, InfoTellsTheCompression) {
  const Bytes codestream = Jp2Builder().Size(90, 70).Tiles(32, 32).BuildCodestream();
  const std::string path = WriteNitf(NitfBuilder().Size(90, 70).Coded("C8", codestream));
  EXPECT_THAT(Run({"info", path}).out, HasSubstr("compression C8 (JPEG 2000)\n"));
  const AnyJson compression = Describe(path)["compression"];
  EXPECT_EQ("C8", compression["code"]);
  EXPECT_EQ("JPEG 2000", compression["name"]);
  EXPECT_EQ("00.0", compression["rate"]);
}

TEST_F(ZrkioNitf, BoundsTellsTheOuterCornersOfThePixels) {
  const std::string path = WriteNitf(PlacedNitf());
  const AnyJson bounds = AnyJson::parse(Run({"bounds", "--json", path}).out)[0];
  EXPECT_EQ("dataset", bounds["source"]);
  const double expected[4][2] = {{9.975, 12.05}, {12.025, 12.05}, {12.025, 8.95}, {9.975, 8.95}};
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t axis = 0; axis < 2; ++axis) {
      EXPECT_NEAR(expected[i][axis], bounds["corners"][i][axis], 1e-9) << i;
      EXPECT_NEAR(expected[i][axis], bounds["lonLat"][i][axis], 1e-9) << i;
    }
  }
  EXPECT_THAT(Run({"bounds", path}).out, HasSubstr("(12.0250000 E, 8.9500000 N)\n"));
  EXPECT_THAT(Run({"bounds", WriteNitf(NitfBuilder())}).out, HasSubstr("  place       none, pixel coordinates only\n"));
}

TEST_F(ZrkioNitf, ViewShowsTheSamplesOfThreeBandsAsColours) {
  for (const char mode : {'B', 'P', 'R', 'S'}) {
    const std::string path =
        WriteNitf(NitfBuilder().Size(70, 66).Bands(3).Blocks(32, 32).Representation("RGB").Mode(mode));
    EXPECT_EQ(0, Run({"view", path, "-o", Out("a.png")}).exitStatus) << mode;
    const DecodedPng image = DecodePng(Out("a.png"));
    ASSERT_EQ(3, image.channels);
    ASSERT_EQ(70, image.width);
    for (int y = 0; y < 66; ++y) {
      for (int x = 0; x < 70; ++x) {
        for (int c = 0; c < 3; ++c) ASSERT_EQ(NitfBuilder::Value(x, y, c), image.At(x, y, c)) << mode << x << ", " << y;
      }
    }
  }
}

TEST_F(ZrkioNitf, ViewShowsOneBandAsGrey) {
  EXPECT_EQ(0, Run({"view", WriteNitf(NitfBuilder()), "-o", Out("a.png")}).exitStatus);
  const DecodedPng image = DecodePng(Out("a.png"));
  ASSERT_EQ(1, image.channels);
  EXPECT_EQ(NitfBuilder::Value(17, 11, 0), image.At(17, 11, 0));
}

TEST_F(ZrkioNitf, ReadGivesSamplesOfAWindowAndALevel) {
  const std::string path = WriteNitf(NitfBuilder().Size(150, 140).Bands(2).Blocks(32, 48).Type("INT", 16));
  const std::string raw = Out("a.raw");
  const ProgramResult window = Run({"read", path, "--band", "2", "--window", "30,131,20,139", "-o", raw});
  ASSERT_EQ(0, window.exitStatus);
  EXPECT_EQ(raw + ": 102 x 120 samples PINT16\n", window.err);
  EXPECT_EQ(SamplesOf(1, {30, 131, 20, 139}, 0, 2), ReadBytes(raw));
  ASSERT_EQ(0, Run({"read", path, "--level", "2", "--window", "2,149,1,139", "-o", raw}).exitStatus);
  EXPECT_EQ(SamplesOf(0, {2, 149, 1, 139}, 2, 2), ReadBytes(raw));
}

TEST_F(ZrkioNitf, ReadDecodesJpeg2000) {
  const auto sample = [](int, int x, int y) { return NitfBuilder::Value(x, y, 0); };
  const Bytes codestream = Jp2Builder().Size(90, 70).Tiles(32, 32).Samples(sample).BuildCodestream();
  const std::string path = WriteNitf(NitfBuilder().Size(90, 70).Coded("C8", codestream));
  EXPECT_EQ(SamplesOf(0, {0, 89, 0, 69}), Samples(path, "1"));
}

TEST_F(ZrkioNitf, LevelsAreBuiltAndUsed) {
  const std::string path = WriteNitf(NitfBuilder().Size(600, 500).Blocks(128, 128));
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ((Names{"a.ntf", "a.xld"}), ListFiles());
  EXPECT_EQ(Out("a.xld") + ": whole, levels and statistics\n", Run({"levels", "--check", path}).err);
  EXPECT_EQ("full", Describe(path)["levelFile"]["kind"]);
  const ProgramResult level = Run({"read", path, "--level", "1", "--window", "100,163,200,239", "-o", "-"});
  ExpectMeans(level, {100, 163, 200, 239}, &NitfBuilder::Value);
  const ProgramResult image =
      Run({"read", path, "--level", "1", "--no-levels", "--window", "100,163,200,239", "-o", "-"});
  EXPECT_EQ(SamplesOf(0, {100, 163, 200, 239}, 1), Bytes(image.out.begin(), image.out.end()));
}

TEST_F(ZrkioNitf, ConvertKeepsSamplesAndPlace) {
  const std::string path = WriteNitf(PlacedNitf().Bands(2).Blocks(16, 16).Type("INT", 16));
  ASSERT_EQ(0, Run({"convert", path, Out("a.tif")}).exitStatus);
  const StoredImage image = ReadStoredWithGdal(Out("a.tif"));
  ASSERT_EQ(2u, image.planes.size());
  for (int band = 0; band < 2; ++band) {
    const StoredImage::Plane& plane = image.planes[static_cast<std::size_t>(band)];
    EXPECT_EQ(SamplesOf(band, {0, 40, 0, 30}, 0, 2), plane.bytes) << band;
    EXPECT_FALSE(plane.nullValue.has_value());
  }
  const std::array<double, 6> transform = {9.975, 0.05, 0.0, 12.05, 0.0, -0.1};
  EXPECT_THAT(image.transform, testing::Pointwise(testing::DoubleNear(1e-9), transform));
  EXPECT_EQ(4326, image.epsg);
}

TEST_F(ZrkioNitf, ConvertKeepsTheNullValueOfBlocksThatAreLeftOut) {
  const std::string path = WriteNitf(NitfBuilder().Size(96, 96).Blocks(32, 32).WithoutBlock(4, 77));
  ASSERT_EQ(0, Run({"convert", path, Out("a.tif")}).exitStatus);
  const StoredImage image = ReadStoredWithGdal(Out("a.tif"));
  ASSERT_EQ(1u, image.planes.size());
  EXPECT_EQ(77.0, image.planes[0].nullValue);
  const Bytes& samples = image.planes[0].bytes;
  ASSERT_EQ(96u * 96u, samples.size());
  EXPECT_EQ(77, samples[40 * 96 + 40]);
  EXPECT_EQ(NitfBuilder::Value(40, 20, 0), samples[20 * 96 + 40]);
}

TEST_F(ZrkioNitf, ConvertRefusesComplexSamples) {
  const std::string path = WriteNitf(NitfBuilder().Type("C", 64));
  EXPECT_EQ(Failure(path, "only integer and real samples can be written to a TIFF file, and band 1 has others"),
            Refuse({"convert", path, Out("a.tif")}));
  EXPECT_EQ((Names{"a.ntf"}), ListFiles());
}

TEST_F(ZrkioNitf, ValueTellsTheSampleAtAPlace) {
  const std::string path = WriteNitf(PlacedNitf().Bands(2));
  // Column 7 is around 10.35 degrees east, and row 12 around 10.8 degrees north.
  const AnyJson json = AnyJson::parse(Run({"value", path, "10.36", "10.78", "--json"}).out);
  ASSERT_EQ(2u, json["channels"].size());
  EXPECT_EQ(7, json["channels"][1]["column"]);
  EXPECT_EQ(12, json["channels"][1]["row"]);
  EXPECT_EQ(NitfBuilder::Value(7, 12, 1), json["channels"][1]["value"]);
}

TEST_F(ZrkioNitf, AFileIsKnownByItsBytes) {
  for (const char* name : {"a.ntf", "a.nitf", "a.dat", "b", "c.tif"}) {
    const std::string path = WriteNitf(NitfBuilder(), name);
    EXPECT_EQ("NITF image", Describe(path)["format"]) << name;
    EXPECT_EQ(SamplesOf(0, {0, 19, 0, 14}), Samples(path, "1")) << name;
  }
}

TEST_F(ZrkioNitf, AFileWithoutImagesHoldsNoRaster) {
  Bytes bytes = NitfBuilder().Build();
  constexpr std::size_t kNumImages = 360;
  for (std::size_t i = 0; i < 3; ++i) bytes[kNumImages + i] = '0';
  const std::string path = Write("a.ntf", bytes);
  ExpectNoOutput(path, "");
  for (const char* command : {"info", "bounds"}) {
    EXPECT_THAT(Refuse({command, path}), testing::MatchesRegex("zrkio: .*/a\\.ntf: [^\n]+ [^\n]+\n")) << command;
  }
}

TEST_F(ZrkioNitf, ADamagedHeaderIsNamed) {
  const NitfBuilder builder;
  Bytes bytes = builder.Build();
  bytes.resize(builder.DataOffset() - 60);
  ExpectNoOutput(Write("a.ntf", bytes), "Can't open file : " + Out("a.ntf") + " : The header of the image is damaged");
  bytes.resize(380);
  const std::string path = Write("a.ntf", bytes);
  for (const char* command : {"info", "bounds"}) {
    EXPECT_THAT(Refuse({command, path}), HasSubstr("The header of the file is damaged\n")) << command;
  }
}

TEST_F(ZrkioNitf, AFileThatIsCutWithinItsBlocksLeavesNothingBehind) {
  Bytes bytes = NitfBuilder().Size(200, 160).Blocks(64, 64).Build();
  bytes.resize(bytes.size() - 5000);
  ExpectNoOutput(Write("a.ntf", bytes), "the block at column 2 and row 2 of blocks can't be read");
}

TEST_F(ZrkioNitf, ADamagedCodestreamLeavesNothingBehind) {
  Bytes codestream = Jp2Builder().Size(90, 70).Tiles(32, 32).BuildCodestream();
  std::fill(codestream.begin() + static_cast<std::ptrdiff_t>(codestream.size() / 2), codestream.end(),
            static_cast<unsigned char>(0));
  ExpectNoOutput(WriteNitf(NitfBuilder().Size(90, 70).Coded("C8", codestream)), "the block at column ");
}

}  // namespace
