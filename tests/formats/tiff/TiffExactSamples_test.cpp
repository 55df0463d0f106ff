// Exact reads of TIFF samples: types that hold every value, palettes, images in which 0 is white, and null values. For
// each the compatible way stands beside it where no other test has it.

#include "bands/tiff/TiffExactPlan.h"
#include "ExactTiffs.h"
#include "Oracle.h"
#include "XDataType.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

class TiffExactSamples : public ExactTiffs {
 protected:
  /// The samples of a band as numbers.
  template <class Sample>
  static std::vector<double> Numbers(TiffChannels& image, int c) {
    std::vector<double> numbers;
    for (const std::uint64_t bits : image.ReadAll(c)) {
      Sample sample;
      std::memcpy(&sample, &bits, sizeof sample);
      numbers.push_back(static_cast<double>(sample));
    }
    return numbers;
  }
  static TiffBuilder Row(std::vector<std::uint64_t> values) {
    const int width = static_cast<int>(values.size());
    return TiffBuilder().Size(width, 1).Pixel(
        [values](int x, int, int) { return x < std::ssize(values) ? values[static_cast<std::size_t>(x)] : 0; });
  }
};

TEST_F(TiffExactSamples, SignedBytesHaveTheirSign) {
  const auto file = Row({0, 1, 127, 128, 255}).Format(2);
  TiffChannels compatible(Write(file));
  EXPECT_EQ(kPint08, compatible.GetMaster().GetDataType());
  EXPECT_THAT(compatible.ReadAll(0), ElementsAre(0u, 1u, 127u, 128u, 255u));
  TiffChannels image(Write(file), kReadExact);
  ASSERT_EQ(kSint08, image.GetMaster().GetDataType());
  EXPECT_THAT(Numbers<std::int8_t>(image, 0), ElementsAre(0, 1, 127, -128, -1));
}

TEST_F(TiffExactSamples, SignedOddWidthsHaveTheirSign) {
  TiffChannels four(Write(Row({0, 7, 8, 15}).Format(2).Bits(4)), kReadExact);
  ASSERT_EQ(kSint08, four.GetMaster().GetDataType());
  EXPECT_THAT(Numbers<std::int8_t>(four, 0), ElementsAre(0, 7, -8, -1));
  TiffChannels twelve(Write(Row({0, 2047, 2048, 4095}).Format(2).Bits(12)), kReadExact);
  ASSERT_EQ(kSint16, twelve.GetMaster().GetDataType());
  EXPECT_THAT(Numbers<std::int16_t>(twelve, 0), ElementsAre(0, 2047, -2048, -1));
  TiffChannels twenty(Write(Row({0, 524287, 524288, 1048575}).Format(2).Bits(20)), kReadExact);
  ASSERT_EQ(kSint32, twenty.GetMaster().GetDataType());
  EXPECT_THAT(Numbers<std::int32_t>(twenty, 0), ElementsAre(0, 524287, -524288, -1));
}

TEST_F(TiffExactSamples, SignedOddWidthsAreUnsignedInCompatibleReads) {
  TiffChannels image(Write(Row({0, 2047, 2048, 4095}).Format(2).Bits(12)));
  EXPECT_EQ(kPint16, image.GetMaster().GetDataType());
  EXPECT_THAT(image.ReadAll(0), ElementsAre(0u, 2047u, 2048u, 4095u));
}

TEST_F(TiffExactSamples, IntegersOf64BitsAreDoubles) {
  for (const bool isBigEndian : {false, true}) {
    auto file = Row({0, 1, std::uint64_t{1} << 53, std::uint64_t{3} << 60, ~std::uint64_t{0}}).Bits(64).Format(2);
    if (isBigEndian) file.BigEndian();
    TiffChannels image(Write(file), kReadExact);
    ASSERT_EQ(kReal64, image.GetMaster().GetDataType());
    EXPECT_THAT(Numbers<double>(image, 0), ElementsAre(0, 1, 0x1p53, 0x3p60, -1));
  }
  TiffChannels image(Write(Row({5, std::uint64_t{1} << 63}).Bits(64)), kReadExact);
  EXPECT_THAT(Numbers<double>(image, 0), ElementsAre(5, 0x1p63));
}

