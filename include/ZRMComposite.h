#pragma once

#include "tagXSubsetStatistics.h"
#include "tagXVector2.h"
#include "XBackBuffer.h"
#include "XExport.h"
#include "XString.h"

#include <memory>

class XSpatialReference;
class ZRMBand;
class ZRMVand;

/// The bands of a composite are numbered from 0 to 2: red, green and blue. One band alone is shown in grey.
inline constexpr int kCompositeBands = 3;

/// How the bytes that come of the samples become colours.
enum XCompositeMode {
  /// Red, green and blue from a band each; a band alone gives grey.
  kModeColours = 0,
  /// The entries of the colour table of the first band that is there.
  kModeTable = 1,
};

/// How samples become bytes. A sample at or below the low end of the stretched range becomes 0, and a sample at or
/// above its high end 255. Samples between are spread evenly and rounded.
enum XStretchType {
  kStretchNone = 0,        ///< samples are the bytes, cut to 0 to 255
  kStretchMinMax = 1,      ///< from minimum to maximum
  kStretchDeviations = 2,  ///< two deviations either side of the mean, as far as there are samples
  kStretchHistogram = 3,   ///< so that all bytes are about equally frequent
  kStretchCut = 4,         ///< from the cut minimum to the cut maximum
};

/// Which samples are not drawn.
enum XCutType {
  kCutNone = 0,
  kCutBelow = 1,    ///< those below the cut minimum
  kCutAbove = 2,    ///< those above the cut maximum
  kCutOutside = 3,  ///< both
  kCutInside = 4,   ///< those from the cut minimum to the cut maximum
};

/// What `ZRMComposite::Draw` came to.
enum XDrawResult {
  kDrawFailed = -1,  ///< a band could not be read, or there is no way between the systems
  kDrawNothing = 0,  ///< nothing of the composite lies there, nothing is shown, or a stop was requested
  kDrawDone = 1,
};

/// One to three bands, and how they are shown. Bands of one composite may differ in size, type and pixel size. All
/// share the coordinate system of the first band. The geotransform of a band gives its place. So turned images, and
/// images whose corner is the centre of a pixel, are drawn where they belong. Images of a geographic system are also
/// drawn 360 degrees east and west of their coordinates.
///
/// The way of a sample to the picture: samples that are null, transparent or NaN are empty, and so are samples that the
/// cut leaves out. The other samples are stretched to bytes, and the lookup table replaces these bytes. A pixel is
/// drawn if a visible band has a sample there that is not empty. In a drawn pixel an empty sample counts as 0.
///
/// Functions that take the number of a band return 0 or null for a number outside 0 to 2, and setters then change
/// nothing. One thread sets a composite up. Then many threads may draw it at once, each into a buffer of its own.
/// Nothing here throws.
class ZRKIO_API ZRMComposite {
 public:
  ZRMComposite();
  ~ZRMComposite();
  ZRMComposite(const ZRMComposite&) = delete;
  ZRMComposite& operator=(const ZRMComposite&) = delete;

  /// A name for people; empty at first.
  const XString& GetName() const;
  void SetName(const XString& name);
  /// A value of `XCompositeMode`, `kModeColours` at first. `SetMode` ignores any other value.
  int GetMode() const;
  void SetMode(int mode);
  /// A vector set that belongs to the picture, or null; not owned. It is kept for callers and not drawn.
  ZRMVand* GetVand() const;
  void SetVand(ZRMVand* vand);

  /// The band, or null; not owned, and it has to outlive the draws.
  ZRMBand* GetBand(int index) const;
  /// Sets or, with null, removes a band. Its stretch becomes `kStretchNone` for samples of 8 bits and `kStretchMinMax`
  /// for others; table, cut, transparent value and statistics become those of a new composite. A thematic band brings
  /// the colours of its classes into its colour table, has no stretch, and as band 0 sets `kModeTable`. In the exact
  /// policy one without colours is taken like any other band. Returns 1 or 0.
  int SetBand(int index, ZRMBand* band);
  /// The number of bands that are there.
  int GetNumOfBands() const;
  /// The band that tells how opaque each pixel is, or null, the initial value. It is not owned. It has the system of
  /// the other bands, and is not one of them. A pixel whose sample is 0 is not drawn. A sample of `opaque` or more
  /// hides what was there, and samples between mix the two. An `opaque` that is not above 0 stands for the largest
  /// value of an integer type, or for 1.0 of a real type. Nothing is drawn outside the band. Colours must not be
  /// premultiplied with the opacity. Exports of heights ignore it.
  ZRMBand* GetOpacityBand() const;
  void SetOpacityBand(ZRMBand* band, double opaque = 0.0);
  /// The system of the first band that is there, which belongs to it; null without bands.
  XSpatialReference* GetSR() const;

