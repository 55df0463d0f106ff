// The build of pyramids, for level files and for native rasters without compression.
//
// A source in tiles is built in trees of blocks, of which TileTree.cpp tells. For others, and for wide samples, the top
// is cut into stripes of whole rows of tiles. A worker takes a stripe and reads the source for it in chunks, through
// the band or tile by tile (TileSource.h). It makes rows of the top, adds them to the statistics while they are in the
// cache, and carries them down through the levels. It stops at the last level on which the stripe still begins and ends
// with a whole row. So stripes have nothing to do with each other, and any thread may take any of them. The few small
// levels below are made from the store at the end.
//
// Bands of one shape are built together in a group, because one decoding of interleaved pixels serves them all. Each
// worker has a crew: for each band of the group a cascade, room for tiles and a part of the statistics. Crews share
// nothing but the stores, to which they write different bytes, and the count of rows that are done. Counts are exact
// and sums of reals are put together in the order of the stripes, so that the result does not depend on the workers.

#include "core/level/PyramidBuild.h"

#include "base/OwnReads.h"
#include "base/Parallel.h"
#include "core/level/BuildProgress.h"
#include "core/level/LowerLevels.h"
#include "core/level/PyramidStore.h"
#include "core/level/TileSource.h"
#include "core/level/TileTree.h"
#include "core/level/TopMaker.h"
#include "XJointReader.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <memory>
#include <span>

namespace zrk {
namespace {

/// About how much is read of a source at once. That is enough to make calls cheap, and little enough to be still in the
/// cache when it is made smaller.
constexpr std::int64_t kReadBytes = 4 << 20;
/// How much the stripes of the bands of a group may take, for each worker.
constexpr std::int64_t kStripeBytes = 64 << 20;
/// How many bands a group may have: as many as files of interleaved pixels mostly have.
constexpr int kMaxBandsTogether = 4;

using Bands = std::span<PyramidBand>;

/// How the top of some bands, which have the same shape, is cut into stripes.
struct StripePlan {
  StripePlan(const PyramidJob& job, const PyramidBand& band);

  int FirstRow(int stripe) const { return stripe * stripeRows; }
  int LastRow(int stripe) const { return FirstRow(stripe) + (std::min(stripeRows, height - FirstRow(stripe)) - 1); }

  int height;
  int decodeRows;  ///< rows of the top that come with one decoding of the source
  int stripeRows;
  int numStripes;
  int carriedLevel;  ///< the last one that a stripe makes

  /// One worker where a decoding gives more than a stripe: each worker would decode, and keep, the same rows again.
  int CountWorkers() const { return decodeRows > stripeRows || numStripes == 1 ? 1 : zrk::CountWorkers(numStripes); }
};

StripePlan::StripePlan(const PyramidJob& job, const PyramidBand& band) {
  const PyramidLayout& layout = band.store->Layout();
  const int yTile = layout.Shape().yTile;
  const int rowsPerRow = job.top == PyramidTop::kCopy ? 1 : 2;
  height = layout.Height(0);
  const std::int64_t sourceRowBytes = std::int64_t{job.window.Width()} * layout.SampleBytes();
  // A buffer has INT_MAX bytes at most. A mean of areas may touch one source row more than its share.
  const auto mostReadRows = static_cast<int>(std::max<std::int64_t>(INT_MAX / sourceRowBytes / rowsPerRow - 1, 1));
  decodeRows = std::clamp((band.source->GetDecodeRows() - 1) / rowsPerRow + 1, 1, std::min(height, mostReadRows));
  const std::int64_t tileRowBytes = std::int64_t{layout.Width(0)} * yTile * layout.SampleBytes();
  // Where memory allows it, a stripe has at least the rows of one decoding, so that few rows are decoded for two
  // stripes.
  const auto mostTileRows = std::max<std::int64_t>(kStripeBytes / tileRowBytes, 1);
  stripeRows = yTile * static_cast<int>(std::min<std::int64_t>((decodeRows - 1) / yTile + 1, mostTileRows));
  numStripes = (height - 1) / stripeRows + 1;
  // Rows pair up within the stripe as long as their number is even, and samples as long as both sides have two.
  const int smallest = std::min(layout.Width(0), height);
  const int evenLevels = std::countr_zero(static_cast<unsigned>(stripeRows));
  const int realLevels = std::bit_width(static_cast<unsigned>(smallest)) - 1;
  carriedLevel = std::min({layout.Shape().levels, evenLevels, realLevels});
}

bool HasShape(const tagXArr2& buffer, int width, int height) {
  return buffer.xSize == width && buffer.ySize == height;
}

/// One band of a crew: the cascade, which writes its rows here, and what this worker has counted.
class BandStripe : public RowTaker {
 public:
  BandStripe(PyramidBand& band, const StripePlan& plan, const TopMaker& top)
      : statistics(band.store->Layout().Shape().dataType, band.reduction.nullValue),
        band_(band),
        top_(top),
        cascade_(band.store->Layout(), plan.carriedLevel, band.reduction, *this) {}

