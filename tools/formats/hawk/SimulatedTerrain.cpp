// Terrain by a formula: whole metres in pixels of a thousandth of a degree, over so wide a square that a flight over
// the target does not look beyond it.

#include "formats/hawk/SimulatedTerrain.h"

#include "Place.h"
#include "ZRMBand2DMem.h"

#include <charconv>
#include <cmath>
#include <new>
#include <numbers>
#include <string_view>

namespace {

constexpr std::string_view kFlatHead = "flat:";
constexpr int kTerrainSide = 600;
constexpr double kTerrainPixel = 0.001;  // in degrees

bool ReadFlatHeight(const std::string& text, double& height) {
  if (!text.starts_with(kFlatHead)) return false;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + kFlatHead.size(), end, height);
  return error == std::errc() && stop == end && std::abs(height) < 9000.0;
}

/// By the way from the target in degrees, east and north.
double FormulaHeight(const std::string& text, double east, double north) {
  double height = 0.0;
  if (ReadFlatHeight(text, height)) return height;
  if (text == "slope") return 800.0 + 4000.0 * east - 2500.0 * north;
  const double turn = 2.0 * std::numbers::pi;
  return 700.0 + 180.0 * std::sin(turn * east / 0.031) * std::cos(turn * north / 0.023) +
         40.0 * std::sin(turn * (east + 0.6 * north) / 0.0097);
}

}  // namespace

bool IsTerrainFormula(const std::string& text) {
  double height = 0.0;
  return text == "slope" || text == "hills" || ReadFlatHeight(text, height);
}

std::unique_ptr<XRSFile> MakeTerrain(const HawkOptions& options) {
  auto band = std::make_unique<ZRMBand2DMem>();
  if (!band->SetSourceMemory(kTerrainSide, kTerrainSide, kSint16)) throw std::bad_alloc();
  const double half = 0.5 * kTerrainSide * kTerrainPixel;
  for (int y = 0; y < kTerrainSide; ++y) {
    auto* const row = reinterpret_cast<std::int16_t*>(band->GetSourceMemory()->Row(y));
    for (int x = 0; x < kTerrainSide; ++x) {
      const double east = (x + 0.5) * kTerrainPixel - half, north = half - (y + 0.5) * kTerrainPixel;
      row[x] = static_cast<std::int16_t>(std::lround(FormulaHeight(options.terrain, east, north)));
    }
  }
  band->SetUpperLeft(options.target[0] - half, options.target[1] + half);
  band->SetPixelSize(kTerrainPixel, kTerrainPixel);
  band->SetCoordinateKind(kCoordinateWorld);
  band->GetSR()->SetWellKnownGeogCS("WGS84");
  auto file = std::make_unique<XRSFile>();
  file->AddBand(band.release());
  return file;
}

double HeightAt(const XRSFile& heights, double lon, double lat) {
  ZRMBand& band = *heights.GetBandAt(0);
  const auto [x, y] = Place(band).ToPixel(lon, lat);
  if (!(x >= 0.0 && x < band.GetXSize() && y >= 0.0 && y < band.GetYSize())) return 0.0;
  tagXArr2* sample = nullptr;
  if (!band.ReadPixel(sample, static_cast<int>(x), static_cast<int>(y))) return 0.0;
  if (band.GetDataType() == kSint16) return *reinterpret_cast<const std::int16_t*>(sample->Row(0));
  return band.GetDataType() == kReal32 ? *reinterpret_cast<const float*>(sample->Row(0)) : 0.0;
}
