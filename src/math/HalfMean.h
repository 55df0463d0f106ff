#pragma once

#include "math/BlockPair.h"

namespace zrk {

// Reduction by two of rows of samples of one of the eight scalar data types. Sample i of `out` is made of the samples 2
// * i and 2 * i + 1 of the rows `upper` and `lower`. `count` samples are made, and the rows have twice as many.

/// The mean of the four, rounded half away from zero for integers. 32-bit reals are summed in doubles, upper pair plus
/// lower pair, and the mean is rounded once.
void MeanOfFour(int dataType, const void* upper, const void* lower, int count, void* out);

/// The same for all rows of a block. Made for many short rows, where the choice of a loop for each would take as long
/// as its samples.
void MeanOfFourRows(int dataType, const BlockPair& block);

/// The same with samples equal to `nullValue` left out; `nullValue` where all four are.
void MeanOfFourKept(int dataType, const void* upper, const void* lower, int count, void* out, double nullValue);

/// The most frequent of the four. Where several are equally frequent it is the first of them, upper row before lower
/// and left before right.
void MostFrequentOfFour(int dataType, const void* upper, const void* lower, int count, void* out);

}  // namespace zrk
