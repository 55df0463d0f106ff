// The header of a tile store as an object: version, tile size, and a record for each level. Levels are appended in the
// order of their tiles in the file. Each new level begins where the tiles of the level before end, unless the caller
// names its offset.
//
// One template serves image stores and elevation stores. The functions at the end add levels with the fields that each
// kind has. `BuildHeader` makes the bytes of the file, and answers none if the levels do not fit into them.

#include "XTileFileInfo.h"

#include "base/Checked.h"
#include "base/Truncate.h"
#include "tiles/StoreFence.h"
#include "tiles/StoreHeader.h"
#include "tiles/TilePlace.h"
#include "tiles/TileSize.h"
#include "XPBEFileInfo.h"
#include "XPBIFileInfo.h"

#include <algorithm>
#include <utility>

namespace Vexorine::ZRL::IO {

namespace {

/// The bytes of the header that an info tells of; none where the levels do not fit.
template <class Level>
std::vector<unsigned char> BuildHeader(const XTileFileInfo<Level>& info, zrk::StoreKind kind) {
  zrk::StoreHeader header;
  header.version = info.GetVersion();
  header.tileSize = info.GetTileSize();
  header.fileSize = info.GetFileSize();
  header.headerSize = info.GetHeaderSize();
  for (const Level* level : info.GetLevelList()) header.levels.push_back(level->GetRecord());
  return zrk::BuildStoreHeader(header, kind);
}

/// The same in an array for a caller; null where the levels do not fit, and where there is no memory.
template <class Level>
unsigned char* BindInfoOf(const XTileFileInfo<Level>& info, zrk::StoreKind kind) {
  std::unique_ptr<unsigned char[]> array;
  zrk::FencedStore([&] {
    const std::vector<unsigned char> bytes = BuildHeader(info, kind);
    if (bytes.empty()) return false;
    array = std::make_unique_for_overwrite<unsigned char[]>(bytes.size());
    std::ranges::copy(bytes, array.get());
    return true;
  });
  return array.release();
}

}  // namespace

template <class Level>
XTileFileInfo<Level>::XTileFileInfo() : XTileFileInfo(0.0, 0.0, zrk::kStoreHeaderBytes) {}

template <class Level>
XTileFileInfo<Level>::XTileFileInfo(double version, double tileSize, int headerSize)
    : version_(version), tileSize_(tileSize), fileSize_(headerSize), headerSize_(headerSize), nextPos_(headerSize) {}

template <class Level>
XTileFileInfo<Level>::XTileFileInfo(const XTileFileInfo& other)
    : XTileFileInfo(other.version_, other.tileSize_, other.headerSize_) {
  for (const auto& level : other.owned_) {
    owned_.push_back(std::make_unique<Level>(*level));
    levels_.push_back(owned_.back().get());
  }
}

template <class Level>
XTileFileInfo<Level>& XTileFileInfo<Level>::operator=(const XTileFileInfo& other) {
  XTileFileInfo copy(other);
  version_ = copy.version_;
  tileSize_ = copy.tileSize_;
  fileSize_ = copy.fileSize_;
  headerSize_ = copy.headerSize_;
  nextPos_ = copy.nextPos_;
  owned_.swap(copy.owned_);
  levels_.swap(copy.levels_);
  return *this;
}

template <class Level>
XTileFileInfo<Level>::~XTileFileInfo() = default;

template <class Level>
Level* XTileFileInfo<Level>::GetLevelInfo(int level) const {
  for (const auto& each : owned_) {
    if (each->GetLevel() == level) return each.get();
  }
  return nullptr;
}

template <class Level>
Level* XTileFileInfo<Level>::GetLevelInfoAt(int index) const {
  return index >= 0 && index < GetNumberOfLevel() ? owned_[static_cast<std::size_t>(index)].get() : nullptr;
}

template <class Level>
int XTileFileInfo<Level>::GetTileStorageRequirement(int level) const {
  const Level* info = GetLevelInfo(level);
  return info ? info->GetTileStorageSize() : -1;
}

template <class Level>
bool XTileFileInfo<Level>::Append(tagXTileLevel level) {
  level.startPos = static_cast<std::uint64_t>(nextPos_);
  return AddRecord(level);
}

/// Both lists have room before either of them changes, so that they never differ.
template <class Level>
bool XTileFileInfo<Level>::AddRecord(tagXTileLevel level) {
  return zrk::FencedStore([&] {
    level.tileSize = zrk::HalveTileSize(tileSize_, level.level);
    auto added = std::make_unique<Level>(level);
    if (owned_.size() == owned_.capacity()) owned_.reserve(2 * owned_.size() + 1);
    levels_.push_back(added.get());
    owned_.push_back(std::move(added));
    nextPos_ = zrk::CheckedAdd(nextPos_, zrk::CountTileBytes(level)).value_or(INT64_MAX);
    fileSize_ = nextPos_;
    return true;
  });
}

/// The bit inverse of the truncated negative quotient is one less than the quotient, for every tile size that divides
/// the earth.
template <class Level>
void XTileFileInfo<Level>::CoverTheEarth(tagXTileLevel& level) const {
  const double tileSize = zrk::HalveTileSize(tileSize_, level.level);
  level.llRow = 0;
  level.llCol = 0;
  level.urRow = ~zrk::TruncateToInt(-180.0 / tileSize);
  level.urCol = ~zrk::TruncateToInt(-360.0 / tileSize);
}

template <class Level>
bool XTileFileInfo<Level>::HoldsTile(int level, int row, int col) const {
  return std::ranges::any_of(
      owned_, [=](const auto& each) { return each->GetLevel() == level && each->GetAvailable(row, col); });
}

template class XTileFileInfo<XPBELevelInfo>;
template class XTileFileInfo<XPBILevelInfo>;

bool XPBIFileInfo::AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                            _XDXTTYPE type, int storageSize) {
  return Append({level, llRow, llCol, urRow, urCol, 0.0, tileWidth, tileHeight, storageSize, type, 0});
}

