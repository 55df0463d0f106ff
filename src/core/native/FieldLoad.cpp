// Reads groups of fields from the text into bands, and those of a dataset into a record beside it. Fields that the text
// does not have keep their values. So each group begins with the values that the band has, lets the reader change some,
// and gives all of them back.
//
// The first element that holds no valid value is remembered by its name, and reading goes on. The caller looks once at
// the end, refuses the whole text, and drops what was read into copies. Both loads, of new bands and of level files,
// rest on that.

#include "core/native/FieldLoad.h"

#include "core/native/DatasetFields.h"
#include "core/native/NativeXml.h"

#include <algorithm>
#include <utility>

namespace zrk {

namespace {

void ReadStatistics(XmlReader& reader, ZRMBand& band) {
  BandStatistics statistics{band.GetBandMin(), band.GetBandMax(), band.GetBandMean(), band.GetBandStdDev()};
  VisitStatistics(reader, statistics);
  band.SetBandMin(statistics.minimum);
  band.SetBandMax(statistics.maximum);
  band.SetBandMean(statistics.mean);
  band.SetBandStdDev(statistics.stdDev);
  BandHistogram histogram{};
  std::copy_n(band.GetHistogram(), histogram.size(), histogram.begin());
  VisitHistogram(reader, histogram);
  band.SetHistogram(histogram.data());
}

void ReadSensorModel(XmlReader& reader, ZRMBand& band) {
  SensorModel model = SensorModelOf(band);
  VisitSensorModel(reader, model);
  band.SetUseSensorModel(model.useSensorModel);
  band.SetFocalLength(model.focalLength);
  band.SetCellSize(model.cellSize);
  band.SetOriginCorner(model.originCorner);
  band.SetOffset(model.offsetX, model.offsetY);
  band.SetScale(model.scaleX, model.scaleY);
  reader.Optional(kTagScanSensor, FieldAccess::ScanSensorParam(band),
                  [](XmlReader& inner, XRSScanSensorParam& param) { VisitScanSensor(inner, param); });
}

void ReadSarParam(XmlReader& reader, ZRMBand& band) {
  SarSubset subset = SarSubsetOf(band);
  VisitSarParam(reader, band, subset);
  band.SetSarsubset(subset.edges[0], subset.edges[1], subset.edges[2], subset.edges[3]);
}

/// Puts a list or record in the place of another. An empty one replaces nothing, because the text had none.
template <class Whole>
void Replace(Whole& target, Whole& fresh) {
  if (fresh != Whole()) target = std::move(fresh);
}

}  // namespace

bool ProjectionReader::Read(XmlReader& reader, ZRMBand& band) {
  XString wkt;
  if (!reader.Field(kTagProjection, wkt) || wkt.IsEmpty()) return true;
  // A text that OGR does not understand is kept as well, so that it is not parsed again for the next band.
  if (wkt != wkt_) {
    if (++numImports_ > kMaxImports) return false;
    sr_.importFromWkt(wkt);
    wkt_ = wkt;
  }
  if (!sr_.IsEmpty()) band.SetSR(sr_);
  return true;
}

XString InvalidValue(const std::string& name) {
  return XString("The raster metadata holds no valid value in " + name);
}

void ReadDescription(XmlReader& reader, ZRMBand& band) {
  ReadStatistics(reader, band);
  VisitSceneOrient(reader, band);
  VisitBasicSensorParams(reader, band);
  ReadSensorModel(reader, band);
  VisitGainBias(reader, band);
  VisitSunParams(reader, band);
  VisitGISDataSet(reader, band);
  VisitImageCenter(reader, band);
  ReadSarParam(reader, band);
}

void ReadIdentity(XmlReader& reader, ZRMBand& band) {
  VisitBasicInfo(reader, band);
  BandCorner corner{band.GetULX(), band.GetULY()};
  VisitCorner(reader, corner);
  band.SetUpperLeft(corner.ulx, corner.uly);
  BandPixelSize size{band.GetXPixelSize(), band.GetYPixelSize()};
  VisitPixelSize(reader, size);
  band.SetPixelSize(size.xPixelSize, size.yPixelSize);
  BandMapInfo info{band.GetCoordinateKind(), band.GetSR()->GetCoordinateKind(), band.IsNormalizedWorld()};
  VisitMapInfo(reader, info);
  band.SetCoordinateKind(info.coordinateKind);
  // Setting a projection sets the kind, too. The text has the last word, and so the projection comes before.
  band.GetSR()->SetCoordinateKind(info.referenceKind);
  band.SetNormalizedWorld(info.normalizedWorld);
}

DatasetText::DatasetText(const XRSFile& dataset) {
  text_.SetVersion(dataset.GetVersion());
  text_.SetDescription(dataset.GetDescription());
  text_.SetThreshold1(dataset.GetThreshold1());
  text_.SetAttatchFlag(dataset.GetAttatchFlag());
  text_.SetCryptoVaildationInfo(dataset.GetCryptoVaildationInfo());
}

void DatasetText::Read(pugi::xml_node element, int numBands, std::string& invalidName) {
  XmlReader reader(element, invalidName);
  // The flags are read for their form only. A dataset has no place for them.
  WriterInfo info{text_.GetCryptoVaildationInfo(), {}};
  VisitWriterInfo(reader, info);
  text_.SetCryptoVaildationInfo(info.cryptoVaildationInfo);
  VisitFileDescription(reader, text_);
  VisitCorrelationMatrix(reader, text_);
  VisitCovarianceMatrix(reader, text_);
  VisitGCPDataSet(reader, text_);
  VisitROIDataSet(reader, text_);
  VisitSIGDataSet(reader, text_);
  // Callers get a matrix without its length, and take the number of bands for its side. Any other length would have
  // them read beyond it.
  const std::size_t cells = static_cast<std::size_t>(numBands) * static_cast<std::size_t>(numBands);
  for (const auto* matrix : {&FieldAccess::CorrelationMatrix(text_), &FieldAccess::CovarianceMatrix(text_)}) {
    if (invalidName.empty() && !matrix->empty() && matrix->size() != cells) invalidName = "a matrix of the bands";
  }
}

void DatasetText::MoveTo(XRSFile& dataset) {
  dataset.SetVersion(text_.GetVersion());
  dataset.SetDescription(text_.GetDescription());
  dataset.SetThreshold1(text_.GetThreshold1());
  dataset.SetAttatchFlag(text_.GetAttatchFlag());
  dataset.SetCryptoVaildationInfo(text_.GetCryptoVaildationInfo());
  Replace(FieldAccess::CorrelationMatrix(dataset), FieldAccess::CorrelationMatrix(text_));
  Replace(FieldAccess::CovarianceMatrix(dataset), FieldAccess::CovarianceMatrix(text_));
  Replace(FieldAccess::RadarScene(dataset), FieldAccess::RadarScene(text_));
  Replace(FieldAccess::GcpSets(dataset), FieldAccess::GcpSets(text_));
  Replace(FieldAccess::Rois(dataset), FieldAccess::Rois(text_));
  Replace(FieldAccess::Sigs(dataset), FieldAccess::Sigs(text_));
}

}  // namespace zrk
