#pragma once

#include "tagPName.h"
#include "XArray.h"

#include <span>

class XThread;

namespace zrk {

/// One of the coordinates of a record.
using Coordinate = double tagPName::*;

/// Fills the table with the numbers of the records in ascending order of a coordinate. Of equal ones the later record
/// comes first, and what is not a number comes last. The thread, which may be null, is told what `InsertionReports`
/// tells it. False where it stops the work: the table then has the records up to the reported one in their order, and
/// zeros behind them. Memory that runs out raises `std::bad_alloc`.
bool SortByCoordinate(std::span<const tagPName> records, Coordinate coordinate, XThread* thread, XArray<int>& table);

/// How a coordinate compares with one that is there: 1 where it belongs behind, -1 in front, 0 for equals. Both zeros
/// are equal, and what is not a number is equal to its like and greater than all numbers.
int CompareCoordinates(double added, double there);

}  // namespace zrk
