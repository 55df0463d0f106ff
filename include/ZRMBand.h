#pragma once

#include "tagXRSGIS.h"
#include "XBand.h"
#include "XOrbitInterpolater.h"
#include "XRSScanSensorParam.h"
#include "XSarParam.h"
#include "XSpatialReference.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

class XEPOT2D;
class XRSFile;
class ZRMBandDRIO;

namespace zrk {
struct FieldAccess;
}

/// The kind of a band that holds class numbers, whose GIS list has one colour for each.
inline constexpr int kBandTypeThematic = 8;

/// What a band shows of a picture in colours.
enum XColourRole { kRoleUnknown, kRoleGrey, kRoleRed, kRoleGreen, kRoleBlue, kRoleAlpha };

/// What `GetULX` and `GetULY` name: the outer corner of the first pixel, or its centre. It follows from the format.
enum XPixelAnchor { kPixelCorner, kPixelCentre };

/// What a band's coordinates are.
enum XCoordinateKind { kCoordinatePixel = 1, kCoordinateWorld = 2 };

/// A band with its place in the world and all that is known of how it was taken.
///
/// World coordinates: x = ULX + column * xPixelSize, y = ULY - row * yPixelSize. Pixel sizes are world units per pixel,
/// positive as a rule; y grows upward in the world and downward in the image. Rotation is not represented.
///
/// A loader fills the fields, and the caller may change them afterwards: the file stays as it is. Setters check nothing
/// unless they say so. Fields are set before the band is shared between threads, or by one thread alone; getters and
/// coordinate operations may then be called by any thread. A band that was added to a dataset is deleted by it, any
/// other one by the caller.
class ZRKIO_API ZRMBand : public XBand {
  X_DECLARE_RUNTIME_CLASS
  ZRMBand();
  ~ZRMBand() override;
  ZRMBand(const ZRMBand&) = delete;
  ZRMBand& operator=(const ZRMBand&) = delete;

  /// The level for a picture of `width` by `height` pixels of the area between four places, which are world coordinates
  /// in any order. Only the size of the area counts, so that it may reach beyond the image. Returns 0 for an area of
  /// less than a pixel.
  int GetHighestLevelForTarget(double cornerX0, double cornerY0, double cornerX1, double cornerY1, double cornerX2,
                               double cornerY2, double cornerX3, double cornerY3, int width, int height) override;
  using XBand::GetHighestLevelForTarget;
  /// Sets minimum, maximum, mean and deviation, and the histogram if `withHistogram` is nonzero. In the exact policy
  /// they are those of all pixels, see `XfnCalcExactStatistics`. In the compatible policy they are an estimate from the
  /// coarsest level. Returns 1; or 0 where that level has no pixel or can't be read, and the old values stay. The call
  /// changes fields of the band, so no other thread may use these meanwhile.
  int CalcStatistics(int withHistogram) override;
  /// Copies all fields of `source` deeply but its dataset and output store; pixels and level data are not copied.
  /// Returns 1, also for the band itself; 0 for null.
  int CloneBand(ZRMBand* source) override;

  /// The band that takes the level data of this one: itself, or a band behind it. Returns null for a band that can have
  /// no level data. It is not owned by the caller.
  ZRMBandDRIO* GetLevelSource() const { return levelSource_; }
  /// The band whose samples this one shows, or null: itself, unless it shows one that is hidden behind it.
  ZRMBand* GetShownBand() const { return shownBand_; }

  // Coordinates. The first two change their arguments in place; places outside the image are allowed. With a pixel size
  // of 0 the pixel of a place is infinite or not a number.

