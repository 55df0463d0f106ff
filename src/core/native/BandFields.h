#pragma once

#include "core/native/FieldAccess.h"
#include "core/native/XmlArchive.h"
#include "ZRMBand.h"

#include <array>
#include <cstdint>

namespace zrk {

// The fields of a band, group by group. Each `Visit` function is the one description of a group: `XmlWriter` writes by
// it and `XmlReader` reads by it. The records below stand between the text and the band where a field has no getter and
// setter of its own. docs/FORMATS.md lists the names.

/// How the pixels of a band are laid out. A field that the text does not have is -1, which no check lets pass.
struct BandLayout {
  long levels = -1;
  long xTileSize = -1;
  long yTileSize = -1;
  long xSize = -1;
  long ySize = -1;
  long dataType = -1;
  int compression = -1;
};

template <class Archive>
void VisitLayout(Archive& archive, BandLayout& layout) {
  archive.Field("XRS_TAG_BAND_LEVELS", layout.levels);
  archive.Field("XRS_TAG_BAND_XTILESIZE", layout.xTileSize);
  archive.Field("XRS_TAG_BAND_YTILESIZE", layout.yTileSize);
  archive.Field("XRS_TAG_BAND_XSIZE", layout.xSize);
  archive.Field("XRS_TAG_BAND_YSIZE", layout.ySize);
  archive.Field("XRS_TAG_BAND_DATATYPE", layout.dataType);
  archive.Field("XRS_TAG_BAND_COMPRESSION", layout.compression);
}

/// Where the body of a band lies in its file. A field that the text does not have is -1.
struct BandPlace {
  std::int64_t offset = -1;
  std::int64_t size = -1;
};

template <class Archive>
void VisitPlace(Archive& archive, BandPlace& place) {
  archive.Field("XRS_TAG_BAND_DATAOFFSET", place.offset);
  archive.Field("XRS_TAG_BAND_DATASIZE", place.size);
}

/// What statistics know of the samples of a band, in units of the samples.
struct BandStatistics {
  double minimum = 0.0;
  double maximum = 0.0;
  double mean = 0.0;
  double stdDev = 0.0;
};

template <class Archive>
void VisitStatistics(Archive& archive, BandStatistics& statistics) {
  archive.Field("XRS_TAG_BAND_MIN", statistics.minimum);
  archive.Field("XRS_TAG_BAND_MAX", statistics.maximum);
  archive.Field("XRS_TAG_BAND_MEAN", statistics.mean);
  archive.Field("XRS_TAG_BAND_STDDEV", statistics.stdDev);
}

using BandHistogram = std::array<std::int64_t, 256>;

template <class Archive>
void VisitHistogram(Archive& archive, BandHistogram& histogram) {
  archive.Field("XRS_TAG_BAND_HISTOGRAM", histogram);
}

template <class Archive>
void VisitBasicInfo(Archive& archive, ZRMBand& band) {
  archive.Property("XRS_TAG_BAND_ID", band, &ZRMBand::GetID, &ZRMBand::SetID);
  archive.Property("XRS_TAG_BAND_NAME", band, &ZRMBand::GetBandName, &ZRMBand::SetBandName);
  archive.Property("XRS_TAG_BAND_TYPE", band, &ZRMBand::GetBandType, &ZRMBand::SetBandType);
  archive.Property("XRS_TAG_BAND_NULLVALUE", band, &ZRMBand::GetNullValue, &ZRMBand::SetNullValue);
}

/// The upper left corner of the first pixel, in world units.
struct BandCorner {
  double ulx = 0.0;
  double uly = 0.0;
};

template <class Archive>
void VisitCorner(Archive& archive, BandCorner& corner) {
  archive.Field("XRS_TAG_BAND_ULX", corner.ulx);
  archive.Field("XRS_TAG_BAND_ULY", corner.uly);
}

/// The size of a pixel, in world units.
struct BandPixelSize {
  double xPixelSize = 1.0;
  double yPixelSize = 1.0;
};

/// The first level has classes of the image. Readers that do not know the element pass over it.
inline constexpr char kTagLevelClasses[] = "XRS_TAG_BAND_LEVELCLASSES";

inline constexpr char kTagXPixelSize[] = "XRS_TAG_BAND_XPIXELSIZE";

template <class Archive>
void VisitPixelSize(Archive& archive, BandPixelSize& size) {
  archive.Field(kTagXPixelSize, size.xPixelSize);
  archive.Field("XRS_TAG_BAND_YPIXELSIZE", size.yPixelSize);
}

/// What the coordinates are. The projection itself is written and read apart from this.
struct BandMapInfo {
  int coordinateKind = kCoordinatePixel;
  int referenceKind = kReferenceNone;
  int normalizedWorld = 0;
};

template <class Archive>
void VisitMapInfo(Archive& archive, BandMapInfo& info) {
  archive.Field("XRS_TAG_BAND_COORDINATEKIND", info.coordinateKind);
  archive.Field("XRS_TAG_BAND_REFERENCEKIND", info.referenceKind);
  archive.Field("XRS_TAG_BAND_NORMALIZEDWORLD", info.normalizedWorld);
}

template <class Archive>
void VisitSceneOrient(Archive& archive, ZRMBand& band) {
  archive.Property("XRS_TAG_BAND_SCENEORIENT", band, &ZRMBand::GetSceneOrient, &ZRMBand::SetSceneOrient);
}

template <class Archive>
void VisitBasicSensorParams(Archive& archive, ZRMBand& band) {
  archive.Property("XRS_TAG_BAND_SENSOR", band, &ZRMBand::GetBandSensor, &ZRMBand::SetBandSensor);
  archive.Property("XRS_TAG_BAND_SENSORNAME", band, &ZRMBand::GetBandSensorName, &ZRMBand::SetBandSensorName);
  archive.Property("XRS_TAG_BAND_DATE", band, &ZRMBand::GetBandDate, &ZRMBand::SetBandDate);
  archive.Property("XRS_TAG_BAND_WAVELENGTH", band, &ZRMBand::GetWaveLength, &ZRMBand::SetWaveLength);
  archive.Property("XRS_TAG_BAND_ALTITUDE", band, &ZRMBand::GetAltitude, &ZRMBand::SetAltitude);
  archive.Property("XRS_TAG_BAND_INCIDENCEANGLE", band, &ZRMBand::GetIncidenceAngle, &ZRMBand::SetIncidenceAngle);
}

/// The sensor model of a band, apart from that of a scan sensor.
struct SensorModel {
  int useSensorModel = 0;
  double focalLength = 0.0;
  double cellSize = 0.0;
  XString originCorner;
  double offsetX = 0.0;
  double offsetY = 0.0;
  double scaleX = 1.0;
  double scaleY = 1.0;
};

inline SensorModel SensorModelOf(const ZRMBand& band) {
  SensorModel model{band.GetUseSensorModel(), band.GetFocalLength(), band.GetCellSize(), band.GetOriginCorner()};
  band.GetOffset(model.offsetX, model.offsetY);
  band.GetScale(model.scaleX, model.scaleY);
  return model;
}

template <class Archive>
void VisitSensorModel(Archive& archive, SensorModel& model) {
  archive.Field("XRS_TAG_BAND_USESENSORMODEL", model.useSensorModel);
  archive.Field("XRS_TAG_BAND_FOCALLENGTH", model.focalLength);
  archive.Field("XRS_TAG_BAND_CELLSIZE", model.cellSize);
  archive.Field("XRS_TAG_BAND_ORIGINCORNER", model.originCorner);
  archive.Field("XRS_TAG_BAND_OFFSETX", model.offsetX);
  archive.Field("XRS_TAG_BAND_OFFSETY", model.offsetY);
  archive.Field("XRS_TAG_BAND_SCALEX", model.scaleX);
  archive.Field("XRS_TAG_BAND_SCALEY", model.scaleY);
}

inline constexpr char kTagScanSensor[] = "XRS_TAG_BAND_SCANSENSOR";

template <class Archive>
void VisitScanSensor(Archive& archive, XRSScanSensorParam& param) {
  archive.Attribute("reserved", param.reserved);
  archive.Attribute("count", param.count);
  archive.Attribute("mode", param.mode);
  archive.Attribute("lines", param.imageLines);
  archive.Attribute("samples", param.imageSamples);
  archive.Field("XRS_TAG_SCANSENSOR_ORIGIN", param.originInEcf);
  archive.Field("XRS_TAG_SCANSENSOR_LSRTOECF", param.lsrToEcf);
  archive.Field("XRS_TAG_SCANSENSOR_GRIDX", param.gridX);
  archive.Field("XRS_TAG_SCANSENSOR_GRIDY", param.gridY);
  archive.Field("XRS_TAG_SCANSENSOR_GRIDZ", param.gridZ);
  archive.Field("XRS_TAG_SCANSENSOR_GRIDOMEGA", param.gridOmega);
  archive.Field("XRS_TAG_SCANSENSOR_GRIDPHI", param.gridPhi);
  archive.Field("XRS_TAG_SCANSENSOR_GRIDKAPPA", param.gridKappa);
  archive.Field("XRS_TAG_SCANSENSOR_POLYX", param.polyX);
  archive.Field("XRS_TAG_SCANSENSOR_POLYY", param.polyY);
  archive.Field("XRS_TAG_SCANSENSOR_POLYZ", param.polyZ);
  archive.Field("XRS_TAG_SCANSENSOR_POLYOMEGA", param.polyOmega);
  archive.Field("XRS_TAG_SCANSENSOR_POLYPHI", param.polyPhi);
  archive.Field("XRS_TAG_SCANSENSOR_POLYKAPPA", param.polyKappa);
}

template <class Archive>
void VisitGainBias(Archive& archive, ZRMBand& band) {
  archive.Property("XRS_TAG_BAND_GAIN", band, &ZRMBand::GetGain, &ZRMBand::SetGain);
  archive.Property("XRS_TAG_BAND_BIAS", band, &ZRMBand::GetBias, &ZRMBand::SetBias);
}

template <class Archive>
void VisitSunParams(Archive& archive, ZRMBand& band) {
  archive.Property("XRS_TAG_BAND_SUNAZIMUTH", band, &ZRMBand::GetSunAzimuth, &ZRMBand::SetSunAzimuth);
  archive.Property("XRS_TAG_BAND_SUNELEVATION", band, &ZRMBand::GetSunElevation, &ZRMBand::SetSunElevation);
}

template <class Archive>
void VisitGISDataSet(Archive& archive, ZRMBand& band) {
  archive.List("XRS_TAG_BAND_GIS", FieldAccess::Gis(band), [](Archive& inner, tagXRSGIS& gis) {
    inner.Attribute("index", gis.index);
    inner.Attribute("red", gis.red);
    inner.Attribute("green", gis.green);
    inner.Attribute("blue", gis.blue);
    inner.Attribute("pixels", gis.numPixels);
    inner.Attribute("area", gis.area);
    inner.Attribute("name", gis.name);
  });
}

template <class Archive>
void VisitImageCenter(Archive& archive, ZRMBand& band) {
  archive.Property("XRS_TAG_BAND_CENTERX", band, &ZRMBand::GetCenterX, &ZRMBand::SetCenterX);
  archive.Property("XRS_TAG_BAND_CENTERY", band, &ZRMBand::GetCenterY, &ZRMBand::SetCenterY);
}

template <class Archive>
void VisitSar(Archive& archive, XSarParam& sar) {
  archive.Field("XRS_TAG_SAR_MODE", sar.mode);
  archive.Field("XRS_TAG_SAR_CARRIERFREQUENCY", sar.carrierFrequency);
  archive.Field("XRS_TAG_SAR_CHIRPBANDWIDTH", sar.chirpBandWidth);
  archive.Field("XRS_TAG_SAR_CHIRPDURATION", sar.chirpDuration);
  archive.Field("XRS_TAG_SAR_UPCHIRP", sar.upChirp);
  archive.Field("XRS_TAG_SAR_SAMPLINGFREQUENCY", sar.samplingFrequency);
  archive.Field("XRS_TAG_SAR_PRF", sar.prf);
  archive.Field("XRS_TAG_SAR_INCIDENCEANGLEN", sar.incidenceAngleN);
  archive.Field("XRS_TAG_SAR_INCIDENCEANGLEC", sar.incidenceAngleC);
  archive.Field("XRS_TAG_SAR_INCIDENCEANGLEF", sar.incidenceAngleF);
  archive.Field("XRS_TAG_SAR_SQUINTANGLE", sar.squintAngle);
  archive.Field("XRS_TAG_SAR_ANTENNALENGTH", sar.antennaLength);
  archive.Field("XRS_TAG_SAR_APERTURETIME", sar.apertureTime);
}

template <class Archive>
void VisitOrbit(Archive& archive, XOrbitInterpolater& orbit) {
  archive.Attribute("epoch", orbit.epoch);
  archive.List("XRS_TAG_ORBIT_VECTOR", orbit.vectors, [](Archive& inner, XOrbitInterpolater::StateVector& vector) {
    inner.Attribute("time", vector.time);
    inner.Attribute("position", vector.position);
    inner.Attribute("velocity", vector.velocity);
  });
}

template <class Archive>
void VisitSarBeam(Archive& archive, XSarBeam& beam) {
  archive.Attribute("number", beam.beamNumber);
  archive.Attribute("first", beam.firstAngle);
  archive.Attribute("step", beam.angleStep);
  archive.Field("XRS_TAG_BEAM_GAINS", beam.gains);
}

/// The subset window of a radar band.
struct SarSubset {
  int edges[4] = {0, 0, 0, 0};  ///< x0, x1, y0, y1
};

inline SarSubset SarSubsetOf(const ZRMBand& band) {
  SarSubset subset;
  band.GetSarsubset(subset.edges[0], subset.edges[1], subset.edges[2], subset.edges[3]);
  return subset;
}

/// What only radar bands have. The subset goes through its record.
template <class Archive>
void VisitSarParam(Archive& archive, ZRMBand& band, SarSubset& subset) {
  archive.Group("XRS_TAG_BAND_SAR", [&](Archive& inner) { VisitSar(inner, band.GetSarParam()); });
  archive.Group("XRS_TAG_BAND_ORBIT", [&](Archive& inner) { VisitOrbit(inner, band.GetOrbitInterpolater()); });
  archive.Group("XRS_TAG_BAND_SARBEAM", [&](Archive& inner) { VisitSarBeam(inner, band.GetSarBeam()); });
  archive.Field("XRS_TAG_BAND_SARSUBSET", subset.edges);
}

}  // namespace zrk
