#pragma once

#include "bands/jp2/Jp2Place.h"

#include <optional>
#include <string_view>

namespace zrk {

/// The rectified grid of a GML text.
struct Jp2Grid {
  Jp2Transform transform{};  ///< of outer corners, x being the axis to the east
  int epsg = 0;              ///< of its system; 0 where it names none by a code
};

/// Parses the first rectified grid of two dimensions in a text. Empty where the text has no such grid, or the text is
/// not to be trusted.
std::optional<Jp2Grid> ParseGmlGrid(std::string_view xml);

/// Whether a text without a readable grid may place the image all the same. It may if it has a grid of another kind or
/// a damaged one, or if it is not readable XML. With `isGml` it stands where a file has its GML. Of other texts, only
/// those count that name such a grid.
bool MayHoldGrid(std::string_view xml, bool isGml);

}  // namespace zrk