TEST_F(TiffExactSamples, AnIntegerOf64BitsWithoutADoubleFailsTheRead) {
  static constexpr std::uint64_t kOdd = (std::uint64_t{1} << 53) + 1;
  for (const int compression : {1, 5}) {
    TiffBuilder file;
    file.Size(4, 4).Strips(1).Bits(64).Compression(compression).Pixel([](int x, int y, int) {
      return x == 2 && y == 2 ? kOdd : std::uint64_t(x);
    });
    TiffChannels image(Write(BytesOf(file)), kReadExact);
    ExpectFailure(image, 0, 0, 3, 0, 3, "No double has the value of a 64-bit integer in the block at column 0, row 2");
    EXPECT_FALSE(image.Read(0, 0, 0, 1, 0, 3).empty());
    EXPECT_FALSE(image.Read(0, 0, 0, 3, 0, 1).empty());
  }
}

TEST_F(TiffExactSamples, BlocksOf64BitIntegersComeAsDoublesToo) {
  TiffChannels image(Write(Row({7, 9}).Bits(64)), kReadExact);
  std::array<double, 2> block{};
  XString err;
  EXPECT_EQ(1, image.GetMaster().ReadBlockRaster(0, 0, 0, block.data(), err));
  EXPECT_THAT(block, ElementsAre(7.0, 9.0));
}

TEST_F(TiffExactSamples, ThatNoTypeHoldsAreRefusedWithASentence) {
  struct Case {
    int bits, format;
    const char* sentence;
  };
  const Case cases[] = {{128, 1, "No data type holds samples that are integers of 128 bits"},
                        {40, 2, "No data type holds samples that are integers of 40 bits"},
                        {8, 3, "No data type holds samples that are reals of 8 bits"},
                        {16, 5, "No data type holds samples that are complex numbers of 16 bits"},
                        {32, 6, "No data type holds samples that are complex numbers of 32 bits"}};
  for (const Case& each : cases) {
    const auto file = TiffBuilder().Bits(each.bits).Format(each.format);
    EXPECT_TRUE(TiffChannels(Write(file)).IsOpen()) << each.sentence;
    TiffChannels image(Write(file), kReadExact);
    EXPECT_FALSE(image.IsOpen());
    EXPECT_EQ(each.sentence, image.GetError());
  }
}

TEST_F(TiffExactSamples, ThatNoCodecDecodesAreRefusedWithASentence) {
  TiffChannels unknown(Write(TiffBuilder().Compression(34712)), kReadExact);
  EXPECT_FALSE(unknown.IsOpen());
  EXPECT_EQ("There is no decoder for compression 34712", unknown.GetError());
  TiffChannels jpeg(Write(TiffBuilder().Compression(7).Bits(12)), kReadExact);
  EXPECT_FALSE(jpeg.IsOpen());
  EXPECT_EQ("There is no decoder for JPEG of 12 bits a sample", jpeg.GetError());
}

TEST_F(TiffExactSamples, ComplexOnesKeepTheirType) {
  const std::tuple<int, int, int> types[] = {{32, 5, kCint16}, {64, 5, kCint32}, {64, 6, kCreal32}};
  for (const auto& [bits, format, type] : types) {
    const auto file = TiffBuilder().Bits(bits).Format(format);
    TiffChannels image(Write(file), kReadExact);
    EXPECT_EQ(type, image.GetMaster().GetDataType());
    EXPECT_EQ(All(ReferenceOf(file, 0)), image.ReadAll(0));
  }
}

TEST_F(TiffExactSamples, OfAllWidthsAreAsGdalReadsThem) {
  for (const int bits : {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 15, 16, 17, 20, 24, 31, 32}) {
    for (const bool isBigEndian : {false, true}) {
      auto file = TiffBuilder().Size(37, 29).Strips(8).Bits(bits).Samples(2);
      if (isBigEndian) file.BigEndian();
      if (isBigEndian && bits == 24) continue;  // GDAL turns their bytes around
      const std::string path = Write(file);
      TiffChannels image(path, kReadExact);
      const StoredImage oracle = ReadStoredWithGdal(path);
      ASSERT_EQ(2u, oracle.planes.size());
      const auto samples = image.ReadAll(1);
      const auto& plane = oracle.planes[1];
      ReferenceTiff::Samples wanted(samples.size());
      const auto size = static_cast<std::size_t>(plane.sampleBytes);
      for (std::size_t i = 0; i < wanted.size(); ++i) std::memcpy(&wanted[i], &plane.bytes.at(i * size), size);
      EXPECT_EQ(wanted, samples) << bits << ' ' << isBigEndian;
    }
  }
}

