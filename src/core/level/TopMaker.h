#pragma once

#include "core/level/PyramidBuild.h"
#include "core/resample/AreaMean.h"

#include <optional>

namespace zrk {

/// Makes rows of the top of a pyramid from rows of the source window. Immutable, so that several threads may use one
/// object, each with a scratch of its own.
class TopMaker {
 public:
  TopMaker(PyramidTop top, const Window& window, const PyramidLayout& layout);

  /// The source rows that make a row of the top, counted from the upper edge of the window.
  int FirstSourceRow(int row) const;
  int LastSourceRow(int row) const;

  struct Scratch {
    AreaMean::Scratch area;
    std::vector<const void*> rows;
  };
  /// Whether some columns of the top can be made apart from the others.
  bool CanMakeColumns() const { return kind_ != Kind::kArea; }
  /// The source columns that make a column of the top, counted from the left edge of the window. Only where columns can
  /// be made apart.
  int FirstSourceColumn(int column) const { return kind_ == Kind::kHalf ? 2 * column : column; }
  int LastSourceColumn(int column) const { return kind_ == Kind::kHalf ? 2 * column + 1 : column; }

  /// Makes rows `first` to `last`, one after the other at `out`. `source` holds source rows from `sourceTop` on.
  void Make(int first, int last, const tagXArr2& source, int sourceTop, unsigned char* out, Scratch& scratch) const;
  /// Makes some columns of some rows. At `out` the rows lie as far apart as rows of the top. `source` holds the source
  /// samples of this part and no others.
  void MakeColumns(int numRows, int numColumns, const tagXArr2& source, unsigned char* out) const;

 private:
  enum class Kind { kCopy, kHalf, kArea };

  Kind kind_;
  int dataType_;
  int width_;
  std::size_t sampleBytes_;
  std::int64_t rowBytes_;
  std::optional<AreaMean> area_;
};

}  // namespace zrk
