// Reads of all pixels of some bands, by several threads. A strip is a whole number of decodings, so that nothing is
// decoded twice, and small enough to be still near the core when its samples are taken. Strips must not depend on the
// number of workers: what is made of them then does not either.

#include "core/model/StripReads.h"

#include "base/OwnReads.h"
#include "base/Parallel.h"
#include "base/ReadError.h"
#include "XJointReader.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <algorithm>
#include <climits>
#include <vector>

namespace zrk {
namespace {

/// About how much is read at once for all bands. It makes calls cheap.
constexpr std::int64_t kReadBytes = 1 << 20;
/// How many bands are read together. What takes the samples has something for each of them and each worker.
constexpr std::size_t kMaxBandsTogether = 16;

bool AreAlike(const ZRMBand& one, const ZRMBand& other) {
  return one.GetXSize() == other.GetXSize() && one.GetYSize() == other.GetYSize() &&
         one.GetDataType() == other.GetDataType() && one.GetDecodeRows() == other.GetDecodeRows() &&
         one.GetDecodeColumns() == other.GetDecodeColumns();
}

}  // namespace

Bands FirstAlike(Bands bands) {
  const std::size_t most = std::min(bands.size(), kMaxBandsTogether);
  std::size_t count = std::min<std::size_t>(most, 1);
  while (count < most && AreAlike(*bands.front(), *bands[count])) ++count;
  return bands.first(count);
}

StripPlan::StripPlan(Bands bands)
    : width(bands.front()->GetXSize()), height(bands.front()->GetYSize()), columns(width) {
  const ZRMBand& first = *bands.front();
  const std::int64_t rowBytes = std::int64_t{width} * first.GetDataSize();
  const auto numBands = static_cast<std::int64_t>(bands.size());
  // A buffer has INT_MAX bytes at most.
  const std::int64_t mostRows = std::clamp<std::int64_t>(INT_MAX / rowBytes, 1, height);
  const std::int64_t decodeRows = std::clamp<std::int64_t>(first.GetDecodeRows(), 1, mostRows);
  // Where some columns can be read alone, a strip is as high as a tile.
  const int tileColumns = first.GetDecodeColumns();
  const std::int64_t wanted = tileColumns > 0 ? first.GetYTileSize() : kReadBytes / numBands / rowBytes;
  rows = static_cast<int>(std::clamp<std::int64_t>(wanted / decodeRows, 1, mostRows / decodeRows) * decodeRows);
  numStrips = (height - 1) / rows + 1;
  if (tileColumns <= 0) return;
  const std::int64_t tiles = kReadBytes / numBands / first.GetDataSize() / rows / tileColumns;
  columns = static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(tiles, 1) * tileColumns, width));
}

int StripPlan::CountRows(int strip) const {
  return std::min(rows, height - FirstRow(strip));
}

int* StripProgress::Cancel() const {
  return thread_ ? thread_->GetStatePtr() : nullptr;
}

void StripProgress::Add(std::int64_t numRows, int worker) {
  const auto rowsDone = static_cast<double>(rowsDone_ += numRows);
  if (worker == 0 && thread_) thread_->CallbackPercent(100.0 * rowsDone / static_cast<double>(numRows_));
}

void StripProgress::Fail(int strip) {
  const std::lock_guard lock(mutex_);
  if (failedStrip_ && *failedStrip_ < strip) return;
  failedStrip_ = strip;
  XfnGetLastReadError(reason_);
}

StripReads::StripReads(Bands bands, StripProgress& progress)
    : bands_(bands), progress_(progress), plan_(bands), isJoint_(bands.size() > 1 && XfnHaveJointSource(bands)) {}

/// Where one decoding gives all rows there is one strip, and so one worker.
int StripReads::CountWorkers() const {
  return zrk::CountWorkers(plan_.numStrips);
}

/// Strips are taken in ascending order, and one that is begun is read to its end. So the first strip that fails is the
/// same however many workers there are.
bool StripReads::ReadAll(int numWorkers, const TakeSamples& take) {
  return ForEachInParallel(numWorkers, plan_.numStrips, [&](int strip, int worker) {
    if (!ReadPixels([&] { return ReadStrip(strip, worker, take); })) {
      progress_.Fail(strip);
      return false;
    }
    progress_.Add(static_cast<std::int64_t>(bands_.size()) * plan_.CountRows(strip), worker);
    return true;
  });
}

bool StripReads::ReadStrip(int strip, int worker, const TakeSamples& take) {
  const OwnReads own;
  std::vector<tagXArr2*> pixels(bands_.size());
  for (int x0 = 0, count = 0; x0 < plan_.width; x0 += count) {
    count = std::min(plan_.columns, plan_.width - x0);
    const int y0 = plan_.FirstRow(strip), y1 = y0 + plan_.CountRows(strip) - 1;
    if (XfnIsStopRequested(progress_.Cancel())) return FailRead(kReadStopped);
    if (isJoint_ && !XfnReadBands(bands_, x0, x0 + count - 1, y0, y1, progress_.Cancel(), pixels)) return false;
    for (std::size_t i = 0; i < bands_.size(); ++i) {
      // A band that is read alone is taken before the next one is read, whose buffer may be the same.
      if (!isJoint_ && !bands_[i]->ReadSubset(pixels[i], 0, x0, x0 + count - 1, y0, y1, progress_.Cancel()))
        return false;
      const tagXArr2* const read = pixels[i];
      // A band may be the caller's own and answer with a buffer of any shape. Only the right one is looked into.
      const bool isRight = read && read->xSize == count && read->ySize == plan_.CountRows(strip) &&
                           read->elementSize == bands_[i]->GetDataSize();
      if (!isRight) return FailRead("A band has answered with other pixels than those asked for");
      take(strip, worker, i, read->data, static_cast<std::size_t>(count) * static_cast<std::size_t>(read->ySize));
    }
  }
  return true;
}

}  // namespace zrk