  bool TakeRows(int level, int firstRow, int numRows, const unsigned char* rows) override {
    const int yTile = band_.store->Layout().Shape().yTile;
    return band_.store->WriteTileRows({level, firstRow / yTile, firstRow % yTile, numRows}, rows, staging_);
  }

  RowCascade& Cascade() { return cascade_; }
  const TopMaker& Top() const { return top_; }

  SampleStatistics statistics;

 private:
  PyramidBand& band_;
  const TopMaker& top_;
  RowCascade cascade_;
  std::vector<unsigned char> staging_;
};

/// Bands of one shape that are read together.
class GroupBuild {
 public:
  GroupBuild(const PyramidJob& job, Bands bands, BuildProgress& progress)
      : job_(job),
        bands_(bands),
        progress_(progress),
        plan_(job, bands.front()),
        topMaker_(job.top, job.window, bands.front().store->Layout()),
        classMaker_(PyramidTop::kHalfClasses, job.window, bands.front().store->Layout()),
        trees_(TreePlan::Make(bands, topMaker_, job.window)),
        crews_(static_cast<std::size_t>(trees_ ? zrk::CountWorkers(trees_->CountTrees()) : plan_.CountWorkers())) {
    for (const PyramidBand& band : bands_) {
      sources_.push_back(band.source);
      tileSources_.push_back(TileSource::Find(band, FindMaker(band), job.window));
    }
  }

  /// The extras are done with the parts of the last group.
  PyramidResult Run(bool isLast);

 private:
  struct Crew {
    std::vector<std::unique_ptr<BandStripe>> stripes;  // of the bands, where stripes are built
    std::vector<std::unique_ptr<TileTree>> trees;      // of the bands, where trees are built

    bool IsIdle() const { return stripes.empty() && trees.empty(); }
    SampleStatistics& Statistics(std::size_t band) {
      return trees.empty() ? stripes[band]->statistics : trees[band]->statistics;
    }
    TopMaker::Scratch scratch;
    std::vector<unsigned char> room;  // for work of the caller's
    std::vector<tagXArr2*> read;      // what a pass over the source gave the bands; empty where each is read by itself
  };

  bool BuildTree(int tree, int worker);
  bool DoExtra(int extra, int worker);
  bool NoteTiles(int numTiles, int worker);
  bool BuildStripe(int stripe, int worker);
  const TopMaker& FindMaker(const PyramidBand& band) const {
    return job_.top == PyramidTop::kHalfMean && band.reduction.thematicTop ? classMaker_ : topMaker_;
  }
  bool GoesOn(int worker);
  bool BuildChunk(Crew& crew, int stripe, int first, int last);
  bool TakesTiles(std::size_t band, int first, int last) const;
  bool MakeOfTiles(Crew& crew, std::size_t band, int row, int rows, unsigned char* place);
  const tagXArr2* ReadRows(std::size_t band, int first, int last);
  PyramidResult BuildBand(Crew& crew, std::size_t band, int stripe, int first, int last);
  template <class MakeRows>
  PyramidResult TakeChunk(BandStripe& band, int stripe, int first, int last, MakeRows makeRows);
  int CountChunkRows() const;
  bool Fail(PyramidResult result);
  void Summarize();
  bool CountHistogram(PyramidBand& band);
  bool CountStripe(const PyramidBand& band, int stripe, HistogramCounter& counter) const;

