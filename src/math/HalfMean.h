#pragma once

namespace zrk {

// Reduction by two of rows of samples of one of the eight scalar data types. The sample i of `out` is made of the
// samples 2 * i and 2 * i + 1 of the rows `upper` and `lower`, and `count` samples are made.

/// The mean of the four, rounded half away from zero for integers. That of 32-bit reals is summed in doubles, upper
/// pair plus lower pair, and rounded once.
void MeanOfFour(int dataType, const void* upper, const void* lower, int count, void* out);

/// The same with samples equal to `nullValue` left out; `nullValue` where all four are.
void MeanOfFourKept(int dataType, const void* upper, const void* lower, int count, void* out, double nullValue);

/// The most frequent of the four, and of those as frequent the first, upper row before lower, left before right.
void MostFrequentOfFour(int dataType, const void* upper, const void* lower, int count, void* out);

}  // namespace zrk
