// How a format is found: by id, by extension, by first bytes or by band. The table is made once from the list of
// formats. Beside the rows it holds their public parts in one piece, which callers get as a span.
//
// A file is known by its extension first. Its first bytes decide where they contradict the extension, and where the
// name has no extension. An extension whose files have no mark is believed where the bytes are those of no other
// format. Names of sets come before first bytes, because the images of a set are files of another format.

#include "core/dispatch/FormatTable.h"
#include "XFile.h"
#include "XPath.h"
#include "ZRMBand.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace zrk {
namespace {

/// Rows and formats stand in the same order.
struct Table {
  std::vector<const FormatRow*> rows;
  std::vector<tagXFormat> formats;
};

Table MakeTable(std::vector<const FormatRow*> rows) {
  Table table{std::move(rows), {}};
  for (const FormatRow* row : table.rows) {
    table.formats.push_back(row->format);
    table.formats.back().isKnownByContent = row->isContent != nullptr;
  }
  return table;
}

/// Made at the first question, so that a program that asks nothing pays nothing.
Table& TheTable() {
  static Table table = MakeTable(ListFormats());
  return table;
}

/// The first row that does, or null.
template <class Condition>
const FormatRow* FindRow(Condition condition) {
  const std::vector<const FormatRow*>& rows = TheTable().rows;
  const auto found = std::ranges::find_if(rows, [&](const FormatRow* row) { return condition(*row); });
  return found == rows.end() ? nullptr : *found;
}

/// Extensions of a row are words with one space between them.
bool IsWordOf(std::string_view words, std::string_view wanted) {
  while (!words.empty()) {
    const std::size_t end = std::min(words.find(' '), words.size());
    if (words.substr(0, end) == wanted) return true;
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  return false;
}

/// The first bytes of a file, in `buffer`. They are none where it can't be read, and then only the extension counts.
FileHead ReadHead(const XString& path, std::array<unsigned char, kFileHeadBytes>& buffer) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return {};
  const std::int64_t got = file.ReadAt(0, buffer.data(), kFileHeadBytes);
  return FileHead(buffer).first(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
}

/// Whether the first bytes of a file leave it the format that its extension tells.
bool MayBe(const FormatRow& row, FileHead head) {
  return row.mayBeContent ? row.mayBeContent(head) : row.isContent && row.isContent(head);
}

}  // namespace

std::span<const FormatRow* const> GetFormatRows() {
  return TheTable().rows;
}

const FormatRow* FindFormatRow(int id) {
  return FindRow([id](const FormatRow& row) { return row.format.id == id; });
}

// No word stands in two rows, so that their order does not matter to an extension. Rules come after all words.
const FormatRow* FindRowOfExtension(const XString& ext) {
  XString lower = ext, upper = ext;
  lower.MakeLower();
  upper.MakeUpper();
  const auto isWord = [&](const FormatRow& row) {
    return !row.extensionRule && IsWordOf(row.format.extensions, lower);
  };
  const auto isClaimed = [&](const FormatRow& row) {
    return row.extensionRule && row.extensionRule->claims && row.extensionRule->claims(upper);
  };
  const auto isTaken = [&](const FormatRow& row) { return row.extensionRule && row.extensionRule->takes(upper); };
  if (const FormatRow* const row = FindRow(isWord)) return row;
  // A rule may claim extensions that it then refuses. Nobody else gets these.
  if (const FormatRow* const row = FindRow(isClaimed)) return isTaken(*row) ? row : nullptr;
  return FindRow(isTaken);
}

const FormatRow* FindRowOfContent(FileHead head) {
  return FindRow([head](const FormatRow& row) { return row.isContent && row.isContent(head); });
}

const FormatRow* FindRowOfFile(const XString& path) {
  const FormatRow* const byExtension = FindRowOfExtension(XfnGetFileExt(path));
  const auto hasFile = [&path](const FormatRow& row) { return row.isOfSet && row.isOfSet(path); };
  if (const FormatRow* const ofSet = byExtension ? nullptr : FindRow(hasFile)) return ofSet;
  std::array<unsigned char, kFileHeadBytes> buffer;
  const FileHead head = ReadHead(path, buffer);
  if (byExtension && MayBe(*byExtension, head)) return byExtension;
  const FormatRow* const byContent = FindRowOfContent(head);
  // A file that no format knows by its bytes is left to its extension, whose loader will say what is wrong with it.
  return byContent ? byContent : byExtension;
}

bool MayBeOfRow(const FormatRow& row, const XString& path) {
  std::array<unsigned char, kFileHeadBytes> buffer;
  return !row.isContent || MayBe(row, ReadHead(path, buffer));
}

/// A class derived from a format's band is still of that format, so the base classes are asked in turn.
const FormatRow* FindRowOfBand(const ZRMBand& band) {
  for (const XRuntimeClass* each = band.GetRuntimeClass(); each; each = each->baseClass) {
    const std::string_view name = each->className;
    const FormatRow* const row = FindRow([name](const FormatRow& r) { return name == r.format.bandClass; });
    if (row) return row;
  }
  return nullptr;
}

/// The whole table is made anew, so that rows and public parts stay together.
ScopedFormat::ScopedFormat(const FormatRow& row) : before_(TheTable().rows) {
  std::vector<const FormatRow*> rows = before_;
  rows.push_back(&row);
  TheTable() = MakeTable(std::move(rows));
}

ScopedFormat::~ScopedFormat() {
  TheTable() = MakeTable(std::move(before_));
}

}  // namespace zrk

namespace {

/// The copy in the table and not the row's own, because only the copy tells whether the format is known by content.
const tagXFormat* PublicPartOf(const zrk::FormatRow* row) {
  return row ? XfnFindFormat(row->format.id) : nullptr;
}

}  // namespace

std::span<const tagXFormat> XfnGetFormats() {
  return zrk::TheTable().formats;
}

const tagXFormat* XfnFindFormat(int id) {
  const std::vector<tagXFormat>& formats = zrk::TheTable().formats;
  const auto found = std::ranges::find(formats, id, &tagXFormat::id);
  return found == formats.end() ? nullptr : &*found;
}

const tagXFormat* XfnFindFormatOfFile(const XString& path) {
  return PublicPartOf(zrk::FindRowOfFile(path));
}

const tagXFormat* XfnFindFormatOfBand(const ZRMBand* band) {
  return band ? PublicPartOf(zrk::FindRowOfBand(*band)) : nullptr;
}
