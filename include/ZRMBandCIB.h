#pragma once

#include "ZRMBandFile.h"

class XThread;

/// A CIB frame: 1536 x 1536 grey pixels, decoded once when the frame is opened. Reads copy from memory, at full
/// resolution whatever the level.
///
/// Under the exact policy transparent pixels and pixels of absent subframes have the null value, which no other pixel
/// has. The georeference has the precision of the file. A read fails if it touches a subframe that the file does not
/// hold whole. Level n gives every 2^n-th pixel of every 2^n-th row.
class ZRKIO_API ZRMBandCIB : public ZRMBandFile<ZRMBand> {
  X_DECLARE_RUNTIME_CLASS
  /// A band without a frame, of which no read succeeds.
  ZRMBandCIB();
  ~ZRMBandCIB() override;

  /// Opens a frame and decodes it; 1, or 0 with the reason in `err`. `thread` is not used, so that an opening can't be
  /// stopped.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// As `ReadFile`, without a reason. Frames in colour are refused. The corner and the pixel sizes are kept in single
  /// precision.
  int Open(XString path);

 private:
  struct Impl;
  Impl& GetImpl() const;
  int OpenExactly(const XString& path, XString& err);
};