  /// Replaces a column and a row by the place in the world. Fractions are allowed. (0, 0) gives the place of `GetULX`
  /// and `GetULY`, and (1, 1) lies one pixel to the right of it and below.
  void ConvPixelToWorldCoord(double& x, double& y) const;
  /// The reverse. The result has fractions: the pixel of a place inside the image is the whole part of it.
  void ConvWorldToPixelCoord(double& x, double& y) const;
  /// The pixel of a place, truncated toward zero. A place up to one pixel left of the image or above it therefore gives
  /// 0. The result is cut to the range of an int, and is 0 for what is not a number. It may lie outside the image.
  void ConvWorldToPixelCoord(double worldX, double worldY, int& x, int& y) const;
  /// Reads one sample at a place in world coordinates, of the pixel that `ConvWorldToPixelCoord` finds. The result is
  /// that of a window of one pixel. Returns 0 where the pixel lies outside the image or the place is not finite.
  int ReadPixel(tagXArr2*& out, double worldX, double worldY);
  using XBand::ReadPixel;
  /// The outer edges of an inclusive range of pixels, in world units. The range may reach beyond the image.
  void ConvPixelToWorldRange(int x0, int x1, int y0, int y1, double& minX, double& maxX, double& minY,
                             double& maxY) const;
  /// The outer edges of the whole band: x from west to east, then y from south to north. With a negative pixel size the
  /// first of a pair is the larger one.
  void GetBoundRect(double& minX, double& maxX, double& minY, double& maxY) const;
  /// Sets the upper left corner, and works out the band's size in whole pixels from the pixel sizes. A part of a pixel
  /// at the right or lower edge is dropped, unless it lacks less than a millionth of a pixel. If a pixel size is 0, the
  /// size in that direction stays as it was. A result below 0 becomes 0.
  void SetBoundRect(double minX, double maxX, double minY, double maxY);

  /// The full transform from pixels to world units: x = t[0] + column * t[1] + row * t[2], y = t[3] + column * t[4] +
  /// row * t[5]. (0, 0) is the outer corner of the first pixel, whatever convention the format has. (1, 1) is the outer
  /// corner of the pixel to the right and below. The transform knows rotation and rows that go north; the operations
  /// above do not.
  void GetGeoTransform(double transform[6]) const;
  /// For loaders, after they have set corner and pixel sizes. A later change of corner or pixel sizes discards this
  /// transform, and the transform then follows from them.
  void SetGeoTransform(const double transform[6]);
  /// Which place of the first pixel `GetULX` and `GetULY` mean: its outer corner (the initial value) or its centre. The
  /// transform follows from that.
  XPixelAnchor GetPixelAnchor() const { return pixelAnchor_; }
  void SetPixelAnchor(XPixelAnchor pixelAnchor) { pixelAnchor_ = pixelAnchor; }

  // Fields.

  /// The dataset that holds the band, or null; not owned. The pointer is valid as long as the band is, since the
  /// dataset deletes its bands.
  XRSFile* GetXRSFile() const { return owner_; }
  /// `XRSFile::AddBand` calls it. A band of no dataset works as well.
  void SetXRSFile(XRSFile* owner) { owner_ = owner; }
  /// What the samples mean: 8 (`kBandTypeThematic`) for class numbers, 0 for anything else. Thematic bands are reduced
  /// to their most frequent sample where others are averaged.
  int GetBandType() const { return bandType_; }
  /// Set it before level data is built: it decides how levels are made.
  void SetBandType(int bandType) { bandType_ = bandType; }

  /// A value of `XColourRole`, by what the file says of the band; `kRoleUnknown` where it says nothing.
  XColourRole GetColourRole() const { return colourRole_; }
  void SetColourRole(XColourRole colourRole) { colourRole_ = colourRole; }

  /// The system of the world coordinates. It belongs to the band and lives as long; a change through the pointer
  /// changes the band. It is empty where the file names no system.
  XSpatialReference* GetSR() { return &sr_; }
  const XSpatialReference* GetSR() const { return &sr_; }
  /// Copies the system, and converts no coordinates: corner and pixel sizes keep their numbers.
  void SetSR(const XSpatialReference& sr) { sr_ = sr; }
  /// A value of `XCoordinateKind`, `kCoordinatePixel` at first. It tells whether corner and pixel sizes mean a place in
  /// the world; the conversions above work with them in either case.
  int GetCoordinateKind() const { return coordinateKind_; }
  /// Changes no numbers: what was a pixel coordinate is then read as a world coordinate.
  void SetCoordinateKind(int coordinateKind) { coordinateKind_ = coordinateKind; }

