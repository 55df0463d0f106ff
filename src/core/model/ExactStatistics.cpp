// Statistics of all pixels, in one pass over the source. Each worker adds the strips that it reads to counts of its
// own. Counts add up exactly, and sums of reals are put together in the order of the strips, so that the result does
// not depend on the workers.
//
// The bins of samples of more than 16 bits follow from the range, and so these are read a second time. Fields of bands
// are set in the end, when everything was read.

#include "XExactStatistics.h"

#include "base/DataTypeVisit.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/model/StripReads.h"
#include "core/model/StripStatistics.h"
#include "math/SampleStatistics.h"
#include "ZRMBand.h"

#include <vector>

namespace zrk {
namespace {

bool IsCounted(const ZRMBand& band) {
  return band.GetDataSize() <= 2;
}

/// What is found of a band.
struct Finding {
  Summary summary;
  Histogram histogram{};
};

/// Bands that are alike, which are read in the same strips.
class GroupMeasure {
 public:
  GroupMeasure(Bands bands, StripProgress& progress)
      : bands_(bands), reads_(bands, progress), numWorkers_(reads_.CountWorkers()), findings_(bands.size()) {}

  bool Measure(bool withHistogram) {
    if (!Summarize(withHistogram)) return false;
    return !withHistogram || IsCounted(*bands_.front()) || CountHistograms();
  }
  const std::vector<Finding>& GetFindings() const { return findings_; }

 private:
  bool Summarize(bool withHistogram);
  bool CountHistograms();
  /// Reads everything once. Each worker adds to counters of its own, which `make` gives it for each band; in the end
  /// `finish` gets those of all.
  template <class Counter, class Make, class Add, class Finish>
  bool Count(Make make, Add add, Finish finish);

  Bands bands_;
  StripReads reads_;
  int numWorkers_;
  std::vector<Finding> findings_;
};

template <class Counter, class Make, class Add, class Finish>
bool GroupMeasure::Count(Make make, Add add, Finish finish) {
  std::vector<std::vector<Counter>> crews(static_cast<std::size_t>(numWorkers_));
  const TakeSamples take = [&](int strip, int worker, std::size_t band, const void* samples, std::size_t count) {
    std::vector<Counter>& crew = crews[static_cast<std::size_t>(worker)];
    while (crew.size() < bands_.size()) crew.push_back(make(crew.size()));
    add(crew[band], strip, samples, count);
  };
  if (!reads_.ReadAll(numWorkers_, take)) return false;
  for (std::size_t i = 0; i < bands_.size(); ++i) {
    std::vector<Counter*> parts;
    for (std::vector<Counter>& crew : crews) {
      // A worker that came too late for a strip has counted nothing.
      if (!crew.empty()) parts.push_back(&crew[i]);
    }
    finish(i, MergeAll<Counter>(parts));
  }
  return true;
}

bool GroupMeasure::Summarize(bool withHistogram) {
  return Count<SampleStatistics>(
      [&](std::size_t i) { return SampleStatistics(bands_[i]->GetDataType(), bands_[i]->GetNullValue()); },
      [](SampleStatistics& counter, int strip, const void* samples, std::size_t count) {
        counter.Add(strip, samples, count);
      },
      [&](std::size_t i, const SampleStatistics& all) {
        findings_[i].summary = all.Summarize();
        if (withHistogram && all.HasHistogram()) findings_[i].histogram = all.GetHistogram();
      });
}

bool GroupMeasure::CountHistograms() {
  return Count<HistogramCounter>(
      [&](std::size_t i) {
        return HistogramCounter(bands_[i]->GetDataType(), bands_[i]->GetNullValue(), findings_[i].summary);
      },
      [](HistogramCounter& counter, int, const void* samples, std::size_t count) { counter.Add(samples, count); },
      [&](std::size_t i, const HistogramCounter& all) { findings_[i].histogram = all.Get(); });
}

/// Whether there is something to measure; false with the reason.
bool CanBeMeasured(Bands bands, XString& reason) {
  for (const ZRMBand* const band : bands) {
    if (!band) reason = "There is no band";
    if (band && (band->GetXSize() <= 0 || band->GetYSize() <= 0)) reason = "The band has no pixels";
    if (band && !VisitDataType(band->GetDataType(), [](auto) {})) reason = "The samples of the band are no scalars";
    if (!reason.IsEmpty()) return false;
  }
  return true;
}

/// The rows of all bands, as often as they are read.
std::int64_t CountRows(Bands bands, bool withHistogram) {
  std::int64_t rows = 0;
  for (const ZRMBand* const band : bands) {
    const int numPasses = withHistogram && !IsCounted(*band) ? 2 : 1;
    rows += std::int64_t{numPasses} * band->GetYSize();
  }
  return rows;
}

/// A band of which nothing counts has no statistics, and no old ones either.
void SetFinding(ZRMBand& band, Finding found, bool withHistogram) {
  if (found.summary.count == 0) found = {{0, kNotSet, kNotSet, kNotSet, kNotSet}, {}};
  SetStatistics(band, found.summary, withHistogram ? found.histogram.data() : nullptr);
}

bool MeasureAll(Bands bands, bool withHistogram, XThread* thread, XString& reason) {
  if (!CanBeMeasured(bands, reason)) return false;
  StripProgress progress(thread, CountRows(bands, withHistogram));
  std::vector<Finding> found;
  for (Bands rest = bands; !rest.empty(); rest = bands.subspan(found.size())) {
    GroupMeasure group(FirstAlike(rest), progress);
    if (!group.Measure(withHistogram)) {
      reason = progress.GetReason();
      return false;
    }
    found.insert(found.end(), group.GetFindings().begin(), group.GetFindings().end());
  }
  for (std::size_t i = 0; i < bands.size(); ++i) SetFinding(*bands[i], found[i], withHistogram);
  return true;
}

}  // namespace
}  // namespace zrk

/// The reason comes from whichever thread has read, and is made that of the caller's thread in the end.
int XfnCalcExactStatistics(std::span<ZRMBand* const> bands, int withHistogram, XThread* thread) {
  XString reason;
  if (zrk::Fenced(reason, [&] { return zrk::MeasureAll(bands, withHistogram != 0, thread, reason); })) return 1;
  return zrk::ReadPixels([&] { return zrk::FailRead(reason.GetText()); });
}
