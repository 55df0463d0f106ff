#pragma once

#include "core/resample/OrthoPlaces.h"
#include "tagXArr2.h"

namespace zrk {

/// Fills tiles of a map with samples of its source. For one thread, and for many tiles one after the other.
class OrthoSampler {
 public:
  OrthoSampler(const OrthoSource& source, XOrthoMethod method, double nullValue)
      : source_(source), method_(method), nullValue_(nullValue), places_(source) {}

  /// Fills the part of `out` from column `outX` and row `outY` on, which has the source's data type. False where the
  /// source fails or a stop is requested.
  bool Fill(const OrthoTile& tile, tagXArr2& out, int outX, int outY, int* cancel);

 private:
  /// Pixels of the tile, inclusive.
  struct Part {
    int x0, x1, y0, y1;
  };
  /// The samples of the source's level that a part needs, inclusive.
  struct Range {
    int x0, x1, y0, y1;
    bool IsEmpty() const { return x1 < x0; }
    std::int64_t Count() const { return (std::int64_t{x1} - x0 + 1) * (std::int64_t{y1} - y0 + 1); }
  };
  struct Target;

  bool FillInner(const Range& range, const Target& target, int* cancel);
  bool FillPart(const Part& part, const Target& target, int* cancel);
  bool FillHalves(const Part& part, const Target& target, int* cancel);
  Range FindInnerRange() const;
  Range FindRange(const Part& part) const;
  const tagXArr2* Read(const Range& range, int* cancel) const;
  template <class Sample>
  void FillFrom(const tagXArr2* samples, const Range& range, const Part& part, const Target& target) const;
  template <class Sample>
  void FillInnerFrom(const tagXArr2& samples, const Range& range, const Target& target) const;
  template <class Sample>
  Sample TakeNearest(const tagXArr2& samples, const Range& range, double x, double y) const;
  template <class Sample>
  Sample TakeFour(const tagXArr2& samples, const Range& range, double x, double y) const;

  const OrthoSource& source_;
  XOrthoMethod method_;
  double nullValue_;
  OrthoPlaces places_;
  OrthoTile tile_;
};

}  // namespace zrk
