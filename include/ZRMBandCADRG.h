#pragma once

#include "ZRMBandChannels.h"

class XThread;

/// One channel of a CADRG frame: 1536 x 1536 pixels in the colours of the frame's own table.
///
/// The first band owns the pixels of all channels, which are decoded once when the frame is read: three for colours,
/// one for grey, four for a table of four planes. Reads copy from memory, at full resolution whatever the level.
class ZRKIO_API ZRMBandCADRG : public ZRMBandChannels<ZRMBand> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the owner of a frame; with a parent this is a further channel, which shares its size and place and must
  /// not outlive it. Not owned.
  explicit ZRMBandCADRG(ZRMBandCADRG* parent);
  ~ZRMBandCADRG() override;

  /// Whether headers, coverage and colours of a frame are there; 1 or 0.
  static int CheckToRead(const XString& path);
  /// Reads a frame; 1 or 0. Neither `err` nor `thread` is used: a frame that can't be read gives no sentence.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// Of the frame, known to its owner: 3 for colours, 1 for grey, 4 for a table of four planes; 0 before `ReadFile`.
  int GetNumChannels() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
};