  /// Nonzero if the band is hidden: its colour is then 0 in the picture. 0 at first. A composite whose bands are all
  /// hidden draws nothing.
  int GetHideFlag(int index) const;
  void SetHideFlag(int index, int isHidden);
  /// A value of `XStretchType`. Any other is ignored.
  int GetStretchType(int index) const;
  void SetStretchType(int index, int stretchType);
  /// How much of the stretched range counts, in percent, 0 to 100; other values are ignored. The rest up to 100 is cut
  /// off, half at either end. For `kStretchHistogram` it is a share of the samples, otherwise of the range.
  /// `kStretchNone` ignores it. 100.0 at first.
  double GetCoverage(int index) const;
  void SetCoverage(int index, double percent);
  /// A value of `XCutType`, `kCutNone` at first. Any other is ignored.
  int GetCutType(int index) const;
  void SetCutType(int index, int cutType);
  /// The ends of the cut, in samples: 0.0 and 255.0 at first.
  double GetCutMin(int index) const;
  double GetCutMax(int index) const;
  void SetCutRange(int index, double cutMin, double cutMax);
  /// A sample that is not drawn, like the null value; `kNotSet`, the initial value, for none.
  double GetTransparentValue(int index) const;
  void SetTransparentValue(int index, double value);

  /// The 256 bytes that replace the stretched bytes; at first each byte stands for itself. They belong to the
  /// composite. Call `TouchTables` after a change through the pointer.
  unsigned char* GetLUT(int index);
  /// The colours of the 256 bytes that come out of the lookup table; grey at first. They belong to the composite. Call
  /// `TouchTables` after a change.
  XColour* GetCLT(int index);
  /// Makes later draws see what was changed in tables, bands and their statistics.
  void TouchTables();
  /// The points of the curve that the lookup table was made from: from stretched bytes (x) to others (y), 0 to 255
  /// each.
  int GetNumOfHistogramPoints(int index) const;
  /// Returns null outside the list; valid until the list is set again.
  const tagXVector2* GetHistogramPointAt(int index, int point) const;
  /// Keeps the points and makes the lookup table of straight lines between them. Before the first point and behind the
  /// last one the curve is level. Without points each byte stands for itself. Returns 1, or 0 with all as it was, for
  /// numbers that are not finite and for x that do not rise.
  int SetHistogramPoints(int index, const tagXVector2* points, int numPoints);

  /// Works out statistics of a part of a band; later draws stretch by these instead of the band's own. The edges are
  /// coordinates of the band's world. The statistics come from the level at which that part has at most about a million
  /// pixels. Returns 1, or 0 with all as it was, if nothing of the band lies there, no sample counts, or the band can't
  /// be read.
  int CalcSubsetStatistics(int index, double west, double south, double east, double north);
  /// The statistics of `CalcSubsetStatistics`, or null before that call. Without them draws stretch by the band's own
  /// statistics, or by those of its coarsest level if the band has none.
  const tagXSubsetStatistics* GetSubsetStatistics(int index) const;

  /// Six numbers that give the world coordinates of a pixel: x = c[0] + column * c[1] + row * c[2], y = c[3] + column *
  /// c[4] + row * c[5]. (0, 0) is the outer corner of the first pixel. They belong to the composite. Returns null
  /// without the band.
  const double* GetWarpCoeff(int index) const;
  /// The way back: column = c[0] + x * c[1] + y * c[2], row = c[3] + x * c[4] + y * c[5]. Returns null without the
  /// band, and for a band whose pixels have no area.
  const double* GetWarpCoeffInv(int index) const;

  /// The extent that is drawn, in the world of the composite: all of its bands, unless a smaller one was set. Returns
  /// 0, with the outputs as they were, without bands.
  int GetDrawRange(double& minX, double& maxX, double& minY, double& maxY) const;
  /// Only places in that extent are drawn from now on. Returns 0, with all as it was, for an extent that has no area.
  int SetDrawRange(double minX, double maxX, double minY, double maxY);
  void ClearDrawRange();

  /// The composite's own buffer, into which `Draw` goes without another one. It belongs to the composite.
  XBackBuffer* GetBackBuffer();
  /// Its pixels, as `XBackBuffer::GetPixels` gives them.
  const unsigned char* GetDIBits() const;

  /// Draws over what the buffer shows, as far as pixels of it have their centre within the four edges, which are world
  /// coordinates of the buffer. Each band is read from the coarsest level that still has a pixel for each of the
  /// buffer's, or from level 0.
  ///
  /// With `kResampleNearest` as `method`, a pixel of the buffer takes the sample under its centre. A centre on an edge,
  /// or less than a millionth of a pixel before it, belongs to the next column or row. With `kResampleMean` a pixel
  /// that is larger than the level's pixels is the mean of two by two places in it. Bands with a colour table always
  /// take the nearest sample. Any other value counts as `kResampleNearest`.
  ///
  /// If the systems differ, places are transformed exactly at the corners of patches and taken as straight between
  /// them. A patch is divided if it is off by more than a sixteenth of a pixel. That pixel is the larger one of the
  /// picture's and the band's. No place drawn is off by more than an eighth of that pixel.
  ///
  /// `first` is the first composite that was drawn into the buffer, or null: a buffer without a system takes that of
  /// this composite. A word behind `cancel` that holds 1 stops the drawing. The result is a value of `XDrawResult`; the
  /// reason of a failure is what `XfnGetLastReadError` tells, and what was drawn before it stays.
  int Draw(XBackBuffer* buffer, double west, double south, double east, double north, int method, ZRMComposite* first,
           int* cancel);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
