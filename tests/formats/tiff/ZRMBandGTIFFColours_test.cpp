// Palettes, images in which 0 is white, bilevel images, and colours that libtiff makes.

#include "TiffChannels.h"
#include "TiffMemory.h"
#include "XDataType.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using testing::Each;
using testing::ElementsAre;

class ZRMBandGTIFFColours : public TiffFiles {
 protected:
  /// The bands are what libtiff itself shows of the whole image.
  void ExpectAsLibtiffShows(const TiffBuilder& file, int numChannels, const std::string& what) {
    const TiffBuilder::Bytes bytes = BytesOf(file);
    const TiffRgba expected = DecodeTiffRgba(bytes);
    TiffChannels image(Write(bytes));
    ASSERT_TRUE(image.IsOpen()) << what << ' ' << image.GetError();
    ASSERT_EQ(numChannels, image.GetNumChannels()) << what;
    EXPECT_EQ(kPint08, image.GetMaster().GetDataType()) << what;
    for (int c = 0; c < numChannels; ++c) {
      const auto samples = image.ReadAll(c);
      ASSERT_EQ(expected.pixels.size(), samples.size());
      int numDifferent = 0;
      for (std::size_t i = 0; i < samples.size(); ++i)
        numDifferent += samples[i] != (expected.pixels[i] >> 8 * c & 255);
      EXPECT_EQ(0, numDifferent) << what << " channel " << c;
    }
  }
};

std::vector<std::uint16_t> Coloured(int entries, int scale) {
  std::vector<std::uint16_t> map;
  for (int i = 0; i < entries; ++i) map.push_back(static_cast<std::uint16_t>((i * 7 % 256) * scale));
  for (int i = 0; i < entries; ++i) map.push_back(static_cast<std::uint16_t>((255 - i % 256) * scale));
  for (int i = 0; i < entries; ++i) map.push_back(static_cast<std::uint16_t>((i * 3 + 100) % 256 * scale));
  return map;
}

std::vector<short> Component(const std::vector<std::uint16_t>& map, std::size_t c, int shift) {
  const std::size_t entries = map.size() / 3;
  std::vector<short> component;
  for (std::size_t i = 0; i < entries; ++i) component.push_back(static_cast<short>(map[c * entries + i] >> shift));
  return component;
}

TEST_F(ZRMBandGTIFFColours, AColouredPaletteGivesThreeBandsOfTheSameSample) {
  for (const int bits : {1, 2, 4, 8, 12, 16}) {
    const auto map = Coloured(1 << bits, 257);
    const auto file = TiffBuilder().Size(37, 29).Tiles(16, 16).Bits(bits).Photometric(3).ColourMap(map);
    TiffChannels image(Write(file));
    ASSERT_EQ(3, image.GetNumChannels()) << bits;
    EXPECT_EQ(bits < 9 ? kPint08 : kPint16, image.GetMaster().GetDataType());
    for (int c = 0; c < 3; ++c) {
      ReferenceTiff reference(file, 0);
      reference.palette = Component(map, static_cast<std::size_t>(c), 8);
      EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(c)) << bits << ' ' << c;
      EXPECT_EQ(reference.Read(1, 3, 36, 2, 28), image.Read(c, 1, 3, 36, 2, 28)) << bits << ' ' << c;
    }
  }
}

TEST_F(ZRMBandGTIFFColours, PaletteComponentsBelow256KeepTheirValues) {
  const auto map = Coloured(256, 1);
  const auto file = TiffBuilder().Size(37, 29).Strips(8).Photometric(3).ColourMap(map);
  TiffChannels image(Write(file));
  ReferenceTiff reference(file, 0);
  reference.palette = Component(map, 1, 0);
  EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(1));
}

TEST_F(ZRMBandGTIFFColours, APaletteOfEqualComponentsGivesOneBand) {
  std::vector<std::uint16_t> map(3 * 16);
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<std::uint16_t>(i % 16 * 10);
  const auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(4).Photometric(3).ColourMap(map);
  TiffChannels image(Write(file));
  ASSERT_EQ(1, image.GetNumChannels());
  EXPECT_EQ(16, image.GetMaster().GetNumOfPalette());
  ReferenceTiff reference(file, 0);
  reference.palette = Component(map, 0, 0);
  EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(0));
}

