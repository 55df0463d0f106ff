// Rows of a block become samples of one channel here, whoever brought the rows: libtiff's decoder, the file itself, or
// libtiff's conversion to colours.
//
// A row holds the samples of each pixel side by side, or those of one plane where the file has a plane for each sample.
// Whole samples are copied. Their words are turned around where the rows come straight out of a file of the other byte
// order. Samples of other widths are packed bit by bit, and TiffBits unpacks them. Colours made by libtiff have four
// bytes a pixel: red, green, blue and alpha.
//
// The palette comes last. A channel of a coloured palette is the red, the green or the blue of the entry that the
// sample names. Level n takes every 2^n-th sample of every 2^n-th row and averages nothing.
//
// Samples of more than 16 bits have no palette. Samples that are narrower than their type come out as 0, because their
// tags contradict each other.

#include "bands/tiff/TiffSampler.h"

#include "bands/tiff/TiffBits.h"
#include "math/CopyBlock.h"
#include "math/Interleave.h"
#include "math/Prefetch.h"
#include "XDataType.h"

#include <algorithm>
#include <cstring>

namespace zrk {
namespace {

constexpr int kColourChannels = 4;  // of what libtiff makes of foreign colours

/// A complex sample is two words, which are turned around one by one.
bool IsComplex(int dataType) {
  return dataType == kCint16 || dataType == kCint32 || dataType == kCreal32 || dataType == kCreal64;
}

template <class Word, class Map>
void MapWords(unsigned char* samples, std::int64_t count, Map map) {
  for (std::int64_t i = 0; i < count; ++i, samples += sizeof(Word)) {
    Word word;
    std::memcpy(&word, samples, sizeof word);
    word = map(word);
    std::memcpy(samples, &word, sizeof word);
  }
}

}  // namespace

TiffSampler::TiffSampler(const TiffLayout& layout, int channel, bool isSwapped)
    : layout_(layout), reader_(layout.GetReader()), sampleBytes_(XfnGetDataSize(layout.dataType)) {
  // What stands side by side in a row decides where the next pixel begins.
  samplesTogether_ = reader_ == TiffReader::kRgba ? kColourChannels
                     : layout.tags.IsPlanar()     ? 1
                                                  : layout.tags.samplesPerPixel;
  sample_ = samplesTogether_ == 1 ? 0 : layout.SampleOf(channel);
  bits_ = reader_ == TiffReader::kRgba ? 8 : layout.tags.bitsPerSample;
  if (isSwapped && reader_ == TiffReader::kRaster)
    wordBytes_ = IsComplex(layout.dataType) ? sampleBytes_ / 2 : sampleBytes_;
  isColoured_ = layout.tags.photometric == PHOTOMETRIC_PALETTE && bits_ <= 16 && layout.palette.GetSize() > 0;
  if (!isColoured_) return;
  const std::vector<short>* const colours[] = {&layout.palette.red, &layout.palette.green, &layout.palette.blue};
  if (channel < layout.CountColours()) colours_ = colours[channel];
  // Colours of samples of one byte are looked up here once, and not for each pixel.
  for (int i = 0; i < 256; ++i) table_[static_cast<std::size_t>(i)] = static_cast<unsigned char>(ColourOf(i));
}

/// A sample beyond the palette takes the colour of entry 0. Channels behind the third one have no colour and keep the
/// sample.
int TiffSampler::ColourOf(int value) const {
  const int entry = value < layout_.palette.GetSize() ? value : 0;
  return colours_ ? (*colours_)[static_cast<std::size_t>(entry)] : entry;
}

/// The bytes reach from the pixel of the first sample to that of the last one, whole bytes on both sides. The step
/// behind the last sample is not asked for, because the file may end there.
void TiffSampler::FindBytes(const TiffPiece& piece, std::int64_t& firstByte, std::int64_t& numBytes) const {
  const std::int64_t pixelBits = std::int64_t{samplesTogether_} * bits_;
  const std::int64_t end = piece.column + (piece.numColumns - std::int64_t{1}) * piece.step + 1;
  firstByte = piece.column * pixelBits / 8;
  numBytes = (end * pixelBits + 7) / 8 - firstByte;
}

/// A byte that needs neither unpacking nor turning nor colouring lets a whole window be split in one pass.
bool TiffSampler::CopiesSamples(std::size_t numSamples) const {
  return reader_ == TiffReader::kRaster && std::size_t(samplesTogether_) == numSamples && bits_ == 8 * sampleBytes_ &&
         wordBytes_ == 1 && !isColoured_;
}

bool TiffSampler::CopiesRows(const TiffPiece& piece) const {
  return piece.step == 1 && CopiesSamples(1);
}

TiffSampler TiffSampler::OfPlane() const {
  TiffSampler sampler = *this;
  sampler.samplesTogether_ = 1;
  sampler.sample_ = 0;
  return sampler;
}

void TiffSampler::Take(const TiffRows& rows, std::int64_t firstByte, std::int64_t numBytes, const TiffPiece& piece,
                       unsigned char* out, std::int64_t outStride) const {
  if (rows.planeBytes > 0) {
    const TiffRows plane{rows.data + sample_ * rows.planeBytes, rows.stride, rows.numRows};
    return OfPlane().Take(plane, 0, rows.stride, piece, out, outStride);
  }
  const int present = rows.numRows > 0 ? (rows.numRows - 1) / piece.step + 1 : 0,
            numRows = std::min(piece.numRows, present);
  const std::int64_t rowBytes = std::int64_t{piece.numColumns} * sampleBytes_;
  const std::int64_t stride = numRows > 1 ? rows.stride * piece.step : rows.stride;
  if (CopiesRows(piece)) {
    CopyBlock(rows.data + (std::int64_t{piece.column} * sampleBytes_ - firstByte), stride, out, outStride, rowBytes,
              numRows);
  } else {
    std::int64_t firstWanted = 0, numWanted = 0;
    FindBytes(piece, firstWanted, numWanted);
    // Rows that are taken without a step lie close enough for the next ones to be fetched ahead.
    for (int y = 0; y < numRows; ++y) {
      const unsigned char* const row = rows.data + y * stride;
      if (piece.step == 1 && y + kPrefetchRows < numRows)
        PrefetchBytes(row + kPrefetchRows * stride + (firstWanted - firstByte), numWanted);
      TakeRow(row, firstByte, numBytes, piece, out + y * outStride);
    }
  }
  // Rows that are missing hold zeros in the file's terms, and so get the colour of entry 0.
  for (int y = numRows; y < piece.numRows; ++y) {
    std::memset(out + y * outStride, 0, static_cast<std::size_t>(rowBytes));
    if (isColoured_) Colour(out + y * outStride, piece.numColumns);
  }
}

void TiffSampler::TakeRow(const unsigned char* row, std::int64_t firstByte, std::int64_t numBytes,
                          const TiffPiece& piece, unsigned char* out) const {
  if (reader_ == TiffReader::kRaster || reader_ == TiffReader::kRgba) {
    TakeWhole(row, firstByte, piece, out);
  } else {
    TakePacked({row, numBytes}, firstByte, piece, out);
  }
  if (wordBytes_ > 1) SwapWords(out, piece.numColumns);
  if (isColoured_) Colour(out, piece.numColumns);
}

/// Of samples wider than the band's the low bytes are taken, which come first. Narrower samples can't be right: the
/// tags contradict each other.
void TiffSampler::TakeWhole(const unsigned char* row, std::int64_t firstByte, const TiffPiece& piece,
                            unsigned char* out) const {
  const int wholeBytes = bits_ / 8;
  const auto count = static_cast<std::size_t>(piece.numColumns);
  if (wholeBytes < sampleBytes_) {
    std::memset(out, 0, count * static_cast<std::size_t>(sampleBytes_));
    return;
  }
  const std::int64_t pixelBytes = std::int64_t{samplesTogether_} * wholeBytes;
  const unsigned char* const source = row + (piece.column * pixelBytes - firstByte);
  if (piece.step == 1 && wholeBytes == sampleBytes_) {
    TakeSample(source, count, samplesTogether_, sampleBytes_, sample_, out);
  } else {
    GatherSamples(source + std::int64_t{sample_} * wholeBytes, count, pixelBytes * piece.step, sampleBytes_, out);
  }
}

/// A packed sample may begin at any bit, so places are counted in bits from the first byte that was brought.
void TiffSampler::TakePacked(PackedRow row, std::int64_t firstByte, const TiffPiece& piece, unsigned char* out) const {
  const std::int64_t pixelBits = std::int64_t{samplesTogether_} * bits_;
  const std::int64_t firstBit = piece.column * pixelBits + std::int64_t{sample_} * bits_ - 8 * firstByte;
  if (layout_.dataType == kReal32 && bits_ < 32) {
    UnpackReals(row.data + firstBit / 8, pixelBits / 8 * piece.step, bits_, piece.numColumns, out);
    return;
  }
  UnpackBits(row, firstBit, pixelBits * piece.step, bits_, piece.numColumns, sampleBytes_, out);
  // A ramp has become the palette of most images in which 0 is white. Without one the bits themselves are turned.
  if (bits_ != 1 || samplesTogether_ != 1 || layout_.tags.photometric != PHOTOMETRIC_MINISWHITE || layout_.isExact)
    return;
  std::transform(out, out + piece.numColumns, out,
                 [](unsigned char bit) { return static_cast<unsigned char>(bit ^ 1); });
}

void TiffSampler::SwapWords(unsigned char* samples, int count) const {
  const std::int64_t numWords = std::int64_t{count} * (sampleBytes_ / wordBytes_);
  if (wordBytes_ == 2)
    MapWords<std::uint16_t>(samples, numWords, [](std::uint16_t word) { return __builtin_bswap16(word); });
  if (wordBytes_ == 4)
    MapWords<std::uint32_t>(samples, numWords, [](std::uint32_t word) { return __builtin_bswap32(word); });
  if (wordBytes_ == 8)
    MapWords<std::uint64_t>(samples, numWords, [](std::uint64_t word) { return __builtin_bswap64(word); });
}

/// Samples of more than 16 bits have no colours.
void TiffSampler::Colour(unsigned char* samples, int count) const {
  if (sampleBytes_ == 1) {
    std::transform(samples, samples + count, samples, [this](unsigned char value) { return table_[value]; });
  } else if (sampleBytes_ == 2) {
    MapWords<std::uint16_t>(samples, count,
                            [this](std::uint16_t value) { return static_cast<std::uint16_t>(ColourOf(value)); });
  } else {
    std::memset(samples, 0, static_cast<std::size_t>(count) * static_cast<std::size_t>(sampleBytes_));
  }
}

bool FinishTiffSamples(const TiffLayout& layout, unsigned char* samples, std::int64_t count) {
  const auto extend = [&] {
    ExtendSigns(samples, count, layout.tags.bitsPerSample, XfnGetDataSize(layout.dataType));
    return true;
  };
  const auto turn = [&] {
    MapWords<std::uint32_t>(samples, count, [](std::uint32_t word) { return __builtin_bswap32(word) >> 8; });
    return true;
  };
  switch (layout.finish) {
    case TiffFinish::kNone:
      return true;
    case TiffFinish::kSign:
      return extend();
    case TiffFinish::kTriple:
      return turn();
    case TiffFinish::kSignedTriple:
      return turn() && extend();
    default:
      return MakeDoubles(samples, count, layout.finish == TiffFinish::kSignedInteger);
  }
}

}  // namespace zrk
