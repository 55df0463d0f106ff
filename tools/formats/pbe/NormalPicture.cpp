// The picture is made a row of tiles at a time. Normals are directions in space, whose axes are those of the globe:
// the third one leads to the north pole, and the first one to the place at 0 degrees east on the equator. At each post
// they are turned into what the ground rises by to the east and to the north, which is what light falls on.

#include "formats/pbe/NormalPicture.h"

#include "picture/Hillshade.h"
#include "XFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>

namespace {

constexpr double kFirstVersionOfNormals = 2.0;

/// An object that is opened by the name of a missing file would make the file.
bool IsThere(const std::string& path) {
  XFile file;
  return file.Open(path, XFile::kRead | XFile::kShareDenyNone);
}

}  // namespace

int NormalPicture::Axis::TileOf(int shown) const {
  return std::min(static_cast<int>(std::int64_t{shown} * step / stepsOfTile), numTiles - 1);
}

/// Counted from the first post of its tile.
int NormalPicture::Axis::PostOf(int shown) const {
  return static_cast<int>(std::int64_t{shown} * step - std::int64_t{TileOf(shown)} * stepsOfTile);
}

/// Behind the last post that is shown of the same tile.
int NormalPicture::Axis::EndOfTile(int shown) const {
  int end = shown + 1;
  while (end < numShown && TileOf(end) == TileOf(shown)) ++end;
  return end;
}

/// Nothing where a range has no tiles, or tiles have no two posts.
std::optional<NormalPicture::Axis> NormalPicture::FindAxis(int first, int last, int numPosts, int maxSize) {
  const std::int64_t numTiles = std::int64_t{last} - first + 1;
  if (numTiles <= 0 || numTiles > INT32_MAX || numPosts < 2) return std::nullopt;
  const std::int64_t posts = numTiles * (numPosts - 1) + 1, step = (posts + maxSize - 1) / maxSize;
  if (step > INT32_MAX) return std::nullopt;
  return Axis{static_cast<int>(numTiles), numPosts - 1, static_cast<int>(step),
              static_cast<int>((posts - 1) / step + 1)};
}

/// Fewer posts are left out of a coarser level, and among levels that are shown whole the finest one has most.
bool NormalPicture::ChooseLevel(int maxSize) {
  const XPBEFileInfo& info = *store_->GetFileInfo();
  for (int i = 0; i < info.GetNumberOfLevel(); ++i) {
    const tagXTileLevel& level = info.GetLevelInfoAt(i)->GetRecord();
    std::optional<Axis> columns = FindAxis(level.llCol, level.urCol, level.tileWidth, maxSize);
    std::optional<Axis> rows = FindAxis(level.llRow, level.urRow, level.tileHeight, maxSize);
    if (!columns || !rows) continue;
    const int step = std::max(columns->step, rows->step);
    for (Axis* const axis : {&*columns, &*rows}) {
      axis->numShown = static_cast<int>(std::int64_t{axis->numTiles} * axis->stepsOfTile / step + 1);
      axis->step = step;
    }
    const bool isFirst = columns_.numTiles == 0, isFiner = level.level > level_.level;
    if (!isFirst && (step > columns_.step || (step == columns_.step && !isFiner))) continue;
    level_ = level;
    columns_ = *columns;
    rows_ = *rows;
  }
  return columns_.numTiles > 0;
}

bool NormalPicture::Open(const std::string& path, int maxSize, std::string& err) {
  if (!IsThere(path)) {
    err = "the file can't be opened";
    return false;
  }
  store_.emplace(path, 0);
  const XPBEFileInfo* const info = store_->GetFileInfo();
  if (!info) {
    err = "only elevation stores (.pbe) keep normals";
  } else if (info->GetVersion() < kFirstVersionOfNormals) {
    err = "the store keeps no normals";
  } else if (!ChooseLevel(maxSize)) {
    err = "the store has no level with tiles";
  }
  shape_.width = columns_.numShown;
  shape_.height = rows_.numShown;
  return err.empty();
}

/// Of an angle so many degrees of tiles from where an axis begins.
NormalPicture::Direction NormalPicture::DirectionAt(const Axis& axis, int shown, double from, double degrees) const {
  const double tiles = static_cast<double>(std::int64_t{shown} * axis.step) / axis.stepsOfTile;
  const double angle = (from + tiles * degrees) * std::numbers::pi / 180.0;
  return {std::sin(angle), std::cos(angle)};
}

/// Lights what is shown of the tile that begins with pixel (x, y). `rows` has the pixels from row y on.
void NormalPicture::LightTile(int x, int y, double zFactor, std::vector<unsigned char>& rows) const {
  const int row = level_.urRow - rows_.TileOf(y), col = level_.llCol + columns_.TileOf(x);
  const std::int64_t numPosts = (std::int64_t{columns_.stepsOfTile} + 1) * (std::int64_t{rows_.stepsOfTile} + 1);
  int size = 0;
  const std::unique_ptr<tagXVector3f[]> normals(store_->GetNormData(level_.level, row, col, size));
  if (!normals || size < numPosts * static_cast<std::int64_t>(sizeof(tagXVector3f))) return;
  const double west = level_.llCol * level_.tileSize - 180.0;
  const double north = (std::int64_t{level_.urRow} + 1) * level_.tileSize - 90.0;
  for (int j = y; j < rows_.EndOfTile(y); ++j) {
    const Direction lat = DirectionAt(rows_, j, north, -level_.tileSize);
    const tagXVector3f* const from = normals.get() + std::int64_t{rows_.PostOf(j)} * (columns_.stepsOfTile + 1);
    unsigned char* const to = rows.data() + static_cast<std::size_t>(j - y) * static_cast<std::size_t>(shape_.width);
    for (int i = x; i < columns_.EndOfTile(x); ++i) {
      const Direction lon = DirectionAt(columns_, i, west, level_.tileSize);
      const tagXVector3f& normal = from[columns_.PostOf(i)];
      const double outward = lon.cosine * normal.x + lon.sine * normal.y;  // from the axis of the globe
      const double up = lat.cosine * outward + lat.sine * normal.z;
      const double east = lon.cosine * normal.y - lon.sine * normal.x;
      const double northward = lat.cosine * normal.z - lat.sine * outward;
      if (up > 0.0) to[i] = ShadeSlope(-zFactor * east / up, -zFactor * northward / up);
    }
  }
}

bool NormalPicture::Write(double zFactor, PngWriter& png, XThread& thread, std::string& err) const {
  if (!png.Begin(shape_, err)) return false;
  const auto width = static_cast<std::size_t>(shape_.width);
  std::vector<unsigned char> rows;
  for (int y = 0; y < shape_.height;) {
    const int end = rows_.EndOfTile(y);
    rows.assign(static_cast<std::size_t>(end - y) * width, 0);
    for (int x = 0; x < shape_.width; x = columns_.EndOfTile(x)) {
      if (XfnIsStopRequested(thread.GetStatePtr())) return false;
      LightTile(x, y, zFactor, rows);
    }
    for (; y < end; ++y, rows.erase(rows.begin(), rows.begin() + shape_.width)) {
      if (!png.WriteRow(rows.data(), err)) return false;
    }
    thread.CallbackPercent(100.0 * end / shape_.height);
  }
  return png.End(err);
}
