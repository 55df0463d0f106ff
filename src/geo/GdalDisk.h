#pragma once

#include "XString.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zrk {

class DiskFile;

/// The name under which GDAL reads `path` through `CurrentDisk`. Files beside it have names of the same form. GDAL gets
/// regular files only, and none for writing. Folders are not listed, so that a driver finds only files that it knows by
/// name.
XString PathForGdal(const XString& path);

/// While it lives, GDAL opens on the calling thread only files in the folder of `path` and beneath it. For formats
/// whose files name other files: such a name may not lead elsewhere. One with ".." in it is refused even where it comes
/// back. A file that is opened again meanwhile is the one that is open, since some drivers open a file for each block.
class KeptToFolder {
 public:
  explicit KeptToFolder(const XString& path);
  ~KeptToFolder();
  KeptToFolder(const KeptToFolder&) = delete;
  KeptToFolder& operator=(const KeptToFolder&) = delete;

  /// Whether a file of that name may be opened.
  bool Allows(std::string_view name) const;
  /// Opens it on our disk; an error number, or 0.
  int Open(const std::string& name, std::shared_ptr<DiskFile>& file);

 private:
  std::string folder_;
  KeptToFolder* previous_;
  std::vector<std::pair<std::string, std::shared_ptr<DiskFile>>> open_;
};

/// While it lives, a small read by GDAL on the calling thread brings some kilobytes, and the next reads are answered
/// from them. It serves the time in which a driver opens a file, because some drivers ask for heads byte by byte. A
/// change of the file may be seen late meanwhile, and so no block is read under it.
class SmallReadsAhead {
 public:
  SmallReadsAhead();
  ~SmallReadsAhead();
  SmallReadsAhead(const SmallReadsAhead&) = delete;
  SmallReadsAhead& operator=(const SmallReadsAhead&) = delete;

 private:
  bool before_;
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
