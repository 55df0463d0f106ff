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

/// The whole of a band.
Window WholeOf(const ZRMBand& band);

/// Reads a window at a level from top to bottom, in strips of a few megabytes, so that memory stays small and a stop is
/// heard between them. Strips begin on multiples of 2^level rows, so that together they are what one read would give.
/// A band that decodes its whole file for each read is read at once.
class StripReader {
 public:
  StripReader(ZRMBand& band, int level, const Window& window);

  bool HasMore() const { return next_ < window_.Height(); }
  /// The next strip, which belongs to the band and lives until its next read. Null where the thread was asked to stop,
  /// and otherwise with the reason in `err`.
  const tagXArr2* ReadNext(XThread& thread, std::string& err);

  /// The size of all strips together, known once the first is read: some bands answer every level at full resolution.
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  /// The share of the window that is read, 0 to 1.
  double GetShareDone() const { return static_cast<double>(next_) / window_.Height(); }

 private:
  int CountNextRows() const;
  bool TakeShape(const tagXArr2& strip, int numRows);

  ZRMBand& band_;
  int level_;
  Window window_;
  int stripRows_;
  int next_ = 0;  // in rows of full resolution from the top of the window
  int width_ = 0;
  int height_ = 0;
};
