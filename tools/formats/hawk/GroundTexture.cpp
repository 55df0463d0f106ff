// Textures of the ground. The formula makes spots by noise: random shades at the knots of grids of several widths, with
// smooth ways between them. The image is read in the window under the places that are asked for.

#include "formats/hawk/GroundTexture.h"

#include "Dataset.h"
#include "output/SampleSink.h"
#include "Place.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// A random number from 0 to 1 at a knot.
double KnotOf(std::int64_t x, std::int64_t y, std::uint64_t grid) {
  std::uint64_t word = static_cast<std::uint64_t>(x) * 0x9E3779B97F4A7C15U ^
                       static_cast<std::uint64_t>(y) * 0xC2B2AE3D27D4EB4FU ^ grid * 0x165667B19E3779F9U;
  word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9U;
  word = (word ^ word >> 27) * 0x94D049BB133111EBU;
  return static_cast<double>((word ^ word >> 31) >> 11) * 0x1p-53;
}

double SmoothShare(double share) {
  return share * share * (3.0 - 2.0 * share);
}

double NoiseAt(double x, double y, std::uint64_t grid) {
  const double left = std::floor(x), top = std::floor(y);
  const double u = SmoothShare(x - left), v = SmoothShare(y - top);
  const auto i = static_cast<std::int64_t>(left), j = static_cast<std::int64_t>(top);
  const double upper = std::lerp(KnotOf(i, j, grid), KnotOf(i + 1, j, grid), u);
  const double lower = std::lerp(KnotOf(i, j + 1, grid), KnotOf(i + 1, j + 1, grid), u);
  return std::lerp(upper, lower, v);
}

class FormulaTexture : public GroundTexture {
 public:
  FormulaTexture(double lon, double lat, double pixel) : lon_(lon), lat_(lat), pixel_(pixel) {}

  bool Shade(const double* lon, const double* lat, int count, unsigned char* shades, XThread&, std::string&) override {
    constexpr double kMetresPerDegree = 111320.0;
    const double eastScale = kMetresPerDegree / pixel_ * std::cos(lat_ * std::numbers::pi / 180.0);
    for (int i = 0; i < count; ++i) {
      const double x = std::remainder(lon[i] - lon_, 360.0) * eastScale;
      const double y = (lat[i] - lat_) * kMetresPerDegree / pixel_;
      shades[i] = std::isfinite(x + y) ? ShadeAt(x, y) : static_cast<unsigned char>(0);
    }
    return true;
  }

 private:
  /// In pixels from the target.
  static unsigned char ShadeAt(double x, double y) {
    constexpr double kBlock = 160.0, kRoad = 5.0;
    const bool isRoad = std::abs(std::remainder(x, kBlock)) < kRoad || std::abs(std::remainder(y, kBlock)) < kRoad;
    const double noise = 0.35 * NoiseAt(x / 5.0, y / 5.0, 1) + 0.3 * NoiseAt(x / 17.0, y / 17.0, 2) +
                         0.35 * NoiseAt(x / 90.0, y / 90.0, 3);
    const double shade = isRoad ? 215.0 + 40.0 * noise : 20.0 + 190.0 * noise;
    return static_cast<unsigned char>(std::clamp(shade, 1.0, 255.0));
  }

  double lon_;
  double lat_;
  double pixel_;
};

class ImageTexture : public GroundTexture {
 public:
  bool Open(const std::string& path, XThread& thread, std::string& err);
  bool Shade(const double* lon, const double* lat, int count, unsigned char* shades, XThread& thread,
             std::string& err) override;

 private:
  bool FindStretch(std::string& err);
  bool FindRange(const double* lon, const double* lat, int count);
  unsigned char ShadeAt(const tagXArr2& samples, double x, double y) const;
  double SampleAt(const tagXArr2& samples, double x, double y) const;

  std::unique_ptr<XRSFile> file_;
  ZRMBand* band_ = nullptr;
  std::unique_ptr<Place> place_;
  std::unique_ptr<XCoordinateTransformation> way_;
  double least_ = 0.0;
  double scale_ = 1.0;
  // Of the places that are asked for: columns and rows from the centre of the first pixel, and the window around them.
  std::vector<double> x_, y_;
  int x0_ = 0, x1_ = -1, y0_ = 0, y1_ = -1;
};

bool ImageTexture::Open(const std::string& path, XThread& thread, std::string& err) {
  file_ = OpenRaster(path, thread, err);
  if (!file_) return false;
  band_ = file_->GetBandAt(0);
  place_ = std::make_unique<Place>(*band_);
  way_ = FindWayFromLonLat(*band_);
  if (band_->GetCoordinateKind() == kCoordinateWorld && place_->HasExtent()) return FindStretch(err);
  err = "the texture has no place in the world";
  return false;
}

