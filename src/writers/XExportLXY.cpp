// Exports of LXY trees, pictures and heights. The levels are walked from the root down. Of each level only the cells
// that overlap the data are visited, so that a small map in large bounds costs nothing but the folders of its levels.
// Workers share the cells of a level. The two kinds of trees differ only in what they write into a cell.

#include "XExportLXY.h"

#include "base/DataTypeVisit.h"
#include "base/Disk.h"
#include "base/Fence.h"
#include "codec/JpegEncoder.h"
#include "display/Affine.h"
#include "display/HeightMosaic.h"
#include "math/SampleCast.h"
#include "tagXArr2.h"
#include "writers/MapExport.h"
#include "XFile.h"
#include "XImageHelper.h"
#include "XPath.h"
#include "XQTI.h"
#include "XReadPolicy.h"
#include "XThread.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <memory>
#include <pugixml.hpp>
#include <sstream>
#include <vector>

namespace {

/// The packed name of a cell has room for no more.
constexpr int kMaxTreeLevel = 27;

/// The arguments of an export.
struct TreeRequest {
  XString path;
  ZRMCompManager* manager;
  int maxLevel;
  int tileSize;
  zrk::Extent bounds;
  XThread* thread;

  bool HasBounds() const {
    const double width = bounds.maxX - bounds.minX, height = bounds.maxY - bounds.minY;
    return width > 0.0 && height > 0.0 && std::isfinite(width) && std::isfinite(height);
  }
};

/// The cells of a level that some range covers, inclusive.
struct CellRange {
  std::int64_t firstColumn = 0;
  std::int64_t lastColumn = -1;
  std::int64_t firstRow = 0;
  std::int64_t lastRow = -1;

  std::int64_t Columns() const { return lastColumn - firstColumn + 1; }
  std::int64_t Count() const { return HasCells() ? Columns() * (lastRow - firstRow + 1) : 0; }
  bool HasCells() const { return firstColumn <= lastColumn && firstRow <= lastRow; }
};

/// Which of `count` cells between two ends overlap a range. One that only meets the range at an edge does not.
void FindCells(double low, double high, std::int64_t count, double first, double last, std::int64_t& firstCell,
               std::int64_t& lastCell) {
  const double cell = (high - low) / static_cast<double>(count);
  const auto limit = static_cast<double>(count);
  firstCell = static_cast<std::int64_t>(std::clamp(std::floor((first - low) / cell), 0.0, limit));
  lastCell = static_cast<std::int64_t>(std::clamp(std::ceil((last - low) / cell), 0.0, limit)) - 1;
}

struct Cell {
  int level;
  int column;
  int row;
  XString path;  ///< without the extension
};

/// One export, whose kind the derived classes tell.
class Tree {
 public:
  Tree(const TreeRequest& request, XString& err) : request_(request), err_(err) {}
  virtual ~Tree() = default;
  int Run();

 protected:
  /// Makes a cell for one worker. False where the cell has no file, with a sentence where one is known.
  using CellMaker = std::function<bool(const Cell& cell, XString& why)>;

  virtual bool Prepare() = 0;
  /// Empty where there is no memory for another worker.
  virtual CellMaker NewMaker(int worker) = 0;
  virtual const char* GetKind() const = 0;

  bool Fail(const char* sentence) {
    err_ = sentence;
    return false;
  }

  const TreeRequest& request_;
  XString& err_;

 private:
  bool Check();
  CellRange CellsOf(int level) const;
  bool WriteLevel(int level, zrk::MapTiles& tiles);
  bool WriteCell(const CellMaker& make, const Cell& cell, XString& why) const;
  bool WriteIndex();

