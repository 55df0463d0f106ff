#include "writers/globe/RenderedTiles.h"

#include "writers/globe/TileShapes.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "ZRMBandResize.h"

namespace zrk {

namespace {

constexpr std::size_t kPixelsBytes = std::size_t{kPictureSide} * kPictureSide * 3;

/// Draws tiles into a buffer of its own.
class RenderedMaker : public TileMaker {
 public:
  RenderedMaker(const RenderedLayers& layers, double tileSize) : layers_(layers), tileSize_(tileSize) {}

  bool Prepare(XString& err);
  bool Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) override;

 private:
  bool Draw(int row, int col, int* cancel, XString& err);

  RenderedLayers layers_;
  double tileSize_;
  XBackBuffer buffer_;
};

bool RenderedMaker::Prepare(XString& err) {
  if (!buffer_.Create(nullptr, kBackBufferInMemory)) {
    err = "Fail to create backbuffer for exporting PBI";
    return false;
  }
  if (!buffer_.Resize(nullptr, kPictureSide, kPictureSide)) {
    err = "Fail to resize backbuffer for exporting PBI";
    return false;
  }
  buffer_.SetBackColor(layers_.backColor, 1.0);
  if (const XSpatialReference* const sr = layers_.manager.GetSR()) buffer_.SetSR(*sr);
  buffer_.SetWorldPerPixel(tileSize_ * kPictureStep, tileSize_ * kPictureStep);
  return true;
}

/// The pixels of the buffer are those of a bitmap, whose lowest row lies first, as the encoder wants them.
bool RenderedMaker::Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) {
  const std::size_t tileBytes = BlockBytes(kPictureShape);
  for (int i = 0; i < strip.count; ++i, out += tileBytes) {
    if (!Draw(strip.row, strip.col + i, cancel, err)) return false;
    EncodeBlocks({buffer_.GetPixels(), kPixelsBytes}, kPixelBgr, kPictureShape, {out, tileBytes});
  }
  return true;
}

/// The composite that comes first in the list lies on top, so that it is drawn last.
bool RenderedMaker::Draw(int row, int col, int* cancel, XString& err) {
  const double west = col * tileSize_ - 180.0, south = row * tileSize_ - 90.0;
  buffer_.SetWorldToCenter(west + tileSize_ / 2, south + tileSize_ / 2);
  buffer_.Clear(kSetBackColour, nullptr);
  const int numComposites = layers_.manager.GetNumberOfZRMComposite();
  ZRMComposite* const first = numComposites > 0 ? layers_.manager.GetZRMCompositeAt(numComposites - 1) : nullptr;
  for (int i = numComposites - 1; i >= 0; --i) {
    const int drawn = layers_.manager.GetZRMCompositeAt(i)->Draw(&buffer_, west, south, west + tileSize_,
                                                                 south + tileSize_, kResampleMean, first, cancel);
    if (XfnIsStopRequested(cancel)) return false;
    if (drawn != kDrawFailed || !layers_.isExact) continue;
    if (!XfnGetLastReadError(err)) err = "A composite can't be drawn";
    return false;
  }
  return true;
}

}  // namespace

std::unique_ptr<TileMaker> NewRenderedMaker(const RenderedLayers& layers, double tileSize, XString& err) {
  auto maker = std::make_unique<RenderedMaker>(layers, tileSize);
  if (!maker->Prepare(err)) return nullptr;
  return maker;
}

}  // namespace zrk
