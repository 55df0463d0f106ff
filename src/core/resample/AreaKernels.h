#pragma once

#include <cstddef>
#include <cstdint>

namespace zrk {

// The pixel loops of `AreaMean`, compiled for every instruction set that the machine may have. They look the data type
// up once for each call.

/// Sums of one stretch of source columns: doubles, or 64-bit integers where `isInteger` is set. `weights` is null where
/// no sample is null. Otherwise it holds the weight that went into each sum, in the same type.
struct AreaSums {
  bool isInteger;
  void* sums;
  void* weights;
};

/// Source rows with their weights, and the stretch of their samples that is wanted.
struct AreaRows {
  const void* const* rows;
  const double* rowWeights;
  std::size_t numRows;
  std::size_t firstSample;
  std::size_t count;
};

/// Output columns, the sums that each is made of, and the weights of these sums.
struct AreaColumns {
  std::size_t count;
  const int* firsts;          ///< the source column in which each begins, from the left edge of the source
  int origin;                 ///< the source column of the first sum
  const std::size_t* starts;  ///< the index in `weights` at which each column begins, and the end after the last
  const double* weights;
  int stridedTaps;           ///< 2 or 3 where output i takes that many sums from the 2i-th on, else 0
  const double* strided[3];  ///< then their weights, one array a tap
  double totalWeight;        ///< of all that lies under an output pixel
};

/// Weighs and adds rows to the sums.
void AddAreaRows(int dataType, double nullValue, const AreaSums& sums, const AreaRows& rows);
/// Weighs and adds up sums to pixels, and divides.
void FinishAreaRow(int dataType, double nullValue, const AreaSums& sums, const AreaColumns& columns, void* out);
/// `count` means of four from two rows.
void HalveAreaRow(int dataType, const void* upper, const void* lower, void* out, std::size_t count);
/// As `HalveAreaRow`, with nulls left out; null where all four are.
void HalveAreaRowWithNulls(int dataType, double nullValue, const void* upper, const void* lower, void* out,
                           std::size_t count);
/// Whether any of the samples is null. The type must be able to hold the null value.
bool AreaRowHasNull(int dataType, double nullValue, const void* row, std::size_t count);

}  // namespace zrk
