// A picture is drawn block by block. For each block every visible band gives a plane of bytes. The planes are then
// joined to pixels, at each place where a plane shows something. If the composite has a band of opacity, that band is
// read first. A block that is wholly clear is passed over. A block that is wholly opaque is drawn as without opacity.

#include "display/CompositeDraw.h"

#include "math/Interleave.h"
#include "XThread.h"
#include "ZRMBand.h"
#include "ZRMBandResize.h"

#include <algorithm>

namespace zrk {

namespace {

/// Planes of so many pixels stay in the processor's cache.
constexpr int kBlockPixels = 1 << 16;
constexpr int kTiledBlockWidth = 256;
constexpr int kStripBlockWidth = 2048;
constexpr int kMinBlockHeight = 32;

/// Bands whose rows lie together are read in long rows.
int BlockWidthFor(const ReadyComposite& ready) {
  for (const PaintedBand& band : ready.bands) {
    if (band.band && band.band->GetDecodeColumns() == 0) return kStripBlockWidth;
  }
  return kTiledBlockWidth;
}

}  // namespace

CompositeDraw::CompositeDraw(const ReadyComposite& ready, const SystemBridge& bridge, BackBufferState& buffer,
                             int method, int* cancel)
    : ready_(ready),
      bridge_(bridge),
      buffer_(buffer),
      method_(ready.isTable ? static_cast<int>(kResampleNearest) : method),
      cancel_(cancel) {
  buffer.scratch.patchKey = {};
  for (std::size_t i = 0; i < ready.bands.size(); ++i) {
    if (ready.looks[i]) colours_.push_back(ready.bands[i].band);
  }
}

/// A stop is no failure: the picture is simply not wanted any more.
int CompositeDraw::Draw(const Window& window) {
  const int width = std::min(BlockWidthFor(ready_), window.Width());
  const int height = std::max(kBlockPixels / width, kMinBlockHeight);
  int result = kDrawNothing;
  for (int y = window.y0; y <= window.y1; y += height) {
    for (int x = window.x0; x <= window.x1; x += width) {
      if (XfnIsStopRequested(cancel_)) return kDrawNothing;
      const Window block{x, std::min(x + width - 1, window.x1), y, std::min(y + height - 1, window.y1)};
      const PaintResult drawn = DrawBlock(block);
      if (drawn == PaintResult::kFailed) return XfnIsStopRequested(cancel_) ? kDrawNothing : kDrawFailed;
      if (drawn == PaintResult::kPainted) result = kDrawDone;
    }
  }
  return result;
}

PaintResult CompositeDraw::DrawBlock(const Window& block) {
  isMixed_ = false;
  PaintResult result = PaintResult::kPainted;
  if (ready_.opacityLook) result = PaintOpacity(block);
  if (result == PaintResult::kPainted) result = DrawColours(block);
  return result == PaintResult::kTooLarge ? DrawParts(block) : result;
}

/// Nothing is drawn where nothing is opaque.
PaintResult CompositeDraw::PaintOpacity(const Window& block) {
  BandPlane& plane = buffer_.scratch.opacity;
  BandPainter painter(buffer_.grid, bridge_, ready_.opacity, method_, buffer_.scratch, cancel_);
  painter.KeepQuarters(buffer_.scratch.quarters);
  const PaintResult painted = painter.Paint(block, plane);
  if (painted != PaintResult::kPainted) return painted;
  const auto [least, most] = std::minmax_element(plane.bytes.begin(), plane.bytes.end());
  isMixed_ = *least < 255;
  return *most > 0 ? painted : PaintResult::kNothing;
}

/// Bands of one file are read together. Any other leaves its plane before the next one is read: a band's samples are
/// gone with the next read of its file.
PaintResult CompositeDraw::DrawColours(const Window& block) {
  buffer_.scratch.joint.Begin(colours_);
  const PaintResult result = PaintColours(block);
  buffer_.scratch.joint.Forget();
  if (result == PaintResult::kPainted) Compose(block);
  return result;
}

PaintResult CompositeDraw::PaintColours(const Window& block) {
  PaintResult result = PaintResult::kNothing;
  isWhole_ = false;
  for (std::size_t i = 0; i < isPainted_.size(); ++i) {
    isPainted_[i] = false;
    if (!ready_.looks[i]) continue;
    BandPlane& plane = buffer_.scratch.planes[i];
    BandPainter painter(buffer_.grid, bridge_, ready_.bands[i], method_, buffer_.scratch, cancel_);
    if (isMixed_) painter.PassOver(buffer_.scratch.quarters);
    const PaintResult painted = painter.Paint(block, plane);
    if (painted == PaintResult::kTooLarge || painted == PaintResult::kFailed) return painted;
    if (painted == PaintResult::kNothing) continue;
    isPainted_[i] = true;
    isWhole_ |= plane.isWhole;
    result = painted;
  }
  return result;
}

/// The quarters of a block, or its halves where it has one column or row.
PaintResult CompositeDraw::DrawParts(const Window& block) {
  PaintResult result = PaintResult::kNothing;
  const int width = (block.Width() + 1) / 2, height = (block.Height() + 1) / 2;
  for (int y = block.y0; y <= block.y1; y += height) {
    for (int x = block.x0; x <= block.x1; x += width) {
      const PaintResult part = DrawBlock({x, std::min(x + width - 1, block.x1), y, std::min(y + height - 1, block.y1)});
      if (part == PaintResult::kFailed) return part;
      if (part == PaintResult::kPainted) result = part;
    }
  }
  return result;
}

void CompositeDraw::Compose(const Window& block) {
  const auto width = static_cast<std::size_t>(block.Width());
  nothing_.assign(width, 0);
  shown_.resize(width);
  for (int y = block.y0; y <= block.y1; ++y) {
    unsigned char* const target = buffer_.Row(y) + static_cast<std::size_t>(block.x0) * 3;
    ComposeRow(block.Width(), static_cast<std::size_t>(y - block.y0) * width, target);
  }
}

/// Where every pixel is shown, planes are joined by vector instructions. Otherwise pixels that nobody shows stay as
/// they are, and so each is looked at.
void CompositeDraw::ComposeRow(int width, std::size_t place, unsigned char* target) {
  const auto count = static_cast<std::size_t>(width);
  std::array<const unsigned char*, 3> bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int band = ready_.bandOfByte[i];
    const bool isThere = band >= 0 && isPainted_[static_cast<std::size_t>(band)];
    bytes[i] = isThere ? buffer_.scratch.planes[static_cast<std::size_t>(band)].bytes.data() + place : nothing_.data();
  }
  if (isMixed_) {
    MixRow(bytes, count, place, target);
    return;
  }
  if (isWhole_ && !ready_.isTable) {
    JoinPixels3(bytes[0], bytes[1], bytes[2], count, target);
    return;
  }
  const unsigned char* const shown = isWhole_ ? nullptr : FindShown(place, count);
  for (std::size_t i = 0; i < count; ++i, target += 3) {
    if (shown && !shown[i]) continue;
    const ReadyComposite::Pixel pixel = PixelAt(bytes, i);
    target[0] = pixel.blue;
    target[1] = pixel.green;
    target[2] = pixel.red;
  }
}

