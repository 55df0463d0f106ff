// What TIFF files that are written hold: the pixels that GDAL reads, and the bytes that libtiff writes.

#include "TiffBuilder.h"
#include "TiffWriting.h"
#include "XFile.h"
#include "XRSFileIO.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <gdal.h>

namespace {

using testing::IsEmpty;

template <class Sample>
class XRSFile2TiffOf : public TiffWriting {
 protected:
  /// GDAL reads the window of the bands.
  void ExpectWindow(int x0, int x1, int y0, int y1) {
    ASSERT_EQ(1, Save(x0, x1, y0, y1)) << Error();
    const GdalImage image(Path());
    ASSERT_TRUE(image.isOpen);
    EXPECT_THAT(image.complaints, IsEmpty());
    EXPECT_EQ(x1 - x0 + 1, image.width);
    EXPECT_EQ(y1 - y0 + 1, image.height);
    ASSERT_EQ(samples_.size(), image.bands.size());
    const int width = file_->GetBandAt(0)->GetXSize();
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      EXPECT_EQ(GetGdalType(), image.bands[i].dataType);
      EXPECT_TRUE(BytesOf(CutWindow(samples_[i], width, x0, x1, y0, y1)) == image.bands[i].bytes) << "band " << i;
    }
    EXPECT_FALSE(image.isPlaced);
  }
  void AddBands(int numBands, int width, int height) {
    NewDataset();
    samples_.clear();
    for (int i = 0; i < numBands; ++i) {
      samples_.push_back(RandomSamples<Sample>(width, height, static_cast<unsigned>(i)));
      AddSamples(width, height, samples_.back());
    }
  }

 private:
  static int GetGdalType() {
    switch (zrk::kDataTypeOf<Sample>) {
      case kPint16:
        return GDT_UInt16;
      case kSint16:
        return GDT_Int16;
      case kPint32:
        return GDT_UInt32;
      case kSint32:
        return GDT_Int32;
      case kReal32:
        return GDT_Float32;
      case kReal64:
        return GDT_Float64;
      default:
        return zrk::kDataTypeOf<Sample> == kSint08 && GDALGetDataTypeByName("Int8") ? GDALGetDataTypeByName("Int8")
                                                                                    : GDT_Byte;
    }
  }

  std::vector<std::vector<Sample>> samples_;
};

using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(XRSFile2TiffOf, SampleTypes);

TYPED_TEST(XRSFile2TiffOf, KeepsOneToFiveBands) {
  for (int numBands = 1; numBands <= 5; ++numBands) {
    this->AddBands(numBands, 37, 29);
    this->ExpectWindow(0, 36, 0, 28);
  }
}

TYPED_TEST(XRSFile2TiffOf, KeepsImagesOfAnyHeightAboutThatOfABlock) {
  for (const int numBands : {1, 2, 3}) {
    for (const int height : {1, 31, 32, 33, 199, 200, 201, 400, 401}) {
      this->AddBands(numBands, 7, height);
      this->ExpectWindow(0, 6, 0, height - 1);
    }
  }
}

TYPED_TEST(XRSFile2TiffOf, KeepsWindowsAtOddPlaces) {
  for (const int numBands : {1, 2, 3}) {
    this->AddBands(numBands, 41, 430);
    this->ExpectWindow(3, 39, 5, 423);
    this->ExpectWindow(40, 40, 0, 429);
    this->ExpectWindow(0, 40, 429, 429);
    this->ExpectWindow(17, 17, 211, 211);
  }
}

TYPED_TEST(XRSFile2TiffOf, KeepsWideImages) {
  for (const int numBands : {1, 3}) {
    this->AddBands(numBands, 40001, 3);
    this->ExpectWindow(1, 40000, 0, 2);
  }
}

