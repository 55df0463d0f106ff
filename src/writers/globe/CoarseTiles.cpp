// A tile of a coarser level is made of the tiles of the next finer level that it covers. Mostly these are two by two
// tiles of the same size, and each pixel is the mean of four, rounded: one row of blocks after the other is unpacked
// and halved. Tiles at the edges of the globe may cover three tiles each way. They are put together as bands in memory
// and made smaller by area.

#include "writers/globe/CoarseTiles.h"

#include "tagXArr2.h"
#include "tiles/BlockDecoder.h"
#include "tiles/TilePlace.h"
#include "writers/globe/TileShapes.h"
#include "XTileGrid.h"
#include "ZRMBand2DMem.h"
#include "ZRMBandResize.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zrk {

namespace {

constexpr int kHalf = kPictureSide / 2;
constexpr int kBlocksOfRow = kPictureSide / 4;
constexpr std::size_t kBlockRowBytes = std::size_t{kBlocksOfRow} * 8;
constexpr std::size_t kTileBytes = kBlockRowBytes * kBlocksOfRow;
constexpr int kRgbaBytes = 4;
constexpr std::size_t kRowBytes = std::size_t{kPictureSide} * kRgbaBytes;

/// The tiles of the finer level that a tile covers, inclusive.
struct Children {
  int llRow = 0;
  int llCol = 0;
  int urRow = 0;
  int urCol = 0;

  std::int64_t Columns() const { return std::int64_t{urCol} - llCol + 1; }
  std::int64_t Rows() const { return std::int64_t{urRow} - llRow + 1; }
};

Children FindChildren(int level, double tileSize, int row, int col) {
  const double west = col * tileSize - 180.0, south = row * tileSize - 90.0;
  const double inward = tileSize - tileSize * kPictureStep;
  Children children;
  XfnGetRowColFromGeo(level, west, south, children.llRow, children.llCol);
  XfnGetRowColFromGeo(level, west + inward, south + inward, children.urRow, children.urCol);
  return children;
}

/// Pixels as numbers, whatever the order of their bytes.
using Pixel = std::uint32_t;
using TwoPixels = std::uint64_t;
constexpr Pixel kOpaqueBlack = std::bit_cast<Pixel>(std::array<std::uint8_t, kRgbaBytes>{0, 0, 0, 255});

/// The mean of two pixels and the two below them, rounded, channel by channel. Every other channel has a spare byte
/// above it, in which sums have room.
Pixel MeanOf(TwoPixels above, TwoPixels below) {
  constexpr TwoPixels kEven = 0x00FF00FF00FF00FF;
  constexpr Pixel kEvenOfOne = 0x00FF00FF, kHalves = 0x00020002;
  const TwoPixels even = (above & kEven) + (below & kEven);
  const TwoPixels odd = (above >> 8 & kEven) + (below >> 8 & kEven);
  const auto evenSums = static_cast<Pixel>(even + (even >> 32)), oddSums = static_cast<Pixel>(odd + (odd >> 32));
  return ((evenSums + kHalves) >> 2 & kEvenOfOne) | ((oddSums + kHalves) >> 2 & kEvenOfOne) << 8;
}

/// Two rows of pixels become one of half their length, which nothing shines through.
void HalveTwoRows(const std::uint8_t* __restrict rows, std::uint8_t* __restrict out) {
  for (std::size_t i = 0; i < kHalf; ++i) {
    TwoPixels above, below;
    std::memcpy(&above, rows + i * sizeof above, sizeof above);
    std::memcpy(&below, rows + kRowBytes + i * sizeof below, sizeof below);
    const Pixel mean = MeanOf(above, below) | kOpaqueBlack;
    std::memcpy(out + i * sizeof mean, &mean, sizeof mean);
  }
}

/// Makes rows of so many bytes black. They belong to a whole tile.
void BlackenRows(std::uint8_t* first, int numRows, std::size_t rowBytes) {
  for (int y = 0; y < numRows; ++y, first += kRowBytes) {
    for (std::size_t i = 0; i < rowBytes; i += kRgbaBytes) std::memcpy(first + i, &kOpaqueBlack, kRgbaBytes);
  }
}

class CoarseMaker : public TileMaker {
 public:
  CoarseMaker(const FinerLevel& finer, double tileSize) : finer_(finer), tileSize_(tileSize) {}

  void Prepare();
  bool Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) override;

 private:
  bool MakeTile(const Children& children, XString& err);
  bool ReadChild(int row, int col, bool& isThere, XString& err);
  std::uint8_t* CornerOf(int column, int row);
  void PutQuarter(int column, int row);
  bool MakeOfMany(const Children& children, XString& err);
  bool PutPlanes(const Children& children, ZRMBand2DMem* planes, XString& err);
  bool Shrink(ZRMBand2DMem& plane, int channel);

  FinerLevel finer_;
  double tileSize_;
  std::vector<std::uint8_t> blocks_;
  std::vector<std::uint8_t> rows_;    // four of a child
  std::vector<std::uint8_t> pixels_;  // of the tile: R, G, B, A, the lowest row first
};

void CoarseMaker::Prepare() {
  blocks_.resize(kTileBytes);
  rows_.resize(4 * kRowBytes);
  pixels_.resize(kPictureSide * kRowBytes);
}

bool CoarseMaker::Make(const TileStrip& strip, unsigned char* out, int*, XString& err) {
  for (int i = 0; i < strip.count; ++i, out += kTileBytes) {
    if (!MakeTile(FindChildren(finer_.level.level, tileSize_, strip.row, strip.col + i), err)) return false;
    EncodeBlocks(pixels_, kPixelRgba, kPictureShape, {out, kTileBytes});
  }
  return true;
}

