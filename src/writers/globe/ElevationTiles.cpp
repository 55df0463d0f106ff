// Tiles beside each other are read as one block of posts, which costs the sources one read, and are cut apart. Posts
// are counted over the whole level, so that those which tiles share are asked for by the same numbers. With normals the
// block has a rim of one post more on each side.
//
// Where a block can't be read the tiles are tried one by one, and then without the rim. In the compatible policy a tile
// that can't be read is zero. In the exact one it fails the export.

#include "writers/globe/ElevationTiles.h"

#include "base/DataTypeVisit.h"
#include "math/SampleCast.h"
#include "tagXArr2.h"
#include "writers/globe/PostNormals.h"
#include "writers/globe/TileShapes.h"
#include "XMessageBox.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "XTileGrid.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace zrk {

namespace {

/// How far a tile may stick out of the extent, in degrees: as far as places on its edge are moved inward.
constexpr double kTolerance = 1e-9;

bool HasExactBand(const ZRMCompManager& manager) {
  for (int i = 0; i < manager.GetNumberOfZRMComposite(); ++i) {
    const ZRMBand* const band = manager.GetZRMCompositeAt(i)->GetBand(0);
    if (band && band->IsExact()) return true;
  }
  return false;
}

/// Puts the samples of a block into rows of floats that are `stride` long.
void ConvertPosts(const tagXArr2& samples, int dataType, float* out, std::size_t stride) {
  VisitDataType(dataType, [&](auto zero) {
    using Sample = decltype(zero);
    for (int j = 0; j < samples.ySize; ++j, out += stride) {
      const auto* row = reinterpret_cast<const Sample*>(samples.Row(j));
      std::transform(row, row + samples.xSize, out,
                     [](Sample sample) { return ToSample<float>(static_cast<double>(sample)); });
    }
  });
}

/// Copies the part of a block that is a tile's.
template <class Element>
void CutOut(const Element* block, std::size_t stride, unsigned char* tile) {
  for (int j = 0; j < kPostSide; ++j, block += stride, tile += kPostSide * sizeof(Element)) {
    std::memcpy(tile, block, kPostSide * sizeof(Element));
  }
}

}  // namespace

class ElevationMaker : public TileMaker {
 public:
  ElevationMaker(const ElevationTiles& source, int level)
      : source_(source), tileSize_(XfnGetTileSize3D(level)), level_(level), normals_(level) {}

  bool Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) override;
  /// Takes the memory for the normals of the longest strip. False where there is none.
  bool ReserveNormals();

 private:
  int BytesOfTile() const { return source_.what_.withNormals ? 16 * kPostsOfTile : 4 * kPostsOfTile; }
  bool IsInside(const TileStrip& strip) const;
  bool MakeEach(const TileStrip& strip, unsigned char* out, XString& err);
  bool MakeAlone(const TileStrip& tile, unsigned char* out, XString& err);
  bool MakeTogether(const TileStrip& strip, int rim, unsigned char* out);
  bool ReadPosts(const TileStrip& strip, int rim);
  bool ReadBlock(const PostBlock& block, float* out, std::size_t stride);
  void MakeNormals(const TileStrip& strip);

  const ElevationTiles& source_;
  double tileSize_;
  int* cancel_ = nullptr;  // of the strip that is made
  LevelPosts level_;
  PostNormals normals_;
  tagXArr2 samples_;
  std::vector<float> posts_;
  std::vector<tagXVector3f> vectors_;
};

