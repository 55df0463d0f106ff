#pragma once

#include "XDeviceContext.h"
#include "XExport.h"
#include "XSpatialReference.h"

#include <cstdint>
#include <memory>

namespace zrk {
struct BackBufferAccess;
struct BackBufferState;
}  // namespace zrk

/// The kind of buffer that `XBackBuffer::Create` takes: pixels in memory.
inline constexpr int kBackBufferInMemory = 2;
/// Stands for the set back colour in `XBackBuffer::Clear`.
inline constexpr XColour kSetBackColour = 0xFFFFFFFF;

/// A picture in memory that composites are drawn into, with its place in the world. Pixels have a byte each of red,
/// green and blue.
///
///     XBackBuffer buffer;
///     buffer.Create(nullptr, kBackBufferInMemory);
///     buffer.Resize(nullptr, 256, 256);
///     buffer.SetSR(*manager.GetSR());
///     buffer.SetWorldPerPixel(step, step);
///     buffer.SetWorldToCenter(longitude, latitude);
///     buffer.Clear(kSetBackColour, nullptr);
///     composite->Draw(&buffer, west, south, east, north, kResampleNearest, nullptr, nullptr);
///     buffer.ReadDIB24(256, 256, 256 * 3, pixels);
///
/// Row 0 is at the top. The centre of the pixel in column i lies at x = centre + (i + 0.5 - width / 2) * step. The
/// centre of the pixel in row j lies at y = centre - (j + 0.5 - height / 2) * step.
///
/// One thread uses a buffer at a time. Threads that draw at once have a buffer each, and may draw the same composites.
/// A device context is ignored and may be null. Nothing throws but the constructor, where memory ran out.
class ZRKIO_API XBackBuffer {
 public:
  /// A buffer without pixels.
  XBackBuffer();
  ~XBackBuffer();
  XBackBuffer(const XBackBuffer&) = delete;
  XBackBuffer& operator=(const XBackBuffer&) = delete;

  /// Makes the buffer ready for `Resize`. Its pixels are lost. Returns 1, or 0 for any kind but `kBackBufferInMemory`,
  /// and where memory ran out.
  int Create(HDC dc, int kind);
  /// Sets the size in pixels; all of them are black after it. Returns 1, or 0 with the buffer as it was. It fails
  /// before `Create`, for sizes that are not positive or take more than INT_MAX bytes in all, and if memory runs out.
  int Resize(HDC dc, int width, int height);
  /// In pixels; 0 before `Resize`.
  int GetWidth() const;
  int GetHeight() const;

  /// The colour of cleared pixels, white and opaque at first. An opacity of 1.0 covers what was there, and 0.0 leaves
  /// it. Values between mix the two. The opacity is cut to that range; one that is not a number counts as 1.0.
  void SetBackColor(XColour colour, double opacity);
  /// World units per pixel, 1.0 both at first. Sizes that are not finite or not positive make drawing fail.
  void SetWorldPerPixel(double xPixelSize, double yPixelSize);
  double GetXWorldPerPixel() const;
  double GetYWorldPerPixel() const;
  /// The place in the world that the centre of the picture shows, (0.0, 0.0) at first.
  void SetWorldToCenter(double x, double y);
  /// The outer edges of the picture in the world.
  void GetWorldRange(double& minX, double& maxX, double& minY, double& maxY) const;
  /// The system of the picture's world, which composites of other systems are warped to. Empty at first: composites are
  /// then drawn by their own coordinates. Set it once for many draws: a change costs each composite a new
  /// transformation.
  void SetSR(const XSpatialReference& sr);
  const XSpatialReference& GetSR() const;

  /// Fills a rectangle, or the whole picture for null, with a colour at the set opacity; `kSetBackColour` is the colour
  /// that was set. Pixels outside the picture are ignored.
  void Clear(XColour colour, const RECT* rect);
  /// Copies the picture as a bitmap of 24 bits has it: rows from the bottom up, pixels as blue, green, red. `pixels`
  /// has room for `height` rows of `rowBytes` bytes: 3 * width for packed rows, `XfnCalcDIBWidthBytes(width, 24)` for
  /// those of a bitmap. If the picture is larger, that many columns from the left and rows from the bottom are copied.
  /// Pixels beyond a smaller picture become 0, and so do the padding bytes of each row. Returns 1, or 0 with nothing
  /// written: for null, for sizes that are not positive, for rows that are too short, and before `Resize`.
  int ReadDIB24(int width, int height, std::int64_t rowBytes, unsigned char* pixels) const;
  /// The pixels themselves, packed rows in the order of `ReadDIB24`; null before `Resize`. They stay the buffer's and
  /// are valid until its next `Create` or `Resize`.
  unsigned char* GetPixels();
  const unsigned char* GetPixels() const;

 private:
  friend struct zrk::BackBufferAccess;
  std::unique_ptr<zrk::BackBufferState> state_;
};
