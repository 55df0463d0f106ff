#pragma once

#include "tiles/StoreFence.h"
#include "tiles/StoreHeader.h"
#include "tiles/TileFile.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace zrk {

/// A tile of the first level of that number, where file and info are there and have it.
template <class Info>
std::optional<TileBytes> FindTile(const TileFile* file, const Info* info, int level, int row, int col) {
  const auto* found = file && info ? info->GetLevelInfo(level) : nullptr;
  return found ? file->Find(found->GetRecord(), row, col) : std::nullopt;
}

/// Adds the levels of a header to an info, at the offsets that they have. False where there is no memory for them.
template <class Info>
bool AddLevels(Info& info, const StoreHeader& header) {
  return std::ranges::all_of(header.levels, [&](const tagXTileLevel& level) { return info.AddRecord(level); });
}

/// The same from the bytes of a header, as many as every header has. False also for null, and where they are no header
/// of the kind.
template <class Info>
bool AddLevels(Info* info, const unsigned char* bytes, StoreKind kind) {
  if (!bytes || !info) return false;
  return FencedStore([&] {
    const std::optional<StoreHeader> header = ParseStoreHeader({bytes, kStoreHeaderBytes}, kind);
    return header && AddLevels(*info, *header);
  });
}

/// What there is of a header before it has levels.
inline StoreHeader HeaderOfNewStore(double tileSize) {
  StoreHeader header;
  header.tileSize = tileSize;
  header.headerSize = kStoreHeaderBytes;
  return header;
}

/// Makes the file of an info. Returns null if `info` is null, if its levels do not fit into the header, and if the file
/// can't be made. No file is left then.
template <class Info>
std::shared_ptr<TileFile> CreateStore(const XString& path, const Info* info) {
  const std::unique_ptr<unsigned char[]> header(info ? info->GetBindInfo() : nullptr);
  if (!header) return nullptr;
  const auto headerBytes = static_cast<std::size_t>(info->GetHeaderSize());
  return TileFile::Create(path, {header.get(), headerBytes}, info->GetFileSize());
}

/// An info with the levels of a header. Returns null where there is no memory; nothing is thrown.
template <class Info>
std::shared_ptr<Info> MakeInfo(const StoreHeader& header, double version) {
  std::shared_ptr<Info> info;
  const bool isMade = FencedStore([&] {
    info = std::make_shared<Info>(version, header.tileSize, header.headerSize);
    return AddLevels(*info, header);
  });
  return isMade ? info : nullptr;
}

}  // namespace zrk
