#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

/// A bitmap of one of the kinds that suites of test images have, built byte by byte from a picture that is made of its
/// positions. The colours of each position are told beside the file, worked out from the picture and not from the
/// bytes.
struct BmpKind {
  enum Coding { kNone = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kAlphaBitFields = 6 };

  const char* name;
  int headerBytes = 40;
  int bits = 24;
  int compression = kNone;
  /// Red, green, blue and opacity of pixels of 16 and 32 bits, also where the header says nothing of them.
  std::array<std::uint32_t, 4> masks{};
  int numColours = 0;      ///< that are used, of indexed pixels
  int writtenColours = 0;  ///< entries behind the header, used or not
  int clrUsed = 0;         ///< as the header says
  int gap = 0;             ///< bytes between the last entry and the pixels
  bool isTopDown = false;
  bool skipsColour0 = false;  ///< by steps, in run-length codes
  int width = 127;
  int height = 64;

  std::vector<unsigned char> Build() const;
  /// 0 to 255; channel 3 is opacity.
  int ColourAt(int channel, int x, int y) const;
  int NumChannels() const { return masks[3] != 0 ? 4 : 3; }
  std::int64_t RowBytes() const { return (std::int64_t{width} * bits + 31) / 32 * 4; }
  /// Where the pixels begin.
  int PixelOffset() const;

 private:
  int IndexAt(int x, int y) const;
  std::uint32_t PixelAt(int x, int y) const;
  void WriteHeader(std::vector<unsigned char>& bytes) const;
  void WriteRow(int y, std::vector<unsigned char>& bytes) const;
  void WriteRunLengths(std::vector<unsigned char>& bytes) const;
  void WriteRunLengths(int y, std::vector<unsigned char>& bytes) const;
};

std::ostream& operator<<(std::ostream& stream, const BmpKind& kind);

/// The good kinds of the usual suites, by their usual names, and further ones.
std::vector<BmpKind> GoodBmpKinds();
