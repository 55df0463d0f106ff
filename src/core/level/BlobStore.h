#pragma once

#include "base/BlockCache.h"
#include "base/PerThread.h"
#include "codec/TileCodec.h"
#include "core/level/PyramidStore.h"

#include <memory>
#include <vector>

namespace zrk {

/// Where the blob of a tile lies in a compressed store. The offset counts from the store's first byte.
struct BlobPlace {
  std::int64_t offset = 0;
  std::uint32_t size = 0;
  TileCoding coding = TileCoding::kLerc;
};

/// The table at the head of a compressed store: a mark, the number of tiles, the store's size, and for each tile the
/// offset, size and coding of its blob. All integers are little-endian.
struct BlobTable {
  static constexpr std::int64_t kHeadBytes = 16;
  static constexpr std::int64_t kEntryBytes = 16;
  static std::int64_t Bytes(std::int64_t numTiles) { return kHeadBytes + numTiles * kEntryBytes; }

  std::int64_t storeBytes = 0;
  std::vector<BlobPlace> places;
};

std::vector<unsigned char> FormatBlobTable(const BlobTable& table);
/// False for bytes that are not a table of that many tiles, and for a table with a blob outside the store.
bool ParseBlobTable(std::span<const unsigned char> bytes, std::int64_t numTiles, BlobTable& table);

/// A store of compressed tiles, read only. A tile holds the samples that lie within the image, and no others.
class BlobStore : public PyramidStore {
 public:
  /// Returns null where the file has no such store at the offset, and where the store has another number of tiles.
  static std::shared_ptr<BlobStore> Open(const PyramidLayout& layout, std::shared_ptr<DiskFile> file,
                                         std::int64_t offset);
  BlobStore(const PyramidLayout& layout, std::shared_ptr<DiskFile> file, std::int64_t offset, BlobTable table)
      : PyramidStore(layout), file_(std::move(file)), offset_(offset), table_(std::move(table)) {}

  std::int64_t Size() const override { return table_.storeBytes; }
  void ReleaseThread() override { desks_.Release(); }

 protected:
  bool ReadPiece(const TilePiece& piece, std::int64_t windowBytes, unsigned char* out,
                 std::int64_t stride) const override;

 private:
  /// What a thread needs to decode a tile, and the last tile that it decoded where the cache had no room for it.
  struct Desk {
    std::int64_t tileNumber = -1;
    std::vector<unsigned char> blob;
    std::vector<unsigned char> samples;
    TileRoom room;
    std::shared_ptr<const BlockRoom> held;  // a tile of the cache, for the time of a read
  };

  bool Decode(std::int64_t tileNumber, int width, int height, Desk& desk, void* out) const;
  /// The samples of a tile, decoded by this call or one before; null where they can't be.
  const unsigned char* FindTile(std::int64_t tileNumber, int width, int height, Desk& desk) const;

  std::shared_ptr<DiskFile> file_;
  std::int64_t offset_;
  BlobTable table_;
  BlockFile tiles_;  // that are decoded and kept
  mutable PerThread<Desk> desks_;
};

}  // namespace zrk
