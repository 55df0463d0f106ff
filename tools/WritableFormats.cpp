// Sentences about the formats that can be written, made from the table. A format that gets a writer appears in the help
// and in the messages of the program by itself.

#include "WritableFormats.h"

#include "XFormatTable.h"
#include "XPath.h"
#include "XRSFileIO.h"

#include <cctype>
#include <sstream>
#include <vector>

namespace {

/// Joins texts with commas, and the last one with `last`.
std::string Join(const std::vector<std::string>& texts, const std::string& last) {
  std::string joined;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) joined += i + 1 == texts.size() ? last : ", ";
    joined += texts[i];
  }
  return joined;
}

/// The words of a format's extensions, each behind `head`.
std::vector<std::string> ExtensionsOf(const tagXFormat& format, const std::string& head) {
  std::istringstream stream(format.extensions);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(head + word);
  return words;
}

/// The sentences of `tell` about each format that has a writer. With `takes`, only about formats whose writers take it.
template <class Tell>
std::vector<std::string> TellEach(bool tagXFormatWriter::*takes, Tell tell) {
  std::vector<std::string> texts;
  for (const tagXFormat& format : XfnGetFormats()) {
    if (format.writer && (!takes || format.writer->*takes)) texts.push_back(tell(format));
  }
  return texts;
}

}  // namespace

/// A file that is to be written has no content yet, so only its extension tells.
const tagXFormat* FindWritableFormat(const std::string& path) {
  const tagXFormat* const format = XfnFindFormat(XRSFileIO::GetIDFromExt(XfnGetFileExt(path)));
  return format && format->writer ? format : nullptr;
}

std::string ListWritableFormats(bool tagXFormatWriter::*takes) {
  const auto tell = [](const tagXFormat& format) {
    return std::string(format.writer->plural) + " (" + Join(ExtensionsOf(format, "."), ", ") + ")";
  };
  return Join(TellEach(takes, tell), " and ");
}

/// A title begins with a capital.
std::string TitleWritableFormats(bool tagXFormatWriter::*takes) {
  std::string title = Join(TellEach(takes, [](const tagXFormat& f) { return std::string(f.writer->plural); }), " and ");
  if (!title.empty()) title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
  return title;
}

std::string NameWritableFiles() {
  return Join(TellEach(nullptr, [](const tagXFormat& format) { return std::string("a ") + format.writer->noun; }),
              " or ");
}

std::string ListWritableExtensions() {
  return Join(TellEach(nullptr, [](const tagXFormat& format) { return Join(ExtensionsOf(format, ""), " or "); }),
              ", or ");
}
