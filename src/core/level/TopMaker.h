#pragma once

#include "core/level/PyramidBuild.h"
#include "core/resample/AreaMean.h"
#include "math/BlockPair.h"

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
  /// Makes rows `first` to `last`, one after the other at `out`. `source` holds source rows from `sourceTop` on.
  void Make(int first, int last, const tagXArr2& source, int sourceTop, unsigned char* out, Scratch& scratch) const;

  /// Whether blocks of the top can be made apart from each other.
  bool CanMakeBlocks() const { return kind_ != Kind::kArea; }
  /// The source samples that make a sample of a block, each way.
  int GetBlockScale() const { return kind_ == Kind::kCopy ? 1 : 2; }
  /// Makes a block from the source samples that make it.
  void MakeBlock(const BlockPair& block) const;

 private:
  enum class Kind { kCopy, kHalf, kArea, kClasses };

  Kind kind_;
  int dataType_;
  int width_;
  std::size_t sampleBytes_;
  std::int64_t rowBytes_;
  std::optional<AreaMean> area_;
};

}  // namespace zrk
