// The input is a picture in blocks, and then the same bytes as pixels. Both go through the coder. What vectors make of
// runs of blocks has to be what the plain forms make of them, and a window what the whole picture has there.

#include "tiles/BlockCoder.h"
#include "tiles/BlockDecoder.h"
#include "tiles/BlockEncoder.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

void Must(bool holds) {
  if (!holds) std::abort();
}

void CompareDecoders(const Bytes& blocks, const zrk::BlockShape& shape) {
  const std::size_t count = zrk::BlockBytes({shape.type, shape.width, 4}) / (shape.type == kDxt1 ? 8 : 16);
  for (const auto colours : {zrk::BlockColours::kSquish, zrk::BlockColours::kSquishBgra, zrk::BlockColours::kShifted}) {
    if (colours == zrk::BlockColours::kShifted && shape.type != kDxt1) continue;
    Bytes vectors(64 * count), plain(64 * count);
    const zrk::BlockRun run{blocks.data(), count, shape.type, colours};
    zrk::DecodeRun(run, vectors.data(), static_cast<std::ptrdiff_t>(16 * count));
    zrk::DecodeRunPlainly(run, plain.data(), static_cast<std::ptrdiff_t>(16 * count));
    Must(vectors == plain);
  }
}

void DecodeAll(const Bytes& blocks, const zrk::BlockShape& shape, _XPIXELFORMAT format) {
  // A size that cannot be gets room nevertheless, so that the refusal does not come from a lack of it.
  const auto area = static_cast<std::size_t>(std::max(shape.width, 1) * std::max(shape.height, 1));
  Bytes rgba(area * 4), lowerRight(area * 4);
  if (!zrk::DecodeBlocks(blocks, shape, rgba)) return;
  CompareDecoders(blocks, shape);
  const zrk::Window window{shape.width / 3, shape.width - 1, shape.height / 3, shape.height - 1};
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{window.Width()} * 4;
  Must(zrk::DecodeBlockWindow(blocks, shape, window, {lowerRight.data(), rowBytes, false}));
  Must(std::equal(rgba.end() - rowBytes, rgba.end(), lowerRight.data() + rowBytes * (window.Height() - 1)));
  Bytes pixels(area * static_cast<std::size_t>(zrk::PixelBytes(format)));
  zrk::DecodeBlocksAs(blocks, shape, format, pixels);
}

void CompareEncoders(const Bytes& pixels, const zrk::BlockShape& shape, _XPIXELFORMAT format) {
  zrk::BlockStrip strip{};
  for (int y0 = shape.height - 4; y0 >= 0; y0 -= 4) {
    strip.Take({pixels.data(), zrk::LayoutOf(format), shape.width, shape.height}, 0, y0);
    Bytes vectors(8 * strip.numBlocks), plain(8 * strip.numBlocks);
    zrk::EncodeStrip(strip, vectors.data());
    zrk::EncodeStripPlainly(strip, plain.data());
    Must(vectors == plain);
  }
}

void EncodeAll(const Bytes& pixels, const zrk::BlockShape& shape, _XPIXELFORMAT format) {
  // libsquish takes its time for a block; ours is what is looked at.
  if (shape.type != kDxt1 && pixels.size() > 16 * 16 * 4) return;
  Bytes blocks(zrk::BlockBytes(shape));
  if (!zrk::EncodeBlocks(pixels, format, shape, blocks) || shape.type != kDxt1) return;
  CompareEncoders(pixels, shape, format);
}

}  // namespace

/// A byte each for the type, the pixel format, the columns and the rows, and then the blocks or the pixels.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kHeadBytes = 4;
  if (size < kHeadBytes) return 0;
  const auto type = static_cast<_XDXTTYPE>(data[0] % 10 - 1);
  const auto format = static_cast<_XPIXELFORMAT>(data[1] % 18 - 1);
  const zrk::BlockShape shape{type, data[2] - 1, data[3] - 1};
  const Bytes rest(data + kHeadBytes, data + size);
  DecodeAll(rest, shape, format);
  EncodeAll(rest, shape, format);
  return 0;
}
