#pragma once

#include <string>
#include <vector>

/// Builds a small NITF file byte by byte, by the layout of MIL-STD-2500. Sample (x, y) of band k is `Value(x, y, k)`,
/// in the type of the samples; a complex one has that and its negative.
class NitfBuilder {
 public:
  using Bytes = std::vector<unsigned char>;

  NitfBuilder& Size(int width, int height) {
    width_ = width;
    height_ = height;
    return *this;
  }
  NitfBuilder& Bands(int count) {
    numBands_ = count;
    return *this;
  }
  /// The kind of samples as the format has it, as "INT", "SI", "R" or "C", and the bits of one.
  NitfBuilder& Type(const std::string& kind, int bits) {
    kind_ = kind;
    bits_ = bits;
    return *this;
  }
  NitfBuilder& Blocks(int width, int height) {
    blockWidth_ = width;
    blockHeight_ = height;
    return *this;
  }
  /// How bands are interleaved: B by block, P by pixel, R by row, S one band after the other.
  NitfBuilder& Mode(char mode) {
    mode_ = mode;
    return *this;
  }
  /// As "NITF02.00".
  NitfBuilder& Version(const std::string& version) {
    version_ = version;
    return *this;
  }
  /// Both headers get the date of a downgrading event, 40 bytes longer. For old versions only.
  NitfBuilder& Downgraded() {
    isDowngraded_ = true;
    return *this;
  }
  NitfBuilder& Title(const std::string& title) {
    title_ = title;
    return *this;
  }
  /// The letters of the file and of the image.
  NitfBuilder& Classification(char file, char image) {
    classification_ = {file, image};
    return *this;
  }
  /// A letter for the kind and four corners of 15 characters.
  NitfBuilder& Corners(char kind, const std::string& corners) {
    corners_.assign(1, kind).append(corners);
    return *this;
  }
  NitfBuilder& Representation(const std::string& text) {
    representation_ = text;
    return *this;
  }
  /// Three tables of so many entries: i, 2 i and 255 - i, by their low bytes.
  NitfBuilder& Palette(int numEntries) {
    numEntries_ = numEntries;
    return *this;
  }
  /// Blocks that are coded: the two letters of the compression, and what stands in place of the samples.
  NitfBuilder& Coded(const std::string& compression, const Bytes& data) {
    compression_ = compression;
    data_ = data;
    return *this;
  }
  /// Leaves a block out, and names the value of samples without data. For images of bytes of one band.
  NitfBuilder& WithoutBlock(int block, int padValue) {
    missingBlock_ = block;
    padValue_ = padValue;
    compression_ = "NM";
    return *this;
  }
  NitfBuilder& Comments(int count) {
    numComments_ = count;
    return *this;
  }
  /// Further images of one pixel behind the first, and text segments.
  NitfBuilder& FurtherSegments(int images, int texts) {
    numFurtherImages_ = images;
    numTexts_ = texts;
    return *this;
  }

  Bytes Build() const;
  /// Offsets of the headers in the file.
  std::size_t ImageHeaderOffset() const { return MakeHeader({}).size(); }
  std::size_t DataOffset() const { return ImageHeaderOffset() + MakeImageHeader().size(); }

  static int Value(int x, int y, int band) { return (x * 3 + y * 7 + band * 50 + x * y % 5) % 120; }

 private:
  std::string MakeHeader(const std::string& image) const;
  std::string MakeImageHeader() const;
  Bytes MakeData() const;
  void AddSample(int x, int y, int band, Bytes& data) const;
  int CountAcross() const { return (width_ - 1) / BlockWidth() + 1; }
  int CountDown() const { return (height_ - 1) / BlockHeight() + 1; }
  int BlockWidth() const { return blockWidth_ > 0 ? blockWidth_ : width_; }
  int BlockHeight() const { return blockHeight_ > 0 ? blockHeight_ : height_; }

  int width_ = 20, height_ = 15, numBands_ = 1, bits_ = 8, blockWidth_ = 0, blockHeight_ = 0, numEntries_ = 0;
  int numComments_ = 0, numFurtherImages_ = 0, numTexts_ = 0, missingBlock_ = -1, padValue_ = 0;
  char mode_ = 'B';
  bool isDowngraded_ = false;
  std::string kind_ = "INT", version_ = "NITF02.10", title_ = "A title", classification_ = "UU", corners_;
  std::string representation_ = "MONO", compression_ = "NC";
  Bytes data_;
};
