#pragma once

#include <string>

class XString;

namespace zrk {

struct Jp2Job;

/// A GML text that gives the window of the job the place of its first band, as OGC 05-047 puts it into JPEG 2000 files.
/// Such a text names its system by a code of EPSG. It stays empty for a band without a place or such a code, and fails
/// an exact save then. Returns 1, or 0 with the reason in `err`.
int MakeGridText(const Jp2Job& job, bool isExact, std::string& text, XString& err);

}  // namespace zrk
