#pragma once

#include "base/Window.h"
#include "XPaletteReader.h"
#include "XString.h"

#include <cstdint>
#include <memory>

class XRSFile;
class ZRMBand;

namespace zrk {

/// What one save of a TIFF file is asked for, and what was recorded of its dataset when that was given.
struct TiffJob {
  XRSFile* dataset = nullptr;
  int numBands = 0;
  int dataType = 0;  ///< of the first band, and so of all
  double xPixelSize = 1.0;
  double yPixelSize = 1.0;
  XString path;
  Window window = {0, -1, 0, -1};  ///< without pixels while none is given
  double worldLeft = 0.0;          ///< the upper left corner of the window
  double worldTop = 0.0;
  std::shared_ptr<const tagXColourMap> colours;  ///< where the one band has numbers of its entries

  void SetDataset(XRSFile& file);
  /// `first` is the dataset's first band.
  void SetWindow(const Window& asked, const ZRMBand& first);

  /// Null where there is none.
  ZRMBand* FirstBand() const;
  /// Whether the samples of the one band are numbers of classes.
  bool HasClasses() const;
  /// Whether such numbers are written as bytes, with a table of colours.
  bool IsPalette() const;
  /// Whether the samples of a pixel lie together as red, green and blue.
  bool IsColour() const;
  int SampleBytes() const;
  /// The full transform of the window, as `ZRMBand::GetGeoTransform` tells that of a band.
  void GetTransform(double transform[6]) const;
  /// The rows that are read at once.
  int BlockHeight() const;
};

// The checks before a file is begun. Each is false with the reason in `err`, or without one where there is no band.

/// Whether there is room for the samples. Their bytes are looked up by the first band's type of band and not of data,
/// so that it is a rough figure.
bool HasRoom(const TiffJob& job, XString& err);
/// Whether all bands agree in size and data type and, where the first is in world coordinates, in their place.
bool AreBandsAlike(const TiffJob& job, XString& err);

}  // namespace zrk
