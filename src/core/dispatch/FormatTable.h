#pragma once

#include "core/load/FormatRow.h"
#include "XFormatTable.h"

#include <vector>

namespace zrk {

/// The rows of the formats that the library is built with.
std::vector<const FormatRow*> ListFormats();
/// Those, and what a `ScopedFormat` adds.
std::span<const FormatRow* const> GetFormatRows();
/// The row of an id, or null.
const FormatRow* FindFormatRow(int id);
/// The row whose words or rule take an extension, or null.
const FormatRow* FindRowOfExtension(const XString& ext);
/// The row of a file, as `XfnFindFormatOfFile` tells; or null.
const FormatRow* FindRowOfFile(const XString& path);
/// The row whose files begin as the head does, or null.
const FormatRow* FindRowOfContent(FileHead head);
/// Whether the first bytes of a file leave it the format of a row. They do where the format has no mark.
bool MayBeOfRow(const FormatRow& row, const XString& path);
/// The row of a band's class or of one that it derives from, or null.
const FormatRow* FindRowOfBand(const ZRMBand& band);

// Loads by a row. A dataset that is null, a row that is null or has no loader of the kind, and a decoder that is absent
// give 0 with the sentence that says so.

int LoadRasterBy(const FormatRow* row, const RasterCall& call);
int LoadVectorBy(const FormatRow* row, const VectorCall& call);

/// Puts one more format into the table for a scope. Other threads must not look into the table meanwhile.
class ScopedFormat {
 public:
  /// The row must outlive this object.
  explicit ScopedFormat(const FormatRow& row);
  ~ScopedFormat();
  ScopedFormat(const ScopedFormat&) = delete;
  ScopedFormat& operator=(const ScopedFormat&) = delete;

 private:
  std::vector<const FormatRow*> before_;
};

}  // namespace zrk