  const PyramidJob& job_;
  Bands bands_;
  std::vector<ZRMBand*> sources_;                       // of the bands
  std::vector<std::optional<TileSource>> tileSources_;  // of the bands that have one
  BuildProgress& progress_;
  StripePlan plan_;
  // Tops of classes come from rows of the source that means need too.
  TopMaker topMaker_, classMaker_;
  std::optional<TreePlan> trees_;  // none where stripes are built
  // One for each worker. A worker fills its own when it begins its first stripe.
  std::vector<Crew> crews_;
  std::atomic<PyramidResult> result_ = PyramidResult::kDone;
  std::atomic<std::int64_t> tilesDone_ = 0;  // of the tops
};

bool GroupBuild::Fail(PyramidResult result) {
  result_ = result;
  return false;
}

/// As many rows of the top as make a read of the wanted size, in whole decodings, and in whole tiles of the source
/// where they are not much larger.
int GroupBuild::CountChunkRows() const {
  const ZRMBand& source = *bands_.front().source;
  const std::int64_t rowBytes = std::int64_t{job_.window.Width()} * bands_.front().store->Layout().SampleBytes();
  auto sourceRows = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / rowBytes, 2, INT_MAX / 2));
  const int yTile = std::max(source.GetYTileSize(), 1);
  if (sourceRows >= yTile / 2) sourceRows = std::max(sourceRows / yTile, 1) * yTile;
  const int rows = job_.top == PyramidTop::kCopy ? sourceRows : std::max(sourceRows / 2, 1);
  return std::max(rows / plan_.decodeRows, 1) * plan_.decodeRows;
}

/// Carries the rows `first` to `last` of the top down. `makeRows(row, rows, place)` makes some of them.
template <class MakeRows>
PyramidResult GroupBuild::TakeChunk(BandStripe& band, int stripe, int first, int last, MakeRows makeRows) {
  const auto width = static_cast<std::size_t>(bands_.front().store->Layout().Width(0));
  // The cascade has room up to the end of a row of tiles, and a chunk may go beyond that.
  for (int row = first, rows = 0; row <= last; row += rows) {
    rows = std::min(band.Cascade().GetRoom(), last - row + 1);
    unsigned char* const place = band.Cascade().GetPlace();
    if (!makeRows(row, rows, place)) return PyramidResult::kReadFailed;
    band.statistics.Add(stripe, place, width * static_cast<std::size_t>(rows));
    if (!band.Cascade().Put(rows)) return PyramidResult::kWriteFailed;
  }
  progress_.Add(last - first + 1);
  return PyramidResult::kDone;
}

/// Whether rows of the top are made of whole rows of tiles, or of the last one.
bool GroupBuild::TakesTiles(std::size_t band, int first, int last) const {
  if (!tileSources_[band]) return false;
  const int step = tileSources_[band]->CountTopRows();
  return first % step == 0 && ((last + 1) % step == 0 || last == plan_.height - 1);
}

bool GroupBuild::MakeOfTiles(Crew& crew, std::size_t band, int row, int rows, unsigned char* place) {
  const TopMaker& top = crew.stripes[band]->Top();
  const PyramidLayout& layout = bands_.front().store->Layout();
  const std::int64_t sampleBytes = layout.SampleBytes(), rowBytes = layout.Width(0) * sampleBytes;
  const int scale = top.GetBlockScale();
  const Window& all = job_.window;
  const Window window = {all.x0, all.x0 + scale * layout.Width(0) - 1, all.y0 + scale * row,
                         all.y0 + scale * (row + rows) - 1};
  return tileSources_[band]->Read(window, crew.room, [&](const TileSource::Part& part) {
    unsigned char* const to = place + part.y * rowBytes + part.x * sampleBytes;
    top.MakeBlock({part.samples, part.stride, to, rowBytes, part.width, part.rows});
  });
}

