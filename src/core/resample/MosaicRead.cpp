// A window of a mosaic is filled by laying the sources down one after the other. Each fills only pixels that those
// before it left free, so that the first source in the list wins. A mark for each pixel tells whether it has its value,
// and a count of free pixels ends the work early.
//
// No source is turned or projected. So a source column follows from the output column alone, and a source row from the
// output row alone. Two lists of source pixels, made once for each source and window, hold the whole geometry. The
// source is then read in strips of some megabytes. A strip is only as wide as the columns under the window, and begins
// and ends with a row that is wanted.
//
// The lists, the marks and the strip belong to the reading thread and are kept from read to read.

#include "core/resample/MosaicRead.h"

#include "base/DataTypeVisit.h"
#include "base/OwnReads.h"
#include "core/resample/SourceStrips.h"
#include "math/SampleCast.h"
#include "math/SampleFilter.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace zrk {

namespace {

/// How far before an edge a centre may lie, in source pixels, and still count as on it. World coordinates are seldom
/// exact in binary.
constexpr double kOnTheEdge = 1e-6;

/// Finds the source pixels under the centres of every 2^level-th output pixel from `first` on; -1 beside the source.
void FindPixels(const MosaicSource::Axis& axis, int first, int level, int sourceSize, std::size_t count,
                std::vector<int>& pixels) {
  pixels.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    // Each centre is computed by itself. A sum carried from pixel to pixel would drift.
    const double out = first + static_cast<double>(i << level);
    const double place = axis.offset + out * axis.scale + kOnTheEdge;
    pixels[i] = place >= 0.0 && place < sourceSize ? static_cast<int>(place) : -1;
  }
}

bool IsBeside(int pixel) {
  return pixel < 0;
}

template <class Sample>
/// The mosaic's null value as a sample; 0 where the type can't hold it.
Sample NullSample(double nullValue) {
  if constexpr (std::is_integral_v<Sample>) {
    return CanEqual<Sample>(nullValue) ? static_cast<Sample>(nullValue) : Sample{};
  } else {
    const bool isBeyond = std::abs(nullValue) > static_cast<double>(std::numeric_limits<Sample>::max());
    return isBeyond ? Sample{} : static_cast<Sample>(nullValue);
  }
}

template <class Sample, class Source>
/// Samples of the mosaic's own type are taken as they are, a NaN with all its bits.
Sample Convert(Source sample) {
  if constexpr (std::is_same_v<Sample, Source>) {
    return sample;
  } else {
    return ToSample<Sample>(static_cast<double>(sample));
  }
}

}  // namespace

MosaicRead::MosaicRead(const ReadRequest& request, int dataType, tagXArr2& out, MosaicScratch& scratch, int* cancel)
    : request_(request),
      dataType_(dataType),
      out_(out),
      scratch_(scratch),
      cancel_(cancel),
      numLeft_(std::int64_t{out.xSize} * out.ySize) {}

void MosaicRead::Clear(double nullValue) {
  scratch_.isSet.assign(static_cast<std::size_t>(numLeft_), 0);
  VisitDataType(dataType_, [&](auto zero) {
    using Sample = decltype(zero);
    std::fill_n(reinterpret_cast<Sample*>(out_.data), numLeft_, NullSample<Sample>(nullValue));
  });
}

bool MosaicRead::LayDown(const MosaicSource& source) {
  ZRMBand& band = *source.band;
  // A source's data type may have been changed after `CalcWarpCoeff`.
  if (!VisitDataType(band.GetDataType(), [](auto) {})) return false;
  FindPixels(source.x, request_.x0, request_.level, band.GetXSize(), static_cast<std::size_t>(out_.xSize),
             scratch_.columns);
  FindPixels(source.y, request_.y0, request_.level, band.GetYSize(), static_cast<std::size_t>(out_.ySize),
             scratch_.rows);
  return !FindCoveredColumns() || LayRows(band);
}

