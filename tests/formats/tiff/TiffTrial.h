#pragma once

#include <cstdint>
#include <vector>

// What must hold when the bytes of a file, whatever they are, are opened and read as TIFF.

struct TiffTrial {
  bool isOpen = false;
  int numReads = 0;        ///< that gave pixels
  std::uint64_t sum = 0;   ///< of all pixels that came; equal sums mean equal pixels
  bool hasPixels = false;  ///< other than 0
  friend bool operator==(const TiffTrial&, const TiffTrial&) = default;
};

/// Opens the bytes twice, and each time reads two corners of some bands. Expects that a refusal has a reason, that both
/// times end alike, that an exact load as a third is as well-behaved, that neither takes long, and, where the address
/// sanitizer is there to watch, that no piece of memory was asked for that goes beyond the tables of a header and one
/// block of the image.
TiffTrial TryTiff(const std::vector<unsigned char>& bytes);

/// Where the first directory begins; 0 where that is not in the file.
std::size_t FindTiffDirectory(const std::vector<unsigned char>& bytes);
