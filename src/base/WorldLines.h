#pragma once

#include "XString.h"

#include <array>
#include <optional>

namespace zrk {

/// The six numbers of a world file, one a line: pixel size in x, two of rotation, pixel size in y, origin in x and y.
/// A line that begins with no number is 0, and so are those that are missing.
struct WorldLines {
  std::array<double, 6> numbers{};
  int count = 0;  ///< the lines that are there
};

/// Empty where the file can't be opened. Only its first bytes are looked at, as many as six lines can need.
std::optional<WorldLines> ReadWorldLines(const XString& path);

}  // namespace zrk
