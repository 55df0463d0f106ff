#include "NativeFields.h"

#include "XEPOT2D.h"
#include "ZRMBandEPOT.h"

#include <gtest/gtest.h>
#include <array>
#include <bit>
#include <limits>
#include <type_traits>

namespace {

/// Numbers that differ from one to the next; every third is one that is hard to print.
class Numbers {
 public:
  explicit Numbers(int seed) : next_(seed * 1000) {}

  int Int() { return ++next_; }
  double Double() {
    static const std::array<double, 9> kHard = {-0.0,
                                                std::numeric_limits<double>::denorm_min(),
                                                1.7e+308,
                                                -1.7e+308,
                                                std::bit_cast<double>(0x7FF80000DEADBEEFu),
                                                std::bit_cast<double>(0xFFF4000000000001u),
                                                std::numeric_limits<double>::infinity(),
                                                -std::numeric_limits<double>::infinity(),
                                                5e-310};
    const int number = Int();
    return number % 3 == 0 ? kHard[static_cast<std::size_t>(number / 3) % kHard.size()] : number / 7.0;
  }
  std::vector<double> Doubles(int count) {
    std::vector<double> values;
    for (int i = 0; i < count; ++i) values.push_back(Double());
    return values;
  }
  XString Text() { return XString(" <text> & \"" + std::to_string(Int()) + "\" 100%\r\n"); }
  unsigned char Byte() { return static_cast<unsigned char>(Int()); }

 private:
  int next_;
};

/// Values, one a line; doubles by their bits.
class Lines {
 public:
  template <class... Values>
  void Add(const char* name, const Values&... values) {
    (AddOne(name, values), ...);
  }
  Description& Get() { return lines_; }

 private:
  void AddOne(const char* name, const XString& value) { lines_.push_back(name + (": " + value.AsStdString())); }
  template <class Value>
  void AddOne(const char* name, const Value& value) {
    if constexpr (std::is_floating_point_v<Value>) {
      lines_.push_back(name + (": bits " + std::to_string(std::bit_cast<std::uint64_t>(value))));
    } else if constexpr (std::is_integral_v<Value>) {
      lines_.push_back(name + (": " + std::to_string(value)));
    } else {
      for (const auto& element : value) AddOne(name, element);
    }
  }

