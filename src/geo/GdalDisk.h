#pragma once

#include "XString.h"

#include <cstdint>
#include <string>

namespace zrk {

/// The name under which GDAL reads `path` through `CurrentDisk`. Files beside it have names of the same form. GDAL gets
/// regular files only, and none for writing. Folders are not listed, so that a driver finds only files that it knows by
/// name.
XString PathForGdal(const XString& path);

/// While it lives, GDAL opens on the calling thread only files in the folder of `path` and beneath it. For formats
/// whose files name other files: such a name may not lead elsewhere. One with ".." in it is refused even where it comes
/// back.
class KeptToFolder {
 public:
  explicit KeptToFolder(const XString& path);
  ~KeptToFolder();
  KeptToFolder(const KeptToFolder&) = delete;
  KeptToFolder& operator=(const KeptToFolder&) = delete;

 private:
  std::string folder_;
  const std::string* previous_;
};

/// Watches the reads of GDAL's on the calling thread. Some drivers pass over bytes that they did not get.
class WatchedReads {
 public:
  WatchedReads();
  /// Whether a read has given fewer bytes than were asked for since this was made.
  bool WereCut() const;
  /// Whether one has given fewer bytes than the file has there. Some drivers read beyond the end of sound files.
  bool HaveFailed() const;

 private:
  std::int64_t cutBefore_;
  std::int64_t failedBefore_;
};

/// A sentence of GDAL with the names of `PathForGdal` turned back into paths.
XString WithPathsOfDisk(XString sentence);

}  // namespace zrk
