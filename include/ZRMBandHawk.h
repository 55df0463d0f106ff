#pragma once

#include "XSensorModel.h"
#include "XString.h"
#include "ZRMBandDRIO.h"

#include <cstdint>
#include <memory>

class XThread;

/// The one band of a Hawk data set: imagery of a scanning sensor, with the model of that sensor.
///
/// A data set is a family of files in one folder. It has the images `<base>.TIF_1`, `.TIF_2`, `.TIF_4` to `.TIF_128`
/// and the document `<base>.XML`. The number tells by how much an image is reduced. Only the first image and the
/// document have to be there. Level n is read from the image of number 2^n.
///
/// **Pixels.** Compatible reads give the window x0 >> n to x1 >> n of that image, which may be one pixel more than a
/// shifted window has. A level without an image fails. Levels above 7 give the image of level 7. Images other than the
/// first are used if their names exist in the working folder as well; otherwise the first image is thinned. Exact reads
/// look for images beside the first one and give ((x1 - x0 + 1) >> n) by ((y1 - y0 + 1) >> n) pixels. They take a level
/// without an image from the next finer image.
///
/// **Ground.** A whole number of a column and of a line is the middle of a pixel, (0, 0) that of the first one.
/// Longitudes and latitudes are in degrees on WGS 84, longitudes from -180 to 180, heights in metres above its
/// ellipsoid. The ground is the terrain model with the geoid on it, or the plain ellipsoid. In the compatible policy a
/// height is that of the pixel that holds the place, in whole metres, and 0 outside the model. At most four passes look
/// for the ground, to a metre. In the exact policy the ground is interpolated, and the first place where the line of
/// sight meets the ground counts. A line of sight fails if it misses the ground, meets a pixel without a height, or
/// leaves the terrain model.
///
/// Any number of threads may read the band and ask for places at once, without waiting for each other. One thread alone
/// opens files and sets the terrain. No call throws. A call that fails returns 0, and `XfnGetLastReadError` tells the
/// reason.
class ZRKIO_API ZRMBandHawk : public ZRMBandDRIO, public XSensorModel {
  X_DECLARE_RUNTIME_CLASS
  /// A new band has the terrain model "korea_dem.zrm" and the geoid "WW15MGH.zrm" of the resource folder, if they exist
  /// there, see `XfnSetResourceFolder`. All bands share them.
  ZRMBandHawk();
  ~ZRMBandHawk() override;

  /// Opens a data set by the name of any of its images. The band drops its earlier data set, and keeps its terrain.
  /// Returns 1, or 0 if the first image or the document can't be used. Images that were opened stay open then. `err`
  /// has the sentence of the first image's reader. In the exact policy it has a sentence for any failure. In the
  /// compatible policy it stays as it was for a name of another kind, and for a document that can't be used. `thread`
  /// goes to the readers of the images.
  int ReadFile(XString path, XString& err, XThread* thread);
  using ZRMBandDRIO::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  /// As `ZRMBand::CalcStatistics`.
  int CalcStatistics(int withHistogram) override;
  /// Frees the calling thread's buffers of all images, as `XBand::CleanupMemory` tells.
  int CleanupMemory(int freeBuffers, int force) override;
  using ZRMBandDRIO::GetHighestLevelForTarget;
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;

  /// Whether all images but the one reduced by `except` exist in the folder where the policy looks: the working folder
  /// in the compatible one, that of `path` in the exact one. Only the base name of `path` counts.
  int CheckExistAllLevelData(XString path, int except) const;
  /// Whether any of them exists.
  int CheckExistAnyLevelData(XString path, int except) const;
  /// Closes all images. Exact reads fail from then on; compatible ones answer 1 and leave their outputs as they were.
  void DeleteAllLevel();
  /// Returns 0 before `ReadFile`; then 1 where the first image is alone, otherwise 8.
  int GetNumOfLevelBands() const;
  /// The image of a level, which stays the band's; null for a level that has none.
  ZRMBand* GetLevelBandAt(int level) const;
  /// A sentence about the first image that exists and isn't used, because it can't be read or has another data type. In
  /// the exact policy a wrong size is a reason too. Empty if all images are used.
  XString GetLevelRefusal() const;
  /// Always 1.
  int GetNumOfBand() const;
  /// The mode in which the compatible loader looks for level data: 1 where images of other levels are there, and
  /// before `ReadFile`; 2 where the first image is alone.
  int GetCreateXLDOption() const;

  // The document. It can be loaded without images, to have the sensor model alone: `LoadHawkXML`, then
  // `CalcSplineCoeffs`.