  /// The place of the upper left corner in world units: where column 0 and row 0 begin. 0.0 both at first. A format
  /// that gives the centre of the first pixel keeps that here; its band class says so.
  double GetULX() const { return ulx_; }
  double GetULY() const { return uly_; }
  /// Moves the image in the world. The samples and the file stay.
  void SetULX(double ulx) { SetUpperLeft(ulx, uly_); }
  void SetULY(double uly) { SetUpperLeft(ulx_, uly); }
  void SetUpperLeft(double ulx, double uly) {
    ulx_ = ulx;
    uly_ = uly;
    geoTransform_.reset();
  }
  /// World units per pixel, at first 1.0. A negative or zero size is kept as it is.
  double GetXPixelSize() const { return xPixelSize_; }
  double GetYPixelSize() const { return yPixelSize_; }
  /// Changes the scale of the image in the world, and not the number of its pixels.
  void SetXPixelSize(double xPixelSize) { SetPixelSize(xPixelSize, yPixelSize_); }
  void SetYPixelSize(double yPixelSize) { SetPixelSize(xPixelSize_, yPixelSize); }
  void SetPixelSize(double xPixelSize, double yPixelSize) {
    xPixelSize_ = xPixelSize;
    yPixelSize_ = yPixelSize;
    geoTransform_.reset();
  }
  /// Nonzero where world coordinates are normalised to the image. It is kept for files that have it, and the
  /// conversions do not look at it. 0 at first.
  int IsNormalizedWorld() const { return normalizedWorld_; }
  /// Kept as it is; it moves no coordinates.
  void SetNormalizedWorld(int normalizedWorld) { normalizedWorld_ = normalizedWorld; }

  /// The image centre in pixels, as the file tells it. 0 at first; it is not computed from the size.
  int GetCenterX() const { return centerX_; }
  int GetCenterY() const { return centerY_; }
  void GetCenter(int& centerX, int& centerY) const {
    centerX = centerX_;
    centerY = centerY_;
  }
  /// In pixels; not checked against the size of the band.
  void SetCenterX(int centerX) { centerX_ = centerX; }
  void SetCenterY(int centerY) { centerY_ = centerY; }
  void SetCenter(int centerX, int centerY) {
    centerX_ = centerX;
    centerY_ = centerY;
  }
  /// The angle of the scene's columns against north, in degrees; 0.0 for an unknown one.
  double GetSceneOrient() const { return sceneOrient_; }
  /// Kept as it is; it turns no coordinates.
  void SetSceneOrient(double sceneOrient) { sceneOrient_ = sceneOrient; }
  /// The height of the sensor above the ground, in metres; 0 for an unknown one.
  int GetAltitude() const { return altitude_; }
  void SetAltitude(int altitude) { altitude_ = altitude; }
  /// The angle of the line of sight against the vertical at the centre, in degrees; 0.0 for an unknown one. Radar bands
  /// have three more in `XSarParam`.
  double GetIncidenceAngle() const { return incidenceAngle_; }
  void SetIncidenceAngle(double incidenceAngle) { incidenceAngle_ = incidenceAngle; }
  /// When the image was taken, as the number that its file has; 0 for an unknown date. Files number dates in their own
  /// ways.
  long GetBandDate() const { return bandDate_; }
  void SetBandDate(long bandDate) { bandDate_ = bandDate; }
  /// The sensor, as the number that its file has; 0 for an unknown one.
  long GetBandSensor() const { return bandSensor_; }
  void SetBandSensor(long bandSensor) { bandSensor_ = bandSensor; }
  /// The wavelength of the middle of the band, in the unit of its file; 0.0 for an unknown one.
  double GetWaveLength() const { return waveLength_; }
  void SetWaveLength(double waveLength) { waveLength_ = waveLength; }
  /// The sensor as text; empty for an unknown one.
  const XString& GetBandSensorName() const { return bandSensorName_; }
  void SetBandSensorName(const XString& bandSensorName) { bandSensorName_ = bandSensorName; }

