#pragma once

#include "base/Disk.h"
#include "XString.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zrk {

/// What a level file tells of the image that it was made of.
struct ImageStamp {
  FileStatus status;
  std::uint64_t fingerprint = 0;
};

/// The image that the text of a level file names. Nothing where it names none, as texts of older writers. A stamp that
/// fits no image where the text, or what it says there, can't be understood.
std::optional<ImageStamp> ReadImageStamp(const XString& text);

/// Which bands of the text tell that their first level has classes of the image. Empty where the text can't be parsed.
std::vector<bool> ReadLevelClasses(const XString& text);

/// The element of an image, as it stands in a text.
std::string FormatImageElement(const ImageStamp& stamp);

}  // namespace zrk
