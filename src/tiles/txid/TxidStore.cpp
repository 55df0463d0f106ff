// A TXID store as a store: one tile taken out of it, and the whole checked.
//
// The index keeps the last of several records of one key, so that the records are read once more to find the others.
// Tiles are read in the order of their places, which is how overlaps show.

#include "tiles/txid/TxidStore.h"

#include "tiles/BlockCoder.h"
#include "tiles/StoreCheck.h"
#include "tiles/txid/TxdFiles.h"
#include "tiles/txid/TxiIndex.h"
#include "XFile.h"
#include "XLimits.h"
#include "XThread.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace zrk {
namespace {

constexpr std::int64_t kTxiHeaderBytes = 48, kTxiRecordBytes = 16;
constexpr int kExtensionLength = 4;

int RefuseTile(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

struct OpenTxid {
  tagTxiInfo info;
  TxdFiles files;

  bool Open(const XString& path, XString& err) {
    auto read = ReadTxiFile(path, err);
    if (!read) return false;
    info = std::move(*read);
    files.Open(path.Left(path.GetLength() - kExtensionLength), FindGreatestOffset(info), true);
    return true;
  }

  BlockShape Shape() const { return {kDxt1, info.tileSize, info.tileSize}; }
  std::int64_t NumTiles() const { return std::int64_t{info.numXTiles} * info.numYTiles; }

  StoreTilePlace PlaceOf(std::int32_t key) const { return {0, key / info.numXTiles, key % info.numXTiles}; }

  /// False where the data files don't have all bytes.
  bool Read(std::uint64_t offset, std::vector<unsigned char>& bytes) const {
    bytes.resize(BlockBytes(Shape()));
    const auto place = files.Find(offset);
    const auto count = static_cast<std::int64_t>(bytes.size());
    return place && place->file->ReadAt(place->offset, bytes.data(), count) == count;
  }
};

/// The keys of all records, the later ones of equal keys as well.
std::vector<std::int32_t> ReadKeys(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return {};
  std::vector<unsigned char> bytes(static_cast<std::size_t>(std::max<std::int64_t>(file.GetLength(), 0)));
  bytes.resize(static_cast<std::size_t>(file.ReadAt(0, bytes.data(), std::ssize(bytes))));
  std::vector<std::int32_t> keys;
  for (std::int64_t at = kTxiHeaderBytes; at + kTxiRecordBytes <= std::ssize(bytes); at += kTxiRecordBytes) {
    std::int32_t key = 0;
    std::memcpy(&key, bytes.data() + at, sizeof key);
    keys.push_back(key);
  }
  return keys;
}

void CheckKeys(const XString& path, const OpenTxid& store, StoreFindings& findings) {
  std::vector<std::int32_t> keys = ReadKeys(path);
  std::ranges::sort(keys);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (i > 0 && keys[i] == keys[i - 1])
      findings.Add("The key %d is there more than once; the last one counts", keys[i]);
    if (keys[i] < 0 || keys[i] >= store.NumTiles()) {
      findings.Add("The key %d is none of a grid of %d by %d tiles", keys[i], store.info.numXTiles,
                   store.info.numYTiles);
    }
  }
}

/// Whether the tiles can be looked at.
bool CheckTileSize(const tagTxiInfo& info, StoreFindings& findings) {
  const std::int64_t needed = CalcPackedBytes(info.tileSize);
  if (!info.tiles.empty() && info.tileDataSize != needed) {
    findings.Add("A tile of %d by %d has %d %s; it needs %lld", info.tileSize, info.tileSize, info.tileDataSize,
                 WordFor(info.tileDataSize, "byte", "bytes"), static_cast<long long>(needed));
  }
  if (needed <= std::min<std::int64_t>(XfnGetLimits().decodedTileBytes, INT_MAX)) return true;
  findings.Add("The tiles are larger than the limits allow");
  return false;
}

struct Stored {
  std::uint64_t offset;
  std::int32_t key;
  friend auto operator<=>(const Stored&, const Stored&) = default;
};

std::vector<Stored> ListByOffset(const OpenTxid& store) {
  std::vector<Stored> tiles;
  for (const auto& [key, offset] : store.info.tiles) {
    if (key >= 0 && key < store.NumTiles()) tiles.push_back({offset, key});
  }
  std::ranges::sort(tiles);
  return tiles;
}

/// Several keys may share a tile, so that only a part of one is an overlap.
void CheckOverlap(const OpenTxid& store, const Stored& before, const Stored& tile, StoreFindings& findings) {
  const std::uint64_t step = tile.offset - before.offset;
  if (step > 0 && step < BlockBytes(store.Shape())) {
    findings.Add("The tiles of the keys %d and %d overlap in the data", before.key, tile.key);
  }
}

void CheckStoredTile(const OpenTxid& store, const Stored& tile, StoreFindings& findings) {
  const StoreTilePlace place = store.PlaceOf(tile.key);
  std::vector<unsigned char> bytes;
  if (!store.Read(tile.offset, bytes)) {
    findings.Add("Level 0, row %d, column %d: the tile lies behind the end of the data", place.row, place.col);
    return;
  }
  findings.CountTile(std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; }));
  CheckBlocks(bytes, kDxt1, place, findings);
}

}  // namespace

int ReadTxidTile(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err) {
  OpenTxid store;
  if (!store.Open(path, err)) return 0;
  if (place.level != 0) return RefuseTile(err, "The store has no such level; all tiles are of level 0");
  if (store.NumTiles() == 0) return RefuseTile(err, "The store has no tiles");
  if (place.row < 0 || place.row >= store.info.numYTiles || place.col < 0 || place.col >= store.info.numXTiles) {
    err.Format("The store has the rows 0 to %d and the columns 0 to %d", store.info.numYTiles - 1,
               store.info.numXTiles - 1);
    return 0;
  }
  const std::int64_t key = std::int64_t{store.info.numXTiles} * place.row + place.col;
  const auto found = key <= INT32_MAX ? store.info.tiles.find(static_cast<std::int32_t>(key)) : store.info.tiles.end();
  if (found == store.info.tiles.end()) return RefuseTile(err, "The store does not have this tile");
  if (CalcPackedBytes(store.info.tileSize) * 8 > XfnGetLimits().decodedTileBytes) {
    return RefuseTile(err, "The tiles are larger than the limits allow");
  }
  tagXStoreTile read = {store.info.tileSize, store.info.tileSize, kDxt1, {}, {}, {}};
  if (!store.Read(found->second, read.bytes)) return RefuseTile(err, "The tile can't be read");
  read.rgba.resize(std::size_t{4} * static_cast<std::size_t>(read.width) * static_cast<std::size_t>(read.height));
  if (!DecodeBlocks(read.bytes, store.Shape(), read.rgba)) return RefuseTile(err, "The tile can't be unpacked");
  tile = std::move(read);
  return 1;
}

int CheckTxidStore(const XString& path, StoreFindings& findings, XString& err, XThread* thread) {
  OpenTxid store;
  if (!store.Open(path, err)) return 0;
  CheckKeys(path, store, findings);
  if (!CheckTileSize(store.info, findings)) return 1;
  const std::vector<Stored> tiles = ListByOffset(store);
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    if (thread) {
      if (XfnIsStopRequested(thread->GetStatePtr())) return 0;
      thread->CallbackPercent(100.0 * static_cast<double>(i) / static_cast<double>(tiles.size()));
    }
    if (i > 0) CheckOverlap(store, tiles[i - 1], tiles[i], findings);
    CheckStoredTile(store, tiles[i], findings);
  }
  return 1;
}

}  // namespace zrk
