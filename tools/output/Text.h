#pragma once

#include <string>
#include <string_view>

/// Text that came out of a file or a path, made fit for a terminal: control characters become '?', so that no name can
/// move the cursor or change what stands above it.
std::string Printable(std::string_view text);

/// A sentence of the library, which begins with a capital, as those of the program stand behind a colon. A word of
/// capitals stays as it is.
std::string WithoutCapital(std::string sentence);

/// The first `maxBytes` of a text, cut between characters; what was cut ends in "...".
std::string Shortened(std::string text, std::size_t maxBytes);
