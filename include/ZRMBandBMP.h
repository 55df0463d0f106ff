#pragma once

#include "XChannelReads.h"
#include "XDib.h"
#include "XFile.h"
#include "XThreadSafeArr.h"
#include "ZRMBandDRIO.h"

#include <cstdint>
#include <memory>

class XThread;

namespace zrk {
struct BmpHeader;
class RowFile;
}  // namespace zrk

/// One channel of a Windows bitmap of 8 to 32 bits a pixel. Rows lie bottom-up, directly behind the palette, and are
/// taken as uncompressed whatever the header says of compression.
///
/// Channels are red, green, blue and the fourth byte of 32-bit pixels, all of data type 1; an indexed bitmap gives
/// three channels with the palette applied. Images below 32,000,000 bytes are held in memory, larger ones are mapped;
/// both ignore the level and always give full resolution. Where a mapping fails rows are read through the file, which
/// honours the level by taking every 2^level-th pixel.
class ZRKIO_API ZRMBandBMP : public ZRMBandDRIO {
  X_DECLARE_RUNTIME_CLASS
  enum SourceType { kSourceNone = 0, kSourceMemory = 1, kSourceFile = 2, kSourceView = 3 };

  /// Null makes a master; with a master this is a follower that shares its size and place. Not owned.
  explicit ZRMBandBMP(ZRMBandBMP* master);
  ~ZRMBandBMP() override;

  /// Opens a bitmap. `err` is emptied first and has the reason where the result is 0. `thread` is not used.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// Takes an open file over, whose first row lies at `offset`; reads go through it. 0, with nothing taken, for a null
  /// argument, a negative offset or negative sizes or other than 8 to 39 bits a pixel.
  int SetImage(XFile* file, std::int64_t offset, const BITMAPINFO* info);
  /// Takes pixels in memory. With `direct` 0 they are copied from `bits` on, which must hold height times row bytes,
  /// and `offset` has no effect. Otherwise the rows are read from `bits` + `offset` where they lie, and must stay there
  /// as long as the band. 0 as above, or where memory ran out.
  int SetImage(void* bits, std::int64_t offset, const BITMAPINFO* info, int direct);

  /// 0 without an image, 3 where the header has a colour table, otherwise the bytes of a pixel.
  int GetNumChannels() const;
  /// Entries of the colour table; 0 without an image.
  int GetPaletteSize() const;
  /// Header and palette, or null; belongs to the band.
  const BITMAPINFO* GetBitmapInfo() const { return info_.get(); }
  /// A value of `SourceType`. A follower has none.
  int GetSourceType() const { return sourceType_; }
  /// Byte position of the first row in the file or view; 0 for a copy in memory.
  std::int64_t GetOffset() const { return offset_; }

  /// 0-based, 0 for the master.
  int GetChannel() const { return channel_; }
  void SetChannel(int channel) { channel_ = channel; }

  /// The calling thread's result of a channel from the last read of this master, or null.
  tagXArr2* GetResult(int channel) const;
  /// The calling thread's last request to this master; all -1 before the first.
  void GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const;

  using ZRMBandDRIO::GetHighestLevelForTarget;
  using ZRMBandDRIO::ReadSubset;
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  int CalcStatistics(int withHistogram) override;
  /// Keeps its buffers, whatever is asked.
  int CleanupMemory(int freeBuffers, int force) override;
  int CloneBand(ZRMBand* source) override;

 private:
  void Close();
  int ReadIntoMemory(const XFile& file, const zrk::BmpHeader& header, XString& err);
  void AdoptHeader(const BITMAPINFO& info, int sourceType, std::int64_t offset);
  int ReadAsMaster(tagXArr2*& out, const zrk::ReadRequest& request);
  std::int64_t CalcRowOffset(int y) const;
  bool HoldsRows(const zrk::ReadRequest& request) const;
  bool Decode(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record);
  bool DecodeFromMemory(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record) const;
  bool DecodeFromFile(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record);
  bool DecodeFromMapped(const zrk::ReadRequest& request, zrk::ChannelReads::Record& record);

  ZRMBandBMP* master_;
  std::unique_ptr<BITMAPINFO> info_;
  int sourceType_ = kSourceNone;
  std::unique_ptr<XFile> file_;            // behind kSourceFile, and beside a mapping of it
  std::unique_ptr<zrk::RowFile> rowFile_;  // behind kSourceView of a file
  std::unique_ptr<unsigned char[]> copy_;  // behind kSourceMemory
  const unsigned char* data_ = nullptr;    // rows of kSourceMemory, and of kSourceView of memory
  std::int64_t offset_ = 0;
  int channel_ = 0;
  zrk::ChannelReads reads_;
  XThreadSafeArr1 rows_;
};
