#pragma once

#include <vector>

/// A codestream as OpenJPEG decodes it as a whole.
struct ReferenceJ2k {
  struct Plane {
    int left = 0;  ///< on the component's grid at the level
    int top = 0;
    int width = 0;
    int height = 0;
    int dx = 1;
    int dy = 1;
    std::vector<int> samples;

    /// The sample at a place of the component's grid. Places outside have the sample next to them.
    int At(long x, long y) const;
  };
  std::vector<Plane> planes;  ///< by component; empty where OpenJPEG fails
};

/// Decodes the first codestream among the bytes of a file.
ReferenceJ2k DecodeWithOpenJpeg(const std::vector<unsigned char>& file, int level);
