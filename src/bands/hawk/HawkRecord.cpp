#include "bands/hawk/HawkRecord.h"

#include "math/SmallMatrix.h"

#include <algorithm>
#include <cmath>

namespace zrk {
namespace {

using Functions = std::vector<double> XRSScanSensorParam::*;

constexpr std::array<Functions, kNumPoseParts> kGrids = {&XRSScanSensorParam::gridX,   &XRSScanSensorParam::gridY,
                                                         &XRSScanSensorParam::gridZ,   &XRSScanSensorParam::gridOmega,
                                                         &XRSScanSensorParam::gridPhi, &XRSScanSensorParam::gridKappa};
constexpr std::array<Functions, kNumPoseParts> kPolynomials = {
    &XRSScanSensorParam::polyX,     &XRSScanSensorParam::polyY,   &XRSScanSensorParam::polyZ,
    &XRSScanSensorParam::polyOmega, &XRSScanSensorParam::polyPhi, &XRSScanSensorParam::polyKappa};

XRSScanSensorParam MakeRecord(const HawkDocument& document, const HawkSensor& sensor) {
  XRSScanSensorParam record;
  std::ranges::copy(document.originInEcf, record.originInEcf);
  std::ranges::copy(sensor.GetLsrToEcf(), record.lsrToEcf);
  record.imageLines = document.imageLines;
  record.imageSamples = document.imageSamples;
  return record;
}

/// The powers of the place of a sample, which runs from 0 to 1.
void CalcPowers(const HawkDocument& document, int sample, std::vector<double>& powers) {
  const double lines = document.imageLines;
  const double t = sample * lines / (document.gridCount - 1) / lines;
  for (std::size_t j = 0; j < powers.size(); ++j) powers[j] = std::pow(t, static_cast<double>(j));
}

/// The coefficients c for which A c comes nearest to y, by the inverse of A transposed times A.
class Fit {
 public:
  Fit(const HawkDocument& document, int order) : document_(document), powers_(static_cast<std::size_t>(order) + 1) {
    const std::size_t n = powers_.size();
    std::vector<double> normal(n * n);
    for (int i = 0; i < document.gridCount; ++i) {
      CalcPowers(document, i, powers_);
      for (std::size_t row = 0; row < n; ++row) {
        for (std::size_t column = 0; column < n; ++column) normal[row * n + column] += powers_[row] * powers_[column];
      }
    }
    inverse_ = PseudoInverse(normal, order + 1);
  }

  std::vector<double> Solve(const std::vector<double>& y) {
    const std::size_t n = powers_.size();
    std::vector<double> right(n), solution(n);
    for (int i = 0; i < document_.gridCount; ++i) {
      CalcPowers(document_, i, powers_);
      for (std::size_t j = 0; j < n; ++j) right[j] += powers_[j] * y[static_cast<std::size_t>(i)];
    }
    for (std::size_t row = 0; row < n; ++row) {
      for (std::size_t j = 0; j < n; ++j) solution[row] += inverse_[row * n + j] * right[j];
    }
    return solution;
  }

 private:
  const HawkDocument& document_;
  std::vector<double> powers_;
  std::vector<double> inverse_;
};

}  // namespace

XRSScanSensorParam MakeSampleRecord(const HawkDocument& document, const HawkSensor& sensor) {
  XRSScanSensorParam record = MakeRecord(document, sensor);
  record.mode = 0;
  record.count = document.gridCount;
  for (std::size_t i = 0; i < kNumPoseParts; ++i) record.*kGrids[i] = document.grids[i];
  return record;
}

XRSScanSensorParam MakePolynomialRecord(const HawkDocument& document, const HawkSensor& sensor, int order) {
  XRSScanSensorParam record = MakeRecord(document, sensor);
  record.mode = 1;
  record.count = order;
  Fit fit(document, order);
  for (std::size_t i = 0; i < kNumPoseParts; ++i) record.*kPolynomials[i] = fit.Solve(document.grids[i]);
  return record;
}

}  // namespace zrk
