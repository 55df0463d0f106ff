#pragma once

#include "XExport.h"
#include "XString.h"

#include <memory>

class XRSFile;
class XThread;

/// Writes a window of a dataset to an uncompressed TIFF file. A dataset with a coordinate system gets GeoTIFF tags and
/// a world file.
///
/// All bands are written, at full resolution, in the data type that they share. The window is inclusive, in pixels of
/// the source. Three bands of bytes make a colour image, pixel by pixel; one thematic band makes an image with a colour
/// table; everything else is written plane by plane. A file of more than 4 GiB is a BigTIFF.
///
/// A dataset of the exact read policy keeps more: its null value, the colour roles of its bands, and scale and offset
/// of samples. It also keeps the texts that came with it, its coordinate system, and a transform of any kind. A save
/// fails if a TIFF file can't hold all of that. Classes keep their colours where their numbers have 8 or 16 bits without
/// sign. A TIFF file has no colours for other numbers, and they are saved without.
///
/// An old file of the name is replaced when the new file is whole and on the medium. It stays if the save fails or is
/// stopped. A symbolic link remains one. Until then the new file stands beside the old one, under the name with "_tmp"
/// behind it, and is removed if the save fails. An empty file of the name is filled in place, and is removed if the
/// save fails. The dataset's own file is refused. A file that a band reads in another way, as through a mosaic, is
/// replaced; the band reads on in the old file.
///
/// Nothing is thrown. A thread that is given stores how a save ended, as `XThread::GetResultCode` tells. An object
/// serves one save at a time, on one thread.
class ZRKIO_API XRSFile2Tiff {
 public:
  XRSFile2Tiff();
  virtual ~XRSFile2Tiff();
  XRSFile2Tiff(const XRSFile2Tiff&) = delete;
  XRSFile2Tiff& operator=(const XRSFile2Tiff&) = delete;

  /// The dataset, which stays the caller's; null is ignored. Its present state is recorded, so set it again after a
  /// change of its bands. It has to outlive the saves.
  void SetXRSFile(XRSFile* file);

  /// Returns 1, or 0 with the reason in `err`. `err` stays as it was for an empty path, no dataset, a file that can't
  /// be opened, and a stop by `thread`, which may be null. The coordinate system and the world file never fail a save.
  int Save(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);

  // The ways that `Save` goes.

  /// As `Save`, whatever class the bands have.
  int SaveZRMBandGeneral(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);
  /// The outputs of an image sharpening: before a block of any band the same block of the first is read.
  int SaveZRMBandImageSharpen(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);

 protected:
  // The steps of a save, in their order. Each is 0 without a reason where one before it is missing.

  /// Whether there is room for the samples, their bytes being looked up by the first band's type of band.
  int IsDiskSpaceEnough2(XString& err);
  /// Whether all bands agree in size and data type and, where the first is in world coordinates, in their place.
  int CheckBandInfo(XString& err);
  /// Begins the new file beside the old one; 0 without a reason where it can't be made. A file begun before is given
  /// up.
  int OpenOutputFile(XString path, XString& err);
  /// Sets the tags of the image: its shape, data type and colours.
  int SaveTIFFTag(XString& err);
  /// Sets the tags of the georeference. 0 leaves a file that can be written on without them.
  int SaveGeoTIFFTag(XString& err);
  /// Writes the samples of all bands pixel by pixel. A stop by `thread` gives 0 without a reason, here and in the three
  /// steps below.
  int DoExportToBIP(XThread* thread, XString& err);
  /// Writes the samples plane by plane, a band after the other.
  int DoExportToBSQ(XThread* thread, XString& err);
  /// As `DoExportToBSQ`, in the way of `SaveZRMBandImageSharpen`.
  int DoExportToBSQ_ImageSharpen(XThread* thread, XString& err);
  /// Writes the one thematic band with its colours; 0 for any other dataset.
  int DoExportToPalette(XThread* thread, XString& err);
  /// Closes the file, which gets its name where all of it was written, and otherwise goes away.
  void DeleteFileOutput();
  /// Writes the pixel sizes and the corner of the whole image. Returns 0 for a dataset without a system, and where the
  /// file can't be written.
  int WriteWorldFile(XString path, XString& err);

 private:
  struct State;
  std::unique_ptr<State> state_;
};