TEST_F(TiffExactSamples, OfThreeBytesHaveTheHighestFirstInFilesOfTheOrderMm) {
  const TiffBuilder::Bytes bytes = {1, 2, 3, 0x7F, 0xFF, 0xFF, 0x80, 0, 0};
  const auto file = TiffBuilder().Size(3, 1).Bits(24).BigEndian().Block(0, bytes);
  TiffChannels image(Write(file), kReadExact);
  EXPECT_THAT(image.ReadAll(0), ElementsAre(0x010203u, 0x7FFFFFu, 0x800000u));
  TiffChannels withSign(Write(TiffBuilder(file).Format(2)), kReadExact);
  EXPECT_THAT(Numbers<std::int32_t>(withSign, 0), ElementsAre(0x010203, 0x7FFFFF, -0x800000));
}

TEST_F(TiffExactSamples, WhereZeroIsWhiteAreAsStored) {
  for (const int bits : {1, 4, 8, 16}) {
    const auto file = TiffBuilder().Size(37, 5).Bits(bits).Photometric(0);
    TiffChannels image(Write(file), kReadExact);
    EXPECT_EQ(All(ReferenceOf(file, 0)), image.ReadAll(0)) << bits;
    EXPECT_EQ(0, image.GetMaster().GetPhotometric());
    EXPECT_EQ(0, image.GetMaster().GetNumOfPalette());
  }
}

TEST_F(TiffExactSamples, OfAPaletteHaveTheNearestColours) {
  // 0x80FF / 257 is 128.49, 0x8100 / 257 is 128.498, 0x8101 / 257 is 128.502.
  const auto file = Row({0, 1}).Bits(1).Photometric(3).ColourMap({0xFFFF, 0x8101, 0, 0x8100, 0x00FF, 0xFF00});
  TiffChannels image(Write(file), kReadExact);
  ASSERT_EQ(3, image.GetNumChannels());
  EXPECT_THAT(image.ReadAll(0), ElementsAre(255u, 129u));
  EXPECT_THAT(image.ReadAll(1), ElementsAre(0u, 128u));
  EXPECT_THAT(image.ReadAll(2), ElementsAre(1u, 254u));
  TiffChannels compatible(Write(file));
  EXPECT_THAT(compatible.ReadAll(0), ElementsAre(255u, 0x81u));
  EXPECT_THAT(compatible.ReadAll(1), ElementsAre(0u, 0x81u));
  EXPECT_THAT(compatible.ReadAll(2), ElementsAre(0u, 255u));
}

TEST_F(TiffExactSamples, BesideAPaletteAreBandsOfTheirOwn) {
  const auto file = TiffBuilder()
                        .Size(5, 4)
                        .Bits(1)
                        .Samples(2)
                        .Photometric(3)
                        .Tag(338, 3, {2})
                        .ColourMap({0x0101, 0x0202, 0x0303, 0x0404, 0x0505, 0x0606});
  TiffChannels image(Write(file), kReadExact);
  ASSERT_EQ(4, image.GetNumChannels());
  EXPECT_EQ(All(ReferenceOf(file, 1)), image.ReadAll(3));
  ReferenceTiff blue = ReferenceOf(file, 0);
  blue.palette = {5, 6};
  EXPECT_EQ(All(blue), image.ReadAll(2));
}

TEST_F(TiffExactSamples, AreNotColouredWhereTheImageIsNotOfAPalette) {
  std::vector<std::uint16_t> map(3 * 256);
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<std::uint16_t>(7 * i);
  const auto file = TiffBuilder().ColourMap(map);
  TiffChannels image(Write(file), kReadExact);
  ASSERT_EQ(1, image.GetNumChannels());
  EXPECT_EQ(All(ReferenceOf(file, 0)), image.ReadAll(0));
}

TEST_F(TiffExactSamples, TheTagForNoDataIsTheNullValueOfAllBands) {
  const auto file = TiffBuilder().Samples(2).Bits(16).Format(2).Text(42113, "-32768");
  TiffChannels image(Write(file), kReadExact);
  EXPECT_EQ(-32768.0, image.At(0).GetNullValue());
  EXPECT_EQ(-32768.0, image.At(1).GetNullValue());
  TiffChannels compatible(Write(file));
  EXPECT_EQ(kNotSet, compatible.At(0).GetNullValue());
  EXPECT_EQ(kNotSet, compatible.At(1).GetNullValue());
}

