#include "J2kComparison.h"

#include "LoadedRaster.h"
#include "ReferenceJ2k.h"
#include "XDataType.h"
#include "XFormatId.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>

int SampleOf(const Pixels& pixels, int dataType, std::size_t index) {
  const unsigned char* const sample = pixels.bytes.data() + index * static_cast<std::size_t>(pixels.sampleBytes);
  if (dataType == kPint08) return *sample;
  if (dataType == kSint08) return static_cast<signed char>(*sample);
  std::uint16_t word = 0;
  std::memcpy(&word, sample, sizeof word);
  return dataType == kSint16 ? static_cast<std::int16_t>(word) : word;
}

namespace {

long CeilDivideLong(long number, long divisor) {
  return (number + divisor - 1) / divisor;
}

/// The sample of a channel that a window at a level has in a column and a row.
int ExpectedSample(const ReferenceJ2k& whole, const ReferenceJ2k& reduced, int channel, int level,
                   const std::array<int, 4>& place) {
  const auto& [x0, y0, column, row] = place;
  const ReferenceJ2k::Plane& first = whole.planes[0];
  const ReferenceJ2k::Plane& of = reduced.planes[static_cast<std::size_t>(channel)];
  const long x = CeilDivideLong(first.left + x0, 1L << level) + column;
  const long y = CeilDivideLong(first.top + y0, 1L << level) + row;
  return of.At(x * first.dx / of.dx, y * first.dy / of.dy);
}

/// Compares a window of all channels.
void CompareWindow(LoadedRaster& image, const ReferenceJ2k& whole, const ReferenceJ2k& reduced, int level,
                   const Window& window) {
  for (int c = 0; c < image.CountBands(); ++c) {
    const Pixels pixels = image.Read(c, level, window);
    ASSERT_EQ(window.Width() >> level, pixels.width) << level << ' ' << window << image.Failure(level, window);
    ASSERT_EQ(window.Height() >> level, pixels.height);
    for (int y = 0; y < pixels.height; ++y) {
      for (int x = 0; x < pixels.width; ++x) {
        const int sample =
            SampleOf(pixels, image.Band(c).GetDataType(), static_cast<std::size_t>(y * pixels.width + x));
        ASSERT_EQ(ExpectedSample(whole, reduced, c, level, {window.x0, window.y0, x, y}), sample)
            << "channel " << c << " level " << level << ' ' << window << " at " << x << ", " << y;
      }
    }
  }
}

}  // namespace

void CompareWithOpenJpeg(const std::vector<unsigned char>& bytes, int numWindows) {
  LoadedRaster image(bytes, kFormatJP2, kReadExact);
  ASSERT_TRUE(image.IsOpen()) << image.Reason();
  const int width = image.Band().GetXSize(), height = image.Band().GetYSize();
  const ReferenceJ2k whole = DecodeWithOpenJpeg(bytes, 0);
  ASSERT_FALSE(whole.planes.empty());
  std::mt19937 random(20240229);
  for (int level = 0; level <= image.Band().GetLevel(); ++level) {
    const ReferenceJ2k reduced = DecodeWithOpenJpeg(bytes, level);
    if (reduced.planes.empty() || width >> level == 0 || height >> level == 0) continue;
    CompareWindow(image, whole, reduced, level, {0, width - 1, 0, height - 1});
    for (int i = 0; i < numWindows && !testing::Test::HasFatalFailure(); ++i) {
      const auto below = [&random](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
      const int x0 = below(width - (1 << level) + 1), y0 = below(height - (1 << level) + 1);
      const int x1 = x0 + (1 << level) - 1 + below(width - x0 - (1 << level) + 1);
      const int y1 = y0 + (1 << level) - 1 + below(height - y0 - (1 << level) + 1);
      CompareWindow(image, whole, reduced, level, {x0, x1, y0, y1});
    }
  }
}