/// False where no output column lies over the source. The covered columns are one stretch, because source columns only
/// rise or only fall. For the same reason the source columns at its two ends bound all others.
bool MosaicRead::FindCoveredColumns() {
  const auto& columns = scratch_.columns;
  const auto begin = std::find_if_not(columns.begin(), columns.end(), IsBeside);
  if (begin == columns.end()) return false;
  const auto end = std::find_if_not(columns.rbegin(), columns.rend(), IsBeside).base();
  firstOut_ = static_cast<int>(begin - columns.begin());
  lastOut_ = static_cast<int>(end - columns.begin()) - 1;
  columns_ = {std::min(*begin, *(end - 1)), std::max(*begin, *(end - 1))};
  return true;
}

bool MosaicRead::LayRows(ZRMBand& band) {
  // Output rows over the source are taken in strips. A row beside it, or no free pixel left, needs no read.
  const int rowsAtATime = RowsAtATime(columns_.Count(), band.GetDataSize());
  for (int j = 0; j < out_.ySize && !IsComplete();) {
    if (IsBeside(scratch_.rows[static_cast<std::size_t>(j)])) {
      ++j;
      continue;
    }
    if (XfnIsStopRequested(cancel_)) return false;
    const int last = LastOfStrip(j, rowsAtATime);
    if (!LayStrip(band, j, last)) return false;
    j = last + 1;
  }
  return true;
}

int MosaicRead::LastOfStrip(int j, int rowsAtATime) const {
  // Source rows rise or fall with the output rows, since the signs of the pixel sizes may differ. A gap of more rows
  // than a read is worth ends the strip.
  const auto rowOf = [&](int out) { return scratch_.rows[static_cast<std::size_t>(out)]; };
  const int first = rowOf(j);
  for (; j + 1 < out_.ySize; ++j) {
    const int next = rowOf(j + 1);
    if (IsBeside(next) || std::abs(next - first) >= rowsAtATime || std::abs(next - rowOf(j)) > 1 + kRowsBridged) break;
  }
  return j;
}

bool MosaicRead::LayStrip(ZRMBand& band, int first, int last) {
  const int firstRow = scratch_.rows[static_cast<std::size_t>(first)];
  const int lastRow = scratch_.rows[static_cast<std::size_t>(last)];
  const int y0 = std::min(firstRow, lastRow);
  const int y1 = std::max(firstRow, lastRow);
  if (!scratch_.strip.Alloc(columns_.Count(), y1 - y0 + 1, band.GetDataSize())) return false;
  const OwnReads own;
  // Some sources fill the buffer that they are given, others answer with one of their own.
  tagXArr2* pixels = &scratch_.strip;
  if (!band.ReadSubset(pixels, 0, columns_.first, columns_.last, y0, y1, cancel_)) return false;
  if (!pixels || pixels->xSize != columns_.Count() || pixels->ySize != y1 - y0 + 1 ||
      pixels->elementSize != band.GetDataSize()) {
    return false;
  }
  for (int j = first; j <= last; ++j) LayRow(band, pixels->Row(scratch_.rows[static_cast<std::size_t>(j)] - y0), j);
  return true;
}

void MosaicRead::LayRow(const ZRMBand& band, const unsigned char* source, int j) {
  VisitDataType(band.GetDataType(), [&](auto sourceZero) {
    VisitDataType(dataType_, [&](auto zero) {
      using Source = decltype(sourceZero);
      LayRowAs<Source, decltype(zero)>(reinterpret_cast<const Source*>(source), band.GetNullValue(), j);
    });
  });
}

template <class Source, class Sample>
void MosaicRead::LayRowAs(const Source* source, double null, int j) {
  // A null value that the source's type can't hold equals no sample of it.
  const bool hasNull = CanEqual<Source>(null);
  const Source nullSample = hasNull ? static_cast<Source>(null) : Source{};
  auto* out = reinterpret_cast<Sample*>(out_.Row(j));
  unsigned char* isSet = scratch_.isSet.data() + static_cast<std::size_t>(j) * static_cast<std::size_t>(out_.xSize);
  const int* columns = scratch_.columns.data();
  std::int64_t numSet = 0;
  for (int i = firstOut_; i <= lastOut_; ++i) {
    const Source sample = source[columns[i] - columns_.first];
    if (isSet[i] || (hasNull && sample == nullSample)) continue;
    out[i] = Convert<Sample>(sample);
    isSet[i] = 1;
    ++numSet;
  }
  numLeft_ -= numSet;
}

}  // namespace zrk
