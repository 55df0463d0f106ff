#pragma once

#include "XDataType.h"
#include "XExport.h"
#include "XString.h"

#include <vector>

/// Reader and writer of a world file: six lines of text beside an image that place it in the world. Line 1 is the pixel
/// size in x, line 4 that in y, lines 5 and 6 are the origin; lines 2 and 3 (rotation) are passed over.
/// Each number is `kNotSet` until read; a line that is missing leaves its number unset.
class ZRKIO_API XWorldFile {
 public:
  virtual ~XWorldFile();

  /// Whether the file could be opened. Only its first bytes are looked at, as many as six lines can need.
  bool Read(const XString& path);

  /// Writes the file of an image whose first pixel lies at (x, y), in place of one that is there; 1 or 0, and then
  /// what was there stays. Line 4 is the negative of the pixel size in y, as the rows of an image go down; there is no
  /// rotation.
  static int Write(const XString& path, double xPixelSize, double yPixelSize, double x, double y);

  /// The names by which a reader of a TIFF file looks for its world file, in that order; the first that is there
  /// counts.
  static std::vector<XString> ListNamesForTiff(const XString& path);

  double GetOriginX() const { return originX_; }
  double GetOriginY() const { return originY_; }

  // The edges of an image of that many pixels, in world units.

  double Left(int width) const;
  double Bottom(int height) const;
  double Right(int width) const;
  /// Whether it is set is asked of the x numbers here, unlike in its neighbours.
  double Top(int height) const;

  /// Absolute pixel sizes in world units.
  double XPixelSize() const;
  double YPixelSize() const;

 private:
  double originX_ = kNotSet;
  double originY_ = kNotSet;
  double xSize_ = kNotSet;
  double ySize_ = kNotSet;
};
