// Heights at posts that may lie anywhere, in one of two ways. If a source is neither turned nor in another system, two
// lists hold the columns and rows under the posts, and rows are read in strips. Otherwise each post is transformed by
// itself, and the window around all posts of a block is read. If the posts lie far apart, most of that window would be
// read in vain. The block is then halved until its window is worth reading.

#include "display/HeightRead.h"

#include "base/DataTypeVisit.h"
#include "core/resample/SourceStrips.h"
#include "math/SampleCast.h"
#include "math/SampleFilter.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace zrk {

namespace {

/// The pixel of an axis whose area holds a place, -1 beside it. A place on the far edge belongs to the last, so that
/// posts on the rim of the earth have a height.
int FindOnAxis(double place, double low, double high) {
  const double raised = place + kOnTheEdge;
  if (!(low < high) || std::ceil(high) - 1.0 < std::max(low, 0.0) || !(raised >= low && place <= high + kOnTheEdge))
    return -1;
  return static_cast<int>(std::min(raised, std::ceil(high) - 1.0));
}

/// The height that a sample stands for in the type of the mosaic. Samples of that type stay as they are.
template <class Sample, class Source>
Sample HeightOf(Source sample) {
  if constexpr (std::is_same_v<Sample, Source>) {
    return sample;
  } else {
    return ToSample<Sample>(static_cast<double>(sample));
  }
}

}  // namespace

bool HeightSource::FindShifted(double x, double y, int& column, int& row) const {
  column = FindOnAxis(toPixels.U(x, y), limits.u0, limits.u1);
  row = FindOnAxis(toPixels.V(x, y), limits.v0, limits.v1);
  return column >= 0 && row >= 0;
}

/// Longitudes may be counted from another meridian than those of the band.
bool HeightSource::FindPixel(double x, double y, int& column, int& row) const {
  if (!bridge->Take(x, y)) return false;
  if (FindShifted(x, y, column, row)) return true;
  return isCircling && (FindShifted(x + 360.0, y, column, row) || FindShifted(x - 360.0, y, column, row));
}

int HeightSource::FindColumn(double x) const {
  for (const double shift : {0.0, 360.0, -360.0}) {
    if (shift != 0.0 && !isCircling) break;
    const int column = FindOnAxis(toPixels.U(x + shift, 0.0), limits.u0, limits.u1);
    if (column >= 0) return column;
  }
  return -1;
}

int HeightSource::FindRow(double y) const {
  return FindOnAxis(toPixels.V(0.0, y), limits.v0, limits.v1);
}

HeightRead::HeightRead(const PostGrid& grid, const PostBlock& block, int dataType, tagXArr2& out,
                       HeightScratch& scratch)
    : grid_(grid),
      block_(block),
      dataType_(dataType),
      out_(out),
      scratch_(scratch),
      numLeft_(std::int64_t{block.numColumns} * block.numRows) {
  scratch_.isSet.assign(static_cast<std::size_t>(numLeft_), 0);
  std::memset(out.data, 0, static_cast<std::size_t>(numLeft_) * static_cast<std::size_t>(out.elementSize));
}

bool HeightRead::TakeFrom(const HeightSource& source, int* cancel) {
  if (source.IsStraight()) return TakeStraight(source, cancel);
  FindPosts(source);
  const std::vector<HeightPost>& posts = scratch_.posts;
  return posts.empty() || TakePosts(*source.band, posts.begin(), posts.end(), cancel);
}

/// Columns that rise from post to post are read together. They fall where longitudes begin anew.
bool HeightRead::TakeStraight(const HeightSource& source, int* cancel) {
  std::vector<int>&columns = scratch_.columns, &rows = scratch_.rows;
  columns.clear();
  rows.clear();
  for (int i = 0; i < block_.numColumns; ++i) {
    columns.push_back(source.FindColumn(grid_.x0 + static_cast<double>(block_.column + i) * grid_.xStep));
  }
  for (int j = 0; j < block_.numRows; ++j) {
    rows.push_back(source.FindRow(grid_.y0 - static_cast<double>(block_.row + j) * grid_.yStep));
  }
  for (std::size_t i = 0; i < columns.size();) {
    std::size_t last = i;
    while (last + 1 < columns.size() && columns[last + 1] >= columns[last]) ++last;
    // Posts beside the band come before those over it, as -1 comes before all columns.
    while (i <= last && columns[i] < 0) ++i;
    if (i <= last && !TakeRun(*source.band, static_cast<int>(i), static_cast<int>(last), cancel)) return false;
    i = last + 1;
  }
  return true;
}

/// Reads the rows under a run of columns, strip by strip.
bool HeightRead::TakeRun(ZRMBand& band, int first, int last, int* cancel) {
  const int x0 = scratch_.columns[static_cast<std::size_t>(first)],
            x1 = scratch_.columns[static_cast<std::size_t>(last)];
  for (int j = 0; j < block_.numRows;) {
    if (scratch_.rows[static_cast<std::size_t>(j)] < 0) {
      ++j;
      continue;
    }
    if (XfnIsStopRequested(cancel)) return false;
    const int end = LastOfStrip(j, x1 - x0 + 1, band.GetDataSize());
    const Window window{x0, x1, scratch_.rows[static_cast<std::size_t>(j)],
                        scratch_.rows[static_cast<std::size_t>(end)]};
    BandSamples samples;
    if (!ReadSamples(band, 0, window, scratch_.strip, cancel, samples)) return false;
    for (; j <= end; ++j) TakeRow(band, samples, j, first, last);
  }
  return true;
}