class XRSFile2TiffFiles : public TiffWriting {
 protected:
  static void SetDescription(TIFF* tiff, int planar, int photometric, int bits, int format, int numSamples) {
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, planar);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, numSamples);
  }
  static void SetExtraSamples(TIFF* tiff, int count) {
    const std::vector<std::uint16_t> kinds(static_cast<std::size_t>(count), 0);
    if (count > 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, count, kinds.data());
  }
  /// The file of some bands of that shape is what libtiff writes of the same samples.
  template <class Sample, class Band = LoggedBand>
  void ExpectBytesOfLibtiff(int numBands, int width, int height, int rowsPerStrip, int format, bool isColour = false) {
    SCOPED_TRACE(testing::Message() << numBands << " bands of " << width << " x " << height);
    NewDataset();
    PlainImage image{width, height, sizeof(Sample), isColour, {}};
    for (int i = 0; i < numBands; ++i) {
      Add<Sample, Band>(width, height, static_cast<unsigned>(i));
      image.planes.push_back(BytesOf(RandomSamples<Sample>(width, height, static_cast<unsigned>(i))));
    }
    ASSERT_EQ(1, SaveAll()) << Error();
    const auto expected = WriteWithLibtiff(Path("b.tif"), image, [&](TIFF* tiff) {
      SetDescription(tiff, isColour ? 1 : 2, isColour ? 2 : 1, 8 * image.sampleBytes, format, numBands);
      if (!isColour) SetExtraSamples(tiff, numBands - 1);
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    });
    EXPECT_TRUE(expected == ReadBytes(Path()));
  }
};

TEST_F(XRSFile2TiffFiles, OfPlanesAreThoseOfLibtiffByteForByte) {
  for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {33, 199}, {33, 200}, {33, 201}, {1, 801}, {101, 410}}) {
    const int rows = std::min(height, 200);
    ExpectBytesOfLibtiff<std::uint8_t>(1, width, height, rows, 1);
    ExpectBytesOfLibtiff<std::int8_t>(2, width, height, rows, 2);
    ExpectBytesOfLibtiff<std::uint16_t>(3, width, height, rows, 1);
    ExpectBytesOfLibtiff<std::int32_t>(4, width, height, rows, 2);
    ExpectBytesOfLibtiff<double>(5, width, height, rows, 3);
  }
}

TEST_F(XRSFile2TiffFiles, OfColoursAreThoseOfLibtiffByteForByte) {
  for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {33, 32}, {33, 33}, {5, 1001}, {301, 410}}) {
    ExpectBytesOfLibtiff<std::uint8_t>(3, width, height, 32, 1, true);
  }
}

TEST_F(XRSFile2TiffFiles, OfASharpeningAreThoseOfLibtiffByteForByte) {
  for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {33, 33}, {5, 1001}, {301, 410}}) {
    ExpectBytesOfLibtiff<std::uint16_t, ZRMBandImageSharpen>(3, width, height, 32, 1);
    ExpectBytesOfLibtiff<std::uint8_t, ZRMBandImageSharpen>(3, width, height, 32, 1, true);
  }
}

TEST_F(XRSFile2TiffFiles, OfManyBandsAreThoseOfLibtiffByteForByte) {
  ExpectBytesOfLibtiff<std::uint8_t>(300, 3, 2, 2, 1);
}

TEST_F(XRSFile2TiffFiles, OfAPaletteAreThoseOfLibtiffByteForByte) {
  for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {33, 33}, {5, 1001}, {301, 410}}) {
    NewDataset();
    Add<std::uint8_t>(width, height).SetBandType(kBandTypeThematic);
    ASSERT_EQ(1, SaveAll()) << Error();
    const PlainImage image{width, height, 1, true, {BytesOf(RandomSamples<std::uint8_t>(width, height))}};
    const auto expected = WriteWithLibtiff(Path("b.tif"), image, [&](TIFF* tiff) {
      SetDescription(tiff, 1, 3, 8, 1, 1);
      std::uint16_t black[256] = {};
      TIFFSetField(tiff, TIFFTAG_COLORMAP, black, black, black);
    });
    EXPECT_TRUE(expected == ReadBytes(Path())) << width << " x " << height;
  }
}

