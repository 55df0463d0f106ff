// An image store: its header as an info, its file as a file of tiles. A copy shares both by counting. Reads go past the
// object's state, so that threads do not meet in it.
//
// The file of tiles says whether a tile is there (`TileFile::Find`). Nothing here goes by `GetOffset` of the info,
// whose 0 for an unknown level and -1 for a tile outside the range both look like a place in the file.

#include "XPBIFile.h"

#include "base/Disk.h"
#include "base/Truncate.h"
#include "tiles/BlockCoder.h"
#include "tiles/StoreHeader.h"
#include "tiles/StoreInfo.h"
#include "tiles/TileFile.h"

#include <cmath>
#include <vector>

namespace Vexorine::ZRL::IO {

namespace {

/// Whether the data are blocks already, as a level of the type has them.
bool AreBlocks(_XDXTTYPE type, _XPIXELFORMAT format) {
  return type == kDxt1 ? format == kPixelDxt1 : format == kPixelDxt3 || format == kPixelDxt5;
}

/// The blocks of a whole tile, as many bytes as a tile has; none where it can't be packed.
std::vector<unsigned char> PackTile(const XPBILevelInfo& level, const unsigned char* data, _XPIXELFORMAT format) {
  const zrk::BlockShape shape{level.GetDXTType(), level.GetTileWidth(), level.GetTileHeight()};
  const std::size_t blockBytes = zrk::BlockBytes(shape);
  const auto tileBytes = static_cast<std::size_t>(level.GetTileStorageSize());
  if (blockBytes == 0 || blockBytes > tileBytes) return {};
  const std::size_t pixels = static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height);
  std::vector<unsigned char> blocks(tileBytes);
  const std::span<const unsigned char> source(data, pixels * static_cast<std::size_t>(zrk::PixelBytes(format)));
  if (!zrk::EncodeBlocks(source, format, shape, blocks)) return {};
  return blocks;
}

}  // namespace

XPBIFile::XPBIFile() = default;

XPBIFile::XPBIFile(double version, double tileSize)
    : info_(zrk::MakeInfo<XPBIFileInfo>(zrk::HeaderOfNewStore(tileSize), version)), isUsable_(info_ != nullptr) {
  constexpr unsigned kModeOfNewStore = 2;
  SetOpenMode(kModeOfNewStore);
}

XPBIFile::XPBIFile(const XPBIFile&) = default;
XPBIFile& XPBIFile::operator=(const XPBIFile&) = default;
XPBIFile::~XPBIFile() = default;

/// The disk is asked before the file is opened, because opening makes a file that is not there.
bool XPBIFile::OpenFile(XString path, unsigned mode) {
  Close();
  SetOpenMode(mode);
  return zrk::FencedStore([&] {
    name_ = path;
    if (!zrk::TileFile::MayOpen(path, mode)) return false;
    if (mode == 0 && !zrk::CurrentDisk().Exists(path.AsStdString())) return false;
    file_ = zrk::TileFile::Open(path, mode);
    isUsable_ = ReadFileInfo();
    if (const XPBILevelInfo* first = isUsable_ ? info_->GetLevelInfoAt(0) : nullptr) SetGridOf(first->GetRecord());
    return true;
  });
}

bool XPBIFile::ReadFileInfo() {
  const std::optional<zrk::StoreHeader> header = file_ ? file_->ReadHeader(zrk::StoreKind::kImage) : std::nullopt;
  if (header) info_ = zrk::MakeInfo<XPBIFileInfo>(*header, std::trunc(header->version));
  return info_ != nullptr;
}

/// The size is in whole degrees and not in pixels, unlike the steps.
void XPBIFile::SetGridOf(const tagXTileLevel& level) {
  const double size = level.tileSize;
  const double numColumns = static_cast<double>(level.urCol) - level.llCol + 1.0;
  const double numRows = static_cast<double>(level.urRow) - level.llRow + 1.0;
  SetVirtualTileGrid(level.llCol * size - 180.0, level.llRow * size - 90.0, size / level.tileWidth,
                     size / level.tileHeight, zrk::TruncateToInt(numColumns * size),
                     zrk::TruncateToInt(numRows * size));
}

