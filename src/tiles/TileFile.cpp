#include "tiles/TileFile.h"

#include "base/Checked.h"
#include "base/Disk.h"
#include "tiles/TilePlace.h"
#include "XLimits.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace zrk {

namespace {

constexpr std::size_t kMarkBytes = 3;

/// The mark comes last, so that a file whose writer was stopped here is not taken for a store.
bool WriteHeader(Vexorine::ZRL::IO::XMMFile& file, std::span<const unsigned char> header) {
  return header.size() > kMarkBytes &&
         file.WriteAt(kMarkBytes, header.data() + kMarkBytes, header.size() - kMarkBytes) &&
         file.WriteAt(0, header.data(), kMarkBytes);
}

}  // namespace

bool TileFile::MayOpen(const XString& path, unsigned mode) {
  constexpr unsigned kWriteBit = 2;
  return (mode & kWriteBit) == 0 || CurrentDisk().IsWritable(path.AsStdString());
}

std::shared_ptr<TileFile> TileFile::Open(const XString& path, unsigned mode) {
  auto opened = std::make_shared<TileFile>();
  if (!opened->file_.Open(path, mode)) return nullptr;
  opened->maxTileBytes_ = XfnGetLimits().decodedTileBytes;
  return opened;
}

std::shared_ptr<TileFile> TileFile::Create(const XString& path, std::span<const unsigned char> header,
                                           std::int64_t fileBytes) {
  auto created = std::make_shared<TileFile>();
  if (fileBytes < 0 || !created->file_.Create(path, static_cast<std::uint64_t>(fileBytes))) return nullptr;
  created->maxTileBytes_ = XfnGetLimits().decodedTileBytes;
  if (WriteHeader(created->file_, header)) return created;
  created->file_.Close();
  CurrentDisk().Remove(path.AsStdString());
  return nullptr;
}

std::optional<StoreHeader> TileFile::ReadHeader(StoreKind kind) const {
  std::vector<unsigned char> bytes(kStoreHeaderBytes);
  bytes.resize(file_.ReadAt(0, bytes.data(), bytes.size()));
  return ParseStoreHeader(bytes, kind);
}

std::optional<TileBytes> TileFile::Find(const tagXTileLevel& level, int row, int col) const {
  const std::optional<std::int64_t> offset = OffsetOfTile(level, row, col);
  if (!offset || *offset < kStoreHeaderBytes || level.storageSize <= 0 || level.storageSize > maxTileBytes_) return {};
  if (!FitsWithin(*offset, level.storageSize, GetFileBytes())) return {};
  return TileBytes{*offset, level.storageSize};
}

std::int64_t TileFile::Read(std::int64_t offset, std::int64_t count, void* out) const {
  const auto wanted = static_cast<std::uint64_t>(count);
  const std::uint64_t got = file_.ReadAt(static_cast<std::uint64_t>(offset), out, wanted);
  if (got < wanted) std::memset(static_cast<unsigned char*>(out) + got, 0, wanted - got);
  return static_cast<std::int64_t>(got);
}

bool TileFile::Write(const TileBytes& tile, const void* bytes) {
  return file_.WriteAt(static_cast<std::uint64_t>(tile.offset), bytes, static_cast<std::uint64_t>(tile.count));
}

std::unique_ptr<unsigned char[]> ReadNewTile(const TileFile& file, const TileBytes& tile) {
  std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[static_cast<std::size_t>(tile.count)]);
  if (bytes) file.Read(tile, bytes.get());
  return bytes;
}

}  // namespace zrk
