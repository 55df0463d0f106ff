#pragma once

#include "bands/tiff/TiffImage.h"
#include "XThreadSafeArr.h"

namespace zrk {

/// A block of a file by its place in the grid, and the channel that is wanted of it.
struct TiffBlock {
  int x = 0;
  int y = 0;
  int channel = 0;
};

/// Reads whole blocks of an image. The readers write block width times block height samples to `out`; 1, or 0 where
/// the block is not there or can't be read.
class TiffBlocks {
 public:
  explicit TiffBlocks(TiffImage& image) : image_(image) {}

  /// Whether the image has such a block.
  bool Has(const TiffBlock& block) const;
  /// The decoded bytes of a block, by its number, in a buffer of the calling thread; null where it can't be read.
  tagXArr1* Load(int block, XThreadSafeArr1& buffers);
  /// Samples of whole bytes.
  int ReadRaster(const TiffBlock& block, void* out);
  /// Samples of other widths, in samples of `dataType`.
  int ReadOddBits(const TiffBlock& block, int dataType, void* out);
  /// A byte of red, green, blue or alpha.
  int ReadRgba(const TiffBlock& block, void* out);
  /// The first row of a bilevel image; the others are 0.
  int ReadFirstRow(const TiffBlock& block, void* out);

 private:
  int ReadStored(const TiffBlock& block, const TiffLayout& layout, void* out);

  TiffImage& image_;
};

}  // namespace zrk
