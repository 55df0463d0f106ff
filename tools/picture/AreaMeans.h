#pragma once

#include <vector>

/// Reduces an image, row by row from the top, to a smaller or equal size. Each result is the mean of the area that it
/// stands for, samples that it shares with a neighbour weighted by the part that is its own. Samples equal to the null
/// value, and samples that are not finite, count for nothing.
class AreaMeans {
 public:
  /// No result side may be larger than the source's. The data type must be one that `IsSupported`.
  AreaMeans(int sourceWidth, int sourceHeight, int width, int height, int dataType, double nullValue);

  static bool IsSupported(int dataType);

  /// Takes the next row of samples. Answers the row of means that is whole with it, if there is one, valid until the
  /// next call; a mean of no samples is not a number.
  const std::vector<double>* Add(const unsigned char* row);

 private:
  /// The samples that an area covers in one row: `first` and `last` in part, those between in whole.
  struct Span {
    int first;
    int last;
    double firstWeight;
    double lastWeight;
  };
  using SumUp = void (AreaMeans::*)(const unsigned char* row);

  static SumUp ChooseSumUp(int dataType, bool hasGaps);
  template <class Sample>
  void SumUpWhole(const unsigned char* row);
  template <class Sample>
  void SumUpValid(const unsigned char* row);
  void AddLine(double weight);
  void FinishRow();

  // Weights are whole numbers: in units of 1 / width of a sample, 1 / height of a row.
  int sourceHeight_;
  int width_;
  int height_;
  double nullValue_;
  SumUp sumUp_;
  std::vector<Span> spans_;
  std::vector<double> lineSums_, lineWeights_;  // of the row at hand
  std::vector<double> sums_, weights_;          // of the result row that is being filled
  std::vector<double> means_;
  int nextRow_ = 0;
  int resultRow_ = 0;
};
