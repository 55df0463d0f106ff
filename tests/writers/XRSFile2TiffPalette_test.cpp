// Thematic bands in TIFF files: the colours of their classes, and the bytes that their samples become.

#include "FaultyDisk.h"
#include "TiffWriting.h"
#include "XFile.h"

#include <cmath>
#include <limits>

#include <gdal.h>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class XRSFile2TiffPalette : public TiffWriting {
 protected:
  static void AddClass(ZRMBand& band, int red, int green, int blue) {
    auto record = std::make_unique<tagXRSGIS>();
    record->red = static_cast<unsigned char>(red);
    record->green = static_cast<unsigned char>(green);
    record->blue = static_cast<unsigned char>(blue);
    band.AddGIS(record.release());
  }
  /// The bytes of a row of samples, in a band of that range.
  std::vector<int> Convert(double min, double max) {
    ZRMBand& band = *file_->GetBandAt(0);
    band.SetBandType(kBandTypeThematic);
    band.SetBandMin(min);
    band.SetBandMax(max);
    EXPECT_EQ(1, SaveAll()) << Error();
    const GdalImage image(Path());
    EXPECT_THAT(image.complaints, IsEmpty());
    if (image.bands.size() != 1) return {};
    EXPECT_EQ(GDT_Byte, image.bands[0].dataType);
    return {image.bands[0].bytes.begin(), image.bands[0].bytes.end()};
  }
  template <class Sample>
  std::vector<int> ConvertRow(double min, double max, const std::vector<Sample>& samples) {
    NewDataset();
    AddSamples(static_cast<int>(samples.size()), 1, samples);
    return Convert(min, max);
  }
};

TEST_F(XRSFile2TiffPalette, HasTheRecordsFromClass1OnAndBlackForAllElse) {
  LoggedBand& band = Add<std::uint8_t>(20, 10);
  AddClass(band, 1, 2, 3);
  AddClass(band, 255, 128, 0);
  Convert(kNotSet, kNotSet);
  const TiffTags tags(Path());
  EXPECT_THAT(tags.complaints, IsEmpty());
  for (int colour = 0; colour < 3; ++colour) {
    const auto& map = tags.colourMap[static_cast<std::size_t>(colour)];
    ASSERT_EQ(256u, map.size());
    EXPECT_EQ(0, map[0]);
    EXPECT_EQ(257 * (colour + 1), map[1]);
    EXPECT_EQ(colour == 0 ? 65535 : colour == 1 ? 32896 : 0, map[2]);
    EXPECT_THAT(std::vector<int>(map.begin() + 3, map.end()), Each(0));
  }
}

TEST_F(XRSFile2TiffPalette, IsWhatOthersShow) {
  LoggedBand& band = Add<std::uint8_t>(20, 10);
  AddClass(band, 10, 20, 30);
  AddClass(band, 40, 50, 60);
  Convert(0, 255);
  const GdalImage image(Path());
  ASSERT_EQ(1u, image.bands.size());
  EXPECT_EQ(GCI_PaletteIndex, image.bands[0].interpretation);
  const auto& colours = image.bands[0].colours;
  ASSERT_EQ(256u, colours.size());
  EXPECT_THAT(colours[0], ElementsAre(0, 0, 0));
  EXPECT_THAT(colours[1], ElementsAre(10, 20, 30));
  EXPECT_THAT(colours[2], ElementsAre(40, 50, 60));
  EXPECT_THAT(colours[255], ElementsAre(0, 0, 0));
  EXPECT_EQ(BytesOf(RandomSamples<std::uint8_t>(20, 10)), image.bands[0].bytes);
}

