#pragma once

#include "output/PngWriter.h"
#include "tagXPlace.h"
#include "Window.h"

#include <string>
#include <vector>

/// A place on a picture, by the pixel that it lies in.
struct PlaceMark {
  int x = 0;
  int y = 0;
  tagXPlace place;
};

/// Marks of places on a picture: a dot and a number beside it, which counts from 1 in the order of the marks. Both have
/// a dark rim, so that they are seen on any ground.
class PlaceMarks {
 public:
  /// Numbers get no longer than three digits.
  static constexpr std::size_t kMaxMarks = 999;

  /// Finds the places of a file of names in a window of the band, which a picture of the shape shows, in the order of
  /// the file. There may be more than `kMaxMarks`; the others are left out with a remark. False with the reason in
  /// `err` where the file can't be searched or the band has no place on earth.
  bool Find(const ZRMBand& band, const Window& window, const PngShape& shape, const std::string& file,
            std::string& err);

  const std::vector<PlaceMark>& GetMarks() const { return marks_; }
  /// For tests and callers with places of their own.
  void Add(const PlaceMark& mark) { marks_.push_back(mark); }

  /// Paints what lies in a row of the picture into its pixels. Grey pictures get white marks and others yellow ones.
  void Paint(int y, const PngShape& shape, unsigned char* row) const;

 private:
  std::vector<PlaceMark> marks_;
};
