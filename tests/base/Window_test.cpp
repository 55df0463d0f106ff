#include "base/Window.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(Window, CountsItsFirstAndLastPixels) {
  const zrk::Window window = {3, 5, 7, 7};
  EXPECT_EQ(3, window.Width());
  EXPECT_EQ(1, window.Height());
}

TEST(Window, LiesInAnImageThatHasAllOfIt) {
  EXPECT_TRUE((zrk::Window{0, 9, 0, 4}.IsInside(10, 5)));
  EXPECT_TRUE((zrk::Window{9, 9, 4, 4}.IsInside(10, 5)));
  for (const zrk::Window& window : {zrk::Window{0, 10, 0, 4},
                                    {0, 9, 0, 5},
                                    {-1, 5, 0, 4},
                                    {0, 9, -1, 4},
                                    {5, 4, 0, 4},
                                    {0, 9, 3, 2},
                                    {INT_MIN, INT_MAX, INT_MIN, INT_MAX}}) {
    EXPECT_FALSE(window.IsInside(10, 5)) << window.x0 << ' ' << window.x1 << ' ' << window.y0 << ' ' << window.y1;
  }
}

}  // namespace
