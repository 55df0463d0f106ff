// The tags of TIFF files that are written, as libtiff reads them.

#include "TiffWriting.h"

#include <gdal.h>

namespace {

using testing::Each;
using testing::IsEmpty;

/// What describes the samples.
struct Description {
  int planarConfig, photometric, bitsPerSample, sampleFormat, samplesPerPixel;
};

class XRSFile2TiffTags : public TiffWriting {
 protected:
  void AddBands(int numBands, int dataType, int bandType = 0, int width = 21, int height = 13) {
    NewDataset();
    for (int i = 0; i < numBands; ++i) AddOfType(dataType, width, height).SetBandType(bandType);
  }
  TiffTags SaveTags() {
    EXPECT_EQ(1, SaveAll()) << Error();
    TiffTags tags(Path());
    EXPECT_TRUE(tags.isOpen);
    EXPECT_THAT(tags.complaints, IsEmpty());
    EXPECT_EQ(1, tags.compression);
    EXPECT_EQ(file_->GetBandAt(0)->GetXSize(), tags.width);
    EXPECT_EQ(file_->GetBandAt(0)->GetYSize(), tags.height);
    EXPECT_FALSE(tags.isBig);
    return tags;
  }
  TiffTags ExpectTags(const Description& expected) {
    const TiffTags tags = SaveTags();
    EXPECT_EQ(expected.planarConfig, tags.planarConfig);
    EXPECT_EQ(expected.photometric, tags.photometric);
    EXPECT_EQ(expected.bitsPerSample, tags.bitsPerSample);
    EXPECT_EQ(expected.sampleFormat, tags.sampleFormat);
    EXPECT_EQ(expected.samplesPerPixel, tags.samplesPerPixel);
    return tags;
  }
};

struct TypeRow {
  int dataType, bits, format;
};
constexpr TypeRow kScalarTypes[] = {{kPint08, 8, 1},  {kSint08, 8, 2},  {kPint16, 16, 1}, {kSint16, 16, 2},
                                    {kPint32, 32, 1}, {kSint32, 32, 2}, {kReal32, 32, 3}, {kReal64, 64, 3}};

TEST_F(XRSFile2TiffTags, OfMostBandsTellOfPlanesOfTheirType) {
  for (const auto& [dataType, bits, format] : kScalarTypes) {
    for (int numBands = 1; numBands <= 5; ++numBands) {
      if (numBands == 3 && dataType == kPint08) continue;
      SCOPED_TRACE(testing::Message() << numBands << " of type " << dataType);
      AddBands(numBands, dataType);
      const TiffTags tags = ExpectTags({2, 1, bits, format, numBands});
      EXPECT_EQ(std::vector<int>(static_cast<std::size_t>(numBands - 1), 0), tags.extraSamples);
      EXPECT_THAT(tags.colourMap, Each(IsEmpty()));
    }
  }
}

TEST_F(XRSFile2TiffTags, OfThreeBandsOfBytesTellOfColours) {
  for (const int bandType : {0, kBandTypeThematic}) {
    AddBands(3, kPint08, bandType);
    const TiffTags tags = ExpectTags({1, 2, 8, 1, 3});
    EXPECT_EQ(32, tags.rowsPerStrip);
    EXPECT_THAT(tags.extraSamples, IsEmpty());
    EXPECT_THAT(tags.colourMap, Each(IsEmpty()));
  }
}

TEST_F(XRSFile2TiffTags, OfOneThematicBandTellOfAPaletteOfBytesWhateverItsType) {
  for (const auto& [dataType, bits, format] : kScalarTypes) {
    SCOPED_TRACE(dataType);
    AddBands(1, dataType, kBandTypeThematic);
    const TiffTags tags = ExpectTags({1, 3, 8, 1, 1});
    EXPECT_EQ(32, tags.rowsPerStrip);
    EXPECT_EQ(256u, tags.colourMap[0].size());
    EXPECT_THAT(tags.extraSamples, IsEmpty());
  }
}

TEST_F(XRSFile2TiffTags, OfTwoThematicBandsTellOfPlanes) {
  AddBands(2, kPint08, kBandTypeThematic);
  EXPECT_THAT(ExpectTags({2, 1, 8, 1, 2}).colourMap, Each(IsEmpty()));
}

TEST_F(XRSFile2TiffTags, OfOneBandOfAnotherKindTellOfGrey) {
  for (const int bandType : {0, 1, 7, 9}) {
    AddBands(1, kPint08, bandType);
    ExpectTags({2, 1, 8, 1, 1});
  }
}

TEST_F(XRSFile2TiffTags, OfSamplesOfOtherTypesTellOfTheirLengthOnly) {
  const std::pair<int, int> lengths[] = {{9, 16},         {kCint16, 32}, {kCint32, 64}, {kCreal32, 64},
                                         {kCreal64, 128}, {17, 8},       {18, 24}};
  for (const auto& [dataType, bits] : lengths) {
    SCOPED_TRACE(dataType);
    AddBands(2, dataType);
    ExpectTags({2, 1, bits, 1, 2});
  }
}

TEST_F(XRSFile2TiffTags, TellOfStripsThatAreBlocksInPlanes) {
  for (const auto& [height, rows] : {std::pair{1, 1}, {13, 13}, {199, 199}, {200, 200}, {201, 200}, {450, 200}}) {
    AddBands(2, kReal32, 0, 5, height);
    EXPECT_EQ(rows, SaveTags().rowsPerStrip);
  }
}

TEST_F(XRSFile2TiffTags, TellOfLowerStripsInWideImages) {
  // 240000 bytes a row: 8 of them are in 2 MB.
  AddBands(1, kReal64, 0, 30000, 141);
  EXPECT_EQ(8, SaveTags().rowsPerStrip);
}

TEST_F(XRSFile2TiffTags, TellOfStripsOf32RowsWherePixelsLieTogether) {
  for (const int height : {1, 13, 450}) {
    AddBands(3, kPint08, 0, 5, height);
    EXPECT_EQ(32, SaveTags().rowsPerStrip);
    AddBands(1, kPint08, kBandTypeThematic, 5, height);
    EXPECT_EQ(32, SaveTags().rowsPerStrip);
  }
}

TEST_F(XRSFile2TiffTags, TellOfStripsOf32RowsInTheOutputsOfASharpening) {
  for (int i = 0; i < 4; ++i) Add<std::uint8_t, ZRMBandImageSharpen>(20, 450);
  const TiffTags tags = ExpectTags({2, 1, 8, 1, 4});
  EXPECT_EQ(32, tags.rowsPerStrip);
}

TEST_F(XRSFile2TiffTags, OfASharpeningAreThoseOfOtherBandsOtherwise) {
  for (int i = 0; i < 3; ++i) Add<std::uint8_t, ZRMBandImageSharpen>(20, 45);
  ExpectTags({1, 2, 8, 1, 3});
  NewDataset();
  Add<std::uint8_t, ZRMBandImageSharpen>(20, 45).SetBandType(kBandTypeThematic);
  ExpectTags({1, 3, 8, 1, 1});
}

TEST_F(XRSFile2TiffTags, AreOfThePlainFormatBelow4GiB) {
  AddBands(1, kPint08);
  ASSERT_EQ(1, SaveAll());
  const auto bytes = ReadBytes(Path());
  EXPECT_EQ("II*", std::string(bytes.begin(), bytes.begin() + 3));
}

}  // namespace
