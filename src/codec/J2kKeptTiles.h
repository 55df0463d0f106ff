#pragma once

#include "base/BlockCache.h"
#include "codec/J2kWindowReader.h"

#include <functional>
#include <mutex>
#include <span>
#include <unordered_set>
#include <vector>

namespace zrk {

/// Decoded tiles of a codestream in the cache of the process, while callers grant that memory. A tile is decoded in
/// parts as long as nobody asks for it again, because a part costs less than all of it. From the second time on it is
/// decoded as a whole, and kept. For all threads at once.
class J2kKeptTiles {
 public:
  /// Decodes what a request wants of a tile into a sink. False where that can't be.
  using Decode = std::function<bool(const J2kRequest&, J2kSink&)>;

  /// The header has to outlive this.
  explicit J2kKeptTiles(const J2kHeader& header) : header_(header) {}

  /// Gives what a request wants of a tile to a sink. False, with nothing given, where the caller has to decode it: no
  /// memory is granted, the tile is too large, this is its first request, all of it is wanted, or the whole tile can't
  /// be decoded.
  bool Give(int tile, const J2kRequest& request, const Decode& decode, J2kSink& sink);

 private:
  bool IsWorthKeeping(std::int64_t key, std::span<const J2kRect> whole, std::span<const J2kRect> parts);

  const J2kHeader& header_;
  BlockFile blocks_;
  std::mutex mutex_;
  std::unordered_set<std::int64_t> askedFor_;  // tiles at a level; guarded by the mutex
};

}  // namespace zrk
