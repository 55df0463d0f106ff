#pragma once

#include "bands/tiff/TiffDecoder.h"
#include "bands/tiff/TiffSampler.h"
#include "core/model/ChannelReads.h"
#include "tagXArr2.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zrk {

/// A buffer for the samples of a channel, of the size of a request's result.
struct TiffTarget {
  int channel = 0;
  tagXArr2* out = nullptr;
};

/// The part of a window that comes out of a block, in one direction.
struct TiffShare {
  int first = 0;  ///< of its samples in the result
  int count = 0;
  int local = 0;  ///< where in the block the window enters it
};

/// `from` is the window's beginning and `size` the result's, of blocks of `blockSize`.
TiffShare FindTiffShare(int block, int blockSize, int from, int level, int size);

/// Takes pieces of blocks into the results of a read. Plain blocks are read row by row out of the file, as much as a
/// piece needs. All others are decoded as a whole. For one thread at a time.
class TiffPieces {
 public:
  /// `request` and `targets` must outlive the object. There is at least one target, and no more than one in a file with
  /// a plane for each sample. Targets are of one size.
  TiffPieces(TiffDecoder& decoder, const ReadRequest& request, std::span<const TiffTarget> targets);

  /// A place in the results.
  struct Place {
    int x = 0;
    int y = 0;
  };

  /// Takes a piece whose first row is row `firstRow` of its block. False where the block is missing or can't be read.
  bool Read(int bx, int by, const TiffPiece& piece, int firstRow, const Place& place);

  int Width() const { return width_; }  ///< of the results
  int Height() const { return height_; }
  int SampleBytes() const { return samplers_.front().SampleBytes(); }
  std::int64_t OutStride() const { return outStride_; }
  std::span<const TiffTarget> Targets() const { return targets_; }
  unsigned char* At(const TiffTarget& target, const Place& place) const {
    return target.out->Row(place.y) + std::int64_t{place.x} * SampleBytes();
  }
  /// The number of the block that holds the targets' samples.
  int BlockAt(int bx, int by) const;

 private:
  void Take(const TiffRows& rows, std::int64_t firstByte, std::int64_t numBytes, const TiffPiece& piece,
            const Place& place);
  void Split(const unsigned char* pixels, std::int64_t stride, const TiffPiece& piece, const Place& place);
  bool CanSplit() const;
  std::int64_t CountWindowBytes() const;
  std::optional<TiffRows> DecodeBlock(int bx, int by);
  bool ReadPlain(std::int64_t offset, const TiffPiece& piece, const Place& place);
  bool ReadPlainPart(std::int64_t offset, const TiffPiece& piece, const Place& place);

  TiffDecoder& decoder_;
  const TiffSource& source_;
  const ReadRequest& request_;
  std::span<const TiffTarget> targets_;
  std::vector<TiffSampler> samplers_;  // one a target
  int width_;
  int height_;
  RowReader reader_;
  std::int64_t outStride_ = 0;
  std::vector<unsigned char*> planes_;  // where all samples of the pixels are wanted, in their order
  std::int64_t fileBytes_ = 0;
};

}  // namespace zrk
