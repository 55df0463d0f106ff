#pragma once

#include "DescribeDataset.h"

/// Prints what `DescribeDataset` tells, for people.
void PrintInfo(const DatasetInfo& info);
