// Whatever instructions a machine has, it gets the same pixels.

#include "base/DataTypeVisit.h"
#include "core/resample/AreaMean.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstring>
#include <random>

namespace {

constexpr int kWidth = 203;

/// A row of an image of three rows, resized; `null` is a value that some samples have.
std::vector<unsigned char> Resize(int dataType, int outWidth, int outHeight, double null) {
  std::vector<unsigned char> out;
  zrk::VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    std::mt19937 random(5);
    std::vector<Sample> samples(3 * kWidth + 3);
    for (Sample& sample : samples)
      sample = static_cast<Sample>(random() % 16 ? static_cast<double>(random() >> 25) / 3 : 7.0);
    const zrk::AreaMean mean(outHeight == 1 ? kWidth - 1 : kWidth, outHeight == 1 ? 2 : 3, outWidth, outHeight,
                             dataType, null);
    out.resize(static_cast<std::size_t>(outWidth) * sizeof(Sample));
    zrk::AreaMean::Scratch scratch;
    const void* const rows[] = {&samples[0], &samples[kWidth], &samples[2 * kWidth]};
    mean.Row(0, rows, out.data(), scratch);
  });
  return out;
}

/// 0 stands for all that the machine has.
void UseInstructions(std::int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

class AreaKernels : public testing::TestWithParam<int> {
 protected:
  void TearDown() override { UseInstructions(0); }
};

TEST_P(AreaKernels, GiveTheSamePixelsWithEverySetOfInstructions) {
  struct Shape {
    int width, height;
    double null;
  };
  for (const Shape& shape : {Shape{101, 1, 1e300}, {101, 1, 7.0}, {101, 2, 1e300}, {101, 2, 7.0}, {60, 2, 1e300}}) {
    UseInstructions(0);
    const auto expected = Resize(GetParam(), shape.width, shape.height, shape.null);
    for (const auto target : hwy::SupportedAndGeneratedTargets()) {
      UseInstructions(target);
      EXPECT_EQ(expected, Resize(GetParam(), shape.width, shape.height, shape.null)) << hwy::TargetName(target);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(DataTypes, AreaKernels, testing::Range<int>(kPint08, kReal64 + 1));

}  // namespace
