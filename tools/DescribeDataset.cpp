#include "DescribeDataset.h"

#include "Corners.h"
#include "DescribeTiff.h"
#include "FileFormat.h"
#include "LevelFile.h"
#include "XFormatTable.h"
#include "ZRMBandEPOT.h"

namespace {

Json DescribePlace(const ZRMBand& band) {
  if (band.GetCoordinateKind() != kCoordinateWorld) return nullptr;
  double minX, maxX, minY, maxY;
  band.GetBoundRect(minX, maxX, minY, maxY);
  const Points corners = CornersOf(band);
  return {{"upperLeft", {Number(band.GetULX()), Number(band.GetULY())}},
          {"pixelSize", {Number(band.GetXPixelSize()), Number(band.GetYPixelSize())}},
          {"west", Number(minX)},
          {"east", Number(maxX)},
          {"south", Number(minY)},
          {"north", Number(maxY)},
          {"corners", DescribePoints(corners)},
          {"lonLat", DescribeLonLat(corners, *band.GetSR())},
          {"system", DescribeSystem(*band.GetSR())}};
}

Json DescribeStatistics(const ZRMBand& band) {
  if (band.GetBandMean() == kNotSet) return nullptr;
  return {{"min", Number(band.GetBandMin())},
          {"max", Number(band.GetBandMax())},
          {"mean", Number(band.GetBandMean())},
          {"stdDev", Number(band.GetBandStdDev())}};
}

Json DescribeBand(ZRMBand& band) {
  Json json = {{"name", band.GetBandName().GetText()},
               {"width", band.GetXSize()},
               {"height", band.GetYSize()},
               {"dataType", XfnGetDataTypeString(band.GetDataType())},
               {"bits", 8 * band.GetDataSize()},
               {"levels", band.GetLevel()},
               {"statistics", DescribeStatistics(band)}};
  const auto* native = dynamic_cast<ZRMBandEPOT*>(&band);
  if (native) json["compressed"] = native->GetCompressionInfo() == kCompressionTiles;
  if (band.GetNullValue() != kNotSet) json["nullValue"] = Number(band.GetNullValue());
  return json;
}

Json DescribeLevelFile(const XRSFile& file, const std::string& path) {
  const LevelFileKind kind = GetLevelFileKind(file);
  if (kind == LevelFileKind::kNone) return nullptr;
  return {{"file", LevelFileName(path)}, {"kind", kind == LevelFileKind::kFull ? "full" : "short"}};
}

void AddRaster(Json& json, XRSFile& file, const std::string& path, bool isVerbose) {
  ZRMBand& first = *file.GetBandAt(0);
  json["width"] = first.GetXSize();
  json["height"] = first.GetYSize();
  json["georeference"] = DescribePlace(first);
  json["levelFile"] = DescribeLevelFile(file, path);
  AddTiffFields(json, first, isVerbose);
  for (int i = 0; i < file.GetNumOfBands(); ++i) json["channels"].push_back(DescribeBand(*file.GetBandAt(i)));
}

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

Json DescribeDataset(XRSFile& file, const std::string& path, bool isVerbose) {
  const tagXFormat* format = XfnFindFormat(FindFormatId(path));
  Json json = {{"file", path}, {"format", format->name}, {"id", format->id}};
  if (file.GetBandAt(0)) AddRaster(json, file, path, isVerbose);
  for (int v = 0; v < file.GetNumOfVands(); ++v) {
    const ZRMVand& vand = *file.GetVandAt(v);
    for (int i = 0; i < vand.GetNumOfLayers(); ++i) json["layers"].push_back(DescribeLayer(*vand.GetLayerAt(i)));
  }
  return json;
}
