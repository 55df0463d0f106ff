#pragma once

#include "tagXRSGIS.h"
#include "XBand.h"
#include "XOrbitInterpolater.h"
#include "XRSScanSensorParam.h"
#include "XSarParam.h"
#include "XSpatialReference.h"

#include <memory>
#include <vector>

class XEPOT2D;
class XRSFile;
class ZRMBandDRIO;

namespace zrk {
struct FieldAccess;
}

/// The kind of a band that holds class numbers, whose GIS list has one colour for each.
inline constexpr int kBandTypeThematic = 8;

/// What a band's coordinates are.
enum XCoordinateKind { kCoordinatePixel = 1, kCoordinateWorld = 2 };

/// A band with its place in the world and all that is known of how it was taken.
///
/// World coordinates: x = ULX + column * xPixelSize, y = ULY - row * yPixelSize. Pixel sizes are world units per
/// pixel, positive as a rule; y grows upward in the world and downward in the image.
class ZRKIO_API ZRMBand : public XBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBand();
  ~ZRMBand() override;
  ZRMBand(const ZRMBand&) = delete;
  ZRMBand& operator=(const ZRMBand&) = delete;

  int GetHighestLevelForTarget(double cornerX0, double cornerY0, double cornerX1, double cornerY1, double cornerX2,
                               double cornerY2, double cornerX3, double cornerY3, int width, int height) override;
  using XBand::GetHighestLevelForTarget;
  int CalcStatistics(int withHistogram) override;
  int CloneBand(ZRMBand* source) override;

  /// The band that takes the level data of this one: itself or a band behind it. Null where the band can have none.
  ZRMBandDRIO* GetLevelSource() const { return levelSource_; }
  /// The band whose samples this one shows, or null: itself, unless it shows one that is hidden behind it.
  ZRMBand* GetShownBand() const { return shownBand_; }

  // Coordinates. The first two change their arguments in place; places outside the image are allowed. With a pixel size
  // of 0 the pixel of a place is infinite or not a number.

  void ConvPixelToWorldCoord(double& x, double& y) const;
  void ConvWorldToPixelCoord(double& x, double& y) const;
  /// The pixel, truncated toward zero; cut to the range of an int, and 0 for what is not a number.
  void ConvWorldToPixelCoord(double worldX, double worldY, int& x, int& y) const;
  /// The outer edges of an inclusive range of pixels.
  void ConvPixelToWorldRange(int x0, int x1, int y0, int y1, double& minX, double& maxX, double& minY,
                             double& maxY) const;
  /// The outer edges of the whole band.
  void GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const;
  /// Sets the upper left corner, and from the pixel sizes the band's size in whole pixels: what is left of a pixel at
  /// the right and lower edge is dropped, unless it lacks less than a millionth to be whole. A size stays as it was
  /// where the pixel size is 0.
  void SetBoundRect(double minX, double maxX, double minY, double maxY);

  // Fields.

  /// The dataset that holds the band, or null; not owned.
  XRSFile* GetXRSFile() const { return owner_; }
  /// `XRSFile::AddBand` calls it; a band of no dataset works as well.
  void SetXRSFile(XRSFile* owner) { owner_ = owner; }
  /// What the samples mean: 8 (`kBandTypeThematic`) for class numbers, 0 for anything else. Thematic bands are reduced
  /// to their most frequent sample where others are averaged.
  int GetBandType() const { return bandType_; }
  void SetBandType(int bandType) { bandType_ = bandType; }

  /// The address of the member; it lives as long as the band.
  XSpatialReference* GetSR() { return &sr_; }
  const XSpatialReference* GetSR() const { return &sr_; }
  /// Copies.
  void SetSR(const XSpatialReference& sr) { sr_ = sr; }
  /// A value of `XCoordinateKind`.
  int GetCoordinateKind() const { return coordinateKind_; }
  void SetCoordinateKind(int coordinateKind) { coordinateKind_ = coordinateKind; }

  /// The place of the upper left corner in world units: where column 0 and row 0 begin. At first 0.0 both. Formats that
  /// give the centre of the first pixel keep that here; their band classes say so.
  double GetULX() const { return ulx_; }
  double GetULY() const { return uly_; }
  void SetULX(double ulx) { ulx_ = ulx; }
  void SetULY(double uly) { uly_ = uly; }
  void SetUpperLeft(double ulx, double uly) {
    ulx_ = ulx;
    uly_ = uly;
  }
  /// World units per pixel, at first 1.0. A negative or zero size is kept as it is.
  double GetXPixelSize() const { return xPixelSize_; }
  double GetYPixelSize() const { return yPixelSize_; }
  void SetXPixelSize(double xPixelSize) { xPixelSize_ = xPixelSize; }
  void SetYPixelSize(double yPixelSize) { yPixelSize_ = yPixelSize; }
  void SetPixelSize(double xPixelSize, double yPixelSize) {
    xPixelSize_ = xPixelSize;
    yPixelSize_ = yPixelSize;
  }
  /// Nonzero where world coordinates are normalised to the image; kept for files that have it.
  int IsNormalizedWorld() const { return normalizedWorld_; }
  void SetNormalizedWorld(int normalizedWorld) { normalizedWorld_ = normalizedWorld; }

  /// The image centre in pixels.
  int GetCenterX() const { return centerX_; }
  int GetCenterY() const { return centerY_; }
  void GetCenter(int& centerX, int& centerY) const {
    centerX = centerX_;
    centerY = centerY_;
  }
  void SetCenterX(int centerX) { centerX_ = centerX; }
  void SetCenterY(int centerY) { centerY_ = centerY; }
  void SetCenter(int centerX, int centerY) {
    centerX_ = centerX;
    centerY_ = centerY;
  }
  /// In degrees.
  double GetSceneOrient() const { return sceneOrient_; }
  /// Of the scene's columns against north; 0.0 where it is not known.
  void SetSceneOrient(double sceneOrient) { sceneOrient_ = sceneOrient; }
  /// In metres.
  /// Of the sensor, above the ground; 0 where it is not known.
  int GetAltitude() const { return altitude_; }
  void SetAltitude(int altitude) { altitude_ = altitude; }
  /// In degrees.
  /// Of the line of sight against the vertical at the centre; 0.0 where it is not known.
  double GetIncidenceAngle() const { return incidenceAngle_; }
  void SetIncidenceAngle(double incidenceAngle) { incidenceAngle_ = incidenceAngle; }
  /// When it was taken and by what, as numbers of the files that have them; 0 where they are not known.
  long GetBandDate() const { return bandDate_; }
  void SetBandDate(long bandDate) { bandDate_ = bandDate; }
  long GetBandSensor() const { return bandSensor_; }
  void SetBandSensor(long bandSensor) { bandSensor_ = bandSensor; }
  /// Of the middle of the band, in the unit of its file; 0.0 where it is not known.
  double GetWaveLength() const { return waveLength_; }
  void SetWaveLength(double waveLength) { waveLength_ = waveLength; }
  /// As text, empty where it is not known.
  const XString& GetBandSensorName() const { return bandSensorName_; }
  void SetBandSensorName(const XString& bandSensorName) { bandSensorName_ = bandSensorName; }

  /// Nonzero where pixel-to-world goes through the sensor model.
  int GetUseSensorModel() const { return useSensorModel_; }
  void SetUseSensorModel(int useSensorModel) { useSensorModel_ = useSensorModel; }
  /// Focal length and detector cell size, in millimetres.
  double GetFocalLength() const { return focalLength_; }
  double GetCellSize() const { return cellSize_; }
  void SetFocalLength(double focalLength) { focalLength_ = focalLength; }
  void SetCellSize(double cellSize) { cellSize_ = cellSize; }
  /// The band's own copy, or null.
  XRSScanSensorParam* GetScanSensorParam() const { return scanSensorParam_.get(); }
  /// Keeps a deep copy; null removes it.
  void SetScanSensorParam(const XRSScanSensorParam* scanSensorParam);
  /// Which corner the sensor's rows begin at, as its file has it; empty where it has none.
  const XString& GetOriginCorner() const { return originCorner_; }
  void SetOriginCorner(const XString& originCorner) { originCorner_ = originCorner; }
  /// What is added to sensor columns and rows before they are scaled; 0.0 both at first.
  void GetOffset(double& offsetX, double& offsetY) const {
    offsetX = offsetX_;
    offsetY = offsetY_;
  }
  void SetOffset(double offsetX, double offsetY) {
    offsetX_ = offsetX;
    offsetY_ = offsetY;
  }
  /// What they are multiplied with; 1.0 both at first.
  void GetScale(double& scaleX, double& scaleY) const {
    scaleX = scaleX_;
    scaleY = scaleY_;
  }
  void SetScale(double scaleX, double scaleY) {
    scaleX_ = scaleX;
    scaleY_ = scaleY;
  }

  /// In degrees.
  double GetSunAzimuth() const { return sunAzimuth_; }
  double GetSunElevation() const { return sunElevation_; }
  void SetSunAzimuth(double sunAzimuth) { sunAzimuth_ = sunAzimuth; }
  void SetSunElevation(double sunElevation) { sunElevation_ = sunElevation; }
  /// A sample's physical value is sample * gain + bias. Reads give samples, never these values.
  double GetGain() const { return gain_; }
  double GetBias() const { return bias_; }
  void SetGain(double gain) { gain_ = gain; }
  void SetBias(double bias) { bias_ = bias; }

  /// The classes of a thematic band: a name and a colour for each, in the order that they were added.
  int GetNumOfGIS() const { return static_cast<int>(gis_.size()); }
  /// The record, which belongs to the band, or null outside the list.
  tagXRSGIS* GetGISAt(int index) const;
  /// Takes the record over; null is ignored.
  void AddGIS(tagXRSGIS* gis);

  /// The pyramid store that processing output goes to, and its name; not owned.
  XEPOT2D* GetOutputEPOT() const { return outputEPOT_; }
  const XString& GetOutputEPOTName() const { return outputEPOTName_; }
  /// Both stay the caller's or are copied: the store has to outlive what writes to it, the name is copied.
  void SetOutputEPOT(XEPOT2D* outputEPOT, const XString& name) {
    outputEPOT_ = outputEPOT;
    outputEPOTName_ = name;
  }

  // Radar.

  XSarParam& GetSarParam() { return sarParam_; }
  const XSarParam& GetSarParam() const { return sarParam_; }
  void SetSarParam(const XSarParam& sarParam) { sarParam_ = sarParam; }
  /// 0 for a band that is no radar image, otherwise the mode of its file.
  int GetSarMode() const { return sarParam_.mode; }
  void SetSarMode(int mode) { sarParam_.mode = mode; }
  /// Whether the band has radar parameters, that is a mode other than 0.
  bool IsSarBand() const { return sarParam_.mode != 0; }

  /// In hertz, as the other frequencies; angles are in degrees, lengths in metres, times in seconds.
  double GetCarrierFrequency() const { return sarParam_.carrierFrequency; }
  void SetCarrierFrequency(double value) { sarParam_.carrierFrequency = value; }
  double GetChirpBandWidth() const { return sarParam_.chirpBandWidth; }
  void SetChirpBandWidth(double value) { sarParam_.chirpBandWidth = value; }
  double GetChirpDuration() const { return sarParam_.chirpDuration; }
  void SetChirpDuration(double value) { sarParam_.chirpDuration = value; }
  /// Nonzero where the frequency rises within a pulse.
  int GetUpChirp() const { return sarParam_.upChirp; }
  void SetUpChirp(int value) { sarParam_.upChirp = value; }
  bool IsDownChirp() const { return sarParam_.upChirp == 0; }
  double GetSamplingFrequency() const { return sarParam_.samplingFrequency; }
  void SetSamplingFrequency(double value) { sarParam_.samplingFrequency = value; }
  /// Pulses a second.
  double GetPRF() const { return sarParam_.prf; }
  void SetPRF(double value) { sarParam_.prf = value; }
  /// At the near edge, the centre and the far edge of the swath.
  double GetIncidenceAngleN() const { return sarParam_.incidenceAngleN; }
  void SetIncidenceAngleN(double value) { sarParam_.incidenceAngleN = value; }
  double GetIncidenceAngleC() const { return sarParam_.incidenceAngleC; }
  void SetIncidenceAngleC(double value) { sarParam_.incidenceAngleC = value; }
  double GetIncidenceAngleF() const { return sarParam_.incidenceAngleF; }
  void SetIncidenceAngleF(double value) { sarParam_.incidenceAngleF = value; }
  /// Between the line of sight and the plane across the track.
  double GetSquintAngle() const { return sarParam_.squintAngle; }
  void SetSquintAngle(double value) { sarParam_.squintAngle = value; }
  /// Of the antenna, along the track and across it.
  void GetAntennaLength(double& azimuth, double& range) const {
    azimuth = sarParam_.antennaLength[0];
    range = sarParam_.antennaLength[1];
  }
  void SetAntennaLength(double azimuth, double range) {
    sarParam_.antennaLength[0] = azimuth;
    sarParam_.antennaLength[1] = range;
  }
  /// The times of the first and the last pulse that the image was made of.
  void GetApertureTime(double& first, double& last) const {
    first = sarParam_.apertureTime[0];
    last = sarParam_.apertureTime[1];
  }
  void SetApertureTime(double first, double last) {
    sarParam_.apertureTime[0] = first;
    sarParam_.apertureTime[1] = last;
  }
  /// The wavelength in metres: the speed of light over the carrier frequency; infinite for a frequency of 0.
  double GetLambda() const { return 299792458.0 / sarParam_.carrierFrequency; }

  /// The orbit: positions by time. It belongs to the band.
  XOrbitInterpolater& GetOrbitInterpolater() { return orbitInterpolater_; }
  void SetOrbitInterpolater(const XOrbitInterpolater& value) { orbitInterpolater_ = value; }
  /// The beam; it belongs to the band.
  XSarBeam& GetSarBeam() { return sarBeam_; }
  void SetSarBeam(const XSarBeam& value) { sarBeam_ = value; }
  /// The window of the original scene that the band shows, in its pixels and inclusive; 0 all where it was not cut.
  void GetSarsubset(int& x0, int& x1, int& y0, int& y1) const;
  void SetSarsubset(int x0, int x1, int y0, int y1);

 protected:
  /// Statistics of the whole band as a read at `level` gives it. 0 where that is smaller than a pixel or can't be read.
  int CalcStatisticsAtLevel(int level, int withHistogram);
  /// Copies size, pixel sizes, corner, coordinate kind and system: what a follower shares with its master.
  void CopyGeometry(const ZRMBand& master);

 protected:
  /// What `GetLevelSource` and `GetShownBand` answer; for constructors. Not owned.
  void SetLevelSource(ZRMBandDRIO* levelSource) { levelSource_ = levelSource; }
  void SetShownBand(ZRMBand* shownBand) { shownBand_ = shownBand; }

 private:
  friend struct zrk::FieldAccess;

  void CopyAcquisition(const ZRMBand& source);

  XRSFile* owner_ = nullptr;
  ZRMBandDRIO* levelSource_ = nullptr;
  ZRMBand* shownBand_ = this;
  int bandType_ = 0;
  XSpatialReference sr_;
  int coordinateKind_ = kCoordinatePixel;
  double ulx_ = 0.0;
  double uly_ = 0.0;
  double xPixelSize_ = 1.0;
  double yPixelSize_ = 1.0;
  int normalizedWorld_ = 0;
  int centerX_ = 0;
  int centerY_ = 0;
  double sceneOrient_ = 0.0;
  int altitude_ = 0;
  double incidenceAngle_ = 0.0;
  long bandDate_ = 0;
  long bandSensor_ = 0;
  double waveLength_ = 0.0;
  XString bandSensorName_;
  int useSensorModel_ = 0;
  double focalLength_ = 0.0;
  double cellSize_ = 0.0;
  std::unique_ptr<XRSScanSensorParam> scanSensorParam_;
  XString originCorner_;
  double offsetX_ = 0.0;
  double offsetY_ = 0.0;
  double scaleX_ = 1.0;
  double scaleY_ = 1.0;
  double sunAzimuth_ = 0.0;
  double sunElevation_ = 0.0;
  double gain_ = 1.0;
  double bias_ = 0.0;
  std::vector<std::unique_ptr<tagXRSGIS>> gis_;
  XEPOT2D* outputEPOT_ = nullptr;
  XString outputEPOTName_;
  XSarParam sarParam_;
  XOrbitInterpolater orbitInterpolater_;
  XSarBeam sarBeam_;
  int sarSubset_[4] = {0, 0, 0, 0};
};

/// The rows of a processing block of the band, as the form of `XSystem.h` tells for its width, height and sample size;
/// 1 for null.
ZRKIO_API int XfnCalcBlockHeight(ZRMBand* band, long wantedRows);
