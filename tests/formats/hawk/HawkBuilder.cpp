#include "HawkBuilder.h"

#include "MemoryBand.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr const char* kParts[] = {"X", "Y", "Z", "Omega", "Phi", "Kappa"};

/// Seventeen digits, whatever the locale.
std::string Digits(double value) {
  char text[40];
  std::snprintf(text, sizeof(text), "%.17g", value);
  std::string digits = text;
  std::ranges::replace(digits, ',', '.');
  return digits;
}

std::string Row(const std::string& values) {
  return "<Row>" + values + "</Row>\n";
}

std::string Three(double a, double b, double c) {
  return Row(Digits(a) + " " + Digits(b) + "\t" + Digits(c));
}

void ReplaceOnce(std::string& text, const std::string& from, const std::string& to) {
  const std::size_t place = text.find(from);
  if (place == std::string::npos) throw std::logic_error("the document lacks " + from);
  text.replace(place, from.size(), to);
}

}  // namespace

HawkBuilder& HawkBuilder::Size(int lines, int samples) {
  lines_ = lines;
  samples_ = samples;
  return *this;
}

HawkBuilder& HawkBuilder::Corner(const std::string& corner) {
  corner_ = corner;
  return *this;
}

HawkBuilder& HawkBuilder::Spectrum(const std::string& spectrum) {
  spectrum_ = spectrum;
  return *this;
}

HawkBuilder& HawkBuilder::Poses(int count) {
  poses_ = count;
  return *this;
}

HawkBuilder& HawkBuilder::Over(double lon, double lat) {
  lon_ = lon;
  lat_ = lat;
  return *this;
}

HawkBuilder& HawkBuilder::High(double height) {
  height_ = height;
  return *this;
}

HawkBuilder& HawkBuilder::Pose(PoseFunction pose) {
  pose_ = std::move(pose);
  return *this;
}

HawkBuilder& HawkBuilder::Focal(double millimetres) {
  focal_ = millimetres;
  return *this;
}

HawkBuilder& HawkBuilder::Cell(double millimetres) {
  cell_ = millimetres;
  return *this;
}

HawkBuilder& HawkBuilder::Replace(const std::string& from, const std::string& to) {
  replacements_.emplace_back(from, to);
  return *this;
}

std::vector<double> HawkBuilder::GetGrid(int part) const {
  std::vector<double> values;
  const double still = part == 2 ? height_ : 0.0;
  for (int i = 0; i < poses_; ++i) values.push_back(pose_ ? pose_(part, i) : still);
  return values;
}

std::string HawkBuilder::Grid(int part, const char* name) const {
  std::string rows;
  for (const double value : GetGrid(part)) rows += Row(Digits(value));
  return std::string("<") + name + "><Parameter><Original><Value><Grid><Matrix rows=\"" + std::to_string(poses_) +
         "\" cols=\"1\">\n" + rows + "</Matrix></Grid></Value></Original></Parameter></" + name + ">\n";
}

/// The place on the ellipsoid and its three axes follow from longitude and latitude.
std::string HawkBuilder::Build() const {
  constexpr double kAxis = 6378137.0, kSquare = 0.0066943799901413165;
  const double sinLat = std::sin(lat_ * kDegree), cosLat = std::cos(lat_ * kDegree);
  const double sinLon = std::sin(lon_ * kDegree), cosLon = std::cos(lon_ * kDegree);
  const double radius = kAxis / std::sqrt(1.0 - kSquare * sinLat * sinLat);
  std::string text = "<?xml version=\"1.0\"?>\n<SIF>\n<Pose><CoordSys><OriginInEcf><Point3D x=\"" +
                     Digits(radius * cosLat * cosLon) + "\" y=\"" + Digits(radius * cosLat * sinLon) + "\" z=\"" +
                     Digits(radius * (1.0 - kSquare) * sinLat) + "\"/></OriginInEcf>\n<RotationEcfToLsr><Matrix>\n" +
                     Three(-sinLon, cosLon, 0.0) + Three(-sinLat * cosLon, -sinLat * sinLon, cosLat) +
                     Three(cosLat * cosLon, cosLat * sinLon, sinLat) +
                     "</Matrix></RotationEcfToLsr></CoordSys>\n<PositionInMeters>\n";
  for (int part = 0; part < 6; ++part) {
    if (part == 3) text += "</PositionInMeters><AttitudeInRad>\n";
    text += Grid(part, kParts[part]);
  }
  text += "</AttitudeInRad></Pose>\n<Image><Size lines=\"" + std::to_string(lines_) + "\" samples=\"" +
          std::to_string(samples_) + "\"/><OriginCorner>" + corner_ + "</OriginCorner><Spectrum>" + spectrum_ +
          "</Spectrum></Image>\n<InteriorData><FocalLengthInMm><Parameter><Original><Value>" + Digits(focal_) +
          "</Value></Original></Parameter></FocalLengthInMm><DetectorCellSizeInMm>" + Digits(cell_) +
          "</DetectorCellSizeInMm></InteriorData>\n</SIF>\n";
  for (const auto& [from, to] : replacements_) ReplaceOnce(text, from, to);
  return text;
}

int HawkPixel(int x, int y, int level) {
  return (x * 3 + y * 7 + level * 31) & 255;
}

std::vector<unsigned char> BuildHawkImage(int width, int height, int level, int bits, int channels) {
  return TiffBuilder()
      .Size(width, height)
      .Bits(bits)
      .Samples(channels)
      .Photometric(channels == 3 ? 2 : 1)
      .Pixel([level](int x, int y, int sample) { return static_cast<std::uint64_t>(HawkPixel(x, y, level) + sample); })
      .Build();
}

void WriteHawkSet(const TempFolder& folder, const HawkBuilder& builder, const std::vector<int>& levels) {
  folder.Write("x.XML", builder.Build());
  for (const int level : levels) {
    folder.Write("x.TIF_" + std::to_string(1 << level),
                 BuildHawkImage(builder.GetSamples() >> level, builder.GetLines() >> level, level));
  }
}

XRSFile* HeightGrid::Make() const {
  std::vector<std::int16_t> heights;
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) heights.push_back(heightAt(column, row));
  }
  auto band = std::make_unique<MemoryBand>();
  band->SetSamples(width, height, heights);
  band->SetPixelSize(step, step);
  band->SetUpperLeft(west, north);
  band->SetCoordinateKind(kCoordinateWorld);
  band->GetSR()->SetWellKnownGeogCS("WGS84");
  auto file = std::make_unique<XRSFile>();
  file->AddBand(band.release());
  return file.release();
}
