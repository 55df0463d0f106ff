// Images of a palette that are saved as TIFF: exact saves keep the numbers and the palette, as libtiff and GDAL read
// them back.

#include "BmpBuilder.h"
#include "BmpKind.h"
#include "Oracle.h"
#include "TiffBuilder.h"
#include "TiffWriting.h"
#include "XRSFileIO.h"

#include <gdal_priv.h>

namespace {

class XRSFile2TiffIndexed : public TiffWriting {
 protected:
  void Load(const std::string& name, const std::vector<unsigned char>& bytes, XReadPolicy policy = kReadExact) {
    folder_.Write(name, bytes);
    NewDataset();
    file_->SetReadPolicy(policy);
    const int id = name.ends_with(".bmp") ? kFormatBMP : kFormatTIF;
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(file_.get(), id, folder_.Path(name), err_, 0, kLevelNone, nullptr)) << err_;
  }
  /// Entries of any components, also such as no byte spreads to.
  static std::vector<std::uint16_t> AnyColours(int bits) {
    std::vector<std::uint16_t> components(std::size_t{3} << bits);
    for (std::size_t i = 0; i < components.size(); ++i)
      components[i] = static_cast<std::uint16_t>(40503 * i + 7 + i / 65536);
    return components;
  }
  static TiffBuilder Indexed(int bits) {
    return TiffBuilder().Size(40, 30).Bits(bits).Photometric(3).ColourMap(AnyColours(bits));
  }
  /// The saved file has the numbers of the source, and its map, which is black from there on.
  void ExpectIndices(const TiffBuilder& source, int bits) {
    const TiffTags tags(Path());
    EXPECT_EQ(3, tags.photometric);
    EXPECT_EQ(bits, tags.bitsPerSample);
    EXPECT_EQ(1, tags.samplesPerPixel);
    const std::vector<std::uint16_t> colours = AnyColours(source.GetBits());
    const std::size_t numEntries = std::size_t{1} << source.GetBits();
    for (std::size_t c = 0; c < 3; ++c) {
      std::vector<std::uint16_t> wanted(colours.begin() + static_cast<std::ptrdiff_t>(c * numEntries),
                                        colours.begin() + static_cast<std::ptrdiff_t>((c + 1) * numEntries));
      wanted.resize(std::size_t{1} << bits);
      EXPECT_EQ(wanted, tags.colourMap[c]);
    }
    const GdalImage image(Path());
    ASSERT_EQ(1u, image.bands.size());
    const std::size_t step = static_cast<std::size_t>(bits) / 8;
    ASSERT_EQ(40u * 30u * step, image.bands[0].bytes.size());
    for (int i = 0; i < 40 * 30; ++i) {
      const unsigned char* const sample = &image.bands[0].bytes[static_cast<std::size_t>(i) * step];
      const unsigned value = step == 1 ? *sample : sample[0] + 256u * sample[1];
      ASSERT_EQ(source.ValueAt(i % 40, i / 40, 0), value) << i;
    }
  }
};

TEST_F(XRSFile2TiffIndexed, KeepsNumbersAndColoursOfTiffs) {
  for (const int bits : {1, 4, 8, 12, 16}) {
    SCOPED_TRACE(bits);
    Load("in.tif", Indexed(bits).Build());
    ASSERT_EQ(3, file_->GetNumOfBands());
    ASSERT_EQ(1, SaveAll()) << Error();
    ExpectIndices(Indexed(bits), bits > 8 ? 16 : 8);
  }
}

TEST_F(XRSFile2TiffIndexed, KeepsNumbersOfCompressedTiles) {
  const TiffBuilder source = Indexed(8).Tiles(16, 16).Compression(5);
  Load("in.tif", source.Encode());
  ASSERT_EQ(1, SaveAll()) << Error();
  ExpectIndices(source, 8);
}

TEST_F(XRSFile2TiffIndexed, KeepsScaleAndOffsetOfTheNumbers) {
  const char* const items =
      "<GDALMetadata><Item name=\"SCALE\" sample=\"0\" role=\"scale\">0.5</Item>"
      "<Item name=\"OFFSET\" sample=\"0\" role=\"offset\">-3</Item></GDALMetadata>";
  Load("in.tif", Indexed(8).Text(42112, items).Build());
  ASSERT_EQ(1, SaveAll()) << Error();
  const std::unique_ptr<GDALDataset> saved(GDALDataset::Open(Path().c_str(), GDAL_OF_RASTER));
  ASSERT_NE(nullptr, saved);
  EXPECT_EQ(0.5, saved->GetRasterBand(1)->GetScale());
  EXPECT_EQ(-3.0, saved->GetRasterBand(1)->GetOffset());
}

