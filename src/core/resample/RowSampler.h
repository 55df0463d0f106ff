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

/// Makes rows of a resized image from rows of its source, by one of the methods. Immutable, so that several threads may
/// use one object, each with a scratch of its own. Throws `std::bad_alloc` where memory runs out.
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
  /// Makes columns `x0` to `x1` of an output row. `rows` has one pointer for each source row of `RowsFor`, to the first
  /// source column of `ColumnsFor`.
  virtual void Row(int outRow, int x0, int x1, const void* const* rows, void* out, Scratch& scratch) const = 0;
  /// The means behind a sampler of means, whose rows can be made from a few source rows at a time. Returns null for the
  /// others.
  virtual const AreaMean* GetAreaMean() const { return nullptr; }

 private:
  ResizeShape shape_;
};

/// The sampler for a value of `XResampleMethod`. Any other value means the nearest pixel.
std::unique_ptr<const RowSampler> MakeRowSampler(int method, const ResizeShape& shape);

}  // namespace zrk
