#pragma once

#include "display/BackBufferState.h"
#include "display/ReadyComposite.h"

namespace zrk {

/// One draw of a composite into a buffer. For one thread.
class CompositeDraw {
 public:
  /// The bridge leads from the world of the buffer to that of the composite. `method` is a value of `XResampleMethod`.
  CompositeDraw(const ReadyComposite& ready, const SystemBridge& bridge, BackBufferState& buffer, int method,
                int* cancel);

  /// Draws what lies under a window of the buffer; a value of `XDrawResult`.
  int Draw(const Window& window);

 private:
  PaintResult DrawBlock(const Window& block);
  PaintResult DrawParts(const Window& block);
  PaintResult DrawColours(const Window& block);
  PaintResult PaintColours(const Window& block);
  PaintResult PaintOpacity(const Window& block);
  void Compose(const Window& block);
  void ComposeRow(int count, std::size_t place, unsigned char* target);
  void MixRow(const std::array<const unsigned char*, 3>& bytes, std::size_t count, std::size_t place,
              unsigned char* target);
  ReadyComposite::Pixel PixelAt(const std::array<const unsigned char*, 3>& bytes, std::size_t i) const {
    return ready_.isTable ? ready_.table[bytes[0][i]] : ReadyComposite::Pixel{bytes[0][i], bytes[1][i], bytes[2][i]};
  }
  const unsigned char* FindShown(std::size_t place, std::size_t count);

  const ReadyComposite& ready_;
  const SystemBridge& bridge_;
  BackBufferState& buffer_;
  int method_;
  int* cancel_;
  std::vector<ZRMBand*> colours_;  // those that are shown
  std::array<bool, kCompositeBands> isPainted_ = {};
  std::vector<unsigned char> nothing_;  // a row of zeros
  std::vector<unsigned char> shown_;    // a row
  bool isWhole_ = false;
  bool isMixed_ = false;  // with what the buffer shows, pixel by pixel
};

}  // namespace zrk
