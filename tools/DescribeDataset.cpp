// What zrkio info tells of a dataset: the fields that all datasets have, and in their midst the notes of the format.
// Notes are put in as they come, so that this source knows no format.
//
// Numbers that are not finite and facts that are not known are null. Fields that a kind of dataset never has are left
// out.

#include "DescribeDataset.h"

#include "Corners.h"
#include "LevelFile.h"
#include "Place.h"
#include "XFormatTable.h"
#include "ZRMBand.h"

#include <algorithm>
#include <utility>

namespace {

/// The smallest and the largest of one coordinate.
std::pair<double, double> RangeOf(const Points& points, std::size_t axis) {
  const auto [least, most] =
      std::ranges::minmax_element(points, {}, [axis](const std::array<double, 2>& point) { return point[axis]; });
  return {(*least)[axis], (*most)[axis]};
}

/// Pixel coordinates are no place in the world. The extent holds all corners, however the image is turned.
Json DescribePlace(const ZRMBand& band) {
  if (band.GetCoordinateKind() != kCoordinateWorld) return nullptr;
  const Place place(band);
  const Points corners = CornersOf(band);
  const auto [west, east] = RangeOf(corners, 0);
  const auto [south, north] = RangeOf(corners, 1);
  const auto [xSize, ySize] = place.GetPixelSize();
  Json transform = Json::array();
  for (const double number : place.GetTransform()) transform.push_back(Number(number));
  return {{"upperLeft", {Number(corners[0][0]), Number(corners[0][1])}},
          {"pixelSize", {Number(xSize), Number(ySize)}},
          {"transform", transform},
          {"west", Number(west)},
          {"east", Number(east)},
          {"south", Number(south)},
          {"north", Number(north)},
          {"corners", DescribePoints(corners)},
          {"lonLat", DescribeLonLat(corners, *band.GetSR())},
          {"system", DescribeSystem(*band.GetSR())}};
}

/// Statistics that were never computed are null. They are not computed here, because that may take long. Of those that
/// are stored nobody knows from how many pixels they are.
Json DescribeStatistics(const ZRMBand& band, const StatisticsSource& source) {
  if (band.GetBandMean() == kNotSet) return nullptr;
  const bool isStored = source.kind == StatisticsSource::Kind::kStored;
  return {{"min", Number(band.GetBandMin())},
          {"max", Number(band.GetBandMax())},
          {"mean", Number(band.GetBandMean())},
          {"stdDev", Number(band.GetBandStdDev())},
          {"source", isStored           ? "stored"
                     : source.level > 0 ? "level"
                                        : "allPixels"},
          {"level", isStored ? Json() : Json(source.level)}};
}

Json ToJson(const tagXNote& note);

Json ToJson(const std::vector<tagXNote>& parts, bool areNamed) {
  Json json = areNamed ? Json::object() : Json::array();
  for (const tagXNote& part : parts) {
    if (areNamed) {
      json[part.name.AsStdString()] = ToJson(part);
    } else {
      json.push_back(ToJson(part));
    }
  }
  return json;
}

Json ToJson(const tagXNote& note) {
  switch (note.kind) {
    case tagXNote::kBool:
      return note.number != 0;
    case tagXNote::kInteger:
      return note.number;
    case tagXNote::kText:
      return note.text.AsStdString();
    case tagXNote::kList:
    case tagXNote::kRecord:
      return ToJson(note.parts, note.kind == tagXNote::kRecord);
    default:
      return nullptr;
  }
}

/// What the format tells beside the fields that all datasets have.
void AddNotes(Json& json, const tagXFormatNotes& notes) {
  for (const tagXNote& note : notes.values) json[note.name.AsStdString()] = ToJson(note);
}

Json DescribeBand(ZRMBand& band, const tagXFormatNotes& notes, const StatisticsSource& source) {
  Json json = {{"name", band.GetBandName().GetText()},
               {"width", band.GetXSize()},
               {"height", band.GetYSize()},
               {"dataType", XfnGetDataTypeString(band.GetDataType())},
               {"bits", 8 * band.GetDataSize()},
               {"levels", band.GetLevel()},
               {"statistics", DescribeStatistics(band, source)}};
  AddNotes(json, notes);
  if (band.GetNullValue() != kNotSet) json["nullValue"] = Number(band.GetNullValue());
  return json;
}

/// Only a level file that opening attached is told of.
Json DescribeLevelFile(const XRSFile& file, const std::string& path) {
  const LevelFileKind kind = GetLevelFileKind(file);
  if (kind == LevelFileKind::kNone) return nullptr;
  return {{"file", LevelFileName(path)}, {"kind", kind == LevelFileKind::kFull ? "full" : "short"}};
}

void AddRaster(DatasetInfo& info, XRSFile& file, const std::string& path, bool isVerbose,
               const std::vector<StatisticsSource>& sources) {
  Json& json = info.json;
  ZRMBand& first = *file.GetBandAt(0);
  json["width"] = first.GetXSize();
  json["height"] = first.GetYSize();
  json["georeference"] = DescribePlace(first);
  json["system"] = DescribeSystem(*first.GetSR());
  json["levelFile"] = DescribeLevelFile(file, path);
  info.notes = XfnDescribeFormat(&first, isVerbose);
  AddNotes(json, info.notes);
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    ZRMBand& band = *file.GetBandAt(i);
    info.bandNotes.push_back(XfnDescribeFormatOfBand(&band));
    const auto index = static_cast<std::size_t>(i);
    const StatisticsSource source = index < sources.size() ? sources[index] : StatisticsSource();
    json["channels"].push_back(DescribeBand(band, info.bandNotes.back(), source));
  }
}

/// A layer without features has no extent.
Json DescribeLayer(const tagXVectorLayer& layer) {
  Json json = {{"name", layer.name.GetText()}, {"features", layer.numFeatures}, {"extent", nullptr}};
  if (layer.hasExtent) {
    json["extent"] = {{"west", Number(layer.minX)},
                      {"east", Number(layer.maxX)},
                      {"south", Number(layer.minY)},
                      {"north", Number(layer.maxY)}};
  }
  XSpatialReference sr;
  json["system"] = sr.importFromWkt(layer.wkt) ? DescribeSystem(sr) : Json();
  return json;
}

}  // namespace

DatasetInfo DescribeDataset(XRSFile& file, const std::string& path, bool isVerbose,
                            const std::vector<StatisticsSource>& sources) {
  DatasetInfo info;
  Json& json = info.json;
  // The file is open, so it has a format.
  const tagXFormat* format = XfnFindFormatOfFile(path);
  json = {{"file", path}, {"format", format->name}, {"id", format->id}};
  if (file.GetBandAt(0)) AddRaster(info, file, path, isVerbose, sources);
  for (int v = 0; v < file.GetNumOfVands(); ++v) {
    const ZRMVand& vand = *file.GetVandAt(v);
    for (int i = 0; i < vand.GetNumOfLayers(); ++i) json["layers"].push_back(DescribeLayer(*vand.GetLayerAt(i)));
  }
  return info;
}