  Description lines_;
};

template <class Record>
void AddColour(Lines& lines, const Record& record) {
  lines.Add("colour", record.red, record.green, record.blue);
}

template <class Record>
void FillColour(Record& record, Numbers& numbers) {
  record.red = numbers.Byte();
  record.green = numbers.Byte();
  record.blue = numbers.Byte();
}

void FillPlace(ZRMBand& band, Numbers& numbers) {
  band.SetID(numbers.Int());
  band.SetBandName(numbers.Text());
  band.SetBandType(kBandTypeThematic);
  band.SetNullValue(numbers.Double());
  XSpatialReference sr;
  sr.importFromEPSG(32652);
  band.SetSR(sr);
  band.GetSR()->SetCoordinateKind(kReferenceUnknown);
  band.SetCoordinateKind(kCoordinateWorld);
  band.SetUpperLeft(300000.1, -4000000.7);
  band.SetPixelSize(0.1, 0.3);
  band.SetNormalizedWorld(numbers.Int());
  band.SetOffsetInFile(0);
}

void FillScanSensor(ZRMBand& band, Numbers& numbers) {
  XRSScanSensorParam param;
  param.reserved = numbers.Int();
  param.count = numbers.Int();
  param.mode = numbers.Int();
  for (double& value : param.originInEcf) value = numbers.Double();
  for (double& value : param.lsrToEcf) value = numbers.Double();
  param.imageLines = numbers.Int();
  param.imageSamples = numbers.Int();
  int count = 0;
  for (auto* list : {&param.gridX, &param.gridY, &param.gridZ, &param.gridOmega, &param.gridPhi, &param.gridKappa,
                     &param.polyX, &param.polyY, &param.polyZ, &param.polyOmega, &param.polyPhi, &param.polyKappa}) {
    *list = numbers.Doubles(count++);
  }
  band.SetScanSensorParam(&param);
}

void FillSensor(ZRMBand& band, Numbers& numbers) {
  band.SetCenter(numbers.Int(), numbers.Int());
  band.SetSceneOrient(numbers.Double());
  band.SetAltitude(-numbers.Int());
  band.SetIncidenceAngle(numbers.Double());
  band.SetBandDate(std::numeric_limits<long>::max() - numbers.Int());
  band.SetBandSensor(std::numeric_limits<long>::min() + numbers.Int());
  band.SetWaveLength(numbers.Double());
  band.SetBandSensorName(AllBytes() + numbers.Text());
  band.SetUseSensorModel(numbers.Int());
  band.SetFocalLength(numbers.Double());
  band.SetCellSize(numbers.Double());
  band.SetOriginCorner(" ");
  band.SetOffset(numbers.Double(), numbers.Double());
  band.SetScale(numbers.Double(), numbers.Double());
  band.SetSunAzimuth(numbers.Double());
  band.SetSunElevation(numbers.Double());
  band.SetGain(numbers.Double());
  band.SetBias(numbers.Double());
}

void FillStatistics(ZRMBand& band, Numbers& numbers) {
  band.SetBandMin(numbers.Double());
  band.SetBandMax(numbers.Double());
  band.SetBandMean(numbers.Double());
  band.SetBandStdDev(numbers.Double());
  std::array<std::int64_t, 256> histogram{};
  for (auto& bin : histogram) bin = std::int64_t{numbers.Int()} << 40;
  band.SetHistogram(histogram.data());
}

void FillGis(ZRMBand& band, Numbers& numbers) {
  for (int i = 0; i < 3; ++i) {
    auto gis = std::make_unique<tagXRSGIS>();
    gis->index = -numbers.Int();
    FillColour(*gis, numbers);
    gis->numPixels = std::int64_t{numbers.Int()} << 33;
    gis->area = numbers.Double();
    gis->name = numbers.Text();
    band.AddGIS(gis.release());
  }
}

void FillRadar(ZRMBand& band, Numbers& numbers) {
  band.SetSarMode(numbers.Int());
  band.SetCarrierFrequency(numbers.Double());
  band.SetChirpBandWidth(numbers.Double());
  band.SetChirpDuration(numbers.Double());
  band.SetUpChirp(numbers.Int());
  band.SetSamplingFrequency(numbers.Double());
  band.SetPRF(numbers.Double());
  band.SetIncidenceAngleN(numbers.Double());
  band.SetIncidenceAngleC(numbers.Double());
  band.SetIncidenceAngleF(numbers.Double());
  band.SetSquintAngle(numbers.Double());
  band.SetAntennaLength(numbers.Double(), numbers.Double());
  band.SetApertureTime(numbers.Double(), numbers.Double());
  XOrbitInterpolater orbit;
  orbit.epoch = numbers.Double();
  for (int i = 0; i < 4; ++i) {
    auto& vector = orbit.vectors.emplace_back();
    vector.time = numbers.Double();
    for (double& value : vector.position) value = numbers.Double();
    for (double& value : vector.velocity) value = numbers.Double();
  }
  band.SetOrbitInterpolater(orbit);
  band.SetSarBeam({numbers.Int(), numbers.Double(), numbers.Double(), numbers.Doubles(9)});
  band.SetSarsubset(numbers.Int(), numbers.Int(), -numbers.Int(), numbers.Int());
}

void AddScanSensor(Lines& lines, const ZRMBand& band) {
  const XRSScanSensorParam* param = band.GetScanSensorParam();
  if (!param) return;
  lines.Add("scan", param->reserved, param->count, param->mode, param->originInEcf, param->lsrToEcf, param->imageLines,
            param->imageSamples);
  lines.Add("gridX", param->gridX);
  lines.Add("gridY", param->gridY);
  lines.Add("gridZ", param->gridZ);
  lines.Add("gridOmega", param->gridOmega);
  lines.Add("gridPhi", param->gridPhi);
  lines.Add("gridKappa", param->gridKappa);
  lines.Add("polyX", param->polyX);
  lines.Add("polyY", param->polyY);
  lines.Add("polyZ", param->polyZ);
  lines.Add("polyOmega", param->polyOmega);
  lines.Add("polyPhi", param->polyPhi);
  lines.Add("polyKappa", param->polyKappa);
}

void AddRadar(Lines& lines, ZRMBand& band) {
  const XSarParam& sar = band.GetSarParam();
  lines.Add("sar", sar.mode, sar.carrierFrequency, sar.chirpBandWidth, sar.chirpDuration, sar.upChirp,
            sar.samplingFrequency, sar.prf, sar.incidenceAngleN, sar.incidenceAngleC, sar.incidenceAngleF,
            sar.squintAngle, sar.antennaLength, sar.apertureTime);
  lines.Add("epoch", band.GetOrbitInterpolater().epoch);
  for (const auto& vector : band.GetOrbitInterpolater().vectors) {
    lines.Add("vector", vector.time, vector.position, vector.velocity);
  }
  const XSarBeam& beam = band.GetSarBeam();
  lines.Add("beam", beam.beamNumber, beam.firstAngle, beam.angleStep, beam.gains);
  std::array<int, 4> subset{};
  band.GetSarsubset(subset[0], subset[1], subset[2], subset[3]);
  lines.Add("subset", subset);
}

void FillSets(XRSFile& dataset, Numbers& numbers) {
  for (int i = 0; i < 2; ++i) {
    auto gcps = std::make_unique<tagGCPSets>();
    gcps->name = numbers.Text();
    gcps->projectionWkt = numbers.Text();
    for (int k = 0; k < 3; ++k) {
      gcps->points.push_back({numbers.Text(), numbers.Double(), numbers.Double(), numbers.Double(), numbers.Double(),
                              numbers.Double(), numbers.Int()});
    }
    dataset.AddGCPSet(gcps.release());
    auto roi = std::make_unique<XROI>();
    roi->name = numbers.Text();
    FillColour(*roi, numbers);
    roi->polygons = {{{numbers.Double(), numbers.Double()}, {numbers.Double(), numbers.Double()}}, {}};
    dataset.AddROISet(roi.release());
    auto sig = std::make_unique<XRSSIG>();
    sig->name = numbers.Text();
    FillColour(*sig, numbers);
    sig->numSamples = std::int64_t{numbers.Int()} << 35;
    sig->minimum = numbers.Doubles(2);
    sig->maximum = numbers.Doubles(2);
    sig->mean = numbers.Doubles(3);
    sig->covariance = numbers.Doubles(4);
    dataset.AddSIGSet(sig.release());
  }
}

void AddSets(Lines& lines, const XRSFile& dataset) {
  for (int i = 0; i < dataset.GetNumOfGCPSet(); ++i) {
    const tagGCPSets& gcps = *dataset.GetGCPSetAt(i);
    lines.Add("gcps", gcps.name, gcps.projectionWkt);
    for (const tagGCP& point : gcps.points) {
      lines.Add("point", point.name, point.pixelX, point.pixelY, point.mapX, point.mapY, point.mapZ, point.enabled);
    }
  }
  for (int i = 0; i < dataset.GetNumOfROI(); ++i) {
    const XROI& roi = *dataset.GetROIAt(i);
    lines.Add("roi", roi.name);
    AddColour(lines, roi);
    for (const XROI::Polygon& polygon : roi.polygons) {
      lines.Add("polygon", polygon.size());
      for (const XROI::Point& point : polygon) lines.Add("corner", point.x, point.y);
    }
  }
  for (int i = 0; i < dataset.GetNumOfSIG(); ++i) {
    const XRSSIG& sig = *dataset.GetSIGAt(i);
    lines.Add("sig", sig.name, sig.numSamples);
    AddColour(lines, sig);
    lines.Add("minimum", sig.minimum);
    lines.Add("maximum", sig.maximum);
    lines.Add("mean", sig.mean);
    lines.Add("covariance", sig.covariance);
  }
}

void WriteInfo(XRSFileSaver& saver, ZRMBand& band, int levels) {
  saver.CopyBandInfo(&band, levels, band.GetXTileSize(), band.GetYTileSize(), band.GetXSize(), band.GetYSize(),
                     band.GetDataType(), band.GetCompressionInfo(), band.GetBandMin(), band.GetBandMax(),
                     band.GetBandMean(), band.GetBandStdDev(), band.GetHistogram());
}

/// Writes the samples at the end of the file's data and answers how long the store is.
std::int64_t WriteSamples(XFile& file, std::int64_t offset, int index) {
  ZRMBandEPOT store;
  EXPECT_TRUE(store.SetImage(&file, offset, 20, 10, kPint08, 16, 16, 1, 0));
  std::vector<unsigned char> samples;
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 20; ++x) samples.push_back(static_cast<unsigned char>(index * 100 + x + y));
  }
  EXPECT_TRUE(store.WriteSubset(samples.data(), 0, 19, 0, 9, false, 0.0));
  return XEPOT2D::CalcSize(20, 10, kPint08, 16, 16, 1);
}

}  // namespace

