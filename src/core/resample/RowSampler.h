#pragma once

#include "core/resample/AreaMean.h"

#include <memory>
#include <vector>

namespace zrk {

/// Pixels from the first to the last, inclusive.
struct PixelRange {
  int first;
  int last;
  int Count() const { return last - first + 1; }
};

/// The shape of a resizing.
struct ResizeShape {
  int sourceWidth;
  int sourceHeight;
  int outWidth;
  int outHeight;
  int dataType;
  double nullValue;
};

/// Makes rows of a resized image from rows of its source, by one of the methods. Immutable: several threads may use
/// one object, each with a scratch of its own. Memory that runs out is thrown as `std::bad_alloc`.
class RowSampler {
 public:
  struct Scratch {
    AreaMean::Scratch area;
    std::vector<double> sums;
    std::vector<unsigned char> nulls;
  };

  explicit RowSampler(const ResizeShape& shape) : shape_(shape) {}
  virtual ~RowSampler() = default;
  RowSampler(const RowSampler&) = delete;
  RowSampler& operator=(const RowSampler&) = delete;

  const ResizeShape& GetShape() const { return shape_; }

  /// The source rows that an output row is made of.
  virtual PixelRange RowsFor(int outRow) const = 0;
  /// The source columns that a range of output columns is made of.
  virtual PixelRange ColumnsFor(int x0, int x1) const = 0;
  /// Columns `x0` to `x1` of an output row. There is one pointer for each of its source rows, to the first of the
  /// source columns.
  virtual void Row(int outRow, int x0, int x1, const void* const* rows, void* out, Scratch& scratch) const = 0;
  /// The means where the rows are means, which can be made from a few rows at a time, else null.
  virtual const AreaMean* GetAreaMean() const { return nullptr; }

 private:
  ResizeShape shape_;
};

/// By a value of `XResampleMethod`; any other is taken for the nearest pixel.
std::unique_ptr<const RowSampler> MakeRowSampler(int method, const ResizeShape& shape);

}  // namespace zrk
