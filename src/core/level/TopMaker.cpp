#include "core/level/TopMaker.h"

#include "core/level/RowCascade.h"
#include "math/CopyBlock.h"
#include "math/HalfMean.h"

#include <cstring>

namespace zrk {

TopMaker::TopMaker(PyramidTop top, const Window& window, const PyramidLayout& layout)
    : kind_(Kind::kCopy),
      dataType_(layout.Shape().dataType),
      width_(layout.Width(0)),
      sampleBytes_(static_cast<std::size_t>(layout.SampleBytes())),
      rowBytes_(std::int64_t{width_} * layout.SampleBytes()) {
  if (top == PyramidTop::kHalfClasses) kind_ = Kind::kClasses;
  if (top != PyramidTop::kHalfMean) return;
  const bool isExactHalf = window.Width() == 2 * width_ && window.Height() == 2 * layout.Height(0);
  kind_ = isExactHalf ? Kind::kHalf : Kind::kArea;
  if (isExactHalf) return;
  // The top of a level file counts null values like others, and so the means know of no null value.
  area_.emplace(window.Width(), window.Height(), width_, layout.Height(0), dataType_, kNotSet);
}

int TopMaker::FirstSourceRow(int row) const {
  if (kind_ == Kind::kCopy) return row;
  return area_ ? area_->FirstSourceRow(row) : 2 * row;
}

int TopMaker::LastSourceRow(int row) const {
  if (kind_ == Kind::kCopy) return row;
  return area_ ? area_->LastSourceRow(row) : 2 * row + 1;
}

void TopMaker::Make(int first, int last, const tagXArr2& source, int sourceTop, unsigned char* out,
                    Scratch& scratch) const {
  if (kind_ == Kind::kCopy) {
    std::memcpy(out, source.Row(first - sourceTop), static_cast<std::size_t>((last - first + 1) * rowBytes_));
    return;
  }
  for (int row = first; row <= last; ++row, out += rowBytes_) {
    // Rows of the source are found from the row of the top, since areas of neighbouring rows may share a source row.
    const int upper = FirstSourceRow(row) - sourceTop;
    if (kind_ == Kind::kHalf) {
      MeanOfFour(dataType_, source.Row(upper), source.Row(upper + 1), width_, out);
      continue;
    }
    if (kind_ == Kind::kClasses) {
      MostFrequentOfFour(dataType_, source.Row(upper), source.Row(upper + 1), width_, out);
      continue;
    }
    scratch.rows.clear();
    for (int y = upper; y <= LastSourceRow(row) - sourceTop; ++y) scratch.rows.push_back(source.Row(y));
    area_->Row(row, scratch.rows.data(), out, scratch.area);
  }
}

void TopMaker::MakeBlock(const BlockPair& block) const {
  if (kind_ == Kind::kHalf) {
    MeanOfFourRows(dataType_, block);
  } else if (kind_ == Kind::kClasses) {
    ReduceBlock(dataType_, {.thematic = true, .nullValue = kNotSet}, block);
  } else {
    CopyBlock(block.from, block.fromStride, block.to, block.toStride,
              std::int64_t{block.width} * static_cast<std::int64_t>(sampleBytes_), block.rows);
  }
}

}  // namespace zrk
