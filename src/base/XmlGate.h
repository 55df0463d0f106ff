#pragma once

#include "XString.h"

#include <string_view>

namespace zrk {

/// The reason against handing an XML text to a parser; empty where the text may be parsed. Refused are texts that
/// declare a document type, since a few of its bytes can unfold to any size, texts with elements nested deeper than
/// `maxDepth`, and texts with zero bytes: in characters of two bytes a declaration would not be seen.
///
/// Says nothing about whether the text is well formed.
XString FindXmlDanger(std::string_view text, int maxDepth);

}  // namespace zrk
