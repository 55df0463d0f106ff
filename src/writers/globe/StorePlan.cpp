// Which tiles an export has at each level. Pictures and heights follow different rules, because existing readers expect
// them.
//
// Pictures take the tiles of the coarsest level that the extent touches, at every level. The lower left corner is that
// of the first of these tiles. The upper right corner is that of the last tile, less a pixel. Both corners of the
// extent count as lying in the tile east and north of them. At a level nine above the coarsest one the last tiles are
// smaller than that pixel and are left out.
//
// Heights take at each level the tiles that the extent touches there. An upper right corner on an edge counts as lying
// in the tile west or south of it.

#include "writers/globe/StorePlan.h"

#include "tiles/StoreHeader.h"
#include "writers/globe/TileShapes.h"
#include "XPBEFile.h"
#include "XPBIFile.h"
#include "XTileGrid.h"

#include <memory>
#include <utility>

namespace zrk {

namespace {

constexpr double kLevel0TileSize = 18.0;
constexpr double kFirstVersion = 1.0;  // of pictures
constexpr double kVersionOfHeights = 1.2;
constexpr double kVersionWithNormals = 2.0;

struct TileRange {
  int llRow = 0;
  int llCol = 0;
  int urRow = 0;
  int urCol = 0;
};

/// The corners that all levels of pictures have.
void SnapToTiles(tagXGlobeExport& what) {
  const double tileSize = XfnGetTileSize3D(what.minLevel);
  const double inward = tileSize - tileSize * kPictureStep;
  int row = 0, col = 0;
  XfnGetRowColFromGeo(what.minLevel, what.minLon, what.minLat, row, col);
  what.minLon = col * tileSize - 180.0;
  what.minLat = row * tileSize - 90.0;
  XfnGetRowColFromGeo(what.minLevel, what.maxLon, what.maxLat, row, col);
  what.maxLon = col * tileSize - 180.0 + inward;
  what.maxLat = row * tileSize - 90.0 + inward;
}

TileRange FindRange(const tagXGlobeExport& what, int level) {
  TileRange range;
  XfnGetRowColFromGeo(level, what.minLon, what.minLat, range.llRow, range.llCol);
  if (what.isElevation) {
    XfnGetRowColFromGeo(XfnGetTileSize3D(level), what.maxLon, what.maxLat, range.urRow, range.urCol);
  } else {
    XfnGetRowColFromGeo(level, what.maxLon, what.maxLat, range.urRow, range.urCol);
  }
  return range;
}

/// Levels that no header has room for need not be listed: the file can't be made with them.
int CountListed(const tagXGlobeExport& what) {
  const StoreKind kind = what.isElevation ? StoreKind::kElevation : StoreKind::kImage;
  const auto most = static_cast<std::int64_t>(CountLevelRecords(kind, kStoreHeaderBytes)) + 1;
  return static_cast<int>(std::min(std::int64_t{what.maxLevel} - what.minLevel + 1, most));
}

/// Takes what the finished info of a store tells.
template <class Info>
void Take(const Info& info, StorePlan& plan) {
  for (int i = 0; i < info.GetNumberOfLevel(); ++i) plan.levels.push_back(info.GetLevelInfoAt(i)->GetRecord());
  const std::unique_ptr<unsigned char[]> header(info.GetBindInfo());
  if (header) plan.head.header.assign(header.get(), header.get() + info.GetHeaderSize());
  plan.head.fileBytes = info.GetFileSize();
}

StorePlan PlanPictures(tagXGlobeExport what) {
  SnapToTiles(what);
  XPBIFile store(kFirstVersion, kLevel0TileSize);
  for (int i = 0; i < CountListed(what); ++i) {
    const int level = what.minLevel + i;
    const TileRange range = FindRange(what, level);
    store.AddLevel(level, range.llRow, range.llCol, range.urRow, range.urCol, kPictureSide, kPictureSide, kDxt1);
  }
  StorePlan plan;
  Take(*store.GetFileInfo(), plan);
  plan.tiles = TilePlan({plan.levels.rbegin(), plan.levels.rend()});
  return plan;
}

StorePlan PlanHeights(const tagXGlobeExport& what) {
  XPBEFile store(what.withNormals ? kVersionWithNormals : kVersionOfHeights, kLevel0TileSize);
  for (int i = 0; i < CountListed(what); ++i) {
    const int level = what.minLevel + i;
    const TileRange range = FindRange(what, level);
    store.AddLevel(level, range.llRow, range.llCol, range.urRow, range.urCol, kPostSide, kPostSide);
  }
  StorePlan plan;
  Take(*store.GetFileInfo(), plan);
  plan.tiles = TilePlan(plan.levels);
  return plan;
}

}  // namespace

/// Callers know two sentences for heights. One is that of levels that no header has room for.
const char* StorePlan::WhyNotMade() const {
  if (!isElevation) return "Fail to crate PBI file";
  return head.header.empty() ? "Invalid PBE File Information" : "Fail to crate PBE file";
}

StorePlan MakeStorePlan(const tagXGlobeExport& what) {
  StorePlan plan = what.isElevation ? PlanHeights(what) : PlanPictures(what);
  plan.isElevation = what.isElevation;
  return plan;
}

}  // namespace zrk
