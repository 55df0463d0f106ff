#pragma once

#include <optional>
#include <string>
#include <vector>

// The actions of `zrkio names`. Each answers the exit status.

struct NamesOptions {
  std::string action;
  std::vector<std::string> files;
  std::string output;
  std::string format;
  std::vector<double> box;    ///< west, south, east, north
  std::vector<double> place;  ///< longitude, latitude
  std::optional<int> count;
  bool json = false;
};

/// Reads the lists one after the other and writes all their places as one file.
int BuildNames(const NamesOptions& options);
/// Prints the places in a box, or those near to a place.
int QueryNames(const NamesOptions& options);
/// Prints what is wrong with a file; 1 where anything is.
int CheckNames(const NamesOptions& options);
