#pragma once

#include "tagXStoreReport.h"
#include "tagXStoreTile.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace zrk {

/// The place of a tile in a store, by the store's own numbers.
struct StoreTilePlace {
  int level;
  int row;
  int col;
};

/// A word as it stands behind a number: for one, or for any other.
inline const char* WordFor(std::int64_t count, const char* one, const char* several) {
  return count == 1 ? one : several;
}

/// Gathers what a check finds.
class StoreFindings {
 public:
  explicit StoreFindings(tagXStoreReport& report) : report_(report) {}

  /// As `printf` has it.
  __attribute__((format(printf, 2, 3))) void Add(const char* format, ...) {
    ++report_.numFindings;
    if (report_.findings.size() >= tagXStoreReport::kMaxFindings) return;
    char sentence[400];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(sentence, sizeof sentence, format, values);
    va_end(values);
    report_.findings.emplace_back(sentence);
  }

  void CountTile(bool isEmpty) {
    ++report_.numTiles;
    report_.numEmptyTiles += isEmpty;
  }

 private:
  tagXStoreReport& report_;
};

}  // namespace zrk
