#pragma once

#include "ZRMBandChannels.h"

class XThread;

/// One channel of a CADRG frame: 1536 x 1536 pixels in the colours of the frame's own table.
///
/// The first band owns the pixels of all channels, which are decoded once when the frame is read: three for colours,
/// one for grey, four for a table of four planes. Reads copy from memory, at full resolution whatever the level.
///
/// Under the exact policy transparent pixels keep the colour of their code, and a further channel of opacity is 0 there
/// and in absent subframes. A read fails that touches a subframe which the file does not hold whole, or one with a code
/// that the colour table lacks. Level n gives every 2^n-th pixel of every 2^n-th row.
class ZRKIO_API ZRMBandCADRG : public ZRMBandChannels<ZRMBand> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the owner of a frame; with a parent this is a further channel, which shares its size and place and must
  /// not outlive it. Not owned.
  explicit ZRMBandCADRG(ZRMBandCADRG* parent);
  ~ZRMBandCADRG() override;

  /// Whether headers, coverage and colours of a frame are there; 1 or 0.
  static int CheckToRead(const XString& path);
  /// Reads a frame; 1 or 0. `err` has the reason under the exact policy alone, and `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The number of channels of the frame: 3 for colours, 1 for grey, 4 for a table of four planes, and one more with
  /// opacity; 0 before `ReadFile`.
  int GetNumChannels() const;
  /// Whether the last channel is opacity.
  bool HasOpacity() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
};
