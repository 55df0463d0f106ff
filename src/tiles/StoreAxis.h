#pragma once

#include <cstddef>
#include <vector>

namespace zrk {

/// What a tile gives to one axis of a result: samples `first` to `first + count - 1` of the result, at least one.
struct StoreVisit {
  int tile;  ///< column, or row counted from the south
  int first;
  int count;
  std::size_t sources;  ///< where the positions in the tile of these samples begin in `StoreAxis::sources`
};

/// Samples of a visit, counted from its first one.
struct StoreRun {
  int begin;
  int count;
};

/// One axis of a window of a tile store, x or y: which tiles it meets, in the order in which they are taken, and which
/// of their samples. A sample of the result may be given by several tiles, of which the last one that is there counts.
struct StoreAxis {
  std::vector<StoreVisit> visits;
  std::vector<int> sources;  ///< they rise within a visit; rows count from the top of the tile

  void Clear() {
    visits.clear();
    sources.clear();
  }
  /// Begins the visit of a tile.
  void Visit(int tile, int first) { visits.push_back({tile, first, 0, sources.size()}); }
  /// The next sample of the last visit.
  void Take(int source) {
    sources.push_back(source);
    ++visits.back().count;
  }
  /// Takes the last visit back where it has no sample.
  void DropEmpty() {
    if (!visits.empty() && visits.back().count == 0) visits.pop_back();
  }

  const int* SourcesOf(const StoreVisit& visit) const { return sources.data() + visit.sources; }
  int FirstOf(const StoreVisit& visit) const { return SourcesOf(visit)[0]; }
  int LastOf(const StoreVisit& visit) const { return SourcesOf(visit)[visit.count - 1]; }
  /// Whether the samples lie one beside the other in the tile.
  bool IsRun(const StoreVisit& visit) const {
    const int* const source = SourcesOf(visit);
    for (int i = 1; i < visit.count; ++i) {
      if (source[i] != source[0] + i) return false;
    }
    return true;
  }
  /// Whether the visits give each of the first `count` samples of the result.
  bool GivesAll(int count) const;
  /// Divides the samples of a visit into runs, in each of which they lie one beside the other in the tile. Leaves no
  /// run where there were more than `maxRuns`.
  void FindRuns(const StoreVisit& visit, std::size_t maxRuns, std::vector<StoreRun>& runs) const;
};

}  // namespace zrk
