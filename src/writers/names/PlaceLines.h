#pragma once

#include "base/Words.h"
#include "XFile.h"
#include "XString.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zrk {

/// A list of places can't be read on. The text is the sentence for the caller.
class PlaceListFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  PlaceListFault(std::int64_t line, const std::string& what)
      : runtime_error("Line " + std::to_string(line) + ": " + what) {}
};

/// The lines of a text file, read block by block. Line ends of Unix and Windows are taken off, and so is the mark of
/// UTF-8 at the beginning.
class PlaceLines {
 public:
  static constexpr std::size_t kMaxLineBytes = 1 << 16;

  /// Raises `PlaceListFault` where the file can't be opened.
  explicit PlaceLines(const XString& path);

  /// The next line, valid until the call after it. False at the end. Raises `PlaceListFault` for a line that is too
  /// long or that holds a zero byte.
  bool Next(std::string_view& line);
  /// Of the line that came last, counted from 1.
  std::int64_t GetNumber() const { return number_; }

 private:
  bool Fill();

  XFile file_;
  std::string buffer_;
  std::size_t begin_ = 0;  // of what is left in the buffer
  std::int64_t offset_ = 0;
  std::int64_t number_ = 0;
};

/// Whether the whole text is a finite decimal number, with a sign or without.
bool ParsePlaceNumber(std::string_view text, double& number);

/// A point that a list gives, as an exporter takes it.
struct ListedPoint {
  double longitude = 0.0;
  double latitude = 0.0;
};
/// Takes the point on if it is on earth: latitudes up to 90 degrees, longitudes from -180 to 360.
bool PutOnEarth(ListedPoint& point);

}  // namespace zrk
