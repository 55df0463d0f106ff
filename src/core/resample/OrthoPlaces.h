#pragma once

#include "core/resample/OrthoCell.h"
#include "XSensorModel.h"
#include "ZRMBandOrtho.h"

#include <array>
#include <vector>

class XCoordinateTransformation;

namespace zrk {

/// The way from a grid in the world to longitude and latitude. Any number of threads may go it.
class OrthoWay {
 public:
  /// False where the system has no way there.
  bool Open(const XSpatialReference& system);
  /// Replaces a place of the system by longitude and latitude. A place that has none becomes not a number.
  void ToLonLat(double& x, double& y) const;

 private:
  std::unique_ptr<XCoordinateTransformation> way_;  // null for a system in longitude and latitude on WGS 84
};

/// The image behind an ortho band, and how the grid lies to it.
struct OrthoSource {
  ZRMBand* band = nullptr;
  const XSensorModel* model = nullptr;
  tagXOrthoGrid grid;
  OrthoWay way;
  double thickness = 0.0;  ///< of the image on the grid where it is thinnest, in pixels of the grid
  int level = 0;           ///< that the source is read at
};

/// Some pixels of a grid: every `step`-th from (x0, y0) on.
struct OrthoTile {
  static constexpr int kMaxSide = 64;
  int x0 = 0;
  int y0 = 0;
  int step = 1;
  int width = 0;
  int height = 0;
};

/// Finds the positions in the source that the pixels of a tile show. For one thread, and for many tiles one after the
/// other.
class OrthoPlaces {
 public:
  explicit OrthoPlaces(const OrthoSource& source);

  void Find(const OrthoTile& tile);
  // Of the last tile, row by row; not a number for pixels that show nothing.
  const double* GetX() const { return x_.data(); }
  const double* GetY() const { return y_.data(); }
  /// All positions of the last tile lie within, but for roundings.
  const OrthoBounds& GetBounds() const { return bounds_; }
  /// Whether each pixel of the last tile has a position.
  bool IsWhole() const { return isWhole_; }

 private:
  using Cell = OrthoCell;
  /// Heights between which positions are interpolated.
  struct Layers {
    double low = 0.0;
    double high = 0.0;
    bool isWhole = false;  ///< each pixel has a height

    double Middle() const { return 0.5 * (low + high); }
  };
  struct Lattice;

  std::size_t IndexOf(int x, int y) const;
  void PlaceAt(double x, double y, double& lon, double& lat) const;
  void FindPlaces(const Cell& cell);
  bool SpreadPlaces(const Cell& cell);
  void FindPositions(const Cell& cell);
  bool FindLayers(const Cell& cell, Layers& layers) const;
  void FindLattice(const Cell& cell, const Layers& layers, Lattice& lattice) const;
  bool IsOutside(const Cell& cell, const Lattice& lattice) const;
  void Spread(const Cell& cell, const Lattice& lattice);
  void FindExactly(const Cell& cell);
  void Clear(const Cell& cell);

  const OrthoSource& source_;
  OrthoTile tile_;
  std::vector<double> lon_, lat_, height_;
  std::vector<double> x_, y_;
  OrthoBounds bounds_;
  bool isWhole_ = false;
};

}  // namespace zrk
