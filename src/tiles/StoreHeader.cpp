// The header of a tile store, between bytes and a record. Image and elevation stores have the same fields and the same
// level records, but for the block type, which an elevation store does not have:
//
//   0 mark, 3 version, 11 number of records, 15 tile size of level 0, 23 file size, 31 header size, 35 records
//
// Reader and writer stand one above the other, so that the order of fields can be compared.

#include "tiles/StoreHeader.h"

#include "base/Cursor.h"
#include "base/LittleEndian.h"
#include "tiles/TileSize.h"
#include "XLimits.h"

#include <algorithm>
#include <bit>

namespace zrk {

namespace {

constexpr std::size_t kFixedBytes = 35;

std::size_t RecordBytes(StoreKind kind) {
  return kind == StoreKind::kImage ? 52 : 48;
}

/// The second letter: B of a base store, which is the one that is written, or E.
bool IsMark(std::string_view mark, StoreKind kind) {
  return kind == StoreKind::kImage ? mark == "PBI" || mark == "PEI" : mark == "PBE" || mark == "PEE";
}

tagXTileLevel TakeLevel(Cursor& cursor, StoreKind kind, double tileSize) {
  tagXTileLevel level;
  level.level = cursor.I32LE();
  level.llRow = cursor.I32LE();
  level.llCol = cursor.I32LE();
  level.urRow = cursor.I32LE();
  level.urCol = cursor.I32LE();
  cursor.Skip(sizeof(double));
  level.tileSize = HalveTileSize(tileSize, level.level);
  level.tileWidth = cursor.I32LE();
  level.tileHeight = cursor.I32LE();
  level.storageSize = cursor.I32LE();
  if (kind == StoreKind::kImage) level.blockType = cursor.I32LE();
  level.startPos = cursor.U64LE();
  return level;
}

/// Puts fields one behind the other into bytes that have room for them.
class FieldWriter {
 public:
  explicit FieldWriter(std::vector<unsigned char>& bytes) : at_(bytes.begin()) {}
  void Put(std::string_view text) { at_ = std::copy(text.begin(), text.end(), at_); }
  void Put(double number) { Put(std::bit_cast<std::uint64_t>(number)); }
  template <std::integral Number>
  void Put(Number number) {
    at_ = std::ranges::copy(LittleEndian(number), at_).out;
  }

 private:
  std::vector<unsigned char>::iterator at_;
};

void PutLevel(FieldWriter& writer, const tagXTileLevel& level, StoreKind kind) {
  writer.Put(level.level);
  writer.Put(level.llRow);
  writer.Put(level.llCol);
  writer.Put(level.urRow);
  writer.Put(level.urCol);
  writer.Put(level.tileSize);
  writer.Put(level.tileWidth);
  writer.Put(level.tileHeight);
  writer.Put(level.storageSize);
  if (kind == StoreKind::kImage) writer.Put(level.blockType);
  writer.Put(level.startPos);
}

}  // namespace

std::size_t CountLevelRecords(StoreKind kind, std::size_t headerBytes) {
  return headerBytes < kFixedBytes ? 0 : (headerBytes - kFixedBytes) / RecordBytes(kind);
}

std::optional<StoreHeader> ParseStoreHeader(std::span<const unsigned char> bytes, StoreKind kind) {
  Cursor cursor(bytes.first(std::min<std::size_t>(bytes.size(), kStoreHeaderBytes)));
  StoreHeader header;
  if (!IsMark(cursor.Text(3), kind)) return std::nullopt;
  header.version = cursor.F64LE();
  header.numStated = cursor.I32LE();
  header.tileSize = cursor.F64LE();
  header.fileSize = cursor.I64LE();
  header.headerSize = cursor.I32LE();
  if (cursor.HasFailed()) return std::nullopt;
  const std::size_t room = cursor.Remaining() / RecordBytes(kind);
  header.levels.resize(std::min(static_cast<std::size_t>(std::max(header.numStated, 0)), room));
  for (tagXTileLevel& level : header.levels) level = TakeLevel(cursor, kind, header.tileSize);
  return header;
}

std::vector<unsigned char> BuildStoreHeader(const StoreHeader& header, StoreKind kind) {
  const auto size = static_cast<std::size_t>(std::max(header.headerSize, 0));
  if (size < kFixedBytes || header.headerSize > XfnGetLimits().tableBytes) return {};
  if (header.levels.size() > CountLevelRecords(kind, size)) return {};
  std::vector<unsigned char> bytes(size);
  FieldWriter writer(bytes);
  writer.Put(std::string_view(kind == StoreKind::kImage ? "PBI" : "PBE"));
  writer.Put(header.version);
  writer.Put(static_cast<std::int32_t>(header.levels.size()));
  writer.Put(header.tileSize);
  writer.Put(header.fileSize);
  writer.Put(header.headerSize);
  for (const tagXTileLevel& level : header.levels) PutLevel(writer, level, kind);
  return bytes;
}

}  // namespace zrk
