// Rows about places of a scanning sensor's pixels. An aircraft nine kilometres high looks 52 degrees to the side, over
// hills of a formula in posts of 30 metres, with a geoid on them. A pass takes a million places, in the order of the
// image, as programs that rectify it do.
//
// There is no rival. The targets are the seconds of one place, and one row tells what six splines cost alone.

#include "HawkInputs.h"
#include "Inputs.h"
#include "Rows.h"
#include "XRSFile.h"
#include "XSpline.h"
#include "XSystem.h"
#include "ZRMBandHawk.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kSide = 1000, kPlaces = kSide * kSide, kPoses = HawkFlight::kPoses;
constexpr HawkFlight kFlight = {kSide, kSide, 10.0, 0.01};

/// A band with its model, and the columns and lines that are asked.
class Scene {
 public:
  Scene(const std::string& document, XReadPolicy policy, bool hasGround) {
    band_.SetReadPolicy(policy);
    band_.SetDemFile(hasGround ? MakeWaves(0.0003, 1500, 400.0, 150.0) : nullptr);
    band_.SetGeoidFile(hasGround ? MakeWaves(0.25, 80, 2500.0, 300.0) : nullptr);
    Must(band_.LoadHawkXML(document) != 0, "can't read " + document);
    band_.CalcSplineCoeffs();
    x_.resize(kPlaces);
    y_.resize(kPlaces);
    FindGround();
    places_ = {x_, y_};
  }

  void FindGround() {
    for (std::size_t i = 0; i < x_.size(); ++i) {
      x_[i] = static_cast<double>(i % kSide);
      y_[i] = static_cast<double>(i / kSide);
    }
    Must(band_.FindGroundOfPixels(kPlaces, x_.data(), y_.data(), nullptr) == kPlaces, "places of pixels are missing");
  }
  void FindPixels() {
    x_ = places_[0];
    y_ = places_[1];
    // On steps of compatible heights some places have no way back.
    Must(band_.FindPixelsOfGround(kPlaces, x_.data(), y_.data()) > kPlaces / 100 * 99, "pixels of places are missing");
  }

 private:
  ZRMBandHawk band_;
  std::vector<double> x_, y_;
  std::array<std::vector<double>, 2> places_;
};

/// Six splines at as many lines as there are places.
double EvaluateSplines() {
  std::vector<double> t(kPoses), bends(kPoses), y(kPoses);
  for (int i = 0; i < kPoses; ++i) {
    t[static_cast<std::size_t>(i)] = 10.0 * i;
    y[static_cast<std::size_t>(i)] = PoseOfFlight(kFlight, 2, i);
  }
  XfnCalcSplineCoeff(t.data(), y.data(), kPoses, 0.0, 0.0, bends.data());
  double sum = 0.0;
  for (int i = 0; i < 6 * kPlaces; ++i) {
    sum += XfnInterpolateSpline(t.data(), y.data(), bends.data(), kPoses, static_cast<double>(i % kSide));
  }
  return sum;
}

/// The work on two threads.
template <class Work>
void OnTwoWorkers(const Work& work) {
  XfnSetWorkerCount(2);
  work();
  XfnSetWorkerCount(1);
}

}  // namespace

void AddHawkRows(const BenchOptions& options, std::vector<Row>& rows) {
  const std::string document = options.folder + "/bench_hawk.XML";
  WriteFlightDocument(kFlight, document);
  const auto plain = std::make_shared<Scene>(document, kReadCompatible, false);
  const auto hills = std::make_shared<Scene>(document, kReadCompatible, true);
  const auto exact = std::make_shared<Scene>(document, kReadExact, true);
  const std::string count = "a million pixels ";
  rows.push_back({"hawk_splines", "six splines, a million times", "", [] { Must(EvaluateSplines() != 0.0, "no sum"); },
                  nullptr, kPlaces, 0.0});
  rows.push_back(
      {"hawk_ellipsoid", count + "to the ellipsoid", "", [=] { plain->FindGround(); }, nullptr, kPlaces, 1.0 / 1.5e6});
  rows.push_back(
      {"hawk_terrain", count + "to hills, compatible", "", [=] { hills->FindGround(); }, nullptr, kPlaces, 1.0 / 3e5});
  rows.push_back(
      {"hawk_exact", count + "to hills, exact", "", [=] { exact->FindGround(); }, nullptr, kPlaces, 1.0 / 3e5});
  rows.push_back({"hawk_inverse", "a million places on hills to pixels, exact", "", [=] { exact->FindPixels(); },
                  nullptr, kPlaces, 1.0 / 1.5e5});
  rows.push_back({"hawk_reverse", "a million places on hills to pixels, compatible", "", [=] { hills->FindPixels(); },
                  nullptr, kPlaces, 1.0 / 1.5e5});
  rows.push_back({"hawk_scaling", count + "to hills, 2 threads", "itself on 1 thread",
                  [=] { OnTwoWorkers([=] { exact->FindGround(); }); }, [=] { exact->FindGround(); }, 1, 1 / 1.8});
}
