#pragma once

#include "XString.h"
#include "ZRMBandChannels.h"

class XThread;

/// One channel of a MrSID file. The decoder is the library of the format's makers or GDAL's driver, whichever is there
/// when the file is opened (`XCodecFolder.h`).
///
/// Samples have the type of the file. The upper-left place is the centre of the first pixel. Any number of threads may
/// read the bands of a file; each has it open for itself meanwhile. The file holds reduced images, and so no level file
/// is asked.
///
/// Level n is the image reduced by 2^n. A compatible read gives all its pixels that the window touches, which may be
/// one more both ways than the window's width and height, each shifted right by n. An exact read gives as many as
/// these, from the pixel on that the window's corner lies in. The word behind `cancel` is heard before the decoding
/// begins.
class ZRKIO_API ZRMBandMrSID : public ZRMBandChannels<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the master, which opens the file. With a master this is a follower, which has its size, place, system
  /// and data type. The master is not owned.
  explicit ZRMBandMrSID(ZRMBandMrSID* master);
  ~ZRMBandMrSID() override;

  /// Opens a file and takes over its size, place and data type. Returns 1 or 0. `err` is emptied first. In the
  /// compatible policy it stays empty, and in the exact one it has the reason of a failure. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The number of channels in the file, on a follower that of its master's; 0 without a file.
  int GetNumChannels() const;
  /// What decodes the file: the path of a library, or the name of a driver of GDAL's. Empty without a file.
  XString GetDecoder() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
  void TakePlace();
};
