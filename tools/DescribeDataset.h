#pragma once

#include "Json.h"
#include "XRSFile.h"

#include <string>

/// All that `zrkio info` tells of an opened dataset. With `isVerbose` also what takes a look at other parts of its
/// file.
Json DescribeDataset(XRSFile& file, const std::string& path, bool isVerbose);
