// An elevation store: its header as an info, its file as a file of tiles. A copy shares both by counting. Reads go past
// the object's state, so that threads do not meet in it.
//
// The posts of a tile are the first quarter of its bytes where it has normals, which are the other three quarters.
// Bytes of a tile become floats as they are, since file and processor have the same order of bytes.

#include "XPBEFile.h"

#include "base/Checked.h"
#include "base/Truncate.h"
#include "tiles/ElevationBip.h"
#include "tiles/StoreHeader.h"
#include "tiles/StoreInfo.h"
#include "tiles/TileFile.h"
#include "XFile.h"
#include "XTileGrid.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <new>
#include <type_traits>
#include <vector>

namespace Vexorine::ZRL::IO {

namespace {

static_assert(std::endian::native == std::endian::little && sizeof(tagXVector3f) == 12);

constexpr double kFirstVersionOfFloats = 1.1;
constexpr double kFirstVersionWithNormals = 2.0;
constexpr float kValueOfNoLevels = std::bit_cast<float>(0x7F7FC99Eu);

zrk::TileBytes PostsOf(const zrk::TileBytes& tile) {
  return {tile.offset, tile.count / 4};
}

zrk::TileBytes NormalsOf(const zrk::TileBytes& tile) {
  return {tile.offset + tile.count / 4, tile.count - tile.count / 4};
}

/// An array for a caller that holds so many bytes, zero in what the last element has beyond them; null where there is
/// no memory.
template <class Element>
std::unique_ptr<Element[]> NewArray(std::int64_t numBytes) {
  const auto size = static_cast<std::int64_t>(sizeof(Element));
  return std::unique_ptr<Element[]>(new (std::nothrow)
                                        Element[static_cast<std::size_t>((numBytes + size - 1) / size)]());
}

/// The bytes of a tile as elements of an array.
template <class Element>
std::unique_ptr<Element[]> ReadAs(const zrk::TileFile& file, const zrk::TileBytes& tile) {
  std::unique_ptr<Element[]> elements = NewArray<Element>(tile.count);
  if (elements) file.Read(tile, elements.get());
  return elements;
}

/// 16-bit posts as floats.
std::unique_ptr<float[]> Widen(const std::int16_t* posts, std::int64_t count) {
  std::unique_ptr<float[]> wide = NewArray<float>(count * static_cast<std::int64_t>(sizeof(float)));
  for (std::int64_t i = 0; wide && i < count; ++i) wide[static_cast<std::size_t>(i)] = posts[i];
  return wide;
}

/// One number of the file; 0 where it can't be read.
template <class Number>
Number ReadNumber(const zrk::TileFile& file, std::int64_t offset) {
  Number number = 0;
  file.Read(offset, sizeof number, &number);
  return number;
}

/// The column or row of a post, by its distance from the edge of its tile.
std::int64_t PostAt(double distance, double tileSize) {
  constexpr double kPosts = 31.0;
  return zrk::TruncateToInt(distance / tileSize * kPosts);
}

/// The bytes of a tile of floats, none where a size is below 1; empty where no int holds them.
std::optional<int> StorageOf(int width, int height, bool hasNormals) {
  const auto posts = zrk::CheckedMultiply(std::max(width, 0), std::max(height, 0));
  const auto bytes = posts ? zrk::CheckedMultiply(*posts, hasNormals ? 16 : 4) : std::nullopt;
  return bytes && *bytes <= INT_MAX ? std::optional(static_cast<int>(*bytes)) : std::nullopt;
}

bool WriteText(const XString& path, const XString& text) {
  XFile file;
  return file.Open(path, XFile::kReadWrite | XFile::kCreate) && file.Write(text.GetText(), text.GetLength());
}

}  // namespace

XPBEFile::XPBEFile(double version, double tileSize)
    : info_(zrk::MakeInfo<XPBEFileInfo>(zrk::HeaderOfNewStore(tileSize), version)),
      isUsable_(info_ != nullptr),
      hasNormals_(version >= kFirstVersionWithNormals) {}

XPBEFile::XPBEFile(XString path, unsigned mode) {
  zrk::FencedStore([&] {
    name_ = path;
    if (!zrk::TileFile::MayOpen(path, mode)) return false;
    isUsable_ = true;
    file_ = zrk::TileFile::Open(path, mode);
    info_ = ReadFileInfo();
    return true;
  });
}

XPBEFile::XPBEFile(const XPBEFile&) = default;
XPBEFile& XPBEFile::operator=(const XPBEFile&) = default;
XPBEFile::~XPBEFile() = default;

std::shared_ptr<XPBEFileInfo> XPBEFile::ReadFileInfo() {
  const std::optional<zrk::StoreHeader> header = file_ ? file_->ReadHeader(zrk::StoreKind::kElevation) : std::nullopt;
  if (!header) return nullptr;
  hasNormals_ = header->version >= kFirstVersionWithNormals;
  return zrk::MakeInfo<XPBEFileInfo>(*header, header->version);
}

bool XPBEFile::AddLevel(int level, int tileWidth, int tileHeight) {
  const std::optional<int> storage = StorageOf(tileWidth, tileHeight, hasNormals_);
  return info_ && storage && info_->AddLevel(level, tileWidth, tileHeight, *storage);
}

bool XPBEFile::AddLevel(int level, int llRow, int llCol, int urRow, int urCol, int tileWidth, int tileHeight) {
  const std::optional<int> storage = StorageOf(tileWidth, tileHeight, hasNormals_);
  return info_ && storage && info_->AddLevel(level, llRow, llCol, urRow, urCol, tileWidth, tileHeight, *storage);
}

bool XPBEFile::Create(XString path) {
  file_.reset();
  isUsable_ = zrk::FencedStore([&] {
    name_ = path;
    file_ = zrk::CreateStore(path, info_.get());
    return file_ != nullptr;
  });
  return true;
}

bool XPBEFile::Close() {
  isUsable_ = false;
  file_.reset();
  return true;
}

bool XPBEFile::HasShortPosts() const {
  return info_ && info_->GetVersion() < kFirstVersionOfFloats;
}

float* XPBEFile::GetElevationData(int level, int row, int col, int& size) const {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!tile) return nullptr;
  const bool isShort = HasShortPosts();
  const std::int64_t numPosts = tile->count / 2;
  if (isShort && numPosts > INT_MAX / 4) return nullptr;
  std::unique_ptr<float[]> floats;
  if (isShort) {
    const std::unique_ptr<std::int16_t[]> posts = ReadAs<std::int16_t>(*file_, *tile);
    if (posts) floats = Widen(posts.get(), numPosts);
  } else {
    floats = ReadAs<float>(*file_, *tile);
  }
  if (floats) size = static_cast<int>(isShort ? 4 * numPosts : tile->count);
  return floats.release();
}

