// Bands give rows, and the encoder takes tiles. A strip is some rows of tiles in memory: rows of pixels are read in
// blocks of a few megabytes over the width of the strip, and each piece of one is copied to its tile.
//
// Positions are of two kinds. Those of the file count from the corner of the window, and those of the bands differ from
// them by that corner. What of the window lies beyond the first band keeps the zeros that a strip begins with, and so
// do missing bands. Where another band ends before the first one does, its last row stands in for the rows that it
// lacks.

#include "writers/Jp2Strip.h"

#include "base/OwnReads.h"
#include "core/level/RowBlocks.h"
#include "writers/Jp2Job.h"
#include "XJointReader.h"
#include "XSystem.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

/// A strip of so many bytes holds a row of tiles of a large scene, and enough tiles of a smaller one that threads
/// seldom wait for the last of them.
constexpr std::int64_t kStripBytes = 64 << 20;
constexpr int kBlockRows = 200;

/// A band that gives samples of another shape than was asked for is as good as one that gives none.
bool HasShape(const tagXArr2* data, const Window& window, int sampleBytes) {
  return data && data->data && data->xSize == window.Width() && data->ySize == window.Height() &&
         data->elementSize == sampleBytes;
}

}  // namespace

Jp2Strip::Jp2Strip(const Jp2Job& job) : job_(job) {
  std::size_t before = 0;
  for (const J2kDepth& component : job.plan.components) {
    componentBytes_.push_back(before);
    before += static_cast<std::size_t>(component.SampleBytes());
  }
  const bool isComplete = std::ranges::find(job.bands, nullptr) == job.bands.end();
  isJoint_ = isComplete && job.AreBandsAlike() && XfnHaveJointSource(job.bands);
}

int Jp2Strip::CountTilesAtOnce() const {
  const J2kPlan& plan = job_.plan;
  const std::int64_t tileBytes = plan.CountSampleBytes(plan.TileAt(0)), numColumns = plan.CountTileColumns();
  const std::int64_t most = std::max<std::int64_t>(kStripBytes / tileBytes, 1);
  return static_cast<int>(most < numColumns ? most : std::min(most / numColumns * numColumns, plan.CountTiles()));
}

bool Jp2Strip::Reserve(int numTiles) {
  const auto tileBytes = static_cast<std::size_t>(job_.plan.CountSampleBytes(job_.plan.TileAt(0)));
  return samples_.Reserve(tileBytes * static_cast<std::size_t>(numTiles));
}

std::span<unsigned char> Jp2Strip::TileAt(int tile) {
  const Place& place = tiles_[static_cast<std::size_t>(tile - firstTile_)];
  return {samples_.Get() + place.offset, place.numBytes};
}

bool Jp2Strip::Read(int firstTile, int numTiles, const std::function<bool(std::int64_t numPixels)>& goesOn) {
  const OwnReads own;
  firstTile_ = firstTile;
  tiles_.clear();
  std::size_t numBytes = 0;
  for (int i = 0; i < numTiles; ++i) {
    const Window pixels = job_.plan.TileAt(firstTile + i);
    tiles_.push_back({pixels, numBytes, static_cast<std::size_t>(job_.plan.CountSampleBytes(pixels))});
    numBytes += tiles_.back().numBytes;
  }
  std::fill_n(samples_.Get(), numBytes, static_cast<unsigned char>(0));
  const Window &window = job_.window, inside = job_.WindowInBand();
  const Window &left = tiles_.front().pixels, &right = tiles_.back().pixels;
  const int x0 = std::max(left.x0 + window.x0, inside.x0), x1 = std::min(right.x1 + window.x0, inside.x1);
  const int y0 = std::max(left.y0 + window.y0, inside.y0), y1 = std::min(right.y1 + window.y0, inside.y1);
  const int height = x0 <= x1 ? y1 - y0 + 1 : 0;
  const ZRMBand& first = *job_.bands.front();
  for (int row = 0, numRows = 0; row < height; row += numRows) {
    const int wanted = XfnCalcBlockHeight(x1 - x0 + 1, height, first.GetDataSize(), kBlockRows);
    const std::int64_t numPixels = std::int64_t{numRows} * (x1 - x0 + 1);
    numRows = std::min(CountBlockRows(first, y0 + row, wanted), height - row);
    wasStopped_ = !goesOn(numPixels);
    if (wasStopped_ || !ReadRows({x0, x1, y0 + row, y0 + row + numRows - 1})) return false;
  }
  return true;
}

