#include "XRSFile.h"
#include "ZRMBand.h"

#include <gtest/gtest.h>
#include <cmath>
#include <functional>

namespace {

/// A field by its accessors: one gives it a value that no new band has, the other tells whether it has it.
struct Field {
  const char* name;
  std::function<void(ZRMBand&)> set;
  std::function<bool(const ZRMBand&)> isSet;
};
using Fields = std::vector<Field>;

template <class Set, class Get, class Value>
Field One(const char* name, Set set, Get get, Value value) {
  return {name, [=](ZRMBand& band) { (band.*set)(value); },
          [=](const ZRMBand& band) { return (band.*get)() == value; }};
}

template <class Set, class Get, class Value>
Field Two(const char* name, Set set, Get get, Value first, Value second) {
  return {name, [=](ZRMBand& band) { (band.*set)(first, second); },
          [=](const ZRMBand& band) {
            Value a{}, b{};
            (band.*get)(a, b);
            return a == first && b == second;
          }};
}

Fields PlaneFields() {
  using B = ZRMBand;
  return {
      One("id", &B::SetID, &B::GetID, 11),
      One("name", &B::SetBandName, &B::GetBandName, XString("Channel 1")),
      One("offsetInFile", &B::SetOffsetInFile, &B::GetOffsetInFile, std::int64_t{1} << 40),
      One("dataType", &B::SetDataType, &B::GetDataType, 8),
      Two("size", &B::SetSize, &B::GetSize, 301, 302),
      Two("tileSize", &B::SetTileSize, &B::GetTileSize, 401, 402),
      One("compressionInfo", &B::SetCompressionInfo, &B::GetCompressionInfo, 12),
      One("bandMin", &B::SetBandMin, &B::GetBandMin, 1.25),
      One("bandMax", &B::SetBandMax, &B::GetBandMax, 2.25),
      One("bandMean", &B::SetBandMean, &B::GetBandMean, 3.25),
      One("bandStdDev", &B::SetBandStdDev, &B::GetBandStdDev, 4.25),
      {"histogram", [](B& band) { band.SetHistogram(std::vector<std::int64_t>(256, 77).data()); },
       [](const B& band) { return band.GetHistogram()[0] == 77 && band.GetHistogram()[255] == 77; }},
      One("nullValue", &B::SetNullValue, &B::GetNullValue, -9999.0),
  };
}

Fields PlaceFields() {
  using B = ZRMBand;
  return {
      One("bandType", &B::SetBandType, &B::GetBandType, kBandTypeThematic),
      {"sr",
       [](B& band) {
         XSpatialReference sr;
         sr.SetCoordinateKind(kReferenceUnknown);
         band.SetSR(sr);
       },
       [](const B& band) { return band.GetSR()->GetCoordinateKind() == kReferenceUnknown; }},
      One("coordinateKind", &B::SetCoordinateKind, &B::GetCoordinateKind, 2),
      One("ulx", &B::SetULX, &B::GetULX, 300000.5),
      One("uly", &B::SetULY, &B::GetULY, 4000000.5),
      One("xPixelSize", &B::SetXPixelSize, &B::GetXPixelSize, 2.5),
      One("yPixelSize", &B::SetYPixelSize, &B::GetYPixelSize, 3.5),
      One("normalizedWorld", &B::SetNormalizedWorld, &B::IsNormalizedWorld, 13),
      Two("center", &B::SetCenter, &B::GetCenter, 150, 151),
      One("originCorner", &B::SetOriginCorner, &B::GetOriginCorner, XString("upper left")),
      Two("offset", &B::SetOffset, &B::GetOffset, 5.5, 6.5),
      Two("scale", &B::SetScale, &B::GetScale, 7.5, 8.5),
  };
}

Fields AcquisitionFields() {
  using B = ZRMBand;
  return {
      One("sceneOrient", &B::SetSceneOrient, &B::GetSceneOrient, 12.5),
      One("altitude", &B::SetAltitude, &B::GetAltitude, 681000),
      One("incidenceAngle", &B::SetIncidenceAngle, &B::GetIncidenceAngle, 23.5),
      One("bandDate", &B::SetBandDate, &B::GetBandDate, 20240131L),
      One("bandSensor", &B::SetBandSensor, &B::GetBandSensor, 14L),
      One("waveLength", &B::SetWaveLength, &B::GetWaveLength, 0.55),
      One("bandSensorName", &B::SetBandSensorName, &B::GetBandSensorName, XString("MSC")),
      One("useSensorModel", &B::SetUseSensorModel, &B::GetUseSensorModel, 1),
      One("focalLength", &B::SetFocalLength, &B::GetFocalLength, 900.5),
      One("cellSize", &B::SetCellSize, &B::GetCellSize, 0.013),
      {"scanSensorParam",
       [](B& band) {
         XRSScanSensorParam param;
         param.polyKappa = {1.0, 2.0};
         band.SetScanSensorParam(&param);
       },
       [](const B& band) { return band.GetScanSensorParam() && band.GetScanSensorParam()->polyKappa.size() == 2; }},
      One("sunAzimuth", &B::SetSunAzimuth, &B::GetSunAzimuth, 145.5),
      One("sunElevation", &B::SetSunElevation, &B::GetSunElevation, 45.5),
      One("gain", &B::SetGain, &B::GetGain, 0.75),
      One("bias", &B::SetBias, &B::GetBias, -1.5),
  };
}

Fields RadarFields() {
  using B = ZRMBand;
  return {
      One("sarMode", &B::SetSarMode, &B::GetSarMode, 3),
      One("carrierFrequency", &B::SetCarrierFrequency, &B::GetCarrierFrequency, 5.3e9),
      One("chirpBandWidth", &B::SetChirpBandWidth, &B::GetChirpBandWidth, 1.6e7),
      One("chirpDuration", &B::SetChirpDuration, &B::GetChirpDuration, 3.7e-5),
      One("upChirp", &B::SetUpChirp, &B::GetUpChirp, 1),
      One("samplingFrequency", &B::SetSamplingFrequency, &B::GetSamplingFrequency, 1.9e7),
      One("prf", &B::SetPRF, &B::GetPRF, 1679.9),
      One("incidenceAngleN", &B::SetIncidenceAngleN, &B::GetIncidenceAngleN, 19.5),
      One("incidenceAngleC", &B::SetIncidenceAngleC, &B::GetIncidenceAngleC, 23.0),
      One("incidenceAngleF", &B::SetIncidenceAngleF, &B::GetIncidenceAngleF, 26.5),
      One("squintAngle", &B::SetSquintAngle, &B::GetSquintAngle, 0.1),
      Two("antennaLength", &B::SetAntennaLength, &B::GetAntennaLength, 10.0, 1.0),
      Two("apertureTime", &B::SetApertureTime, &B::GetApertureTime, 0.25, 0.5),
      {"sarSubset", [](B& band) { band.SetSarsubset(1, 2, 3, 4); },
       [](const B& band) {
         int x0 = 0, x1 = 0, y0 = 0, y1 = 0;
         band.GetSarsubset(x0, x1, y0, y1);
         return x0 == 1 && x1 == 2 && y0 == 3 && y1 == 4;
       }},
  };
}

Fields AllFields() {
  Fields all;
  for (const auto& some : {PlaneFields(), PlaceFields(), AcquisitionFields(), RadarFields()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

}  // namespace

TEST(ZRMBandFields, EachSetterSetsItsFieldAndNoOther) {
  ZRMBand band;
  for (const Field& field : AllFields()) EXPECT_FALSE(field.isSet(band)) << field.name;
  for (const Field& field : AllFields()) field.set(band);
  for (const Field& field : AllFields()) EXPECT_TRUE(field.isSet(band)) << field.name;
}

TEST(ZRMBandFields, SinglesAndPairsReachTheSameFields) {
  ZRMBand band;
  band.SetXSize(1);
  band.SetYSize(2);
  band.SetXTileSize(3);
  band.SetYTileSize(4);
  band.SetCenterX(5);
  band.SetCenterY(6);
  int values[6] = {};
  band.GetSize(values[0], values[1]);
  band.GetTileSize(values[2], values[3]);
  band.GetCenter(values[4], values[5]);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(values[i], i + 1);
  band.SetSize(11, 12);
  band.SetTileSize(13, 14);
  band.SetCenter(15, 16);
  const int singles[] = {band.GetXSize(),     band.GetYSize(),   band.GetXTileSize(),
                         band.GetYTileSize(), band.GetCenterX(), band.GetCenterY()};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(singles[i], 11 + i);
}

TEST(ZRMBandFields, CornerAndPixelSizeHavePairSettersToo) {
  ZRMBand band;
  band.SetUpperLeft(1.5, 2.5);
  band.SetPixelSize(3.5, 4.5);
  EXPECT_EQ(band.GetULX(), 1.5);
  EXPECT_EQ(band.GetULY(), 2.5);
  EXPECT_EQ(band.GetXPixelSize(), 3.5);
  EXPECT_EQ(band.GetYPixelSize(), 4.5);
}

TEST(ZRMBandFields, ACloneHasAllFields) {
  ZRMBand source, clone;
  for (const Field& field : AllFields()) field.set(source);
  ASSERT_EQ(clone.CloneBand(&source), 1);
  for (const Field& field : AllFields()) EXPECT_TRUE(field.isSet(clone)) << field.name;
}

TEST(ZRMBandFields, ACloneKeepsItsOwnOwnerAndOutput) {
  XRSFile first, second;
  int store = 0;  // stands for a store, which no band looks into
  auto* output = reinterpret_cast<XEPOT2D*>(&store);
  ZRMBand source, clone;
  source.SetXRSFile(&first);
  source.SetOutputEPOT(nullptr, "of the source");
  clone.SetXRSFile(&second);
  clone.SetOutputEPOT(output, "of the clone");
  ASSERT_EQ(clone.CloneBand(&source), 1);
  EXPECT_EQ(clone.GetXRSFile(), &second);
  EXPECT_EQ(clone.GetOutputEPOT(), output);
  EXPECT_EQ(clone.GetOutputEPOTName(), "of the clone");
}

TEST(ZRMBandFields, AClonesListsAreItsOwn) {
  ZRMBand clone;
  {
    ZRMBand source;
    auto gis = std::make_unique<tagXRSGIS>();
    gis->name = "forest";
    source.AddGIS(gis.release());
    XRSScanSensorParam param;
    param.gridX = {1.0};
    source.SetScanSensorParam(&param);
    clone.AddGIS(std::make_unique<tagXRSGIS>().release());
    ASSERT_EQ(clone.CloneBand(&source), 1);
    source.GetGISAt(0)->name = "water";
    source.GetScanSensorParam()->gridX.clear();
  }
  ASSERT_EQ(clone.GetNumOfGIS(), 1);
  EXPECT_EQ(clone.GetGISAt(0)->name, "forest");
  EXPECT_EQ(clone.GetScanSensorParam()->gridX.size(), 1U);
}

TEST(ZRMBandFields, ACloneOfItselfOrOfNothingChangesNothing) {
  ZRMBand band;
  band.AddGIS(std::make_unique<tagXRSGIS>().release());
  band.SetID(5);
  EXPECT_EQ(band.CloneBand(&band), 1);
  EXPECT_EQ(band.CloneBand(nullptr), 0);
  EXPECT_EQ(static_cast<XBand&>(band).XBand::CloneBand(nullptr), 0);
  EXPECT_EQ(band.GetNumOfGIS(), 1);
  EXPECT_EQ(band.GetID(), 5);
}

TEST(ZRMBandFields, TheSystemIsCopiedAndKeptInTheBand) {
  ZRMBand band;
  XSpatialReference* member = band.GetSR();
  XSpatialReference utm;
  ASSERT_EQ(utm.importFromEPSG(32652), 1);
  band.SetSR(utm);
  EXPECT_EQ(band.GetSR(), member);
  utm.Clear();
  EXPECT_EQ(band.GetSR()->GetEPSG(), 32652);
}

TEST(ZRMBandFields, ScanSensorParametersAreCopiedAndRemovedByNull) {
  ZRMBand band;
  EXPECT_EQ(band.GetScanSensorParam(), nullptr);
  XRSScanSensorParam param;
  param.count = 3;
  band.SetScanSensorParam(&param);
  param.count = 4;
  EXPECT_EQ(band.GetScanSensorParam()->count, 3);
  band.SetScanSensorParam(nullptr);
  EXPECT_EQ(band.GetScanSensorParam(), nullptr);
}

TEST(ZRMBandFields, TheGisListHandsOutItsRecords) {
  ZRMBand band;
  band.AddGIS(nullptr);
  EXPECT_EQ(band.GetNumOfGIS(), 0);
  auto gis = std::make_unique<tagXRSGIS>();
  tagXRSGIS* record = gis.get();
  band.AddGIS(gis.release());
  EXPECT_EQ(band.GetNumOfGIS(), 1);
  EXPECT_EQ(band.GetGISAt(0), record);
  EXPECT_EQ(band.GetGISAt(1), nullptr);
  EXPECT_EQ(band.GetGISAt(-1), nullptr);
}

TEST(ZRMBandFields, RadarRecordsAreCarriedAsAWhole) {
  ZRMBand band;
  XSarParam param;
  param.mode = 2;
  param.prf = 1000.0;
  band.SetSarParam(param);
  EXPECT_EQ(band.GetPRF(), 1000.0);
  XSarBeam beam;
  beam.gains = {1.0, 2.0, 3.0};
  band.SetSarBeam(beam);
  EXPECT_EQ(band.GetSarBeam().gains.size(), 3U);
  XOrbitInterpolater orbit;
  orbit.vectors.resize(5);
  band.SetOrbitInterpolater(orbit);
  EXPECT_EQ(band.GetOrbitInterpolater().vectors.size(), 5U);
  ZRMBand clone;
  clone.CloneBand(&band);
  EXPECT_EQ(clone.GetSarBeam().gains.size(), 3U);
  EXPECT_EQ(clone.GetOrbitInterpolater().vectors.size(), 5U);
}

TEST(ZRMBandFields, AModeMakesARadarBand) {
  ZRMBand band;
  EXPECT_FALSE(band.IsSarBand());
  band.SetSarMode(1);
  EXPECT_TRUE(band.IsSarBand());
}

TEST(ZRMBandFields, AChirpIsDownUnlessItIsUp) {
  ZRMBand band;
  EXPECT_TRUE(band.IsDownChirp());
  band.SetUpChirp(1);
  EXPECT_FALSE(band.IsDownChirp());
}

TEST(ZRMBandFields, TheWavelengthIsTheSpeedOfLightOverTheFrequency) {
  ZRMBand band;
  band.SetCarrierFrequency(299792458.0 / 0.25);
  EXPECT_DOUBLE_EQ(band.GetLambda(), 0.25);
  band.SetCarrierFrequency(0.0);
  EXPECT_TRUE(std::isinf(band.GetLambda()));
}
