#pragma once

#include "tagXTileLevel.h"
#include "XString.h"
#include "ZRMBandFile.h"

#include <vector>

class XThread;
struct tagXFormatNotes;

/// The one band of an elevation store (XPBEFile.h) as a raster on the global grid (XTileGrid.h): heights, data type 7,
/// north up, on WGS 84. The upper left corner is the place of the first post. Any number of threads may read; each has
/// a result and a last request of its own. Posts that no tile holds are 0.
///
/// Under the compatible policy
/// - the image has the extent of all levels at the spacing of the highest one. A tile of level 0 counts as 18 degrees
///   and any tile as 31 posts wide, whatever the header says. The eastern and southern rims are left out;
/// - a read takes the level whose spacing is closest to that of its samples, the first of several. A sample is the
///   nearest post to the north-west. A window from x0 to x1 has a step of (x1 - x0) pixels divided by its samples;
/// - a tile that can't be read is 0, and the read succeeds.
///
/// Under the exact policy
/// - tiles have the sizes that the header tells, in degrees and in posts, and posts of 16 bits are of data type 4;
/// - the image has the posts of the highest level, with those on its eastern and southern rims. A reduced level comes
///   from the store's coarsest level whose posts are close enough: sample (i, j) is the post nearest to pixel
///   (x0 + i 2^n, y0 + j 2^n). Of two tiles with that post the northern, or eastern, one counts;
/// - a tile within a level's range whose bytes can't be read fails the read with a sentence that names it.
class ZRKIO_API ZRMBandPBE : public ZRMBandFile<ZRMBand> {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandPBE();
  ~ZRMBandPBE() override;

  /// Opens a store in place of an earlier one and takes over its place. Returns 1 or 0; no read may be under way, and
  /// the thread is not used. If the file can't be opened, `err` is "Fail to open PBE file: " and the path. If it is no
  /// elevation store, `err` is "Invalid PBE File Information : NULL". For a store without tiles `err` is empty. Under
  /// the compatible policy a missing file is created, stays empty and counts as no store. Under the exact policy no
  /// file is created, and `err` always has a sentence.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The lowest and the highest number of a level; INT_MAX and INT_MIN for none.
  void GetLevelRange(int& lowest, int& highest) const;
  /// The levels as the header has them.
  const std::vector<tagXTileLevel>& GetStoreLevels() const;
  /// The spacing of posts in degrees: 18.0, halved for each level, over 30.
  static double CalcResolution(int level);
  /// 1.
  int GetNumChannels() const;
  /// The calling thread's last result for channel 0; null for any other, and before the first read.
  tagXArr2* GetResult(int channel) const;
  /// The calling thread's last request; all -1 before the first.
  void GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const;

  /// Adds what the header tells of the levels, and how many of their tiles are empty.
  void DescribeLevels(tagXFormatNotes& notes) const;

 private:
  struct Impl;
  Impl& GetImpl() const;
  int TakeOver(const XString& path, XString& err);
  bool PlaceCompatibly();
  void PlaceExactly();
};