TEST_F(XRSFile2TiffPalette, HasTheFirst255Of300Records) {
  LoggedBand& band = Add<std::uint8_t>(20, 10);
  for (int i = 0; i < 300; ++i) AddClass(band, i % 251, i / 2, i == 254 ? 200 : 7);
  Convert(0, 255);
  const TiffTags tags(Path());
  ASSERT_EQ(256u, tags.colourMap[0].size());
  for (int i = 0; i < 255; ++i) {
    const auto place = static_cast<std::size_t>(i + 1);
    EXPECT_EQ(257 * (i % 251), tags.colourMap[0][place]);
    EXPECT_EQ(257 * (i / 2), tags.colourMap[1][place]);
    EXPECT_EQ(257 * (i == 254 ? 200 : 7), tags.colourMap[2][place]);
  }
  EXPECT_EQ(0, tags.colourMap[2][0]);
}

TEST_F(XRSFile2TiffPalette, CutsSamplesToWholeNumbersWhereTheRangeIsNotKnown) {
  const std::vector<double> samples = {0, 0.99, 1.5, 254.9, 255, 7};
  for (const auto& [min, max] : {std::pair{kNotSet, kNotSet},
                                 {-kNotSet, 900.0},
                                 {-900.0, -kNotSet},
                                 {kNotSet, 900.0},
                                 {-900.0, kNotSet},
                                 {kNotSet, -kNotSet}}) {
    EXPECT_THAT(ConvertRow(min, max, samples), ElementsAre(0, 0, 1, 254, 255, 7)) << min << ' ' << max;
  }
}

TEST_F(XRSFile2TiffPalette, CutsSamplesToWholeNumbersWhereTheRangeIsThatOfBytes) {
  const std::vector<float> samples = {0, 0.99f, 1.5f, 254.9f, 255, 7};
  for (const auto& [min, max] : {std::pair{0.0, 255.0}, {0.0, 0.0}, {255.0, 255.0}, {3.0, 9.5}}) {
    EXPECT_THAT(ConvertRow(min, max, samples), ElementsAre(0, 0, 1, 254, 255, 7)) << min << ' ' << max;
  }
}

TEST_F(XRSFile2TiffPalette, SpreadsALargerRangeOverBytes) {
  // 255 / 300 of the sample
  EXPECT_THAT(ConvertRow<std::uint16_t>(0, 300, {0, 1, 2, 100, 150, 299, 300}),
              ElementsAre(0, 0, 1, 85, 127, 254, 255));
  // 51 / 2 of what it is above -2
  EXPECT_THAT(ConvertRow<std::int16_t>(-2, 8, {-2, -1, 0, 3, 7, 8}), ElementsAre(0, 25, 51, 127, 229, 255));
  // 255 / 256
  EXPECT_THAT(ConvertRow<float>(-0.5f, 255.5f, {-0.5f, 0, 0.6f, 255.5f}), ElementsAre(0, 0, 1, 255));
  EXPECT_THAT(ConvertRow<double>(1000, 1001, {1000, 1000.5, 1001}), ElementsAre(0, 127, 255));
  EXPECT_THAT(ConvertRow<double>(-300, -200, {-300, -250, -200}), ElementsAre(0, 127, 255));
}

TEST_F(XRSFile2TiffPalette, SpreadsARangeThatLeavesThatOfBytesByAHair) {
  EXPECT_THAT(ConvertRow<double>(0, 255.001, {255.001, 255}), ElementsAre(255, 254));
  EXPECT_THAT(ConvertRow<double>(-0.001, 255, {0.0, 1.0, 255}), ElementsAre(0, 1, 255));
  EXPECT_THAT(ConvertRow<double>(-0.001, 1, {1.0, 0.4995}), ElementsAre(255, 127));
}

TEST_F(XRSFile2TiffPalette, IsOfOneClassWhereTheRangeIsOneNumberBeyondBytes) {
  EXPECT_THAT(ConvertRow<std::uint16_t>(300, 300, {0, 300, 77}), ElementsAre(0, 0, 0));
  EXPECT_THAT(ConvertRow<std::int16_t>(-1, -1, {0, -1, 77}), ElementsAre(0, 0, 0));
}

