#pragma once

#include "XPixelStorage.h"
#include "XThreadSafeArr.h"
#include "ZRMBand.h"

class XThread;

/// A CIB frame: 1536 x 1536 grey pixels, decoded once when the frame is opened. Reads copy from memory, at full
/// resolution whatever the level.
class ZRKIO_API ZRMBandCIB : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandCIB();
  ~ZRMBandCIB() override;

  /// 1, or 0 with the reason in `err`. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// As `ReadFile`, without a reason. Frames in colour are refused. The corner and the pixel sizes are kept in single
  /// precision.
  int Open(XString path);

  using ZRMBand::GetHighestLevelForTarget;
  using ZRMBand::ReadSubset;
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  int CalcStatistics(int withHistogram) override;
  int CleanupMemory(int freeBuffers, int force) override;
  int CloneBand(ZRMBand* source) override;

 private:
  zrk::PixelStorage pixels_;
  bool isOpen_ = false;
  XThreadSafeArr2 results_;
};