TEST_F(XRSFile2TiffFiles, KeepComplexSamples) {
  for (const int dataType : {kCint16, kCint32, kCreal32, kCreal64}) {
    SCOPED_TRACE(dataType);
    NewDataset();
    AddOfType(dataType, 9, 5);
    AddOfType(dataType, 9, 5);
    ASSERT_EQ(1, SaveAll()) << Error();
    const int rowBytes = 9 * XfnGetDataSize(dataType);
    auto plane = RandomSamples<std::uint8_t>(rowBytes, 5);
    const std::vector<unsigned char> written = ReadBytes(Path());
    ASSERT_LE(8 + 2 * plane.size(), written.size());
    plane.insert(plane.end(), plane.begin(), plane.end());
    EXPECT_TRUE(std::equal(plane.begin(), plane.end(), written.begin() + 8));
  }
}

TEST_F(XRSFile2TiffFiles, KeepFloatsThatAreNoNumbers) {
  std::vector<float> samples = RandomSamples<float>(10, 10);
  samples[5] = std::numeric_limits<float>::infinity();
  samples[6] = std::nanf("");
  samples[7] = -0.0f;
  AddSamples(10, 10, samples);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(BytesOf(samples), GdalImage(Path()).bands.at(0).bytes);
}

TEST_F(XRSFile2TiffFiles, ShowTheirColoursToOthers) {
  for (int i = 0; i < 3; ++i) Add<std::uint8_t>(10, 10);
  ASSERT_EQ(1, SaveAll());
  const GdalImage colours(Path());
  ASSERT_EQ(3u, colours.bands.size());
  EXPECT_EQ(GCI_RedBand, colours.bands[0].interpretation);
  EXPECT_EQ(GCI_GreenBand, colours.bands[1].interpretation);
  EXPECT_EQ(GCI_BlueBand, colours.bands[2].interpretation);
  NewDataset();
  for (int i = 0; i < 3; ++i) Add<std::uint16_t>(10, 10);
  ASSERT_EQ(1, SaveAll());
  const GdalImage planes(Path());
  ASSERT_EQ(3u, planes.bands.size());
  EXPECT_EQ(GCI_GrayIndex, planes.bands[0].interpretation);
  EXPECT_EQ(GCI_Undefined, planes.bands[1].interpretation);
}

TEST_F(XRSFile2TiffFiles, HoldTheFullImageOfABandThatHasLevels) {
  const auto samples = RandomSamples<std::uint16_t>(64, 64);
  AddDirectBand(*file_, 64, 64, samples);
  file_->SetFilePath(Path("source.tif"));
  file_->SetName(Path("source.tif"));
  ASSERT_EQ(1, XRSFileIO::LoadFileXLD(file_.get(), Path("source.tif"), err_, kLevelBuild, nullptr)) << err_;
  ASSERT_NE(nullptr, static_cast<ZRMBandDRIO*>(file_->GetBandAt(0))->GetBandXLD());
  ASSERT_EQ(1, Save(3, 60, 5, 59)) << Error();
  const auto expected = BytesOf(CutWindow(samples, 64, 3, 60, 5, 59));
  EXPECT_EQ(expected, GdalImage(Path()).bands.at(0).bytes);
}

TEST_F(XRSFile2TiffFiles, AreReadBackByTheLibrary) {
  for (const int numBands : {1, 3, 4}) {
    NewDataset();
    for (int i = 0; i < numBands; ++i) Add<std::uint8_t>(37, 229, static_cast<unsigned>(i));
    ASSERT_EQ(1, SaveAll());
    XRSFile opened;
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(&opened, kFormatTIF, Path(), err_, 0, 0, nullptr)) << err_;
    ASSERT_EQ(numBands, opened.GetNumOfBands());
    for (int i = 0; i < numBands; ++i) {
      tagXArr2* out = nullptr;
      ASSERT_EQ(1, opened.GetBandAt(i)->ReadSubset(out, 0, 0, 36, 0, 228, nullptr));
      EXPECT_EQ(RandomSamples<std::uint8_t>(37, 229, static_cast<unsigned>(i)), SamplesOf<std::uint8_t>(*out));
    }
  }
}