  /// Reads the document into the band. Returns 1; or 0 if the document can't be read, has a root other than "SIF", or
  /// describes no usable sensor. A usable sensor has six lists of equal length with at least three samples each. Its
  /// lines and samples are above 0, all numbers are finite, and the rotation can be inverted. After a 0 the band has no
  /// sensor model. `XfnMessageBox` also reports a document without any element. Rows beyond a list's count are passed
  /// over.
  int LoadHawkXML(XString path);
  /// As the one above, with the reason in `err` in either policy.
  int LoadHawkXML(XString path, XString& err);
  /// The origin of the local frame in the earth-centred one, in metres.
  void GetOriginInEcf(double& x, double& y, double& z) const;
  /// The rotation from the earth-centred frame to the local one, row by row.
  void GetRotationEcfToLsr(double rotation[9]) const;
  /// The samples of each of the six lists; 0 without a document.
  int GetGridCount() const;
  int GetImageLines() const;
  int GetImageSamples() const;
  /// Returns 1 where the spectrum is "IR", otherwise 0.
  int GetIsIR() const;
  double GetFocalLengthInMm() const;
  double GetDetectorCellSizeInMm() const;

  // The sensor model.

  /// Makes the model of what the document tells, and gives the band its record (`GetScanSensorParam`) in sample mode.
  /// Without a document it does nothing.
  void CalcSplineCoeffs();
  /// Gives the band its record: samples where `usePolynomial` is 0, otherwise polynomials of the order given, that fit
  /// the samples best. Nothing is done without a document, and for an order below 0 or above 30.
  void CalcScanSensorParams(int usePolynomial, int order);
  /// Replaces a column and a line by the longitude and latitude of the ground there. If a line of sight misses the
  /// earth, the arguments have the result of the last pass before. Before the first pass that is the column and the
  /// line, counted from the other corner if the document says so. In the exact policy any failure gives two NaN.
  /// Without a model nothing is changed.
  void ConvWarpPixelToWorldCoord(double& x, double& y) const;
  /// `ConvWorldToPixelCoord`, which knows no sensor. It does not reverse the one above: `FindPixelOfGround` does.
  void ConvWarpWorldToPixelCoord(double& x, double& y) const;
  /// Always 0.0.
  double CalcYP2(double, double) const;

  /// The ground that a pixel shows. Returns 1; or 0, with the outputs as they were, where the line of sight finds none.
  /// It finds the same places as `ConvWarpPixelToWorldCoord`. The height is that of the place found on the line of
  /// sight.
  int FindGroundOfPixel(double column, double line, double& lon, double& lat, double& height) const;
  /// The reverse: the pixel that shows a place on the ground, to a hundredth of a pixel. Returns 1, with a column from
  /// -1 to the number of samples and a line from -1 to the number of lines; or 0, with the outputs as they were. The
  /// search ignores whether other ground hides the place. Heights of the compatible policy are steps. On a step several
  /// pixels may show one place, and any of them may be found; few places have no pixel.
  int FindPixelOfGround(double lon, double lat, double& x, double& y) const;
  /// The same for a place at a height of the caller's, which takes no terrain.
  int FindPixelOfPoint(double lon, double lat, double height, double& x, double& y) const;
  /// The height of the ground as the policy has it; 0 in the exact policy where it is unknown. Without terrain it is
  /// 0.0.
  int GetGroundHeight(double lon, double lat, double& height) const;

  /// `FindGroundOfPixel` for `count` places in arrays: columns and lines are replaced by longitudes and latitudes.
  /// `heights` may be null. Places that fail become NaN. Returns the number of places found. The workers of
  /// `XfnSetWorkerCount` share the work.
  std::int64_t FindGroundOfPixels(std::int64_t count, double* x, double* y, double* heights) const;
  /// `FindPixelOfGround` for arrays: longitudes and latitudes are replaced by columns and lines.
  std::int64_t FindPixelsOfGround(std::int64_t count, double* x, double* y) const;

  // The same by the face of sensor models, which leaves the arguments as they are.

  int LocatePixels(const double* x, const double* y, int count, double* lon, double* lat,
                   double* height) const override;
  int FindPixels(const double* lon, const double* lat, const double* height, int count, double* x,
                 double* y) const override;
  int FindHeights(const double* lon, const double* lat, int count, double* height) const override;

  /// Sets the terrain model of this band: the first band of a dataset, whose samples are heights in metres above the
  /// geoid over longitude and latitude. Null takes the terrain away. The band owns the dataset from now on, also after
  /// a 0; the dataset has to come from `new`. Returns 1, or 0 if the dataset has no band, is turned, or lies in a
  /// system that is not geographic. After a 0 the band keeps its earlier terrain. Set the terrain before or after
  /// `ReadFile`.
  int SetDemFile(XRSFile* demFile) override;
  /// The same for the geoid, whose samples are its heights above the ellipsoid in centimetres. It counts only where the
  /// terrain has a height.
  int SetGeoidFile(XRSFile* geoidFile) override;
  /// The datasets, which stay the band's; null without one.
  XRSFile* GetDemFile() const;
  XRSFile* GetGeoidFile() const;

 private:
  struct Impl;
  int OpenImages(const XString& path, bool hasOthers, XString& err, XThread* thread);
  std::unique_ptr<Impl> impl_;
};
