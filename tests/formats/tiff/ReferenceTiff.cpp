#include "ReferenceTiff.h"

#include <algorithm>

namespace {

/// One axis of a window: which samples of the image fall into which block.
struct Axis {
  int first = 0;
  int step = 0;
  int count = 0;
  int blockSize = 0;

  int BlockOf(int i) const { return (first + i * step) / blockSize; }
  /// The place of sample i in the image, when the samples of each block are counted from where it begins.
  int PlaceOf(int i) const {
    const int block = BlockOf(i);
    int nth = 0;
    while (i - nth - 1 >= 0 && BlockOf(i - nth - 1) == block) ++nth;
    return std::max(first, block * blockSize) + nth * step;
  }
};

}  // namespace

ReferenceTiff::ReferenceTiff(const TiffBuilder& file, int sample)
    : width(file.GetWidth()),
      height(file.GetHeight()),
      blockWidth(file.GetBlockWidth()),
      blockHeight(file.GetBlockHeight()),
      value([file, sample](int x, int y) { return file.ValueAt(x, y, sample); }) {}

ReferenceTiff::Samples ReferenceTiff::Read(int level, int x0, int x1, int y0, int y1) const {
  const Axis across{x0, 1 << level, (x1 - x0 + 1) >> level, blockWidth};
  const Axis down{y0, 1 << level, (y1 - y0 + 1) >> level, blockHeight};
  const int blocksAcross = (width + blockWidth - 1) / blockWidth;
  Samples samples;
  for (int j = 0; j < down.count; ++j) {
    Samples row;
    for (int i = 0; i < across.count; ++i) {
      if (unreadable.contains(down.BlockOf(j) * blocksAcross + across.BlockOf(i))) continue;
      std::uint64_t sample = value(across.PlaceOf(i), down.PlaceOf(j));
      if (!palette.empty()) sample = static_cast<std::uint64_t>(palette[sample < palette.size() ? sample : 0]);
      row.push_back(sample);
    }
    row.resize(static_cast<std::size_t>(across.count), 0);
    samples.insert(samples.end(), row.begin(), row.end());
  }
  return samples;
}
