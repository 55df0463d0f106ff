#pragma once

#include "XFormatTable.h"

#include <type_traits>

// What the dispatch knows beyond the public format table: how a row is found by an extension, and its loader. A
// format is added by one row in FormatTable.cpp and the loader that the row names.

namespace zrk {

/// Loaders as the routers call them.
using RasterRoute = int (*)(XRSFile* file, const XString& path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread);
using VectorRoute = int (*)(XRSFile* file, const XString& path, XSpatialReference* sr, XString& err, XThread* thread);

/// How an extension leads to a format: it is one of the row's words, it follows a rule of its own, or it never does.
enum class FoundBy { kWords, kRule, kIdOnly };

struct FormatEntry {
  tagXFormat format;
  FoundBy foundBy;
  RasterRoute loadRaster;  ///< null where `LoadFileRaster` does not route the id
  VectorRoute loadVector;  ///< null where `LoadFileVector` does not route the id
};

/// All entries, by id.
std::span<const FormatEntry> GetFormatEntries();
/// The entry of an id, or null.
const FormatEntry* FindFormatEntry(int id);

/// Makes a raster loader callable by a router: the loader's own signature says which of the two ints it takes.
template <auto Load>
int RouteRaster(XRSFile* file, const XString& path, XString& err, int calcStatistics, int levelMode, XThread* thread) {
  using Loader = decltype(Load);
  if constexpr (std::is_invocable_v<Loader, XRSFile*, XString, XString&, int, int, XThread*>) {
    return Load(file, path, err, calcStatistics, levelMode, thread);
  } else if constexpr (std::is_invocable_v<Loader, XRSFile*, XString, XString&, int, XThread*>) {
    return Load(file, path, err, calcStatistics, thread);
  } else {
    return Load(file, path, err, thread);
  }
}

/// As `RouteRaster` for vector loaders, some of which take the caller's system.
template <auto Load>
int RouteVector(XRSFile* file, const XString& path, XSpatialReference* sr, XString& err, XThread* thread) {
  if constexpr (std::is_invocable_v<decltype(Load), XRSFile*, XString, XSpatialReference*, XString&, XThread*>) {
    return Load(file, path, sr, err, thread);
  } else {
    return Load(file, path, err, thread);
  }
}

}  // namespace zrk
