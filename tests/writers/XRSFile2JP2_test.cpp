// The pixels of JPEG 2000 files that are written, as OpenJPEG and GDAL read them.

#include "Jp2Writing.h"
#include "writers/Jp2Job.h"
#include "writers/Jp2Strip.h"

#include <gdal.h>

namespace {

using testing::IsEmpty;

template <class Sample>
class XRSFile2JP2Of : public Jp2Writing {
 protected:
  void AddBands(int numBands, int width, int height) {
    NewDataset();
    samples_.clear();
    for (int i = 0; i < numBands; ++i) {
      samples_.push_back(RandomSamples<Sample>(width, height, static_cast<unsigned>(i)));
      AddSamples(width, height, samples_.back());
    }
  }
  void ExpectWindow(int x0, int x1, int y0, int y1) {
    ASSERT_EQ(1, SaveWindow(x0, x1, y0, y1)) << Error();
    const OpjImage image = Decode();
    EXPECT_EQ(x1 - x0 + 1, image.width);
    EXPECT_EQ(y1 - y0 + 1, image.height);
    ASSERT_EQ(samples_.size(), image.components.size());
    const int width = file_->GetBandAt(0)->GetXSize();
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      EXPECT_EQ(8 * static_cast<int>(sizeof(Sample)), image.components[i].precision);
      EXPECT_EQ(std::is_signed_v<Sample>, image.components[i].isSigned);
      EXPECT_TRUE(CutWindow(samples_[i], width, x0, x1, y0, y1) == SamplesOfType<Sample>(image, i)) << "band " << i;
    }
  }
  /// GDAL of this age has no type for signed bytes.
  void ExpectGdalReads() {
    if (std::is_same_v<Sample, std::int8_t>) return;
    const GdalImage image = this->ReadByGdal();
    ASSERT_EQ(samples_.size(), image.bands.size());
    const int type = sizeof(Sample) == 1 ? GDT_Byte : std::is_signed_v<Sample> ? GDT_Int16 : GDT_UInt16;
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      EXPECT_EQ(type, image.bands[i].dataType);
      EXPECT_TRUE(BytesOf(samples_[i]) == image.bands[i].bytes) << "band " << i;
    }
  }

  std::vector<std::vector<Sample>> samples_;
};

using Jp2SampleTypes = testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t>;
TYPED_TEST_SUITE(XRSFile2JP2Of, Jp2SampleTypes);

TYPED_TEST(XRSFile2JP2Of, KeepsOneToFiveBands) {
  for (int numBands = 1; numBands <= 5; ++numBands) {
    this->AddBands(numBands, 37, 29);
    this->ExpectWindow(0, 36, 0, 28);
    this->ExpectGdalReads();
  }
}

TYPED_TEST(XRSFile2JP2Of, KeepsOddTiles) {
  for (const int tile : {32, 33, 47, 64}) {
    this->AddBands(3, 131, 97);
    this->writer_.SetTileSize(tile);
    this->ExpectWindow(0, 130, 0, 96);
    this->ExpectGdalReads();
  }
}

TYPED_TEST(XRSFile2JP2Of, KeepsImagesOfOnePixelRowOrColumn) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 100}, {100, 1}, {2, 2}, {3, 1}}) {
    for (const int numBands : {1, 3}) {
      this->AddBands(numBands, width, height);
      this->ExpectWindow(0, width - 1, 0, height - 1);
      this->ExpectGdalReads();
    }
  }
}

TYPED_TEST(XRSFile2JP2Of, KeepsWindowsAtOddPlaces) {
  this->AddBands(2, 141, 230);
  this->writer_.SetTileSize(40);
  this->ExpectWindow(3, 139, 5, 223);
  this->ExpectWindow(140, 140, 0, 229);
  this->ExpectWindow(17, 17, 111, 111);
}

class XRSFile2JP2Pixels : public Jp2Writing {};