/// Each pixel has its share of what is drawn, and what was there has the rest.
void CompositeDraw::MixRow(const std::array<const unsigned char*, 3>& bytes, std::size_t count, std::size_t place,
                           unsigned char* target) {
  const unsigned char* const shown = isWhole_ ? nullptr : FindShown(place, count);
  const unsigned char* const opacity = buffer_.scratch.opacity.bytes.data() + place;
  const auto mix = [](unsigned over, unsigned under, unsigned share) {
    return static_cast<unsigned char>((over * share + under * (255 - share) + 127) / 255);
  };
  for (std::size_t i = 0; i < count; ++i, target += 3) {
    if (opacity[i] == 0 || (shown && !shown[i])) continue;
    const ReadyComposite::Pixel pixel = PixelAt(bytes, i);
    target[0] = mix(pixel.blue, target[0], opacity[i]);
    target[1] = mix(pixel.green, target[1], opacity[i]);
    target[2] = mix(pixel.red, target[2], opacity[i]);
  }
}

/// Which pixels of a row any band shows.
const unsigned char* CompositeDraw::FindShown(std::size_t place, std::size_t count) {
  std::fill(shown_.begin(), shown_.end(), static_cast<unsigned char>(0));
  for (std::size_t band = 0; band < isPainted_.size(); ++band) {
    if (!isPainted_[band]) continue;
    const unsigned char* const shown = buffer_.scratch.planes[band].shown.data() + place;
    for (std::size_t i = 0; i < count; ++i) shown_[i] = static_cast<unsigned char>(shown_[i] | shown[i]);
  }
  return shown_.data();
}

}  // namespace zrk
