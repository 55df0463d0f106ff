// Saves a dataset as a tile store, tile by tile. The source is read in strips of some megabytes, band by band, so that
// each row of it is decoded once. Tiles are cut out of the strip and packed as DXT1. A tile in which no pixel is
// visible is left out. The data file and the index are published in the end (TxidOutput.cpp).

#include "XRSFile2TXID.h"

#include "base/Fence.h"
#include "tiles/txid/TxidOutput.h"
#include "tiles/txid/TxidSource.h"
#include "writers/OutputPath.h"
#include "XImageCodec.h"
#include "XThread.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

namespace {

/// Of a strip, so many at most unless a tile has more.
constexpr int kMaxStripPixels = 1 << 24;

/// One tile of a strip on its way into the store.
class TilePacker {
 public:
  explicit TilePacker(int side)
      : side_(side), codec_(side, 1), packed_(static_cast<std::size_t>(codec_.GetPackedBytes())) {}

  bool HasRoom() const { return codec_.buffer != nullptr; }

  /// The packed tile; empty where no pixel of it is seen.
  std::span<const unsigned char> Pack(zrk::TxidStrip& strip, int column) {
    const std::size_t rowBytes = static_cast<std::size_t>(side_) * 4;
    std::int64_t numSeen = 0;
    for (int y = 0; y < side_; ++y) {
      const unsigned char* const row = strip.Row(y) + static_cast<std::size_t>(column) * rowBytes;
      for (int x = 0; x < side_; ++x) numSeen += row[4 * x + 3] != 0;
      std::memcpy(RowOf(y), row, rowBytes);
    }
    if (numSeen == 0 || !codec_.EncodeDXT1(codec_.buffer, packed_.data())) return {};
    if (numSeen < std::int64_t{side_} * side_) OpenHoles();
    return packed_;
  }

 private:
  /// The codec takes the lowest row first.
  unsigned char* RowOf(int y) {
    return codec_.buffer + static_cast<std::size_t>(side_ - 1 - y) * static_cast<std::size_t>(side_) * 4;
  }

  bool HasHole(int left, int top) {
    for (int y = top; y < top + 4; ++y) {
      for (int x = left; x < left + 4; ++x) {
        if (RowOf(y)[4 * x + 3] == 0) return true;
      }
    }
    return false;
  }

  /// The codec gives a block of one colour black as its second one, and then no pixel of it is transparent. With its
  /// colour twice the block has the form in which the last code is.
  void OpenHoles() {
    unsigned char* block = packed_.data();
    for (int top = 0; top < side_; top += 4) {
      for (int left = 0; left < side_; left += 4, block += 8) {
        const bool isOpaque = block[0] + 256 * block[1] > block[2] + 256 * block[3];
        if (isOpaque && HasHole(left, top)) std::memcpy(block + 2, block, 2);
      }
    }
  }

  int side_;
  XImageCodec codec_;
  std::vector<unsigned char> packed_;
};

bool Fail(XString& err, const char* sentence) {
  err = sentence;
  return false;
}

bool IsStopped(XThread* thread) {
  return thread && XfnIsStopRequested(thread->GetStatePtr());
}

/// One save.
class StoreSave {
 public:
  StoreSave(const XRSFile& file, const XString& base) : file_(file), base_(base) {}

  /// Looks at everything that can be wrong before a file is begun.
  bool Prepare(int tileSize, XString& err) {
    if (base_.IsEmpty()) return Fail(err, "There is no name for the tile store");
    if (!zrk::FindTxidSource(file_, source_, err) || !zrk::LayOutTxid(source_, tileSize, info_, err)) return false;
    const bool mayReplace = zrk::MayReplace(file_, base_ + ".txi") && zrk::MayReplace(file_, base_ + ".txd");
    return mayReplace || Fail(err, "The tile store can't take the place of that file");
  }

  bool Write(XString& err, XThread* thread) {
    TilePacker packer(info_.tileSize);
    if (!packer.HasRoom()) return Fail(err, "There is no memory for a tile");
    if (!output_.Begin(base_, err)) return false;
    for (int row = 0; row < info_.numYTiles; ++row) {
      if (!WriteRow(row, packer, err, thread)) return false;
      if (thread) thread->CallbackPercent(100.0 * (row + 1) / info_.numYTiles);
    }
    return output_.Publish(info_, err);
  }

  std::int64_t CountTiles() const { return std::int64_t{info_.numXTiles} * info_.numYTiles; }
  std::int64_t CountWritten() const { return numWritten_; }

 private:
  bool WriteRow(int row, TilePacker& packer, XString& err, XThread* thread) {
    const int numAtOnce = std::max(kMaxStripPixels / (info_.tileSize * info_.tileSize), 1);
    for (int column = 0; column < info_.numXTiles; column += numAtOnce) {
      if (IsStopped(thread)) return false;
      const int numColumns = std::min(numAtOnce, info_.numXTiles - column);
      if (!zrk::ReadStrip(source_, info_, {row, column, numColumns}, strip_, err)) return false;
      for (int i = 0; i < numColumns; ++i) {
        const std::span<const unsigned char> packed = packer.Pack(strip_, i);
        if (packed.empty()) continue;
        if (!output_.Add(info_.numXTiles * row + column + i, packed, err)) return false;
        ++numWritten_;
      }
    }
    return true;
  }

  const XRSFile& file_;
  XString base_;
  zrk::TxidSource source_;
  tagTxiInfo info_;
  zrk::TxidOutput output_;
  zrk::TxidStrip strip_;
  std::int64_t numWritten_ = 0;
};

int EndOf(XThread* thread, int isSaved, const XString& err) {
  if (!thread) return isSaved;
  if (isSaved) {
    thread->CallbackSuccess();
  } else if (IsStopped(thread)) {
    thread->CallbackCancel();
  } else {
    thread->CallbackFail(err);
  }
  return isSaved;
}

}  // namespace

int XRSFile2TXID::Save(XString base, XString& err, XThread* thread) {
  numWritten_ = numTiles_ = 0;
  const int isSaved = zrk::Fenced(err, [&] {
    if (!file_) return Fail(err, "Not Valid XRSFile") ? 1 : 0;
    StoreSave save(*file_, base);
    if (!save.Prepare(tileSize_, err) || !save.Write(err, thread)) return 0;
    numTiles_ = save.CountTiles();
    numWritten_ = save.CountWritten();
    return 1;
  });
  return EndOf(thread, isSaved, err);
}
