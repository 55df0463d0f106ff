// A compressed store begins with a table, and the blobs of its tiles follow in any order. The table has a mark, the
// number of tiles, the bytes of the whole store, and for each tile the offset, size and coding of its blob.
// docs/FORMATS.md shows the layout.
//
// `Open` reads and checks the whole table, so that a read finds its blob by an index alone. Windows are often lower
// than a tile, and meet the same tile many times. So tiles that are not decoded straight into their target go through
// the cache of decoded blocks, and each thread keeps the last one for which that had no room. Blobs are read and never
// mapped: a file that another process cuts is then an error and not a signal. CompressEPOT.cpp writes stores; this
// class only reads them.

#include "core/level/BlobStore.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "base/LittleEndian.h"
#include "XLimits.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zrk {
namespace {

constexpr std::array<unsigned char, 4> kMark = {'C', 'M', '3', '.'};

template <class Value>
void Append(std::vector<unsigned char>& bytes, Value value) {
  for (const unsigned char byte : LittleEndian(value)) bytes.push_back(byte);
}

/// A blob is never empty, has a coding that is known, and lies within the store.
bool IsPossible(const BlobPlace& place, std::int64_t storeBytes) {
  return place.size > 0 && place.coding <= TileCoding::kPlanesZstd && FitsWithin(place.offset, place.size, storeBytes);
}

}  // namespace

std::vector<unsigned char> FormatBlobTable(const BlobTable& table) {
  std::vector<unsigned char> bytes(kMark.begin(), kMark.end());
  Append(bytes, static_cast<std::uint32_t>(table.places.size()));
  Append(bytes, table.storeBytes);
  for (const BlobPlace& place : table.places) {
    Append(bytes, place.offset);
    Append(bytes, place.size);
    Append(bytes, static_cast<std::uint32_t>(place.coding));
  }
  return bytes;
}

bool ParseBlobTable(std::span<const unsigned char> bytes, std::int64_t numTiles, BlobTable& table) {
  Cursor cursor(bytes);
  // The layout has the last word on the number of tiles, so that no number of the file decides how much is allocated.
  if (!std::ranges::equal(cursor.Bytes(kMark.size()), kMark) || cursor.U32LE() != numTiles) return false;
  table.storeBytes = cursor.I64LE();
  if (static_cast<std::int64_t>(cursor.Remaining()) < numTiles * BlobTable::kEntryBytes) return false;
  table.places.resize(static_cast<std::size_t>(numTiles));
  for (BlobPlace& place : table.places) {
    place.offset = cursor.I64LE();
    place.size = cursor.U32LE();
    place.coding = static_cast<TileCoding>(cursor.U32LE());
    if (!IsPossible(place, table.storeBytes)) return false;
  }
  return true;
}

std::shared_ptr<BlobStore> BlobStore::Open(const PyramidLayout& layout, std::shared_ptr<DiskFile> file,
                                           std::int64_t offset) {
  const std::int64_t fileBytes = file->Size();
  // The layout comes from a text of the same file. Before memory is taken, the table must be within the limit and the
  // file.
  if (layout.NumTiles() > (XfnGetLimits().tableBytes - BlobTable::kHeadBytes) / BlobTable::kEntryBytes) return nullptr;
  const std::int64_t tableBytes = BlobTable::Bytes(layout.NumTiles());
  if (!FitsWithin(offset, tableBytes, fileBytes)) return nullptr;
  std::vector<unsigned char> bytes(static_cast<std::size_t>(tableBytes));
  if (file->ReadAt(offset, bytes.data(), tableBytes) != tableBytes) return nullptr;
  BlobTable table;
  if (!ParseBlobTable(bytes, layout.NumTiles(), table)) return nullptr;
  // Blobs are checked against the store's own size, and so the store has to lie within the file.
  if (!FitsWithin(offset, table.storeBytes, fileBytes)) return nullptr;
  return std::make_shared<BlobStore>(layout, std::move(file), offset, std::move(table));
}

bool BlobStore::Decode(std::int64_t tileNumber, int width, int height, Desk& desk, void* out) const {
  const BlobPlace& place = table_.places[static_cast<std::size_t>(tileNumber)];
  // LERC keeps samples as they are where it can save nothing, and zstd adds a 256th at most. So no tile needs a larger
  // blob, and no file can ask for much more memory than its tiles take.
  const std::int64_t tileBytes = Layout().TileBytes();
  if (place.size > tileBytes + tileBytes / 128 + 8192) return false;
  desk.blob.resize(place.size);
  if (file_->ReadAt(offset_ + place.offset, desk.blob.data(), place.size) != place.size) return false;
  return DecodeTile(desk.blob, place.coding, Layout().Shape().dataType, width, height, out, desk.room);
}

const unsigned char* BlobStore::FindTile(std::int64_t tileNumber, int width, int height, Desk& desk) const {
  const std::int64_t numBytes = std::int64_t{width} * Layout().SampleBytes() * height;
  if (desk.tileNumber == tileNumber) return desk.samples.data();
  BlockClaim claim(&tiles_, tileNumber);
  if (!claim.IsDecoded() && claim.MakeRoom(numBytes)) {
    if (!Decode(tileNumber, width, height, desk, claim.GetRoom()->Get())) return nullptr;
    claim.Keep();
  }
  desk.held = claim.GetRoom();
  if (desk.held) return desk.held->Get();
  // The samples are not those of any tile while they are decoded, nor after a failure.
  desk.tileNumber = -1;
  desk.samples.resize(static_cast<std::size_t>(numBytes));
  if (!Decode(tileNumber, width, height, desk, desk.samples.data())) return nullptr;
  desk.tileNumber = tileNumber;
  return desk.samples.data();
}

bool BlobStore::ReadPiece(const TilePiece& piece, std::int64_t, unsigned char* out, std::int64_t stride) const {
  const PyramidLayout& layout = Layout();
  const int xTile = layout.Shape().xTile, yTile = layout.Shape().yTile, sampleBytes = layout.SampleBytes();
  const int width = std::min(xTile, layout.Width(piece.level) - piece.column * xTile);
  const int height = std::min(yTile, layout.Height(piece.level) - piece.row * yTile);
  const std::int64_t rowBytes = std::int64_t{width} * sampleBytes;
  const std::int64_t number = layout.TileNumber(piece.level, piece.column, piece.row);
  Desk& desk = desks_.Get();
  // A whole tile whose rows follow each other in the target is decoded in place, and no copy of it is kept.
  if (piece.width == width && piece.height == height && stride == rowBytes) {
    return Decode(number, width, height, desk, out);
  }
  const unsigned char* const samples = FindTile(number, width, height, desk);
  if (!samples) return false;
  const unsigned char* const from = samples + piece.y * rowBytes + std::int64_t{piece.x} * sampleBytes;
  for (int y = 0; y < piece.height; ++y) {
    std::memcpy(out + y * stride, from + y * rowBytes,
                static_cast<std::size_t>(piece.width) * static_cast<std::size_t>(sampleBytes));
  }
  desk.held.reset();
  return true;
}

}  // namespace zrk
