#include "JpegBuilder.h"
#include "LoadedRaster.h"
#include "ReferenceJpeg.h"
#include "XFormatId.h"
#include "ZRMBandJPG.h"

#include <gtest/gtest.h>

// JPEG files under the exact policy, and the reasons of reads in both.

namespace {

class LoadedJpeg : public LoadedRaster {
 public:
  LoadedJpeg(const std::vector<unsigned char>& bytes, XReadPolicy policy) : LoadedRaster(bytes, kFormatJPG, policy) {}
};

/// Every 2^level-th pixel of a read at full size.
Pixels Thin(const Pixels& whole, int level, const Window& window) {
  Pixels thin{window.Width() >> level, window.Height() >> level, {}, 1};
  for (int j = 0; j < thin.height; ++j) {
    for (int i = 0; i < thin.width; ++i) {
      const int x = window.x0 + (i << level), y = window.y0 + (j << level);
      thin.bytes.push_back(whole.bytes[static_cast<std::size_t>(y * whole.width + x)]);
    }
  }
  return thin;
}

TEST(JpegExact, LevelsAreThinnedFromTheCornerOfTheWindow) {
  for (const JpegBuilder& builder : {JpegBuilder().Size(91, 73), JpegBuilder().Size(91, 73).Grey()}) {
    LoadedJpeg image(builder.Build(), kReadExact);
    for (int c = 0; c < image.CountBands(); ++c) {
      const Pixels whole = image.Read(c, 0, {0, 90, 0, 72});
      for (const Window& window : {Window{0, 90, 0, 72}, Window{5, 80, 3, 71}, Window{7, 14, 9, 16}}) {
        for (int level = 1; level < 4; ++level) {
          EXPECT_EQ(Thin(whole, level, window), image.Read(c, level, window)) << c << ' ' << level << ' ' << window;
        }
      }
    }
  }
}

TEST(JpegExact, ALevelThatLeavesNoPixelFails) {
  for (const JpegBuilder& builder : {JpegBuilder(), JpegBuilder().Grey()}) {
    LoadedJpeg image(builder.Build(), kReadExact);
    EXPECT_EQ("The level leaves no pixel of the window", image.Failure(5, {0, 30, 0, 23}));
    EXPECT_EQ("The level leaves no pixel of the window", image.Failure(31, {0, 31, 0, 23}));
    EXPECT_EQ("The level leaves no pixel of the window", image.Failure(-1, {0, 31, 0, 23}));
  }
}

TEST(JpegExact, AFollowerFindsItsChannelOfALevel) {
  LoadedJpeg image(JpegBuilder().Size(64, 48).Build(), kReadExact);
  const Window whole{0, 63, 0, 47};
  for (int c = 0; c < 3; ++c) {
    const Pixels thin = image.Read(c, 2, whole);
    EXPECT_EQ(Thin(image.Read(c, 0, whole), 2, whole), thin);
  }
  EXPECT_NE(image.Read(0, 2, whole), image.Read(2, 2, whole));
}

TEST(JpegExact, TellsTheReasonOfTheDecoderForAFileThatWasCut) {
  std::vector<unsigned char> bytes = JpegBuilder().Size(64, 48).Build();
  bytes.resize(bytes.size() * 3 / 4);
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    LoadedJpeg image(bytes, policy);
    ASSERT_TRUE(image.IsOpen());
    EXPECT_EQ("Premature end of file", image.Failure(0, {0, 63, 0, 47}));
  }
}

TEST(JpegExact, TellsTheReasonOfTheDecoderForDamagedCodes) {
  std::vector<unsigned char> bytes = JpegBuilder().Size(64, 48).Grey().Build();
  for (std::size_t i = bytes.size() - 200; i < bytes.size() - 100; ++i) bytes[i] = 0xFE;
  LoadedJpeg image(bytes, kReadExact);
  const std::string reason = image.Failure(0, {0, 63, 0, 47});
  EXPECT_TRUE(reason.starts_with("Corrupt JPEG data")) << reason;
}

TEST(JpegExact, RefusesSamplesOfTwelveBitsWithTheDecodersWords) {
  std::vector<unsigned char> bytes = JpegBuilder().Build();
  for (std::size_t i = 0; i + 4 < bytes.size(); ++i) {
    if (bytes[i] == 0xFF && bytes[i + 1] == 0xC0) bytes[i + 4] = 12;
  }
  EXPECT_EQ("Can't read JPEG header : Unsupported JPEG data precision 12", LoadedJpeg(bytes, kReadExact).Reason());
}

TEST(JpegExact, TellsWhatItsChannelsShow) {
  LoadedJpeg grey(JpegBuilder().Grey().Build(), kReadExact), colour(JpegBuilder().Build(), kReadExact);
  EXPECT_EQ(kRoleGrey, grey.Band(0).GetColourRole());
  EXPECT_EQ(kRoleRed, colour.Band(0).GetColourRole());
  EXPECT_EQ(kRoleBlue, colour.Band(2).GetColourRole());
}

}  // namespace
