// A band with a place in the world and a record of how it was taken. The georeference is the upper left corner and two
// pixel sizes: x grows to the right, the world's y grows upwards while rows go down, and there is no rotation. Pixel
// sizes may be 0 for a band without a place, so that a division by them may give what is not a number; every conversion
// to an int is ready for that.
//
// Statistics are an estimate from a coarse level, and those of all pixels in the exact policy. The conversions only
// read fields, and several threads may use them at once.

#include "ZRMBand.h"

#include "base/OwnReads.h"
#include "base/ReadError.h"
#include "base/Truncate.h"
#include "XExactStatistics.h"
#include "XStatistics.h"
#include "XSystem.h"

#include <algorithm>
#include <cmath>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBand, XBand);

namespace {

/// The whole pixels in an extent. World coordinates are seldom exact in binary, so that an extent of ten pixels may
/// come out a hair below ten. A millionth of a pixel makes up for that. Where the pixels are those of a level, it is a
/// millionth of a pixel at full resolution.
int WholePixels(double extent, double pixelSize, int level = 0) {
  return zrk::TruncateToInt(extent / pixelSize + std::ldexp(1e-6, -level));
}

}  // namespace

ZRMBand::ZRMBand() = default;
ZRMBand::~ZRMBand() = default;

int ZRMBand::GetHighestLevelForTarget(double cornerX0, double cornerY0, double cornerX1, double cornerY1,
                                      double cornerX2, double cornerY2, double cornerX3, double cornerY3, int width,
                                      int height) {
  const auto [minX, maxX] = std::minmax({cornerX0, cornerX1, cornerX2, cornerX3});
  const auto [minY, maxY] = std::minmax({cornerY0, cornerY1, cornerY2, cornerY3});
  // Only the size of the window matters. It is not cut to the image, because an area that reaches beyond it is drawn at
  // the same scale.
  const int columns = WholePixels(maxX - minX, std::abs(xPixelSize_));
  const int rows = WholePixels(maxY - minY, std::abs(yPixelSize_));
  if (columns <= 0 || rows <= 0) return 0;
  return GetHighestLevelForTarget(0, columns - 1, 0, rows - 1, width, height);
}

int ZRMBand::CalcStatistics(int withHistogram) {
  if (IsExact()) {
    ZRMBand* const self = this;
    return XfnCalcExactStatistics({&self, 1}, withHistogram);
  }
  return CalcStatisticsAtLevel(std::max(GetLevel() - 1, 0), withHistogram);
}

/// The sizes of a level are counted through the extent in the world, which leaves no pixels where a pixel size is 0:
/// the statistics of such a band then fail on every level but 0.
int ZRMBand::CalcStatisticsAtLevel(int level, int withHistogram) {
  if (!IsLevel(level)) return 0;
  int width = GetXSize();
  int height = GetYSize();
  if (level > 0) {
    double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
    ConvPixelToWorldRange(0, width - 1, 0, height - 1, minX, maxX, minY, maxY);
    const double scale = std::ldexp(1.0, level);
    width = WholePixels(maxX - minX, xPixelSize_ * scale, level);
    height = WholePixels(maxY - minY, yPixelSize_ * scale, level);
  }
  if (width <= 0 || height <= 0) return 0;

  // Most bands answer with a buffer of their own. The local one is for those that fill what they are given.
  tagXArr2 local;
  if (!local.Alloc(width, height, GetDataSize())) return 0;
  tagXArr2* pixels = &local;
  const zrk::OwnReads own;
  if (!ReadSubset(pixels, level, 0, GetXSize() - 1, 0, GetYSize() - 1, nullptr)) return 0;

  double minValue = 0.0, maxValue = 0.0, mean = 0.0, stdDev = 0.0;
  if (!XfnXARR2CalcStatistics(pixels, GetDataType(), minValue, maxValue, mean, stdDev,
                              withHistogram ? GetHistogram() : nullptr, GetNullValue())) {
    return 0;
  }
  SetBandMin(minValue);
  SetBandMax(maxValue);
  SetBandMean(mean);
  SetBandStdDev(stdDev);
  return 1;
}

int ZRMBand::CloneBand(ZRMBand* source) {
  if (!source) return 0;
  // The list of classes below is cleared before it is copied, which would leave a band that is its own source without
  // any.
  if (source == this) return 1;
  XBand::CloneBand(source);
  CopyGeometry(*source);
  bandType_ = source->bandType_;
  colourRole_ = source->colourRole_;
  normalizedWorld_ = source->normalizedWorld_;
  centerX_ = source->centerX_;
  centerY_ = source->centerY_;
  CopyAcquisition(*source);
  offsetX_ = source->offsetX_;
  offsetY_ = source->offsetY_;
  scaleX_ = source->scaleX_;
  scaleY_ = source->scaleY_;
  gis_.clear();
  for (const auto& gis : source->gis_) gis_.push_back(std::make_unique<tagXRSGIS>(*gis));
  sarParam_ = source->sarParam_;
  orbitInterpolater_ = source->orbitInterpolater_;
  sarBeam_ = source->sarBeam_;
  std::copy(std::begin(source->sarSubset_), std::end(source->sarSubset_), std::begin(sarSubset_));
  return 1;
}

/// What the bands of one image share: size and place, and nothing of the pixels.
void ZRMBand::CopyGeometry(const ZRMBand& master) {
  SetSize(master.GetXSize(), master.GetYSize());
  SetPixelSize(master.xPixelSize_, master.yPixelSize_);
  SetUpperLeft(master.ulx_, master.uly_);
  pixelAnchor_ = master.pixelAnchor_;
  geoTransform_ = master.geoTransform_;
  coordinateKind_ = master.coordinateKind_;
  sr_ = master.sr_;
}

