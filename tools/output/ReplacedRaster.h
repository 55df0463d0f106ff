#pragma once

#include <cstdint>
#include <string>

/// A raster that a new one takes the place of, if there is one. Its level file goes when it does, because the library
/// knows the new one under another name while it is written.
class ReplacedRaster {
 public:
  /// For before the new file is begun.
  explicit ReplacedRaster(const std::string& path);
  /// For when the new file has its name.
  void RemoveLevelFile() const;

 private:
  std::string path_;
  std::int64_t length_ = 0;
};
