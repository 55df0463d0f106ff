#pragma once

#include "tiles/StoreHeader.h"
#include "XMMFile.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace zrk {

/// Where the bytes of a tile are. They lie within the file and behind the header.
struct TileBytes {
  std::int64_t offset = 0;
  std::int64_t count = 0;
};

/// The file of a tile store, whatever its tiles hold. Each tile is read and written by one positional call and without
/// a lock, so any number of threads may do so at once. If two threads write one tile at once, their bytes are mixed.
class TileFile {
 public:
  /// Whether a file may be opened in a mode: one that asks for writing with the bit 2 needs a file that may be written.
  static bool MayOpen(const XString& path, unsigned mode);
  /// Opens as `XMMFile` does, so that a missing file is made, and fails as empty. Returns null where that fails.
  static std::shared_ptr<TileFile> Open(const XString& path, unsigned mode);
  /// Makes a file of `fileBytes` zeros and writes the header. Returns null where that fails; no file is left then, but
  /// one that was there before stays where there is no room for the new one. Until the header is whole the file has no
  /// mark.
  static std::shared_ptr<TileFile> Create(const XString& path, std::span<const unsigned char> header,
                                          std::int64_t fileBytes);

  /// The header; empty where the file has none of the kind.
  std::optional<StoreHeader> ReadHeader(StoreKind kind) const;

  /// The place of a tile. Empty if the level's range does not hold the tile, or if its bytes would lie in the header or
  /// behind the end of the file. Empty also if it has no bytes, or more than the limits allowed when the file was
  /// opened (`tagXLimits::decodedTileBytes`).
  std::optional<TileBytes> Find(const tagXTileLevel& level, int row, int col) const;

  /// Copies `count` bytes from an offset in the file; what can't be read is zero. Answers how many were read, so that
  /// fewer mean an error or a file that was cut short meanwhile.
  std::int64_t Read(std::int64_t offset, std::int64_t count, void* out) const;
  std::int64_t Read(const TileBytes& tile, void* out) const { return Read(tile.offset, tile.count, out); }

  /// Writes bytes; false where the file is open for reading alone, and where not all could be written.
  bool Write(const TileBytes& tile, const void* bytes);

  std::int64_t GetFileBytes() const { return static_cast<std::int64_t>(file_.GetLength()); }
  bool IsWritable() const { return file_.IsWritable(); }

 private:
  Vexorine::ZRL::IO::XMMFile file_;
  std::int64_t maxTileBytes_ = 0;
};

/// A tile's bytes in an array of a caller's, what can't be read as zero. Returns null where there is no memory.
std::unique_ptr<unsigned char[]> ReadNewTile(const TileFile& file, const TileBytes& tile);

/// The same into a caller's buffer, whose array is replaced where it is too small. False where there is no memory; the
/// buffer then stays as it was.
template <class Buffer>
bool ReadIntoBuffer(const TileFile& file, const TileBytes& tile, Buffer& buffer) {
  if (buffer.capacity < tile.count || !buffer.data) {
    std::unique_ptr<unsigned char[]> grown = ReadNewTile(file, tile);
    if (!grown) return false;
    delete[] buffer.data;
    buffer.data = grown.release();
    buffer.capacity = static_cast<int>(tile.count);
  } else {
    file.Read(tile, buffer.data);
  }
  buffer.usedLength = static_cast<int>(tile.count);
  return true;
}

}  // namespace zrk
