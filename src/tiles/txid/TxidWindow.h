#pragma once

#include "core/model/ChannelReads.h"
#include "tagTxiInfo.h"
#include "tiles/txid/TileAxis.h"
#include "tiles/txid/TxdFiles.h"
#include "tiles/txid/TxidPlanes.h"

#include <string>
#include <vector>

namespace zrk {

/// An opened store. Nobody changes it while it is read.
struct TxidStore {
  tagTxiInfo info;
  TxdFiles files;
  bool isExact = false;
};

/// Memory that reads of a thread use again.
struct TxidScratch {
  TileAxis columns;
  TileAxis rows;
  std::vector<unsigned char> packed;
  std::vector<unsigned char> planes;
};

/// A window on its way from a store into planes, which have its size. One thread reads it.
class TxidWindow {
 public:
  TxidWindow(const TxidStore& store, TxidScratch& scratch, TxidPlanes& planes)
      : store_(store), scratch_(scratch), planes_(planes) {}

  /// Pixels of tiles that do not exist are 0 in all planes. Under the compatible policy so are those of tiles that
  /// can't be read, and from level 4 on those of all others are 0xA0. Under the exact one such a tile fails the read.
  /// False where it failed, with the reason noted; the planes are then undefined.
  bool Read(const ReadRequest& request, const int* cancel);
  /// Whether no tile of the window exists; known after `Read`.
  bool IsBlank() const { return isBlank_; }

 private:
  void Plan(const ReadRequest& request);
  bool ReadRows(const int* cancel);
  bool ReadOverZeros(const ReadRequest& request, const int* cancel);
  void TrimPlan();
  void Clear();
  bool IsCovered() const;
  bool ReadTiles(const TileVisit& row);
  bool ReadTile(std::uint64_t offset, const TileVisit& row, const TileVisit& column);
  const char* FindBlocks(std::uint64_t offset, const TileVisit& row, const TileVisit& column,
                         const unsigned char*& blocks);
  void Unpack(const unsigned char* blocks, const TileVisit& row, const TileVisit& column);
  const unsigned char* BlocksOf(const unsigned char* blocks, const TileVisit& row, int y) const;
  void UnpackBlockRow(const unsigned char* blocks, const TileVisit& row, int first, int end, const TileVisit& column);
  int CountRowsInPlace(const TileVisit& row, int first, const TileVisit& column) const;
  void UnpackInPlace(const unsigned char* blocks, int y, int numRows, const TileVisit& column);
  void UnpackPixels(const unsigned char* blocks, const TileVisit& row, const TileVisit& column);
  void Fill(unsigned char value, const TileVisit& row, const TileVisit& column);
  int CountBlocksInRow() const { return (store_.info.tileSize + kBlockSide - 1) / kBlockSide; }

  const TxidStore& store_;
  TxidScratch& scratch_;
  TxidPlanes& planes_;
  bool isBlank_ = true;
  bool isFlat_ = false;           // tiles are not looked into
  bool needsZeros_ = false;       // where a tile can't be read, since the planes were not cleared
  std::int64_t unreadable_ = -1;  // the key of the last tile that could not be read
};

}  // namespace zrk
