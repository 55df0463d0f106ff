#include "tiles/StoreAxis.h"

#include <algorithm>

namespace zrk {

bool StoreAxis::GivesAll(int count) const {
  int end = 0;
  for (const StoreVisit& visit : visits) {
    if (visit.first > end) return false;
    end = std::max(end, visit.first + visit.count);
  }
  return end >= count;
}

void StoreAxis::FindRuns(const StoreVisit& visit, std::size_t maxRuns, std::vector<StoreRun>& runs) const {
  const int* const source = SourcesOf(visit);
  runs.clear();
  for (int begin = 0; begin < visit.count;) {
    int end = begin + 1;
    while (end < visit.count && source[end] == source[end - 1] + 1) ++end;
    if (runs.size() == maxRuns) return runs.clear();
    runs.push_back({begin, end - begin});
    begin = end;
  }
}

}  // namespace zrk
