#pragma once

#include "tagXVector3f.h"

#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

/// The posts of a tile each way.
struct PostGrid {
  int width;
  int height;
};

/// A tile of an elevation store, whatever type its posts have in the file.
struct ElevationPosts {
  std::vector<float> heights;         ///< row by row, the northern edge first
  std::vector<tagXVector3f> normals;  ///< of each post; empty where the version has none
};

/// Bytes of a tile by the version of its store: words below 1.1, floats from there on, and floats and normals from 2.0
/// on. Returns 0 where a size is below 1, and where 64 bits do not hold the bytes.
std::int64_t CountPostBytes(double version, const PostGrid& grid);

/// Takes the posts out of the bytes of a tile. False where these are fewer than the grid needs.
bool TakePosts(std::span<const unsigned char> bytes, double version, const PostGrid& grid, ElevationPosts& posts);

}  // namespace zrk
