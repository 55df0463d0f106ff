#pragma once

namespace zrk {

/// As long as one lives, reads on its thread are those of the library itself: of statistics, levels, writers and bands
/// over bands. Some bands answer callers of theirs in a way that programs rely on, and that would spoil such work. They
/// ask here.
class OwnReads {
 public:
  OwnReads() noexcept;
  ~OwnReads();
  OwnReads(const OwnReads&) = delete;
  OwnReads& operator=(const OwnReads&) = delete;

  static bool AreUnderWay() noexcept;
};

}  // namespace zrk