XString AllBytes() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return XString(bytes + "]]>");
}

void FillBand(ZRMBand& band, int seed) {
  Numbers numbers(seed);
  FillPlace(band, numbers);
  FillSensor(band, numbers);
  FillScanSensor(band, numbers);
  FillStatistics(band, numbers);
  FillGis(band, numbers);
  FillRadar(band, numbers);
}

void FillDataset(XRSFile& dataset, int seed) {
  Numbers numbers(seed);
  dataset.SetVersion(numbers.Int());
  dataset.SetDescription(AllBytes() + numbers.Text());
  dataset.SetThreshold1(numbers.Int());
  dataset.SetAttatchFlag(-numbers.Int());
  const int numBands = dataset.GetNumOfBands();
  dataset.SetCorrelationMatrix(numbers.Doubles(numBands * numBands).data(), numBands);
  dataset.SetCovarianceMatrix(numbers.Doubles(numBands * numBands).data(), numBands);
  auto scene = std::make_unique<tagXRadarScene>();
  *scene = {numbers.Text(), numbers.Text(), numbers.Text(),   numbers.Int(),
            numbers.Int(),  -numbers.Int(), numbers.Double(), numbers.Double()};
  dataset.SetRadarScene(scene.release());
  FillSets(dataset, numbers);
}

