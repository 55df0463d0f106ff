#pragma once

#include "display/BandSettings.h"

#include <limits>

namespace zrk {

/// The way of a band's samples to bytes, worked out for its data type. For any number of threads.
class BandLook {
 public:
  /// Statistics count for the stretches that need them.
  BandLook(const BandSettings& settings, int dataType, double nullValue, const tagXSubsetStatistics& statistics);

  int GetDataType() const { return dataType_; }
  /// Whether samples are the bytes as they are, and none is empty.
  bool IsIdentity() const { return isIdentity_; }
  /// Whether some sample may be empty.
  bool HasEmpty() const { return hasEmpty_; }
  /// Takes the samples at `places` of a row to bytes, and where some may be empty tells in `shown` with 255 or 0 which
  /// are not. The byte of an empty sample is 0.
  void TakeRow(const unsigned char* samples, const int* places, int count, unsigned char* bytes,
               unsigned char* shown) const;

 private:
  void SetScale(const BandSettings& settings, const tagXSubsetStatistics& statistics);
  void SetRange(double low, double high, double coverage);
  void Equalise(const tagXSubsetStatistics& statistics, double coverage);
  void SetCut(const BandSettings& settings);
  void MakeTables();
  template <class Sample>
  void FillTables();

  /// Comparisons with what is not a number are false, so that this is empty.
  bool IsShown(double sample) const {
    return (sample >= keepMin_) & (sample <= keepMax_) & !((sample >= dropMin_) & (sample <= dropMax_)) &
           (sample != nullValue_) & (sample != transparentValue_);
  }
  unsigned char ByteOf(double sample) const {
    const double index = (sample - low_) * factor_ + rounding_;
    return steps_[index >= 255.0 ? 255 : (index > 0.0 ? static_cast<std::size_t>(index) : 0)];
  }
  template <class Sample>
  void TakeFromTables(const Sample* samples, const int* places, int count, unsigned char* bytes,
                      unsigned char* shown) const;
  template <class Sample>
  void TakeByNumbers(const Sample* samples, const int* places, int count, unsigned char* bytes,
                     unsigned char* shown) const;

  int dataType_;
  double nullValue_;
  double transparentValue_;
  double keepMin_ = -std::numeric_limits<double>::infinity();
  double keepMax_ = std::numeric_limits<double>::infinity();
  double dropMin_ = std::numeric_limits<double>::infinity();
  double dropMax_ = -std::numeric_limits<double>::infinity();
  // A sample's step is (sample - low) * factor + rounding, cut to 0 to 255; each step has its byte.
  double low_ = 0.0;
  double factor_ = 1.0;
  double rounding_ = 0.5;
  std::array<unsigned char, 256> steps_;
  std::vector<unsigned char> bytes_;  // of all samples of a type of up to 16 bits
  std::vector<unsigned char> shown_;
  bool isIdentity_ = false;
  bool hasEmpty_ = true;
};

/// Finds the statistics that the stretch needs: those of the subset where there are some, otherwise the band's own, or
/// else those of its coarsest level. False where that can't be read or has no sample that counts.
bool FindStatistics(ZRMBand& band, int stretchType, const tagXSubsetStatistics* subset,
                    tagXSubsetStatistics& statistics);

}  // namespace zrk
