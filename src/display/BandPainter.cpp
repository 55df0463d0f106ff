// A block of a picture, filled from a band, in one of two ways. If the band is neither turned nor in another system,
// its columns follow from the block's columns alone, and its rows from the rows. Two lists then hold the whole
// geometry. Otherwise the places come from patches (Patches.cpp). In both ways the window under the block is read once,
// from the level that suits. Each row then goes through the look of the band (BandLook.cpp) and becomes bytes.
//
// Means do the same for each quarter of the pixels, and add the results.

#include "display/BandPainter.h"

#include "XThread.h"
#include "ZRMBand.h"
#include "ZRMBandResize.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>

namespace zrk {

namespace {

/// The pixels of a band's axis at offset + i * scale, as far as they lie from `low` up to but without `high`. They are
/// one stretch, because they only rise or only fall.
void FindAxis(double offset, double scale, int count, double low, double high, BlockAxis& axis) {
  axis.pixels.resize(static_cast<std::size_t>(count));
  axis.first = count;
  axis.last = -1;
  for (int i = 0; i < count; ++i) {
    // Each centre is computed by itself. A sum carried from pixel to pixel would drift.
    const double place = offset + i * scale + kOnTheEdge;
    if (!(place >= low && place < high)) continue;
    axis.first = std::min(axis.first, i);
    axis.last = i;
    axis.pixels[static_cast<std::size_t>(i)] = static_cast<int>(place);
  }
  if (axis.last < axis.first) return;
  const auto [lowest, highest] =
      std::minmax(axis.pixels[static_cast<std::size_t>(axis.first)], axis.pixels[static_cast<std::size_t>(axis.last)]);
  axis.lowest = lowest;
  axis.highest = highest;
}

bool IsEmpty(const BlockAxis& axis) {
  return axis.last < axis.first;
}

/// Where a half of a pixel has its centre, from the pixel's own.
double OffsetOf(int half, int numHalves) {
  return numHalves == 1 ? 0.0 : half * 0.5 - 0.25;
}

/// The range of the band's pixels under some axes; the last is less than the first where none lies over the band.
void FindRange(const std::array<BlockAxis, 2>& axes, int numHalves, int& first, int& last) {
  first = 0;
  last = -1;
  for (int half = 0; half < numHalves; ++half) {
    const BlockAxis& axis = axes[static_cast<std::size_t>(half)];
    if (IsEmpty(axis)) continue;
    first = last < first ? axis.lowest : std::min(first, axis.lowest);
    last = std::max(last, axis.highest);
  }
}

}  // namespace

BandLimits LimitsOf(const ZRMBand& band, const Affine& toPixels, const Extent& extent) {
  Extent pixels;
  for (const double x : {extent.minX, extent.maxX}) {
    for (const double y : {extent.minY, extent.maxY}) pixels.GrowTo(toPixels.U(x, y), toPixels.V(x, y));
  }
  const double xSize = band.GetXSize(), ySize = band.GetYSize();
  return {std::clamp(pixels.minX, 0.0, xSize), std::clamp(pixels.maxX, 0.0, xSize), std::clamp(pixels.minY, 0.0, ySize),
          std::clamp(pixels.maxY, 0.0, ySize)};
}

BandPainter::BandPainter(const PictureGrid& grid, const SystemBridge& bridge, const PaintedBand& band, int method,
                         DrawScratch& scratch, int* cancel)
    : grid_(grid),
      bridge_(bridge),
      band_(band),
      wantsMeans_(method == kResampleMean),
      scratch_(scratch),
      cancel_(cancel) {}

/// A band may lie under the block more than once, with longitudes that are counted from elsewhere.
PaintResult BandPainter::Paint(const Window& block, BandPlane& plane) {
  block_ = block;
  plane_ = &plane;
  plane.isWhole = false;
  isBegun_ = false;
  PaintResult result = PaintShifted(0.0);
  // Places that a transformation gives have longitudes up to 180 degrees. A band may go on beyond that.
  const bool isFree = !bridge_.transformation;
  for (const double shift : {360.0, -360.0}) {
    const bool mayReach = isFree || (shift > 0.0 ? band_.extent.maxX > 180.0 : band_.extent.minX < -180.0);
    if (!band_.isCircling || !mayReach || plane.isWhole) continue;
    if (result == PaintResult::kFailed || result == PaintResult::kTooLarge) return result;
    const PaintResult further = PaintShifted(shift);
    if (further != PaintResult::kNothing) result = further;
  }
  if (result == PaintResult::kPainted && numHalves_ > 1 && !plane.isWhole) FinishMeans();
  return result;
}

/// Takes one of the two ways that are told above.
PaintResult BandPainter::PaintShifted(double shift) {
  const PlaceMap map(grid_, bridge_, shift, band_.toPixels);
  ChooseLevel(map);
  const Affine* const affine = map.GetAffine();
  return affine && affine->IsUnturned() ? PaintUnturned(*affine) : PaintPatches(map, shift);
}

/// For means a level finer is taken where there is one, so that a pixel is the mean of four samples or more.
void BandPainter::ChooseLevel(const PlaceMap& map) {
  const double step = map.StepAt(block_);
  level_ = FitLevel(*band_.band, LevelOfStep(wantsMeans_ ? step / 2.0 : step));
  numHalves_ = wantsMeans_ && step > 1.0 + kOnTheEdge ? 2 : 1;
}

/// A block over too many samples comes back in parts. A single pixel can't be divided, and is read whatever it takes.
PaintResult BandPainter::Read(const Window& window) {
  const std::int64_t numSamples = std::int64_t{window.Width() >> level_} * (window.Height() >> level_);
  const bool isDivisible = block_.Width() > 1 || block_.Height() > 1;
  if (numSamples > kMaxSamplesAtOnce && isDivisible) return PaintResult::kTooLarge;
  if (XfnIsStopRequested(cancel_)) return PaintResult::kFailed;
  tagXArr2* const together = level_ == 0 ? scratch_.joint.Find(*band_.band, window, cancel_) : nullptr;
  if (together) {
    samples_ = {together, window, 0};
    return PaintResult::kPainted;
  }
  const bool isRead = ReadSamples(*band_.band, level_, window, scratch_.strip, cancel_, samples_);
  return isRead ? PaintResult::kPainted : PaintResult::kFailed;
}

/// Makes room for the block once something lies over it.
void BandPainter::Begin() {
  if (isBegun_) return;
  isBegun_ = true;
  const std::size_t size = PlaceInBlock(0, block_.Height());
  const auto width = static_cast<std::size_t>(block_.Width());
  plane_->bytes.resize(size);
  plane_->shown.resize(size);
  scratch_.bytes.resize(width);
  scratch_.shown.resize(width);
  scratch_.inside.resize(width);
  scratch_.places.resize(width);
  if (kept_) {
    kept_->numHalves = numHalves_;
    for (auto& quarter : kept_->planes) quarter.assign(numHalves_ > 1 ? size : 0, 0);
  }
  if (plane_->isWhole) return;
  if (numHalves_ > 1) {
    scratch_.sums.assign(size, 0);
    scratch_.counts.assign(size, 0);
  } else {
    std::fill(plane_->bytes.begin(), plane_->bytes.end(), static_cast<unsigned char>(0));
    std::fill(plane_->shown.begin(), plane_->shown.end(), static_cast<unsigned char>(0));
  }
}

/// Columns and rows are found apart from each other, and the window that they span is read.
PaintResult BandPainter::PaintUnturned(const Affine& map) {
  const BandLimits& limits = band_.limits;
  for (int half = 0; half < numHalves_; ++half) {
    const double offset = 0.5 + OffsetOf(half, numHalves_);
    FindAxis(map.c[0] + (block_.x0 + offset) * map.c[1], map.c[1], block_.Width(), limits.u0, limits.u1,
             scratch_.columns[static_cast<std::size_t>(half)]);
    FindAxis(map.c[3] + (block_.y0 + offset) * map.c[5], map.c[5], block_.Height(), limits.v0, limits.v1,
             scratch_.rows[static_cast<std::size_t>(half)]);
  }
  Window window;
  FindRange(scratch_.columns, numHalves_, window.x0, window.x1);
  FindRange(scratch_.rows, numHalves_, window.y0, window.y1);
  if (window.x1 < window.x0 || window.y1 < window.y0) return PaintResult::kNothing;
  const PaintResult read = Read(window);
  if (read != PaintResult::kPainted) return read;

  plane_->isWhole = !band_.look->HasEmpty() && !HasMasks() && CoverBlock();
  Begin();
  if (plane_->isWhole && numHalves_ > 1) {
    PaintWholeMeans();
    if (kept_) KeepWholeQuarters();
    return PaintResult::kPainted;
  }
  for (int half = 0; half < numHalves_ * numHalves_; ++half) {
    quarter_ = static_cast<std::size_t>(half);
    PaintAxes(scratch_.columns[static_cast<std::size_t>(half % numHalves_)],
              scratch_.rows[static_cast<std::size_t>(half / numHalves_)]);
  }
  return PaintResult::kPainted;
}

/// Whether every pixel of the block, or each of its quarters, lies over the band.
bool BandPainter::CoverBlock() const {
  const auto isAll = [](const BlockAxis& axis, int count) { return axis.first == 0 && axis.last == count - 1; };
  for (std::size_t half = 0; half < static_cast<std::size_t>(numHalves_); ++half) {
    if (!isAll(scratch_.columns[half], block_.Width()) || !isAll(scratch_.rows[half], block_.Height())) return false;
  }
  return true;
}

/// Finds where the samples under the block's columns stand in a row that was read.
void BandPainter::PlaceColumns(const BlockAxis& columns, std::vector<int>& places) const {
  places.resize(static_cast<std::size_t>(block_.Width()));
  for (int i = columns.first; i <= columns.last; ++i) {
    places[static_cast<std::size_t>(i - columns.first)] =
        samples_.ColumnOf(columns.pixels[static_cast<std::size_t>(i)]);
  }
}

/// The bytes of a whole row that was read: the samples themselves where they are the bytes.
const unsigned char* BandPainter::LookAtRow(int row, std::vector<unsigned char>& bytes) {
  const unsigned char* const samples = samples_.pixels->Row(row);
  if (band_.look->IsIdentity()) return samples;
  const auto width = static_cast<std::size_t>(samples_.pixels->xSize);
  if (scratch_.everyPlace.size() < width) {
    scratch_.everyPlace.resize(width);
    std::iota(scratch_.everyPlace.begin(), scratch_.everyPlace.end(), 0);
  }
  bytes.resize(width);
  band_.look->TakeRow(samples, scratch_.everyPlace.data(), samples_.pixels->xSize, bytes.data(), nullptr);
  return bytes.data();
}

/// Means where each quarter of each pixel is shown. The two rows under a row are added first, so that two sums are left
/// for each pixel.
void BandPainter::PaintWholeMeans() {
  PlaceColumns(scratch_.columns[0], scratch_.places);
  PlaceColumns(scratch_.columns[1], scratch_.otherPlaces);
  const auto width = static_cast<std::size_t>(samples_.pixels->xSize), count = static_cast<std::size_t>(block_.Width());
  scratch_.sums.resize(std::max(scratch_.sums.size(), width));
  std::uint16_t* const __restrict sums = scratch_.sums.data();
  const int* const left = scratch_.places.data();
  const int* const right = scratch_.otherPlaces.data();
  for (int y = 0; y < block_.Height(); ++y) {
    const auto rowOf = [&](std::size_t half) {
      return samples_.RowOf(scratch_.rows[half].pixels[static_cast<std::size_t>(y)]);
    };
    const unsigned char* const upper = LookAtRow(rowOf(0), scratch_.bytes);
    const unsigned char* const lower = LookAtRow(rowOf(1), scratch_.others);
    for (std::size_t i = 0; i < width; ++i) sums[i] = static_cast<std::uint16_t>(upper[i] + lower[i]);
    unsigned char* const __restrict bytes = plane_->bytes.data() + PlaceInBlock(0, y);
    for (std::size_t i = 0; i < count; ++i) {
      bytes[i] = static_cast<unsigned char>((sums[left[i]] + sums[right[i]] + 2) >> 2);
    }
  }
}

/// Quarters differ only where some are opaque and others are not.
void BandPainter::KeepWholeQuarters() {
  const std::vector<unsigned char>& means = plane_->bytes;
  const bool isEven = std::adjacent_find(means.begin(), means.end(), std::not_equal_to<>()) == means.end();
  if (isEven && (means.front() == 0 || means.front() == 255)) return;
  const auto count = static_cast<std::size_t>(block_.Width());
  for (int y = 0; y < block_.Height(); ++y) {
    for (std::size_t half = 0; half < 2; ++half) {
      const int row = samples_.RowOf(scratch_.rows[half].pixels[static_cast<std::size_t>(y)]);
      const unsigned char* const bytes = LookAtRow(row, scratch_.bytes);
      unsigned char* const left = kept_->planes[2 * half].data() + PlaceInBlock(0, y);
      unsigned char* const right = kept_->planes[2 * half + 1].data() + PlaceInBlock(0, y);
      for (std::size_t i = 0; i < count; ++i) {
        left[i] = bytes[scratch_.places[i]];
        right[i] = bytes[scratch_.otherPlaces[i]];
      }
    }
  }
}

/// Samples that are the bytes themselves need no look: those that stand side by side are copied.
BandPainter::RowWay BandPainter::PlanRows(int count) {
  if (!band_.look->IsIdentity()) return RowWay::kLook;
  const auto begin = scratch_.places.begin(), end = begin + count;
  if (std::adjacent_find(begin, end, [](int a, int b) { return b != a + 1; }) == end) return RowWay::kCopy;
  return scratch_.picker.Plan(scratch_.places.data(), count, samples_.pixels->xSize) ? RowWay::kPick : RowWay::kLook;
}

void BandPainter::TakeRow(RowWay way, int row, int count, unsigned char* bytes, unsigned char* shown) {
  const unsigned char* const source = samples_.pixels->Row(row);
  const auto numBytes = static_cast<std::size_t>(count);
  if (way == RowWay::kCopy) {
    std::memcpy(bytes, source + scratch_.places.front(), numBytes);
  } else if (way == RowWay::kPick) {
    scratch_.picker.Pick(source, bytes);
  } else {
    band_.look->TakeRow(source, scratch_.places.data(), count, bytes, shown);
  }
  if (!band_.look->HasEmpty() && !plane_->isWhole) std::memset(shown, 255, numBytes);
}

/// The row of the block before has the same bytes.
void BandPainter::RepeatRow(std::size_t place, int count) {
  const auto step = static_cast<std::size_t>(block_.Width()), numBytes = static_cast<std::size_t>(count);
  unsigned char* const bytes = plane_->bytes.data() + place;
  std::memcpy(bytes, bytes - step, numBytes);
  if (plane_->isWhole) return;
  unsigned char* const shown = plane_->shown.data() + place;
  std::memcpy(shown, shown - step, numBytes);
}

/// Where a pixel is a single sample the bytes go straight to their place.
void BandPainter::PaintAxes(BlockAxis& columns, BlockAxis& rows) {
  if (IsEmpty(columns) || IsEmpty(rows)) return;
  const int count = columns.last - columns.first + 1;
  PlaceColumns(columns, scratch_.places);
  const RowWay way = PlanRows(count);
  int rowBefore = -1;
  for (int y = rows.first; y <= rows.last; ++y) {
    const int row = samples_.RowOf(rows.pixels[static_cast<std::size_t>(y)]);
    const std::size_t place = PlaceInBlock(columns.first, y);
    if (numHalves_ > 1) {
      TakeRow(way, row, count, scratch_.bytes.data(), scratch_.shown.data());
      PutRow(columns.first, y, count);
    } else if (row == rowBefore) {
      RepeatRow(place, count);
    } else {
      TakeRow(way, row, count, plane_->bytes.data() + place, plane_->shown.data() + place);
    }
    rowBefore = row;
  }
}

/// Transformations take long, and the bands of an image mostly lie alike.
void BandPainter::MakePatches(const PlaceMap& map, double shift) {
  const PatchKey key{block_, band_.toPixels.c, shift, numHalves_};
  if (scratch_.patchKey == key) return;
  scratch_.patchKey = key;
  for (int i = 0; i < numHalves_ * numHalves_; ++i) {
    scratch_.patches[static_cast<std::size_t>(i)].Cover(map, block_, OffsetOf(i % numHalves_, numHalves_),
                                                        OffsetOf(i / numHalves_, numHalves_));
  }
}

/// The window spans all places under the block, cut to what is drawn of the band.
PaintResult BandPainter::PaintPatches(const PlaceMap& map, double shift) {
  MakePatches(map, shift);
  const int numLists = numHalves_ * numHalves_;
  Extent range;
  for (int i = 0; i < numLists; ++i) range.GrowTo(scratch_.patches[static_cast<std::size_t>(i)].GetRange());
  const BandLimits& limits = band_.limits;
  if (!range.isSet || range.maxX + kOnTheEdge < limits.u0 || range.minX >= limits.u1 ||
      range.maxY + kOnTheEdge < limits.v0 || range.minY >= limits.v1) {
    return PaintResult::kNothing;
  }
  const int xLast = band_.band->GetXSize() - 1, yLast = band_.band->GetYSize() - 1;
  const auto pixelOf = [](double place, int last) {
    return static_cast<int>(std::clamp(std::floor(place), 0.0, static_cast<double>(last)));
  };
  const Window window{
      pixelOf(std::max(range.minX, limits.u0), xLast), pixelOf(std::min(range.maxX, limits.u1) + kOnTheEdge, xLast),
      pixelOf(std::max(range.minY, limits.v0), yLast), pixelOf(std::min(range.maxY, limits.v1) + kOnTheEdge, yLast)};
  const PaintResult read = Read(window);
  if (read != PaintResult::kPainted) return read;
  Begin();
  areAllShown_ = true;
  for (int i = 0; i < numLists; ++i) {
    const PatchList& list = scratch_.patches[static_cast<std::size_t>(i)];
    quarter_ = static_cast<std::size_t>(i);
    for (const Patch& patch : list.GetPatches()) PaintPatch(list, patch);
  }
  if (numHalves_ == 1) plane_->isWhole = areAllShown_;
  return PaintResult::kPainted;
}

/// Pixels of a patch beside the band have a sample like others, so that the loop has no branch, and are not shown.
void BandPainter::PaintPatch(const PatchList& list, const Patch& patch) {
  const int count = patch.window.Width();
  const auto numPixels = static_cast<std::size_t>(count);
  const bool hasEmpty = band_.look->HasEmpty(), isWithin = IsWithin(patch);
  for (int y = patch.window.y0; y <= patch.window.y1; ++y) {
    if (isWithin) {
      LocateRow(PatchList::RowOf(patch, y), count);
    } else {
      list.PlacesOfRow(patch, y, scratch_.line);
    }
    const bool isInside = isWithin || LocateLine(count);
    unsigned char* const __restrict shown = scratch_.shown.data();
    const unsigned char* const inside = scratch_.inside.data();
    band_.look->TakeRow(samples_.pixels->data, scratch_.places.data(), count, scratch_.bytes.data(), shown);
    if (!hasEmpty) std::memset(shown, 255, numPixels);
    for (std::size_t i = 0; !isInside && i < numPixels; ++i)
      shown[i] = static_cast<unsigned char>(shown[i] & inside[i]);
    areAllShown_ &= isInside && !hasEmpty;
    PutRow(patch.window.x0 - block_.x0, y - block_.y0, count);
  }
}

/// Whether all places of a patch lie over the band, as they do where those of the corners of a straight one do.
bool BandPainter::IsWithin(const Patch& patch) const {
  const BandLimits& limits = band_.limits;
  return PatchList::IsStraight(patch) &&
         std::all_of(patch.corners.begin(), patch.corners.end(), [&](const BandPlace& corner) {
           return corner.u >= limits.u0 && corner.u + kOnTheEdge < limits.u1 && corner.v >= limits.v0 &&
                  corner.v + kOnTheEdge < limits.v1;
         });
}

/// Finds the samples under a row of a patch that lies within the band.
void BandPainter::LocateRow(const PatchRow& row, int count) {
  const double u = row.first.u - samples_.window.x0 + kOnTheEdge, v = row.first.v - samples_.window.y0 + kOnTheEdge;
  const double stepU = row.stepU, stepV = row.stepV;
  const int shift = samples_.shift, stride = samples_.pixels->xSize;
  const int lastColumn = stride - 1, lastRow = samples_.pixels->ySize - 1;
  int* const __restrict places = scratch_.places.data();
  for (int i = 0; i < count; ++i) {
    const int column = static_cast<int>(u + i * stepU) >> shift, line = static_cast<int>(v + i * stepV) >> shift;
    places[i] = std::min(line, lastRow) * stride + std::min(column, lastColumn);
  }
}

/// Finds the samples under the places of a line; places beside the band get one of its rim. Whether all lie over the
/// band. What is not a number lies beside it.
bool BandPainter::LocateLine(int count) {
  const BandLimits limits = band_.limits;
  const Window read = samples_.window;
  const double left = read.x0, right = read.x1, top = read.y0, bottom = read.y1;
  const int shift = samples_.shift, stride = samples_.pixels->xSize;
  const int lastColumn = stride - 1, lastRow = samples_.pixels->ySize - 1;
  const BandPlace* const line = scratch_.line.data();
  int* const __restrict places = scratch_.places.data();
  unsigned char* const __restrict inside = scratch_.inside.data();
  const auto within = [](double value, double low, double high) {
    const double raised = value > low ? value : low;
    return static_cast<int>(raised < high ? raised : high);
  };
  int numInside = 0;
  for (int i = 0; i < count; ++i) {
    const double u = line[i].u + kOnTheEdge, v = line[i].v + kOnTheEdge;
    const bool isInside = (u >= limits.u0) & (u < limits.u1) & (v >= limits.v0) & (v < limits.v1);
    const int column = (within(u, left, right) - read.x0) >> shift, row = (within(v, top, bottom) - read.y0) >> shift;
    places[i] = std::min(row, lastRow) * stride + std::min(column, lastColumn);
    inside[i] = isInside ? 255 : 0;
    numInside += isInside;
  }
  return numInside == count;
}

/// Puts the bytes of a row that are shown into the plane, or adds them up for means.
void BandPainter::PutRow(int x, int y, int count) {
  const std::size_t place = PlaceInBlock(x, y);
  const auto numPixels = static_cast<std::size_t>(count);
  if (numHalves_ > 1) {
    MaskRow(place, numPixels);
    AddRow(place, numPixels);
    return;
  }
  unsigned char* const __restrict bytes = plane_->bytes.data() + place;
  unsigned char* const __restrict shown = plane_->shown.data() + place;
  const unsigned char* const newBytes = scratch_.bytes.data();
  const unsigned char* const newShown = scratch_.shown.data();
  for (std::size_t i = 0; i < numPixels; ++i) {
    const unsigned char mask = newShown[i];
    bytes[i] = static_cast<unsigned char>((newBytes[i] & mask) | (bytes[i] & ~mask));
    shown[i] = static_cast<unsigned char>(shown[i] | mask);
  }
}

/// A picture has any colours where it is clear, and they would show at the rim of what is opaque.
void BandPainter::MaskRow(std::size_t place, std::size_t count) {
  unsigned char* const shown = scratch_.shown.data();
  if (HasMasks()) {
    const unsigned char* const mask = masks_->planes[quarter_].data() + place;
    for (std::size_t i = 0; i < count; ++i) shown[i] = mask[i] > 0 ? shown[i] : 0;
  }
  if (!kept_) return;
  unsigned char* const kept = kept_->planes[quarter_].data() + place;
  for (std::size_t i = 0; i < count; ++i)
    kept[i] = static_cast<unsigned char>(kept[i] | (scratch_.bytes[i] & shown[i]));
}

/// Only what is shown counts for a mean.
void BandPainter::AddRow(std::size_t place, std::size_t count) {
  std::uint16_t* const __restrict sums = scratch_.sums.data() + place;
  std::uint8_t* const __restrict counts = scratch_.counts.data() + place;
  const unsigned char* const bytes = scratch_.bytes.data();
  const unsigned char* const shown = scratch_.shown.data();
  for (std::size_t i = 0; i < count; ++i) {
    sums[i] = static_cast<std::uint16_t>(sums[i] + (bytes[i] & shown[i]));
    counts[i] = static_cast<std::uint8_t>(counts[i] + (shown[i] & 1));
  }
}

/// Nearly all pixels have four quarters.
void BandPainter::FinishMeans() {
  const std::uint16_t* const sums = scratch_.sums.data();
  const std::uint8_t* const counts = scratch_.counts.data();
  unsigned char* const __restrict bytes = plane_->bytes.data();
  unsigned char* const __restrict shown = plane_->shown.data();
  const std::size_t size = plane_->bytes.size();
  bool isWhole = true;
  for (std::size_t i = 0; i < size; ++i) {
    const unsigned count = counts[i], sum = sums[i];
    bytes[i] = static_cast<unsigned char>(count == 4 ? (sum + 2) >> 2 : count > 0 ? (sum + count / 2) / count : 0);
    shown[i] = count > 0 ? 255 : 0;
    isWhole &= count > 0;
  }
  plane_->isWhole = isWhole;
}

}  // namespace zrk