  /// Nonzero where the pixel's place follows from the sensor model and not from corner and pixel sizes. 0 at first. The
  /// conversions of this class do not use the model.
  int GetUseSensorModel() const { return useSensorModel_; }
  /// Kept for modules that have a sensor model.
  void SetUseSensorModel(int useSensorModel) { useSensorModel_ = useSensorModel; }
  /// Focal length and detector cell size, in millimetres; 0.0 for unknown ones.
  double GetFocalLength() const { return focalLength_; }
  double GetCellSize() const { return cellSize_; }
  /// Kept as they are, for modules that have a sensor model.
  void SetFocalLength(double focalLength) { focalLength_ = focalLength; }
  void SetCellSize(double cellSize) { cellSize_ = cellSize; }
  /// The band's own record, or null. It is valid until the next `SetScanSensorParam`.
  XRSScanSensorParam* GetScanSensorParam() const { return scanSensorParam_.get(); }
  /// Keeps a deep copy, so that the caller frees its own. Null removes the record.
  void SetScanSensorParam(const XRSScanSensorParam* scanSensorParam);
  /// Which corner the sensor's rows begin at, in the words of its file; empty for an unknown one.
  const XString& GetOriginCorner() const { return originCorner_; }
  /// Kept as it is. Words such as "Lower" and "Left" in it mean something to sensor models.
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
  /// What sensor columns and rows are multiplied with, after the offset is added; 1.0 both at first.
  void GetScale(double& scaleX, double& scaleY) const {
    scaleX = scaleX_;
    scaleY = scaleY_;
  }
  void SetScale(double scaleX, double scaleY) {
    scaleX_ = scaleX;
    scaleY_ = scaleY;
  }

  /// Where the sun stood: its azimuth, and its elevation above the horizon, in degrees. 0.0 both at first.
  double GetSunAzimuth() const { return sunAzimuth_; }
  double GetSunElevation() const { return sunElevation_; }
  void SetSunAzimuth(double sunAzimuth) { sunAzimuth_ = sunAzimuth; }
  void SetSunElevation(double sunElevation) { sunElevation_ = sunElevation; }
  /// A sample's physical value is sample * gain + bias. Reads give samples, never these values. 1.0 and 0.0 at first.
  double GetGain() const { return gain_; }
  double GetBias() const { return bias_; }
  /// A change of gain or bias changes no sample and no statistics.
  void SetGain(double gain) { gain_ = gain; }
  void SetBias(double bias) { bias_ = bias; }

  /// The classes of a thematic band: a name and a colour for each, in the order in which they were added. A class is
  /// not looked up by its number: the index is the place in the list.
  int GetNumOfGIS() const { return static_cast<int>(gis_.size()); }
  /// The record, which belongs to the band; null for an index outside the list. A change through the pointer changes
  /// the band.
  tagXRSGIS* GetGISAt(int index) const;
  /// Appends the record and becomes its owner: it has to come from `new`. Null is ignored. Two records of one class
  /// number are both kept.
  void AddGIS(tagXRSGIS* gis);

  /// The pyramid store that processing output goes to, or null, and its name. The store is not owned.
  XEPOT2D* GetOutputEPOT() const { return outputEPOT_; }
  const XString& GetOutputEPOTName() const { return outputEPOTName_; }
  /// The store stays the caller's and has to outlive what writes to it. The name is copied.
  void SetOutputEPOT(XEPOT2D* outputEPOT, const XString& name) {
    outputEPOT_ = outputEPOT;
    outputEPOTName_ = name;
  }

  // Radar.

  /// All radar parameters in one record, which belongs to the band. The functions below get and set its fields one by
  /// one. No value is checked, and a value of 0 stands for an unknown one.
  XSarParam& GetSarParam() { return sarParam_; }
  const XSarParam& GetSarParam() const { return sarParam_; }
  /// Copies the record.
  void SetSarParam(const XSarParam& sarParam) { sarParam_ = sarParam; }
  /// Returns 0 for a band that is no radar image, otherwise the mode of its file.
  int GetSarMode() const { return sarParam_.mode; }
  /// A mode other than 0 makes this a radar band, so that files get its radar parameters.
  void SetSarMode(int mode) { sarParam_.mode = mode; }
  /// Whether the band has radar parameters, that is a mode other than 0. Files keep them for such bands alone.
  bool IsSarBand() const { return sarParam_.mode != 0; }

