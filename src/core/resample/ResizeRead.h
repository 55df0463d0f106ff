#pragma once

#include "core/model/ChannelReads.h"
#include "core/resample/RowSampler.h"
#include "tagXArr2.h"

#include <vector>

class ZRMBand;

namespace zrk {

/// Working memory of one thread's resized reads.
struct ResizeScratch {
  RowSampler::Scratch rows;
  tagXArr2 strip;  ///< for sources that fill the buffer they are given
  std::vector<const void*> pointers;
  std::vector<unsigned char> line;
};

/// One read of a window of a resized band, strip by strip.
class ResizeRead {
 public:
  /// `left` and `top` are where the sampler's source begins in the band.
  ResizeRead(const RowSampler& sampler, ZRMBand& source, int left, int top, const ReadRequest& request,
             ResizeScratch& scratch, int* cancel);

  /// Fills `out`, which has the shape that the request asks for. False where the source fails or a stop is requested.
  bool Fill(tagXArr2& out);

 private:
  int OutRow(int j) const { return request_.y0 + (j << request_.level); }
  int LastOfStrip(int j, int height) const;
  const tagXArr2* ReadSource(PixelRange rows);
  bool FillStrip(int first, int last, tagXArr2& out);
  bool FillTallRow(int j, tagXArr2& out);
  unsigned char* LineFor(unsigned char* row);
  void Decimate(unsigned char* row, int width) const;

  const RowSampler& sampler_;
  ZRMBand& source_;
  int left_;
  int top_;
  ReadRequest request_;
  ResizeScratch& scratch_;
  int* cancel_;
  int lastColumn_;      ///< the last output column that is made; levels above 0 make more columns than they want
  PixelRange columns_;  ///< of the source
  int sampleBytes_;
  int rowsAtATime_;
};

}  // namespace zrk
