#pragma once

#include "XString.h"

#include <cstdint>

class XThread;
class ZRMCompManager;

namespace zrk {

// What the exports of maps have in common.

inline constexpr char kNoManager[] = "Invalid ZRM composite manager";
inline constexpr char kNoLevel[] = "Invalid output data level";
inline constexpr char kNoMosaic[] = "Fail to create mosaic DEM data band";
inline constexpr char kNoImageSize[] = "Invalid output image size";

/// Whether the manager shows a map: its system is known and not geographic. False with the sentence otherwise.
bool ShowsMap(const ZRMCompManager& manager, XString& err);

/// Tells the thread, which may be null, how much is done. False where it asks to stop.
bool Continue(XThread* thread, std::int64_t done, std::int64_t total);

/// Twelve places after the point, whatever the locale.
XString FormatPlaces(double value);

/// Why a band could not be read, or the sentence given where nothing is known of it.
XString WhyNotDrawn(const char* otherwise);

/// Makes a file of some bytes in place of one that was there. False where that fails, and then none is left.
bool WriteNewFile(const XString& path, const void* bytes, std::int64_t count);

}  // namespace zrk
