#pragma once

#include <algorithm>
#include <cstdint>

namespace zrk {

/// The samples that a block gives along one axis.
struct BlockSpan {
  int first = 0;  ///< in the result
  int count = 0;
  int local = 0;  ///< of the first of them, in the block
};

/// `from` is a position of the image and `size` the samples of the result, which lie 2^level positions apart. With
/// `beginsAnew` they are counted from where the window enters the block, and otherwise from `from`.
inline BlockSpan SpanOf(int block, int blockSize, int from, int level, int size, bool beginsAnew) {
  const std::int64_t step = std::int64_t{1} << level, begin = std::int64_t{block} * blockSize;
  const auto samplesBefore = [&](std::int64_t position) {
    return position <= from ? 0 : std::min<std::int64_t>((position - from + step - 1) / step, size);
  };
  BlockSpan span;
  span.first = static_cast<int>(samplesBefore(begin));
  span.count = static_cast<int>(samplesBefore(begin + blockSize)) - span.first;
  const std::int64_t position = beginsAnew ? std::max<std::int64_t>(from, begin) : from + span.first * step;
  span.local = span.count > 0 ? static_cast<int>(position - begin) : 0;
  return span;
}

}  // namespace zrk
