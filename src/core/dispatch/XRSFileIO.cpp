// The routers and the way from an extension to a format. Both look into the one table, so that nothing here changes
// with a new format; only the map products are found by rules, since their extensions spell series, zone and scale.

#include "XRSFileIO.h"

#include "core/dispatch/FormatTable.h"
#include "core/dispatch/Outcome.h"

#include <algorithm>
#include <string_view>

namespace {

bool IsWordOf(std::string_view words, std::string_view wanted) {
  while (!words.empty()) {
    const std::size_t end = std::min(words.find(' '), words.size());
    if (words.substr(0, end) == wanted) return true;
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  return false;
}

bool IsBetween(char c, char first, char last) {
  return first <= c && c <= last;
}

/// Whether one of the two letters of a map product stands anywhere in the extension.
bool HoldsMapProduct(const XString& upperExt) {
  constexpr const char* kProducts[] = {"GN", "JN", "ON", "TP", "JA", "TC", "TL"};
  return std::ranges::any_of(kProducts, [&upperExt](const char* product) { return upperExt.Find(product) >= 0; });
}

/// Whether the zone of a map product is one. It is always taken from the third place, wherever the product stood.
bool HoldsMapZone(const XString& upperExt) {
  const char zone = upperExt.GetAt(2);
  return IsBetween(zone, '1', '8') || IsBetween(zone, 'A', 'H');
}

bool IsControlledImageBase(const XString& upperExt) {
  const char resolution = upperExt.GetAt(1);
  return upperExt.GetAt(0) == 'I' && (IsBetween(resolution, '1', '5') || resolution == 'V');
}

}  // namespace

XRSFileIO::~XRSFileIO() = default;

int XRSFileIO::GetIDFromExt(XString ext) {
  XString lower = ext;
  lower.MakeLower();
  for (const zrk::FormatEntry& entry : zrk::GetFormatEntries()) {
    if (entry.foundBy == zrk::FoundBy::kWords && IsWordOf(entry.format.extensions, lower)) return entry.format.id;
  }
  ext.MakeUpper();
  // An extension that holds a map product is that or nothing: ION is no controlled image base.
  if (HoldsMapProduct(ext)) return HoldsMapZone(ext) ? kFormatCADRG : kFormatNone;
  return IsControlledImageBase(ext) ? kFormatCIB : kFormatNone;
}

int XRSFileIO::LoadFileRaster(XRSFile* file, int id, XString path, XString& err, int calcStatistics, int levelMode,
                              XThread* thread) {
  if (!file) {
    err = zrk::kNotValidFile;
    return 0;
  }
  const zrk::FormatEntry* const entry = zrk::FindFormatEntry(id);
  if (entry && entry->loadRaster) return entry->loadRaster(file, path, err, calcStatistics, levelMode, thread);
  err = zrk::kNotSupportedType;
  return 0;
}

int XRSFileIO::LoadFileVector(XRSFile* file, int id, XString path, XSpatialReference* sr, XString& err,
                              XThread* thread) {
  if (!file) {
    err = zrk::kNotValidFile;
    return 0;
  }
  const zrk::FormatEntry* const entry = zrk::FindFormatEntry(id);
  if (entry && entry->loadVector) return entry->loadVector(file, path, sr, err, thread);
  err = zrk::kNotSupportedType;
  return 0;
}

int XRSFileIO::LoadFileGeneral(XRSFile* file, int, XString, int, int, int, int, int, XString& err, XThread*) {
  err = file ? zrk::kNotSupportedType : zrk::kNotValidFile;
  return 0;
}

int XRSFileIO::LoadFileBIL(XRSFile*, int, XString, int, int, int, int, int, XString&, XThread*) {
  return 1;
}

int XRSFileIO::LoadFileBIP(XRSFile*, int, XString, int, int, int, int, int, XString&, XThread*) {
  return 1;
}

int XRSFileIO::LoadFileBSQ(XRSFile*, int, XString, int, int, int, int, int, XString&, XThread*) {
  return 1;
}
