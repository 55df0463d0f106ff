// Decoded tiles of a codestream, kept for further windows (docs/decisions/0034). A request goes three steps.
// `IsWorthKeeping` remembers tiles that were asked for, and says no at the first request of each. From the second
// request on the whole tile is decoded into the cache of blocks, unless it is there already. Then the part that is
// wanted is copied out to the sink.
//
// A kept tile has the samples of its components one behind the other, row by row. They take one or two bytes each if
// their depth allows that, and four otherwise.

#include "codec/J2kKeptTiles.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

constexpr std::int64_t kMostTileSamples = 1 << 20;  // of a component

/// The samples of a component in the memory of a tile.
struct KeptPlane {
  J2kRect rect;
  std::int64_t offset = 0;
  int numBytes = 1;  // of a sample
  bool isSigned = false;

  std::int64_t CountBytes() const { return rect.IsEmpty() ? 0 : rect.Width() * rect.Height() * numBytes; }
  std::int64_t OffsetOf(std::int64_t x, std::int64_t y) const {
    return offset + ((y - rect.y0) * rect.Width() + (x - rect.x0)) * numBytes;
  }
};
using KeptPlanes = std::vector<KeptPlane>;

KeptPlanes LayOutPlanes(const J2kHeader& header, std::span<const J2kRect> whole) {
  KeptPlanes planes;
  std::int64_t offset = 0;
  for (std::size_t c = 0; c < whole.size(); ++c) {
    const J2kComponent& of = header.components[c];
    planes.push_back({whole[c], offset, of.depth <= 8 ? 1 : of.depth <= 16 ? 2 : 4, of.isSigned});
    offset += planes.back().CountBytes();
  }
  return planes;
}

template <class Sample>
void PackRow(const std::int32_t* from, std::int64_t count, unsigned char* to) {
  for (std::int64_t i = 0; i < count; ++i) {
    const auto sample = static_cast<Sample>(from[i]);
    std::memcpy(to + i * static_cast<std::int64_t>(sizeof sample), &sample, sizeof sample);
  }
}

template <class Sample>
void UnpackRow(const unsigned char* from, std::int64_t count, std::int32_t* to) {
  for (std::int64_t i = 0; i < count; ++i) {
    Sample sample;
    std::memcpy(&sample, from + i * static_cast<std::int64_t>(sizeof sample), sizeof sample);
    to[i] = static_cast<std::int32_t>(sample);
  }
}

/// Takes a tile into memory.
class KeepingSink final : public J2kSink {
 public:
  KeepingSink(const KeptPlanes& planes, unsigned char* memory) : planes_(planes), memory_(memory) {}

  void Take(const J2kPlane& plane, const J2kRect& part) override {
    const KeptPlane& kept = planes_[static_cast<std::size_t>(plane.component)];
    isWhole_ = isWhole_ && !plane.isCentred;
    const auto pack = kept.numBytes == 1   ? &PackRow<std::uint8_t>
                      : kept.numBytes == 2 ? &PackRow<std::uint16_t>
                                           : &PackRow<std::int32_t>;
    for (std::int64_t y = part.y0; y < part.y1; ++y) {
      pack(plane.At(part.x0, y), part.Width(), memory_ + kept.OffsetOf(part.x0, y));
    }
  }
  void Miss(int, const J2kRect&) override { isWhole_ = false; }

  bool IsWhole() const { return isWhole_; }

 private:
  const KeptPlanes& planes_;
  unsigned char* memory_;
  bool isWhole_ = true;
};

void GivePart(const KeptPlane& kept, int component, const unsigned char* memory, const J2kRect& part, J2kSink& sink) {
  std::vector<std::int32_t> samples(static_cast<std::size_t>(part.Width() * part.Height()));
  const auto unpackBytes = kept.isSigned ? &UnpackRow<std::int8_t> : &UnpackRow<std::uint8_t>;
  const auto unpackWords = kept.isSigned ? &UnpackRow<std::int16_t> : &UnpackRow<std::uint16_t>;
  const auto unpack = kept.numBytes == 1 ? unpackBytes : kept.numBytes == 2 ? unpackWords : &UnpackRow<std::int32_t>;
  for (std::int64_t y = part.y0; y < part.y1; ++y) {
    unpack(memory + kept.OffsetOf(part.x0, y), part.Width(), samples.data() + (y - part.y0) * part.Width());
  }
  sink.Take({component, part, samples.data(), false}, part);
}

}  // namespace

/// A tile that is wanted whole is decoded for whoever wants it, without a copy.
bool J2kKeptTiles::IsWorthKeeping(std::int64_t key, std::span<const J2kRect> whole, std::span<const J2kRect> parts) {
  if (std::ranges::equal(whole, parts)) return false;
  for (std::size_t c = 0; c < whole.size(); ++c) {
    const bool isLarge = !whole[c].IsEmpty() && whole[c].Width() * whole[c].Height() > kMostTileSamples;
    if (isLarge || (parts[c].IsEmpty() && !whole[c].IsEmpty())) return false;
  }
  const std::lock_guard lock(mutex_);
  return !askedFor_.insert(key).second;
}

bool J2kKeptTiles::Give(int tile, const J2kRequest& request, const Decode& decode, J2kSink& sink) {
  if (BlockCache::OfProcess().GetGranted() == 0) return false;
  J2kRequest whole = request;
  std::vector<J2kRect> parts;
  for (int c = 0; c < std::ssize(header_.components); ++c) {
    J2kRect& rect = whole.rects[static_cast<std::size_t>(c)];
    const J2kRect all = header_.ReduceRect(header_.GetTileRect(tile), c, request.level);
    parts.push_back(Intersect(rect, all));
    rect = all;
  }
  const std::int64_t key = (std::int64_t{tile} * 64 + request.level) * 2 + (request.isStrict ? 1 : 0);
  if (!IsWorthKeeping(key, whole.rects, parts)) return false;
  const KeptPlanes planes = LayOutPlanes(header_, whole.rects);
  BlockClaim claim(&blocks_, key);
  if (!claim.IsDecoded()) {
    const std::shared_ptr<BlockRoom>& room = claim.MakeRoom(planes.back().offset + planes.back().CountBytes());
    if (!room) return false;
    KeepingSink keeping(planes, room->Get());
    if (!decode(whole, keeping) || !keeping.IsWhole()) return false;
    claim.Keep();
  }
  for (std::size_t c = 0; c < planes.size(); ++c) {
    if (!parts[c].IsEmpty()) GivePart(planes[c], static_cast<int>(c), claim.GetRoom()->Get(), parts[c], sink);
  }
  return true;
}

}  // namespace zrk
