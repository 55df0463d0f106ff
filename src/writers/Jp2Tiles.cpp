// Strips of tiles are read one after the other by the thread that saves. The tiles of a strip are then coded by all
// threads, and written in their order. Coding takes nearly all of the time, so that nothing is gained by reading the
// next strip meanwhile, and memory is for one.
//
// An image with fewer tiles than threads leaves some of them idle. The codec's own threads then share the work on each
// tile. Either way the bytes are the same.
//
// Every thread looks for a stop before each tile. Progress is posted by the thread that saves alone.

#include "writers/Jp2Tiles.h"

#include "base/Parallel.h"
#include "writers/Jp2Job.h"
#include "writers/Jp2Sentences.h"
#include "writers/NewJp2.h"
#include "writers/PartsInOrder.h"
#include "XThread.h"

#include <algorithm>
#include <utility>

namespace zrk {
namespace {

/// The share of reading in the time of a save.
constexpr double kReadPercent = 5.0;

/// Tells the others that a part will not come, unless it came.
class PartToCome {
 public:
  explicit PartToCome(PartsInOrder& parts) : parts_(parts) {}
  ~PartToCome() {
    if (!hasCome_) parts_.GiveUp();
  }
  PartToCome(const PartToCome&) = delete;
  PartToCome& operator=(const PartToCome&) = delete;

  bool Add(int index, PartsInOrder::Bytes part) {
    hasCome_ = parts_.Add(index, std::move(part));
    return hasCome_;
  }

 private:
  PartsInOrder& parts_;
  bool hasCome_ = false;
};

}  // namespace

Jp2Tiles::Jp2Tiles(const Jp2Job& job, const J2kEncoder& encoder, NewJp2& file, XThread* thread)
    : job_(job), encoder_(encoder), file_(file), thread_(thread), strip_(job) {}

bool Jp2Tiles::Fail(const XString& sentence) {
  const std::lock_guard lock(mutex_);
  if (reason_.IsEmpty()) reason_ = sentence;
  return false;
}

bool Jp2Tiles::IsStopped() const {
  return thread_ && XfnIsStopRequested(thread_->GetStatePtr());
}

bool Jp2Tiles::Report() {
  if (!thread_) return true;
  const double numPixels = static_cast<double>(job_.plan.width) * job_.plan.height;
  const double done =
      static_cast<double>(pixelsRead_) * kReadPercent + static_cast<double>(pixelsCoded_) * (100.0 - kReadPercent);
  thread_->CallbackPercent(done / numPixels);
  return !IsStopped();
}

bool Jp2Tiles::Write(int numThreads, XString& err) {
  const auto numTiles = static_cast<int>(job_.plan.CountTiles());
  const int numColumns = job_.plan.CountTileColumns(), numAtOnce = strip_.CountTilesAtOnce();
  partBytes_.assign(static_cast<std::size_t>(numTiles), 0);
  bool isDone = strip_.Reserve(numAtOnce) || Fail(kJp2NoMemory);
  for (int tile = 0, count = 0; isDone && tile < numTiles; tile += count) {
    // A strip that is a part of a row ends with the row.
    count = std::min(numAtOnce, numAtOnce < numColumns ? numColumns - tile % numColumns : numTiles - tile);
    isDone = WriteStrip(tile, count, numThreads);
  }
  // A stop has no reason, whatever came of it.
  if (!isDone && !wasStopped_) err = reason_;
  return isDone;
}

bool Jp2Tiles::WriteStrip(int firstTile, int numTiles, int numThreads) {
  const auto goesOn = [this](std::int64_t numPixels) {
    pixelsRead_ += numPixels;
    return Report();
  };
  if (!strip_.Read(firstTile, numTiles, goesOn)) {
    wasStopped_ = strip_.WasStopped();
    return !wasStopped_ && Fail(kJp2NotRead);
  }
  PartsInOrder parts(firstTile, numThreads, [this](int tile, const auto& part) { return WritePart(tile, part); });
  const int codecThreads = numTiles < numThreads ? numThreads / numTiles : 1;
  return ForEachInParallel(numThreads, numTiles, [&](int i, int worker) {
    if (worker == 0) Report();
    return WriteTile(firstTile + i, parts, codecThreads);
  });
}

bool Jp2Tiles::WriteTile(int tile, PartsInOrder& parts, int numThreads) {
  PartToCome toCome(parts);
  if (IsStopped()) {
    wasStopped_ = true;
    return false;
  }
  J2kEncoder::Bytes part;
  XString err;
  if (!encoder_.EncodeTile(tile, strip_.TileAt(tile), numThreads, part, err)) return Fail(err);
  const Window pixels = job_.plan.TileAt(tile);
  pixelsCoded_ += std::int64_t{pixels.Width()} * pixels.Height();
  return toCome.Add(tile, std::move(part));
}

/// Only one thread at a time is here, with the part whose turn it is.
bool Jp2Tiles::WritePart(int tile, const std::vector<unsigned char>& part) {
  partBytes_[static_cast<std::size_t>(tile)] = static_cast<std::uint32_t>(part.size());
  return file_.Append(part) || Fail(kJp2NotWritten);
}

}  // namespace zrk
