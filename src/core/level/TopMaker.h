#pragma once

#include "core/level/PyramidBuild.h"
#include "core/resample/AreaMean.h"

#include <optional>

namespace zrk {

/// How rows of the top of a pyramid come from rows of the source window. Immutable; several threads may use one.
class TopMaker {
 public:
  TopMaker(PyramidTop top, const Window& window, const PyramidLayout& layout);

  /// The source rows, counted from the top of the window, that make a row of the top.
  int FirstSourceRow(int row) const;
  int LastSourceRow(int row) const;

  struct Scratch {
    AreaMean::Scratch area;
    std::vector<const void*> rows;
  };
  /// Whether some columns of the top can be made by themselves.
  bool CanMakeColumns() const { return kind_ != Kind::kArea; }
  /// The source columns, counted from the left of the window, that make a column of the top, where such can be made.
  int FirstSourceColumn(int column) const { return kind_ == Kind::kHalf ? 2 * column : column; }
  int LastSourceColumn(int column) const { return kind_ == Kind::kHalf ? 2 * column + 1 : column; }

  /// Makes rows `first` to `last`, one after the other at `out`. `source` holds source rows from `sourceTop` on.
  void Make(int first, int last, const tagXArr2& source, int sourceTop, unsigned char* out, Scratch& scratch) const;
  /// Makes part of some rows, which lie a row of the top apart at `out`. `source` holds just what it is made of.
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