  zrk::Extent range_;  // of the data
};

bool Tree::Check() {
  if (request_.maxLevel < 0 || request_.maxLevel > kMaxTreeLevel) return Fail(zrk::kNoLevel);
  if (!zrk::ShowsMap(*request_.manager, err_)) return false;
  return request_.tileSize >= 1 || Fail(zrk::kNoImageSize);
}

/// The index comes last: a tree without one is not whole.
int Tree::Run() {
  err_.Empty();
  if (!Check() || !Prepare()) return 0;
  range_.isSet = request_.manager->CalcTotalRange(range_.minX, range_.maxX, range_.minY, range_.maxY) != 0;
  double numCells = 0.0;
  for (int level = 0; level <= request_.maxLevel; ++level) numCells += static_cast<double>(CellsOf(level).Count());
  // The index of an older tree would make one that is stopped look whole.
  if (XfnGetDefaultReadPolicy() == kReadExact) XFile::Remove(request_.path);
  zrk::MapTiles tiles(request_.thread, numCells);
  for (int level = 0; level <= request_.maxLevel; ++level) {
    if (!WriteLevel(level, tiles)) return 0;
  }
  return WriteIndex() ? 1 : 0;
}

/// The range of the data tells the cells, and not the other way round: a level may have 2^54 of them.
CellRange Tree::CellsOf(int level) const {
  CellRange cells;
  if (!range_.isSet) return cells;
  const std::int64_t count = std::int64_t{1} << level;
  const zrk::Extent& bounds = request_.bounds;
  FindCells(bounds.minX, bounds.maxX, count, range_.minX, range_.maxX, cells.firstColumn, cells.lastColumn);
  FindCells(bounds.minY, bounds.maxY, count, range_.minY, range_.maxY, cells.firstRow, cells.lastRow);
  return cells;
}

/// A folder that can't be made shows in its files.
bool Tree::WriteLevel(int level, zrk::MapTiles& tiles) {
  const std::string folder = XfnGetFileFolder(request_.path).AsStdString() + std::to_string(level);
  zrk::CurrentDisk().MakeFolder(folder);
  const CellRange cells = CellsOf(level);
  const auto newMaker = [&](int worker) -> zrk::MapTiles::Maker {
    const CellMaker make = NewMaker(worker);
    if (!make) return nullptr;
    return [&, make](std::int64_t tile, XString& why) {
      Cell cell{level, static_cast<int>(cells.firstColumn + tile % cells.Columns()),
                static_cast<int>(cells.firstRow + tile / cells.Columns()), XString()};
      cell.path = XString(folder) + "/" + XQTI::ToString(level, cell.column, cell.row);
      return WriteCell(make, cell, why);
    };
  };
  return tiles.Run(cells.Count(), newMaker, err_);
}

/// A cell that can't be made is left out, unless the policy is exact.
bool Tree::WriteCell(const CellMaker& make, const Cell& cell, XString& why) const {
  XfnForgetLastReadError();
  const bool isMade = make(cell, why);
  if (request_.thread && request_.thread->GetState() == XThread::kStateStop) {
    why.Empty();
    return false;
  }
  if (isMade || XfnGetDefaultReadPolicy() != kReadExact) return true;
  if (why.IsEmpty()) why = zrk::WhyNotDrawn("A tile can't be made");
  return false;
}

bool Tree::WriteIndex() {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("LXY");
  const auto add = [](pugi::xml_node parent, const char* name, const XString& text) {
    parent.append_child(name).text().set(text.GetText());
  };
  XString wkt;
  request_.manager->GetSR()->exportToWkt(wkt);
  add(root, "MAGIC_STR", "LXY");
  add(root, "VERSION", "1");
  add(root, "DATA", GetKind());
  add(root, "PROJECTIONWKT", wkt);
  add(root, "MAXLEVEL", std::to_string(request_.maxLevel));
  add(root, "TILESIZE", std::to_string(request_.tileSize));
  const pugi::xml_node bounds = root.append_child("ROOT_BOUND");
  add(bounds, "MINX", zrk::FormatPlaces(request_.bounds.minX));
  add(bounds, "MAXX", zrk::FormatPlaces(request_.bounds.maxX));
  add(bounds, "MINY", zrk::FormatPlaces(request_.bounds.minY));
  add(bounds, "MAXY", zrk::FormatPlaces(request_.bounds.maxY));
  std::ostringstream text;
  document.save(text);
  const std::string bytes = text.str();
  return zrk::WriteNewFile(request_.path, bytes.data(), static_cast<std::int64_t>(bytes.size())) ||
         Fail("Fail to create output LXY index File");
}

class PictureTree : public Tree {
 public:
  using Tree::Tree;

 private:
  bool Prepare() override {
    return (request_.HasBounds() && request_.tileSize <= zrk::kMaxJpegSide) || Fail(zrk::kNoImageSize);
  }
  CellMaker NewMaker(int) override {
    return [this](const Cell& cell, XString& why) { return MakeCell(cell, why); };
  }
  bool MakeCell(const Cell& cell, XString& why) const;
  const char* GetKind() const override { return "TEXTURE"; }
};

/// The edges of a cell are those that its name stands for everywhere.
bool PictureTree::MakeCell(const Cell& cell, XString& why) const {
  tagXVector2 low, high;
  XQTI::GetRange(cell.level, cell.column, cell.row, {request_.bounds.minX, request_.bounds.minY},
                 {request_.bounds.maxX, request_.bounds.maxY}, low, high);
  return XfnConvertImage2JPG(cell.path + ".jpg", why, nullptr, request_.manager, low.x, low.y, high.x, high.y,
                             (high.x - low.x) / request_.tileSize, (high.y - low.y) / request_.tileSize,
                             request_.thread) != 0;
}

class HeightTree : public Tree {
 public:
  using Tree::Tree;

