#include "PbiBuilder.h"

#include <random>

int PbiBuilder::BytesOfTile(const Range& range) {
  return (range.width + 3) / 4 * ((range.height + 3) / 4) * (range.type == 1 ? 8 : 16) + range.spare;
}

PbiBuilder& PbiBuilder::Level(const Range& range) {
  const int storage = BytesOfTile(range);
  const int numTiles = (range.urRow - range.llRow + 1) * (range.urCol - range.llCol + 1);
  records_.push_back({range.level, range.llRow, range.llCol, range.urRow, range.urCol, 0.0, range.width, range.height,
                      storage, range.type, 51200 + body_.size()});
  ranges_.push_back(range);
  std::mt19937 random(static_cast<unsigned>(ranges_.size()));
  for (int i = 0; i < numTiles * storage; ++i) body_.push_back(static_cast<unsigned char>(random()));
  return *this;
}

PbiBuilder::Bytes PbiBuilder::Build() const {
  StoreBuilder store(mark_);
  store.TileSize(tileSize_).Body(body_);
  for (const StoreRecord& record : records_) store.Level(record);
  if (count_ >= 0) store.Count(count_);
  return store.Build();
}

std::size_t PbiBuilder::OffsetOf(std::size_t index, int row, int col) const {
  const Range& range = ranges_[index];
  const int number = (range.urCol - range.llCol + 1) * (row - range.llRow) + col - range.llCol;
  return records_[index].offset + static_cast<std::size_t>(number) * static_cast<std::size_t>(BytesOfTile(range));
}

PbiBuilder::Pixel PbiBuilder::At(std::size_t index, int row, int col, int x, int y) const {
  const Range& range = ranges_[index];
  const int block = (range.width + 3) / 4 * (y / 4) + x / 4;
  const std::size_t place =
      OffsetOf(index, row, col) - 51200 + static_cast<std::size_t>(block * (range.type == 1 ? 8 : 16));
  return PixelOfBlock(&body_[place], range.type, x % 4, y % 4);
}

PbiBuilder::Pixel PbiBuilder::PixelOfBlock(const unsigned char* block, int type, int x, int y) {
  const unsigned char* colours = type == 1 ? block : block + 8;
  const int words[2] = {colours[0] | colours[1] << 8, colours[2] | colours[3] << 8};
  int ends[2][3];
  for (int i = 0; i < 2; ++i) {
    const int red = words[i] >> 11, green = words[i] >> 5 & 63, blue = words[i] & 31;
    ends[i][0] = red << 3 | red >> 2;
    ends[i][1] = green << 2 | green >> 4;
    ends[i][2] = blue << 3 | blue >> 2;
  }
  const int code = colours[4 + y] >> 2 * x & 3;
  const bool hasThree = type == 1 && words[0] <= words[1];
  Pixel pixel{0, 0, 0, 255};
  for (std::size_t i = 0; i < 3; ++i) {
    const int a = ends[0][i], b = ends[1][i];
    const int values[4] = {a, b, hasThree ? (a + b) / 2 : (2 * a + b) / 3, hasThree ? 0 : (a + 2 * b) / 3};
    pixel[i] = static_cast<unsigned char>(values[code]);
  }
  const int number = 4 * y + x;
  if (type == 1) {
    if (hasThree && code == 3) pixel[3] = 0;
  } else if (type == 2) {
    pixel[3] = static_cast<unsigned char>((block[number / 2] >> number % 2 * 4 & 15) * 17);
  } else {
    unsigned long long bits = 0;
    for (int i = 0; i < 6; ++i) bits |= static_cast<unsigned long long>(block[2 + i]) << 8 * i;
    const int a = block[0], b = block[1], choice = static_cast<int>(bits >> 3 * number & 7);
    const int steps = a > b ? 7 : 5;
    const int between = ((steps - choice + 1) * a + (choice - 1) * b) / steps;
    const int alpha = choice == 0 ? a : choice == 1 ? b : choice <= steps ? between : choice == 6 ? 0 : 255;
    pixel[3] = static_cast<unsigned char>(alpha);
  }
  return pixel;
}