/// The scan parameters are copied and not shared, since each band frees its own.
void ZRMBand::CopyAcquisition(const ZRMBand& source) {
  sceneOrient_ = source.sceneOrient_;
  altitude_ = source.altitude_;
  incidenceAngle_ = source.incidenceAngle_;
  bandDate_ = source.bandDate_;
  bandSensor_ = source.bandSensor_;
  waveLength_ = source.waveLength_;
  bandSensorName_ = source.bandSensorName_;
  useSensorModel_ = source.useSensorModel_;
  focalLength_ = source.focalLength_;
  cellSize_ = source.cellSize_;
  SetScanSensorParam(source.GetScanSensorParam());
  originCorner_ = source.originCorner_;
  sunAzimuth_ = source.sunAzimuth_;
  sunElevation_ = source.sunElevation_;
  gain_ = source.gain_;
  bias_ = source.bias_;
}

void ZRMBand::ConvPixelToWorldCoord(double& x, double& y) const {
  x = ulx_ + x * xPixelSize_;
  y = uly_ - y * yPixelSize_;
}

void ZRMBand::ConvWorldToPixelCoord(double& x, double& y) const {
  x = (x - ulx_) / xPixelSize_;
  y = (uly_ - y) / yPixelSize_;
}

void ZRMBand::ConvWorldToPixelCoord(double worldX, double worldY, int& x, int& y) const {
  ConvWorldToPixelCoord(worldX, worldY);
  x = zrk::TruncateToInt(worldX);
  y = zrk::TruncateToInt(worldY);
}

int ZRMBand::ReadPixel(tagXArr2*& out, double worldX, double worldY) {
  if (!std::isfinite(worldX) || !std::isfinite(worldY)) {
    return zrk::ReadPixels([] { return zrk::FailRead("The place is not finite"); });
  }
  int x = 0, y = 0;
  ConvWorldToPixelCoord(worldX, worldY, x, y);
  return ReadPixel(out, x, y);
}

/// Half a pixel lies between the centre of the first pixel and its outer corner.
void ZRMBand::GetGeoTransform(double transform[6]) const {
  if (geoTransform_) {
    std::ranges::copy(*geoTransform_, transform);
    return;
  }
  const double shift = pixelAnchor_ == kPixelCentre ? 0.5 : 0.0;
  const double derived[6] = {ulx_ - shift * xPixelSize_, xPixelSize_, 0.0,
                             uly_ + shift * yPixelSize_, 0.0,         -yPixelSize_};
  std::ranges::copy(derived, transform);
}

void ZRMBand::SetGeoTransform(const double transform[6]) {
  std::copy_n(transform, 6, geoTransform_.emplace().begin());
}

/// Pixels have an extent, so that the range ends at the far edges of the last ones.
void ZRMBand::ConvPixelToWorldRange(int x0, int x1, int y0, int y1, double& minX, double& maxX, double& minY,
                                    double& maxY) const {
  minX = x0;
  maxX = x1 + 1.0;
  minY = y1 + 1.0;
  maxY = y0;
  ConvPixelToWorldCoord(minX, minY);
  ConvPixelToWorldCoord(maxX, maxY);
}

void ZRMBand::GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const {
  ConvPixelToWorldRange(0, GetXSize() - 1, 0, GetYSize() - 1, minX, maxX, minY, maxY);
}

/// The pixel sizes stay and the count of pixels follows. Without a pixel size the count stays too.
void ZRMBand::SetBoundRect(double minX, double maxX, double minY, double maxY) {
  SetUpperLeft(minX, maxY);
  if (xPixelSize_ != 0.0) SetXSize(std::max(WholePixels(maxX - minX, xPixelSize_), 0));
  if (yPixelSize_ != 0.0) SetYSize(std::max(WholePixels(maxY - minY, yPixelSize_), 0));
}

void ZRMBand::SetScanSensorParam(const XRSScanSensorParam* scanSensorParam) {
  scanSensorParam_ = scanSensorParam ? std::make_unique<XRSScanSensorParam>(*scanSensorParam) : nullptr;
}

tagXRSGIS* ZRMBand::GetGISAt(int index) const {
  return 0 <= index && index < GetNumOfGIS() ? gis_[static_cast<std::size_t>(index)].get() : nullptr;
}

/// The record is owned before the list grows, so that it is not lost where memory runs out.
void ZRMBand::AddGIS(tagXRSGIS* gis) {
  std::unique_ptr<tagXRSGIS> owned(gis);
  if (owned) gis_.push_back(std::move(owned));
}

void ZRMBand::GetSarsubset(int& x0, int& x1, int& y0, int& y1) const {
  x0 = sarSubset_[0];
  x1 = sarSubset_[1];
  y0 = sarSubset_[2];
  y1 = sarSubset_[3];
}

void ZRMBand::SetSarsubset(int x0, int x1, int y0, int y1) {
  sarSubset_[0] = x0;
  sarSubset_[1] = x1;
  sarSubset_[2] = y0;
  sarSubset_[3] = y1;
}

int XfnCalcBlockHeight(ZRMBand* band, long wantedRows) {
  return band ? XfnCalcBlockHeight(band->GetXSize(), band->GetYSize(), band->GetDataSize(), wantedRows) : 1;
}