/// Source rows for the rows `first` to `last` of the top; null where they can't be read. A band may be the caller's own
/// and answer with a buffer of any shape. Only the right one is looked into.
const tagXArr2* GroupBuild::ReadRows(std::size_t band, int first, int last) {
  const Window& window = job_.window;
  const int y0 = window.y0 + topMaker_.FirstSourceRow(first), y1 = window.y0 + topMaker_.LastSourceRow(last);
  tagXArr2* source = nullptr;
  const bool isRead = sources_[band]->ReadSubset(source, 0, window.x0, window.x1, y0, y1, nullptr) &&
                      HasShape(*source, window.Width(), y1 - y0 + 1);
  return isRead ? source : nullptr;
}

/// Rows of a chunk come from tiles where the band has them, from the pass over all bands, or from a read of the band.
PyramidResult GroupBuild::BuildBand(Crew& crew, std::size_t band, int stripe, int first, int last) {
  BandStripe& taker = *crew.stripes[band];
  const bool isJoint = !crew.read.empty();
  const auto makeOf = [&](const tagXArr2& source, int sourceFirst, int row, int rows, unsigned char* place) {
    taker.Top().Make(row, row + rows - 1, source, topMaker_.FirstSourceRow(sourceFirst), place, crew.scratch);
  };
  if (!isJoint && TakesTiles(band, first, last)) {
    return TakeChunk(taker, stripe, first, last, [&](int row, int rows, unsigned char* place) {
      if (MakeOfTiles(crew, band, row, rows, place)) return true;
      const tagXArr2* const source = ReadRows(band, row, row + rows - 1);
      if (source) makeOf(*source, row, row, rows, place);
      return source != nullptr;
    });
  }
  const tagXArr2* const source = isJoint ? crew.read[band] : ReadRows(band, first, last);
  if (!source) return PyramidResult::kReadFailed;
  return TakeChunk(taker, stripe, first, last, [&](int row, int rows, unsigned char* place) {
    makeOf(*source, first, row, rows, place);
    return true;
  });
}

bool GroupBuild::BuildChunk(Crew& crew, int stripe, int first, int last) {
  const OwnReads own;
  const Window& window = job_.window;
  const int y0 = window.y0 + topMaker_.FirstSourceRow(first), y1 = window.y0 + topMaker_.LastSourceRow(last);
  if (!crew.read.empty()) {
    const bool areRead = XfnReadBands(sources_, window.x0, window.x1, y0, y1, nullptr, crew.read) &&
                         std::ranges::all_of(crew.read, [&](const tagXArr2* read) {
                           return HasShape(*read, window.Width(), y1 - y0 + 1);
                         });
    if (!areRead) return Fail(PyramidResult::kReadFailed);
  }
  for (std::size_t band = 0; band < crew.stripes.size(); ++band) {
    const PyramidResult built = BuildBand(crew, band, stripe, first, last);
    if (built != PyramidResult::kDone) return Fail(built);
  }
  return true;
}

/// Messages are posted by the thread of the caller, which is worker 0. The other workers only look at the stop word.
bool GroupBuild::GoesOn(int worker) {
  return worker == 0 ? progress_.Report() : !progress_.IsStopped();
}

/// Progress counts rows. Tiles are turned into their share of the rows of all bands, which the last one makes complete.
bool GroupBuild::NoteTiles(int numTiles, int worker) {
  const PyramidLayout& layout = bands_.front().store->Layout();
  const auto numBands = static_cast<double>(bands_.size());
  const double allRows = numBands * layout.Height(0), allTiles = numBands * layout.Columns(0) * layout.Rows(0);
  const auto rowsOf = [&](std::int64_t tiles) {
    return static_cast<std::int64_t>(static_cast<double>(tiles) / allTiles * allRows);
  };
  const std::int64_t before = tilesDone_.fetch_add(numTiles);
  progress_.Add(static_cast<int>(rowsOf(before + numTiles) - rowsOf(before)));
  return GoesOn(worker);
}

