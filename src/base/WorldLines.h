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

/// The transform that all six lines make, as `ZRMBand::GetGeoTransform` has it: from the outer corner of the first
/// pixel, whose centre the lines name. Empty where a line is missing or not finite, and where all pixels would fall on
/// a line.
std::optional<std::array<double, 6>> TransformOf(const WorldLines& lines);

/// The usual names of an image's world file, in the order in which the exact policy looks for them. The extension of
/// the image is replaced by four others in turn: its first and last letter and a w; all of it and a w; `extension`,
/// which the compatible policy looks for; and wld. Each is tried in small letters and then in capitals.
std::vector<XString> ListWorldFiles(const XString& path, const char* extension);
/// The lines of the first of these files that is there, as the exact policy reads them; 1. Where none is there, that is
/// 1 too, and nothing is found. A file that is there but can't be read, that has fewer than six lines with a number
/// each, or whose numbers make no transform is 0. `err` then names it and says what is wrong.
int FindWorldFile(const std::vector<XString>& names, std::optional<WorldLines>& found, XString& err);

/// The name of an image's world file as loaders look for it under the compatible policy: the last four characters of
/// the path replaced.
XString GetWorldFileName(const XString& path, const char* extension);

/// The names by which the world file of a TIFF image is looked for, all beside the image, the first that is there
/// counting. The first name is the image's with the last four characters replaced, so that an extension of another
/// length leaves a stump: "a..tfw" for "a.tiff". For those the names "a.t.tfw" and "a.tfw" follow. For each the one in
/// capitals comes next.
std::vector<XString> ListWorldFilesOfTiff(const XString& path);

}  // namespace zrk
