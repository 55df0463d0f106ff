#pragma once

#include "XExport.h"
#include "XString.h"

#include <vector>

class XRSFile;
class XThread;

/// Writes a window of a dataset to a JPEG 2000 file (JP2).
///
/// All bands are written, at full resolution, as components of 8 or 16 bits. One or two bands make a grey image, three
/// and more one in colour; bands beyond these are opacity where their colour role says so, and otherwise have no
/// meaning. The first three are coded as one brightness and two colours where they agree in depth and sign. The image
/// has its place in a GeoJP2 box, where it has one.
///
/// A file of the name is replaced when the new one is whole and on the medium, and stays where the save fails or is
/// stopped; a symbolic link remains one. Until then the new file stands beside it, under the name with "_tmp" behind
/// it. An empty file of the name is filled where it lies. The dataset's own file is refused.
///
/// The image is never held whole: memory is for one row of tiles, and for the tiles that threads are at. Nothing is
/// thrown. A thread that is given stores how a save ended. An object serves one save at a time, on one thread.
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
  /// How many reduced resolutions can be read, 0 to 32, and no more than leave a pixel of a tile. -1, as at first, is
  /// the writer's choice: 5, or as many as bring the image down to 512 pixels.
  void SetLevels(int numLevels) { numLevels_ = numLevels; }
  /// The side of a tile in pixels. 0, as at first, is the writer's choice: 1,024, or what suits an image with very many
  /// pixels or bands.
  void SetTileSize(int tileSide) { tileSide_ = tileSide; }
  /// The bits of samples in place of 8 or 16, component by component, the last number standing for all further ones.
  /// With a positive number samples move, so that their highest bit becomes the highest of so many. With a negative one
  /// they keep their value, and what does not fit becomes the nearest that does. 0, and an empty list as at first,
  /// leave samples as they are. A save with more than 16 bits is refused.
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
  /// layers, up to 100; 0 stands for as many as there are rates, which is one without any. Where it is larger, the
  /// further layers come before the first one, each with half the bits of the next. With `useThreads` nonzero work is
  /// shared by as many threads as `XfnSetWorkerCount` grants. The bytes do not depend on it.
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
