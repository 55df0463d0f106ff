#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>

class XFile;
class XRSFile;
class XRSFileSaver;
class XThread;
class ZRMBand;

/// Writes a window of a dataset to a native raster file.
///
/// All bands are written, with all that is known of them. The window is inclusive, in full-resolution pixels. A file
/// of the name is replaced. The offset in its header is written last, so that a file that was not finished is known as
/// such; where a write fails, what there is of it stays.
class ZRKIO_API XRSFile2ZRM {
 public:
  XRSFile2ZRM();
  virtual ~XRSFile2ZRM();
  XRSFile2ZRM(const XRSFile2ZRM&) = delete;
  XRSFile2ZRM& operator=(const XRSFile2ZRM&) = delete;

  /// The dataset, which stays the caller's.
  void SetXRSFile(XRSFile* file) { file_ = file; }
  /// Written into the file as they are.
  void SetCryptoVaildationInfo(const XString& info) { cryptoVaildationInfo_ = info; }
  void SetWriterFlags(int first, int second) {
    firstFlag_ = first;
    secondFlag_ = second;
  }

  /// Writes `level` reduced levels beside the pixels, or as many as there can be. A `compressionMode` of 0 or 100 keeps
  /// the samples as they are; every other one compresses them, no sample off by more than `quality` (0.0: none off at
  /// all). 1, or 0 with the reason in `err`, which stays as it was for an empty path, no dataset, and a stop by
  /// `thread`.
  int Save(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode, double quality, XString& err,
           XThread* thread);

  // The ways that `Save` goes. Called directly, they throw std::bad_alloc where memory runs out.

  int SaveZRMBandGeneral(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode, XString& err,
                         XThread* thread);
  int SaveZRMBandGeneralComp(XString path, int level, int x0, int x1, int y0, int y1, double quality, XString& err,
                             XThread* thread);
  /// All outputs of an image sharpening, which are computed together; needs three bands or more, all of that class.
  int SaveZRMBandImageSharpen(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                              XString& err, XThread* thread);

  /// What compressing took, as "%.8lf sec"; empty before.
  const XString& GetCompressionTime() const { return compressionTime_; }

 private:
  int Begin(const XString& path, XFile& out, XRSFileSaver& saver, XString& err) const;
  int Finish(XRSFileSaver& saver, XFile& out, XString& err) const;

  XRSFile* file_ = nullptr;
  XString cryptoVaildationInfo_;
  int firstFlag_ = 0;
  int secondFlag_ = 1;
  XString compressionTime_;
};
