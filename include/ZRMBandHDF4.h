#pragma once

#include "ZRMBandFile.h"

class XThread;

/// The one raster of an HDF4 file. It is the only band of its file.
///
/// Under the exact policy the raster is an image of one sample a pixel, or a scientific data set of two dimensions. Its
/// samples are uncompressed, and of any type of one to four bytes or doubles. A file of several images is refused with
/// a sentence, and so is a file whose pixels are compressed. Rows are read from the open file, and fail where it lacks
/// them. Level n gives every 2^n-th pixel of every 2^n-th row.
///
/// Under the compatible policy it is a raster of unsigned bytes. The raster is held in memory from the open on, and the
/// file is closed again. Every read gives full resolution, whatever the level, and never asks level data. If a file
/// does not tell the size of its raster, or is too short for that size, the raster has 2592 x 2796 pixels. Pixels that
/// the file lacks are 0.
class ZRKIO_API ZRMBandHDF4 : public ZRMBandFile<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandHDF4();
  ~ZRMBandHDF4() override;

  /// Whether the file begins as HDF4 files do.
  int IsValidFormat(XString path);
  /// Finds the raster in the file, and sets the band's size and place; the pixels of a file before it are given up.
  /// The file stays open. On 0 it is closed, and the fields are as they were.
  int Open(XString path);
  /// Opens a file and reads its raster. `err` is emptied first and has the reason where the result is 0. `thread` is
  /// not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  using ZRMBandFile::GetHighestLevelForTarget;
  /// Counts with tiles of 256 x 256 pixels, whatever the band's tile sizes are.
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;

 private:
  struct Impl;
  Impl& GetImpl() const;
  int ReadFileExactly(const XString& path, XString& err);
};
