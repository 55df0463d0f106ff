#pragma once

#include <string_view>

namespace zrk {

// White space is what XML has for it: blanks, tabs and line ends.

/// The text without white space at its ends.
std::string_view Trimmed(std::string_view text);

/// Takes the first word off the text, with the white space in front of it; empty where the text has no word.
std::string_view TakeWord(std::string_view& text);

}  // namespace zrk
