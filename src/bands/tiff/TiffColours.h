#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <tiffio.h>

namespace zrk {

/// libtiff's way from the samples of a tile to red, green, blue and alpha, for tiles that are decoded already. Its own
/// reading of tiles refuses plain ones whose size it rounds up.
class TiffColours {
 public:
  explicit TiffColours(TIFF* tiff);
  ~TiffColours();
  TiffColours(const TiffColours&) = delete;
  TiffColours& operator=(const TiffColours&) = delete;

  /// Whether libtiff knows the way.
  explicit operator bool() const { return isReady_; }
  /// The samples whose planes `Convert` wants one behind the other. Only the first one where pixels lie together.
  std::vector<int> GetPlanes() const;
  /// Makes `width` by `height` pixels, the first row first.
  void Convert(unsigned char* planes, std::int64_t planeBytes, std::uint32_t width, std::uint32_t height,
               std::uint32_t* colours);

 private:
  TIFFRGBAImage image_{};
  bool isReady_ = false;
};

}  // namespace zrk
