#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace zrk {

/// Takes bytes at places that rise along a row, such as those under the pixels of a picture, out of many rows at the
/// same places. Vector instructions are chosen at run time. For one thread.
class BytePicker {
 public:
  /// Plans for `count` places in rows of `rowBytes` bytes. False where they do not rise, or lie so far apart that
  /// vectors would gain nothing: then `Pick` is not to be called.
  bool Plan(const int* places, int count, int rowBytes);
  /// Puts the bytes of a row at the places one behind the other. Nothing beyond the row is read.
  void Pick(const unsigned char* row, unsigned char* bytes) const;

  static constexpr int kGroup = 16;
  /// Sixteen bytes that lie within 32 of the row. A byte of a shuffle is the place within its half, or 0x80 where the
  /// other half has it.
  struct Group {
    int base;
    bool needsUpper;
    alignas(kGroup) std::array<unsigned char, kGroup> lower;
    alignas(kGroup) std::array<unsigned char, kGroup> upper;
  };

 private:
  std::vector<Group> groups_;
  std::vector<int> rest_;  // places that are taken one by one, those of the last groups
};

}  // namespace zrk