bool XPBIFileInfo::AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                            _XDXTTYPE type, int storageSize, std::uint64_t offset) {
  return AddRecord({level, llRow, llCol, urRow, urCol, 0.0, tileWidth, tileHeight, storageSize, type, offset});
}

bool XPBIFileInfo::AddLevel(int level, int tileWidth, int tileHeight, _XDXTTYPE type, int storageSize) {
  tagXTileLevel record{level, 0, 0, 0, 0, 0.0, tileWidth, tileHeight, storageSize, type, 0};
  CoverTheEarth(record);
  return Append(record);
}

std::int64_t XPBIFileInfo::GetOffset(int level, int row, int col) const {
  const XPBILevelInfo* info = GetLevelInfo(level);
  return info ? zrk::OffsetOfTile(info->GetRecord(), row, col).value_or(-1) : 0;
}

bool XPBIFileInfo::IsAvailable(int level, int row, int col) const {
  return HoldsTile(level, row, col);
}

unsigned char* XPBIFileInfo::GetBindInfo() const {
  return BindInfoOf(*this, zrk::StoreKind::kImage);
}

bool XPBEFileInfo::AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                            int storageSize) {
  return Append({level, llRow, llCol, urRow, urCol, 0.0, tileWidth, tileHeight, storageSize, 0, 0});
}

bool XPBEFileInfo::AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                            int storageSize, std::uint64_t offset) {
  return AddRecord({level, llRow, llCol, urRow, urCol, 0.0, tileWidth, tileHeight, storageSize, 0, offset});
}

bool XPBEFileInfo::AddLevel(int level, int tileWidth, int tileHeight, int storageSize) {
  tagXTileLevel record{level, 0, 0, 0, 0, 0.0, tileWidth, tileHeight, storageSize, 0, 0};
  CoverTheEarth(record);
  return Append(record);
}

std::int64_t XPBEFileInfo::GetOffset(int level, int row, int col) const {
  const XPBELevelInfo* info = GetLevelInfo(level);
  return info ? info->GetOffset(row, col) : 0;
}

bool XPBEFileInfo::GetAvailable(int level, int row, int col) const {
  return HoldsTile(level, row, col);
}

unsigned char* XPBEFileInfo::GetBindInfo() const {
  return BindInfoOf(*this, zrk::StoreKind::kElevation);
}

}  // namespace Vexorine::ZRL::IO
