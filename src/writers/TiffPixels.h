#pragma once

#include "XString.h"

#include <cstdint>
#include <span>

class XThread;
class ZRMBand;
struct tagXArr2;

namespace zrk {

class TiffOutput;
struct TiffJob;

/// The pixels of a save: block by block out of the bands, and in few large pieces to their places in the file. For one
/// thread.
class TiffPixels {
 public:
  /// All of these have to outlive the object; the thread may be null. The tags of the file are set.
  TiffPixels(const TiffJob& job, TiffOutput& tiff, XThread* thread, XString& err)
      : job_(job), tiff_(tiff), thread_(thread), err_(err) {}

  // Each lays the file out, writes all pixels, and then what stands around them. False with the reason in the caller's
  // text, and without one where the thread was stopped.

  /// The samples of a pixel side by side.
  bool WriteJoined();
  /// Band by band.
  bool WritePlanes();
  /// The outputs of an image sharpening, band by band: before a block of any further band the same block of the first
  /// is read.
  bool WriteSharpenedPlanes();
  /// The class values of one band.
  bool WriteClasses();

  bool WasStopped() const { return wasStopped_; }

 private:
  /// Rows of the window.
  struct Block {
    int row = 0;
    int numRows = 0;
    std::int64_t rowsDone = 0;  ///< of all bands before
    bool isFirstRead = false;   ///< whether the dataset's first band is read before
  };

  bool LayOut();
  bool Finish();
  bool Fail(const char* sentence);
  bool GoesOn(std::int64_t rowsDone);
  int CountRows(const ZRMBand& band, int row) const;
  std::int64_t CountBlockBytes(const ZRMBand& band) const;
  bool Fits(const tagXArr2* data, int numRows) const;
  bool ReadFirst(const Block& block) const;
  bool ReadRows(std::span<ZRMBand* const> bands, const Block& block, std::span<tagXArr2*> out);
  bool WriteSomePlanes(int first, std::span<ZRMBand* const> bands, bool isFirstRead);

  const TiffJob& job_;
  TiffOutput& tiff_;
  XThread* thread_;
  XString& err_;
  bool wasStopped_ = false;
};

}  // namespace zrk