TEST_F(ZRMBandGTIFFColours, FollowersHaveThePaletteOfTheRoot) {
  TiffChannels image(Write(TiffBuilder().Photometric(3).ColourMap(Coloured(256, 257))));
  ASSERT_EQ(3, image.GetNumChannels());
  ZRMBandGTIFF grandchild(&image.At(1));
  short *red = nullptr, *green = nullptr, *blue = nullptr, *rootRed = nullptr, *rootGreen = nullptr,
        *rootBlue = nullptr;
  image.GetMaster().GetPalette(rootRed, rootGreen, rootBlue);
  for (ZRMBandGTIFF* band : {&image.At(0), &image.At(2), &grandchild}) {
    EXPECT_EQ(256, band->GetNumOfPalette());
    band->GetPalette(red, green, blue);
    ASSERT_NE(nullptr, red);
    EXPECT_EQ(rootRed, red);
    EXPECT_EQ(rootGreen, green);
    EXPECT_EQ(rootBlue, blue);
    EXPECT_EQ(14, red[2]);
    EXPECT_EQ(253, green[2]);
    EXPECT_EQ(106, blue[2]);
  }
}

TEST_F(ZRMBandGTIFFColours, AnImageWithoutAPaletteHasNone) {
  TiffChannels image(Write(TiffBuilder()));
  short palette[1];
  short *red = palette, *green = palette, *blue = palette;
  image.GetMaster().GetPalette(red, green, blue);
  EXPECT_EQ(nullptr, red);
  EXPECT_EQ(nullptr, green);
  EXPECT_EQ(nullptr, blue);
  EXPECT_EQ(0, image.GetMaster().GetNumOfPalette());
}

TEST_F(ZRMBandGTIFFColours, WhereZeroIsWhiteValuesAreInverted) {
  for (const int bits : {1, 2, 5, 8, 12, 16}) {
    const auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(bits).Photometric(0);
    TiffChannels image(Write(file));
    ASSERT_EQ(1, image.GetNumChannels()) << bits;
    EXPECT_EQ(3, image.GetMaster().GetPhotometric());
    EXPECT_EQ(1 << bits, image.GetMaster().GetNumOfPalette());
    ReferenceTiff reference(file, 0);
    const int most = (1 << bits) - 1;
    reference.value = [=](int x, int y) {
      return std::uint64_t((most - static_cast<int>(file.ValueAt(x, y, 0))) * 255 / most);
    };
    EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(0)) << bits;
  }
}

TEST_F(ZRMBandGTIFFColours, MoreThan16BitsAreNotInverted) {
  const auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(32).Photometric(0);
  ExpectSamples(file, kPint32);
}

TEST_F(ZRMBandGTIFFColours, ChannelsBehindTheThirdKeepTheirValues) {
  const auto file = TiffBuilder().Size(37, 29).Strips(8).Samples(5).Photometric(0);
  TiffChannels image(Write(file));
  ASSERT_EQ(5, image.GetNumChannels());
  for (int c = 0; c < 5; ++c) {
    ReferenceTiff reference(file, c);
    if (c < 3) reference.value = [=](int x, int y) { return 255 - file.ValueAt(x, y, c); };
    EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(c)) << c;
  }
}

TEST_F(ZRMBandGTIFFColours, SamplesBesideAColouredPaletteKeepTheirValues) {
  const auto map = Coloured(256, 257);
  const auto file = TiffBuilder().Size(37, 29).Tiles(16, 16).Samples(2).Photometric(3).ColourMap(map);
  for (const bool isPlanar : {false, true}) {
    TiffChannels image(Write(isPlanar ? TiffBuilder(file).Planar() : file));
    ASSERT_EQ(6, image.GetNumChannels());
    ReferenceTiff reference(file, 0);
    reference.palette = Component(map, 2, 8);
    EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(2));
    for (int c = 3; c < 6; ++c) EXPECT_EQ(ReferenceTiff(file, 1).Read(0, 0, 36, 0, 28), image.ReadAll(c)) << c;
  }
}

