#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct tiff;

/// Builds TIFF files: `TiffBuilder().Size(70, 50).Tiles(16, 16).Bits(12).Build()` lays an uncompressed file byte by
/// byte, `Compression(5).Encode()` has libtiff write one. Unless told otherwise a file is of the order II, has one
/// strip, 8 bits, one sample and photometric 1, and its samples are those of `AnyPixel`.
///
/// Samples of 8, 16, 32, 64 and 128 bits and reals of 24 lie in the file's byte order, complex ones as two words; all
/// others are packed with their highest bit first. A sample of 128 bits asks the pixel function for its two words as
/// samples 2n and 2n + 1.
class TiffBuilder {
 public:
  /// The lowest bits are the sample's; those of a complex sample are its real part. Tiles ask beyond the image, too.
  using PixelFunction = std::function<std::uint64_t(int x, int y, int sample)>;
  using Bytes = std::vector<unsigned char>;

  /// Bits without a pattern, the same in every run.
  static std::uint64_t AnyPixel(int x, int y, int sample);

  TiffBuilder& Size(int width, int height);
  TiffBuilder& Strips(int rows);
  TiffBuilder& Tiles(int width, int height);
  TiffBuilder& Bits(int bits);
  TiffBuilder& Format(int format);
  TiffBuilder& Samples(int samples);
  /// Each sample has a plane of its own.
  TiffBuilder& Planar();
  TiffBuilder& Photometric(int photometric);
  /// All red components, then the green, then the blue ones; 2 to the power of the bits each.
  TiffBuilder& ColourMap(std::vector<std::uint16_t> components);
  /// The order MM.
  TiffBuilder& BigEndian();
  TiffBuilder& BigTiff();
  /// Fill order 2: the lowest bit of a byte comes first.
  TiffBuilder& LowBitFirst();
  TiffBuilder& Pixel(PixelFunction pixel);

  /// The number that the tag states; `Build` lays the blocks uncompressed all the same.
  TiffBuilder& Compression(int compression);
  /// 2 or 3, for `Encode` of LZW and Deflate.
  TiffBuilder& Predictor(int predictor);

  /// A block that the file leaves out: offset and byte count are 0.
  TiffBuilder& Sparse(int block);
  /// Other bytes in the file in place of a block's own.
  TiffBuilder& Block(int block, Bytes bytes);
  /// Only so many entries in the table of byte counts.
  TiffBuilder& ByteCounts(int count);
  /// Sizes in the tags that the blocks don't have.
  TiffBuilder& Claim(std::uint32_t width, std::uint32_t height);
  /// A tag more, or in place of the one that would be written. Reals and rationals are given by their bits, a rational
  /// as numerator and denominator.
  TiffBuilder& Tag(int number, int type, std::vector<std::uint64_t> values);
  TiffBuilder& Reals(int number, const std::vector<double>& values);
  TiffBuilder& Text(int number, const std::string& text);
  TiffBuilder& Without(int tag);
  /// One directory more, laid like this file's; `Build` only.
  TiffBuilder& Next(const TiffBuilder& directory);

  Bytes Build() const;
  /// The file as libtiff writes it. JPEG of photometric 6 is given red, green and blue.
  Bytes Encode() const;

  /// The sample as the file holds it, its bits beyond the width cleared.
  std::uint64_t ValueAt(int x, int y, int sample) const;
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  int GetBlockWidth() const { return tileWidth_ ? tileWidth_ : width_; }
  int GetBlockHeight() const;
  int GetBits() const { return bits_; }
  int GetSamples() const { return samples_; }
  int GetCompression() const { return compression_; }

 private:
  struct Entry {
    int type = 0;
    std::vector<std::uint64_t> values;
  };
  class Writer;

  int BlocksAcross() const { return (width_ + GetBlockWidth() - 1) / GetBlockWidth(); }
  int BlocksDown() const { return (height_ + GetBlockHeight() - 1) / GetBlockHeight(); }
  int NumBlocks() const { return BlocksAcross() * BlocksDown() * (isPlanar_ ? samples_ : 1); }
  bool LiesInWords() const;
  int NumWords() const;
  void AppendSample(Bytes& bytes, int& bitsUsed, int x, int y, int sample, bool bigEndian) const;
  Bytes PackBlock(int block, bool bigEndian) const;
  Bytes BytesOfBlock(int block) const;
  std::map<int, Entry> MakeEntries() const;
  void SetTags(tiff* tiff) const;
  void EncodeBlock(tiff* tiff, int block) const;

  int width_ = 7;
  int height_ = 5;
  int rowsPerStrip_ = 0;
  int tileWidth_ = 0;
  int tileHeight_ = 0;
  int bits_ = 8;
  int format_ = 1;
  int samples_ = 1;
  int photometric_ = 1;
  int compression_ = 1;
  int predictor_ = 1;
  bool isPlanar_ = false;
  bool isBigEndian_ = false;
  bool isBigTiff_ = false;
  bool isLowBitFirst_ = false;
  int numByteCounts_ = -1;
  std::vector<std::uint16_t> colourMap_;
  std::map<int, Bytes> blocks_;
  std::map<int, Entry> extra_;
  std::vector<int> without_;
  std::vector<TiffBuilder> directories_;
  PixelFunction pixel_ = AnyPixel;
};
