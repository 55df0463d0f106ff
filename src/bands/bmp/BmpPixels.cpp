// Pixels of a bitmap as channels of bytes: indexes through the palette, bytes in the order blue, green, red, and bit
// fields scaled to the range of a byte. The choice is made once a row.

#include "bands/bmp/BmpPixels.h"

#include "math/Interleave.h"

#include <algorithm>
#include <array>
#include <optional>

namespace zrk {
namespace {

/// What a field's values stand for in a byte, rounded. A field without bits is 0; opacity without bits is no channel.
std::array<unsigned char, 256> MakeScale(const BmpLayout::Field& field) {
  std::array<unsigned char, 256> scale{};
  const unsigned most = (1u << field.bits) - 1;
  for (unsigned value = 0; value <= most && most > 0; ++value) {
    scale[value] = static_cast<unsigned char>((value * 255 + most / 2) / most);
  }
  return scale;
}

template <int kBytes>
std::uint32_t PixelAt(const unsigned char* source) {
  std::uint32_t pixel = 0;
  for (int i = 0; i < kBytes; ++i) pixel |= std::uint32_t{source[i]} << (8 * i);
  return pixel;
}

template <int kBytes>
void TakeField(const BmpLayout::Field& field, const unsigned char* source, std::size_t count, unsigned char* target) {
  const std::array<unsigned char, 256> scale = MakeScale(field);
  const std::uint32_t mask = (std::uint32_t{1} << field.bits) - 1;
  for (std::size_t i = 0; i < count; ++i) target[i] = scale[PixelAt<kBytes>(source + i * kBytes) >> field.shift & mask];
}

/// The channels in the order of the bytes of a pixel of 32 bits, where each field is a byte of its own; bytes without a
/// channel go to the room. Nothing where a field is no such byte.
std::optional<std::array<unsigned char*, 4>> FindPlanes(const BmpLayout& layout, unsigned char* room,
                                                        unsigned char* const* target) {
  std::array<unsigned char*, 4> planes = {room, room, room, room};
  if (layout.bits != 32) return std::nullopt;
  for (std::size_t c = 0; c < static_cast<std::size_t>(layout.numChannels); ++c) {
    const BmpLayout::Field& field = layout.fields[c];
    if (field.bits != 8 || field.shift % 8 != 0) return std::nullopt;
    unsigned char*& plane = planes[static_cast<std::size_t>(field.shift / 8)];
    if (plane != room) return std::nullopt;  // two channels of one byte
    plane = target[c];
  }
  return planes;
}

/// Fields of a byte each are split by the kernel that plain pixels have.
void TakeFields(const BmpLayout& layout, const unsigned char* source, std::size_t count, unsigned char* room,
                unsigned char* const* target) {
  if (const auto planes = FindPlanes(layout, room, target)) {
    SplitPixels4(source, count, (*planes)[0], (*planes)[1], (*planes)[2], (*planes)[3]);
    return;
  }
  for (std::size_t c = 0; c < static_cast<std::size_t>(layout.numChannels); ++c) {
    layout.bits == 16 ? TakeField<2>(layout.fields[c], source, count, target[c])
                      : TakeField<4>(layout.fields[c], source, count, target[c]);
  }
}

}  // namespace

bool BmpPixels::Unpack(const unsigned char* source, int x, std::size_t count, unsigned char* room,
                       unsigned char* const* target) const {
  switch (layout_.coding) {
    case BmpLayout::Coding::kMasked:
      TakeFields(layout_, source, count, room, target);
      return true;
    case BmpLayout::Coding::kBytes:
      if (layout_.bits == 24) {
        SplitPixels3(source, count, target[2], target[1], target[0]);
      } else {
        SplitPixels4(source, count, target[2], target[1], target[0], room);
      }
      return true;
    default:
      if (layout_.bits == 8) return TakeColours(source, count, target);
      TakeIndexes(source, x, count, room);
      return TakeColours(room, count, target);
  }
}

/// The first pixel of a byte lies in its high bits.
void BmpPixels::TakeIndexes(const unsigned char* source, int x, std::size_t count, unsigned char* indexes) const {
  const unsigned bits = static_cast<unsigned>(layout_.bits), perByte = 8 / bits, mask = (1u << bits) - 1;
  unsigned place = static_cast<unsigned>(x) % perByte;
  for (std::size_t i = 0; i < count; ++i) {
    indexes[i] = static_cast<unsigned char>(*source >> (8 - bits - place * bits) & mask);
    if (++place < perByte) continue;
    place = 0;
    ++source;
  }
}

/// A palette that is shorter than the bits allow is held against the largest index first.
bool BmpPixels::TakeColours(const unsigned char* indexes, std::size_t count, unsigned char* const* target) const {
  if (layout_.numColours < 1 << layout_.bits && *std::max_element(indexes, indexes + count) >= layout_.numColours) {
    return false;
  }
  if (layout_.numChannels == 3) {
    const auto& [red, green, blue] = layout_.palette;
    unsigned char *const reds = target[0], *const greens = target[1], *const blues = target[2];
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned char index = indexes[i];
      reds[i] = red[index];
      greens[i] = green[index];
      blues[i] = blue[index];
    }
    return true;
  }
  for (std::size_t c = 0; c < static_cast<std::size_t>(layout_.numChannels); ++c) {
    const auto& colours = layout_.palette[c];
    for (std::size_t i = 0; i < count; ++i) target[c][i] = colours[indexes[i]];
  }
  return true;
}

}  // namespace zrk
