#pragma once

#include "writers/globe/ExportSession.h"
#include "writers/globe/TileRun.h"

#include <memory>

class XThread;
class ZRMCompManager;

namespace zrk {

class ElevationTiles;
class ImageTiles;

/// One call of an export: its checks, its plan, what its tiles are made of, and the making of them, in this order.
class GlobeJob {
 public:
  /// What is given has to outlive the job. `manager` and `thread` may be null.
  GlobeJob(ZRMCompManager* manager, const tagXGlobeExport& what, XThread* thread);
  ~GlobeJob();

  // All answer false with the reason in `err`, which is left alone where a stop was requested.

  /// Checks the order, plans the file and prepares what tiles are made of. Comes first.
  bool Prepare(XString& err);
  /// Makes the file and all its tiles.
  bool MakeAll(const XString& path, XString& err);
  /// Makes a share of an export that can be gone on with.
  bool MakeShare(const XString& path, const tagXGlobeShare& share, tagXGlobeState& state, XString& err);

 private:
  bool Check(XString& err) const;
  bool PrepareSource(XString& err);
  bool MakePart(ExportSession& session, const Shard& shard, tagXGlobeState& state, XString& err);
  bool MakeLevels(ExportSession& session, const Shard& shard, TileProgress& progress, tagXGlobeState& state,
                  XString& err);
  bool MakeLevel(ExportSession& session, int index, const UnitRange& units, TileProgress& progress, XString& err);
  bool IsFinerComplete(ExportSession& session, int index, bool& isComplete, XString& err) const;
  bool CountDone(const DoneRecord& record, const Shard& shard, std::int64_t& count, XString& err) const;
  bool Tell(const DoneRecord& record, const Shard& shard, std::int64_t before, tagXGlobeState& state,
            XString& err) const;
  TileSource& Source() const;

  ZRMCompManager* manager_;
  tagXGlobeExport what_;
  XThread* thread_;
  StorePlan plan_;
  std::unique_ptr<ImageTiles> images_;
  std::unique_ptr<ElevationTiles> heights_;
};

/// The sentence for levels that are none; null where they are.
const char* FindFaultOfLevels(const tagXGlobeExport& what);

}  // namespace zrk