TEST_F(XRSFile2TiffPalette, TakesSamplesOfEveryTypeAsTheyAre) {
  EXPECT_THAT(ConvertRow<std::uint8_t>(-1, 254, {0, 127, 200, 254}), ElementsAre(1, 128, 201, 255));
  EXPECT_THAT(ConvertRow<std::int8_t>(-128, 127, {-128, -1, 0, 127}), ElementsAre(0, 127, 128, 255));
  EXPECT_THAT(ConvertRow<std::uint16_t>(0, 65535, {0, 257, 40000, 65535}), ElementsAre(0, 1, 155, 255));
  EXPECT_THAT(ConvertRow<std::int16_t>(-32768, 32767, {-32768, -1, 0, 32767}), ElementsAre(0, 127, 127, 255));
  EXPECT_THAT(ConvertRow<std::uint32_t>(0, 4294967295.0, {0, 16843009, 2147483648u, 4294967295u}),
              ElementsAre(0, 1, 127, 255));
  EXPECT_THAT(ConvertRow<std::int32_t>(-2147483648.0, 2147483647.0, {INT32_MIN, -1, INT32_MAX}),
              ElementsAre(0, 127, 255));
  EXPECT_THAT(ConvertRow<float>(-1e6f, 1e6f, {-1e6f, 0, 1e6f}), ElementsAre(0, 127, 255));
  EXPECT_THAT(ConvertRow<double>(-1e12, 1e12, {-1e12, 0, 1e12}), ElementsAre(0, 127, 255));
}

TEST_F(XRSFile2TiffPalette, TakesTheLowByteOfWhatIsNotSpread) {
  EXPECT_THAT(ConvertRow<std::int8_t>(kNotSet, kNotSet, {-1, -128, 127}), ElementsAre(255, 128, 127));
  EXPECT_THAT(ConvertRow<std::uint16_t>(0, 255, {256, 300, 65535}), ElementsAre(0, 44, 255));
  EXPECT_THAT(ConvertRow<std::uint32_t>(kNotSet, kNotSet, {4294967295u, 0x80000001u}), ElementsAre(255, 1));
  EXPECT_THAT(ConvertRow<double>(0, 255, {-1.5, -0.5, 511.9, 4294967297.0}), ElementsAre(255, 0, 255, 1));
}

TEST_F(XRSFile2TiffPalette, GivesClass0ToWhatIsNoValue) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<double> samples = {kNotSet, std::nan(""), infinity, -infinity, 5};
  EXPECT_THAT(ConvertRow(kNotSet, kNotSet, samples), ElementsAre(0, 0, 0, 0, 5));
  EXPECT_THAT(ConvertRow(0.0, 510.0, samples), ElementsAre(0, 0, 0, 0, 2));
}

TEST_F(XRSFile2TiffPalette, GivesClass0ToSamplesOfOtherTypes) {
  for (const int dataType : {9, 12, 14, 15, 16, 17, 18}) {
    for (const double max : {255.0, 300.0}) {
      NewDataset();
      AddOfType(dataType, 9, 1);
      EXPECT_THAT(Convert(0.0, max), testing::AllOf(testing::SizeIs(9), Each(0))) << dataType;
    }
  }
}

TEST_F(XRSFile2TiffPalette, IsOfTheWindow) {
  const auto samples = RandomSamples<std::uint8_t>(40, 450);
  AddSamples(40, 450, samples).SetBandType(kBandTypeThematic);
  ASSERT_EQ(1, Save(3, 38, 7, 431)) << Error();
  EXPECT_EQ(CutWindow(samples, 40, 3, 38, 7, 431), GdalImage(Path()).bands.at(0).bytes);
}

