// An export to the globe from its checks to its last level. The checks stand in the order in which callers know their
// sentences. The sources of the tiles are prepared before the plan is looked at. So a lack of memory or of heights is
// reported before an extent without a tile.
//
// A plain export makes one level after the other. A share of an export makes its part of each level in the same way,
// and skips tiles that the record marks as done. It ends before a level whose finer level is not complete.

#include "writers/globe/GlobeJob.h"

#include "writers/globe/ElevationTiles.h"
#include "writers/globe/ImageTiles.h"
#include "XThread.h"
#include "XTileGrid.h"
#include "ZRMCompManager.h"

#include <climits>
#include <cmath>

namespace zrk {

namespace {

constexpr const char* kCannotReadRecord = "Fail to read the record of tiles that are done";

/// Whether the extent has posts of the finest level, and no more along an edge than a band can have.
bool HasPosts(const tagXGlobeExport& what) {
  const double step = XfnGetTileSize3D(what.maxLevel) / 30.0;
  const double across = (what.maxLon - what.minLon) / step, along = (what.maxLat - what.minLat) / step;
  return across >= 0.0 && across < INT_MAX && along >= 0.0 && along < INT_MAX;
}

bool Fail(XString& err, const char* sentence) {
  err = sentence;
  return false;
}

}  // namespace

const char* FindFaultOfLevels(const tagXGlobeExport& what) {
  if (what.minLevel < 0 || what.maxLevel < 0) return "Invalid output data level";
  return what.minLevel > what.maxLevel ? "Number of output level must be at least 1." : nullptr;
}

GlobeJob::GlobeJob(ZRMCompManager* manager, const tagXGlobeExport& what, XThread* thread)
    : manager_(manager), what_(what), thread_(thread) {}

GlobeJob::~GlobeJob() = default;

bool GlobeJob::Check(XString& err) const {
  if (!manager_) return Fail(err, "Invalid ZRM composite manager");
  const char* const levels = FindFaultOfLevels(what_);
  if (what_.minLevel < 0 || what_.maxLevel < 0) return Fail(err, levels);
  const XSpatialReference* const sr = manager_->GetSR();
  if (!sr) return Fail(err, "Invalid spatial reference : NULL");
  if (!sr->IsGeographic()) return Fail(err, "Invalid spatial reference : Not geographic");
  return !levels || Fail(err, levels);
}

/// A maker of the finest level is tried, because it takes the most memory.
bool GlobeJob::PrepareSource(XString& err) {
  if (what_.isElevation) {
    if (HasPosts(what_)) heights_ = ElevationTiles::Make(*manager_, what_);
    return heights_ || Fail(err, "Fail to create mosaic DEM data band");
  }
  images_ = std::make_unique<ImageTiles>(*manager_, plan_.tiles, what_.backColor);
  return images_->NewMaker(what_.maxLevel, err) != nullptr;
}

bool GlobeJob::Prepare(XString& err) {
  if (!Check(err)) return false;
  plan_ = MakeStorePlan(what_);
  if (!PrepareSource(err)) return false;
  return plan_.CountTiles() > 0 || Fail(err, what_.isElevation ? "Invalid PBE File : NULL" : "Invalid PBI File : NULL");
}

TileSource& GlobeJob::Source() const {
  if (heights_) return *heights_;
  return *images_;
}

bool GlobeJob::MakeAll(const XString& path, XString& err) {
  const tagXGlobeShare alone;
  ExportSession session(path, plan_, alone);
  if (!session.Create(err)) return false;
  TileProgress progress(thread_, plan_.CountTiles(), 0);
  tagXGlobeState state;
  return MakeLevels(session, Shard{}, progress, state, err);
}

/// A caller who has said where the file goes keeps nothing of an export in which no tile was made.
bool GlobeJob::MakeShare(const XString& path, const tagXGlobeShare& share, tagXGlobeState& state, XString& err) {
  const Shard shard{share.shard, share.numShards};
  state = {};
  if (shard.number < 1 || shard.number > shard.count) return Fail(err, "There is no such shard");
  ExportSession session(path, plan_, share);
  if (!session.Open(err)) return false;
  if (session.IsWhole()) {
    state = {plan_.CountTiles(), plan_.CountTiles(), 0, true, -1};
    return true;
  }
  const bool isMade = MakePart(session, shard, state, err);
  const bool isVain = state.numTiles > 0 && state.numDone == 0 && shard.count == 1;
  if (!isMade && isVain && !share.target.IsEmpty()) session.Discard();
  if (!isMade || state.numDone < state.numTiles) return isMade;
  const bool isPublished = session.Publish(err);
  state.isComplete = isPublished && session.IsWhole();
  return isPublished;
}

bool GlobeJob::MakePart(ExportSession& session, const Shard& shard, tagXGlobeState& state, XString& err) {
  std::int64_t numTiles = 0, before = 0;
  if (!CountDone(*session.GetRecord(), shard, before, err)) return false;
  for (int i = 0; i < plan_.tiles.CountLevels(); ++i) {
    numTiles += plan_.tiles.CountTiles(i, plan_.tiles.UnitsOf(i, shard));
  }
  TileProgress progress(thread_, numTiles, before);
  const bool isGood = MakeLevels(session, shard, progress, state, err);
  XString reason;
  const bool isTold = Tell(*session.GetRecord(), shard, before, state, reason);
  if (!isTold && isGood) err = reason;
  if (!isGood || !isTold) return false;
  if (state.waitingLevel < 0 || state.numMade > 0) return true;
  err.Format("Level %d is made of level %d, which other shards have not completed", state.waitingLevel,
             state.waitingLevel + 1);
  return false;
}

/// Tells how far the export is, by its record.
bool GlobeJob::Tell(const DoneRecord& record, const Shard& shard, std::int64_t before, tagXGlobeState& state,
                    XString& err) const {
  std::int64_t numDone = 0;
  if (!CountDone(record, Shard{}, state.numDone, err) || !CountDone(record, shard, numDone, err)) return false;
  // A caller takes an export of no tiles for one of which nothing is known.
  state.numTiles = plan_.CountTiles();
  state.numMade = numDone - before;
  return true;
}

/// Ends before a level that has to wait.
bool GlobeJob::MakeLevels(ExportSession& session, const Shard& shard, TileProgress& progress, tagXGlobeState& state,
                          XString& err) {
  for (int i = 0; i < plan_.tiles.CountLevels(); ++i) {
    const UnitRange units = plan_.tiles.UnitsOf(i, shard);
    if (const DoneRecord* const record = session.GetRecord()) {
      if (record->CountDone(i, units) == plan_.tiles.CountTiles(i, units)) continue;
      bool isComplete = true;
      if (i > 0 && Source().IsBuiltOnLevels() && !IsFinerComplete(session, i, isComplete, err)) return false;
      if (!isComplete) {
        state.waitingLevel = plan_.tiles.GetLevel(i).level;
        return true;
      }
    }
    if (!MakeLevel(session, i, units, progress, err)) return false;
  }
  return !session.GetRecord() || session.GetFile()->Sync() || Fail(err, "Fail to write tiles to the file");
}

/// The other shards' part of the finer level is read next, so that it has to be seen as they left it.
bool GlobeJob::IsFinerComplete(ExportSession& session, int index, bool& isComplete, XString& err) const {
  if (!session.SeeOthers(err)) return false;
  const std::int64_t numFiner = session.GetRecord()->CountDone(index - 1, {0, plan_.tiles.CountUnits(index - 1)});
  isComplete = numFiner == plan_.tiles.CountTiles(index - 1);
  return numFiner >= 0 || Fail(err, kCannotReadRecord);
}

bool GlobeJob::MakeLevel(ExportSession& session, int index, const UnitRange& units, TileProgress& progress,
                         XString& err) {
  if (images_) images_->SetFile(session.GetFile());
  const TileJob job{plan_.tiles, Source(), *session.GetFile(), session.GetRecord(), progress};
  return TileRun(job, index, units).Run(err);
}

bool GlobeJob::CountDone(const DoneRecord& record, const Shard& shard, std::int64_t& count, XString& err) const {
  count = 0;
  for (int i = 0; i < plan_.tiles.CountLevels(); ++i) {
    const std::int64_t ofLevel = record.CountDone(i, plan_.tiles.UnitsOf(i, shard));
    if (ofLevel < 0) return Fail(err, kCannotReadRecord);
    count += ofLevel;
  }
  return true;
}

}  // namespace zrk