TEST_F(ZRMBandGTIFFColours, AColourMapIsNotAppliedToOtherThanPaletteImages) {
  const auto file = TiffBuilder().Size(37, 29).Strips(8).Photometric(1).ColourMap(Coloured(256, 257));
  TiffChannels image(Write(file));
  ASSERT_EQ(3, image.GetNumChannels());
  for (int c = 0; c < 3; ++c) EXPECT_EQ(ReferenceTiff(file, 0).Read(0, 0, 36, 0, 28), image.ReadAll(c));
}

TEST_F(ZRMBandGTIFFColours, BitsAreInvertedWhereAColourMapKeepsZeroWhite) {
  const auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(1).Photometric(0).ColourMap({0, 255, 0, 255, 0, 255});
  TiffChannels image(Write(file));
  ASSERT_EQ(1, image.GetNumChannels());
  EXPECT_EQ(0, image.GetMaster().GetPhotometric());
  ReferenceTiff reference(file, 0);
  reference.value = [=](int x, int y) { return 1 - file.ValueAt(x, y, 0); };
  EXPECT_EQ(reference.Read(0, 0, 36, 0, 28), image.ReadAll(0));
}

/// 5 bytes a row: libtiff cuts the strip behind 1,638 of the 2,001 rows.
TEST_F(ZRMBandGTIFFColours, AllRowsOfATallBilevelStripWithoutCompressionAreRead) {
  const auto file = TiffBuilder().Size(37, 2001).Bits(1);
  for (const auto& bytes : {file.Build(), TiffBuilder(file).LowBitFirst().Build()}) {
    TiffChannels image(Write(bytes));
    ASSERT_TRUE(image.IsOpen());
    EXPECT_EQ(ReferenceTiff(file, 0).Read(0, 0, 36, 0, 2000), image.ReadAll(0));
    EXPECT_EQ(1638, image.GetMaster().GetBlockHeight());
  }
}

/// A strip that libtiff does not cut, for its compression or because it is small.
TEST_F(ZRMBandGTIFFColours, OfATallBilevelStripOnlyTheFirstRowIsRead) {
  const auto small = TiffBuilder().Size(20, 2001).Bits(1);
  auto file = TiffBuilder().Size(20, 2001).Bits(1);
  for (const auto& bytes : {small.Build(), TiffBuilder(small).LowBitFirst().Build(), file.Compression(4).Encode()}) {
    TiffChannels image(Write(bytes));
    ASSERT_TRUE(image.IsOpen());
    EXPECT_EQ(ReferenceTiff(small, 0).Read(0, 0, 19, 0, 0), image.Read(0, 0, 0, 19, 0, 0));
    EXPECT_THAT(image.Read(0, 0, 0, 19, 1, 2000), Each(0u));
    const auto all = image.ReadAll(0);
    EXPECT_EQ(ReferenceTiff(small, 0).Read(0, 0, 19, 0, 0), decltype(all)(all.begin(), all.begin() + 20));
  }
}

TEST_F(ZRMBandGTIFFColours, RowsThatATallBilevelStripLacksAreZeroBeforeThePalette) {
  const auto file = TiffBuilder().Size(20, 2001).Bits(1).Photometric(0);
  TiffChannels image(Write(file));
  ReferenceTiff reference(file, 0);
  reference.value = [=](int x, int y) { return y > 0 || file.ValueAt(x, y, 0) == 0 ? 255u : 0u; };
  EXPECT_EQ(reference.Read(0, 0, 19, 0, 2000), image.ReadAll(0));
}

TEST_F(ZRMBandGTIFFColours, BilevelStripsOf2000RowsAreReadWhole) {
  const auto file = TiffBuilder().Size(37, 2000).Bits(1);
  ExpectSamples(file, kPint08);
  const auto strips = TiffBuilder().Size(37, 2001).Strips(2000).Bits(1);
  ExpectSamples(strips, kPint08);
}

