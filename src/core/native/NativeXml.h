#pragma once

#include "XString.h"

#include <pugixml.hpp>
#include <string_view>

namespace zrk {

// The document that native raster files and level files end in. Its characters are single bytes and pass the parser
// unchanged. The parser is told that they are UTF-8, and does not look closer.

inline constexpr char kTagDataset[] = "XRS_TAG_DATASET";
inline constexpr char kTagBand[] = "XRS_TAG_BAND";
inline constexpr char kTagProjection[] = "XRS_TAG_BAND_PROJECTIONWKT";

/// The reason against parsing an XML text, or an empty text. Reasons are those of `FindXmlDanger`, and a text beyond
/// the limits of size or number of elements.
XString FindXmlRefusal(std::string_view text);

/// Parses a text that is within the limits of size, number of elements and depth. False, with a sentence, where it is
/// not within them or not well formed.
bool ParseNativeXml(std::string_view text, pugi::xml_document& document, XString& err);

/// The document as text.
XString FormatNativeXml(const pugi::xml_document& document);

/// Sets the projection of every band that has the element for it; the other bands stay as they were. False where the
/// text can't be parsed, which leaves it alone.
bool ReplaceProjections(XString& xml, const XString& wkt);

}  // namespace zrk
