#include "picture/PlaceMarks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// The rows of a grey picture with marks on it: '#' for bright, 'o' for dark, '.' for ground.
std::vector<std::string> PaintAll(const PlaceMarks& marks, int width, int height) {
  const PngShape shape{width, height, 1, 8};
  std::vector<std::string> rows;
  for (int y = 0; y < height; ++y) {
    std::vector<unsigned char> row(static_cast<std::size_t>(width), 128);
    marks.Paint(y, shape, row.data());
    rows.emplace_back();
    for (const unsigned char pixel : row) rows.back() += pixel == 255 ? '#' : pixel == 0 ? 'o' : '.';
  }
  return rows;
}

}  // namespace

TEST(PlaceMarks, AreADotAndANumberWithARim) {
  PlaceMarks marks;
  marks.Add({5, 7, {}});
  const std::vector<std::string> rows = PaintAll(marks, 20, 14);
  EXPECT_EQ("....................", rows[0]);
  // The foot of the digit 1 is three cells of two pixels, from six pixels right of the dot's middle on.
  EXPECT_EQ("######", rows[11].substr(11, 6));
  EXPECT_EQ("oooooooo", rows[12].substr(10, 8));
  EXPECT_EQ('#', rows[7][5]);
  EXPECT_EQ('#', rows[7][2]);
  EXPECT_EQ('o', rows[7][1]);
  EXPECT_EQ('.', rows[7][0]);
}

TEST(PlaceMarks, AreCutAtTheEdgesOfThePicture) {
  PlaceMarks marks;
  marks.Add({0, 0, {}});
  marks.Add({7, 7, {}});
  const std::vector<std::string> rows = PaintAll(marks, 8, 8);
  EXPECT_EQ('#', rows[0][0]);
  EXPECT_EQ('#', rows[7][7]);
}
