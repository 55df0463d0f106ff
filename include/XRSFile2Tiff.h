#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>
#include <memory>
#include <span>

class XRSFile;
class XThread;
class ZRMBand;
struct tagXArr2;

namespace zrk {
class TiffOutput;
}

/// Writes a window of a dataset to an uncompressed TIFF file; one that has a coordinate system gets GeoTIFF tags and a
/// world file.
///
/// All bands are written, at full resolution, in the data type that they share. The window is inclusive, in pixels of
/// the source. Three bands of bytes make a colour image, pixel by pixel; one thematic band makes an image with a colour
/// table; everything else is written plane by plane. A file of more than 4 GiB is a BigTIFF.
///
/// A file of the name is replaced; the dataset's own is refused, and a file that a band reads by other ways, as through
/// a mosaic, is not known as such. Its head is written last, so that a file that was not finished is none that a reader
/// takes for a TIFF; where the export fails or is stopped it is removed. An object serves one save, on one thread.
class ZRKIO_API XRSFile2Tiff {
 public:
  XRSFile2Tiff();
  virtual ~XRSFile2Tiff();
  XRSFile2Tiff(const XRSFile2Tiff&) = delete;
  XRSFile2Tiff& operator=(const XRSFile2Tiff&) = delete;

  /// The dataset, which stays the caller's; null is ignored. What is recorded of it is its state now.
  void SetXRSFile(XRSFile* file);

  /// 1, or 0 with the reason in `err`, which stays as it was for an empty path, no dataset, a file that can't be
  /// opened, and a stop by `thread`, which may be null. The coordinate system and the world file never fail a save.
  int Save(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);

  // The ways that `Save` goes.

  int SaveZRMBandGeneral(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);
  /// The outputs of an image sharpening: before a block of any band the same block of the first is read.
  int SaveZRMBandImageSharpen(XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);

 protected:
  // The steps of a save, in their order.

  /// Whether there is room for the samples, their bytes being looked up by the first band's type of band.
  int IsDiskSpaceEnough2(XString& err);
  /// Whether all bands agree in size and data type and, where the first is in world coordinates, in their place.
  int CheckBandInfo(XString& err);
  int OpenOutputFile(XString path, XString& err);
  int SaveTIFFTag(XString& err);
  int SaveGeoTIFFTag(XString& err);
  int DoExportToBIP(XThread* thread, XString& err);
  int DoExportToBSQ(XThread* thread, XString& err);
  int DoExportToBSQ_ImageSharpen(XThread* thread, XString& err);
  int DoExportToPalette(XThread* thread, XString& err);
  /// Closes the file. One whose pixels were not all written is none that a reader takes for a TIFF.
  void DeleteFileOutput();
  int WriteWorldFile(XString path, XString& err);

 private:
  /// Rows of the window.
  struct Block {
    int row = 0;
    int numRows = 0;
    std::int64_t rowsDone = 0;  ///< of all bands before
    bool isFirstRead = false;   ///< whether the dataset's first band is read before
  };

  int SaveWindow(const XString& path, int x0, int x1, int y0, int y1, bool isSharpened, XString& err, XThread* thread);
  int SaveTagsAndPixels(bool isSharpened, XString& err, XThread* thread);
  bool IsPalette() const;
  bool SetColourMap();
  bool WritePlanes(int first, std::span<ZRMBand* const> bands, bool isFirstRead, XThread* thread, XString& err);
  bool LayOut(XString& err);
  bool Finish(XString& err);

  int GetSampleBytes() const;
  int GetBlockHeight() const;
  std::int64_t CountBlockBytes(const ZRMBand& band) const;
  int CountRows(const ZRMBand& band, int row) const;
  bool ReadFirst(const Block& block) const;
  bool Fits(const tagXArr2* data, int numRows) const;
  bool ReadRows(std::span<ZRMBand* const> bands, const Block& block, XThread* thread, XString& err,
                std::span<tagXArr2*> out) const;
  bool GoesOn(std::int64_t rowsDone, XThread* thread) const;

  std::unique_ptr<zrk::TiffOutput> tiff_;
  XRSFile* file_ = nullptr;
  XString path_;
  int numBands_ = 0;
  int width_ = 0;
  int height_ = 0;
  int x0_ = 0;
  int y0_ = 0;
  double worldLeft_ = 0.0;
  double worldTop_ = 0.0;
  double xPixelSize_ = 1.0;
  double yPixelSize_ = 1.0;
  int dataType_ = 0;
};