/// A result lives until the next read of its file, and is copied before that.
bool Jp2Strip::ReadRows(const Window& rows) {
  if (isJoint_) return ReadTogether(rows);
  for (std::size_t i = 0; i < job_.bands.size(); ++i) {
    if (job_.bands[i] && !ReadAlone(i, rows)) return false;
  }
  return true;
}

bool Jp2Strip::ReadTogether(const Window& rows) {
  std::vector<tagXArr2*> data(job_.bands.size());
  if (!XfnReadBands(job_.bands, rows.x0, rows.x1, rows.y0, rows.y1, nullptr, data)) return false;
  for (std::size_t i = 0; i < data.size(); ++i) {
    if (!HasShape(data[i], rows, job_.bands[i]->GetDataSize())) return false;
    for (int y = rows.y0; y <= rows.y1; ++y) CopyRow(data[i]->Row(y - rows.y0), i, rows, y);
  }
  return true;
}

bool Jp2Strip::ReadAlone(std::size_t index, const Window& rows) {
  ZRMBand& band = *job_.bands[index];
  const int last = band.GetYSize() - 1;
  const Window there = {rows.x0, rows.x1, std::min(rows.y0, last), std::min(rows.y1, last)};
  tagXArr2* data = nullptr;
  const bool isRead = band.ReadSubset(data, 0, there.x0, there.x1, there.y0, there.y1, nullptr) &&
                      HasShape(data, there, band.GetDataSize());
  if (!isRead) return false;
  for (int y = rows.y0; y <= rows.y1; ++y) CopyRow(data->Row(std::min(y, last) - there.y0), index, rows, y);
  return true;
}

/// The tiles of the strip that a row of the file's pixels meets.
std::span<const Jp2Strip::Place> Jp2Strip::TilesAt(int y) const {
  const auto numColumns = static_cast<std::size_t>(job_.plan.CountTileColumns());
  if (tiles_.size() < numColumns) return tiles_;
  const auto row = static_cast<std::size_t>((y - tiles_.front().pixels.y0) / job_.plan.TileHeight());
  return std::span(tiles_).subspan(row * numColumns, numColumns);
}

/// Copies the samples of a row of a band to the tiles, `y` being the row of the file's pixels in the first band.
void Jp2Strip::CopyRow(const unsigned char* samples, std::size_t band, const Window& columns, int y) {
  const int from = columns.x0 - job_.window.x0, to = columns.x1 - job_.window.x0;
  const std::optional<SampleChanger>& changer = job_.changers[band];
  const auto bandBytes = static_cast<std::size_t>(job_.bands[band]->GetDataSize());
  const auto sampleBytes = static_cast<std::size_t>(job_.plan.components[band].SampleBytes());
  for (const Place& tile : TilesAt(y - job_.window.y0)) {
    const int x0 = std::max(from, tile.pixels.x0), x1 = std::min(to, tile.pixels.x1);
    if (x0 > x1) continue;
    const auto width = static_cast<std::size_t>(tile.pixels.Width());
    const auto height = static_cast<std::size_t>(tile.pixels.Height());
    const auto row = static_cast<std::size_t>(y - job_.window.y0 - tile.pixels.y0);
    const std::size_t pixel = row * width + static_cast<std::size_t>(x0 - tile.pixels.x0);
    unsigned char* const place =
        samples_.Get() + tile.offset + componentBytes_[band] * width * height + pixel * sampleBytes;
    const unsigned char* const source = samples + static_cast<std::size_t>(x0 - from) * bandBytes;
    const auto count = static_cast<std::size_t>(x1 - x0 + 1);
    if (changer) {
      changer->Change(source, count, place);
    } else {
      std::memcpy(place, source, count * sampleBytes);
    }
  }
}

}  // namespace zrk
