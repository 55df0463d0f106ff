// Files that do not keep every sample: how large they become, how near they come, and what their layers hold.

#include "Jp2Writing.h"

#include <cmath>

namespace {

class XRSFile2JP2Layers : public Jp2Writing {
 protected:
  static constexpr int kWidth = 300, kHeight = 260;

  void AddPictures(int numBands) {
    NewDataset();
    pictures_.clear();
    for (int i = 0; i < numBands; ++i) {
      pictures_.push_back(PictureSamples<std::uint8_t>(kWidth, kHeight, static_cast<unsigned>(i)));
      AddSamples(kWidth, kHeight, pictures_.back());
    }
  }
  /// Of all bands together, with all layers or some.
  double MeasurePsnr(int numLayers = 0) {
    const OpjImage image = Decode({.numLayers = numLayers});
    double sum = 0.0, count = 0.0;
    for (std::size_t band = 0; band < pictures_.size(); ++band) {
      for (std::size_t i = 0; i < pictures_[band].size(); ++i) {
        sum += std::pow(pictures_[band][i] - image.components[band].samples[i], 2);
        ++count;
      }
    }
    return sum == 0.0 ? 1000.0 : 10.0 * std::log10(255.0 * 255.0 / (sum / count));
  }
  double BitsOfAPixel() const { return 8.0 * static_cast<double>(ReadBytes(Out()).size()) / (kWidth * kHeight); }

  std::vector<std::vector<std::uint8_t>> pictures_;
};

TEST_F(XRSFile2JP2Layers, FilesHaveTheBitsAskedForAPixel) {
  for (const int numBands : {1, 3}) {
    AddPictures(numBands);
    for (const auto& [text, bits] : {std::pair{"0.5", 0.5}, {"1", 1.0}, {"2.5", 2.5}}) {
      for (const int reversible : {0, 1}) {
        ASSERT_EQ(1, SaveImage({.reversible = reversible, .rates = text})) << Error();
        EXPECT_LT(BitsOfAPixel(), bits * 1.05 + 0.03) << numBands << " " << text;
        EXPECT_GT(BitsOfAPixel(), bits * 0.9) << numBands << " " << text;
        EXPECT_EQ(reversible == 1, Decode().isReversible);
      }
    }
  }
}

TEST_F(XRSFile2JP2Layers, TheRateIsThatOfTheWholeImageWhateverItsTiles) {
  AddPictures(3);
  writer_.SetTileSize(64);
  ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = "1.5"}));
  EXPECT_NEAR(1.5, BitsOfAPixel(), 0.15);
}

TEST_F(XRSFile2JP2Layers, EachLayerComesNearerThanTheOneBefore) {
  AddPictures(3);
  ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = "0.5, 1,2"})) << Error();
  EXPECT_EQ(3, Decode().numLayers);
  const double first = MeasurePsnr(1), second = MeasurePsnr(2), third = MeasurePsnr(3);
  EXPECT_GT(second, first + 1);
  EXPECT_GT(third, second + 1);
  ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = "0.5"}));
  EXPECT_NEAR(first, MeasurePsnr(), 1.0);
}

TEST_F(XRSFile2JP2Layers, AnEmptyLastRateStandsForEverything) {
  AddPictures(3);
  ASSERT_EQ(1, SaveImage({.reversible = 1, .rates = "0.5,1,"})) << Error();
  EXPECT_EQ(3, Decode().numLayers);
  EXPECT_EQ(1000.0, MeasurePsnr());
  EXPECT_LT(MeasurePsnr(2), 60.0);
}

TEST_F(XRSFile2JP2Layers, OneLayerOfEverythingIsWhatNoRatesGive) {
  AddPictures(1);
  ASSERT_EQ(1, SaveImage());
  EXPECT_EQ(1, Decode().numLayers);
  EXPECT_EQ(1000.0, MeasurePsnr());
  ASSERT_EQ(1, SaveImage({.reversible = 0}));
  EXPECT_EQ(1, Decode().numLayers);
  EXPECT_GT(MeasurePsnr(), 48.0);
}

TEST_F(XRSFile2JP2Layers, FurtherLayersComeBeforeTheFirst) {
  AddPictures(3);
  ASSERT_EQ(1, SaveImage({.reversible = 1, .numLayers = 4})) << Error();
  EXPECT_EQ(4, Decode().numLayers);
  EXPECT_EQ(1000.0, MeasurePsnr());
  for (int i = 2; i <= 4; ++i) EXPECT_GT(MeasurePsnr(i), MeasurePsnr(i - 1)) << i;
  ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = "2", .numLayers = 3}));
  EXPECT_EQ(3, Decode().numLayers);
  EXPECT_NEAR(2.0, BitsOfAPixel(), 0.1);
  const double coarse = MeasurePsnr(1);
  ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = "0.5"}));
  EXPECT_NEAR(coarse, MeasurePsnr(), 1.0);
}

TEST_F(XRSFile2JP2Layers, TheQualityIsTheOneAskedFor) {
  for (const int numBands : {1, 3}) {
    AddPictures(numBands);
    for (const double decibels : {30.0, 40.0}) {
      writer_.SetPsnr(decibels);
      ASSERT_EQ(1, SaveImage({.reversible = 0})) << Error();
      EXPECT_NEAR(decibels, MeasurePsnr(), 2.0) << numBands;
    }
  }
}

TEST_F(XRSFile2JP2Layers, TheQualityIsReachedInEqualSteps) {
  AddPictures(1);
  writer_.SetPsnr(45);
  ASSERT_EQ(1, SaveImage({.reversible = 0, .numLayers = 3}));
  EXPECT_EQ(3, Decode().numLayers);
  EXPECT_NEAR(30.0, MeasurePsnr(2), 3.0);
  EXPECT_NEAR(45.0, MeasurePsnr(), 2.0);
}

TEST_F(XRSFile2JP2Layers, AnImageOfOneValueStaysNearItByAnyRateAndQuality) {
  for (const int numBands : {1, 3}) {
    NewDataset();
    pictures_.assign(static_cast<std::size_t>(numBands), std::vector<std::uint8_t>(kWidth * kHeight, 200));
    for (const auto& samples : pictures_) AddSamples(kWidth, kHeight, samples);
    for (const double decibels : {0.0, 40.0}) {
      writer_.SetPsnr(decibels);
      ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = decibels > 0 ? "" : "0.25"})) << Error();
      EXPECT_GT(MeasurePsnr(), 35.0);
    }
  }
}

TEST_F(XRSFile2JP2Layers, SixteenBitsFollowTheRateToo) {
  AddSamples(kWidth, kHeight, PictureSamples<std::uint16_t>(kWidth, kHeight));
  AddSamples(kWidth, kHeight, PictureSamples<std::uint16_t>(kWidth, kHeight, 2));
  ASSERT_EQ(1, SaveImage({.reversible = 0, .rates = "1.5"}));
  EXPECT_NEAR(1.5, BitsOfAPixel(), 0.1);
}

TEST_F(XRSFile2JP2Layers, AHundredLayersOfOnePixelHaveRoom) {
  for (int i = 0; i < 5; ++i) Add<std::uint16_t>(1, 1, static_cast<unsigned>(i));
  ASSERT_EQ(1, SaveImage({.numLayers = 100})) << Error();
  const OpjImage image = Decode();
  EXPECT_EQ(100, image.numLayers);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(RandomSamples<std::uint16_t>(1, 1, static_cast<unsigned>(i)), SamplesOfType<std::uint16_t>(image, i));
  }
}

}  // namespace
