#include "JpegBuilder.h"
#include "PngReader.h"
#include "Program.h"
#include "ReferenceJpeg.h"
#include "TiffBuilder.h"

namespace {

using ZrkioRead = Zrkio;

TEST_F(ZrkioRead, PrintsATableOfATinyWindow) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  const ProgramResult result = Run({"read", path, "--band", "3", "--window", "1,3,2,3"});
  EXPECT_EQ(0, result.exitStatus);
  // Blue is 3 x + y.
  EXPECT_EQ(" 5  8 11\n 6  9 12\n", result.out);
  EXPECT_EQ("", result.err);
}

TEST_F(ZrkioRead, RefusesATableOfALargeWindow) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(33, 5).Build());
  const ProgramResult result = Run({"read", path});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_NE(std::string::npos, result.err.find("give -o to write a file"));
}

TEST_F(ZrkioRead, WritesRawSamples) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  const std::string out = folder_.Path("out.raw");
  const ProgramResult result = Run({"read", path, "--band", "2", "-o", out});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ(out + ": 7 x 5 samples PINT08\n", result.err);
  const std::vector<unsigned char> samples = ReadBytes(out);
  ASSERT_EQ(35u, samples.size());
  EXPECT_EQ(BmpBuilder::Green(6, 4), samples[34]);
}

TEST_F(ZrkioRead, WritesRawSamplesToStandardOutput) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  const ProgramResult result = Run({"read", path, "-o", "-"});
  EXPECT_EQ("standard output: 7 x 5 samples PINT08\n", result.err);
  ASSERT_EQ(35u, result.out.size());
  EXPECT_EQ(BmpBuilder::Red(6, 4), static_cast<unsigned char>(result.out[34]));
}

TEST_F(ZrkioRead, WritesAPngByItsExtension) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(40, 30).Build());
  EXPECT_EQ(0, Run({"read", path, "--window", "2,39,1,29", "-o", folder_.Path("out.PNG")}).exitStatus);
  const DecodedPng image = DecodePng(folder_.Path("out.PNG"));
  ASSERT_EQ(38, image.width);
  ASSERT_EQ(29, image.height);
  EXPECT_EQ(1, image.channels);
  EXPECT_EQ(8, image.bits);
  EXPECT_EQ(BmpBuilder::Red(12, 21), image.At(10, 20, 0));
}

TEST_F(ZrkioRead, StripsPutTogetherWhatOneReadWouldGive) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(5, 1300).Build());
  Run({"read", path, "--band", "2", "-o", folder_.Path("out.raw")});
  const std::vector<unsigned char> samples = ReadBytes(folder_.Path("out.raw"));
  ASSERT_EQ(6500u, samples.size());
  for (int y = 0; y < 1300; ++y) ASSERT_EQ(BmpBuilder::Green(4, y), samples[static_cast<std::size_t>(y * 5 + 4)]);
}

TEST_F(ZrkioRead, StripsOfAColourJpegPutTogetherItsChannel) {
  const std::string path = Write("a.jpg", JpegBuilder().Size(16, 1200).Build());
  Run({"read", path, "--band", "2", "-o", folder_.Path("out.raw")});
  const std::vector<unsigned char> samples = ReadBytes(folder_.Path("out.raw"));
  const ReferenceJpeg reference = DecodeReference(ReadBytes(path));
  ASSERT_EQ(16u * 1200u, samples.size());
  for (int y = 0; y < 1200; ++y) ASSERT_EQ(reference.At(5, y, 1), samples[static_cast<std::size_t>(16 * y + 5)]);
}

TEST_F(ZrkioRead, TakesALevelFromTheLevelFileUnlessToldNotTo) {
  const auto pixel = [](int x, int y) { return static_cast<std::uint32_t>(10 * (x % 2) + 20 * (y % 2)); };
  const std::string path = Write("a.bmp", BmpBuilder().Size(600, 500).Pixel(pixel).Build());
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  const std::vector<std::string> arguments = {"read", path, "--band", "3", "--level", "1", "--window", "8,11,6,7"};
  EXPECT_EQ("15 15\n", Run(arguments).out);
  std::vector<std::string> withoutLevels = arguments;
  withoutLevels.emplace_back("--no-levels");
  EXPECT_EQ("0 0\n", Run(withoutLevels).out);
}

/// Blocks of three rows and strips of the program begin anywhere in the phase of a level.
TEST_F(ZrkioRead, ALevelHasEveryPixelOfItsStepWhateverTheBlocks) {
  const auto pixel = [](int x, int y, int) { return static_cast<std::uint64_t>((7 * x + 13 * y) & 0xFF); };
  const auto flat = [&](int x, int y) { return static_cast<std::uint32_t>(pixel(x, y, 0)); };
  const std::string raw = folder_.Path("out.raw");
  for (const std::string& path : {Write("a.tif", TiffBuilder().Size(40, 1300).Strips(3).Pixel(pixel).Build()),
                                  Write("b.bmp", BmpBuilder().Size(40, 1300).Pixel(flat).Build())}) {
    const std::string band = path.ends_with(".bmp") ? "3" : "1";
    ASSERT_EQ(0, Run({"read", path, "--band", band, "--level", "2", "--window", "1,38,5,1290", "-o", raw}).exitStatus);
    const std::vector<unsigned char> samples = ReadBytes(raw);
    ASSERT_EQ(9u * 321u, samples.size()) << path;
    for (int i = 0; i < 9 * 321; ++i) {
      ASSERT_EQ(pixel(1 + 4 * (i % 9), 5 + 4 * (i / 9), 0), samples[static_cast<std::size_t>(i)]) << path << i;
    }
  }
}

TEST_F(ZrkioRead, NamesWhatIsNotThere) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  EXPECT_EQ("zrkio: " + path + ": there is no band 4, only 1 to 3\n", Run({"read", path, "--band", "4"}).err);
  EXPECT_EQ("zrkio: " + path + ": the window is not within columns 0 to 6 and rows 0 to 4\n",
            Run({"read", path, "--window", "0,7,0,4"}).err);
}

TEST_F(ZrkioRead, BadNumbersAreBadUsage) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  EXPECT_EQ(2, Run({"read", path, "--window", "0,1,2"}).exitStatus);
  EXPECT_EQ(2, Run({"read", path, "--level", "-1"}).exitStatus);
  EXPECT_EQ(2, Run({"read", path, "--band", "0"}).exitStatus);
}

}  // namespace
