// Decoded samples are 32-bit numbers. A channel has one or two bytes a sample, of the depth and sign that it was given.
// What is added and shifted is worked out once for a plane.

#include "bands/jp2/Jp2Samples.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

/// A sample becomes ((sample - before) shifted) + after.
struct Change {
  std::int64_t before = 0;
  int leftShift = 0;
  int rightShift = 0;
  std::int64_t after = 0;

  bool IsNone() const { return leftShift == 0 && rightShift == 0 && before == after; }
};

/// Half of the range of unsigned samples.
std::int64_t HalfRange(const Jp2SampleForm& form) {
  return form.isSigned ? 0 : (std::int64_t{1} << form.depth) >> 1;
}

Change ChangeOf(const Jp2Target& target, bool isCentred) {
  const int shift = target.wanted.depth - target.stored.depth;
  return {isCentred ? 0 : HalfRange(target.stored), std::max(shift, 0), std::max(-shift, 0), HalfRange(target.wanted)};
}

template <class Sample>
void ConvertRow(const std::int32_t* from, std::int64_t count, const Change& change, unsigned char* to) {
  auto* const samples = reinterpret_cast<Sample*>(to);
  if (change.IsNone()) {
    for (std::int64_t i = 0; i < count; ++i) samples[i] = static_cast<Sample>(from[i]);
    return;
  }
  const std::int64_t before = change.before, after = change.after;
  const std::int64_t factor = std::int64_t{1} << change.leftShift;
  const int shift = change.rightShift;
  for (std::int64_t i = 0; i < count; ++i) {
    samples[i] = static_cast<Sample>((((from[i] - before) >> shift) * factor) + after);
  }
}

unsigned char* PlaceIn(const Jp2Target& target, const J2kRect& part, std::int64_t y) {
  return target.result->Row(static_cast<int>(y - target.rect.y0)) +
         (part.x0 - target.rect.x0) * target.result->elementSize;
}

}  // namespace

void Jp2Sink::Take(const J2kPlane& plane, const J2kRect& part) {
  const Jp2Target& target = targets_[static_cast<std::size_t>(plane.component)];
  if (!target.result) return;
  const Change change = ChangeOf(target, plane.isCentred);
  const bool isByte = target.result->elementSize == 1;
  for (std::int64_t y = part.y0; y < part.y1; ++y) {
    const std::int32_t* const from = plane.At(part.x0, y);
    unsigned char* const to = PlaceIn(target, part, y);
    if (isByte) {
      ConvertRow<std::uint8_t>(from, part.Width(), change, to);
    } else {
      ConvertRow<std::uint16_t>(from, part.Width(), change, to);
    }
  }
}

void Jp2Sink::Miss(int component, const J2kRect& part) {
  const Jp2Target& target = targets_[static_cast<std::size_t>(component)];
  if (!target.result) return;
  for (std::int64_t y = part.y0; y < part.y1; ++y) {
    std::memset(PlaceIn(target, part, y), 0, static_cast<std::size_t>(part.Width() * target.result->elementSize));
  }
}

std::vector<int> MapSamples(std::int64_t first, int count, int distance, int otherDistance, std::int64_t from,
                            std::int64_t end) {
  std::vector<int> samples(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::int64_t place = (first + static_cast<std::int64_t>(i)) * distance;
    samples[i] = static_cast<int>(std::clamp(place / otherDistance, from, end - 1) - from);
  }
  return samples;
}

void RepeatSamples(const tagXArr2& source, const std::vector<int>& columns, const std::vector<int>& rows,
                   tagXArr2& result) {
  for (int y = 0; y < result.ySize; ++y) {
    const unsigned char* const from = source.Row(rows[static_cast<std::size_t>(y)]);
    unsigned char* const to = result.Row(y);
    for (int x = 0; x < result.xSize; ++x) {
      std::memcpy(to + result.colOffsets[x], from + source.colOffsets[columns[static_cast<std::size_t>(x)]],
                  static_cast<std::size_t>(result.elementSize));
    }
  }
}

}  // namespace zrk