/// A stop is heard, and what extras come to is the caller's affair.
bool GroupBuild::DoExtra(int extra, int worker) {
  if (progress_.IsStopped()) return Fail(PyramidResult::kStopped);
  job_.doExtra(extra, crews_[static_cast<std::size_t>(worker)].room);
  return true;
}

bool GroupBuild::BuildTree(int tree, int worker) {
  Crew& crew = crews_[static_cast<std::size_t>(worker)];
  if (crew.trees.empty()) {
    for (const PyramidBand& band : bands_) {
      crew.trees.push_back(std::make_unique<TileTree>(band, *trees_, FindMaker(band), job_.window));
    }
  }
  const auto goOn = [&](int numTiles) { return NoteTiles(numTiles, worker); };
  if (!GoesOn(worker)) return Fail(PyramidResult::kStopped);
  return std::ranges::all_of(crew.trees, [&](const auto& band) {
    const PyramidResult built = band->Build(tree, goOn);
    return built == PyramidResult::kDone || Fail(built);
  });
}

bool GroupBuild::BuildStripe(int stripe, int worker) {
  Crew& crew = crews_[static_cast<std::size_t>(worker)];
  if (crew.stripes.empty()) {
    for (PyramidBand& band : bands_) crew.stripes.push_back(std::make_unique<BandStripe>(band, plan_, FindMaker(band)));
    if (XfnHaveJointSource(sources_)) crew.read.resize(sources_.size());
  }
  for (const auto& band : crew.stripes) band->Cascade().Start(plan_.FirstRow(stripe));
  const int mostRows = CountChunkRows();
  for (int row = plan_.FirstRow(stripe), rows = 0; row <= plan_.LastRow(stripe); row += rows) {
    if (!GoesOn(worker)) return Fail(PyramidResult::kStopped);
    rows = std::min(mostRows, plan_.LastRow(stripe) - row + 1);
    if (!BuildChunk(crew, stripe, row, row + rows - 1)) return false;
  }
  for (const auto& band : crew.stripes) {
    if (!band->Cascade().Finish()) return Fail(PyramidResult::kWriteFailed);
  }
  return true;
}

void GroupBuild::Summarize() {
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    std::vector<SampleStatistics*> parts;
    for (Crew& crew : crews_) {
      // An idle crew has nothing to add.
      if (!crew.IsIdle()) parts.push_back(&crew.Statistics(i));
    }
    const SampleStatistics& all = MergeAll<SampleStatistics>(parts);
    bands_[i].summary = all.Summarize();
    if (all.HasHistogram()) bands_[i].histogram = all.GetHistogram();
  }
}

bool GroupBuild::CountStripe(const PyramidBand& band, int stripe, HistogramCounter& counter) const {
  const PyramidLayout& layout = band.store->Layout();
  const std::int64_t rowBytes = std::int64_t{layout.Width(0)} * layout.SampleBytes();
  const auto mostRows = static_cast<int>(std::max<std::int64_t>(kReadBytes / rowBytes, 1));
  tagXArr2 rows;
  for (int row = plan_.FirstRow(stripe); row <= plan_.LastRow(stripe); row += rows.ySize) {
    const int numRows = std::min(mostRows, plan_.LastRow(stripe) - row + 1);
    if (!rows.Alloc(layout.Width(0), numRows, layout.SampleBytes())) throw std::bad_alloc();
    if (!band.store->Read(rows, 0, 0, row, nullptr)) return false;
    counter.Add(rows.data, static_cast<std::size_t>(rows.xSize) * static_cast<std::size_t>(rows.ySize));
  }
  return true;
}

