// A picture in memory. Its rows lie as those of a bitmap file do: from the bottom up, with blue as the first byte of a
// pixel. Callers that read tiles get their rows by one copy.

#include "XBackBuffer.h"

#include "base/Fence.h"
#include "display/BackBufferState.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>

namespace {

constexpr int kPixelBytes = 3;

struct PixelBytes {
  unsigned char blue;
  unsigned char green;
  unsigned char red;

  explicit PixelBytes(XColour colour)
      : blue(static_cast<unsigned char>(colour >> 16)),
        green(static_cast<unsigned char>(colour >> 8)),
        red(static_cast<unsigned char>(colour)) {}
};

/// Rounded, so that a colour mixed with itself stays what it is.
unsigned char Mix(unsigned char below, unsigned char above, double opacity) {
  return static_cast<unsigned char>(below + (above - below) * opacity + 0.5);
}

void CoverPixels(unsigned char* pixel, int count, PixelBytes colour) {
  for (int i = 0; i < count; ++i, pixel += kPixelBytes) {
    pixel[0] = colour.blue;
    pixel[1] = colour.green;
    pixel[2] = colour.red;
  }
}

void MixPixels(unsigned char* pixel, int count, PixelBytes colour, double opacity) {
  for (int i = 0; i < count; ++i, pixel += kPixelBytes) {
    pixel[0] = Mix(pixel[0], colour.blue, opacity);
    pixel[1] = Mix(pixel[1], colour.green, opacity);
    pixel[2] = Mix(pixel[2], colour.red, opacity);
  }
}

}  // namespace

std::uint64_t zrk::NextSystemId() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

XBackBuffer::XBackBuffer() : state_(std::make_unique<zrk::BackBufferState>()) {}
XBackBuffer::~XBackBuffer() = default;

int XBackBuffer::Create(HDC, int kind) {
  if (kind != kBackBufferInMemory) return 0;
  state_->pixels.clear();
  state_->grid.width = 0;
  state_->grid.height = 0;
  state_->isCreated = true;
  return 1;
}

/// Pixels are counted by ints where they are copied, so that their bytes have to fit into one.
int XBackBuffer::Resize(HDC, int width, int height) {
  if (!state_->isCreated || width <= 0 || height <= 0) return 0;
  if (std::int64_t{width} * height > INT_MAX / kPixelBytes) return 0;
  return zrk::FencedRead([&] {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * kPixelBytes);
    state_->pixels.swap(pixels);
    state_->grid.width = width;
    state_->grid.height = height;
    return 1;
  });
}

int XBackBuffer::GetWidth() const {
  return state_->grid.width;
}

int XBackBuffer::GetHeight() const {
  return state_->grid.height;
}

void XBackBuffer::SetBackColor(XColour colour, double opacity) {
  state_->backColour = colour;
  state_->opacity = std::isnan(opacity) ? 1.0 : std::clamp(opacity, 0.0, 1.0);
}

void XBackBuffer::SetWorldPerPixel(double xPixelSize, double yPixelSize) {
  state_->grid.xStep = xPixelSize;
  state_->grid.yStep = yPixelSize;
}

double XBackBuffer::GetXWorldPerPixel() const {
  return state_->grid.xStep;
}

double XBackBuffer::GetYWorldPerPixel() const {
  return state_->grid.yStep;
}

void XBackBuffer::SetWorldToCenter(double x, double y) {
  state_->grid.xCentre = x;
  state_->grid.yCentre = y;
}

void XBackBuffer::GetWorldRange(double& minX, double& maxX, double& minY, double& maxY) const {
  const zrk::PictureGrid& grid = state_->grid;
  minX = grid.Left();
  maxX = minX + grid.width * grid.xStep;
  maxY = grid.Top();
  minY = maxY - grid.height * grid.yStep;
}

/// The number lets composites find what they worked out for this system without comparing systems.
void XBackBuffer::SetSR(const XSpatialReference& sr) {
  state_->sr = sr;
  state_->systemId = zrk::NextSystemId();
}

const XSpatialReference& XBackBuffer::GetSR() const {
  return state_->sr;
}

/// The first row is filled pixel by pixel, and copied to the others. Tiles are cleared by the thousand.
void XBackBuffer::Clear(XColour colour, const RECT* rect) {
  const zrk::PictureGrid& grid = state_->grid;
  const RECT whole{0, 0, grid.width, grid.height};
  const RECT& asked = rect ? *rect : whole;
  const int x0 = std::max(asked.left, 0), x1 = std::min(asked.right, grid.width);
  const int y0 = std::max(asked.top, 0), y1 = std::min(asked.bottom, grid.height);
  if (x0 >= x1) return;
  const PixelBytes bytes(colour == kSetBackColour ? state_->backColour : colour);
  const std::ptrdiff_t offset = std::ptrdiff_t{x0} * kPixelBytes;
  for (int y = y0; y < y1; ++y) {
    unsigned char* const row = state_->Row(y) + offset;
    if (state_->opacity != 1.0) {
      MixPixels(row, x1 - x0, bytes, state_->opacity);
    } else if (y == y0) {
      CoverPixels(row, x1 - x0, bytes);
    } else {
      std::memcpy(row, state_->Row(y0) + offset, static_cast<std::size_t>(x1 - x0) * kPixelBytes);
    }
  }
}

/// Rows lie in the order that is asked for, so that each is copied as it is.
int XBackBuffer::ReadDIB24(int width, int height, std::int64_t rowBytes, unsigned char* pixels) const {
  if (!pixels || width <= 0 || height <= 0 || state_->pixels.empty()) return 0;
  if (rowBytes < std::int64_t{width} * kPixelBytes) return 0;
  const zrk::PictureGrid& grid = state_->grid;
  const auto copied = static_cast<std::size_t>(std::min(width, grid.width)) * kPixelBytes;
  const auto stride = static_cast<std::size_t>(grid.width) * kPixelBytes;
  for (int row = 0; row < height; ++row) {
    unsigned char* const target = pixels + rowBytes * row;
    const std::size_t numCopied = row < grid.height ? copied : 0;
    if (numCopied > 0) std::memcpy(target, state_->pixels.data() + stride * static_cast<std::size_t>(row), numCopied);
    std::memset(target + numCopied, 0, static_cast<std::size_t>(rowBytes) - numCopied);
  }
  return 1;
}

unsigned char* XBackBuffer::GetPixels() {
  return state_->pixels.empty() ? nullptr : state_->pixels.data();
}

const unsigned char* XBackBuffer::GetPixels() const {
  return state_->pixels.empty() ? nullptr : state_->pixels.data();
}
