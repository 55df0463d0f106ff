// Frames of maps and of grey imagery under the exact policy. The builder says which code each pixel has, and which
// colour a code.

#include "LoadedRaster.h"
#include "RpfFrameBuilder.h"
#include "XFormatId.h"
#include "ZRMBandCADRG.h"

#include <gtest/gtest.h>

namespace {

using Frame = RpfFrameBuilder;

class ExactFrame : public LoadedRaster {
 public:
  ExactFrame(const std::vector<unsigned char>& bytes, int id) : LoadedRaster(bytes, id) {}
  int At(int c, int x, int y) {
    const Pixels pixels = Read(c, 0, {x, x, y, y});
    return pixels.bytes.empty() ? -1 : pixels.bytes[0];
  }
};

ExactFrame Map(const Frame& builder) {
  return {builder.Build(), kFormatCADRG};
}

/// The first pixel of a code, by columns and then rows; none in the frame would be an error of the test.
std::pair<int, int> FindPixel(const Frame& builder, int code) {
  for (int i = 0; i < 1536 * 1536; ++i) {
    if (builder.PixelAt(i % 1536, i / 1536) == code) return {i % 1536, i / 1536};
  }
  ADD_FAILURE() << "no pixel has the code " << code;
  return {0, 0};
}

TEST(RpfExact, TransparentPixelsKeepTheirColourAndHaveNoOpacity) {
  for (const Frame& builder :
       {Frame().ColorTable(2, 217, 4).Transparent(77), Frame().ColorTable(2, 217, 4).Transparent(77).Plain()}) {
    ExactFrame frame = Map(builder);
    ASSERT_TRUE(frame.IsOpen()) << frame.Reason();
    ASSERT_EQ(4, frame.CountBands());
    EXPECT_EQ(kRoleAlpha, frame.Band(3).GetColourRole());
    EXPECT_EQ(kRoleBlue, frame.Band(2).GetColourRole());
    const auto [x, y] = FindPixel(builder, 77);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(Frame::Color(c, 77), frame.At(c, x, y));
    EXPECT_EQ(0, frame.At(3, x, y));
    const auto [otherX, otherY] = FindPixel(builder, 78);
    EXPECT_EQ(255, frame.At(3, otherX, otherY));
    EXPECT_EQ(Frame::Color(0, 78), frame.At(0, otherX, otherY));
  }
}

TEST(RpfExact, AFrameWithoutTransparencyHasItsColoursAlone) {
  ExactFrame frame = Map(Frame());
  EXPECT_EQ(3, frame.CountBands());
  EXPECT_FALSE(static_cast<ZRMBandCADRG&>(frame.Band(0)).HasOpacity());
}

TEST(RpfExact, AbsentSubframesAreTransparent) {
  const Frame builder = Frame().ColorTable(2, 217, 4).Absent({7}).Transparent(77);
  ExactFrame frame = Map(builder);
  ASSERT_EQ(4, frame.CountBands()) << frame.Reason();
  EXPECT_EQ(0, frame.At(3, 256, 256));
  EXPECT_EQ(0, frame.At(3, 511, 511));
  EXPECT_EQ(Frame::Color(0, 77), frame.At(0, 300, 300));
  EXPECT_EQ(Frame::Color(0, builder.PixelAt(512, 300)), frame.At(0, 512, 300));
}

TEST(RpfExact, TransparentGreyIsTheNullValueAndNoOtherPixelHasIt) {
  const Frame builder = Frame().Grey().Transparent(77).Absent({35});
  ExactFrame frame(builder.Build(), kFormatCIB);
  ASSERT_TRUE(frame.IsOpen()) << frame.Reason();
  const auto null = static_cast<int>(frame.Band(0).GetNullValue());
  const Pixels pixels = ReadPixels(frame.Band(0), 0, {0, 1535, 0, 1535});
  int numWrong = 0;
  for (int i = 0; i < 1536 * 1536; ++i) {
    const int x = i % 1536, y = i / 1536;
    const bool isNull = builder.PixelAt(x, y) == 77 || (x >= 1280 && y >= 1280);
    const int grey = pixels.bytes[static_cast<std::size_t>(i)];
    numWrong += (grey == null) != isNull || (!isNull && grey != Frame::Color(0, builder.PixelAt(x, y)));
  }
  EXPECT_EQ(0, numWrong);
}

TEST(RpfExact, GreyWithoutTransparencyHasNoNullValue) {
  ExactFrame frame(Frame().Grey().Build(), kFormatCIB);
  EXPECT_EQ(kNotSet, frame.Band(0).GetNullValue());
}

TEST(RpfExact, ASubframeThatIsCutFailsAndTheOthersAreRead) {
  for (const Frame& builder : {Frame(), Frame().Plain(), Frame().Absent({3})}) {
    std::vector<unsigned char> bytes = builder.Build();
    bytes.resize(bytes.size() - 5000);
    ExactFrame frame = Map(builder);
    EXPECT_EQ("", frame.Failure({0, 1535, 0, 1535}));
    ExactFrame cut(bytes, kFormatCADRG);
    ASSERT_TRUE(cut.IsOpen()) << cut.Reason();
    EXPECT_EQ("The file ends within subframe 35 of the frame", cut.Failure({0, 1535, 0, 1535}));
    EXPECT_EQ("The file ends within subframe 35 of the frame", cut.Failure({1535, 1535, 1535, 1535}));
    EXPECT_EQ("", cut.Failure({0, 1535, 0, 1279}));
    EXPECT_EQ("", cut.Failure({0, 1279, 0, 1535}));
  }
}

TEST(RpfExact, ACodeThatTheColourTableLacksFailsItsSubframe) {
  // Codes go up to 215.
  ExactFrame frame = Map(Frame().ColorTable(1, 200, 3));
  ASSERT_TRUE(frame.IsOpen()) << frame.Reason();
  EXPECT_EQ("The colour table lacks a colour of subframe 0 of the frame", frame.Failure({0, 0, 0, 0}));
  ExactFrame plain = Map(Frame().Plain().AllPixels(199).ColorTable(1, 200, 3));
  EXPECT_EQ("", plain.Failure({0, 1535, 0, 1535}));
}

TEST(RpfExact, LevelsAreThinnedFromTheCornerOfTheWindow) {
  const Frame builder;
  ExactFrame frame = Map(builder);
  const Pixels pixels = ReadPixels(frame.Band(1), 3, {5, 1535, 7, 1000});
  ASSERT_EQ(1531 >> 3, pixels.width);
  ASSERT_EQ(994 >> 3, pixels.height);
  int numWrong = 0;
  for (int i = 0; i < pixels.width * pixels.height; ++i) {
    const int x = 5 + i % pixels.width * 8, y = 7 + i / pixels.width * 8;
    numWrong += pixels.bytes[static_cast<std::size_t>(i)] != Frame::Color(1, builder.PixelAt(x, y));
  }
  EXPECT_EQ(0, numWrong);
}

TEST(RpfExact, SaysWhatIsWrongWithAFrameThatItRefuses) {
  EXPECT_EQ("The frame has no colour table, or a damaged one", Map(Frame().Without(0x87)).Reason());
  EXPECT_EQ("The frame lacks a section, or one of them is damaged", Map(Frame().Without(0x8C)).Reason());
  ExactFrame colour(Frame().Build(), kFormatCIB);
  EXPECT_EQ("The frame has no grey colour table", colour.Reason());
}

TEST(RpfPlace, HasThePrecisionOfTheFileInTheTransformOfBothPolicies) {
  const Frame builder = Frame().Grey().Coverage({0.1, -0.3, 0, 0, 0, 0, 0, 0, 0, 0, 0.0015, 0.0017});
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    LoadedRaster frame(builder.Build(), kFormatCIB, policy);
    ASSERT_TRUE(frame.IsOpen()) << frame.Reason();
    double transform[6];
    frame.Band().GetGeoTransform(transform);
    EXPECT_EQ(-0.3, transform[0]);
    EXPECT_EQ(0.0017, transform[1]);
    EXPECT_EQ(0.1, transform[3]);
    EXPECT_EQ(-0.0015, transform[5]);
    EXPECT_EQ(policy == kReadExact, frame.Band().GetULX() == -0.3);
  }
}

TEST(RpfPlace, FollowsTheCornersWhereTheyMakeARectangle) {
  // The intervals say 0.0015 and 0.0017.
  ExactFrame frame = Map(Frame());
  double transform[6];
  frame.Band(2).GetGeoTransform(transform);
  EXPECT_EQ(-99.5, transform[0]);
  EXPECT_DOUBLE_EQ(2.5 / 1536, transform[1]);
  EXPECT_EQ(31.25, transform[3]);
  EXPECT_DOUBLE_EQ(-2.25 / 1536, transform[5]);
  EXPECT_EQ(0.0017, frame.Band(0).GetXPixelSize());
}

}  // namespace
