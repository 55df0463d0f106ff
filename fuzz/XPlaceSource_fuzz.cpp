// The first byte of the input chooses a kind of list, and the others are the list. Each place that is added has to be
// on earth and to have a name.

#include "MemoryDisk.h"
#include "XLimits.h"
#include "XPlaceSource.h"

#include <cmath>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  tagXLimits limits;
  limits.xmlElements = 1 << 10;
  XfnSetLimits(limits);
  MemoryDisk disk;
  disk.Add("/fuzz", {data + 1, size - 1});
  const zrk::ScopedDisk scope(disk);
  XPBPProviderExporter exporter;
  tagXPlaceCount count;
  XString err;
  const bool isDone = XfnAddPlaces("/fuzz", static_cast<XPlaceFormat>(data[0] % 6), exporter, count, err);
  if (!isDone && err.IsEmpty()) __builtin_trap();
  if (isDone && count.numAdded != exporter.GetCount()) __builtin_trap();
  for (int i = 0; i < exporter.GetCount(); ++i) {
    const tagPName& place = exporter.GetRecord(i);
    const bool isOnEarth = std::abs(place.first) <= 180.0 && std::abs(place.second) <= 90.0;
    if (!isOnEarth || place.name[0] == '\0') __builtin_trap();
  }
  exporter.BuildPointCloud('1', '0', nullptr);
  if (exporter.GetCount() > 0 && !exporter.IsBuilt()) __builtin_trap();
  return 0;
}