  /// The frequency of the middle of the transmitted band. Here frequencies are in hertz, angles in degrees, lengths in
  /// metres and times in seconds.
  double GetCarrierFrequency() const { return sarParam_.carrierFrequency; }
  void SetCarrierFrequency(double value) { sarParam_.carrierFrequency = value; }
  /// The range of frequencies that a pulse sweeps.
  double GetChirpBandWidth() const { return sarParam_.chirpBandWidth; }
  void SetChirpBandWidth(double value) { sarParam_.chirpBandWidth = value; }
  /// The time that a pulse takes.
  double GetChirpDuration() const { return sarParam_.chirpDuration; }
  void SetChirpDuration(double value) { sarParam_.chirpDuration = value; }
  /// Nonzero where the frequency rises within a pulse.
  int GetUpChirp() const { return sarParam_.upChirp; }
  void SetUpChirp(int value) { sarParam_.upChirp = value; }
  /// True at first, as the flag is 0 then.
  bool IsDownChirp() const { return sarParam_.upChirp == 0; }
  /// The samples a second of the received signal.
  double GetSamplingFrequency() const { return sarParam_.samplingFrequency; }
  void SetSamplingFrequency(double value) { sarParam_.samplingFrequency = value; }
  /// Pulses a second; 0.0 for an unknown number.
  double GetPRF() const { return sarParam_.prf; }
  void SetPRF(double value) { sarParam_.prf = value; }
  /// The angles between the line of sight and the vertical, at the near edge, the centre and the far edge of the swath.
  double GetIncidenceAngleN() const { return sarParam_.incidenceAngleN; }
  void SetIncidenceAngleN(double value) { sarParam_.incidenceAngleN = value; }
  double GetIncidenceAngleC() const { return sarParam_.incidenceAngleC; }
  void SetIncidenceAngleC(double value) { sarParam_.incidenceAngleC = value; }
  double GetIncidenceAngleF() const { return sarParam_.incidenceAngleF; }
  void SetIncidenceAngleF(double value) { sarParam_.incidenceAngleF = value; }
  /// The angle between the line of sight and the plane across the track.
  double GetSquintAngle() const { return sarParam_.squintAngle; }
  void SetSquintAngle(double value) { sarParam_.squintAngle = value; }
  /// The lengths of the antenna, along the track and across it.
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

  /// The orbit: positions by time. The record belongs to the band, and is empty for an unknown orbit.
  XOrbitInterpolater& GetOrbitInterpolater() { return orbitInterpolater_; }
  /// Copies the record deeply.
  void SetOrbitInterpolater(const XOrbitInterpolater& value) { orbitInterpolater_ = value; }
  /// The gain pattern of the beam. The record belongs to the band, and is empty for an unknown pattern.
  XSarBeam& GetSarBeam() { return sarBeam_; }
  /// Copies the record deeply.
  void SetSarBeam(const XSarBeam& value) { sarBeam_ = value; }
  /// The window of the original scene that the band shows, inclusive, in pixels of that scene. All four are 0 for a
  /// scene that was not cut.
  void GetSarsubset(int& x0, int& x1, int& y0, int& y1) const;
  /// Kept as given and not checked against the size of the band.
  void SetSarsubset(int x0, int x1, int y0, int y1);

 protected:
  /// Statistics of the whole band as a read at `level` gives it. Returns 0 where that is smaller than a pixel or can't
  /// be read. The old values stay then.
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
  XColourRole colourRole_ = kRoleUnknown;
  XSpatialReference sr_;
  int coordinateKind_ = kCoordinatePixel;
  double ulx_ = 0.0;
  double uly_ = 0.0;
  double xPixelSize_ = 1.0;
  double yPixelSize_ = 1.0;
  XPixelAnchor pixelAnchor_ = kPixelCorner;
  std::optional<std::array<double, 6>> geoTransform_;  // where it says more than corner and pixel sizes
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

/// The rows of a processing block of the band, as the form of `XSystem.h` tells for its width, height and sample size.
/// Returns 1 for null.
ZRKIO_API int XfnCalcBlockHeight(ZRMBand* band, long wantedRows);