/// The encoder takes a pixel whose alpha is 0 as transparent, and nothing of these tiles is.
bool CoarseMaker::MakeTile(const Children& children, XString& err) {
  if (children.Columns() != 2 || children.Rows() != 2) return MakeOfMany(children, err);
  for (int i = 0; i < 4; ++i) {
    bool isThere = false;
    if (!ReadChild(children.llRow + i / 2, children.llCol + i % 2, isThere, err)) return false;
    if (isThere) {
      PutQuarter(i % 2, i / 2);
    } else {
      BlackenRows(CornerOf(i % 2, i / 2), kHalf, kRowBytes / 2);
    }
  }
  return true;
}

std::uint8_t* CoarseMaker::CornerOf(int column, int row) {
  return pixels_.data() + static_cast<std::size_t>(row) * kHalf * kRowBytes +
         static_cast<std::size_t>(column) * kRowBytes / 2;
}

/// False only where the tile is in the level, can't be read, and has to be.
bool CoarseMaker::ReadChild(int row, int col, bool& isThere, XString& err) {
  isThere = HoldsTile(finer_.level, row, col) && finer_.file.Read(finer_.level, row, col, blocks_);
  if (isThere || !finer_.isExact || !HoldsTile(finer_.level, row, col)) return true;
  err = "A tile of the finer level can't be read";
  return false;
}

/// Rows of blocks come from the top, and rows of pixels lie from the bottom.
void CoarseMaker::PutQuarter(int column, int row) {
  std::uint8_t* const corner = CornerOf(column, row);
  for (int i = 0; i < kBlocksOfRow; ++i) {
    const BlockRun run{blocks_.data() + static_cast<std::size_t>(i) * kBlockRowBytes, kBlocksOfRow, kDxt1,
                       BlockColours::kShifted};
    DecodeRun(run, rows_.data(), static_cast<std::ptrdiff_t>(kRowBytes));
    std::uint8_t* const upper = corner + static_cast<std::size_t>(kHalf - 1 - 2 * i) * kRowBytes;
    HalveTwoRows(rows_.data(), upper);
    HalveTwoRows(rows_.data() + 2 * kRowBytes, upper - kRowBytes);
  }
}

bool CoarseMaker::MakeOfMany(const Children& children, XString& err) {
  BlackenRows(pixels_.data(), kPictureSide, kRowBytes);
  constexpr std::int64_t kMaxChildren = 4;
  if (children.Columns() < 1 || children.Columns() > kMaxChildren || children.Rows() < 1 ||
      children.Rows() > kMaxChildren) {
    return true;
  }
  ZRMBand2DMem planes[3];
  for (ZRMBand2DMem& plane : planes) {
    if (plane.SetSourceMemory(static_cast<int>(children.Columns()) * kPictureSide,
                              static_cast<int>(children.Rows()) * kPictureSide, kPint08)) {
      continue;
    }
    err = "Fail to allocate PBI output data memory";
    return false;
  }
  if (!PutPlanes(children, planes, err)) return false;
  for (int channel = 0; channel < 3; ++channel) {
    if (!Shrink(planes[channel], channel)) return false;
  }
  return true;
}

bool CoarseMaker::PutPlanes(const Children& children, ZRMBand2DMem* planes, XString& err) {
  std::vector<std::uint8_t> child(pixels_.size());
  for (std::int64_t i = 0; i < children.Columns() * children.Rows(); ++i) {
    const int row = static_cast<int>(i / children.Columns()), column = static_cast<int>(i % children.Columns());
    bool isThere = false;
    if (!ReadChild(children.llRow + row, children.llCol + column, isThere, err)) return false;
    if (!isThere || !DecodeBlocksAs(blocks_, kPictureShape, kPixelRgba, child)) continue;
    for (int y = 0; y < kPictureSide; ++y) {
      for (int channel = 0; channel < 3; ++channel) {
        unsigned char* const out =
            planes[channel].GetSourceMemory()->Row(row * kPictureSide + y) + column * kPictureSide;
        const std::uint8_t* const in = child.data() + static_cast<std::size_t>(y) * kRowBytes + channel;
        for (int x = 0; x < kPictureSide; ++x) out[x] = in[kRgbaBytes * x];
      }
    }
  }
  return true;
}

bool CoarseMaker::Shrink(ZRMBand2DMem& plane, int channel) {
  ZRMBandResize resized;
  resized.SetSourceBand(&plane);
  tagXArr2* mean = nullptr;
  if (!resized.SetResampleMethod(kResampleMean) ||
      !resized.SetResizeInfo(0, plane.GetXSize() - 1, 0, plane.GetYSize() - 1, kPictureSide, kPictureSide) ||
      !resized.ReadSubset(mean, 0, 0, kPictureSide - 1, 0, kPictureSide - 1, nullptr)) {
    return false;
  }
  for (int y = 0; y < kPictureSide; ++y) {
    std::uint8_t* const out = pixels_.data() + static_cast<std::size_t>(y) * kRowBytes + channel;
    for (int x = 0; x < kPictureSide; ++x) out[kRgbaBytes * x] = mean->Row(y)[x];
  }
  return true;
}

}  // namespace

std::unique_ptr<TileMaker> NewCoarseMaker(const FinerLevel& finer, double tileSize, XString& err) {
  try {
    auto maker = std::make_unique<CoarseMaker>(finer, tileSize);
    maker->Prepare();
    return maker;
  } catch (const std::bad_alloc&) {
    err = "Fail to allocate PBI output data memory";
    return nullptr;
  }
}

}  // namespace zrk
