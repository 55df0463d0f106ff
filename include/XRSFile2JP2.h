#pragma once

#include "XExport.h"
#include "XString.h"

#include <vector>

class XRSFile;
class XThread;

/// Writes a window of a dataset to a JPEG 2000 file (JP2).
///
/// All bands are written, at full resolution, as components of 8 or 16 bits. One or two bands make a grey image, and
/// three or more a colour image. Further bands are opacity if their colour role says so, and otherwise have no meaning.
/// The first three bands are coded as one brightness and two colours if they agree in depth and sign. A GeoJP2 box
/// holds the georeference, if the image has one.
///
/// An old file of the name is replaced when the new file is whole and on the medium. It stays if the save fails or is
/// stopped. A symbolic link remains one. Until then the new file stands beside the old one, under the name with "_tmp"
/// behind it. An empty file of the name is filled in place. The dataset's own file is refused.
///
/// A save needs memory for one row of tiles, and for the tiles that threads are coding. Nothing is thrown. A thread
/// that is given stores how a save ended. An object serves one save at a time, on one thread.
class ZRKIO_API XRSFile2JP2 {
 public:
  /// The dataset, which stays the caller's and has to outlive the saves; null is ignored.
  void SetXRSFile(XRSFile* file) {
    if (file) file_ = file;
  }
  /// Does nothing: a file is closed when its save ends.
  void Close() {}

  // How files are written from now on.

  /// In place of rates, the quality of the last layer: the ratio of the peak signal to the noise in each tile, in
  /// decibels. 0, as at first, stands for none. Layers before the last one lead there in equal steps.
  void SetPsnr(double decibels) { psnr_ = decibels; }
  /// The number of reduced resolutions, 0 to 32, and no more than leave a pixel of a tile. -1, the initial value, is
  /// the writer's choice: 5, or as many as bring the image down to 512 pixels.
  void SetLevels(int numLevels) { numLevels_ = numLevels; }
  /// The side of a tile in pixels. 0, as at first, is the writer's choice: 1,024, or what suits an image with very many
  /// pixels or bands.
  void SetTileSize(int tileSide) { tileSide_ = tileSide; }
  /// The bits of samples in place of 8 or 16, component by component, the last number standing for all further ones.
  /// With a positive number samples move, so that their highest bit becomes the highest of so many. With a negative
  /// number samples keep their value, and a value that does not fit becomes the nearest one that does. 0 and an empty
  /// list, the initial value, leave samples as they are. A save with more than 16 bits is refused.
  void SetForcedPrecisions(const std::vector<int>& precisions) { precisions_ = precisions; }
  /// Whether the place of the image is written; it is unless told otherwise. A coordinate system for which there are no
  /// geokeys is left out of the place, and fails a save in the exact policy.
  void SetGeoreference(bool isWritten) { hasGeoreference_ = isWritten; }
  /// Whether the place is also written as a GML text, for programs that do not read GeoJP2. The default is false. GML
  /// needs a place in a system with an EPSG code. Otherwise no text is written, and an exact save fails.
  void SetGml(bool isWritten) { hasGml_ = isWritten; }

  /// Writes the window x0 to x1, y0 to y1, inclusive, in pixels of the first band. Its pixels beyond the bands are 0;
  /// in the exact policy such a window is refused, and so are bands of different sizes. A missing band is 0.
  ///
  /// With `reversible` nonzero every step of the coding can be undone, so that a file of everything is lossless.
  /// `rates` lists the bits of a pixel, all bands together, up to each layer: numbers above 0 in ascending order, with
  /// commas between them. An empty text, and an empty last place, stand for everything. `numLayers` is the number of
  /// layers, up to 100; 0 stands for as many as there are rates, which is one without any. If it is larger, the further
  /// layers come before the first one, each with half the bits of the next. With `useThreads` nonzero as many threads
  /// as `XfnSetWorkerCount` grants share the work. The bytes of the file do not depend on their number.
  ///
  /// Returns 1, or 0 with the reason in `err`. It stays as it was for an empty path, without a dataset or a first band,
  /// and where `thread`, which may be null, was asked to stop.
  int Save(XString path, int x0, int x1, int y0, int y1, XString& err, int reversible, XString rates, int numLayers,
           int useThreads, XThread* thread);

 private:
  XRSFile* file_ = nullptr;
  double psnr_ = 0.0;
  int numLevels_ = -1;
  int tileSide_ = 0;
  bool hasGeoreference_ = true;
  bool hasGml_ = false;
  std::vector<int> precisions_;
};