/// A gap of more rows than a read is worth ends a strip.
int HeightRead::LastOfStrip(int j, int width, int sampleBytes) const {
  const int most = RowsAtATime(width, sampleBytes);
  const auto rowOf = [&](int post) { return scratch_.rows[static_cast<std::size_t>(post)]; };
  const int first = rowOf(j);
  for (; j + 1 < block_.numRows; ++j) {
    const int next = rowOf(j + 1);
    if (next < rowOf(j) || next - first >= most || next - rowOf(j) > 1 + kRowsBridged) break;
  }
  return j;
}

void HeightRead::TakeRow(const ZRMBand& band, const BandSamples& samples, int j, int first, int last) {
  const int row = scratch_.rows[static_cast<std::size_t>(j)] - samples.window.y0;
  VisitDataType(band.GetDataType(), [&](auto sourceZero) {
    using Source = decltype(sourceZero);
    const auto* const source = reinterpret_cast<const Source*>(samples.pixels->Row(row));
    VisitDataType(dataType_,
                  [&](auto zero) { ConvertRow<Source, decltype(zero)>(band.GetNullValue(), source, j, first, last); });
  });
}

/// Null samples and what is not a number leave the post free.
template <class Source, class Sample>
void HeightRead::ConvertRow(double nullValue, const Source* source, int j, int first, int last) {
  const bool hasNull = CanEqual<Source>(nullValue);
  const Source null = hasNull ? static_cast<Source>(nullValue) : Source{};
  const int* const columns = scratch_.columns.data();
  const int x0 = columns[first];
  auto* const out = reinterpret_cast<Sample*>(out_.Row(j));
  unsigned char* const isSet = scratch_.isSet.data() + std::ptrdiff_t{j} * block_.numColumns;
  int numSet = 0;
  for (int i = first; i <= last; ++i) {
    const Source sample = source[columns[i] - x0];
    const bool isHeight = (sample == sample) & !(hasNull & (sample == null));
    if (isSet[i] || !isHeight) continue;
    out[i] = HeightOf<Sample>(sample);
    isSet[i] = 1;
    ++numSet;
  }
  numLeft_ -= numSet;
}

/// Places are worked out before anything is read, row by row, so that posts near each other stay together.
void HeightRead::FindPosts(const HeightSource& source) {
  scratch_.posts.clear();
  for (int j = 0; j < block_.numRows; ++j) {
    const double y = grid_.y0 - static_cast<double>(block_.row + j) * grid_.yStep;
    for (int i = 0; i < block_.numColumns; ++i) {
      const int place = j * block_.numColumns + i;
      if (scratch_.isSet[static_cast<std::size_t>(place)]) continue;
      HeightPost post{place, 0, 0};
      const double x = grid_.x0 + static_cast<double>(block_.column + i) * grid_.xStep;
      if (source.FindPixel(x, y, post.column, post.row)) scratch_.posts.push_back(post);
    }
  }
}

/// Reads the window around some posts, or halves them where it would hold much more than they need.
bool HeightRead::TakePosts(ZRMBand& band, Posts first, Posts last, int* cancel) {
  constexpr std::int64_t kFewSamples = 1 << 16;
  constexpr std::int64_t kSamplesForPost = 64;
  if (XfnIsStopRequested(cancel)) return false;
  Window window{first->column, first->column, first->row, first->row};
  for (Posts post = first; post != last; ++post) {
    window = {std::min(window.x0, post->column), std::max(window.x1, post->column), std::min(window.y0, post->row),
              std::max(window.y1, post->row)};
  }
  const std::int64_t numSamples = std::int64_t{window.Width()} * window.Height();
  const bool isSparse = numSamples > kFewSamples && numSamples > kSamplesForPost * (last - first);
  if (last - first > 1 && (isSparse || numSamples > kMaxSamplesAtOnce)) {
    const Posts middle = first + (last - first) / 2;
    return TakePosts(band, first, middle, cancel) && TakePosts(band, middle, last, cancel);
  }
  return ReadPosts(band, window, first, last, cancel);
}

bool HeightRead::ReadPosts(ZRMBand& band, const Window& window, Posts first, Posts last, int* cancel) {
  BandSamples samples;
  if (!ReadSamples(band, 0, window, scratch_.strip, cancel, samples)) return false;
  return VisitDataType(band.GetDataType(), [&](auto sourceZero) {
    VisitDataType(dataType_, [&](auto zero) {
      Convert<decltype(sourceZero), decltype(zero)>(band.GetNullValue(), samples, first, last);
    });
  });
}

template <class Source, class Sample>
void HeightRead::Convert(double nullValue, const BandSamples& samples, Posts first, Posts last) {
  const bool hasNull = CanEqual<Source>(nullValue);
  const Source null = hasNull ? static_cast<Source>(nullValue) : Source{};
  auto* const out = reinterpret_cast<Sample*>(out_.data);
  for (Posts post = first; post != last; ++post) {
    const auto* const row = reinterpret_cast<const Source*>(samples.pixels->Row(post->row - samples.window.y0));
    const Source sample = row[post->column - samples.window.x0];
    if (sample != sample || (hasNull && sample == null)) continue;
    out[post->place] = HeightOf<Sample>(sample);
    scratch_.isSet[static_cast<std::size_t>(post->place)] = 1;
    --numLeft_;
  }
}

}  // namespace zrk
