#pragma once

#include "bands/tiff/TiffBits.h"
#include "bands/tiff/TiffDecoder.h"
#include "bands/tiff/TiffLayout.h"

#include <array>

namespace zrk {

/// Where samples of a block are taken: every `step`-th one of a row from `column` on, and of every `step`-th row.
struct TiffPiece {
  int column = 0;  ///< of the first sample, in the block
  int numColumns = 0;
  int numRows = 0;  ///< that are taken
  int step = 1;
};

/// Makes samples of one channel out of the rows of a block. Palettes are applied on the way.
class TiffSampler {
 public:
  /// `layout` must outlive the sampler. `isSwapped` says that words come in the other order of bytes than the
  /// machine's.
  TiffSampler(const TiffLayout& layout, int channel, bool isSwapped);

  int SampleBytes() const { return sampleBytes_; }
  /// The bytes of a row, from `firstByte` on, that hold the samples of a piece.
  void FindBytes(const TiffPiece& piece, std::int64_t& firstByte, std::int64_t& numBytes) const;
  /// Whether a piece's samples are the bytes of its rows as they are.
  bool CopiesRows(const TiffPiece& piece) const;
  /// Whether samples are as the band has them, in pixels of so many.
  bool CopiesSamples(std::size_t numSamples) const;
  /// Takes a piece; its first row is the first of `rows`, which begin with byte `firstByte` of a row of the block, or
  /// with its first one where they are in planes, and hold `numBytes` of each. Rows that are not there hold zeros.
  /// `out` has rows that are `outStride` bytes apart.
  void Take(const TiffRows& rows, std::int64_t firstByte, std::int64_t numBytes, const TiffPiece& piece,
            unsigned char* out, std::int64_t outStride) const;

 private:
  /// As this one, of the sample's own plane.
  TiffSampler OfPlane() const;
  void TakeRow(const unsigned char* row, std::int64_t firstByte, std::int64_t numBytes, const TiffPiece& piece,
               unsigned char* out) const;
  void TakeWhole(const unsigned char* row, std::int64_t firstByte, const TiffPiece& piece, unsigned char* out) const;
  void TakePacked(PackedRow row, std::int64_t firstByte, const TiffPiece& piece, unsigned char* out) const;
  void SwapWords(unsigned char* samples, int count) const;
  void Colour(unsigned char* samples, int count) const;
  int ColourOf(int value) const;

  const TiffLayout& layout_;
  TiffReader reader_;
  int sampleBytes_;      // of a result
  int samplesTogether_;  // in a block
  int sample_;           // of those
  int bits_;             // of each of them
  int wordBytes_ = 1;    // of what is to be swapped; 1 where nothing is
  const std::vector<short>* colours_ = nullptr;
  bool isColoured_;
  std::array<unsigned char, 256> table_{};  // of a coloured image with bytes
};

/// Does what a layout leaves to be done with `count` samples that have been taken. False where a sample has no value in
/// the band's type.
bool FinishTiffSamples(const TiffLayout& layout, unsigned char* samples, std::int64_t count);

}  // namespace zrk
