#pragma once

#include "XThread.h"
#include "ZRMBand.h"

#include <string>

/// An inclusive window of a band in full-resolution pixels.
struct Window {
  int x0 = 0;
  int x1 = 0;
  int y0 = 0;
  int y1 = 0;
  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }
};

/// Reads a window at a level from top to bottom, in strips of a few megabytes, so that memory stays small and a stop is
/// heard between them. Strips begin on multiples of 2^level rows, so that they put together what one read would give.
class StripReader {
 public:
  StripReader(ZRMBand& band, int level, const Window& window);

  struct Strip {
    tagXArr2* samples = nullptr;  ///< of the band, until its next read
    int firstRow = 0;             ///< in full-resolution rows from the top of the window
    int numRows = 0;              ///< in full-resolution rows
  };

  bool HasMore() const { return next_ < window_.Height(); }
  /// False with the reason in `err`, "stopped" where the thread was asked to stop.
  bool ReadNext(Strip& strip, XThread* thread, std::string& err);
  /// Share of the window that is read, 0 to 1.
  double GetShareDone() const { return static_cast<double>(next_) / window_.Height(); }

 private:
  ZRMBand& band_;
  int level_;
  Window window_;
  int stripRows_;
  int next_ = 0;
};
