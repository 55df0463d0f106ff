#include "PbeBuilder.h"

#include <bit>

int PbeBuilder::BytesOfTile(const Range& range) const {
  return range.width * range.height * (version_ < 1.1 ? 2 : version_ < 2.0 ? 4 : 16);
}

int PbeBuilder::At(std::size_t index, int row, int col, int x, int y) const {
  const Range& range = ranges_[index];
  const int steps = range.width - 1;
  if (isSmooth_) return (col * steps + x) * 3 - (row * (range.height - 1) + range.height - 1 - y) * 5;
  return static_cast<int>((index * 7919 + static_cast<std::size_t>(((row * 101 + col) * 61 + y) * 61 + x) * 31) %
                          60000) -
         30000;
}

bool PbeBuilder::Holds(std::size_t index, int row, int col) const {
  const Range& range = ranges_[index];
  return row >= range.llRow && row <= range.urRow && col >= range.llCol && col <= range.urCol;
}

PbeBuilder& PbeBuilder::Level(const Range& range) {
  const int storage = BytesOfTile(range);
  records_.push_back({range.level, range.llRow, range.llCol, range.urRow, range.urCol, 0.0, range.width, range.height,
                      storage, 0, 51200 + body_.size()});
  ranges_.push_back(range);
  for (int row = range.llRow; row <= range.urRow; ++row) {
    for (int col = range.llCol; col <= range.urCol; ++col) {
      const std::size_t begin = body_.size();
      for (int i = 0; i < range.width * range.height; ++i) {
        const int post = At(ranges_.size() - 1, row, col, i % range.width, i / range.width);
        const auto bits =
            version_ < 1.1 ? static_cast<std::uint32_t>(post) : std::bit_cast<std::uint32_t>(static_cast<float>(post));
        for (int k = 0; k < (version_ < 1.1 ? 2 : 4); ++k) body_.push_back(static_cast<unsigned char>(bits >> (8 * k)));
      }
      body_.resize(begin + static_cast<std::size_t>(storage), 0x77);
    }
  }
  return *this;
}

PbeBuilder::Bytes PbeBuilder::Build() const {
  StoreBuilder store(mark_);
  store.Version(version_).TileSize(tileSize_).Body(body_);
  for (const StoreRecord& record : records_) store.Level(record);
  if (count_ >= 0) store.Count(count_);
  return store.Build();
}

std::size_t PbeBuilder::OffsetOf(std::size_t index, int row, int col) const {
  const Range& range = ranges_[index];
  const int number = (range.urCol - range.llCol + 1) * (row - range.llRow) + col - range.llCol;
  return records_[index].offset + static_cast<std::size_t>(number) * static_cast<std::size_t>(BytesOfTile(range));
}
