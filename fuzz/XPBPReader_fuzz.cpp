// The input is a file of place names. It is checked, and searched by boxes narrow and wide and for the nearest places.
// Each number that a search answers has to be that of a place, and a check that finds nothing has to mean that every
// place in a box is found.

#include "MemoryDisk.h"
#include "XPBPReader.h"

#include <cstdint>

namespace {

constexpr const char* kPath = "/fuzz.pbp";

bool IsInside(const tagXPlaceBox& box, const tagXPlace& place) {
  const bool isBetween = box.west <= box.east ? place.first >= box.west && place.first <= box.east
                                              : place.first >= box.west || place.first <= box.east;
  return isBetween && place.second >= box.south && place.second <= box.north;
}

void SearchBox(const XPBPReader& reader, const tagXPlaceBox& box, bool isSound) {
  XString err;
  std::vector<int> numbers;
  if (!reader.FindInBox(box, numbers, err)) return;
  tagXPlace place;
  for (const int number : numbers) {
    if (!reader.ReadPlace(number, place, err) || !IsInside(box, place)) __builtin_trap();
  }
  if (!isSound) return;
  std::size_t numInside = 0;
  for (int i = 0; i < reader.GetCount(); ++i) {
    if (!reader.ReadPlace(i, place, err)) __builtin_trap();
    numInside += IsInside(box, place);
  }
  if (numInside != numbers.size()) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MemoryDisk disk;
  disk.Add(kPath, {data, size});
  const zrk::ScopedDisk scope(disk);
  XString err;
  tagXPlaceReport report;
  const bool isSound = XfnCheckPlaces(kPath, report, err) && report.numFindings == 0;
  XPBPReader reader;
  if (!reader.Open(kPath, err)) return 0;
  for (const tagXPlaceBox& box :
       {tagXPlaceBox{1.0, 1.0, 1.5, 90.0}, {170.0, -90.0, -170.0, 90.0}, {-180, -90, 180, 90}}) {
    SearchBox(reader, box, isSound);
  }
  std::vector<tagXPlace> places;
  for (const double latitude : {-90.0, 1.0}) {
    if (!reader.FindNearest(2.0, latitude, 3, places, err)) continue;
    for (std::size_t i = 1; i < places.size(); ++i) {
      if (places[i].distance < places[i - 1].distance) __builtin_trap();
    }
  }
  return 0;
}
