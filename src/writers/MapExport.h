#pragma once

#include "XString.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

class XThread;
class ZRMCompManager;

namespace zrk {

// What the exports of maps have in common.

inline constexpr char kNoManager[] = "Invalid ZRM composite manager";
inline constexpr char kNoLevel[] = "Invalid output data level";
inline constexpr char kNoMosaic[] = "Fail to create mosaic DEM data band";
inline constexpr char kNoImageSize[] = "Invalid output image size";

/// Whether the manager shows a map: its system is known and not geographic. False with the sentence otherwise.
bool ShowsMap(const ZRMCompManager& manager, XString& err);

/// Tiles of a map, which as many workers make as the caller of the library has granted. Which of them makes a tile
/// changes nothing about it. The thread of the caller is one of them, and tells the percentages.
class MapTiles {
 public:
  /// Makes a tile by its number. False with the reason in `why`, which stays empty after a stop.
  using Maker = std::function<bool(std::int64_t tile, XString& why)>;

  /// All runs together make `total` tiles. `thread` may be null.
  MapTiles(XThread* thread, double total) : thread_(thread), total_(total) {}

  /// Makes the tiles from 0 to `count` - 1. `newMaker` gives each worker a maker for its own use, by the number of the
  /// worker; where it gives an empty one the others do the work, so that worker 0 needs one. False with the reason in
  /// `err`, which is left alone after a stop.
  bool Run(std::int64_t count, const std::function<Maker(int worker)>& newMaker, XString& err);

 private:
  bool Work(int worker, std::int64_t count, const std::function<Maker(int worker)>& newMaker);
  bool Count(int worker);

  XThread* thread_;
  double total_;
  std::atomic<std::int64_t> numBegun_ = 0;
  std::atomic<std::int64_t> next_ = 0;
  std::mutex mutex_;
  XString err_;
};

/// Twelve places after the point, whatever the locale.
XString FormatPlaces(double value);

/// Why a band could not be read, or the sentence given where nothing is known of it.
XString WhyNotDrawn(const char* otherwise);

/// Makes a file of some bytes in place of one that was there. False where that fails, and then none is left.
bool WriteNewFile(const XString& path, const void* bytes, std::int64_t count);

}  // namespace zrk
