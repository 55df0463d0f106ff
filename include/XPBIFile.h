#pragma once

#include "XPBIFileInfo.h"
#include "XPBIReadBuffer.h"
#include "XPixelFormat.h"
#include "XRSFile3D.h"

#include <memory>

namespace zrk {
class TileFile;
}

namespace Vexorine::ZRL::IO {

/// An image store: a pyramid of tiles on the global grid (XTileGrid.h), in blocks that a graphics card takes as they
/// are. The file has a header of 51,200 bytes and no index, since all tiles of a level have the same size.
///
/// A new file is built by constructing with version and tile size, adding the levels, `Create`, and `Update` for each
/// tile; tiles that are never written are zero. Operations answer false, -1 or null where they fail, and nothing is
/// thrown. A tile that no level holds, or whose bytes lie in the header, behind the end of the file or beyond the
/// limits (XLimits.h), is neither read nor written.
///
/// Any number of threads may read tiles of an object that nothing changes meanwhile. Copies share header and file, and
/// the last one that lets go of a file closes it.
class ZRKIO_API XPBIFile : public XRSFile3D {
 public:
  /// No header and no file.
  XPBIFile();
  /// A new store in memory, ready to take levels. `tileSize` is that of level 0 in degrees, 18.0 on the global grid. It
  /// is not usable where there is no memory for it.
  XPBIFile(double version, double tileSize);
  XPBIFile(const XPBIFile&);
  XPBIFile& operator=(const XPBIFile&);
  ~XPBIFile() override;

  /// Opens a store: for writing too where `mode & 3`. False where `mode & 2` and the file may not be written, where the
  /// mode is 0 and there is no file, and where there is no memory. Otherwise true, even if the file is no store: ask
  /// `IsUsable`. The version of the header is cut to a whole number. The first level gives the virtual tile grid: its
  /// steps are degrees a pixel, its size is in whole degrees.
  bool OpenFile(XString path, unsigned mode) override;
  /// Lets go of header and file; always true.
  bool Close() override;
  bool GetTileRange(int levelIndex, int& llCol, int& urCol, int& llRow, int& urRow) const override;
  /// All tiles of the level's range, INT_MAX for more; -1 where there is no such level. The references are left alone.
  int GetNumTiles(int levelIndex, int& numColumns, int& numRows) const override;

  /// Makes the file of the levels that were added, in place of one that is there, and writes the header. False if there
  /// is no header, if the header has no room for all levels (983), and if the file can't be made or has no room on the
  /// disk. After a false no new file is left.
  virtual bool Create(XString path);
  /// Adds a level of a range of tiles to the header. After `Create` it changes the header in memory only. False where
  /// the store has no header, and where memory runs out.
  virtual bool AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                        _XDXTTYPE type);
  /// The same of the whole earth.
  virtual bool AddLevel(int level, int tileWidth, int tileHeight, _XDXTTYPE type);

  /// Packs the pixels of a tile and writes it. Rows come from the bottom for a level of `kDxt1`, which takes the
  /// formats 1 to 7, and from the top for others, which take `kPixelRgba`. Blocks pass through as they are: format 14
  /// to a level of `kDxt1`, 15 and 16 to others. `data` holds a whole tile. False, with nothing written, for null, for
  /// a tile that is not in the store, and for a format that the level can't take. False also if the blocks have more
  /// bytes than a tile, and if there is no memory for the blocks. False also where the write fails.
  virtual bool Update(int level, int row, int col, unsigned char* data, _XPIXELFORMAT format);
  /// Writes the bytes of a tile as they are; `data` holds as many as a tile has.
  virtual bool UpdateDXT(int level, int row, int col, unsigned char* data);

  /// Whether there is a header to work with.
  virtual bool IsUsable() const;

  /// The bytes of a tile, with its size and type. Bytes that can't be read are zero. On false the buffer stays as it
  /// was, with its array.
  virtual bool GetDXTdata(int level, int row, int col, XPBIReadBuffer* buffer) const;
  /// The same in a new array, which the caller releases by `delete[]`; `size` becomes its length. Null leaves `size`
  /// alone.
  virtual unsigned char* GetDXTdata(int level, int row, int col, int& size) const;

  /// The header, which stays this object's; null without one.
  XPBIFileInfo* GetFileInfo() const { return info_.get(); }
  /// As it was given to `OpenFile` or `Create`.
  const XString& GetFileName() const { return name_; }

  /// Bytes of a tile in blocks. Returns 0 where a size is below 1 or both are too large; but 8 for `kDxt1` where both
  /// are below 4. A type that is unknown has blocks of 8 bytes, unless libsquish knows it.
  static int GetStorageRequirements(int width, int height, _XDXTTYPE type);

  /// Adds the levels of a header to `info`, at the offsets that they have. `bytes` are the 51,200 of a header. False
  /// for null and where they are no header of an image store.
  static bool ParseHeaderInfo(const unsigned char* bytes, XPBIFileInfo* info);

 private:
  bool ReadFileInfo();
  void SetGridOf(const tagXTileLevel& level);

  std::shared_ptr<XPBIFileInfo> info_;
  std::shared_ptr<zrk::TileFile> file_;
  XString name_;
  bool isUsable_ = false;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XPBIFile;
