#pragma once

#include "XRSFile.h"
#include "XThread.h"

#include <string>
#include <vector>

/// From which pixels the statistics that a band shows were computed.
struct StatisticsSource {
  enum class Kind { kStored, kPixels };

  Kind kind = Kind::kStored;  ///< stored in the file or its level file, or computed now
  int level = 0;              ///< of the pixels: 0 for all of them, n for a reduction of 2^n
};

// Both compute the statistics of every band and tell in `sources` of which pixels they are. False with the reason in
// `err`, or without one where the thread was asked to stop.

/// Of all pixels, also where the file has statistics.
bool ComputeExactStatistics(XRSFile& file, XThread& thread, std::vector<StatisticsSource>& sources, std::string& err);

/// Of the coarsest level but one that a band has, which is quick. Bands that have statistics keep them.
bool ComputeQuickStatistics(XRSFile& file, XThread& thread, std::vector<StatisticsSource>& sources, std::string& err);

/// The same of one band, whatever it has.
bool MeasureQuickly(ZRMBand& band, XThread& thread);