TEST_F(XRSFile2TiffPalette, SaysWhereItFailsAndLeavesNothing) {
  LoggedBand& band = Add<std::uint8_t>(40, 450);
  band.SetBandType(kBandTypeThematic);
  int nth = 1;
  for (; nth < 1000; ++nth) {
    FaultyDisk disk;
    disk.FailWrite(nth);
    const zrk::ScopedDisk scoped(disk);
    if (SaveAll()) break;
    ASSERT_EQ("Fail to write data!!!", Error()) << nth;
    ASSERT_TRUE(std::filesystem::is_empty(folder_.Path())) << nth;
  }
  EXPECT_GT(nth, 3) << "head, pixels, directory";
  EXPECT_LT(nth, 1000);
  XFile::Remove(Path());
  band.FailReads();
  ExpectFailure("Fail to read subset");
}

TEST_F(XRSFile2TiffPalette, IsStoppedBetweenItsBlocks) {
  Add<std::uint8_t>(40, 450).SetBandType(kBandTypeThematic);
  PercentKeeper all;
  XThread whole(&all);
  ASSERT_EQ(1, SaveAll(&whole));
  EXPECT_THAT(all.percents, ElementsAre(0, 44, 88));
  XFile::Remove(Path());
  for (int report = 1; report <= 3; ++report) {
    PercentKeeper keeper(report);
    XThread thread(&keeper);
    ExpectFailure(kUntouched, &thread);
  }
}

/// Classes 7 and 300 with colours.
void AddTwoClasses(ZRMBand& band) {
  for (const int number : {7, 300}) {
    auto record = std::make_unique<tagXRSGIS>();
    record->index = number;
    record->red = 200;
    record->green = 100;
    record->blue = static_cast<unsigned char>(number % 256);
    band.AddGIS(record.release());
  }
  band.SetBandType(kBandTypeThematic);
}

TEST_F(XRSFile2TiffPalette, OfAnExactSaveHasTheColoursOfClassesAtTheirNumbers) {
  file_->SetReadPolicy(kReadExact);
  const std::vector<std::uint8_t> samples = {0, 7, 8, 255};
  AddTwoClasses(AddSamples(4, 1, samples));
  ASSERT_EQ(1, SaveAll()) << Error();
  const GdalImage image(Path());
  EXPECT_THAT(image.complaints, IsEmpty());
  ASSERT_EQ(1u, image.bands.size());
  EXPECT_EQ(GCI_PaletteIndex, image.bands[0].interpretation);
  EXPECT_EQ(samples, image.bands[0].bytes);
  const auto& colours = image.bands[0].colours;
  ASSERT_EQ(256u, colours.size());
  EXPECT_THAT(colours[7], ElementsAre(200, 100, 7));
  EXPECT_THAT(colours[8], ElementsAre(0, 0, 0));
}

TEST_F(XRSFile2TiffPalette, OfAnExactSaveIsAsWideAsItsSamples) {
  file_->SetReadPolicy(kReadExact);
  AddTwoClasses(AddSamples(3, 1, std::vector<std::uint16_t>{7, 300, 65535}));
  ASSERT_EQ(1, SaveAll()) << Error();
  const GdalImage image(Path());
  ASSERT_EQ(1u, image.bands.size());
  EXPECT_EQ(GDT_UInt16, image.bands[0].dataType);
  EXPECT_THAT(image.bands[0].bytes, ElementsAre(7, 0, 44, 1, 255, 255));
  ASSERT_EQ(65536u, image.bands[0].colours.size());
  EXPECT_THAT(image.bands[0].colours[300], ElementsAre(200, 100, 44));
}

TEST_F(XRSFile2TiffPalette, IsLeftOutOfAnExactSaveOfSamplesThatNoPaletteIsFor) {
  file_->SetReadPolicy(kReadExact);
  AddTwoClasses(AddSamples(2, 1, std::vector<std::int16_t>{-7, 300}));
  ASSERT_EQ(1, SaveAll()) << Error();
  const GdalImage image(Path());
  ASSERT_EQ(1u, image.bands.size());
  EXPECT_EQ(GDT_Int16, image.bands[0].dataType);
  EXPECT_EQ(0u, image.bands[0].colours.size());
  EXPECT_THAT(image.bands[0].bytes, ElementsAre(249, 255, 44, 1));
}

}  // namespace
