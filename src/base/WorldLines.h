#pragma once

#include "XString.h"

#include <array>
#include <optional>
#include <vector>

namespace zrk {

/// The six numbers of a world file, one a line: pixel size in x, two of rotation, pixel size in y, origin in x and y.
/// A line that begins with no number is 0, and so are those that are missing.
struct WorldLines {
  std::array<double, 6> numbers{};
  int count = 0;  ///< the lines that are there
};

/// Empty where the file can't be opened. Only its first bytes are looked at, as many as six lines can need.
std::optional<WorldLines> ReadWorldLines(const XString& path);

/// The name of an image's world file as loaders look for it: the last four characters of the path replaced.
XString GetWorldFileName(const XString& path, const char* extension);

/// The names by which the world file of a TIFF image is looked for, all beside the image, the first that is there
/// counting. The first name is the image's with the last four characters replaced, so that an extension of another
/// length leaves a stump: "a..tfw" for "a.tiff". For those the names "a.t.tfw" and "a.tfw" follow. For each the one in
/// capitals comes next.
std::vector<XString> ListWorldFilesOfTiff(const XString& path);

}  // namespace zrk
