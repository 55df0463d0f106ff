#include "geo/Wkt.h"

#include <cpl_conv.h>
#include <ogr_spatialref.h>
#include <algorithm>
#include <memory>

namespace zrk {

namespace {

/// No system that anybody wrote is longer or nested deeper.
constexpr int kMaxBytes = 1 << 20;
constexpr int kMaxDepth = 64;

struct TextFree {
  void operator()(char* text) const { CPLFree(text); }
};

}  // namespace

bool IsPlausibleWkt(const XString& wkt) {
  if (wkt.IsEmpty() || wkt.GetLength() > kMaxBytes) return false;
  int depth = 0;
  bool isQuoted = false;
  for (const char c : wkt.AsStdString()) {
    if (c == '"') isQuoted = !isQuoted;
    if (isQuoted) continue;
    if (c == '[' || c == '(') ++depth;
    // Extra closing brackets earn no credit for opening ones.
    if (c == ']' || c == ')') depth = std::max(depth - 1, 0);
    if (depth > kMaxDepth) return false;
  }
  return true;
}

int ExportWkt(const OGRSpatialReference& system, XString& wkt) {
  // WKT 1 has no words for a geographic system with heights. The second option writes it as a compound system.
  const char* const options[] = {"FORMAT=WKT1", "ALLOW_ELLIPSOIDAL_HEIGHT_AS_VERTICAL_CRS=YES", nullptr};
  char* text = nullptr;
  const bool isDone = system.exportToWkt(&text, options) == OGRERR_NONE;
  const std::unique_ptr<char, TextFree> owned(text);
  if (!isDone || !text) return 0;
  wkt = text;
  return 1;
}

}  // namespace zrk
