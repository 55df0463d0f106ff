#pragma once

#include "display/BandLook.h"
#include "display/BandSamples.h"
#include "display/DrawScratch.h"
#include "display/PlaceMap.h"

namespace zrk {

/// How far before an edge a place may lie, in pixels of the band, and still count as on it. World coordinates are
/// seldom exact in binary.
inline constexpr double kOnTheEdge = 1e-6;

/// The part of a band that may be drawn, in its pixels: from u0 up to but without u1, and from v0 to v1.
struct BandLimits {
  double u0 = 0.0;
  double u1 = 0.0;
  double v0 = 0.0;
  double v1 = 0.0;
};

/// The part of a band's pixels that lies in an extent of its world. For a turned band it is the range that the corners
/// of the extent span.
BandLimits LimitsOf(const ZRMBand& band, const Affine& toPixels, const Extent& extent);

/// A band as a picture needs it.
struct PaintedBand {
  ZRMBand* band = nullptr;
  const BandLook* look = nullptr;
  Affine toPixels;  ///< from its world
  BandLimits limits;
  Extent extent;            ///< in its world
  bool isCircling = false;  ///< its x are longitudes, which begin anew after 360 degrees
};

enum class PaintResult {
  kFailed,    ///< the band can't be read
  kNothing,   ///< the band does not lie there
  kTooLarge,  ///< more samples lie under the block than are read at once
  kPainted,
};

/// Turns what lies of a band under blocks of a picture into planes of bytes. For one thread.
class BandPainter {
 public:
  /// `method` is a value of `XResampleMethod`.
  BandPainter(const PictureGrid& grid, const SystemBridge& bridge, const PaintedBand& band, int method,
              DrawScratch& scratch, int* cancel);

  /// For the band that tells opacity: keeps it for each quarter of the pixels, where they have quarters.
  void KeepQuarters(OpacityQuarters& quarters) { kept_ = &quarters; }
  /// For the other bands: leaves quarters that are not opaque at all out of means.
  void PassOver(const OpacityQuarters& quarters) { masks_ = &quarters; }

  /// Fills the plane with the block's bytes.
  PaintResult Paint(const Window& block, BandPlane& plane);

 private:
  struct Subpixel;
  PaintResult PaintShifted(double shift);
  PaintResult PaintUnturned(const Affine& map);
  PaintResult PaintPatches(const PlaceMap& map, double shift);
  void MakePatches(const PlaceMap& map, double shift);
  void ChooseLevel(const PlaceMap& map);
  PaintResult Read(const Window& window);

  void Begin();
  void FinishMeans();
  bool CoverBlock() const;
  void PaintAxes(BlockAxis& columns, BlockAxis& rows);
  /// How samples under columns become bytes.
  enum class RowWay { kCopy, kPick, kLook };
  RowWay PlanRows(int count);
  void TakeRow(RowWay way, int row, int count, unsigned char* bytes, unsigned char* shown);
  void RepeatRow(std::size_t place, int count);
  void PaintWholeMeans();
  void KeepWholeQuarters();
  bool HasMasks() const { return masks_ && numHalves_ > 1 && masks_->numHalves == numHalves_; }
  const unsigned char* LookAtRow(int row, std::vector<unsigned char>& bytes);
  void PlaceColumns(const BlockAxis& columns, std::vector<int>& places) const;
  void PaintPatch(const PatchList& list, const Patch& patch);
  bool IsWithin(const Patch& patch) const;
  void LocateRow(const PatchRow& row, int count);
  bool LocateLine(int count);
  void PutRow(int x, int y, int count);
  void MaskRow(std::size_t place, std::size_t count);
  void AddRow(std::size_t place, std::size_t count);

  std::size_t PlaceInBlock(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(block_.Width()) + static_cast<std::size_t>(x);
  }

  const PictureGrid& grid_;
  const SystemBridge& bridge_;
  const PaintedBand& band_;
  const bool wantsMeans_;
  DrawScratch& scratch_;
  int* const cancel_;

  Window block_;
  BandPlane* plane_ = nullptr;
  int level_ = 0;
  int numHalves_ = 1;        // 2 where a pixel is the mean of two by two
  std::size_t quarter_ = 0;  // which of them is painted
  OpacityQuarters* kept_ = nullptr;
  const OpacityQuarters* masks_ = nullptr;
  bool isBegun_ = false;
  bool areAllShown_ = false;
  BandSamples samples_;
};

}  // namespace zrk
