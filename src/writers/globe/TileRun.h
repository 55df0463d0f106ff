#pragma once

#include "writers/globe/DoneRecord.h"
#include "writers/globe/ExportFile.h"
#include "writers/globe/TileMaker.h"
#include "writers/globe/TileProgress.h"

#include <atomic>
#include <mutex>

namespace zrk {

/// What the levels of an export are made with.
struct TileJob {
  const TilePlan& plan;
  TileSource& source;
  ExportFile& file;
  DoneRecord* record;  ///< null where nothing is recorded
  TileProgress& progress;
};

/// Makes units of one level, shared among the workers that the caller has granted. Which worker makes a tile changes
/// nothing about its bytes. For one use.
class TileRun {
 public:
  TileRun(const TileJob& job, int index, const UnitRange& units);

  /// Makes the tiles that the record does not know as done. False with the reason in `err`, which stays empty where a
  /// stop was requested.
  bool Run(XString& err);

 private:
  bool Work(int worker);
  bool MakeUnits(int worker);
  bool MakeUnit(TileMaker& maker, std::int64_t unit, int worker, std::vector<unsigned char>& bytes);
  bool MakeStrip(TileMaker& maker, TileStrip strip, int worker, std::vector<unsigned char>& bytes, int& numMade);
  bool Fail(const XString& sentence);

  TileJob job_;
  int index_;
  UnitRange units_;
  std::atomic<std::int64_t> next_;
  std::mutex mutex_;
  XString err_;
};

}  // namespace zrk
