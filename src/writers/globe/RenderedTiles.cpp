// Draws the tiles of a unit that lie in one row as one picture and cuts the picture apart, because sources are then
// read in longer rows. A tile always comes out of the same picture. If only some tiles of the picture are wanted, as in
// a continued export, all of them are drawn. So the bytes of a tile do not depend on which tiles were made before.

#include "writers/globe/RenderedTiles.h"

#include "writers/globe/TileShapes.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "ZRMBandResize.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace zrk {

namespace {

constexpr std::size_t kPixelBytes = 3;
constexpr std::size_t kTileRowBytes = kPictureSide * kPixelBytes;

/// Draws tiles into a buffer of its own.
class RenderedMaker : public TileMaker {
 public:
  RenderedMaker(const RenderedLayers& layers, double tileSize) : layers_(layers), tileSize_(tileSize) {}

  bool Prepare(XString& err);
  bool Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) override;

 private:
  TileStrip FindPicture(const TileStrip& strip) const;
  bool SetWidth(int numTiles, XString& err);
  int Draw(const TileStrip& picture, int* cancel);
  bool DrawAlone(const TileStrip& tile, int* cancel, XString& err);
  void Encode(int place, unsigned char* out);

  RenderedLayers layers_;
  double tileSize_;
  XBackBuffer buffer_;
  std::vector<unsigned char> pixels_;  // of a tile
};

/// The longest picture is tried at once, since memory has to be there before the file is made.
bool RenderedMaker::Prepare(XString& err) {
  if (!buffer_.Create(nullptr, kBackBufferInMemory)) {
    err = "Fail to create backbuffer for exporting PBI";
    return false;
  }
  if (!SetWidth(TilePlan::kTilesOfUnit, err)) return false;
  buffer_.SetBackColor(layers_.backColor, 1.0);
  if (const XSpatialReference* const sr = layers_.manager.GetSR()) buffer_.SetSR(*sr);
  buffer_.SetWorldPerPixel(tileSize_ * kPictureStep, tileSize_ * kPictureStep);
  pixels_.resize(kPictureSide * kTileRowBytes);
  return true;
}

bool RenderedMaker::SetWidth(int numTiles, XString& err) {
  const int width = numTiles * kPictureSide;
  if (buffer_.GetWidth() == width || buffer_.Resize(nullptr, width, kPictureSide)) return true;
  err = "Fail to resize backbuffer for exporting PBI";
  return false;
}

/// The tiles of the unit that lie in the row of the strip.
TileStrip RenderedMaker::FindPicture(const TileStrip& strip) const {
  constexpr std::int64_t kTiles = TilePlan::kTilesOfUnit;
  const tagXTileLevel& level = layers_.level;
  const std::int64_t numColumns = std::int64_t{level.urCol} - level.llCol + 1;
  const std::int64_t rowStart = (std::int64_t{strip.row} - level.llRow) * numColumns;
  const std::int64_t unitStart = (rowStart + strip.col - level.llCol) / kTiles * kTiles;
  const std::int64_t first = std::max(rowStart, unitStart), end = std::min(rowStart + numColumns, unitStart + kTiles);
  return {strip.level, strip.row, static_cast<int>(level.llCol + first - rowStart), static_cast<int>(end - first)};
}

/// In the compatible policy a composite that can't be read is left out of those tiles alone that it can't be read for.
bool RenderedMaker::Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) {
  const TileStrip picture = FindPicture(strip);
  if (!SetWidth(picture.count, err)) return false;
  const bool isWhole = Draw(picture, cancel) != kDrawFailed;
  if (XfnIsStopRequested(cancel)) return false;
  for (int i = 0; i < strip.count; ++i, out += BlockBytes(kPictureShape)) {
    if (!isWhole && !DrawAlone({strip.level, strip.row, strip.col + i, 1}, cancel, err)) return false;
    Encode(isWhole ? strip.col + i - picture.col : 0, out);
  }
  return true;
}

bool RenderedMaker::DrawAlone(const TileStrip& tile, int* cancel, XString& err) {
  if (!SetWidth(1, err)) return false;
  const int drawn = Draw(tile, cancel);
  if (XfnIsStopRequested(cancel)) return false;
  if (drawn != kDrawFailed || !layers_.isExact) return true;
  if (!XfnGetLastReadError(err)) err = "A composite can't be drawn";
  return false;
}

/// The composite that comes first in the list lies on top, so that it is drawn last. `kDrawFailed` where one of them
/// can't be drawn, and the others are.
int RenderedMaker::Draw(const TileStrip& picture, int* cancel) {
  const double west = picture.col * tileSize_ - 180.0, south = picture.row * tileSize_ - 90.0;
  const double east = west + picture.count * tileSize_, north = south + tileSize_;
  buffer_.SetWorldToCenter(west + picture.count * tileSize_ / 2, south + tileSize_ / 2);
  buffer_.Clear(kSetBackColour, nullptr);
  const int numComposites = layers_.manager.GetNumberOfZRMComposite();
  ZRMComposite* const first = numComposites > 0 ? layers_.manager.GetZRMCompositeAt(numComposites - 1) : nullptr;
  int result = kDrawNothing;
  for (int i = numComposites - 1; i >= 0 && !XfnIsStopRequested(cancel); --i) {
    const int drawn =
        layers_.manager.GetZRMCompositeAt(i)->Draw(&buffer_, west, south, east, north, kResampleMean, first, cancel);
    if (drawn == kDrawFailed || result != kDrawFailed) result = drawn;
  }
  return result;
}

/// The pixels of the buffer are those of a bitmap, whose lowest row lies first, as the encoder wants them. `place`
/// counts the tiles of the picture.
void RenderedMaker::Encode(int place, unsigned char* out) {
  const std::size_t rowBytes = static_cast<std::size_t>(buffer_.GetWidth()) * kPixelBytes;
  const unsigned char* row = buffer_.GetPixels() + static_cast<std::size_t>(place) * kTileRowBytes;
  for (std::size_t y = 0; y < kPictureSide; ++y, row += rowBytes) {
    std::memcpy(pixels_.data() + y * kTileRowBytes, row, kTileRowBytes);
  }
  EncodeBlocks(pixels_, kPixelBgr, kPictureShape, {out, BlockBytes(kPictureShape)});
}

}  // namespace

std::unique_ptr<TileMaker> NewRenderedMaker(const RenderedLayers& layers, double tileSize, XString& err) {
  auto maker = std::make_unique<RenderedMaker>(layers, tileSize);
  if (!maker->Prepare(err)) return nullptr;
  return maker;
}

}  // namespace zrk
