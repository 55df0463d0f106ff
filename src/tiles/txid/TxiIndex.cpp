// An index is a header of 48 bytes and a record of 16 bytes for each tile that exists. A record has the tile's key, the
// offset of its data, and the size of its data, which is the same for all tiles: the first one that is not 0 counts.
//
// Records may come in any order. They are put in order first, because a tree that grows at its end takes a fraction of
// the time of one that grows anywhere. Where a key comes twice, the last record counts.

#include "tiles/txid/TxiIndex.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "XFile.h"
#include "XLimits.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <compare>
#include <new>
#include <utility>

namespace zrk {
namespace {

constexpr std::size_t kHeaderBytes = 48;
constexpr std::size_t kRecordBytes = 16;

/// The number makes an order of records with one key, so that sorting takes no memory of its own.
struct Record {
  std::int32_t key;
  std::int32_t number;
  std::uint64_t offset;
  friend auto operator<=>(const Record&, const Record&) = default;
};

/// Null where the fields are possible each for itself.
const char* FindImpossibleField(const tagTxiInfo& info) {
  if (info.numXTiles < 0) return "number of x-tiles";
  if (info.numYTiles < 0) return "number of y-tiles";
  if (info.tileSize < 1) return "number of tile size";
  if (info.xPixelSize == 0) return "number of psx";
  if (info.yPixelSize == 0) return "number of psy";
  return nullptr;
}

/// Pixels are counted by an int, and their places by 64 bits.
bool IsExtentPossible(int numTiles, int tileSize, std::int64_t pixelSize) {
  const std::int64_t pixels = std::int64_t{numTiles} * tileSize;
  return pixels <= INT_MAX && CheckedMultiply(pixelSize, std::max<std::int64_t>(pixels, tileSize)).has_value();
}

bool IsPlacePossible(const tagTxiInfo& info) {
  return IsExtentPossible(info.numXTiles, info.tileSize, info.xPixelSize) &&
         IsExtentPossible(info.numYTiles, info.tileSize, info.yPixelSize) && std::isfinite(info.x) &&
         std::isfinite(info.y);
}

tagTxiInfo ParseHeader(Cursor& cursor) {
  tagTxiInfo info;
  info.numXTiles = cursor.I32LE();
  info.numYTiles = cursor.I32LE();
  info.tileSize = cursor.I32LE();
  info.xPixelSize = cursor.I64LE();
  info.yPixelSize = cursor.I64LE();
  info.x = cursor.F64LE();
  info.y = cursor.F64LE();
  return info;
}

std::vector<Record> ParseRecords(Cursor& cursor, tagTxiInfo& info) {
  std::vector<Record> records;
  records.reserve(cursor.Remaining() / kRecordBytes);
  while (cursor.Remaining() >= kRecordBytes) {
    const std::int32_t key = cursor.I32LE();
    records.push_back({key, static_cast<std::int32_t>(records.size()), cursor.U64LE()});
    const std::int32_t size = cursor.I32LE();
    if (info.tileDataSize == 0) info.tileDataSize = size;
  }
  return records;
}

/// The bytes of a file; nothing where there is no memory for them, and fewer where the file does not give them all.
std::optional<std::vector<unsigned char>> ReadWhole(const XFile& file, std::int64_t length) {
  if (length > XfnGetLimits().tableBytes) return std::nullopt;
  try {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    bytes.resize(static_cast<std::size_t>(file.ReadAt(0, bytes.data(), length)));
    return bytes;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace

/// The bytes are let go before the tree is built, so that the two are never held together.
std::optional<tagTxiInfo> ParseTxi(std::vector<unsigned char> bytes, const XString& path, XString& err) {
  const auto fail = [&err](const XString& sentence) {
    err = sentence;
    return std::nullopt;
  };
  if (bytes.size() < kHeaderBytes) return fail("Invalid TXI file : " + path);
  Cursor cursor(bytes);
  if (cursor.Text(4) != "TXID") return fail(path + " : Wrong magic string");
  std::optional<tagTxiInfo> info = ParseHeader(cursor);
  const char* const field = FindImpossibleField(*info);
  if (field) return fail(path + " : Error in reading " + field);
  if (!IsPlacePossible(*info)) return fail("Invalid TXI file : " + path);
  std::vector<Record> records = ParseRecords(cursor, *info);
  std::vector<unsigned char>().swap(bytes);
  if (!std::ranges::is_sorted(records)) std::ranges::sort(records);
  for (const Record& record : records) info->tiles.insert_or_assign(info->tiles.end(), record.key, record.offset);
  return info;
}

std::optional<tagTxiInfo> ReadTxiFile(const XString& path, XString& err) {
  const auto fail = [&](const char* sentence) {
    err = sentence + path;
    return std::nullopt;
  };
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return fail("Failed to open file : ");
  const std::int64_t length = file.GetLength();
  if (length < static_cast<std::int64_t>(kHeaderBytes)) return fail("Invalid TXI file : ");
  std::optional<std::vector<unsigned char>> bytes = ReadWhole(file, length);
  if (!bytes) return fail("Out of memory. Failed to open file : ");
  if (std::ssize(*bytes) < length) return fail("Error in reading file : ");
  try {
    return ParseTxi(std::move(*bytes), path, err);
  } catch (const std::bad_alloc&) {
    return fail("Out of memory. Failed to open file : ");
  }
}

std::uint64_t FindGreatestOffset(const tagTxiInfo& info) {
  std::uint64_t greatest = 0;
  for (const auto& [key, offset] : info.tiles) greatest = std::max(greatest, offset);
  return greatest;
}

/// Goes from one tile that exists to the next one that may lie within, so that it takes no longer than the index is
/// long.
bool HasTileWithin(const tagTxiInfo& info, const Window& window) {
  const std::int64_t left = window.x0 / info.tileSize, right = window.x1 / info.tileSize;
  const std::int64_t top = window.y0 / info.tileSize, bottom = window.y1 / info.tileSize;
  for (std::int64_t key = info.numXTiles * top + left; key <= INT_MAX;) {
    const auto tile = info.tiles.lower_bound(static_cast<std::int32_t>(key));
    if (tile == info.tiles.end()) return false;
    const std::int64_t row = tile->first / info.numXTiles, column = tile->first % info.numXTiles;
    if (row > bottom) return false;
    if (left <= column && column <= right) return true;
    key = info.numXTiles * (column < left ? row : row + 1) + left;
  }
  return false;
}

std::int64_t CountTilesInGrid(const tagTxiInfo& info) {
  const std::int64_t numTiles = std::int64_t{info.numXTiles} * info.numYTiles;
  const auto begin = info.tiles.lower_bound(0);
  const auto end = numTiles > INT_MAX ? info.tiles.end() : info.tiles.lower_bound(static_cast<std::int32_t>(numTiles));
  return std::distance(begin, end);
}

}  // namespace zrk
