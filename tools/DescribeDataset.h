#pragma once

#include "output/Json.h"
#include "Statistics.h"
#include "tagXFormatNotes.h"
#include "XRSFile.h"

#include <string>
#include <vector>

/// All that `zrkio info` tells of an opened dataset.
struct DatasetInfo {
  Json json;
  /// What its format tells, for people: of the file and of each band.
  tagXFormatNotes notes;
  std::vector<tagXFormatNotes> bandNotes;
};

/// With `isVerbose` also what takes a look at other parts of the file. `sources` are those of the bands' statistics;
/// bands beyond them have what is stored.
DatasetInfo DescribeDataset(XRSFile& file, const std::string& path, bool isVerbose,
                            const std::vector<StatisticsSource>& sources = {});
