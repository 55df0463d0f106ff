#pragma once

#include "core/level/PyramidLayout.h"
#include "math/BlockPair.h"

#include <vector>

namespace zrk {

/// How an image of a pyramid follows from the one above.
struct Reduction {
  bool thematic = false;
  double nullValue = 0.0;
  bool thematicTop = false;  ///< whether that holds for the way from the source to half of it too
};

/// Makes one row of the next image from two rows of the image `level`. The caller gives the same row twice where the
/// image has only one.
void ReduceRows(const PyramidLayout& layout, int level, const Reduction& how, const unsigned char* upper,
                const unsigned char* lower, unsigned char* out);

/// Makes a block of half the size from samples of the data type, of which there are two for each column and row.
void ReduceBlock(int dataType, const Reduction& how, const BlockPair& block);

/// Takes rows of images, from the top down.
class RowTaker {
 public:
  virtual ~RowTaker() = default;
  /// Takes `numRows` rows from `firstRow` on, all of one row of tiles. False ends the cascade.
  virtual bool TakeRows(int level, int firstRow, int numRows, const unsigned char* rows) = 0;
};

/// Carries rows of an image down through the images below it. A pair of rows becomes one row of the next image as soon
/// as both are there. Holds one row of tiles of each image at most. For one thread.
class RowCascade {
 public:
  /// Serves images 0 to `lastLevel` of the layout. The layout and the taker must outlive the cascade.
  RowCascade(const PyramidLayout& layout, int lastLevel, const Reduction& how, RowTaker& taker);
  /// Begins anew at a row of image 0, which is a multiple of 2^lastLevel. The number of rows that follow is such a
  /// multiple as well, unless they reach to the end of the image.
  void Start(int firstRow);

  /// The number of rows that can be put next at once, at least 1.
  int GetRoom() const;
  /// Where these rows go, one after the other.
  unsigned char* GetPlace();
  /// Carries down rows that lie at `GetPlace`, at most as many as there was room for. False where the taker failed.
  bool Put(int numRows);
  /// Passes on what is left after the last row. False where the taker failed.
  bool Finish();

 private:
  struct Image {
    std::int64_t rowBytes = 0;
    int firstRow = 0;   ///< the row of the image that the buffer begins with
    int numRows = 0;    ///< in the buffer
    int numPaired = 0;  ///< rows of the buffer that are part of the next image already
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