bool ElevationMaker::ReserveNormals() {
  try {
    vectors_.reserve(std::size_t{kPostSteps * TilePlan::kTilesOfUnit + 1} * kPostSide);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool ElevationMaker::IsInside(const TileStrip& strip) const {
  return source_.IsInside(tileSize_, strip.row, strip.col) &&
         source_.IsInside(tileSize_, strip.row, strip.col + strip.count - 1);
}

bool ElevationMaker::Make(const TileStrip& strip, unsigned char* out, int* cancel, XString& err) {
  cancel_ = cancel;
  std::memset(out, 0, static_cast<std::size_t>(strip.count) * static_cast<std::size_t>(BytesOfTile()));
  const int rim = source_.what_.withNormals ? 1 : 0;
  if (IsInside(strip) && MakeTogether(strip, rim, out)) return true;
  return MakeEach(strip, out, err);
}

bool ElevationMaker::MakeEach(const TileStrip& strip, unsigned char* out, XString& err) {
  for (int i = 0; i < strip.count; ++i, out += BytesOfTile()) {
    const TileStrip tile{strip.level, strip.row, strip.col + i, 1};
    if (IsInside(tile) && !MakeAlone(tile, out, err)) return false;
  }
  return true;
}

/// A tile whose rim can't be read still has its posts, and normals that are zero.
bool ElevationMaker::MakeAlone(const TileStrip& tile, unsigned char* out, XString& err) {
  const int rim = source_.what_.withNormals ? 1 : 0;
  if (MakeTogether(tile, rim, out)) return true;
  if (XfnIsStopRequested(cancel_)) return false;
  if (source_.isExact_) {
    if (!XfnGetLastReadError(err)) err = "A source of the elevations can't be read";
    return false;
  }
  if (rim > 0) MakeTogether(tile, 0, out);
  return !XfnIsStopRequested(cancel_);
}

/// Nothing is written where the posts can't be read.
bool ElevationMaker::MakeTogether(const TileStrip& strip, int rim, unsigned char* out) {
  if (!ReadPosts(strip, rim)) return false;
  if (rim > 0) MakeNormals(strip);
  const auto width = static_cast<std::size_t>(kPostSteps * strip.count + 1);
  const std::size_t stride = width + 2 * static_cast<std::size_t>(rim);
  for (int i = 0; i < strip.count; ++i, out += BytesOfTile()) {
    const auto column = static_cast<std::size_t>(kPostSteps * i);
    CutOut(posts_.data() + static_cast<std::size_t>(rim) * (stride + 1) + column, stride, out);
    if (rim > 0) CutOut(vectors_.data() + column, width, out + 4 * kPostsOfTile);
  }
  return true;
}

/// Columns are counted around the earth, so that posts on longitude 180 are those on -180.
bool ElevationMaker::ReadPosts(const TileStrip& strip, int rim) {
  const int width = kPostSteps * strip.count + 1 + 2 * rim, height = kPostSide + 2 * rim;
  posts_.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  const std::int64_t first = std::int64_t{strip.col} * kPostSteps - rim;
  const std::int64_t row = level_.numRows - (std::int64_t{strip.row} + 1) * kPostSteps - rim;
  for (int i = 0; i < width;) {
    const std::int64_t passed = (first + i) % level_.numColumns;
    const std::int64_t column = passed < 0 ? passed + level_.numColumns : passed;
    const int count = static_cast<int>(std::min<std::int64_t>(width - i, level_.numColumns - column));
    if (!ReadBlock({column, row, count, height}, posts_.data() + i, static_cast<std::size_t>(width))) return false;
    i += count;
  }
  return true;
}

bool ElevationMaker::ReadBlock(const PostBlock& block, float* out, std::size_t stride) {
  const PostGrid grid{-180.0, 90.0, level_.step, level_.step};
  if (!source_.heights_->Read(grid, block, samples_, cancel_)) return false;
  if (samples_.xSize != block.numColumns || samples_.ySize != block.numRows) return false;
  ConvertPosts(samples_, source_.heights_->GetDataType(), out, stride);
  return true;
}

void ElevationMaker::MakeNormals(const TileStrip& strip) {
  const int width = kPostSteps * strip.count + 1;
  vectors_.resize(static_cast<std::size_t>(width) * kPostSide);
  normals_.Make(std::int64_t{strip.col} * kPostSteps, level_.numRows - (std::int64_t{strip.row} + 1) * kPostSteps,
                width, kPostSide, posts_.data(), vectors_.data());
}

ElevationTiles::ElevationTiles(std::unique_ptr<HeightMosaic> heights, const tagXGlobeExport& what)
    : heights_(std::move(heights)), what_(what) {}

std::unique_ptr<ElevationTiles> ElevationTiles::Make(const ZRMCompManager& manager, const tagXGlobeExport& what) {
  std::unique_ptr<HeightMosaic> heights = HeightMosaic::Make(manager);
  if (!heights) return nullptr;
  std::unique_ptr<ElevationTiles> tiles(new ElevationTiles(std::move(heights), what));
  tiles->isExact_ = HasExactBand(manager);
  return tiles;
}

std::unique_ptr<TileMaker> ElevationTiles::NewMaker(int level, XString& err) {
  auto maker = std::make_unique<ElevationMaker>(*this, level);
  if (!what_.withNormals || maker->ReserveNormals()) return maker;
  TellNoNormals(err);
  return nullptr;
}

/// The operator is told and the caller is not, as existing callers have it. One worker tells it for all.
void ElevationTiles::TellNoNormals(XString& err) {
  constexpr const char* kNoMemory = "Fail to allocate PBE output norm memory";
  if (isExact_) {
    err = kNoMemory;
  } else if (!isTold_.exchange(true)) {
    XfnMessageBox(kNoMemory, "", kMessageOk);
  }
}

bool ElevationTiles::IsInside(double tileSize, int row, int col) const {
  const double west = col * tileSize - 180.0, south = row * tileSize - 90.0;
  return west >= what_.minLon - kTolerance && west + tileSize <= what_.maxLon + kTolerance &&
         south >= what_.minLat - kTolerance && south + tileSize <= what_.maxLat + kTolerance;
}

}  // namespace zrk
