#pragma once

#include "XString.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zrk {

/// Where a segment lies in the file: its header, and its data behind that.
struct NitfSegment {
  std::int64_t offset = 0;
  std::int64_t headerBytes = 0;
  std::int64_t dataBytes = 0;
  std::int64_t DataOffset() const { return offset + headerBytes; }
};

/// The header of a NITF or NSIF file.
struct NitfHeader {
  XString version;         ///< as "NITF02.10"
  XString title;           ///< without the blanks behind it
  XString classification;  ///< one letter: U, R, C, S or T
  std::vector<NitfSegment> images;
  int numGraphics = 0;
  int numLabels = 0;
  int numTexts = 0;
  int numExtensions = 0;  ///< data extension segments
  int numReserved = 0;    ///< reserved extension segments

  /// Versions before 02.10 have other fields for security, and letters of their own for coordinates.
  bool IsOld() const;
};

/// The header of an image segment, up to the layout of its blocks.
struct NitfImage {
  XString id;
  XString title;
  XString classification;
  XString kind;            ///< of samples, as "INT" or "SI"
  XString representation;  ///< as "RGB/LUT"
  XString category;        ///< as "VIS"
  XString compression;     ///< as "NC" or "C8"
  XString rate;            ///< the field COMRAT; empty for images without compression
  char mode = ' ';         ///< how bands are interleaved: B, P, R or S
  char coordinates = ' ';  ///< what the corners are told in: a blank, or G, C, D, U, N, S
  XString corners;         ///< the field IGEOLO
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::int64_t numBands = 0;
  std::int64_t blocksAcross = 0;
  std::int64_t blocksDown = 0;
  std::int64_t blockWidth = 0;  ///< that of the image where the field is 0
  std::int64_t blockHeight = 0;
  int numBits = 0;  ///< of a sample as it is stored
};

/// Whether a file begins as NITF and NSIF files do.
bool BeginsAsNitf(std::span<const unsigned char> head);

/// The number of image segments, by the first bytes of a file. Empty where these don't tell it.
std::optional<int> CountNitfImages(std::span<const unsigned char> head);

/// The bytes of the file header, by the first bytes of a file. Empty where these don't tell them.
std::optional<std::int64_t> CountNitfHeaderBytes(std::span<const unsigned char> head);

/// Parses the header of a file from its first bytes. False where the bytes are cut short or are no such header.
bool ParseNitfHeader(std::span<const unsigned char> bytes, NitfHeader& header);

/// Parses the header of an image segment of such a file. False where the bytes are cut short or are no such header.
bool ParseNitfImage(std::span<const unsigned char> bytes, const NitfHeader& header, NitfImage& image);

/// The corners of an image as they are told in degrees: upper left, upper right, lower right, lower left, each as
/// longitude and latitude. They are the centres of pixels. Empty where they are told otherwise or not at all.
std::optional<std::array<double, 8>> ParseNitfCorners(const NitfImage& image);

}  // namespace zrk
