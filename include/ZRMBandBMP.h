#pragma once

#include "XDib.h"
#include "XPaletteReader.h"
#include "ZRMBandChannels.h"

#include <cstdint>

class XFile;
class XThread;

namespace zrk {
class BmpImage;
}

/// One channel of a Windows bitmap.
///
/// Under the exact policy bitmaps of any version of the header are read as their fields say: 1 to 32 bits, bit fields
/// and run-length codes, rows from either end. Channels are red, green and blue, of the palette for indexed pixels, and
/// opacity where the header has a mask for it. Level n gives every 2^n-th pixel of every 2^n-th row.
///
/// Under the compatible policy bitmaps of 8 to 32 bits a pixel are read. Rows lie bottom-up, directly behind the
/// palette, and are taken as uncompressed whatever the header says of compression.
///
/// Channels are red, green, blue and the fourth byte of 32-bit pixels, all of data type 1; an indexed bitmap gives
/// three channels with the palette applied. Images below 32,000,000 bytes are held in memory, larger ones are mapped;
/// both ignore the level and always give full resolution. Where a mapping fails rows are read through the file, which
/// honours the level by taking every 2^level-th pixel.
class ZRKIO_API ZRMBandBMP : public ZRMBandChannels<ZRMBandDRIO>, public XPaletteReader {
  X_DECLARE_RUNTIME_CLASS
  /// Where the pixels are read from: nowhere yet, memory of the process, the file, or a mapping of the file.
  enum SourceType { kSourceNone = 0, kSourceMemory = 1, kSourceFile = 2, kSourceView = 3 };

  /// Null makes a master; with a master this is a follower that shares its size and place. Not owned.
  explicit ZRMBandBMP(ZRMBandBMP* master);
  ~ZRMBandBMP() override;

  /// Opens a bitmap. `err` is emptied first and has the reason where the result is 0. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// Takes an open file over, whose first row lies at `offset`; reads go through it. Returns 0, with nothing taken, for
  /// a null argument, a negative offset or negative sizes or other than 8 to 39 bits a pixel.
  int SetImage(XFile* file, std::int64_t offset, const BITMAPINFO* info);
  /// Takes pixels in memory. With `direct` 0 they are copied from `bits` on, which must hold height times row bytes,
  /// and `offset` has no effect. Otherwise the rows are read from `bits` + `offset` where they lie, and must stay there
  /// as long as the band. Returns 0 as above, or where memory ran out.
  int SetImage(void* bits, std::int64_t offset, const BITMAPINFO* info, int direct);

  /// Returns 0 without an image, 3 where the header has a colour table, otherwise the bytes of a pixel.
  int GetNumChannels() const;
  /// Entries of the colour table; 0 without an image.
  int GetPaletteSize() const;
  /// Header and palette, or null; belongs to the band, and stays until the next image.
  const BITMAPINFO* GetBitmapInfo() const;
  /// A value of `SourceType`: `kSourceFile` under the exact policy. A follower has none.
  int GetSourceType() const;
  /// Byte offset of the first row in the file or view; 0 for a copy in memory.
  std::int64_t GetOffset() const;

  /// Shared by the bands of an indexed bitmap.
  const void* GetPaletteSource() const override;
  tagXColourMap GetColourMap() const override;
  std::unique_ptr<ZRMBand> MakeIndexBand() override;

 private:
  struct Impl;
  Impl& GetImpl() const;
  /// That the channels are taken of; null without a palette, and under the compatible policy.
  const zrk::BmpImage* FindExactImage() const;
  void PlaceAsImage();
};
