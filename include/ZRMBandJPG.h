#pragma once

#include "ZRMBandChannels.h"

class XThread;

/// One channel of a JPEG file: one for grey, three (red, green, blue) for colour, CMYK included. Data type 1.
///
/// Opening reads the header only. The first read decodes the whole image into planes that stay in memory, and later
/// reads copy from them; a grey file is decoded again on every read. There is no pyramid: every level is answered at
/// full resolution.
class ZRKIO_API ZRMBandJPG : public ZRMBandChannels<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes a master; with a master this is a follower that shares its size and place. Not owned.
  explicit ZRMBandJPG(ZRMBandJPG* master);
  ~ZRMBandJPG() override;

  /// Reads the header. Returns 1, or 0 with the reason in `err`, which is "Can't open file" for a file that can't be
  /// opened.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// Decodes the file into the planes unless they are all there; a follower asks its master. With a thread, progress is
  /// reported, and any nonzero state ends the decode with 0 and frees what it made. A file that is cut short or
  /// damaged fails.
  int ExtractDataFromFile(XThread* thread);

  /// 1 or 3; 0 before `ReadFile`.
  int GetNumChannels() const;
  /// 256 for grey, 0 for colour.
  int GetPaletteSize() const;

  using ZRMBandChannels::GetHighestLevelForTarget;
  /// Always 0.
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;

 private:
  struct Impl;
  Impl& GetImpl() const;
};
