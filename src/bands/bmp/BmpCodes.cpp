// Codes are pairs of bytes. A count and a value stand for a run. Behind a 0 there is 0 for the end of a row, or 1 for
// the end of the image. A 2 is a step right and up, whose two lengths follow. Any other number counts pixels that
// follow plainly, filled up to an even number of bytes. With 4 bits a value holds two indexes, which take turns.
//
// One pass finds the rows. It makes no pixels, so that the few bytes that can claim a large image cost nothing. Nor do
// they cost anything later: only the pixels of a window are made.

#include "bands/bmp/BmpCodes.h"

#include <algorithm>

namespace zrk {

BmpCodes::BmpCodes(std::vector<unsigned char> codes, int bits, int width, int height)
    : codes_(std::move(codes)), areNibbles_(bits == 4), width_(width) {
  FindRows(height);
}

/// The code at a place; of no kind where the bytes end before it does.
BmpCodes::Code BmpCodes::CodeAt(std::size_t at) const {
  const std::size_t left = codes_.size() - std::min(at, codes_.size());
  if (left < 2) return {};
  const std::size_t first = codes_[at], second = codes_[at + 1];
  if (first > 0) return {Kind::kRun, first, at + 1, at + 2};
  if (second == 0) return {Kind::kEndOfRow, 0, 0, at + 2};
  if (second == 1) return {Kind::kEndOfImage, 0, 0, at + 2};
  const std::size_t numBytes = second == 2 ? 2 : areNibbles_ ? (second + 1) / 2 : second;
  if (left - 2 < numBytes) return {};
  if (second == 2) return {Kind::kDelta, 0, at + 2, at + 4};
  // The byte that fills up may lie behind the end of a file.
  return {Kind::kPlain, second, at + 2, std::min(at + 2 + numBytes + numBytes % 2, codes_.size())};
}

void BmpCodes::FindRows(int height) {
  starts_.push_back({});
  std::int64_t row = 0, x = 0;
  for (Code code = CodeAt(0); code.kind != Kind::kNone; code = CodeAt(code.next)) {
    x += static_cast<std::int64_t>(code.count);
    if (code.kind == Kind::kEndOfImage) isEnded_ = true;
    std::int64_t rows = code.kind == Kind::kEndOfRow ? 1 : 0;
    if (code.kind == Kind::kEndOfRow) x = 0;
    if (code.kind == Kind::kDelta) {
      x += codes_[code.values];
      rows = codes_[code.values + 1];
    }
    row += rows;
    if (isEnded_ || row >= height) break;
    if (rows > 0) starts_.push_back({static_cast<int>(row), x, code.next});
  }
  lastRow_ = static_cast<int>(std::min<std::int64_t>(row, height - 1));
}

BmpCodes::Row BmpCodes::Decode(int row, int x0, std::span<unsigned char> indexes) const {
  std::ranges::fill(indexes, static_cast<unsigned char>(0));
  const auto start = std::ranges::lower_bound(starts_, row, {}, &Start::row);
  if (start == starts_.end() || start->row != row) {
    return row < lastRow_ || isEnded_ ? Row::kWhole : Row::kMissing;
  }
  if (start->code == codes_.size()) return isEnded_ ? Row::kWhole : Row::kMissing;
  std::int64_t x = start->x;
  for (Code code = CodeAt(start->code);; code = CodeAt(code.next)) {
    if (code.kind == Kind::kNone) return x >= width_ ? Row::kWhole : Row::kBroken;
    if (code.kind == Kind::kEndOfRow || code.kind == Kind::kEndOfImage) return Row::kWhole;
    if (code.kind == Kind::kDelta) {
      if (codes_[code.values + 1] > 0) return Row::kWhole;
      x += codes_[code.values];
      continue;
    }
    if (x + static_cast<std::int64_t>(code.count) > width_) return Row::kBroken;
    Paint(code, x - x0, indexes);
    x += static_cast<std::int64_t>(code.count);
  }
}

/// The pixels of a code that begins at position `x` of a window's row, which may lie outside.
void BmpCodes::Paint(const Code& code, std::int64_t x, std::span<unsigned char> indexes) const {
  const auto count = static_cast<std::int64_t>(code.count);
  const std::int64_t first = std::max<std::int64_t>(-x, 0), end = std::min(count, std::ssize(indexes) - x);
  if (first >= end) return;
  const unsigned char* const values = codes_.data() + code.values;
  unsigned char* const target = indexes.data() + (x + first);
  const bool isRun = code.kind == Kind::kRun;
  if (!areNibbles_) {
    isRun ? static_cast<void>(std::fill_n(target, end - first, *values))
          : static_cast<void>(std::copy(values + first, values + end, target));
    return;
  }
  for (std::int64_t i = first; i < end; ++i) {
    const unsigned char pair = values[isRun ? 0 : i / 2];
    target[i - first] = static_cast<unsigned char>(i % 2 == 0 ? pair >> 4 : pair & 15);
  }
}

}  // namespace zrk