/// Tiles of one pixel are the least that there can be, and the last column and row may be one pixel wide.
TEST_F(XRSFile2JP2Pixels, AreKeptInTilesOfAFewPixels) {
  const auto samples = RandomSamples<std::uint16_t>(9, 7);
  AddSamples(9, 7, samples);
  for (const int tile : {1, 2, 3, 4, 8}) {
    writer_.SetTileSize(tile);
    ASSERT_EQ(1, SaveImage()) << Error();
    EXPECT_EQ(samples, SamplesOfType<std::uint16_t>(Decode(), 0)) << tile;
  }
}

TEST_F(XRSFile2JP2Pixels, AreThoseOfACodestreamWithoutBoxesToo) {
  const auto samples = RandomSamples<std::uint8_t>(70, 50);
  AddSamples(70, 50, samples);
  writer_.SetTileSize(32);
  ASSERT_EQ(1, SaveImage());
  const OpjImage image = DecodeByOpj(Jp2Walk(ReadBytes(Out())).DataOf("jp2c"), {.hasBoxes = false});
  EXPECT_TRUE(image.isOpen);
  EXPECT_THAT(image.complaints, IsEmpty());
  EXPECT_EQ(samples, SamplesOfType<std::uint8_t>(image, 0));
}

TEST_F(XRSFile2JP2Pixels, OfBandsOfDifferentDepthAreKept) {
  const auto bytes = RandomSamples<std::uint8_t>(50, 40);
  const auto words = RandomSamples<std::int16_t>(50, 40, 2);
  AddSamples(50, 40, bytes);
  AddSamples(50, 40, words);
  AddSamples(50, 40, bytes);
  AddSamples(50, 40, words);
  writer_.SetTileSize(32);
  ASSERT_EQ(1, SaveImage()) << Error();
  const OpjImage image = Decode();
  ASSERT_EQ(4u, image.components.size());
  EXPECT_FALSE(image.hasColourTransform);
  for (const std::size_t i : {0u, 2u}) EXPECT_EQ(bytes, SamplesOfType<std::uint8_t>(image, i));
  for (const std::size_t i : {1u, 3u}) EXPECT_EQ(words, SamplesOfType<std::int16_t>(image, i));
}

TEST_F(XRSFile2JP2Pixels, AreCodedAsBrightnessAndColoursWhereThreeBandsAreAlike) {
  for (int i = 0; i < 4; ++i) {
    Add<std::uint8_t>(20, 20, static_cast<unsigned>(i));
    ASSERT_EQ(1, SaveImage());
    EXPECT_EQ(i >= 2, Decode().hasColourTransform) << i;
  }
}

TEST_F(XRSFile2JP2Pixels, BeyondTheBandsAreZero) {
  const auto samples = RandomSamples<std::uint8_t>(20, 10);
  AddSamples(20, 10, samples);
  writer_.SetTileSize(16);
  ASSERT_EQ(1, SaveWindow(-3, 24, -2, 13)) << Error();
  const OpjImage image = Decode();
  ASSERT_EQ(28, image.width);
  ASSERT_EQ(16, image.height);
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 28; ++x) {
      const bool isInside = x >= 3 && x < 23 && y >= 2 && y < 12;
      const int wanted = isInside ? samples[static_cast<std::size_t>((y - 2) * 20 + x - 3)] : 0;
      ASSERT_EQ(wanted, image.components[0].samples[static_cast<std::size_t>(y * 28 + x)]) << x << ", " << y;
    }
  }
}

/// A dataset takes no missing band, but a list of bands may have one.
TEST_F(XRSFile2JP2Pixels, OfAMissingBandAreZero) {
  const auto samples = RandomSamples<std::uint8_t>(20, 10);
  zrk::Jp2Job job;
  job.bands = {&AddSamples(20, 10, samples), nullptr, &AddSamples(20, 10, samples)};
  job.window = {0, 19, 0, 9};
  job.plan = {.width = 20, .height = 10, .components = {{8, false}, {16, true}, {8, false}}};
  job.changers.resize(3);
  zrk::Jp2Strip strip(job);
  ASSERT_TRUE(strip.Reserve(1));
  ASSERT_TRUE(strip.Read(0, 1, [](std::int64_t) { return true; }));
  std::vector<unsigned char> wanted = samples;
  wanted.resize(200 + 400);
  wanted.insert(wanted.end(), samples.begin(), samples.end());
  const auto tile = strip.TileAt(0);
  EXPECT_EQ(wanted, std::vector<unsigned char>(tile.begin(), tile.end()));
}

