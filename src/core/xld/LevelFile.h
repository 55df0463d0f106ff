#pragma once

#include "XFile.h"
#include "XString.h"

#include <array>
#include <cstdint>
#include <span>

namespace zrk {

// The head of a level file: "XLD.", and the offset of the XML text, signed and little-endian, which is -1 until the
// file is whole. Stores follow back to back; where there are none the text follows the head.

inline constexpr std::int64_t kLevelHeadBytes = 12;

std::array<unsigned char, 12> FormatLevelHead(std::int64_t textOffset);

/// A short one is that of a file which ends in its head; an unreadable one is there, and the disk does not give it.
enum class LevelHead { kGood, kShort, kForeign, kUnreadable };

/// Reads the head of an open file.
LevelHead ReadLevelHead(XFile& file, std::int64_t& textOffset);

/// The text of a level file; empty where the offset lies outside the file, the text is larger than `tagXLimits`
/// allows, or it can't be read.
XString ReadLevelText(XFile& file, std::int64_t textOffset);

}  // namespace zrk
