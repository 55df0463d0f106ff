// The blocks of an image without compression follow one another from left to right and from top to bottom. A letter
// tells how bands lie in them. B is band after band in each block, and P sample after sample in each pixel. R is band
// after band in each row of a block, and S band after band around all blocks. The most significant byte of a sample is
// first, in both halves of a complex one.

#include "bands/nitf/NitfPlain.h"

#include "base/Checked.h"
#include "XDataType.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace zrk {

namespace {

/// Older versions have rules of their own for the size of an image.
bool IsUsualVersion(const XString& version) {
  constexpr std::array<std::string_view, 3> kVersions = {"NITF02.00", "NITF02.10", "NSIF01.00"};
  return std::ranges::find(kVersions, std::string_view(version)) != kVersions.end();
}

bool HasWholeSamples(const NitfImage& image, int dataType) {
  const bool isUsual = image.numBits == 8 || image.numBits == 16 || image.numBits == 32 || image.numBits == 64;
  return isUsual && XfnGetDataSize(dataType) * 8 == image.numBits;
}

/// GDAL has an image of one block by its rows. Any other has the blocks that the header tells.
bool IsAsGdalHasIt(const NitfLayout& layout) {
  const NitfImage& image = layout.image;
  const BlockGrid& grid = layout.grid;
  const bool isOneBlock = image.blocksAcross == 1 && image.blocksDown == 1;
  const bool hasItsBlocks = grid.blockWidth == image.blockWidth && grid.blockHeight == image.blockHeight;
  return grid.width == image.width && grid.height == image.height && (isOneBlock || hasItsBlocks) &&
         image.blocksAcross == (image.width - 1) / image.blockWidth + 1 &&
         image.blocksDown == (image.height - 1) / image.blockHeight + 1 && std::ssize(layout.bands) == image.numBands;
}

/// Where the blocks of a band lie, counted from the first byte of the image.
std::optional<PlainBlocks> LayOut(const NitfImage& image, std::int64_t sampleBytes, int band) {
  const std::int64_t pixels = image.blockWidth * image.blockHeight, numBlocks = image.blocksAcross * image.blocksDown;
  const auto blockBytes = CheckedMultiply(pixels, sampleBytes * image.numBands);
  if (!blockBytes || !CheckedMultiply(*blockBytes, numBlocks)) return std::nullopt;
  const std::int64_t planeBytes = pixels * sampleBytes;
  PlainBlocks blocks;
  blocks.sampleStride = image.mode == 'P' ? sampleBytes * image.numBands : sampleBytes;
  blocks.rowStride = image.blockWidth * (image.mode == 'R' ? sampleBytes * image.numBands : blocks.sampleStride);
  blocks.across = image.mode == 'S' ? planeBytes : *blockBytes;
  blocks.down = blocks.across * image.blocksAcross;
  switch (image.mode) {
    case 'B':
      blocks.first = band * planeBytes;
      break;
    case 'P':
      blocks.first = band * sampleBytes;
      break;
    case 'R':
      blocks.first = band * image.blockWidth * sampleBytes;
      break;
    case 'S':
      blocks.first = band * planeBytes * numBlocks;
      break;
    default:
      return std::nullopt;
  }
  return blocks;
}

}  // namespace

std::optional<PlainBlocks> FindPlainNitf(const NitfLayout& layout, int band, std::shared_ptr<const RowFile> file) {
  const NitfImage& image = layout.image;
  const int dataType = layout.bands[static_cast<std::size_t>(band)].dataType;
  const bool isPlain = image.compression == "NC" && IsUsualVersion(layout.header.version);
  if (!isPlain || !HasWholeSamples(image, dataType) || !IsAsGdalHasIt(layout)) return std::nullopt;
  const int sampleBytes = XfnGetDataSize(dataType);
  auto blocks = LayOut(image, sampleBytes, band);
  if (!blocks) return std::nullopt;
  blocks->file = std::move(file);
  blocks->grid = {layout.grid.width, layout.grid.height, static_cast<int>(image.blockWidth),
                  static_cast<int>(image.blockHeight)};
  blocks->wordBytes = image.kind == "C" ? sampleBytes / 2 : sampleBytes;
  blocks->first += layout.header.images.front().DataOffset();
  return blocks;
}

}  // namespace zrk
