// Lists of places of several kinds go into an exporter. The kind is told by the caller or guessed from the first line
// that is no comment.

#include "XPlaceSource.h"

#include "base/Fence.h"
#include "writers/names/PlaceLists.h"

namespace zrk {

namespace {

XPlaceFormat GuessByLine(std::string_view line) {
  if (Trimmed(line).starts_with('<')) return kPlacesGWeather;
  ListedPoint point;
  const std::size_t tab = line.find('\t');
  if (tab != std::string_view::npos) {
    const std::string_view behind = line.substr(tab + 1);
    if (ParseIso6709(behind.substr(0, behind.find('\t')), point)) return kPlacesTzdata;
  }
  const std::string_view first = TakeWord(line), second = TakeWord(line);
  const bool areNumbers = ParsePlaceNumber(first, point.latitude) && ParsePlaceNumber(second, point.longitude);
  return areNumbers || first.find('=') != std::string_view::npos ? kPlacesXplanet : kPlacesCsv;
}

XPlaceFormat GuessPlaceFormat(const XString& path) {
  PlaceLines lines(path);
  for (std::string_view line; lines.Next(line);) {
    line = Trimmed(line);
    if (!line.empty() && line.front() != '#') return GuessByLine(line);
  }
  throw PlaceListFault("The file has no places");
}

void TakePlaces(const XString& path, XPlaceFormat format, PlaceTaker& taker) {
  if (format == kPlacesByContent) format = GuessPlaceFormat(path);
  if (format == kPlacesGWeather) return TakeGWeather(path, taker);
  PlaceLines lines(path);
  switch (format) {
    case kPlacesTzdata:
      return TakeTzdata(lines, taker);
    case kPlacesXplanet:
      return TakeXplanet(lines, taker);
    case kPlacesCsv:
      return TakeCsv(lines, taker);
    default:
      throw PlaceListFault("There is no such format of lists");
  }
}

}  // namespace

void PlaceTaker::Take(ListedPoint point, std::string_view name) {
  if (!PutOnEarth(point) || name.empty()) {
    LeaveOut();
  } else if (name.size() > tagPName::kNameBytes) {
    ++count_.numTooLong;
  } else if (exporter_.AddPName(point.longitude, point.latitude, XString(name))) {
    ++count_.numAdded;
  } else {
    throw PlaceListFault("The places are more than memory or a file can hold");
  }
}

}  // namespace zrk

int XfnAddPlaces(const XString& path, XPlaceFormat format, XPBPProviderExporter& exporter, tagXPlaceCount& count,
                 XString& err) {
  return zrk::Fenced(err, [&] {
    tagXPlaceCount taken;
    zrk::PlaceTaker taker(exporter, taken);
    zrk::TakePlaces(path, format, taker);
    count = taken;
    return 1;
  });
}
