#include "picture/ClassColours.h"

#include "XDataType.h"

#include <cstring>

namespace {

constexpr std::size_t kNumBytes = 1 << 8, kNumWide = 1 << 16;  // numbers that a sample can be

}  // namespace

bool ClassColours::AreKnown(const ZRMBand& band) {
  const bool isNumber = band.GetDataType() == kPint08 || band.GetDataType() == kPint16;
  return isNumber && band.GetBandType() == kBandTypeThematic && band.GetNumOfGIS() > 0;
}

ClassColours::ClassColours(const ZRMBand& band, int component)
    : components_(band.GetDataType() == kPint08 ? kNumBytes : kNumWide) {
  for (int i = 0; i < band.GetNumOfGIS(); ++i) {
    const tagXRSGIS& gis = *band.GetGISAt(i);
    const unsigned char colour[] = {gis.red, gis.green, gis.blue};
    const auto number = static_cast<std::size_t>(gis.index);
    if (gis.index >= 0 && number < components_.size()) components_[number] = colour[component];
  }
}

const unsigned char* ClassColours::Paint(const unsigned char* row, int count) {
  painted_.resize(static_cast<std::size_t>(count));
  const bool isWide = components_.size() == kNumWide;
  for (std::size_t i = 0; i < painted_.size(); ++i) {
    std::uint16_t number = 0;
    if (isWide) {
      std::memcpy(&number, row + i * sizeof number, sizeof number);
    } else {
      number = row[i];
    }
    painted_[i] = components_[number];
  }
  return painted_.data();
}
