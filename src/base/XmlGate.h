#pragma once

#include "XString.h"

#include <string_view>

namespace zrk {

/// The reason against handing an XML text to a parser; empty where the text may be parsed. A text that declares a
/// document type is refused, since a few of its bytes can unfold to any size. So is a text with elements nested deeper
/// than `maxDepth`. So is a text with zero bytes, because a declaration in characters of two bytes would not be seen.
///
/// Says nothing about whether the text is well formed.
XString FindXmlDanger(std::string_view text, int maxDepth);

}  // namespace zrk