 private:
  /// The memory that a worker makes a cell in.
  struct CellPosts {
    tagXArr2 read;
    tagXArr2 posts;
  };

  bool Prepare() override;
  CellMaker NewMaker(int worker) override;
  std::shared_ptr<CellPosts> NewPosts() const;
  bool MakeCell(const Cell& cell, CellPosts& scratch, XString& why) const;
  const char* GetKind() const override { return "DEM"; }

  std::unique_ptr<zrk::HeightMosaic> mosaic_;
  std::shared_ptr<CellPosts> first_;  // of worker 0
};

/// The last level has to have posts that ints can count, as programs that read the tree do. The buffer for a tile is
/// taken before the first, so that a size that no memory holds is told at once.
bool HeightTree::Prepare() {
  if ((std::int64_t{request_.tileSize} << request_.maxLevel) > INT_MAX) return Fail(zrk::kNoImageSize);
  mosaic_ = zrk::HeightMosaic::Make(*request_.manager);
  if (!mosaic_) return Fail(zrk::kNoMosaic);
  if (!request_.HasBounds()) return Fail("Fail to create resize DEM data band");
  first_ = NewPosts();
  return first_ || Fail("Fail to allocate LXY DEM output data memory");
}

std::shared_ptr<HeightTree::CellPosts> HeightTree::NewPosts() const {
  auto scratch = std::make_shared<CellPosts>();
  const int side = std::min(request_.tileSize, INT_MAX - 1) + 1;
  return scratch->posts.Alloc(side, side, sizeof(float)) ? scratch : nullptr;
}

Tree::CellMaker HeightTree::NewMaker(int worker) {
  const std::shared_ptr<CellPosts> scratch = worker == 0 ? first_ : NewPosts();
  if (!scratch) return nullptr;
  return [this, scratch](const Cell& cell, XString& why) { return MakeCell(cell, *scratch, why); };
}

/// Rows of cells are counted from the south and rows of posts from the north.
bool HeightTree::MakeCell(const Cell& cell, CellPosts& scratch, XString& why) const {
  const int size = request_.tileSize;
  const double count = std::ldexp(static_cast<double>(size), cell.level);
  const zrk::Extent& bounds = request_.bounds;
  const zrk::PostGrid grid{bounds.minX, bounds.maxY, (bounds.maxX - bounds.minX) / count,
                           (bounds.maxY - bounds.minY) / count};
  const std::int64_t rowFromNorth = (std::int64_t{1} << cell.level) - 1 - cell.row;
  const zrk::PostBlock block{std::int64_t{cell.column} * size, rowFromNorth * size, size + 1, size + 1};
  int* const cancel = request_.thread ? request_.thread->GetStatePtr() : nullptr;
  if (!mosaic_->Read(grid, block, scratch.read, cancel)) return false;
  const std::ptrdiff_t numPosts = std::ptrdiff_t{scratch.posts.xSize} * scratch.posts.ySize;
  auto* const out = reinterpret_cast<float*>(scratch.posts.data);
  zrk::VisitDataType(mosaic_->GetDataType(), [&](auto zero) {
    const auto* const samples = reinterpret_cast<const decltype(zero)*>(scratch.read.data);
    std::transform(samples, samples + numPosts, out,
                   [](auto sample) { return zrk::ToSample<float>(static_cast<double>(sample)); });
  });
  if (zrk::WriteNewFile(cell.path + ".dem", out, numPosts * static_cast<std::int64_t>(sizeof(float)))) return true;
  why = "A tile can't be written";
  return false;
}

}  // namespace

int XfnExport2LXYTexture(XString path, ZRMCompManager* manager, int maxLevel, int tileSize, double minX, double minY,
                         double maxX, double maxY, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] {
    if (!manager) {
      err = zrk::kNoManager;
      return 0;
    }
    const TreeRequest request{path, manager, maxLevel, tileSize, {minX, maxX, minY, maxY, true}, thread};
    return PictureTree(request, err).Run();
  });
}

int XfnExport2LXYDem(XString path, ZRMCompManager* manager, int maxLevel, int tileSize, double minX, double minY,
                     double maxX, double maxY, XString& err, XThread* thread) {
  return zrk::Fenced(err, [&] {
    if (!manager) {
      err = zrk::kNoManager;
      return 0;
    }
    const TreeRequest request{path, manager, maxLevel, tileSize, {minX, maxX, minY, maxY, true}, thread};
    return HeightTree(request, err).Run();
  });
}