bool XPBIFile::Close() {
  isUsable_ = false;
  file_.reset();
  info_.reset();
  return true;
}

bool XPBIFile::GetTileRange(int levelIndex, int& llCol, int& urCol, int& llRow, int& urRow) const {
  const XPBILevelInfo* level = info_ ? info_->GetLevelInfoAt(levelIndex) : nullptr;
  if (!level) return false;
  llCol = level->GetLLCol();
  urCol = level->GetURCol();
  llRow = level->GetLLRow();
  urRow = level->GetURRow();
  return true;
}

int XPBIFile::GetNumTiles(int levelIndex, int&, int&) const {
  const XPBILevelInfo* level = info_ ? info_->GetLevelInfoAt(levelIndex) : nullptr;
  return level ? level->GetNumTiles() : -1;
}

bool XPBIFile::Create(XString path) {
  file_.reset();
  return zrk::FencedStore([&] {
    name_ = path;
    file_ = zrk::CreateStore(path, info_.get());
    return file_ != nullptr;
  });
}

bool XPBIFile::AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight,
                        _XDXTTYPE type) {
  const int storage = GetStorageRequirements(tileWidth, tileHeight, type);
  return info_ && info_->AddLevel(level, llRow, llCol, urRow, urCol, tileWidth, tileHeight, type, storage);
}

bool XPBIFile::AddLevel(int level, int tileWidth, int tileHeight, _XDXTTYPE type) {
  return info_ &&
         info_->AddLevel(level, tileWidth, tileHeight, type, GetStorageRequirements(tileWidth, tileHeight, type));
}

/// The tile is found before it is packed, so that nothing is packed for a place that is not there.
bool XPBIFile::Update(int level, int row, int col, unsigned char* data, _XPIXELFORMAT format) {
  const XPBILevelInfo* info = data && info_ ? info_->GetLevelInfo(level) : nullptr;
  if (!info) return false;
  if (AreBlocks(info->GetDXTType(), format)) return UpdateDXT(level, row, col, data);
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!tile || !file_->IsWritable()) return false;
  return zrk::FencedStore([&] {
    const std::vector<unsigned char> blocks = PackTile(*info, data, format);
    return !blocks.empty() && file_->Write(*tile, blocks.data());
  });
}

bool XPBIFile::UpdateDXT(int level, int row, int col, unsigned char* data) {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  return tile && data && file_->Write(*tile, data);
}

bool XPBIFile::IsUsable() const {
  return isUsable_;
}

bool XPBIFile::GetDXTdata(int level, int row, int col, XPBIReadBuffer* buffer) const {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!buffer || !tile || !zrk::ReadIntoBuffer(*file_, *tile, *buffer)) return false;
  const XPBILevelInfo* info = info_->GetLevelInfo(level);
  buffer->dxtType = info->GetDXTType();
  buffer->tileWidth = info->GetTileWidth();
  buffer->tileHeight = info->GetTileHeight();
  return true;
}

unsigned char* XPBIFile::GetDXTdata(int level, int row, int col, int& size) const {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!tile) return nullptr;
  std::unique_ptr<unsigned char[]> bytes = zrk::ReadNewTile(*file_, *tile);
  if (bytes) size = static_cast<int>(tile->count);
  return bytes.release();
}

int XPBIFile::GetStorageRequirements(int width, int height, _XDXTTYPE type) {
  constexpr int kOneBlock = 8;
  if (type != kDxt1) return static_cast<int>(zrk::BlockBytesOfSquish({type, width, height}));
  return width < 4 && height < 4 ? kOneBlock : static_cast<int>(zrk::BlockBytes({type, width, height}));
}

bool XPBIFile::ParseHeaderInfo(const unsigned char* bytes, XPBIFileInfo* info) {
  return zrk::AddLevels(info, bytes, zrk::StoreKind::kImage);
}

}  // namespace Vexorine::ZRL::IO
