#pragma once

#include "display/BandPainter.h"
#include "display/HeightMosaic.h"

#include <memory>
#include <vector>

namespace zrk {

/// A band that gives heights, and the way to its pixels.
struct HeightSource {
  ZRMBand* band = nullptr;
  Affine toPixels;
  BandLimits limits;
  bool isCircling = false;
  std::shared_ptr<const SystemBridge> bridge;

  /// Whether a column follows from x alone and a row from y alone.
  bool IsStraight() const { return !bridge->transformation && toPixels.IsUnturned(); }
  /// The pixel whose area holds a place of the map. False beside the band.
  bool FindPixel(double x, double y, int& column, int& row) const;
  /// The same for each axis of a straight band; -1 beside it.
  int FindColumn(double x) const;
  int FindRow(double y) const;

 private:
  bool FindShifted(double x, double y, int& column, int& row) const;
};

/// A post that is still to be found, and where its sample is.
struct HeightPost {
  int place;  ///< in the block
  int column;
  int row;
};

/// Working memory of one thread's reads.
struct HeightScratch {
  std::vector<unsigned char> isSet;  ///< which posts have their height
  std::vector<HeightPost> posts;
  std::vector<int> columns;  ///< of the source, under the columns of the block, -1 beside it; likewise the rows
  std::vector<int> rows;
  tagXArr2 strip;  ///< for sources that fill the buffer they are given
};

/// One read of a block of posts: the sources are asked one after the other, and each gives the posts that those before
/// it left free. For one thread.
class HeightRead {
 public:
  /// `out` has the size of the block and samples of `dataType`, which are all set to 0.
  HeightRead(const PostGrid& grid, const PostBlock& block, int dataType, tagXArr2& out, HeightScratch& scratch);

  /// False where the source can't be read or a stop is requested.
  bool TakeFrom(const HeightSource& source, int* cancel);
  bool IsComplete() const { return numLeft_ == 0; }

 private:
  using Posts = std::vector<HeightPost>::const_iterator;
  bool TakeStraight(const HeightSource& source, int* cancel);
  bool TakeRun(ZRMBand& band, int first, int last, int* cancel);
  int LastOfStrip(int j, int width, int sampleBytes) const;
  void TakeRow(const ZRMBand& band, const BandSamples& samples, int j, int first, int last);
  void FindPosts(const HeightSource& source);
  bool TakePosts(ZRMBand& band, Posts first, Posts last, int* cancel);
  bool ReadPosts(ZRMBand& band, const Window& window, Posts first, Posts last, int* cancel);
  template <class Source, class Sample>
  void Convert(double nullValue, const BandSamples& samples, Posts first, Posts last);
  template <class Source, class Sample>
  void ConvertRow(double nullValue, const Source* source, int j, int first, int last);

  const PostGrid& grid_;
  const PostBlock& block_;
  int dataType_;
  tagXArr2& out_;
  HeightScratch& scratch_;
  std::int64_t numLeft_;
};

}  // namespace zrk