TEST_F(TiffExactSamples, StatisticsLeaveTheNullValueOut) {
  const auto file = Row({10, 255, 30, 255}).Text(42113, "255");
  TiffChannels image(Write(file), kReadExact);
  ASSERT_EQ(1, image.GetMaster().CalcStatistics(1));
  EXPECT_EQ(10.0, image.GetMaster().GetBandMin());
  EXPECT_EQ(30.0, image.GetMaster().GetBandMax());
  EXPECT_EQ(20.0, image.GetMaster().GetBandMean());
}

TEST_F(TiffExactSamples, TheEntryForNoDataIsNoColour) {
  const auto file =
      Row({0, 1}).Bits(1).Photometric(3).Text(42113, "1").ColourMap({0x0101, 0x0202, 0x0303, 0x0404, 0x0505, 0x0606});
  TiffChannels image(Write(file), kReadExact);
  for (int c = 0; c < 3; ++c) EXPECT_EQ(kNotSet, image.At(c).GetNullValue());
}

zrk::TiffLayout LayoutOf(int bits, int format) {
  zrk::TiffTags tags;
  tags.bitsPerSample = bits;
  tags.sampleFormat = format;
  return zrk::PlanTiffExactly(tags, {}, false);
}

TEST(TiffNullSample, IsTheNumberThatTheTypeCanHold) {
  using zrk::ParseNullSample;
  EXPECT_EQ(255.0, ParseNullSample("255", LayoutOf(8, 1)));
  EXPECT_EQ(0.0, ParseNullSample(" 0 ", LayoutOf(8, 1)));
  EXPECT_EQ(7.0, ParseNullSample("+7.0", LayoutOf(8, 1)));
  EXPECT_EQ(-1.0, ParseNullSample("-1", LayoutOf(8, 2)));
  EXPECT_EQ(-9999.0, ParseNullSample("-9.999e3", LayoutOf(16, 2)));
  for (const char* text : {"256", "-1", "0.5", "nan", "inf", "", "none", "1e999"}) {
    EXPECT_EQ(std::nullopt, ParseNullSample(text, LayoutOf(8, 1))) << text;
  }
}

TEST(TiffNullSample, OfSinglesIsTheNearestOne) {
  using zrk::ParseNullSample;
  constexpr double kLargest = static_cast<double>(std::numeric_limits<float>::max());
  EXPECT_EQ(static_cast<double>(-9999.9f), ParseNullSample("-9999.9", LayoutOf(32, 3)));
  EXPECT_EQ(-kLargest, ParseNullSample("-3.4028235e+38", LayoutOf(32, 3)));
  EXPECT_EQ(-kLargest, ParseNullSample("-3.4028234663852886e+38", LayoutOf(32, 3)));
  EXPECT_EQ(std::nullopt, ParseNullSample("-1e300", LayoutOf(32, 3)));
  EXPECT_EQ(-1e300, ParseNullSample("-1e300", LayoutOf(64, 3)));
  EXPECT_EQ(-std::numeric_limits<double>::infinity(), ParseNullSample("-inf", LayoutOf(32, 3)));
  EXPECT_TRUE(std::isnan(ParseNullSample("nan", LayoutOf(64, 3)).value_or(0.0)));
}

TEST(TiffNullSample, OfComplexSamplesIsTheRealPart) {
  EXPECT_EQ(-5.0, zrk::ParseNullSample("-5", LayoutOf(32, 5)));
  EXPECT_EQ(std::nullopt, zrk::ParseNullSample("40000", LayoutOf(32, 5)));
}

TEST(TiffNullSample, OfIntegersOf64BitsHasADouble) {
  EXPECT_EQ(-0x1p63, zrk::ParseNullSample("-9223372036854775808", LayoutOf(64, 2)));
  EXPECT_EQ(std::nullopt, zrk::ParseNullSample("-1", LayoutOf(64, 1)));
  EXPECT_EQ(std::nullopt, zrk::ParseNullSample("1e20", LayoutOf(64, 2)));
}

}  // namespace
