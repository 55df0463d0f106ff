#pragma once

#include "output/PngWriter.h"
#include "tagXTileLevel.h"
#include "XPBEFile.h"
#include "XThread.h"

#include <optional>
#include <string>
#include <vector>

/// A hillshade of one level of an elevation store by the normals that the store keeps. Heights are not looked at, so
/// the picture shows what a globe looks like that is lit by these normals. A pixel is a post, north is up, and posts
/// that tiles share are there once.
class NormalPicture {
 public:
  /// Opens a store and takes its finest level that has `maxSize` posts at most either way. Where all levels have more,
  /// it takes the coarsest one and leaves out posts between. False with the reason in `err`.
  bool Open(const std::string& path, int maxSize, std::string& err);
  /// Slopes are made `zFactor` times as steep. Pixels are as those of `Hillshade`. A pixel is black where its tile
  /// can't be read and where its normal does not point outward.
  bool Write(double zFactor, PngWriter& png, XThread& thread, std::string& err) const;

  const PngShape& GetShape() const { return shape_; }

 private:
  /// The posts of a level along one axis, of which every `step`-th is shown.
  struct Axis {
    int numTiles = 0;
    int stepsOfTile = 0;  // between its posts
    int step = 1;
    int numShown = 0;

    int TileOf(int shown) const;
    int PostOf(int shown) const;
    int EndOfTile(int shown) const;
  };
  struct Direction {
    double sine, cosine;
  };

  static std::optional<Axis> FindAxis(int first, int last, int numPosts, int maxSize);
  bool ChooseLevel(int maxSize);
  Direction DirectionAt(const Axis& axis, int shown, double from, double degrees) const;
  void LightTile(int x, int y, double zFactor, std::vector<unsigned char>& rows) const;

  std::optional<XPBEFile> store_;
  tagXTileLevel level_;
  Axis columns_, rows_;
  PngShape shape_;
};
