#pragma once

#include "core/level/PyramidLayout.h"

#include <vector>

namespace zrk {

/// How an image of a pyramid follows from the one above.
struct Reduction {
  bool thematic = false;
  double nullValue = 0.0;
};

/// Makes one row of the next image from two rows of an image, or from one twice where the image has but one.
void ReduceRows(const PyramidLayout& layout, int level, const Reduction& how, const unsigned char* upper,
                const unsigned char* lower, unsigned char* out);

/// Takes rows of images, from the top down.
class RowTaker {
 public:
  virtual ~RowTaker() = default;
  /// `numRows` rows from `firstRow` on, all of one row of tiles. False ends the cascade.
  virtual bool TakeRows(int level, int firstRow, int numRows, const unsigned char* rows) = 0;
};

/// Carries rows of an image down through the images below it: each pair of rows becomes one of the next image as soon
/// as it is there. Holds one row of tiles of each image at most.
class RowCascade {
 public:
  /// Serves images 0 to `lastLevel` of the layout. Rows of image 0 begin with `firstRow`, which is a multiple of
  /// 2^lastLevel; unless all rows up to the end of the image come, so is their number.
  RowCascade(const PyramidLayout& layout, int lastLevel, const Reduction& how, RowTaker& taker);
  /// Begins anew at a row of image 0.
  void Start(int firstRow);

  /// The number of rows that can be put next at once, at least 1.
  int GetRoom() const;
  /// Where they go, one after the other.
  unsigned char* GetPlace();
  /// The rows are there.
  bool Put(int numRows);
  /// No more rows come.
  bool Finish();

 private:
  struct Image {
    std::int64_t rowBytes = 0;
    int firstRow = 0;  ///< of the image, that the buffer begins with
    int numRows = 0;   ///< in the buffer
    int numPaired = 0;
    bool hasPending = false;
    std::vector<unsigned char> rows;
    std::vector<unsigned char> pending;  ///< a row whose pair begins the next row of tiles
  };

  bool PutRows(int level, int numRows);
  bool PairRows(int level);
  bool Reduce(int level, const unsigned char* upper, const unsigned char* lower);
  bool Flush(int level);
  unsigned char* Row(Image& image, int row) { return image.rows.data() + row * image.rowBytes; }

  const PyramidLayout& layout_;
  int lastLevel_;
  Reduction how_;
  RowTaker& taker_;
  std::vector<Image> images_;
};

}  // namespace zrk
