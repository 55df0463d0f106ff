#pragma once

#include "XDataType.h"
#include "XExport.h"
#include "XString.h"

#include <vector>

/// Reader and writer of a world file: six lines of text beside an image that place it in the world. Line 1 is the pixel
/// size in x, and line 4 the pixel size in y. Lines 5 and 6 are the origin. Lines 2 and 3 (rotation) are ignored. Each
/// number is `kNotSet` until read; a line that is missing leaves its number unset. An object serves one thread while it
/// reads, and any number afterwards. Nothing here throws but `std::bad_alloc`.
class ZRKIO_API XWorldFile {
 public:
  XWorldFile();
  /// As one that has read a file with these numbers, of which there are `count` in the order of the lines.
  XWorldFile(const double* numbers, int count);
  virtual ~XWorldFile();
  XWorldFile(const XWorldFile&) = default;
  XWorldFile& operator=(const XWorldFile&) = default;

  /// Whether the file could be opened. Only its first bytes are looked at, as many as six lines can need. A line that
  /// begins with no number counts as 0. A file that can't be opened leaves the object as it was.
  bool Read(const XString& path);

  /// Writes the file of an image whose first pixel lies at (x, y), in place of one that is there; 1 or 0, and then what
  /// was there stays. Line 4 is the negative of the pixel size in y, as the rows of an image go down; there is no
  /// rotation. Numbers have ten digits behind the point, whatever the locale.
  static int Write(const XString& path, double xPixelSize, double yPixelSize, double x, double y);

  /// As above with all six numbers, for any transform that `ZRMBand::GetGeoTransform` gives. The origin of the file is
  /// the centre of the first pixel. Numbers have more digits where ten would not bring the same number back.
  static int Write(const XString& path, const double transform[6]);

  /// The names by which a reader of a TIFF file looks for its world file, in that order; the first that is there
  /// counts.
  static std::vector<XString> ListNamesForTiff(const XString& path);

  /// The numbers of lines 5 and 6, in world units; `kNotSet` for a line that is missing.
  double GetOriginX() const { return originX_; }
  double GetOriginY() const { return originY_; }

  // The edges of an image of that many pixels, in world units.

  /// The origin, or a width left of it for a negative pixel size. Returns 0.0 where the x numbers are not set.
  double Left(int width) const;
  /// The origin, or a height below it for a negative pixel size. Returns 0.0 where the y numbers are not set.
  double Bottom(int height) const;
  /// The opposite of `Left`; the width less 1 where the x numbers are not set.
  double Right(int width) const;
  /// The opposite of `Bottom`; the height less 1 where the x numbers are not set. This function checks the x numbers,
  /// while `Bottom` checks the y numbers.
  double Top(int height) const;

  /// Absolute pixel sizes in world units; `kNotSet` until they are read.
  double XPixelSize() const;
  double YPixelSize() const;

 private:
  double originX_ = kNotSet;
  double originY_ = kNotSet;
  double xSize_ = kNotSet;
  double ySize_ = kNotSet;
};