Description DescribeIdentity(ZRMBand& band) {
  Lines lines;
  lines.Add("band", band.GetID(), band.GetBandName(), band.GetBandType(), band.GetNullValue());
  lines.Add("size", band.GetXSize(), band.GetYSize(), band.GetDataType(), band.GetXTileSize(), band.GetYTileSize(),
            band.GetCompressionInfo());
  XString wkt;
  band.GetSR()->exportToWkt(wkt);
  lines.Add("system", wkt, band.GetSR()->GetCoordinateKind(), band.GetCoordinateKind(), band.IsNormalizedWorld());
  lines.Add("place", band.GetULX(), band.GetULY(), band.GetXPixelSize(), band.GetYPixelSize());
  return lines.Get();
}

Description DescribeAcquisition(ZRMBand& band) {
  Lines lines;
  lines.Add("center", band.GetCenterX(), band.GetCenterY());
  lines.Add("scene", band.GetSceneOrient(), band.GetAltitude(), band.GetIncidenceAngle());
  lines.Add("sensor", band.GetBandDate(), band.GetBandSensor(), band.GetWaveLength(), band.GetBandSensorName());
  lines.Add("model", band.GetUseSensorModel(), band.GetFocalLength(), band.GetCellSize(), band.GetOriginCorner());
  double x = 0.0, y = 0.0;
  band.GetOffset(x, y);
  lines.Add("offset", x, y);
  band.GetScale(x, y);
  lines.Add("scale", x, y);
  lines.Add("sun", band.GetSunAzimuth(), band.GetSunElevation());
  lines.Add("calibration", band.GetGain(), band.GetBias());
  lines.Add("statistics", band.GetBandMin(), band.GetBandMax(), band.GetBandMean(), band.GetBandStdDev());
  for (int i = 0; i < 256; ++i) lines.Add("histogram", band.GetHistogram()[i]);
  for (int i = 0; i < band.GetNumOfGIS(); ++i) {
    const tagXRSGIS& gis = *band.GetGISAt(i);
    lines.Add("gis", gis.index, gis.numPixels, gis.area, gis.name);
    AddColour(lines, gis);
  }
  AddScanSensor(lines, band);
  AddRadar(lines, band);
  return lines.Get();
}

