#include "JpegBuilder.h"
#include "PngReader.h"
#include "Program.h"

namespace {

using ZrkioView = Zrkio;

TEST_F(ZrkioView, SmallImagesKeepTheirPixels) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  const ProgramResult result = Run({"view", path, "-o", folder_.Path("a.png")});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ(folder_.Path("a.png") + ": 7 x 5 pixels\n", result.err);
  const DecodedPng image = DecodePng(folder_.Path("a.png"));
  ASSERT_EQ(3, image.channels);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) {
      ASSERT_EQ(BmpBuilder::Red(x, y), image.At(x, y, 0));
      ASSERT_EQ(BmpBuilder::Green(x, y), image.At(x, y, 1));
      ASSERT_EQ(BmpBuilder::Blue(x, y), image.At(x, y, 2));
    }
  }
}

TEST_F(ZrkioView, LargeImagesAreMeansOfTheirAreas) {
  // Blocks of 4 x 4 pixels with the values 0 to 15 and a tenfold of the block's column.
  const auto pixel = [](int x, int y) { return static_cast<std::uint32_t>(10 * (x / 4) + 4 * (y % 4) + x % 4); };
  const std::string path = Write("a.bmp", BmpBuilder().Size(64, 32).Pixel(pixel).Build());
  EXPECT_EQ(0, Run({"view", path, "--bands", "3", "--max-size", "16", "-o", folder_.Path("a.png")}).exitStatus);
  const DecodedPng image = DecodePng(folder_.Path("a.png"));
  ASSERT_EQ(16, image.width);
  ASSERT_EQ(8, image.height);
  ASSERT_EQ(1, image.channels);
  // The mean of a block is its tenfold and 7.5, rounded up.
  for (int x = 0; x < 16; ++x) EXPECT_EQ(10 * x + 8, image.At(x, 5, 0)) << x;
}

TEST_F(ZrkioView, BandsComeInTheOrderAskedFor) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  Run({"view", path, "--bands", "3,1,2", "-o", folder_.Path("a.png")});
  const DecodedPng image = DecodePng(folder_.Path("a.png"));
  EXPECT_EQ(BmpBuilder::Blue(6, 4), image.At(6, 4, 0));
  EXPECT_EQ(BmpBuilder::Red(6, 4), image.At(6, 4, 1));
}

TEST_F(ZrkioView, AGreyImageGivesAGreyPicture) {
  const std::string path = Write("a.jpg", JpegBuilder().Size(40, 30).Grey().Quality(100).Build());
  Run({"view", path, "-o", folder_.Path("a.png")});
  const DecodedPng image = DecodePng(folder_.Path("a.png"));
  ASSERT_EQ(1, image.channels);
  EXPECT_NEAR(JpegBuilder::Sample(20, 10, 0), image.At(20, 10, 0), 2);
}

TEST_F(ZrkioView, ThinImagesKeepOnePixel) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(1000, 1).Build());
  Run({"view", path, "--max-size", "10", "-o", folder_.Path("a.png")});
  const DecodedPng image = DecodePng(folder_.Path("a.png"));
  EXPECT_EQ(10, image.width);
  EXPECT_EQ(1, image.height);
}

TEST_F(ZrkioView, AJpegThatWasCutIsNotShownByTheLevelsOfTheWholeOne) {
  std::vector<unsigned char> bytes = JpegBuilder().Size(601, 499).Build();
  const std::string path = Write("a.jpg", bytes), out = folder_.Path("a.png");
  ASSERT_EQ(0, Run({"levels", path}).exitStatus);
  EXPECT_EQ(0, Run({"view", path, "--max-size", "200", "-o", out}).exitStatus);
  bytes.resize(bytes.size() / 2);
  Write("a.jpg", bytes);
  EXPECT_EQ(1, Run({"view", path, "--max-size", "200", "-o", out}).exitStatus);
  EXPECT_EQ(1, Run({"view", path, "--max-size", "200", "--no-levels", "-o", out}).exitStatus);
  EXPECT_EQ(1, Run({"view", path, "--max-size", "400", "-o", out}).exitStatus);
}

TEST_F(ZrkioView, LevelsShowWhatTheImageDoes) {
  const auto pixel = [](int x, int y) { return static_cast<std::uint32_t>(x / 4 + 256 * (y / 3) + 65536 * (x / 9)); };
  const std::string path = Write("a.bmp", BmpBuilder().Size(801, 703).Pixel(pixel).Build());
  Run({"levels", path});
  Run({"view", path, "--max-size", "150", "-o", folder_.Path("levels.png")});
  Run({"view", path, "--max-size", "150", "--no-levels", "-o", folder_.Path("image.png")});
  const DecodedPng levels = DecodePng(folder_.Path("levels.png")), image = DecodePng(folder_.Path("image.png"));
  ASSERT_EQ(image.samples.size(), levels.samples.size());
  for (std::size_t i = 0; i < image.samples.size(); ++i) ASSERT_NEAR(image.samples[i], levels.samples[i], 3) << i;
}

TEST_F(ZrkioView, ThePictureIsNeverPutInPlaceOfTheImage) {
  const std::vector<unsigned char> bytes = BmpBuilder().Build();
  const std::string path = Write("a.bmp", bytes);
  std::filesystem::create_symlink(path, folder_.Path("link.png"));
  const ProgramResult result = Run({"view", path, "-o", folder_.Path("link.png")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": the output would take the place of this file\n", result.err);
  EXPECT_EQ(bytes, ReadBytes(path));
}

TEST_F(ZrkioView, BadChoicesOfBandsFail) {
  const std::string path = Write("a.bmp", BmpBuilder().Build());
  EXPECT_EQ(2, Run({"view", path, "--bands", "1,2", "-o", folder_.Path("a.png")}).exitStatus);
  EXPECT_EQ(2, Run({"view", path}).exitStatus);
  EXPECT_EQ("zrkio: " + path + ": there is no band 9, only 1 to 3\n",
            Run({"view", path, "--bands", "9", "-o", folder_.Path("a.png")}).err);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioView, ADamagedImageFailsAndLeavesNothingBehind) {
  std::vector<unsigned char> bytes = JpegBuilder().Size(64, 48).Build();
  bytes.resize(bytes.size() * 3 / 4);
  const std::string path = Write("a.jpg", bytes);
  const ProgramResult result = Run({"view", path, "-o", folder_.Path("a.png")});
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": premature end of file\n", result.err);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioView, VectorFilesHaveNoPicture) {
  const std::string path = SharedDataDir() + "/vector/nc.shp";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample data";
  EXPECT_EQ("zrkio: " + path + ": the file holds no raster\n", Run({"view", path, "-o", folder_.Path("a.png")}).err);
}

}  // namespace
