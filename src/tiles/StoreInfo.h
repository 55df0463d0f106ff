#pragma once

#include "tiles/StoreHeader.h"
#include "tiles/TileFile.h"

#include <optional>

namespace zrk {

/// A tile of the first level of that number, where file and info are there and have it.
template <class Info>
std::optional<TileBytes> FindTile(const TileFile* file, const Info* info, int level, int row, int col) {
  const auto* found = file && info ? info->GetLevelInfo(level) : nullptr;
  return found ? file->Find(found->GetRecord(), row, col) : std::nullopt;
}

/// Adds the levels of a header to an info, at the offsets that they have.
template <class Info>
void AddLevels(Info& info, const StoreHeader& header) {
  for (const tagXTileLevel& level : header.levels) info.AddRecord(level);
}

/// The same from the bytes of a header, as many as every header has. False for null, and where they are no header of
/// the kind.
template <class Info>
bool AddLevels(Info* info, const unsigned char* bytes, StoreKind kind) {
  if (!bytes || !info) return false;
  const std::optional<StoreHeader> header = ParseStoreHeader({bytes, kStoreHeaderBytes}, kind);
  if (!header) return false;
  AddLevels(*info, *header);
  return true;
}

}  // namespace zrk
