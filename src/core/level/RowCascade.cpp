// Rows of an image are put in from the top down. Each pair of rows becomes one row of the next image at once, that row
// may complete a pair there, and so on down to the last level. Each image has a buffer of one row of tiles. A full
// buffer goes to the taker and is empty again, so that memory does not grow with the height of the image.
//
// A pair may lie across two rows of tiles, where these are of an odd height. Its upper row is set aside then, because
// the buffer goes before the lower row comes.

#include "core/level/RowCascade.h"

#include "base/DataTypeVisit.h"
#include "math/HalfMean.h"
#include "math/SampleFilter.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

void ReducePair(int dataType, const Reduction& how, const unsigned char* const (&rows)[2], int count,
                unsigned char* out) {
  if (how.thematic) {
    MostFrequentOfFour(dataType, rows[0], rows[1], count, out);
  } else {
    MeanOfFourKept(dataType, rows[0], rows[1], count, out, how.nullValue);
  }
}

}  // namespace

void ReduceBlock(int dataType, const Reduction& how, const BlockPair& block) {
  bool canBeNull = false;
  VisitDataType(dataType, [&](auto zero) { canBeNull = CanEqual<decltype(zero)>(how.nullValue); });
  if (!how.thematic && !canBeNull) {
    MeanOfFourRows(dataType, block);
    return;
  }
  for (int row = 0; row < block.rows; ++row) {
    const unsigned char* const upper = block.from + 2 * row * block.fromStride;
    ReducePair(dataType, how, {upper, upper + block.fromStride}, block.width, block.to + row * block.toStride);
  }
}

void ReduceRows(const PyramidLayout& layout, int level, const Reduction& how, const unsigned char* upper,
                const unsigned char* lower, unsigned char* out) {
  const int dataType = layout.Shape().dataType;
  // A single column stands for two.
  unsigned char doubled[2][2 * sizeof(double)];
  if (layout.Width(level) == 1) {
    const auto size = static_cast<std::size_t>(layout.SampleBytes());
    for (int i = 0; i < 2; ++i) {
      std::memcpy(doubled[0] + i * size, upper, size);
      std::memcpy(doubled[1] + i * size, lower, size);
    }
    upper = doubled[0];
    lower = doubled[1];
  }
  ReducePair(dataType, how, {upper, lower}, layout.Width(level + 1), out);
}

RowCascade::RowCascade(const PyramidLayout& layout, int lastLevel, const Reduction& how, RowTaker& taker)
    : layout_(layout),
      lastLevel_(lastLevel),
      how_(how),
      taker_(taker),
      images_(static_cast<std::size_t>(lastLevel) + 1) {
  for (int level = 0; level <= lastLevel; ++level) {
    Image& image = images_[static_cast<std::size_t>(level)];
    image.rowBytes = std::int64_t{layout.Width(level)} * layout.SampleBytes();
    const int mostRows = std::min(layout.Shape().yTile, layout.Height(level));
    image.rows.resize(static_cast<std::size_t>(image.rowBytes * mostRows));
  }
}

void RowCascade::Start(int firstRow) {
  for (std::size_t level = 0; level < images_.size(); ++level) {
    Image& image = images_[level];
    image.firstRow = firstRow >> level;
    image.numRows = image.numPaired = 0;
    image.hasPending = false;
  }
}

int RowCascade::GetRoom() const {
  const Image& image = images_.front();
  const int yTile = layout_.Shape().yTile;
  const int next = image.firstRow + image.numRows;
  return std::min(yTile - next % yTile, layout_.Height(0) - next);
}

unsigned char* RowCascade::GetPlace() {
  return Row(images_.front(), images_.front().numRows);
}

bool RowCascade::Put(int numRows) {
  return PutRows(0, numRows);
}

bool RowCascade::PutRows(int level, int numRows) {
  Image& image = images_[static_cast<std::size_t>(level)];
  image.numRows += numRows;
  if (level < lastLevel_ && !PairRows(level)) return false;
  const bool isTileFull = (image.firstRow + image.numRows) % layout_.Shape().yTile == 0;
  return !isTileFull || Flush(level);
}

bool RowCascade::PairRows(int level) {
  Image& image = images_[static_cast<std::size_t>(level)];
  // The row that was set aside comes before all rows in the buffer.
  if (image.hasPending && image.numPaired < image.numRows) {
    image.hasPending = false;
    if (!Reduce(level, image.pending.data(), Row(image, image.numPaired++))) return false;
  }
  while (image.numPaired + 2 <= image.numRows) {
    const unsigned char* upper = Row(image, image.numPaired);
    image.numPaired += 2;
    if (!Reduce(level, upper, upper + image.rowBytes)) return false;
  }
  return true;
}

bool RowCascade::Reduce(int level, const unsigned char* upper, const unsigned char* lower) {
  Image& next = images_[static_cast<std::size_t>(level) + 1];
  ReduceRows(layout_, level, how_, upper, lower, Row(next, next.numRows));
  return PutRows(level + 1, 1);
}

bool RowCascade::Flush(int level) {
  Image& image = images_[static_cast<std::size_t>(level)];
  if (image.numRows == 0) return true;
  if (!taker_.TakeRows(level, image.firstRow, image.numRows, image.rows.data())) return false;
  if (level < lastLevel_ && image.numPaired < image.numRows) {
    const unsigned char* last = Row(image, image.numPaired);
    image.pending.assign(last, last + image.rowBytes);
    image.hasPending = true;
  }
  image.firstRow += image.numRows;
  image.numRows = image.numPaired = 0;
  return true;
}

bool RowCascade::Finish() {
  // Levels are finished from above, because flushing one may still give a row to the next.
  for (int level = 0; level <= lastLevel_; ++level) {
    if (!Flush(level)) return false;
    // An image of one row stands for two in the next image.
    Image& image = images_[static_cast<std::size_t>(level)];
    const bool isOneRow = level < lastLevel_ && layout_.Height(level) == 1;
    if (isOneRow && image.hasPending && !Reduce(level, image.pending.data(), image.pending.data())) return false;
  }
  return true;
}

}  // namespace zrk
