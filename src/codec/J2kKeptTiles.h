#pragma once

#include "base/BlockCache.h"
#include "codec/J2kWindowReader.h"

#include <functional>
#include <mutex>
#include <span>
#include <unordered_set>
#include <vector>

namespace zrk {

/// Decoded tiles of a codestream in the cache of the process, while callers grant memory for it. The first request for
/// a part of a tile decodes that part alone, because a part costs less than the whole tile. From the second request on
/// the tile is decoded as a whole and kept. Any number of threads may use one object at once.
class J2kKeptTiles {
 public:
  /// Decodes the samples of a tile that a request wants into a sink. False if they can't be decoded.
  using Decode = std::function<bool(const J2kRequest&, J2kSink&)>;

  /// The header has to outlive this.
  explicit J2kKeptTiles(const J2kHeader& header) : header_(header) {}

  /// Gives the samples of a tile that a request wants to a sink. False, with nothing given, if the caller has to decode
  /// them. That is so if no memory is granted, the tile is too large, this is its first request, the whole tile is
  /// wanted, or the whole tile can't be decoded.
  bool Give(int tile, const J2kRequest& request, const Decode& decode, J2kSink& sink);

 private:
  bool IsWorthKeeping(std::int64_t key, std::span<const J2kRect> whole, std::span<const J2kRect> parts);

  const J2kHeader& header_;
  BlockFile blocks_;
  std::mutex mutex_;
  std::unordered_set<std::int64_t> askedFor_;  // tiles at a level; guarded by the mutex
};

}  // namespace zrk
