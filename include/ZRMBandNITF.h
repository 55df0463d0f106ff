#pragma once

#include "tagXNitfInfo.h"
#include "XString.h"
#include "ZRMBandFile.h"

class XThread;

/// One band of the first image of a NITF or NSIF file. Windows are read as they are asked for, through GDAL's driver of
/// that name. Images with palettes give the numbers of their entries. Samples of fewer than 8 bits come as a byte each.
///
/// A read at level n takes the pixels x0 + i * 2^n and y0 + j * 2^n. The upper-left place of the band is the corner of
/// the first pixel. Any number of threads may read the bands of one file; each reading thread has a handle of its own.
///
/// In the compatible policy a file that can't be opened is an image without pixels. Level files give no pixels, complex
/// samples above level 0 are 0, and damaged blocks of JPEG are taken as they come. In the exact policy a file that
/// can't be opened is refused. Level files give pixels above level 0 as for other formats, complex samples are read,
/// and damaged blocks fail. Samples without data have the null value that the file tells.
class ZRKIO_API ZRMBandNITF : public ZRMBandFile<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandNITF();
  /// Band `band` of the file that another band has open, counted from 0. Nothing is opened again. The other band need
  /// not live as long as this one.
  ZRMBandNITF(const ZRMBandNITF& opened, int band);
  ~ZRMBandNITF() override;

  /// Opens a file and takes over size, place, system, type and corners. `err` is emptied first, and has the reason for
  /// a file that can't be opened. Such a file gives 0 in the exact policy. In the compatible one it gives 1, as any
  /// other does, and the band has no pixels. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The band of the image that this one shows, counted from 0. A number that the image does not have makes reads fail.
  int GetBandID() const;
  void SetBandID(int band);
  /// The bands of the image; 0 without a file.
  int GetNumOfBand() const;

  /// The centres of the four corner pixels, upper left, upper right, lower right, lower left, each as longitude and
  /// latitude in degrees. All are 0 where the file tells none.
  void GetOriginBoundRect(double corners[8]) const;
  void SetOriginBoundRect(const double corners[8]);
  /// Whether the file has told corners, or they have been set.
  bool HasOriginBoundRect() const;

  /// What the headers of the file say; empty without a file.
  tagXNitfInfo GetInfo() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
  void TakeBand();
  void TakePlace();
  void TakeCorners();
};
