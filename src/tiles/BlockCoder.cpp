// The entrance to the coder of blocks. Sizes are checked here, and pictures are cut into runs of blocks, which go to
// the encoder or the decoder. libsquish is called in this source alone. It packs `kDxt3` and `kDxt5`; our own code does
// all the rest.

#include "tiles/BlockCoder.h"

#include "tiles/BlockDecoder.h"
#include "tiles/BlockEncoder.h"

#include <squish.h>
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

namespace zrk {
namespace {

constexpr std::size_t kRunBlocks = 64;
constexpr std::size_t kRunRowBytes = kRunBlocks * 16;

std::size_t BytesOfBlock(_XDXTTYPE type) {
  return type == kDxt1 ? 8 : 16;
}

bool IsKnown(_XDXTTYPE type) {
  return type == kDxt1 || type == kDxt3 || type == kDxt5;
}

int BlocksAcross(const BlockShape& shape) {
  return (shape.width - 1) / 4 + 1;
}

/// The size of a picture with pixels of so many bytes. It can't overflow where `BlockBytes` is above 0.
std::size_t PictureBytes(const BlockShape& shape, int pixelBytes) {
  return static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height) *
         static_cast<std::size_t>(pixelBytes);
}

bool HoldsBlocks(std::size_t numBytes, const BlockShape& shape) {
  const std::size_t needed = BlockBytes(shape);
  return needed > 0 && numBytes >= needed;
}

/// Packs from the highest whole row of blocks down. What is left below it is zero.
void EncodeRows(const PixelPicture& picture, const BlockShape& shape, std::span<std::uint8_t> blocks) {
  BlockStrip strip{};  // vectors may read what no block has been put into
  std::uint8_t* out = blocks.data();
  for (int y0 = shape.height - 4; y0 >= 0; y0 -= 4) {
    for (int block = 0; block < BlocksAcross(shape); block += static_cast<int>(strip.numBlocks)) {
      strip.Take(picture, 4 * block, y0);
      EncodeStrip(strip, out);
      out += 8 * strip.numBlocks;
    }
  }
  std::fill(out, blocks.data() + BlockBytes(shape), std::uint8_t{0});
}

/// A block's pixels as libsquish wants them, and which of them the picture has.
struct SquishBlock {
  std::array<std::uint8_t, 64> rgba{};
  int mask = 0;

  SquishBlock(const std::uint8_t* pixels, const BlockShape& shape, int x0, int y0) {
    for (int i = 0; i < 16; ++i) {
      const int x = x0 + i % 4, y = y0 + i / 4;
      if (x >= shape.width || y >= shape.height) continue;
      const std::size_t from = PictureBytes({shape.type, shape.width, y}, 4) + static_cast<std::size_t>(x) * 4;
      std::memcpy(rgba.data() + 4 * i, pixels + from, 4);
      mask |= 1 << i;
    }
  }
};

/// The bytes of `squish::CompressImage`, which is not called because it starts threads.
void EncodeBySquish(const std::uint8_t* rgba, const BlockShape& shape, std::uint8_t* out) {
  for (int y0 = 0; y0 < shape.height; y0 += 4) {
    for (int x0 = 0; x0 < shape.width; x0 += 4, out += BytesOfBlock(shape.type)) {
      const SquishBlock block(rgba, shape, x0, y0);
      squish::CompressMasked(block.rgba.data(), block.mask, out, shape.type);
    }
  }
}

/// One run of blocks, decoded into rows of its own.
class RunRows {
 public:
  void Decode(const BlockRun& run) { DecodeRun(run, pixels_.data(), kRunRowBytes); }
  /// The pixel of column `x` of the run, in row `row` from the top.
  const std::uint8_t* At(int x, int row) const {
    return pixels_.data() + static_cast<std::size_t>(row) * kRunRowBytes + static_cast<std::size_t>(x) * 4;
  }

 private:
  alignas(64) std::array<std::uint8_t, 4 * kRunRowBytes> pixels_;
};

/// The part of a picture that is unpacked.
class WindowDecoder {
 public:
  WindowDecoder(const std::uint8_t* blocks, const BlockShape& shape, const Window& window, const PixelRows& out)
      : blocks_(blocks), shape_(shape), window_(window), out_(out) {}

  void Decode() {
    for (int blockRow = window_.y0 / 4; blockRow <= window_.y1 / 4; ++blockRow) {
      for (int first = window_.x0 / 4; first <= window_.x1 / 4; first += kRunBlocks) {
        const int last = std::min(first + static_cast<int>(kRunBlocks) - 1, window_.x1 / 4);
        DecodeRunOf(blockRow, first, last);
      }
    }
  }

 private:
  void DecodeRunOf(int blockRow, int first, int last) {
    const Window covered{std::max(4 * first, window_.x0), std::min(4 * last + 3, window_.x1),
                         std::max(4 * blockRow, window_.y0), std::min(4 * blockRow + 3, window_.y1)};
    const std::size_t index = static_cast<std::size_t>(blockRow) * static_cast<std::size_t>(BlocksAcross(shape_)) +
                              static_cast<std::size_t>(first);
    const BlockRun run{blocks_ + index * BytesOfBlock(shape_.type), static_cast<std::size_t>(last - first + 1),
                       shape_.type, out_.isBgra ? BlockColours::kSquishBgra : BlockColours::kSquish};
    if (covered.Width() == 4 * (last - first + 1) && covered.Height() == 4) {
      DecodeRun(run, Target(covered.x0, covered.y0), out_.rowBytes);
    } else {
      rows_.Decode(run);
      for (int y = covered.y0; y <= covered.y1; ++y) {
        std::memcpy(Target(covered.x0, y), rows_.At(covered.x0 - 4 * first, y % 4),
                    static_cast<std::size_t>(covered.Width()) * 4);
      }
    }
  }