bool XPBEFile::GetElevationData(int level, int row, int col, XPBEReadBuffer* buffer) const {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!buffer || !tile || !zrk::ReadIntoBuffer(*file_, *tile, *buffer)) return false;
  const XPBELevelInfo* info = info_->GetLevelInfo(level);
  buffer->tileWidth = info->GetTileWidth();
  buffer->tileHeight = info->GetTileHeight();
  return true;
}

tagXVector3f* XPBEFile::GetNormData(int level, int row, int col, int& size) const {
  if (!hasNormals_) return nullptr;
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!tile) return nullptr;
  const zrk::TileBytes normals = NormalsOf(*tile);
  std::unique_ptr<tagXVector3f[]> vectors = ReadAs<tagXVector3f>(*file_, normals);
  if (vectors) size = static_cast<int>(normals.count);
  return vectors.release();
}

/// Posts are counted in parts of 31, as many as a tile has on a side, and not of the 30 steps between them; a row is
/// taken to have 31, whatever the header says. So a post beyond a smaller tile is one of the tiles behind it.
float XPBEFile::GetValue(int level, double lon, double lat) const {
  const double tileSize = XfnGetTileSize3D(level);
  int row = 0, col = 0;
  XfnGetRowColFromGeo(level, lon, lat, row, col);
  if (!file_ || !info_ || !info_->GetAvailable(level, row, col)) return 0.0f;
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  if (!tile) return 0.0f;
  const std::int64_t y = PostAt(lat - (row * tileSize - 90.0), tileSize);
  const std::int64_t x = PostAt(lon - (col * tileSize - 180.0), tileSize);
  const std::int64_t index = y * 31 + x;
  if (index < 0) return 0.0f;
  if (!HasShortPosts()) return ReadNumber<float>(*file_, tile->offset + 4 * index);
  return static_cast<float>(std::max<std::int16_t>(ReadNumber<std::int16_t>(*file_, tile->offset + 2 * index), 0));
}

/// The levels are asked from the last on. Each that is higher than all before gives the answer, whether it has the
/// place or not.
float XPBEFile::GetValue(double lon, double lat) const {
  float value = kValueOfNoLevels;
  int highest = -1;
  for (int i = info_ ? info_->GetNumberOfLevel() - 1 : -1; i >= 0; --i) {
    const int level = info_->GetLevelInfoAt(i)->GetLevel();
    if (level <= highest) continue;
    highest = level;
    value = GetValue(level, lon, lat);
  }
  return value;
}

bool XPBEFile::Update(int level, int row, int col, float* data) {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  return tile && data && file_->Write(*tile, data);
}

bool XPBEFile::UpdatePosts(int level, int row, int col, const float* data) {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  return tile && data && file_->Write(hasNormals_ ? PostsOf(*tile) : *tile, data);
}

bool XPBEFile::UpdateNorm(int level, int row, int col, tagXVector3f* data) {
  const std::optional<zrk::TileBytes> tile = zrk::FindTile(file_.get(), info_.get(), level, row, col);
  return hasNormals_ && tile && data && file_->Write(NormalsOf(*tile), data);
}

/// All is checked before a file is made: a damaged header could ask for a raster far larger than the store.
bool XPBEFile::SerilizeToBIP(int level, XString dataPath, XString headerPath) const {
  const XPBELevelInfo* info = info_ ? info_->GetLevelInfo(level) : nullptr;
  if (!info || !file_) return false;
  const tagXTileLevel& record = info->GetRecord();
  const int bytesOfPost = HasShortPosts() ? 2 : 4;
  if (record.storageSize < zrk::kBipFloatsOfTile * bytesOfPost) return false;
  if (!file_->Find(record, record.llRow, record.llCol) || !file_->Find(record, record.urRow, record.urCol))
    return false;
  const auto firstFloats = [&](int row, int col, std::span<float> floats) {
    int size = 0;
    const std::unique_ptr<float[]> tile(GetElevationData(level, row, col, size));
    if (tile) std::copy_n(tile.get(), floats.size(), floats.begin());
    return tile != nullptr;
  };
  return zrk::FencedStore(
      [&] { return WriteText(headerPath, zrk::DescribeBip(record)) && zrk::WriteBip(dataPath, record, firstFloats); });
}

bool XPBEFile::ParseHeaderInfo(const unsigned char* bytes, XPBEFileInfo* info) {
  return zrk::AddLevels(info, bytes, zrk::StoreKind::kElevation);
}

}  // namespace Vexorine::ZRL::IO