Description DescribeDataset(XRSFile& dataset) {
  Lines lines;
  lines.Add("dataset", dataset.GetVersion(), dataset.GetDescription(), dataset.GetThreshold1(),
            dataset.GetAttatchFlag(), dataset.GetCryptoVaildationInfo());
  const int cells = dataset.GetNumOfBands() * dataset.GetNumOfBands();
  for (const double* matrix : {dataset.GetCorrelationMatrix(), dataset.GetCovarianceMatrix()}) {
    for (int i = 0; matrix && i < cells; ++i) lines.Add("matrix", matrix[i]);
  }
  if (const tagXRadarScene* scene = dataset.GetRadarScene()) {
    lines.Add("radar", scene->satellite, scene->beamMode, scene->polarization, scene->orbitNumber, scene->ascending,
              scene->lookRight, scene->startTime, scene->stopTime);
  }
  AddSets(lines, dataset);
  return lines.Get();
}

void WriteBand(XRSFileSaver& saver, ZRMBand& band) {
  saver.CopyBandBasicInfo(&band);
  saver.CopyBandCoord(&band, 0, band.GetXSize() - 1, 0, band.GetYSize() - 1);
  saver.CopyBandMapInfo(&band);
  saver.CopyBandPixelSize(&band);
  saver.CopyBandSceneOrient(&band);
  saver.CopyBasicSensorParams(&band);
  saver.CopyGainBias(&band);
  saver.CopySunParams(&band);
  saver.CopyGISDataSet(&band);
  saver.CopyImageCenter(&band);
  if (band.IsSarBand()) saver.CopyBandSarParam(&band);
}

void WriteDataset(XRSFileSaver& saver, XRSFile& dataset) {
  saver.CopyFileDescription(&dataset);
  saver.CopyGCPDataSet(&dataset);
  saver.CopyROIDataSetAll(&dataset);
  saver.CopySIGDataSetAll(&dataset);
}

XString LevelText(XRSFile& dataset) {
  XRSFileSaver saver;
  saver.WriteInitTags();
  for (int i = 0; i < dataset.GetNumOfBands(); ++i) {
    saver.WriteBandTag();
    WriteInfo(saver, *dataset.GetBandAt(i), dataset.GetBandAt(0)->GetLevel());
    WriteBand(saver, *dataset.GetBandAt(i));
  }
  WriteDataset(saver, dataset);
  return saver.GetXML();
}

ZRMBand& AddPlainBand(XRSFile& dataset, int xSize, int ySize, int dataType) {
  auto band = std::make_unique<ZRMBand>();
  band->SetSize(xSize, ySize);
  band->SetDataType(dataType);
  ZRMBand& added = *band;
  dataset.AddBand(band.release());
  return added;
}

void WriteNativeFile(const std::string& path, int numBands, bool withAllFields) {
  XFile file;
  ASSERT_TRUE(file.Open(path, XFile::kReadWrite | XFile::kCreate));
  XRSFile dataset;
  XRSFileSaver saver;
  saver.SetFileOutputData(&file);
  saver.WriteInitTags();
  for (int i = 0; i < numBands; ++i) {
    ZRMBand& band = AddPlainBand(dataset, 20, 10, kPint08);
    band.SetTileSize(16, 16);
    if (withAllFields) FillBand(band, i + 1);
    saver.WriteBandTag();
    const std::int64_t offset = saver.GetDataEnd();
    const std::int64_t bytes = WriteSamples(file, offset, i);
    saver.WriteBandDataPlace(offset, bytes);
    saver.SetDataEnd(offset + bytes);
    if (withAllFields) WriteInfo(saver, band, 1);
    if (!withAllFields) saver.CopyBandInfo(nullptr, 1, 16, 16, 20, 10, kPint08, 0, 1.0, 2.0, 3.0, 4.0, nullptr);
    if (withAllFields) WriteBand(saver, band);
  }
  if (withAllFields) FillDataset(dataset, 50);
  if (withAllFields) WriteDataset(saver, dataset);
  ASSERT_TRUE(saver.Save());
}
