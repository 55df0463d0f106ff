#pragma once

#include "Json.h"

/// Prints what `DescribeDataset` tells, for people.
void PrintInfo(const Json& json);