  std::uint8_t* Target(int x, int y) const {
    return out_.first + (y - window_.y0) * out_.rowBytes + std::ptrdiff_t{x - window_.x0} * 4;
  }

  const std::uint8_t* blocks_;
  const BlockShape& shape_;
  const Window& window_;
  const PixelRows& out_;
  RunRows rows_;
};

/// Puts decoded pixels, R, G, B, A, into pixels of another layout.
void PutPixels(const std::uint8_t* rgba, std::size_t count, const PixelLayout& layout, std::uint8_t* out) {
  for (std::size_t i = 0; i < count; ++i, rgba += 4, out += layout.bytes) {
    // Gray has all of them in one byte, and the blue one stays.
    out[layout.red] = rgba[0];
    out[layout.green] = rgba[1];
    out[layout.blue] = rgba[2];
    if (layout.alpha >= 0) out[layout.alpha] = rgba[3];
  }
}

}  // namespace

std::size_t BlockBytes(const BlockShape& shape) {
  if (!IsKnown(shape.type) || shape.width < 1 || shape.height < 1) return 0;
  const std::uint64_t numBlocks =
      std::uint64_t{(static_cast<unsigned>(shape.width) + 3) / 4} * ((static_cast<unsigned>(shape.height) + 3) / 4);
  const std::uint64_t numBytes = numBlocks * BytesOfBlock(shape.type);
  return numBytes > INT_MAX ? 0 : static_cast<std::size_t>(numBytes);
}

std::size_t BlockBytesOfSquish(const BlockShape& shape) {
  if (BlockBytes({kDxt5, shape.width, shape.height}) == 0) return 0;
  return static_cast<std::size_t>(squish::GetStorageRequirements(shape.width, shape.height, shape.type));
}

int PixelBytes(_XPIXELFORMAT format) {
  return LayoutOf(format).bytes;
}

bool EncodeBlocks(std::span<const std::uint8_t> pixels, _XPIXELFORMAT format, const BlockShape& shape,
                  std::span<std::uint8_t> blocks) {
  const PixelLayout layout = LayoutOf(format);
  if (layout.bytes == 0 || !HoldsBlocks(blocks.size(), shape)) return false;
  if (pixels.size() < PictureBytes(shape, layout.bytes)) return false;
  if (shape.type == kDxt1) {
    EncodeRows({pixels.data(), layout, shape.width, shape.height}, shape, blocks);
    return true;
  }
  if (format != kPixelRgba) return false;
  EncodeBySquish(pixels.data(), shape, blocks.data());
  return true;
}

bool DecodeBlocks(std::span<const std::uint8_t> blocks, const BlockShape& shape, std::span<std::uint8_t> rgba) {
  if (!HoldsBlocks(blocks.size(), shape) || rgba.size() < PictureBytes(shape, 4)) return false;
  return DecodeBlockWindow(blocks, shape, {0, shape.width - 1, 0, shape.height - 1},
                           {rgba.data(), std::ptrdiff_t{shape.width} * 4, false});
}

bool DecodeBlockWindow(std::span<const std::uint8_t> blocks, const BlockShape& shape, const Window& window,
                       const PixelRows& out) {
  if (!HoldsBlocks(blocks.size(), shape) || !window.IsInside(shape.width, shape.height)) return false;
  WindowDecoder(blocks.data(), shape, window, out).Decode();
  return true;
}

bool DecodeBlocksAs(std::span<const std::uint8_t> blocks, const BlockShape& shape, _XPIXELFORMAT format,
                    std::span<std::uint8_t> pixels) {
  const PixelLayout layout = LayoutOf(format);
  if (shape.type != kDxt1 || layout.bytes == 0 || !HoldsBlocks(blocks.size(), shape)) return false;
  if (pixels.size() < PictureBytes(shape, layout.bytes)) return false;
  RunRows rows;
  const std::uint8_t* next = blocks.data();
  for (int y0 = shape.height - 4; y0 >= 0; y0 -= 4) {
    for (int x0 = 0; x0 < shape.width; x0 += 4 * static_cast<int>(kRunBlocks)) {
      const int width = std::min(shape.width - x0, 4 * static_cast<int>(kRunBlocks));
      const std::size_t count = (static_cast<std::size_t>(width) + 3) / 4;
      rows.Decode({next, count, kDxt1, BlockColours::kShifted});
      next += 8 * count;
      for (int row = 0; row < 4; ++row) {
        const std::size_t first = PictureBytes({kDxt1, shape.width, y0 + 3 - row}, layout.bytes) +
                                  static_cast<std::size_t>(x0) * static_cast<std::size_t>(layout.bytes);
        PutPixels(rows.At(0, row), static_cast<std::size_t>(width), layout, pixels.data() + first);
      }
    }
  }
  return true;
}

}  // namespace zrk