/// The bins of wide samples depend on the range of all of them. So the top is read once more, out of the store.
bool GroupBuild::CountHistogram(PyramidBand& band) {
  if (band.summary.count == 0) return true;
  const HistogramCounter empty(band.store->Layout().Shape().dataType, band.reduction.nullValue, band.summary);
  std::vector<HistogramCounter> counters(crews_.size(), empty);
  const bool isCounted =
      ForEachInParallel(static_cast<int>(crews_.size()), plan_.numStripes, [&](int stripe, int worker) {
        return !progress_.IsStopped() && CountStripe(band, stripe, counters[static_cast<std::size_t>(worker)]);
      });
  HistogramCounter all = empty;
  for (const HistogramCounter& counter : counters) all.Merge(counter);
  band.histogram = all.Get();
  return isCounted;
}

PyramidResult GroupBuild::Run(bool isLast) {
  const int numWorkers = static_cast<int>(crews_.size()), numParts = trees_ ? trees_->CountTrees() : plan_.numStripes;
  const int numExtras = isLast ? job_.numExtras : 0;
  const bool isBuilt = ForEachInParallel(numWorkers, numParts + numExtras, [&](int part, int worker) {
    if (part >= numParts) return DoExtra(part - numParts, worker);
    return trees_ ? BuildTree(part, worker) : BuildStripe(part, worker);
  });
  if (!isBuilt) return result_;
  Summarize();
  // From here on all parts are in the stores, so that the lower levels find complete images above them.
  for (PyramidBand& band : bands_) {
    const bool isWide = band.store->Layout().SampleBytes() > 2;
    if (isWide && !CountHistogram(band)) {
      return progress_.IsStopped() ? PyramidResult::kStopped : PyramidResult::kWriteFailed;
    }
    const PyramidLayout& layout = band.store->Layout();
    const Window whole = {0, layout.Width(0) - 1, 0, layout.Height(0) - 1};
    if (!MakeLowerLevels(*band.store, (trees_ ? trees_->depth : plan_.carriedLevel) + 1, whole, band.reduction)) {
      return PyramidResult::kWriteFailed;
    }
  }
  return PyramidResult::kDone;
}

/// How many bands from `first` on form a group: those of the same shape, as far as memory allows.
std::size_t CountTogether(const PyramidJob& job, std::size_t first) {
  const PyramidBand& band = job.bands[first];
  const StripePlan plan(job, band);
  const PyramidLayout& layout = band.store->Layout();
  const std::int64_t tileRowBytes = std::int64_t{layout.Width(0)} * layout.Shape().yTile * layout.SampleBytes();
  const auto most =
      static_cast<std::size_t>(std::clamp<std::int64_t>(kStripeBytes / tileRowBytes, 1, kMaxBandsTogether));
  std::size_t count = 1;
  while (count < most && first + count < job.bands.size()) {
    const PyramidBand& next = job.bands[first + count];
    // Bands of a group share one plan, and so they must agree in shape and in the rows of a decoding.
    const bool isAlike =
        next.store->Layout().Shape() == layout.Shape() && StripePlan(job, next).decodeRows == plan.decodeRows;
    if (!isAlike) break;
    ++count;
  }
  return count;
}

}  // namespace

const char* GetSentence(PyramidResult result) {
  return result == PyramidResult::kReadFailed ? "Fail to read data" : "Fail to write Data";
}

PyramidResult BuildPyramids(PyramidJob& job) {
  const auto numBands = static_cast<int>(job.bands.size());
  BuildProgress progress(job.thread, job.percentStart, job.percentSpan, numBands,
                         job.bands.front().store->Layout().Height(0));
  for (std::size_t first = 0, count = 0; first < job.bands.size(); first += count) {
    count = CountTogether(job, first);
    GroupBuild build(job, Bands(job.bands).subspan(first, count), progress);
    const PyramidResult result = build.Run(first + count == job.bands.size());
    if (result != PyramidResult::kDone) return result;
  }
  return progress.Report() ? PyramidResult::kDone : PyramidResult::kStopped;
}

}  // namespace zrk