TEST_F(XRSFile2TiffIndexed, KeepsAPaletteOfGreys) {
  std::vector<std::uint16_t> greys;
  for (int i = 0; i < 3 * 256; ++i) greys.push_back(static_cast<std::uint16_t>(65535 - 257 * (i % 256)));
  Load("in.tif", TiffBuilder().Size(40, 30).Photometric(3).ColourMap(greys).Build());
  ASSERT_EQ(1, file_->GetNumOfBands());
  ASSERT_EQ(1, SaveAll()) << Error();
  const TiffTags tags(Path());
  EXPECT_EQ(3, tags.photometric);
  EXPECT_EQ(65535 - 257 * 5, tags.colourMap[1][5]);
  EXPECT_EQ(TiffBuilder().ValueAt(3, 4, 0), GdalImage(Path()).bands[0].bytes[4 * 40 + 3]);
}

TEST_F(XRSFile2TiffIndexed, KeepsTheNumberThatStandsForNoData) {
  Load("in.tif", Indexed(8).Text(42113, "3").Build());
  ASSERT_EQ(1, SaveAll()) << Error();
  EXPECT_EQ(3.0, ReadStoredWithGdal(Path()).planes[0].nullValue);
}

TEST_F(XRSFile2TiffIndexed, KeepsWindowsAndTheirPlace) {
  const std::vector<double> tiePoint = {0, 0, 0, 1000, 2000, 0}, scale = {2, 4, 0};
  const TiffBuilder source = Indexed(8).Reals(33922, tiePoint).Reals(33550, scale);
  Load("in.tif", source.Build());
  ASSERT_EQ(1, Save(7, 30, 3, 20)) << Error();
  const GdalImage image(Path());
  EXPECT_THAT(image.transform, testing::ElementsAre(1014, 2, 0, 1988, 0, -4));
  ASSERT_EQ(24u * 18u, image.bands.at(0).bytes.size());
  EXPECT_EQ(source.ValueAt(7 + 5, 3 + 6, 0), image.bands[0].bytes[6 * 24 + 5]);
}

TEST_F(XRSFile2TiffIndexed, KeepsPalettesOfBitmapsOfAllKinds) {
  int numIndexed = 0;
  for (const BmpKind& kind : GoodBmpKinds()) {
    SCOPED_TRACE(kind.name);
    Load("in.bmp", kind.Build());
    ASSERT_EQ(1, SaveAll()) << Error();
    const bool isIndexed = kind.bits <= 8;
    EXPECT_EQ(isIndexed, TiffTags(Path()).photometric == 3);
    if (!isIndexed) continue;
    ++numIndexed;
    const OracleImage image = ReadWithGdal(Path());
    ASSERT_EQ(3u, image.channels.size());
    for (int i = 0; i < kind.width * kind.height; ++i) {
      for (int c = 0; c < 3; ++c) {
        ASSERT_EQ(kind.ColourAt(c, i % kind.width, i / kind.width),
                  image.channels[static_cast<std::size_t>(c)][static_cast<std::size_t>(i)]);
      }
    }
  }
  EXPECT_GT(numIndexed, 5);
}

TEST_F(XRSFile2TiffIndexed, FailsWhereABitmapHasANumberBeyondThePalette) {
  Load("in.bmp", BmpBuilder().Size(40, 30).Bits(8).Palette(10).ClrUsed(10).Build());
  EXPECT_EQ(0, SaveAll());
}

TEST_F(XRSFile2TiffIndexed, HasColoursInTheCompatiblePolicy) {
  Load("in.tif", Indexed(8).Build(), kReadCompatible);
  ASSERT_EQ(1, SaveAll()) << Error();
  EXPECT_EQ(2, TiffTags(Path()).photometric);
}

TEST_F(XRSFile2TiffIndexed, HasColoursWhereAnotherSampleStandsBesideThem) {
  Load("in.tif", Indexed(8).Samples(2).Build());
  ASSERT_EQ(4, file_->GetNumOfBands());
  ASSERT_EQ(1, SaveAll()) << Error();
  EXPECT_EQ(2, TiffTags(Path()).photometric);
}

}  // namespace
