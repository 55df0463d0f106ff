// Heights at posts that may lie anywhere. Each source is asked for the posts that those above it left free. The places
// of the posts are worked out first, then the samples are read in windows. Where posts lie far apart in a source, a
// window around all of them would be mostly in vain, so a block of posts is halved until its window is worth reading.

#include "display/HeightMosaic.h"

#include "base/DataTypeVisit.h"
#include "base/ReadError.h"
#include "display/BandPainter.h"
#include "math/SampleCast.h"
#include "math/SampleFilter.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace zrk {

/// A band that gives heights, and the way to its pixels.
struct HeightSource {
  ZRMBand* band = nullptr;
  Affine toPixels;
  BandLimits limits;
  bool isCircling = false;
  std::shared_ptr<const SystemBridge> bridge;

  bool FindPixel(double x, double y, int& column, int& row) const;
  bool FindShifted(double x, double y, int& column, int& row) const;
};

namespace {

/// The pixel of an axis whose area holds a place. A place on the far edge belongs to the last, so that posts on the rim
/// of the earth have a height.
bool FindOnAxis(double place, double low, double high, int& pixel) {
  if (!(place + kOnTheEdge >= low && place <= high + kOnTheEdge)) return false;
  pixel = static_cast<int>(std::clamp(place + kOnTheEdge, low, std::ceil(high) - 1.0));
  return true;
}

}  // namespace

bool HeightSource::FindShifted(double x, double y, int& column, int& row) const {
  return FindOnAxis(toPixels.U(x, y), limits.u0, limits.u1, column) &&
         FindOnAxis(toPixels.V(x, y), limits.v0, limits.v1, row);
}

/// Longitudes may be counted from another meridian than those of the band.
bool HeightSource::FindPixel(double x, double y, int& column, int& row) const {
  if (!bridge->Take(x, y)) return false;
  if (FindShifted(x, y, column, row)) return true;
  return isCircling && (FindShifted(x + 360.0, y, column, row) || FindShifted(x - 360.0, y, column, row));
}

struct HeightMosaic::Impl {
  int dataType = kReal32;
  std::vector<HeightSource> sources;

  bool Add(const ZRMComposite& composite, const XSpatialReference& shown);
};

namespace {

/// A post that is still to be found, and where its sample is.
struct Post {
  int place;  ///< in the block
  int column;
  int row;
};

/// One read of a block of posts. For one thread.
class HeightRead {
 public:
  HeightRead(const PostGrid& grid, const PostBlock& block, int dataType, tagXArr2& out, int* cancel)
      : grid_(grid), block_(block), dataType_(dataType), out_(out), cancel_(cancel) {
    isSet_.assign(static_cast<std::size_t>(block.numColumns) * static_cast<std::size_t>(block.numRows), 0);
  }

  bool TakeFrom(const HeightSource& source);
  bool IsComplete() const { return std::find(isSet_.begin(), isSet_.end(), 0) == isSet_.end(); }

 private:
  using Posts = std::vector<Post>::const_iterator;
  void FindPosts(const HeightSource& source);
  bool TakePosts(ZRMBand& band, Posts first, Posts last);
  bool ReadPosts(ZRMBand& band, const Window& window, Posts first, Posts last);
  template <class Source, class Sample>
  void Convert(const ZRMBand& band, const BandSamples& samples, Posts first, Posts last);

