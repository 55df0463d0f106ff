#pragma once

#include "core/model/ChannelReads.h"
#include "core/resample/RowSampler.h"
#include "tagXArr2.h"

#include <vector>

class ZRMBand;

namespace zrk {

/// A source of a mosaic. The centre of grid pixel i lies at `offset` + i * `scale` in the source's pixels.
struct MosaicSource {
  struct Axis {
    double scale;
    double offset;
  };
  ZRMBand* band;
  Axis x;
  Axis y;
};

/// Working memory of one thread's mosaic reads.
struct MosaicScratch {
  std::vector<int> columns;  ///< the source column under each output column, -1 beside the source; likewise the rows
  std::vector<int> rows;
  std::vector<unsigned char> isSet;  ///< whether an output sample has its value, row by row
  tagXArr2 strip;                    ///< for sources that fill the buffer they are given
};

/// One read of a window of a mosaic. The sources are laid down one after the other, and each fills the pixels that
/// those before it left free. For one thread.
class MosaicRead {
 public:
  /// `out` has the shape that the request asks for and samples of `dataType`.
  MosaicRead(const ReadRequest& request, int dataType, tagXArr2& out, MosaicScratch& scratch, int* cancel);

  /// Sets all pixels to null, and all to free. Comes first.
  void Clear(double nullValue);
  /// Fills free pixels from a source. False where the source fails or a stop is requested.
  bool LayDown(const MosaicSource& source);
  /// Whether no pixel is free, so that further sources change nothing.
  bool IsComplete() const { return numLeft_ == 0; }

 private:
  bool FindCoveredColumns();
  bool LayRows(ZRMBand& band);
  int LastOfStrip(int j, int rowsAtATime) const;
  bool LayStrip(ZRMBand& band, int first, int last);
  void LayRow(const ZRMBand& band, const unsigned char* source, int j);
  template <class Source, class Sample>
  void LayRowAs(const Source* source, double null, int j);

  ReadRequest request_;
  int dataType_;
  tagXArr2& out_;
  MosaicScratch& scratch_;
  int* cancel_;
  std::int64_t numLeft_;
  // For the source that is being laid down: the first and the last output column that lie over it, and its own columns
  // under them.
  int firstOut_ = 0;
  int lastOut_ = -1;
  PixelRange columns_{0, -1};
};

}  // namespace zrk
