// Bands of a file read together get what each gets alone.

#include "MemoryBand.h"
#include "TiffChannels.h"
#include "XJointReader.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <array>
#include <atomic>
#include <thread>

namespace {

using Samples = ReferenceTiff::Samples;

/// What a joint read of a window of some channels gives; empty where it fails.
std::vector<Samples> ReadJointly(TiffChannels& image, const std::vector<int>& channels, int x0, int x1, int y0,
                                 int y1) {
  std::vector<ZRMBand*> bands;
  for (const int c : channels) bands.push_back(&image.At(c));
  std::vector<tagXArr2*> out(bands.size());
  if (!XfnReadBands(bands, x0, x1, y0, y1, nullptr, out)) return {};
  std::vector<Samples> all;
  for (const tagXArr2* data : out) {
    Samples samples(static_cast<std::size_t>(data->xSize) * static_cast<std::size_t>(data->ySize));
    const auto size = static_cast<std::size_t>(data->elementSize);
    for (std::size_t i = 0; i < samples.size(); ++i)
      std::memcpy(&samples[i], data->data + i * size, std::min<std::size_t>(size, 8));
    all.push_back(samples);
  }
  return all;
}

class ZRMBandGTIFFJointReads : public TiffFiles {
 protected:
  void ExpectAsAlone(const TiffBuilder::Bytes& bytes, const std::vector<int>& channels) {
    const std::string path = Write(bytes);
    TiffChannels image(path), alone(path);
    ASSERT_TRUE(image.IsOpen()) << image.GetError();
    const int right = image.GetMaster().GetXSize() - 1, bottom = image.GetMaster().GetYSize() - 1;
    for (const auto& [x0, x1, y0, y1] :
         {std::array{0, right, 0, bottom}, std::array{3, right - 4, 5, bottom - 3}, std::array{right, right, 2, 2}}) {
      std::vector<Samples> expected;
      for (const int c : channels) expected.push_back(alone.Read(c, 0, x0, x1, y0, y1));
      EXPECT_EQ(expected, ReadJointly(image, channels, x0, x1, y0, y1)) << x0 << ' ' << x1;
    }
  }
};

TiffBuilder ThreeChannels() {
  return TiffBuilder().Size(90, 70).Samples(3);
}

TEST_F(ZRMBandGTIFFJointReads, OfPlainPixels) {
  for (const std::vector<int>& channels : {std::vector{0, 1, 2}, {2, 1, 0}, {1, 2}, {0, 0, 2}}) {
    ExpectAsAlone(ThreeChannels().Strips(9).Build(), channels);
    ExpectAsAlone(ThreeChannels().Tiles(32, 16).Build(), channels);
    ExpectAsAlone(ThreeChannels().Strips(9).Bits(16).BigEndian().Build(), channels);
    ExpectAsAlone(ThreeChannels().Strips(70).Bits(12).Build(), channels);
    ExpectAsAlone(ThreeChannels().Strips(9).Bits(32).Format(3).Build(), channels);
    ExpectAsAlone(ThreeChannels().Strips(9).LowBitFirst().Build(), channels);
  }
}

TEST_F(ZRMBandGTIFFJointReads, OfLargePlainPixels) {
  ExpectAsAlone(TiffBuilder().Size(1500, 700).Samples(3).Strips(7).Build(), {0, 1, 2});
  ExpectAsAlone(TiffBuilder().Size(1200, 500).Samples(4).Bits(16).Tiles(256, 256).Build(), {0, 1, 2, 3});
}

TEST_F(ZRMBandGTIFFJointReads, OfCodedPixels) {
  ExpectAsAlone(ThreeChannels().Tiles(16, 16).Compression(5).Encode(), {0, 1, 2});
  ExpectAsAlone(ThreeChannels().Strips(9).Compression(8).Predictor(2).Encode(), {2, 0});
  ExpectAsAlone(ThreeChannels().Tiles(16, 16).Photometric(6).Compression(7).Encode(), {0, 1, 2});
  ExpectAsAlone(ThreeChannels().Tiles(16, 16).Photometric(8).Build(), {0, 1, 2, 3});
  ExpectAsAlone(ThreeChannels().Strips(9).Sparse(2).Build(), {0, 1, 2});
}

TEST_F(ZRMBandGTIFFJointReads, OfAPalette) {
  std::vector<std::uint16_t> map(3 * 256);
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<std::uint16_t>(977 * i);
  ExpectAsAlone(TiffBuilder().Size(90, 70).Photometric(3).ColourMap(map).Build(), {0, 1, 2});
}

TEST_F(ZRMBandGTIFFJointReads, OfAColourMapThatColoursNothing) {
  std::vector<std::uint64_t> map(3 * 256);
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = 977 * i % 65536;
  const auto file = TiffBuilder().Size(1500, 800).Tag(320, 3, map);
  ExpectAsAlone(file.Build(), {0, 1, 2});
}

/// A band that makes something else of the samples.
class InvertedBand : public ZRMBandGTIFF {
 public:
  using ZRMBandGTIFF::ZRMBandGTIFF;
};

TEST_F(ZRMBandGTIFFJointReads, AreNotForClassesAboveThisOne) {
  const std::string path = Write(ThreeChannels());
  InvertedBand band(nullptr);
  XString err;
  ASSERT_EQ(1, band.ReadFile(path, err, nullptr));
  EXPECT_EQ(nullptr, band.GetJointSource());
  EXPECT_NE(nullptr, TiffChannels(path).At(0).GetJointSource());
}

TEST_F(ZRMBandGTIFFJointReads, OfPlanesAreReadsOfEach) {
  TiffChannels image(Write(ThreeChannels().Planar()));
  EXPECT_EQ(nullptr, image.At(0).GetJointSource());
  ExpectAsAlone(ThreeChannels().Planar().Build(), {0, 1, 2});
}

TEST_F(ZRMBandGTIFFJointReads, HaveASourceTogetherWithinOneFileOnly) {
  const std::string path = Write(ThreeChannels());
  TiffChannels image(path), other(path);
  MemoryBand memory;
  ZRMBand* const own[] = {&image.At(0), &image.At(2)};
  ZRMBand* const foreign[] = {&image.At(0), &other.At(1)};
  ZRMBand* const mixed[] = {&image.At(0), &memory};
  EXPECT_TRUE(XfnHaveJointSource(own));
  EXPECT_FALSE(XfnHaveJointSource(foreign));
  EXPECT_FALSE(XfnHaveJointSource(mixed));
  EXPECT_FALSE(XfnHaveJointSource({}));
  TiffChannels grey(Write(TiffBuilder()));
  EXPECT_EQ(nullptr, grey.At(0).GetJointSource());
}

TEST_F(ZRMBandGTIFFJointReads, FailAsOneDoes) {
  TiffChannels image(Write(ThreeChannels()));
  ZRMBand* bands[] = {&image.At(0), &image.At(1)};
  tagXArr2* out[2] = {};
  EXPECT_EQ(0, XfnReadBands(bands, 0, 90, 0, 0, nullptr, out));
  EXPECT_EQ(0, XfnReadBands(bands, -1, 3, 0, 0, nullptr, out));
  EXPECT_EQ(0, XfnReadBands(bands, 0, 1, 0, 0, nullptr, {out, 1}));
  int cancel = 1;
  EXPECT_EQ(0, XfnReadBands(bands, 0, 89, 0, 69, &cancel, out));
  EXPECT_EQ(nullptr, out[0]);
  image.At(1).SetChannel(3);
  EXPECT_EQ(0, XfnReadBands(bands, 0, 1, 0, 0, nullptr, out));
}

TEST_F(ZRMBandGTIFFJointReads, OfAnyBandsAreReadsOfEach) {
  MemoryBand one, two;
  one.SetRamp<std::uint8_t>(5, 4);
  two.SetRamp<std::uint16_t>(5, 4);
  ZRMBand* bands[] = {&one, &two};
  tagXArr2* out[2] = {};
  ASSERT_EQ(1, XfnReadBands(bands, 1, 2, 1, 1, nullptr, out));
  EXPECT_EQ((std::vector<std::uint8_t>{101, 102}), SamplesOf<std::uint8_t>(*out[0]));
  EXPECT_EQ((std::vector<std::uint16_t>{101, 102}), SamplesOf<std::uint16_t>(*out[1]));
  two.FailReads();
  EXPECT_EQ(0, XfnReadBands(bands, 1, 2, 1, 1, nullptr, out));
}

/// The samples of a level, as a level file of the image has them.
Samples ReadLevel(const std::string& path, int channel, int level) {
  XRSFile file;
  XString err;
  EXPECT_EQ(1, XRSFileIO::LoadFileTIF(&file, path, err, 0, kLevelBuild, nullptr)) << err.GetText();
  auto& band = dynamic_cast<ZRMBandDRIO&>(*file.GetBandAt(channel));
  tagXArr2* out = nullptr;
  if (!band.GetBandXLD() || !band.ReadSubset(out, level, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1, nullptr))
    return {};
  return Samples(out->data, out->data + out->xSize * out->ySize);
}

TEST_F(ZRMBandGTIFFJointReads, MakeTheLevelsOfPlanes) {
  const auto file = TiffBuilder().Size(700, 610).Samples(3);
  folder_.Write("planes.tif", TiffBuilder(file).Planar().Build());
  folder_.Write("pixels.tif", TiffBuilder(file).Tiles(64, 64).Compression(5).Encode());
  for (int c = 0; c < 3; ++c) {
    const Samples expected = ReadLevel(folder_.Path("planes.tif"), c, 1);
    EXPECT_EQ(350u * 305u, expected.size());
    EXPECT_EQ(expected, ReadLevel(folder_.Path("pixels.tif"), c, 1)) << c;
  }
}

using ZRMBandGTIFFJointThreads = ZRMBandGTIFFJointReads;

TEST_F(ZRMBandGTIFFJointThreads, GetTheSame) {
  const auto file = ThreeChannels().Tiles(16, 16).Compression(5);
  TiffChannels image(Write(file.Encode()));
  std::atomic<int> numDifferent = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 20; ++i) {
        const int x = (7 * i + 3 * t) % 40, y = (5 * i + t) % 30;
        const std::vector<Samples> got = ReadJointly(image, {0, 1, 2}, x, x + 40, y, y + 30);
        for (std::size_t c = 0; c < 3; ++c) {
          const Samples expected = ReferenceTiff(file, static_cast<int>(c)).Read(0, x, x + 40, y, y + 30);
          if (got.size() != 3 || got[c] != expected) ++numDifferent;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numDifferent);
}

}  // namespace
