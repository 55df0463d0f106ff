#pragma once

#include "tagXTileLevel.h"
#include "XExport.h"

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

namespace Vexorine::ZRL::IO {

/// The header of a tile store: what image and elevation stores have in common. It owns its levels, which keep the order
/// in which they were added. Any number of threads may ask it while none adds.
///
/// Levels that are added get their tiles one behind the other from the end of the header on. Nothing checks here that
/// their records fit into the header; `GetBindInfo` of the derived classes does.
template <class Level>
class ZRKIO_API XTileFileInfo {
 public:
  /// Version and tile size 0; header, file and next position 51,200 bytes.
  XTileFileInfo();
  /// `tileSize` is that of level 0 in degrees. The file has the size of its header as yet.
  XTileFileInfo(double version, double tileSize, int headerSize);
  /// A copy has levels of its own, with their offsets, but file size and next position of a file without tiles.
  XTileFileInfo(const XTileFileInfo& other);
  XTileFileInfo& operator=(const XTileFileInfo& other);
  ~XTileFileInfo();

  /// The version of the format, which the header stores.
  double GetVersion() const { return version_; }
  /// Of level 0, in degrees.
  double GetTileSize() const { return tileSize_; }
  /// In bytes: header and tiles of all levels. INT64_MAX where the levels' sizes add up to more.
  std::int64_t GetFileSize() const { return fileSize_; }
  int GetHeaderSize() const { return headerSize_; }
  /// Offset of the tiles of the next level to be added.
  std::int64_t GetNextPos() const { return nextPos_; }

  /// Levels stay this object's.
  int GetNumberOfLevel() const { return static_cast<int>(owned_.size()); }
  const std::list<Level*>& GetLevelList() const { return levels_; }
  /// The first level of that number; null without one.
  Level* GetLevelInfo(int level) const;
  /// By its place in the list; null outside it.
  Level* GetLevelInfoAt(int index) const;
  /// Bytes of a tile of the level; -1 without such a level.
  int GetTileStorageRequirement(int level) const;

  /// Appends a level whose tiles lie where its record says, as one that is read from a file. The tile size is worked
  /// out from that of level 0, and the next position grows by the bytes of the tiles all the same. False, with nothing
  /// changed, where there is no memory.
  bool AddRecord(tagXTileLevel level);

 protected:
  /// The same with tiles at the next position.
  bool Append(tagXTileLevel level);
  /// Gives the level the rows and columns of the whole earth.
  void CoverTheEarth(tagXTileLevel& level) const;
  /// Whether any record of that number holds the tile.
  bool HoldsTile(int level, int row, int col) const;

 private:
  double version_ = 0.0;
  double tileSize_ = 0.0;
  std::int64_t fileSize_;
  int headerSize_;
  std::int64_t nextPos_;
  std::vector<std::unique_ptr<Level>> owned_;
  std::list<Level*> levels_;  // the same, for callers
};

}  // namespace Vexorine::ZRL::IO
