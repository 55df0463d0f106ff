// Samples that are given other bits than they have.

#include "Jp2Writing.h"
#include "writers/Jp2Precision.h"

#include <climits>

namespace {

using zrk::FindForcedPrecision;

class XRSFile2JP2Precision : public Jp2Writing {
 protected:
  /// What a row of samples becomes.
  template <class Sample>
  std::vector<int> SaveWith(const std::vector<int>& precisions, const std::vector<Sample>& samples) {
    NewDataset();
    AddSamples(static_cast<int>(samples.size()), 1, samples);
    writer_.SetForcedPrecisions(precisions);
    EXPECT_EQ(1, SaveImage()) << Error();
    const OpjImage image = Decode();
    EXPECT_EQ(std::abs(precisions[0]), image.components[0].precision);
    EXPECT_EQ(std::is_signed_v<Sample>, image.components[0].isSigned);
    return image.components[0].samples;
  }
};

using Ints = std::vector<int>;

TEST_F(XRSFile2JP2Precision, APositiveNumberMovesSamples) {
  EXPECT_EQ((Ints{0, 16, 4080}), SaveWith<std::uint8_t>({12}, {0, 1, 255}));
  EXPECT_EQ((Ints{0, 4, 15}), SaveWith<std::uint8_t>({4}, {0, 64, 255}));
  EXPECT_EQ((Ints{0, 1, 4095}), SaveWith<std::uint16_t>({12}, {0, 16, 65535}));
  EXPECT_EQ((Ints{-128, -1, 127}), SaveWith<std::int16_t>({8}, {-32768, -1, 32767}));
  EXPECT_EQ((Ints{-32768, -256, 32512}), SaveWith<std::int8_t>({16}, {-128, -1, 127}));
}

TEST_F(XRSFile2JP2Precision, ANegativeNumberKeepsTheirValue) {
  EXPECT_EQ((Ints{0, 1, 255}), SaveWith<std::uint8_t>({-12}, {0, 1, 255}));
  EXPECT_EQ((Ints{0, 15, 15}), SaveWith<std::uint8_t>({-4}, {0, 64, 255}));
  EXPECT_EQ((Ints{0, 16, 4095}), SaveWith<std::uint16_t>({-12}, {0, 16, 65535}));
  EXPECT_EQ((Ints{-128, -1, 127}), SaveWith<std::int16_t>({-8}, {-32768, -1, 32767}));
  EXPECT_EQ((Ints{-1, -1, 0}), SaveWith<std::int8_t>({-1}, {-128, -1, 127}));
}

TEST_F(XRSFile2JP2Precision, TheLastNumberStandsForFurtherComponents) {
  for (int i = 0; i < 4; ++i) Add<std::uint16_t>(9, 5, static_cast<unsigned>(i));
  writer_.SetForcedPrecisions({0, -11, 12});
  ASSERT_EQ(1, SaveImage()) << Error();
  const OpjImage image = Decode();
  EXPECT_EQ(16, image.components[0].precision);
  EXPECT_EQ(11, image.components[1].precision);
  EXPECT_EQ(12, image.components[2].precision);
  EXPECT_EQ(12, image.components[3].precision);
  EXPECT_EQ((RandomSamples<std::uint16_t>(9, 5, 0)), SamplesOfType<std::uint16_t>(image, 0));
}

TEST_F(XRSFile2JP2Precision, MoreBitsThanTheCodecTakesAreRefused) {
  Add<std::uint8_t>(8, 8);
  writer_.SetForcedPrecisions({17});
  ExpectRefusal("The codec takes samples of 1 to 16 bits");
  writer_.SetForcedPrecisions({31});
  ExpectRefusal(
      "Attempting to force the precision of component 0 beyond 30 bits; we will force to 30 bits only. The codec takes "
      "samples of 1 to 16 bits");
}

TEST(Jp2ForcedPrecision, IsTakenFromTheList) {
  XString err;
  const std::vector<int> list = {7, -9, 0, 12};
  EXPECT_EQ(7, FindForcedPrecision(list, 0, err)->bits);
  EXPECT_TRUE(FindForcedPrecision(list, 0, err)->isAligned);
  EXPECT_EQ(9, FindForcedPrecision(list, 1, err)->bits);
  EXPECT_FALSE(FindForcedPrecision(list, 1, err)->isAligned);
  EXPECT_FALSE(FindForcedPrecision(list, 2, err));
  EXPECT_EQ(12, FindForcedPrecision(list, 3, err)->bits);
  EXPECT_EQ(12, FindForcedPrecision(list, 100, err)->bits);
  EXPECT_FALSE(FindForcedPrecision(list, -1, err));
  EXPECT_FALSE(FindForcedPrecision({}, 0, err));
  EXPECT_TRUE(err.IsEmpty());
}

TEST(Jp2ForcedPrecision, Beyond30BitsIs30AndToldOf) {
  for (const int bits : {31, -31, INT_MAX, INT_MIN}) {
    XString err;
    const std::vector<int> list = {30, bits};
    EXPECT_EQ(30, FindForcedPrecision(list, 0, err)->bits);
    EXPECT_TRUE(err.IsEmpty());
    EXPECT_EQ(30, FindForcedPrecision(list, 4, err)->bits);
    EXPECT_EQ(bits > 0, FindForcedPrecision(list, 4, err)->isAligned);
    EXPECT_EQ("Attempting to force the precision of component 4 beyond 30 bits; we will force to 30 bits only.",
              err.AsStdString());
  }
}

}  // namespace
