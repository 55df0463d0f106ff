#include "writers/MapExport.h"

#include "XFile.h"
#include "XReadPolicy.h"
#include "XThread.h"
#include "ZRMCompManager.h"

#include <array>
#include <charconv>

namespace zrk {

/// Sizes and bounds of maps are lengths. Angles would come out as metres.
bool ShowsMap(const ZRMCompManager& manager, XString& err) {
  const XSpatialReference* const sr = manager.GetSR();
  if (!sr) {
    err = "Invalid spatial reference : NULL";
    return false;
  }
  const bool isMap = sr->GetCoordinateKind() == kReferenceKnown && !sr->IsGeographic();
  if (!isMap) err = "Invalid spatial reference : must be Map coordinate system";
  return isMap;
}

/// Callers of the family expect whole percentages, cut and not rounded.
bool Continue(XThread* thread, std::int64_t done, std::int64_t total) {
  if (!thread) return true;
  thread->CallbackPercent(static_cast<int>(static_cast<double>(done) * 100.0 / static_cast<double>(total)));
  return thread->GetState() != XThread::kStateStop;
}

/// A locale with commas would make other numbers of these texts.
XString FormatPlaces(double value) {
  std::array<char, 400> text;  // the largest number has 309 digits before the point
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 12).ptr;
  return XString(std::string(text.data(), end));
}

XString WhyNotDrawn(const char* otherwise) {
  XString reason;
  return XfnGetLastReadError(reason) && !reason.IsEmpty() ? reason : XString(otherwise);
}

/// Part of a file would be taken for the whole of it.
bool WriteNewFile(const XString& path, const void* bytes, std::int64_t count) {
  XFile file;
  if (!file.Open(path, XFile::kReadWrite | XFile::kCreate)) return false;
  if (file.WriteAt(0, bytes, count)) return true;
  file.Close();
  XFile::Remove(path);
  return false;
}

}  // namespace zrk
