#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// A grid of shifts in heights, as files in .gtx hold it: single numbers at posts of whole rows, the southern row
/// first, most significant bytes first.
struct GtxGrid {
  double south = 0.0;  ///< of the first post, in degrees, as the next three
  double west = 0.0;
  double latStep = 0.0;
  double lonStep = 0.0;
  int rows = 0;
  int columns = 0;
  std::vector<float> heights;  ///< in metres, the southern row first

  /// Whether the last column is followed by the first.
  bool GoesAround() const;
};

/// Takes a grid from the bytes of a file. False with the reason in `err`.
bool ParseGtx(std::span<const unsigned char> bytes, GtxGrid& grid, std::string& err);