/// Files of another file, in which the samples of a pixel lie together.
class XRSFile2TiffCopies : public TiffWriting {
 protected:
  void Open(const TiffBuilder& source) {
    source_ = source;
    folder_.Write("source.tif", source.Build());
    ASSERT_EQ(1, XRSFileIO::LoadFileRaster(file_.get(), kFormatTIF, Path("source.tif"), err_, 0, 0, nullptr)) << err_;
    ASSERT_EQ(source.GetSamples(), file_->GetNumOfBands());
  }
  void ExpectWindow(int x0, int x1, int y0, int y1) {
    ASSERT_EQ(1, Save(x0, x1, y0, y1)) << Error();
    const GdalImage image(Path());
    ASSERT_EQ(static_cast<std::size_t>(source_.GetSamples()), image.bands.size());
    for (int i = 0; i < source_.GetSamples(); ++i) {
      std::vector<std::uint16_t> samples;
      for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) samples.push_back(static_cast<std::uint16_t>(source_.ValueAt(x, y, i)));
      }
      EXPECT_TRUE(BytesOf(samples) == image.bands[static_cast<std::size_t>(i)].bytes) << "band " << i;
    }
  }

 private:
  TiffBuilder source_;
};

TEST_F(XRSFile2TiffCopies, HoldTheSamplesOfTheSource) {
  Open(TiffBuilder().Size(47, 450).Samples(5).Bits(16).Strips(16));
  ExpectWindow(0, 46, 0, 449);
  ExpectWindow(5, 40, 7, 431);
  ExpectWindow(46, 46, 199, 199);
}

TEST_F(XRSFile2TiffCopies, HoldTheSamplesOfTiles) {
  Open(TiffBuilder().Size(147, 450).Samples(4).Bits(16).Tiles(64, 48));
  ExpectWindow(0, 146, 0, 449);
  ExpectWindow(63, 128, 47, 431);
}

TEST_F(XRSFile2TiffCopies, HoldTheSamplesOfMoreBandsThanAreReadAtOnce) {
  Open(TiffBuilder().Size(14500, 203).Samples(6).Bits(16).Strips(8));
  ExpectWindow(0, 14499, 1, 202);
}

TEST_F(XRSFile2TiffCopies, ReportRowsThatGrow) {
  Open(TiffBuilder().Size(47, 450).Samples(4).Bits(16).Strips(8));
  PercentKeeper all;
  XThread whole(&all);
  ASSERT_EQ(1, SaveAll(&whole));
  ASSERT_GE(all.percents.size(), 3u);
  EXPECT_EQ(0, all.percents.front());
  EXPECT_LT(all.percents.back(), 100);
  EXPECT_TRUE(std::is_sorted(all.percents.begin(), all.percents.end()));
  XFile::Remove(Path());
  for (std::size_t report = 1; report <= all.percents.size(); ++report) {
    PercentKeeper keeper(static_cast<int>(report));
    XThread thread(&keeper);
    EXPECT_EQ(0, SaveAll(&thread));
    EXPECT_EQ(kUntouched, Error());
    EXPECT_FALSE(XFile::Exists(Path()));
  }
}

TEST(SaveFileTiff, WritesAWindow) {
  TempFolder folder;
  XRSFile file;
  AddDirectBand(file, 40, 30, RandomSamples<std::uint8_t>(40, 30));
  XString err;
  ASSERT_EQ(1, XRSFileIO::SaveFileTiff(&file, folder.Path("a.tif"), 3, 22, 5, 14, err, nullptr)) << err;
  const GdalImage image(folder.Path("a.tif"));
  ASSERT_EQ(1u, image.bands.size());
  EXPECT_EQ(CutWindow(RandomSamples<std::uint8_t>(40, 30), 40, 3, 22, 5, 14), image.bands[0].bytes);
}

}  // namespace