bool ImageTexture::FindStretch(std::string& err) {
  if (band_->GetDataType() == kPint08) return true;
  if (band_->CalcStatistics(0) && band_->GetBandMax() > band_->GetBandMin()) {
    constexpr double kMost = 254.0;
    scale_ = kMost / (band_->GetBandMax() - band_->GetBandMin());
    least_ = band_->GetBandMin() - 1.0 / scale_;
    return true;
  }
  err = "the texture has no shades";
  return false;
}

/// An image without a system is taken to lie in degrees. False where no place lies over the image.
bool ImageTexture::FindRange(const double* lon, const double* lat, int count) {
  double minX = band_->GetXSize(), maxX = -1.0, minY = band_->GetYSize(), maxY = -1.0;
  x_.resize(static_cast<std::size_t>(count));
  y_.resize(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < x_.size(); ++i) {
    double east = lon[i], north = lat[i];
    x_[i] = y_[i] = NAN;
    if (!std::isfinite(east) || (way_ && !way_->TransformPt(east, north))) continue;
    const auto [x, y] = place_->ToPixel(east, north);
    const bool isOver = x >= 0.0 && x < band_->GetXSize() && y >= 0.0 && y < band_->GetYSize();
    if (!isOver) continue;
    x_[i] = x - 0.5;
    y_[i] = y - 0.5;
    minX = std::min(minX, x_[i]), maxX = std::max(maxX, x_[i]);
    minY = std::min(minY, y_[i]), maxY = std::max(maxY, y_[i]);
  }
  if (maxX < minX) return false;
  const auto cut = [](double position, int size) {
    return std::clamp(static_cast<int>(std::floor(position)), 0, size - 1);
  };
  x0_ = cut(minX, band_->GetXSize()), x1_ = cut(maxX + 1.0, band_->GetXSize());
  y0_ = cut(minY, band_->GetYSize()), y1_ = cut(maxY + 1.0, band_->GetYSize());
  return true;
}

bool ImageTexture::Shade(const double* lon, const double* lat, int count, unsigned char* shades, XThread& thread,
                         std::string& err) {
  std::fill_n(shades, count, static_cast<unsigned char>(0));
  if (!FindRange(lon, lat, count)) return true;
  tagXArr2* samples = nullptr;
  if (!band_->ReadSubset(samples, 0, x0_, x1_, y0_, y1_, thread.GetStatePtr())) {
    err = "the texture: " + WhyNotRead();
    return false;
  }
  for (std::size_t i = 0; i < x_.size(); ++i) {
    if (std::isfinite(x_[i])) shades[i] = ShadeAt(*samples, x_[i] - x0_, y_[i] - y0_);
  }
  return true;
}

/// Samples that the window does not have are those at its rim.
double ImageTexture::SampleAt(const tagXArr2& samples, double x, double y) const {
  const int column = std::clamp(static_cast<int>(x), 0, samples.xSize - 1);
  const int row = std::clamp(static_cast<int>(y), 0, samples.ySize - 1);
  const unsigned char* const sample = samples.Row(row) + static_cast<std::ptrdiff_t>(column) * samples.elementSize;
  if (band_->GetDataType() == kPint08) return *sample;
  std::string text;
  double value = 0.0;
  return DescribeSample(band_->GetDataType(), sample, text, value) ? value : 0.0;
}

unsigned char ImageTexture::ShadeAt(const tagXArr2& samples, double x, double y) const {
  const double left = std::floor(x), top = std::floor(y);
  const double upper = std::lerp(SampleAt(samples, left, top), SampleAt(samples, left + 1.0, top), x - left);
  const double lower =
      std::lerp(SampleAt(samples, left, top + 1.0), SampleAt(samples, left + 1.0, top + 1.0), x - left);
  const double shade = (std::lerp(upper, lower, y - top) - least_) * scale_;
  return static_cast<unsigned char>(std::lround(std::clamp(shade, 0.0, 255.0)));
}

}  // namespace

std::unique_ptr<GroundTexture> MakeFormulaTexture(double lon, double lat, double pixel) {
  return std::make_unique<FormulaTexture>(lon, lat, pixel);
}

std::unique_ptr<GroundTexture> OpenImageTexture(const std::string& path, XThread& thread, std::string& err) {
  auto texture = std::make_unique<ImageTexture>();
  if (texture->Open(path, thread, err)) return texture;
  err = path + ": " + err;
  return nullptr;
}
