// A level is made unit by unit. Workers take the next unit that nobody has taken. A unit is cut into strips of tiles
// that lie in one row and are not done yet. A strip is made by one call and written by one write, since its tiles lie
// behind each other in the file.
//
// A stop is asked for before each tile. Tiles of the strip before it are still made and written, so that a caller who
// stops at the tenth tile finds nine.

#include "writers/globe/TileRun.h"

#include "base/Parallel.h"

#include <algorithm>
#include <climits>
#include <new>

namespace zrk {

TileRun::TileRun(const TileJob& job, int index, const UnitRange& units)
    : job_(job), index_(index), units_(units), next_(units.first) {}

bool TileRun::Run(XString& err) {
  const int numWorkers = CountWorkers(static_cast<int>(std::min<std::int64_t>(units_.Count(), INT_MAX)));
  const bool isDone = ForEachInParallel(numWorkers, numWorkers, [&](int, int worker) { return Work(worker); });
  // What was made before a stop or a failure is made for good.
  const bool isNoted = !job_.record || job_.record->Flush();
  if (isDone && !isNoted) err_ = "Fail to write the record of tiles that are done";
  if (!err_.IsEmpty()) err = err_;
  return isDone && isNoted;
}

bool TileRun::Fail(const XString& sentence) {
  const std::lock_guard lock(mutex_);
  if (err_.IsEmpty()) err_ = sentence;
  return false;
}

/// Callers know one sentence for the memory of tiles of either kind.
bool TileRun::Work(int worker) {
  try {
    return MakeUnits(worker);
  } catch (const std::bad_alloc&) {
    return Fail("Fail to allocate PBI output data memory");
  }
}

/// Workers that come too late find no unit left, and need no maker.
bool TileRun::MakeUnits(int worker) {
  std::unique_ptr<TileMaker> maker;
  std::vector<unsigned char> bytes;
  for (std::int64_t unit = next_++; unit < units_.end; unit = next_++) {
    if (job_.progress.IsStopped()) return false;
    XString sentence;
    if (!maker) maker = job_.source.NewMaker(job_.plan.GetLevel(index_).level, sentence);
    if (!maker) return Fail(sentence);
    if (!MakeUnit(*maker, unit, worker, bytes)) return false;
  }
  return true;
}

bool TileRun::MakeUnit(TileMaker& maker, std::int64_t unit, int worker, std::vector<unsigned char>& bytes) {
  constexpr int kTiles = TilePlan::kTilesOfUnit;
  const std::int64_t first = unit * kTiles;
  const int count = static_cast<int>(std::min<std::int64_t>(job_.plan.CountTiles(index_) - first, kTiles));
  const std::uint8_t before = job_.record ? job_.record->Read(index_, unit) : 0;
  std::uint8_t done = before;
  bool isGood = true;
  for (int i = 0; i < count && isGood;) {
    int end = i;
    while (end < std::min(count, i + job_.source.TilesAtOnce()) && (before >> end & 1) == 0) ++end;
    if (end == i) {
      ++i;
      continue;
    }
    int numMade = 0;
    isGood = MakeStrip(maker, job_.plan.StripAt(index_, first + i, end - i), worker, bytes, numMade);
    for (const int stop = i + numMade; i < stop; ++i) done = static_cast<std::uint8_t>(done | 1 << i);
  }
  const bool isNoted = done == before || !job_.record || job_.record->Note(index_, unit, done);
  return isNoted ? isGood : Fail("Fail to write the record of tiles that are done");
}

/// Makes and writes as many tiles of the strip as are counted before a stop. False where that is not all of them.
bool TileRun::MakeStrip(TileMaker& maker, TileStrip strip, int worker, std::vector<unsigned char>& bytes,
                        int& numMade) {
  const int wanted = strip.count;
  int numCounted = 0;
  while (numCounted < wanted && job_.progress.Count(worker)) ++numCounted;
  strip.count = numCounted;
  if (numCounted == 0) return false;
  const tagXTileLevel& level = job_.plan.GetLevel(index_);
  bytes.resize(static_cast<std::size_t>(numCounted) * static_cast<std::size_t>(level.storageSize));
  XString sentence;
  // Tiles before a stop are not stopped themselves.
  int* const cancel = numCounted == wanted ? job_.progress.GetCancel() : nullptr;
  if (!maker.Make(strip, bytes.data(), cancel, sentence)) return Fail(sentence);
  if (!job_.file.Write(level, strip, bytes.data())) return Fail("Fail to write tiles to the file");
  numMade = numCounted;
  return numMade == wanted;
}

}  // namespace zrk
