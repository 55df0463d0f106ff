#pragma once

#include "XRSFile.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

class TempFolder;

/// Builds documents of Hawk data sets: `HawkBuilder().Size(40, 30).Build()`. Unless told otherwise the sensor flies
/// north over the equator at longitude 0, 1,000 metres high, and looks straight down at the ground beneath it. Its
/// local frame has x in the east, y in the north and z upward. There are five samples of the pose, 40 lines of 30
/// samples, a focal length of 100 mm and detector cells of 0.01 mm: a pixel is a decimetre wide.
class HawkBuilder {
 public:
  /// The value of one of the six functions, by its number in the order X, Y, Z, OMEGA, PHI, KAPPA, at a sample.
  using PoseFunction = std::function<double(int part, int sample)>;

  HawkBuilder& Size(int lines, int samples);
  HawkBuilder& Corner(const std::string& corner);
  HawkBuilder& Spectrum(const std::string& spectrum);
  HawkBuilder& Poses(int count);
  /// Places the local frame on the ellipsoid, in degrees.
  HawkBuilder& Over(double lon, double lat);
  /// How high the sensor flies above the origin of its frame, in metres.
  HawkBuilder& High(double height);
  HawkBuilder& Pose(PoseFunction pose);
  HawkBuilder& Focal(double millimetres);
  HawkBuilder& Cell(double millimetres);
  /// Replaces a piece of the text when it is built. Every such piece has to be there.
  HawkBuilder& Replace(const std::string& from, const std::string& to);

  std::string Build() const;

  int GetLines() const { return lines_; }
  int GetSamples() const { return samples_; }
  /// The samples of a function.
  std::vector<double> GetGrid(int part) const;

 private:
  std::string Grid(int part, const char* name) const;

  int lines_ = 40;
  int samples_ = 30;
  int poses_ = 5;
  double lon_ = 0.0;
  double lat_ = 0.0;
  double height_ = 1000.0;
  double focal_ = 100.0;
  double cell_ = 0.01;
  std::string corner_ = "UpperRight";
  std::string spectrum_ = "VIS";
  PoseFunction pose_;
  std::vector<std::pair<std::string, std::string>> replacements_;
};

/// An image of a level, of bytes that follow from level and place: 8 bits unless told otherwise.
std::vector<unsigned char> BuildHawkImage(int width, int height, int level, int bits = 8, int channels = 1);
/// The byte of such an image.
int HawkPixel(int x, int y, int level);

/// Writes images of the levels listed and a document, as "x.TIF_1" and "x.XML".
void WriteHawkSet(const TempFolder& folder, const HawkBuilder& builder, const std::vector<int>& levels = {0});

/// A dataset of heights over a rectangle of longitude and latitude. Column and row are those of a post, from the
/// north-west, whose middle lies `step` / 2 within the edges.
struct HeightGrid {
  double west, north, step;
  int width, height;
  std::function<std::int16_t(int column, int row)> heightAt;

  /// Belongs to the caller, as `ZRMBandHawk::SetDemFile` wants it.
  XRSFile* Make() const;
};
