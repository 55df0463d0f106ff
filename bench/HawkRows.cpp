// Rows about places of a scanning sensor's pixels. An aircraft nine kilometres high looks 52 degrees to the side, over
// hills of a formula in posts of 30 metres, with a geoid on them. A pass takes a million places, in the order of the
// image, as programs that rectify it do.
//
// There is no rival. The targets are the seconds of one place, and one row tells what six splines cost alone.

#include "Inputs.h"
#include "Rows.h"
#include "XDataType.h"
#include "XRSFile.h"
#include "XSpline.h"
#include "XSystem.h"
#include "ZRMBand2DMem.h"
#include "ZRMBandHawk.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace {

constexpr int kSide = 1000, kPlaces = kSide * kSide, kPoses = 101;

double PoseAt(int part, int i) {
  const double shaken = 1e-5 * std::sin(1.7 * i + part);
  switch (part) {
    case 1:
      return 10.0 * i;
    case 2:
      return 9000.0 + 0.3 * std::sin(0.9 * i);
    case 4:
      return -0.9 + shaken;
    default:
      return part < 3 ? 0.0 : shaken;
  }
}

/// The local frame lies at longitude 0 on the equator.
void WriteDocument(const std::string& path) {
  constexpr const char* kNames[] = {"X", "Y", "Z", "Omega", "Phi", "Kappa"};
  std::ofstream out(path);
  out.precision(17);
  out << "<SIF><Pose><CoordSys><OriginInEcf><Point3D x='6378137' y='0' z='0'/></OriginInEcf><RotationEcfToLsr><Matrix>"
         "<Row>0 1 0</Row><Row>0 0 1</Row><Row>1 0 0</Row></Matrix></RotationEcfToLsr></CoordSys><PositionInMeters>";
  for (int part = 0; part < 6; ++part) {
    if (part == 3) out << "</PositionInMeters><AttitudeInRad>";
    out << '<' << kNames[part] << "><Parameter><Original><Value><Grid><Matrix rows='" << kPoses << "'>";
    for (int i = 0; i < kPoses; ++i) out << "<Row>" << PoseAt(part, i) << "</Row>";
    out << "</Matrix></Grid></Value></Original></Parameter></" << kNames[part] << '>';
  }
  out << "</AttitudeInRad></Pose><Image><Size lines='" << kSide << "' samples='" << kSide
      << "'/></Image><InteriorData><FocalLengthInMm><Parameter><Original><Value>1000</Value></Original></Parameter>"
         "</FocalLengthInMm><DetectorCellSizeInMm>0.01</DetectorCellSizeInMm></InteriorData></SIF>";
  Must(bool(out.flush()), "can't write " + path);
}

/// A grid of 16 bits around the ground that is seen, which belongs to the caller.
XRSFile* MakeGrid(double step, int side, double mean, double swing) {
  auto band = std::make_unique<ZRMBand2DMem>();
  Must(band->SetSourceMemory(side, side, kSint16) != 0, "no memory for heights");
  const tagXArr2& heights = *band->GetSourceMemory();
  for (int y = 0; y < side; ++y) {
    auto* const row = reinterpret_cast<std::int16_t*>(heights.Row(y));
    for (int x = 0; x < side; ++x) {
      row[x] = static_cast<std::int16_t>(mean + swing * std::sin(x / 19.0) * std::cos(y / 23.0));
    }
  }
  band->SetPixelSize(step, step);
  band->SetUpperLeft(0.1 - 0.5 * side * step, 0.5 * side * step);
  band->SetCoordinateKind(kCoordinateWorld);
  auto file = std::make_unique<XRSFile>();
  file->AddBand(band.release());
  return file.release();
}

/// A band with its model, and the columns and lines that are asked.
class Scene {
 public:
  Scene(const std::string& document, XReadPolicy policy, bool hasGround) {
    band_.SetReadPolicy(policy);
    band_.SetDemFile(hasGround ? MakeGrid(0.0003, 1500, 400.0, 150.0) : nullptr);
    band_.SetGeoidFile(hasGround ? MakeGrid(0.25, 80, 2500.0, 300.0) : nullptr);
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
    y[static_cast<std::size_t>(i)] = PoseAt(2, i);
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
  WriteDocument(document);
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
