#pragma once

#include "ZRMBand.h"

#include <cstdint>
#include <vector>

/// One component of the colours in which the classes of a band are drawn: 0 for red, 1 for green, 2 for blue. A number
/// without a class is black.
class ClassColours {
 public:
  /// Whether the samples of a band are numbers of classes that have colours. They are of 8 or 16 bits without sign.
  static bool AreKnown(const ZRMBand& band);

  /// The colours of such a band.
  ClassColours(const ZRMBand& band, int component);

  /// The component of each sample of a row, a byte each, valid until the next call.
  const unsigned char* Paint(const unsigned char* row, int count);

 private:
  std::vector<unsigned char> components_;  // by the number of the class
  std::vector<unsigned char> painted_;
};
