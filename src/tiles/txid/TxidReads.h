#pragma once

#include "base/PerThread.h"
#include "tiles/txid/TxidWindow.h"

#include <atomic>

namespace zrk {

/// What a thread remembers of its reads; -1 before the first ones.
struct TxidLast {
  ReadRequest subset;
  int minimapLevel = -1;
};

/// A read of all four channels, of which one is asked.
struct TxidRequest {
  ReadRequest subset;
  int width;  ///< of the result
  int height;
  bool isWhole;  ///< all of the image
  int channel;
  const int* cancel;

  bool IsPixel() const { return subset.level == 0 && subset.x0 == subset.x1 && subset.y0 == subset.y1; }
  /// An image of the whole at a level is kept apart from windows, so that neither drives out the other.
  bool IsOverview() const { return subset.level > 0 && isWhole; }
};

/// The reads of a store and what is kept of them: for each thread its last window and its last overview, found without
/// a lock. Any number of threads may read at once.
class TxidReads {
 public:
  /// The asked channel, which lives until the thread's next read; null where the read failed. The request lies inside
  /// the image and leaves pixels.
  tagXArr2* Read(const TxidStore& store, const TxidRequest& request);

  /// The calling thread's channel of its last window, or overview; null without one.
  tagXArr2* GetSubset(int channel) const;
  tagXArr2* GetMinimap(int channel) const;
  TxidLast GetLast() const;
  /// A level of -1 leaves the subset, and a level of an overview of -1 leaves that one.
  void SetLast(const TxidLast& last);
  /// Whether no tile of a window exists. Under the exact policy it is the calling thread's last one. Under the
  /// compatible one it is the last that any thread read from the store, and true after a read that was answered
  /// otherwise.
  bool IsBlank(bool isExact) const;
  /// Gives up what all threads have. No read may be under way.
  void Forget();

 private:
  struct Memory {
    unsigned image = 0;
    TxidLast last;          // what callers are told and may set
    ReadRequest held;       // what `subset` really has, for exact reads
    int heldOverview = -1;  // and `minimap`
    bool isSubsetBlank = false;
    bool isMinimapBlank = false;
    bool isBlank = false;  // of what was answered last
    TxidPlanes subset;
    TxidPlanes minimap;
    TxidPlanes pixel;
    TxidScratch scratch;
  };

  Memory& Current();
  Memory* FindCurrent() const;
  bool ReadInto(const TxidStore& store, const TxidRequest& request, Memory& memory, TxidPlanes& planes);

  tagXArr2* ReadExactly(const TxidStore& store, const TxidRequest& request, Memory& memory);
  tagXArr2* ReadPixelExactly(const TxidStore& store, const TxidRequest& request, Memory& memory);

  tagXArr2* ReadCompatibly(const TxidStore& store, const TxidRequest& request, Memory& memory);
  static tagXArr2* ProbePixel(const TxidRequest& request, Memory& memory);
  static TxidPlanes* FindSource(const TxidRequest& request, Memory& memory);
  static tagXArr2* MakeOverview(const TxidRequest& request, Memory& memory, TxidPlanes& source);
  tagXArr2* ReadStore(const TxidStore& store, const TxidRequest& request, Memory& memory);

  PerThread<Memory> memories_;
  std::atomic<unsigned> image_ = 1;
  std::atomic<bool> isBlank_ = false;
};

}  // namespace zrk
