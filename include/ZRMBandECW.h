#pragma once

#include "XString.h"
#include "ZRMBandFile.h"

class XSpatialReference;
class XThread;

/// One channel of an ECW file. The decoder is the library of the format's makers, or GDAL's driver if that library is
/// not found when the file is opened (`XCodecFolder.h`). Each band opens the file for itself.
///
/// Samples are bytes under the compatible policy, and through the makers' library in any case. The exact policy opens a
/// file of wider samples through GDAL's driver, which gives all of their bits, or refuses it.
///
/// Any number of threads may read a band; each has the file open for itself meanwhile. The decoder scales windows. A
/// compatible read at level n scales the whole window to its width and height, each shifted right by n. An exact read
/// leaves out columns and rows at the end that make no whole pixel, so that each pixel of the result stands for 2^n by
/// 2^n pixels. A window counts as inside where the file has it, whatever size is set. The word behind `cancel` is heard
/// between lines.
class ZRKIO_API ZRMBandECW : public ZRMBandFile<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandECW();
  ~ZRMBandECW() override;

  /// Opens a file and takes over its size, place and system. Returns 1 or 0. In the compatible policy `err` stays as it
  /// was; in the exact one it has the reason of a failure. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The channel of the file that this band shows, counted from 0; 0 at first. It may be set before or after the file
  /// is opened, but not while another thread reads.
  int GetBandID() const;
  void SetBandID(int bandId);
  /// The number of channels in the file; 0 without a file.
  int GetNumOfBand() const;
  /// What decodes the file: the path of a library, or the name of a driver of GDAL's. Empty without a file.
  XString GetDecoder() const;

  /// Sets the system that a datum and a projection mean, which are words of the format's makers in any case of letters.
  /// docs/formats/ecw.md lists them. Under the compatible policy an unknown projection sets the kind
  /// `kReferenceUnknown` and leaves the system as it was. An unknown datum is ignored, and so is any datum with a zone
  /// of UTM or "GEODETIC". Under the exact policy both words count. Null is ignored.
  void SetProjection(XString datum, XString projection, XSpatialReference* sr);

 private:
  struct Impl;
  Impl& GetImpl() const;
  void TakePlace();
  void TakeSystem();
};
