#pragma once

#include "tagXTileLevel.h"
#include "XString.h"
#include "ZRMBandChannels.h"

#include <cstdint>
#include <memory>
#include <vector>

class XThread;
struct tagXFormatNotes;
namespace Vexorine::ZRL::IO {
class XPBIFileInfo;
}

/// One channel of an image store (XPBIFile.h) as a raster on the global grid (XTileGrid.h): red, green, blue and alpha,
/// data type 1, north up, on WGS 84. The upper left corner is that of the first pixel.
///
/// The band without a master owns the store. Further bands are made with it as their master, show one channel each, and
/// must not outlive it. Any number of threads may read: each has results and a last request of its own. All channels
/// come out of one read. Pixels that no tile holds are 0 in all channels, and so transparent.
///
/// Under the compatible policy
/// - the image has the extent of all levels and the pixels of the highest one. A tile of level 0 counts as 18 degrees
///   and any tile as 256 pixels wide, whatever the header says;
/// - a read takes the level whose pixels are closest in size to those that it gives, the first of several, and goes
///   through coordinates: a window from x0 to x1 has a step of (x1 - x0) pixels divided by the samples of a row, in x
///   and in y. Some samples at seams may stay 0 therefore;
/// - a tile that can't be read is 0, and the read succeeds.
///
/// Under the exact policy
/// - tiles have the sizes that the header tells, in degrees and in pixels;
/// - level 0 has the pixels of the store's highest level. A reduced level comes from the store's coarsest level whose
///   pixels are small enough: its pixel (i, j) is the one that holds the middle of pixel (x0 + i 2^n, y0 + j 2^n);
/// - a tile within a level's range whose bytes can't be read fails the read with a sentence that names it.
class ZRKIO_API ZRMBandPBI : public ZRMBandChannels<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the owner of a store. With a parent this is a further channel, which takes over its size, place and
  /// system. Not owned.
  explicit ZRMBandPBI(ZRMBandPBI* parent);
  ~ZRMBandPBI() override;

  /// Opens a store in place of an earlier one and takes over its place. Returns 1 or 0; no read may be under way, and
  /// the thread is not used. If the file can't be opened, `err` is "Fail to read PBI file". Under the compatible policy
  /// a missing file is created and stays empty. `err` then stays empty for a file that is no store and for a store
  /// without tiles. Under the exact policy no file is created, and the reason follows in `err`.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The lowest and the highest number of a level; INT_MAX and INT_MIN for none.
  void GetLevelRange(int& lowest, int& highest) const;
  /// The levels as the header has them.
  const std::vector<tagXTileLevel>& GetStoreLevels() const;
  /// The side of a pixel in degrees: 18.0, halved for each level, over 256.
  static double CalcResolution(int level);
  /// 4.
  int GetNumChannels() const;
  /// The calling thread's channel of its last read, also for a further band; null for any other channel, and before the
  /// first read.
  tagXArr2* GetResult(int channel) const;

  /// Makes room for `size` bytes in the calling thread's buffer of pixels. Returns 1; or 0 where there is no memory,
  /// and the buffer stays as it was. Reads make the room that they need by themselves.
  int AllocBuffer(unsigned size);
  /// Gives the calling thread's buffers of pixels and blocks back.
  void FreeBuffer();

  /// Adds what the header tells of the levels, and how many of their tiles are empty.
  void DescribeLevels(tagXFormatNotes& notes) const;

 protected:
  /// The header of the open store, read from its file anew. The version is cut to a whole number. Returns null where no
  /// store is open, where its file has no header any more, and where there is no memory.
  std::shared_ptr<Vexorine::ZRL::IO::XPBIFileInfo> ReadFileInfo() const;
  /// The blocks of a tile in a buffer of the calling thread, which its next read changes. Returns null for a level or a
  /// tile that is not there and for one that can't be read. If several levels have one number, the first one counts.
  const unsigned char* GetDXTdata(int level, int row, int col, int& size);
  /// The same as pixels of R, G, B, A with the uppermost row first. All are 0 where there is no tile, and null is
  /// answered where there is no level, or no memory.
  const unsigned char* GetRGBAdata(int level, int row, int col, int& width, int& height);

 private:
  /// The picture that may stand for tiles that are not there, out of the file NullBackground.bmp in the resource
  /// folder, see `XfnSetResourceFolder`; empty without such a picture. Reads leave such tiles zero, and do not ask for
  /// it.
  static std::vector<unsigned char> LoadNullBackground();

  struct Impl;
  Impl& GetImpl() const;
  Impl& GetOwner() const;
  int TakeOver(const XString& path, XString& err);
  bool PlaceCompatibly();
  void PlaceExactly();
};
