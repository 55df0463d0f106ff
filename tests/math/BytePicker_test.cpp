#include "math/BytePicker.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

/// Picks from a row that ends where its memory does, and compares with loads one by one.
void ExpectPicked(const std::vector<int>& places, int rowBytes) {
  const auto row = std::make_unique<unsigned char[]>(static_cast<std::size_t>(rowBytes));
  for (int i = 0; i < rowBytes; ++i) row[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i * 37 + i / 256);
  zrk::BytePicker picker;
  ASSERT_TRUE(picker.Plan(places.data(), static_cast<int>(places.size()), rowBytes));
  std::vector<unsigned char> picked(places.size() + 1, 99);
  picker.Pick(row.get(), picked.data());
  for (std::size_t i = 0; i < places.size(); ++i) {
    ASSERT_EQ(row[static_cast<std::size_t>(places[i])], picked[i]) << i << " of " << places.size();
  }
  EXPECT_EQ(99, picked.back());
}

TEST(BytePicker, TakesTheBytesAtTheirPlaces) {
  for (const double step : {0.1, 0.5, 0.8, 1.0, 1.3, 1.9, 2.0}) {
    for (int count = 1; count < 300; count += 13) {
      std::vector<int> places;
      for (int i = 0; i < count; ++i) places.push_back(static_cast<int>(3 + i * step));
      ExpectPicked(places, places.back() + 1);
      ExpectPicked(places, places.back() + 100);
    }
  }
}

TEST(BytePicker, RefusesPlacesThatFallOrLieFarApart) {
  zrk::BytePicker picker;
  std::vector<int> falling, wide;
  for (int i = 0; i < 64; ++i) {
    falling.push_back(200 - i);
    wide.push_back(i * 3);
  }
  EXPECT_FALSE(picker.Plan(falling.data(), 64, 300));
  EXPECT_FALSE(picker.Plan(wide.data(), 64, 300));
}

TEST(BytePicker, TakesARowThatIsShorterThanAVector) {
  ExpectPicked({0, 0, 1, 1, 2}, 3);
}

}  // namespace
