#pragma once

#include "XExport.h"
#include "XString.h"

#include <memory>

class XRSFile;
class XThread;

/// Writes a window of a dataset to a native raster file.
///
/// All bands are written, with all that is known of them. The window is inclusive, in full-resolution pixels.
///
/// An old file of the name is replaced when the new file is whole and on the medium. It stays if the save fails or is
/// stopped. A symbolic link remains one. Until then the new file stands beside the old one, under the name with "_tmp"
/// behind it. An unfinished file stays: beside an old file of the name, or else under the name itself. Its header tells
/// that it is unfinished. An empty file of the name is filled in place. The file that the dataset came from is never
/// replaced.
///
/// Nothing is thrown. A thread that is given stores how a save ended, as `XThread::GetResultCode` tells, and its range
/// of percentages is the same afterwards. One thread uses a writer at a time.
class ZRKIO_API XRSFile2ZRM {
 public:
  XRSFile2ZRM();
  virtual ~XRSFile2ZRM();
  XRSFile2ZRM(const XRSFile2ZRM&) = delete;
  XRSFile2ZRM& operator=(const XRSFile2ZRM&) = delete;

  /// The dataset, which stays the caller's and has to outlive the saves. Null takes it away, and saves then fail.
  void SetXRSFile(XRSFile* file);
  /// A text that is written into the file as it is, and that a loaded dataset has under the same name. Empty at first.
  void SetCryptoVaildationInfo(const XString& info);
  /// Two numbers that are recorded in the file and have no effect: 0 and 1 unless set.
  void SetWriterFlags(int first, int second);

  /// Writes `level` reduced levels beside the pixels, or as many as there can be. A `compressionMode` of 0 or 100 keeps
  /// the samples as they are. Every other mode compresses them, and no sample is off by more than `quality`; 0.0 is
  /// lossless. Returns 1, or 0 with the reason in `err`. `err` stays as it was for an empty path, no dataset, and a
  /// stop by `thread`, which may be null.
  int Save(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode, double quality, XString& err,
           XThread* thread);

  // The ways that `Save` goes. The first and the last take any mode, too, and compress without loss.

  /// As `Save`, whatever class the bands have. Samples are compressed without loss by any mode but 0 and 100.
  int SaveZRMBandGeneral(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode, XString& err,
                         XThread* thread);
  /// Compresses, with `quality` as in `Save`.
  int SaveZRMBandGeneralComp(XString path, int level, int x0, int x1, int y0, int y1, double quality, XString& err,
                             XThread* thread);
  /// All outputs of an image sharpening, which are computed together; needs three bands or more, all of that class.
  int SaveZRMBandImageSharpen(XString path, int level, int x0, int x1, int y0, int y1, int compressionMode,
                              XString& err, XThread* thread);

  /// The processor time that compressing took in the last save that compressed and succeeded, as "%.8lf sec"; empty
  /// before.
  const XString& GetCompressionTime() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};
