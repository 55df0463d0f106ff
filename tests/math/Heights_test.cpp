#include "math/Heights.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

constexpr std::int16_t kGuardHeight = 0x5A5A;

/// By the definition, word by word.
int HeightOf(int word) {
  if (word < 32768) return word;
  const int magnitude = word - 32768;
  return magnitude >= 16000 ? 0 : -magnitude;
}

TEST(Heights, AreSignAndMagnitude) {
  EXPECT_EQ(0, zrk::HeightOf(0x0000));
  EXPECT_EQ(8848, zrk::HeightOf(8848));
  EXPECT_EQ(32767, zrk::HeightOf(0x7FFF));
  EXPECT_EQ(-1, zrk::HeightOf(0x8001));
  EXPECT_EQ(0, zrk::HeightOf(0x8000));
}

TEST(Heights, AreZeroWhereTheyAreUnknownOrTooFarBelow) {
  EXPECT_EQ(0, zrk::HeightOf(0xFFFF));
  EXPECT_EQ(-15999, zrk::HeightOf(0xBE7F));
  EXPECT_EQ(0, zrk::HeightOf(0xBE80));
}

/// Each word once: 256 columns of 256 points.
TEST(Heights, ComeOutOfEveryWordAsByDefinition) {
  std::vector<unsigned char> columns;
  for (int word = 0; word < 65536; ++word) {
    columns.push_back(static_cast<unsigned char>(word >> 8));
    columns.push_back(static_cast<unsigned char>(word));
  }
  std::vector<std::int16_t> rows(65536);
  zrk::TransposeHeights(columns.data(), 512, 256, 256, rows.data(), 256);
  for (int word = 0; word < 65536; ++word) {
    const int column = word / 256, row = 255 - word % 256;
    ASSERT_EQ(HeightOf(word), rows[static_cast<std::size_t>(256 * row + column)]) << word;
  }
}

/// Kept as they are, whatever the sign and the size; 0xFFFF is -32767.
TEST(Heights, FarBelowZeroAreKeptWhereTheyAreAskedFor) {
  std::vector<unsigned char> columns;
  for (int word = 0; word < 65536; ++word) {
    columns.push_back(static_cast<unsigned char>(word >> 8));
    columns.push_back(static_cast<unsigned char>(word));
  }
  std::vector<std::int16_t> rows(65536), twin(65536);
  zrk::TransposeHeights(columns.data(), 512, 256, 256, rows.data(), 256, zrk::FarBelow::kKept);
  zrk::TransposeHeightsSingly(columns.data(), 512, 256, 256, twin.data(), 256, zrk::FarBelow::kKept);
  for (int word = 0; word < 65536; ++word) {
    const int column = word / 256, row = 255 - word % 256;
    ASSERT_EQ(word < 32768 ? word : 32768 - word, rows[static_cast<std::size_t>(256 * row + column)]) << word;
  }
  EXPECT_EQ(rows, twin);
}

TEST(Heights, EqualTheirScalarTwinsAtEverySizeAndTouchNothingElse) {
  std::mt19937 random(5);
  for (int numColumns = 1; numColumns < 36; ++numColumns) {
    for (const int numPoints : {1, 2, 7, 8, 9, 15, 16, 17, 31}) {
      const std::int64_t columnBytes = 2 * numPoints + 12, rowSamples = numColumns + 3;
      std::vector<unsigned char> columns(static_cast<std::size_t>(numColumns * columnBytes - 12));
      for (unsigned char& byte : columns) byte = static_cast<unsigned char>(random());
      std::vector<std::int16_t> rows(static_cast<std::size_t>(numPoints * rowSamples), kGuardHeight), twin = rows;
      zrk::TransposeHeights(columns.data(), columnBytes, numColumns, numPoints, rows.data(), rowSamples);
      zrk::TransposeHeightsSingly(columns.data(), columnBytes, numColumns, numPoints, twin.data(), rowSamples);
      ASSERT_EQ(twin, rows) << numColumns << " x " << numPoints;
      for (int row = 0; row < numPoints; ++row) {
        ASSERT_EQ(kGuardHeight, rows[static_cast<std::size_t>(row * rowSamples + numColumns)]);
      }
    }
  }
}

}  // namespace
