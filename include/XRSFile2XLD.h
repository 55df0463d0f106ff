#pragma once

#include "XExport.h"
#include "XString.h"

class XRSFile;
class XThread;

/// Builds the level file of a dataset. It holds the statistics and descriptive fields of the bands. The full form also
/// holds a pyramid for each band, whose top is the band at half its size.
///
/// The top averages samples: means of four, rounded for integers, or means of the area where a size is odd. Under the
/// compatible policy it averages the class numbers of a thematic band too, so that the first reduced level may hold
/// classes that the image does not have. Under the exact policy it takes the most frequent of four classes, and leaves
/// out the last row or column of an odd size. The levels beneath the top take the most frequent of four samples of a
/// thematic band, and means of all others.
///
/// A dataset whose first band has no levels gets the short form, without pyramids, whatever was asked for. Statistics
/// are those of the half-size image in the full form, and of the coarsest level in the short one; null values count
/// like all others.
///
/// Nothing is thrown. One thread uses a builder at a time.
class ZRKIO_API XRSFile2XLD {
 public:
  XRSFile2XLD();
  virtual ~XRSFile2XLD();
  XRSFile2XLD(const XRSFile2XLD&) = delete;
  XRSFile2XLD& operator=(const XRSFile2XLD&) = delete;

  /// The dataset, which stays the caller's; null is ignored. It has to outlive the build, and no other thread may
  /// change it meanwhile.
  void SetXRSFile(XRSFile* file);

  /// Builds the level file `path`: with `mode` 2 or 3 the full form, otherwise the short one. The file is written as
  /// `path` + "_tmp" and gets its name when it is whole and on the medium. Until then an old file of that name stays as
  /// it is. If the path is a symbolic link, the file that it leads to is replaced, and the unfinished file lies beside
  /// that one. Returns 1, or 0 with the reason in `err`. `err` stays as it was for an empty path, no dataset, a band
  /// that can't be halved like the first, and a stop by `thread`, which may be null. A thread that is given stores how
  /// the build ended, as `XThread::GetResultCode` tells.
  int Save(XString path, XString& err, int mode, XThread* thread);

 private:
  XRSFile* file_ = nullptr;
};
