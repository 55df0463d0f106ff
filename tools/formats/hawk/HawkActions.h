#pragma once

#include <optional>
#include <string>
#include <vector>

// The actions of `zrkio hawk` and `zrkio geoid`. Each answers the exit status.

struct HawkOptions {
  std::string action;
  std::vector<std::string> words;  ///< the file, and behind it two numbers
  std::string output;
  std::string dem;
  std::string geoid;
  bool json = false;

  // Maps.
  std::string system;
  std::optional<double> pixel;
  std::string method = "bilinear";
  int workers = 0;

  // Simulated flights.
  std::string platform = "aircraft";
  std::string name = "flight";
  std::string texture;
  std::string terrain;
  std::string corner = "Upper Right";
  std::vector<double> target = {11.0, 47.5};
  std::vector<int> size = {1024, 2048};
  std::optional<double> pixelOnGround;
  double heading = 20.0;
  double shake = 1.0;
  bool isInfrared = false;

  const std::string& File() const { return words.front(); }
};

/// Tells the ground under a pixel, or the pixel of a place on the ground.
int LocateHawk(const HawkOptions& options);
/// Writes the outline of an image on the ground as GeoJSON.
int WriteHawkFootprint(const HawkOptions& options);
/// Writes an image as a map.
int WriteHawkOrtho(const HawkOptions& options);
/// Writes a data set of a flight that never was, whose places are known.
int SimulateHawk(const HawkOptions& options);

struct GeoidOptions {
  std::string action;
  std::string input;
  std::string output;
};

/// Writes a grid of heights of the geoid as a native raster of centimetres.
int MakeGeoid(const GeoidOptions& options);
