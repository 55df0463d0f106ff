#pragma once

#include "Window.h"
#include "XThread.h"
#include "ZRMBandXLD.h"

#include <string>

/// Reads a window at a level from top to bottom, in strips of a few megabytes, so that memory stays small and a stop is
/// heard between them. Strips begin on multiples of 2^level rows, so that together they are what one read would give,
/// and end where the source's decoding does, so that nothing is decoded twice. Levels above 0 come from the level data
/// where the band has some, also where its format answers every level at full resolution.
class StripReader {
 public:
  StripReader(ZRMBand& band, int level, const Window& window);

  /// Whether the pixels of the image itself are read.
  bool ReadsImage() const { return levelBand_ == nullptr; }
  bool HasMore() const { return next_ < window_.Height(); }
  /// The next strip, which belongs to the band and lives until its next read. Returns null where the thread was asked
  /// to stop, and otherwise with the reason in `err`.
  const tagXArr2* ReadNext(XThread& thread, std::string& err);

  /// The size of all strips together, known once the first is read: some bands answer every level at full resolution.
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  /// The share of the window that is read, 0 to 1.
  double GetShareDone() const { return static_cast<double>(next_) / window_.Height(); }

 private:
  int CountStripRows() const;
  int CountNextRows() const;
  bool ReadRows(int* cancel, tagXArr2*& strip);
  int ReadLevelData(int numRows, tagXArr2*& strip) const;
  bool TakeShape(const tagXArr2& strip, int numRows);

  ZRMBand& band_;
  ZRMBandXLD* levelBand_;  // null where the band itself is read
  int level_;
  Window window_;
  int next_ = 0;  // in rows of full resolution from the top of the window
  int width_ = 0;
  int height_ = 0;
};
