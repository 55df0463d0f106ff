#include "XWaveletLayers.h"

#include <gtest/gtest.h>

#include <climits>

TEST(WaveletLayers, KnowTheBytesOfAnElement) {
  const int bytes[] = {1, 1, 2, 2, 4, 4, 4, 8};
  for (char code = 0; code < 8; ++code) EXPECT_EQ(bytes[static_cast<int>(code)], XfnWTGetDataSize(code));
}

TEST(WaveletLayers, KnowNoOtherElements) {
  EXPECT_EQ(0, XfnWTGetDataSize(8));
  EXPECT_EQ(0, XfnWTGetDataSize(127));
  EXPECT_EQ(0, XfnWTGetDataSize(static_cast<char>(-1)));
  EXPECT_EQ(0, XfnWTGetDataSize(static_cast<char>(-128)));
}

TEST(WaveletLayers, HaveOneElementAndThenThreeBlocks) {
  EXPECT_EQ(1, XfnWTGetLayerSize(0));
  EXPECT_EQ(3, XfnWTGetLayerSize(1));
  EXPECT_EQ(12, XfnWTGetLayerSize(2));
  EXPECT_EQ(48, XfnWTGetLayerSize(3));
  EXPECT_EQ(805306368, XfnWTGetLayerSize(15));
}

TEST(WaveletLayers, DoubleTheirBlocks) {
  EXPECT_EQ(1, XfnWTGetLayerWidth(0));
  EXPECT_EQ(1, XfnWTGetLayerWidth(1));
  EXPECT_EQ(2, XfnWTGetLayerWidth(2));
  EXPECT_EQ(128, XfnWTGetLayerWidth(8));
}

TEST(WaveletLayers, BeginBehindAllLayersBelow) {
  EXPECT_EQ(0, XfnWTGetLayerOffsetLO(0));
  EXPECT_EQ(1, XfnWTGetLayerOffsetLO(1));
  EXPECT_EQ(4, XfnWTGetLayerOffsetLO(2));
  EXPECT_EQ(16, XfnWTGetLayerOffsetLO(3));
  int sum = 0;
  for (int layer = 0; layer <= 15; ++layer) {
    EXPECT_EQ(sum, XfnWTGetLayerOffsetLO(layer));
    sum += XfnWTGetLayerSize(layer);
  }
}

TEST(WaveletLayers, FillASquare) {
  EXPECT_EQ(1, XfnWTGetSizeToLayer(0));
  EXPECT_EQ(256, XfnWTGetSizeToLayer(8));
}

TEST(WaveletLayers, FitIntoASquare) {
  EXPECT_EQ(8, XfnWTGetMaxLayerWithinSize(256));
  EXPECT_EQ(7, XfnWTGetMaxLayerWithinSize(255));
  EXPECT_EQ(9, XfnWTGetNumLayers(256));
  EXPECT_EQ(10, XfnWTGetMaxLevel(1024));
  EXPECT_EQ(9, XfnWTGetMaxLevel(1024, 512));
  EXPECT_EQ(9, XfnWTGetMaxLevel(512, 1024));
}

TEST(WaveletLayers, DoNotFitIntoNothing) {
  EXPECT_EQ(-1, XfnWTGetMaxLayerWithinSize(0));
  EXPECT_EQ(-1, XfnWTGetMaxLevel(-8));
  EXPECT_EQ(-1, XfnWTGetMaxLevel(16, 0));
  EXPECT_EQ(0, XfnWTGetNumLayers(0));
}

TEST(WaveletLayers, AnswerZeroForWhatNoIntHoldsAndForNegativeLayers) {
  for (const int layer : {31, 64, INT_MAX, -1, INT_MIN}) {
    EXPECT_EQ(0, XfnWTGetLayerSize(layer)) << layer;
    EXPECT_EQ(0, XfnWTGetSizeToLayer(layer)) << layer;
    EXPECT_EQ(0, XfnWTGetLayerOffsetLO(layer)) << layer;
  }
  EXPECT_EQ(0, XfnWTGetLayerSize(16));
  EXPECT_EQ(0, XfnWTGetLayerOffsetLO(17));
  EXPECT_EQ(0, XfnWTGetLayerWidth(32));
  EXPECT_EQ(0, XfnWTGetLayerWidth(-1));
  EXPECT_EQ(1 << 30, XfnWTGetLayerWidth(31));
}