TEST_F(ZRMBandGTIFFColours, ForeignColoursAreWhatLibtiffMakesOfThem) {
  const struct {
    int photometric, samples;
    const char* name;
  } kinds[] = {{5, 4, "CMYK"}, {6, 3, "YCbCr"}, {8, 3, "CIE Lab"}};
  for (const auto& kind : kinds) {
    TiffBuilder file;
    file.Size(37, 29).Samples(kind.samples).Photometric(kind.photometric);
    if (kind.photometric == 6) file.Tag(530, 3, {1, 1});
    TiffBuilder strips = TiffBuilder(file).Strips(8), tiles = TiffBuilder(file).Tiles(16, 16);
    ExpectAsLibtiffShows(strips, 4, kind.name + std::string(" strips"));
    ExpectAsLibtiffShows(tiles, 4, kind.name + std::string(" tiles"));
    ExpectAsLibtiffShows(tiles.BigEndian(), 4, kind.name + std::string(" tiles MM"));
    ExpectAsLibtiffShows(strips.Compression(5), 4, kind.name + std::string(" LZW strips"));
    ExpectAsLibtiffShows(tiles.Compression(5), 4, kind.name + std::string(" LZW tiles"));
  }
}

TEST_F(ZRMBandGTIFFColours, PlanesOfInksAreWhatLibtiffMakesOfThem) {
  const auto file = TiffBuilder().Size(37, 29).Samples(4).Planar().Photometric(5).Tiles(16, 48);
  ExpectAsLibtiffShows(file, 4, "planes of 768 bytes a tile");
}

TEST_F(ZRMBandGTIFFColours, OfAFileThatIsCutMeanwhileAreZero) {
  const std::string path = Write(TiffBuilder().Size(300, 280).Samples(4).Photometric(5).Tiles(128, 128));
  TiffChannels image(path);
  ASSERT_FALSE(image.ReadAll(1).empty());
  std::filesystem::resize_file(path, 200);
  EXPECT_THAT(image.ReadAll(1), Each(0u));
}

TEST_F(ZRMBandGTIFFColours, SubsampledYCbCrIsWhatLibtiffMakesOfIt) {
  TiffBuilder file;
  file.Size(16, 8).Samples(3).Photometric(6).Strips(4).Tag(530, 3, {2, 2});
  for (int strip = 0; strip < 2; ++strip) {
    TiffBuilder::Bytes bytes;  // four brightnesses and two colours for each two by two pixels
    for (int i = 0; i < 16 * 6; ++i) bytes.push_back(static_cast<unsigned char>(40 + 5 * i % 170 + strip));
    file.Block(strip, bytes);
  }
  ExpectAsLibtiffShows(file, 4, "subsampled");
}

int SmoothByte(int x, int y, int sample) {
  return 40 + 2 * x + y + 30 * sample;
}

TEST_F(ZRMBandGTIFFColours, JpegInYCbCrIsDeliveredAsRedGreenAndBlue) {
  for (const bool isTiled : {false, true}) {
    TiffBuilder file;
    file.Size(60, 45).Samples(3).Photometric(6).Compression(7).Pixel(SmoothByte);
    if (isTiled) {
      file.Tiles(32, 32);
    } else {
      file.Strips(16);
    }
    ExpectAsLibtiffShows(file, 3, isTiled ? "tiles" : "strips");
    TiffChannels image(Write(file.Encode()));
    EXPECT_EQ(6, image.GetMaster().GetPhotometric());
    EXPECT_NEAR(SmoothByte(30, 20, 2), static_cast<int>(image.Read(2, 0, 30, 30, 20, 20).at(0)), 12);
  }
}

TEST_F(ZRMBandGTIFFColours, JpegInRgbAndGreyIsDeliveredAsItIs) {
  TiffBuilder rgb, grey;
  rgb.Size(60, 45).Tiles(32, 32).Samples(3).Photometric(2).Compression(7).Pixel(SmoothByte);
  grey.Size(60, 45).Strips(16).Compression(7).Pixel(SmoothByte);
  ExpectAsLibtiffShows(rgb, 3, "RGB");
  ExpectAsLibtiffShows(grey, 1, "grey");
}

}  // namespace