  const PostGrid& grid_;
  const PostBlock& block_;
  int dataType_;
  tagXArr2& out_;
  int* cancel_;
  std::vector<unsigned char> isSet_;
  std::vector<Post> posts_;
  tagXArr2 strip_;
};

bool HeightRead::TakeFrom(const HeightSource& source) {
  FindPosts(source);
  return posts_.empty() || TakePosts(*source.band, posts_.begin(), posts_.end());
}

/// Places are worked out before anything is read, row by row, so that posts near each other stay together.
void HeightRead::FindPosts(const HeightSource& source) {
  posts_.clear();
  for (int j = 0; j < block_.numRows; ++j) {
    const double y = grid_.y0 - static_cast<double>(block_.row + j) * grid_.yStep;
    for (int i = 0; i < block_.numColumns; ++i) {
      const int place = j * block_.numColumns + i;
      if (isSet_[static_cast<std::size_t>(place)]) continue;
      Post post{place, 0, 0};
      const double x = grid_.x0 + static_cast<double>(block_.column + i) * grid_.xStep;
      if (source.FindPixel(x, y, post.column, post.row)) posts_.push_back(post);
    }
  }
}

/// Reads the window around some posts, or halves them where it would hold much more than they need.
bool HeightRead::TakePosts(ZRMBand& band, Posts first, Posts last) {
  constexpr std::int64_t kFewSamples = 1 << 16;
  constexpr std::int64_t kSamplesForPost = 64;
  if (XfnIsStopRequested(cancel_)) return false;
  Window window{first->column, first->column, first->row, first->row};
  for (Posts post = first; post != last; ++post) {
    window = {std::min(window.x0, post->column), std::max(window.x1, post->column), std::min(window.y0, post->row),
              std::max(window.y1, post->row)};
  }
  const std::int64_t numSamples = std::int64_t{window.Width()} * window.Height();
  const bool isSparse = numSamples > kFewSamples && numSamples > kSamplesForPost * (last - first);
  const bool isRow = window.Height() == 1 && numSamples <= kMaxSamplesAtOnce;
  if (last - first > 1 && !isRow && (isSparse || numSamples > kMaxSamplesAtOnce)) {
    const Posts middle = first + (last - first) / 2;
    return TakePosts(band, first, middle) && TakePosts(band, middle, last);
  }
  return ReadPosts(band, window, first, last);
}

bool HeightRead::ReadPosts(ZRMBand& band, const Window& window, Posts first, Posts last) {
  BandSamples samples;
  if (!ReadSamples(band, 0, window, strip_, cancel_, samples)) return false;
  return VisitDataType(band.GetDataType(), [&](auto sourceZero) {
    VisitDataType(dataType_,
                  [&](auto zero) { Convert<decltype(sourceZero), decltype(zero)>(band, samples, first, last); });
  });
}

/// Null samples and what is not a number leave the post free.
template <class Source, class Sample>
void HeightRead::Convert(const ZRMBand& band, const BandSamples& samples, Posts first, Posts last) {
  const bool hasNull = CanEqual<Source>(band.GetNullValue());
  const Source null = hasNull ? static_cast<Source>(band.GetNullValue()) : Source{};
  auto* const out = reinterpret_cast<Sample*>(out_.data);
  for (Posts post = first; post != last; ++post) {
    const auto* const row = reinterpret_cast<const Source*>(samples.pixels->Row(post->row - samples.window.y0));
    const Source sample = row[post->column - samples.window.x0];
    if (sample != sample || (hasNull && sample == null)) continue;
    out[post->place] = ToSample<Sample>(static_cast<double>(sample));
    isSet_[static_cast<std::size_t>(post->place)] = 1;
  }
}

}  // namespace

/// A composite that can't be placed is passed over: the others still have heights.
bool HeightMosaic::Impl::Add(const ZRMComposite& composite, const XSpatialReference& shown) {
  HeightSource source;
  source.band = composite.GetBand(0);
  const double* const toPixels = composite.GetWarpCoeffInv(0);
  Extent range;
  if (!toPixels || !IsScalar(source.band->GetDataType()) ||
      !composite.GetDrawRange(range.minX, range.maxX, range.minY, range.maxY)) {
    return false;
  }
  source.bridge = SystemBridge::Make(shown, *composite.GetSR());
  if (!source.bridge->isPossible) return false;
  std::copy_n(toPixels, 6, source.toPixels.c.begin());
  source.limits = LimitsOf(*source.band, source.toPixels, range);
  source.isCircling = composite.GetSR()->IsGeographic() != 0;
  const int type = source.band->GetDataType();
  dataType = sources.empty() || dataType == type ? type : static_cast<int>(kReal32);
  sources.push_back(std::move(source));
  return true;
}

HeightMosaic::HeightMosaic(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
HeightMosaic::~HeightMosaic() = default;

std::unique_ptr<HeightMosaic> HeightMosaic::Make(const ZRMCompManager& manager) {
  const XSpatialReference* const shown = manager.GetSR();
  if (!shown) return nullptr;
  auto impl = std::make_unique<Impl>();
  for (int i = 0; i < manager.GetNumberOfZRMComposite(); ++i) impl->Add(*manager.GetZRMCompositeAt(i), *shown);
  if (impl->sources.empty()) return nullptr;
  return std::unique_ptr<HeightMosaic>(new HeightMosaic(std::move(impl)));
}

int HeightMosaic::GetDataType() const {
  return impl_->dataType;
}

/// Sources below are asked only for what those above left free.
bool HeightMosaic::Read(const PostGrid& grid, const PostBlock& block, tagXArr2& out, int* cancel) const {
  return ReadPixels([&] {
           const int sampleBytes = XfnGetDataSize(impl_->dataType);
           if (!out.Alloc(block.numColumns, block.numRows, sampleBytes)) return FailRead(kReadNoMemory);
           std::memset(out.data, 0,
                       static_cast<std::size_t>(block.numColumns) * static_cast<std::size_t>(block.numRows) *
                           static_cast<std::size_t>(sampleBytes));
           HeightRead read(grid, block, impl_->dataType, out, cancel);
           for (const HeightSource& source : impl_->sources) {
             if (!read.TakeFrom(source)) return 0;
             if (read.IsComplete()) break;
           }
           return 1;
         }) != 0;
}

}  // namespace zrk
