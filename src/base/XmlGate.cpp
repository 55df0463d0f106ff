// Looks for what an XML text can do to its reader: declarations that make entities, and elements nested so deeply that
// a recursive reader runs out of stack. The gate stands in front of parsers that are not ours.
//
// It steps over the markup without taking it apart. Where markup ends is decided as a parser decides it, so that
// nothing can pass for a comment here and for a declaration there. Whether the text is well formed is the parser's
// business. Markup that does not end also ends the search, since a parser gets no further either.

#include "base/XmlGate.h"

#include <cstddef>

namespace zrk {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

/// The place after the next `end` from `from` on, or `kNowhere`.
std::size_t After(std::string_view text, std::string_view end, std::size_t from) {
  const std::size_t place = text.find(end, from);
  return place == kNowhere ? kNowhere : place + end.size();
}

/// The place after the tag that begins at `from`. A '>' within quotes does not end it.
std::size_t AfterTag(std::string_view text, std::size_t from) {
  std::size_t place = text.find_first_of("\"'>", from);
  while (place != kNowhere && text[place] != '>') {
    place = text.find(text[place], place + 1);
    if (place != kNowhere) place = text.find_first_of("\"'>", place + 1);
  }
  return place == kNowhere ? kNowhere : place + 1;
}

}  // namespace

XString FindXmlDanger(std::string_view text, int maxDepth) {
  // A zero ends the text for some parsers and not for others, and what stands behind it could hide.
  if (text.find('\0') != kNowhere) return "file is not plain text";
  int depth = 0;
  std::size_t place = text.find('<');
  while (place != kNowhere) {
    const std::string_view rest = text.substr(place);
    std::size_t end = kNowhere;
    if (rest.starts_with("<!--")) {
      end = After(text, "-->", place + 4);
    } else if (rest.starts_with("<![CDATA[")) {
      end = After(text, "]]>", place + 9);
    } else if (rest.starts_with("<?")) {
      end = After(text, "?>", place + 2);
    } else if (rest.starts_with("<!")) {
      return "document type declarations are not allowed";
    } else {
      end = AfterTag(text, place);
      const bool isEmptyElement = end != kNowhere && text[end - 2] == '/';
      if (rest.starts_with("</")) {
        --depth;
      } else if (!isEmptyElement && ++depth > maxDepth) {
        return "elements are nested too deeply";
      }
    }
    place = end == kNowhere ? kNowhere : text.find('<', end);
  }
  return {};
}

}  // namespace zrk
