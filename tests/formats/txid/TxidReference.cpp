#include "TxidReference.h"

#include <algorithm>
#include <cmath>

namespace {

/// One axis of a tile: its edge, and which samples of the result it may give.
struct Span {
  double edge;
  int first;
  int last;
};

class Model {
 public:
  Model(const TxidBuilder& store, int level, int x0, int y0, TxidWindowModel& result)
      : store_(store), level_(level), result_(result) {
    const double scale = std::pow(2.0, level);
    px_ = static_cast<double>(store.XPixelSize()) * 1e-08 * scale;
    py_ = static_cast<double>(store.YPixelSize()) * 1e-08 * scale;
    wx0_ = store.X() + static_cast<double>(store.XPixelSize() * x0) * 1e-08;
    wy0_ = store.Y() - static_cast<double>(store.YPixelSize() * y0) * 1e-08;
  }

  void AddTile(int row, int column) {
    const std::int32_t key = store_.CountXTiles() * row + column;
    if (!store_.Has(key)) return;
    result_.isBlank = false;
    const Span rows = RowsOf(row), columns = ColumnsOf(column);
    for (int i = rows.first; i <= rows.last; ++i) {
      const double y = wy0_ - i * py_;
      const int sy = Limit((rows.edge - y) / (static_cast<double>(store_.YPixelSize()) * 1e-08) + 0.5);
      if (sy < 0) continue;
      for (int j = columns.first; j <= columns.last; ++j) {
        const double x = j * px_ + wx0_;
        const int sx = Limit((x - columns.edge) / (static_cast<double>(store_.XPixelSize()) * 1e-08) + 0.5);
        if (sx >= 0) Put(i, j, level_ < 4 ? store_.AtTile(key, sx, sy) : TxidBuilder::Pixel{0xA0, 0xA0, 0xA0, 0xA0});
      }
    }
  }

 private:
  Span RowsOf(int row) const {
    const std::int64_t size = store_.TileSize();
    const double top = store_.Y() - static_cast<double>(size * store_.YPixelSize() * row) * 1e-08;
    const double extent = static_cast<double>(store_.YPixelSize()) * 1e-08 * static_cast<double>(size);
    return {top, std::max(static_cast<int>(std::floor((wy0_ - top) / py_)), 0),
            std::min(static_cast<int>(std::ceil(((wy0_ - top) + extent) / py_)), result_.height - 1)};
  }
  Span ColumnsOf(int column) const {
    const std::int64_t size = store_.TileSize();
    const double left = store_.X() + static_cast<double>(size * store_.XPixelSize() * column) * 1e-08;
    const double extent = static_cast<double>(store_.XPixelSize()) * 1e-08 * static_cast<double>(size);
    return {left, std::max(static_cast<int>(std::floor((left - wx0_) / px_)), 0),
            std::min(static_cast<int>(std::ceil(((left + extent) - wx0_) / px_)), result_.width - 1)};
  }
  /// The position in a tile; negative for one that is passed over.
  int Limit(double position) const {
    const int whole = static_cast<int>(position);
    if (whole < 0 || whole > store_.TileSize()) return -1;
    return std::min(whole, store_.TileSize() - 1);
  }
  void Put(int i, int j, const TxidBuilder::Pixel& pixel) {
    const auto at = static_cast<std::size_t>(i * result_.width + j);
    for (std::size_t k = 0; k < 4; ++k) result_.planes[k][at] = pixel[k];
  }

  const TxidBuilder& store_;
  int level_;
  TxidWindowModel& result_;
  double px_, py_, wx0_, wy0_;
};

}  // namespace

TxidWindowModel ModelCompatibleRead(const TxidBuilder& store, int level, int x0, int x1, int y0, int y1) {
  TxidWindowModel result;
  result.width = (x1 - x0 + 1) >> level;
  result.height = (y1 - y0 + 1) >> level;
  for (auto& plane : result.planes) plane.assign(static_cast<std::size_t>(result.width * result.height), 0);
  Model model(store, level, x0, y0, result);
  const int size = store.TileSize();
  for (int row = y0 / size; row <= y1 / size; ++row) {
    for (int column = x0 / size; column <= x1 / size; ++column) model.AddTile(row, column);
  }
  return result;
}