TEST_F(XRSFile2JP2Pixels, OfAShorterBandRepeatItsLastRow) {
  Add<std::uint8_t>(20, 300);
  const auto samples = RandomSamples<std::uint8_t>(20, 230, 2);
  AddSamples(20, 230, samples);
  ASSERT_EQ(1, SaveImage()) << Error();
  auto wanted = samples;
  for (int y = 230; y < 300; ++y) wanted.insert(wanted.end(), samples.end() - 20, samples.end());
  EXPECT_EQ(wanted, SamplesOfType<std::uint8_t>(Decode(), 1));
}

TEST_F(XRSFile2JP2Pixels, OfAReducedLevelNeedNoOtherFile) {
  AddSamples(300, 200, std::vector<std::uint8_t>(300 * 200, 77));
  ASSERT_EQ(1, SaveImage());
  const OpjImage image = Decode({.level = 3});
  EXPECT_EQ(38, image.components[0].width);
  EXPECT_EQ(25, image.components[0].height);
  EXPECT_EQ(std::vector<int>(38 * 25, 77), image.components[0].samples);
}

/// Bands that begin new rows of tiles in the middle of ours, and a strip that is read in parts.
TEST_F(XRSFile2JP2Pixels, AreKeptWhereBandsDecodeRowsTogether) {
  const auto samples = RandomSamples<std::uint8_t>(300, 500);
  AddSamples(300, 500, samples).SetDecodeRows(48);
  writer_.SetTileSize(100);
  ASSERT_EQ(1, SaveWindow(7, 290, 13, 480)) << Error();
  EXPECT_EQ(CutWindow(samples, 300, 7, 290, 13, 480), SamplesOfType<std::uint8_t>(Decode(), 0));
}

/// A row of tiles is read in parts where it is large, and several rows where they are small.
TEST_F(XRSFile2JP2Pixels, AreThoseOfEachTileHoweverManyAreReadAtOnce) {
  const auto samples = RandomSamples<std::uint16_t>(100, 90);
  zrk::Jp2Job job;
  job.bands = {&AddSamples(100, 90, samples)};
  job.window = {5, 99, 3, 89};
  job.plan = {.width = 95, .height = 87, .tileSide = 40, .components = {{16, false}}};
  job.changers.resize(1);
  zrk::Jp2Strip strip(job);
  EXPECT_EQ(9, strip.CountTilesAtOnce());
  ASSERT_TRUE(strip.Reserve(9));
  for (const auto& [first, count] : {std::pair{0, 9}, {3, 6}, {3, 3}, {4, 2}, {7, 1}}) {
    ASSERT_TRUE(strip.Read(first, count, [](std::int64_t) { return true; }));
    for (int tile = first; tile < first + count; ++tile) {
      const zrk::Window w = job.plan.TileAt(tile);
      const auto wanted = BytesOf(CutWindow(samples, 100, w.x0 + 5, w.x1 + 5, w.y0 + 3, w.y1 + 3));
      const auto given = strip.TileAt(tile);
      EXPECT_TRUE(std::ranges::equal(wanted, given)) << first << " " << tile;
    }
  }
}

TEST_F(XRSFile2JP2Pixels, AreReadOnce) {
  LoggedBand::Log log;
  auto& band = Add<std::uint8_t>(300, 500);
  band.SetLog(&log);
  writer_.SetTileSize(128);
  ASSERT_EQ(1, SaveImage());
  // Blocks of 200 rows.
  EXPECT_EQ(3u, log.size());
}

}  // namespace
