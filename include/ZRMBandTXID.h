#pragma once

#include "tagTxiInfo.h"
#include "ZRMBand.h"

#include <cstdint>
#include <memory>

class XThread;

/// One channel of a TXID store: an image of square tiles in blocks of DXT1, of which only some exist. An index file
/// with the extension txi tells which tiles exist. Data files with the extension txd beside it hold the tiles. The
/// channels are red, green, blue and alpha; pixels of tiles that do not exist are 0 in all four.
///
/// The band without a master owns the store. Further bands are made with it as their master, show one channel each, and
/// must not outlive it. Any number of threads may read: each has results and a last request of its own, which end with
/// it, and a repeat takes no lock. A result lives until the calling thread's next read of the store. All channels come
/// out of one read.
///
/// Under the compatible policy
/// - a single pixel at level 0 is known only where the calling thread's last window has it, at a level up to 3;
/// - from level 4 on every tile that exists is 0xA0 in all channels;
/// - a tile that can't be read stays 0;
/// - an overview, which is the whole image at a level above 0, is made of what the thread read last where that will do,
///   by taking nearest pixels at whole steps;
/// - of several data files the first one stands for all.
///
/// Under the exact policy level n has the pixels (x0 + i 2^n, y0 + j 2^n) at every level. Overviews and single pixels
/// are read from the file. A tile whose data is missing fails its reads.
class ZRKIO_API ZRMBandTXID : public ZRMBand {
  X_DECLARE_RUNTIME_CLASS
  /// Null makes the owner of a store. With a master this is a further channel, which takes over size and place. Not
  /// owned.
  explicit ZRMBandTXID(ZRMBandTXID* master);
  ~ZRMBandTXID() override;

  /// Opens a store by its index file. The data files are those of its name, without its last four characters; none may
  /// be there. Returns 1; or 0 with the sentence in `err`, and an earlier store stays. A band with a master refuses. No
  /// read may be under way. The thread is not used.
  int ReadFile(XString path, XString& err, XThread* thread);
  /// Reads an index file alone. Returns 1; or 0 with the sentence in `err`, also for a null `info`, which otherwise
  /// stays as it was.
  int ReadTXI(XString path, tagTxiInfo* info, XString& err);
  /// The index of the store, which belongs to the owner.
  const tagTxiInfo& GetTxiInfo() const;
  /// How many data files are open, and their bytes.
  int GetNumDataFiles() const;
  std::int64_t GetDataBytes() const;

  /// 4.
  int GetNumChannels() const;
  /// The channel that this band shows, 0 to 3 for red, green, blue and alpha; 0 until it is set.
  int GetChannel() const;
  void SetChannel(int channel);

  using ZRMBand::GetHighestLevelForTarget;
  using ZRMBand::ReadSubset;

  /// Reads a window of the band's own channel. Under the compatible policy a band of channel 3 reads nothing this way.
  /// A word behind `cancel` is heard between rows of tiles.
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// The same of any channel: 0 to 2, or 3 as well under the exact policy.
  int ReadSubset(tagXArr2*& out, int channel, int level, int x0, int x1, int y0, int y1, int* cancel);

  /// The calling thread's channel of its last window, or of its last overview; null for a channel that is not there and
  /// before such a read. Under both policies channel 3 is among them. They are the store's buffers, also for a
  /// follower.
  tagXArr2* GetResult(int channel) const;
  tagXArr2* GetResultMinimap(int channel) const;
  /// The calling thread's last level and window, and the level of its last overview; -1 before.
  void GetPrevReadSubsetParam(int& level, int& minimapLevel, int& x0, int& x1, int& y0, int& y1) const;
  /// Sets them for the calling thread: level and window unless `level` is -1, and the level of the overview unless that
  /// is -1. A compatible read that asks for the same is then answered with the results that are there.
  void SetPrevReadSubsetParam(int level, int minimapLevel, int x0, int x1, int y0, int y1);
  /// Returns 1 where no tile of the last window exists, otherwise 0. Under the compatible policy the last one of all
  /// threads counts, and a read that was answered without a look at the store gives 1.
  int IsBlankSubset() const;

  /// Kept for callers; nothing reads it. Null at first, and not owned.
  void SetKey(void* key);
  void* GetKey() const;

  /// The power of two in the tile size.
  int GetLevel() override;
  /// The level arithmetic of `Xepot::GetHighestLevelForTarget`.
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  /// As `ZRMBand::CalcStatistics`: in the compatible policy of the whole at the level below the last one.
  int CalcStatistics(int withHistogram) override;
  /// Frees nothing; 1.
  int CleanupMemory(int freeBuffers, int force) override;
  int CloneBand(ZRMBand* source) override;

 private:
  struct Store;
  Store& GetStore() const;
  void TakeOver();

  ZRMBandTXID* master_;
  int channel_ = 0;
  void* key_ = nullptr;
  std::unique_ptr<Store> store_;  // null with a master
};
