#pragma once

#include "tagXVector3f.h"
#include "XExport.h"
#include "XPBEFileInfo.h"
#include "XPBEReadBuffer.h"
#include "XString.h"

#include <memory>

namespace zrk {
class TileFile;
}

namespace Vexorine::ZRL::IO {

/// An elevation store: a pyramid of tiles of posts on the global grid (XTileGrid.h). Neighbouring tiles share the posts
/// on their common edge.
///
/// The version says what a tile holds. Below 1.1 it has posts of 16-bit integers, which are only read. Below 2.0 it has
/// posts of floats, 4 bytes each. From 2.0 on the posts are followed by a normal of three floats for each post, 16
/// bytes a post in all. Posts lie row by row, a tile width each. Stores of this library have the north edge in the
/// first row; `GetValue` counts rows from the south all the same.
///
/// A new file is built by constructing with version and tile size, adding the levels, `Create`, and `Update` for each
/// tile; tiles that are never written are zero. Operations answer false, null or 0 where they fail, and nothing is
/// thrown. A tile that no level holds, or whose bytes lie in the header, behind the end of the file or beyond the
/// limits (XLimits.h), is neither read nor written.
///
/// Any number of threads may read tiles of an object that nothing changes meanwhile. Copies share header and file, and
/// the last one that lets go of a file closes it.
class ZRKIO_API XPBEFile {
 public:
  /// A new store in memory, ready to take levels. `tileSize` is that of level 0 in degrees, 18.0 on the global grid. It
  /// is not usable where there is no memory for it.
  XPBEFile(double version, double tileSize);
  /// Opens a store: for writing too where `mode & 3`. The object is not usable where `mode & 2` and the file may not be
  /// written. Otherwise it is, even if the file is no store: ask `GetFileInfo`. A file that is not there is made and
  /// stays empty, unless `mode & 2`.
  XPBEFile(XString path, unsigned mode);
  XPBEFile(const XPBEFile&);
  XPBEFile& operator=(const XPBEFile&);
  ~XPBEFile();

  /// Adds a level of the whole earth, or of a range of tiles, to the header. A post takes 4 bytes, or 16 with normals.
  /// After `Create` it changes the header in memory only. A tile size below 1 makes a level without tiles. False
  /// without a header, without memory, and for tiles whose bytes no int can count.
  bool AddLevel(int level, int tileWidth, int tileHeight);
  bool AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight);

  /// Makes the file of the levels that were added, in place of one that is there, and writes the header. Always true.
  /// `IsUsable` tells afterwards whether the store could be made. It is false if there is no header, if the header has
  /// no room for all levels (1,065), and if the file can't be made or has no room on the disk. No new file is left
  /// then.
  bool Create(XString path);
  /// Lets go of the file; always true. The header stays.
  bool Close();

  /// Whether there is something to work with.
  bool IsUsable() const { return isUsable_; }
  /// The header, which stays this object's; null without one.
  XPBEFileInfo* GetFileInfo() const { return info_.get(); }
  /// As it was given to the constructor or `Create`.
  const XString& GetFileName() const { return name_; }

  /// All floats of a tile in a new array, which the caller releases by `delete[]`: the posts, then the normals where
  /// there are any. 16-bit posts become floats. `size` becomes the bytes of the array. Returns null where there is no
  /// such tile; posts that can't be read are zero.
  float* GetElevationData(int level, int row, int col, int& size) const;
  /// The bytes of a tile as they are in the file, whatever its version, with its size. Bytes that can't be read are
  /// zero. On false the buffer stays as it was, with its array.
  bool GetElevationData(int level, int row, int col, XPBEReadBuffer* buffer) const;
  /// The normals of a tile, in a new array that the caller releases by `delete[]`. `size` becomes their bytes. Returns
  /// null for a store without normals, and where there is no such tile.
  tagXVector3f* GetNormData(int level, int row, int col, int& size) const;

  /// The post of a level at a place in degrees. Returns 0.0 where no tile of the level holds the place; 16-bit posts
  /// below 0 are 0.0 as well. The post is not the nearest one. Its column and row are the distances of the place from
  /// the tile's western and southern edges, in 31sts of a tile, cut to whole numbers. Rows are taken to be 31 posts
  /// long.
  float GetValue(int level, double lon, double lat) const;
  /// The post of the highest level, 0.0 where that has no tile there. About 3.4e+38 for a store without levels.
  float GetValue(double lon, double lat) const;

  /// Writes all bytes of a tile. With normals `data` has to hold four floats a post: the posts and then their normals.
  /// `UpdatePosts` takes the posts alone. False where there is no such tile, and where the write fails.
  bool Update(int level, int row, int col, float* data);
  /// Writes the posts of a tile, one float each, and leaves its normals alone.
  bool UpdatePosts(int level, int row, int col, const float* data);
  /// Writes the normals of a tile, one for each post, and leaves its posts alone. False for a store without normals.
  bool UpdateNorm(int level, int row, int col, tagXVector3f* data);

  /// Writes a level as a raster of floats, 30 by 30 for each tile, the northernmost row of tiles first, and a text that
  /// describes it. All 30 rows of a tile are the first 30 posts of its second row of 31. False where there is no such
  /// level, where its tiles do not all lie in the file or are too small to have those posts, and where a file can't be
  /// written.
  bool SerilizeToBIP(int level, XString dataPath, XString headerPath) const;

  /// Adds the levels of a header to `info`, at the offsets that they have. `bytes` are the 51,200 of a header. False
  /// for null and where they are no header of an elevation store.
  static bool ParseHeaderInfo(const unsigned char* bytes, XPBEFileInfo* info);

 private:
  std::shared_ptr<XPBEFileInfo> ReadFileInfo();
  bool HasShortPosts() const;

  std::shared_ptr<XPBEFileInfo> info_;
  std::shared_ptr<zrk::TileFile> file_;
  XString name_;
  bool isUsable_ = false;
  bool hasNormals_ = false;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPBEFile;
