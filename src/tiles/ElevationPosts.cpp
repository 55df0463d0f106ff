#include "tiles/ElevationPosts.h"

#include "base/Checked.h"

#include <cstring>

namespace zrk {
namespace {

constexpr double kFirstFloatVersion = 1.1, kFirstNormalVersion = 2.0;

std::int64_t CountPosts(const PostGrid& grid) {
  return grid.width < 1 || grid.height < 1 ? 0 : std::int64_t{grid.width} * grid.height;
}

template <class Value>
std::vector<Value> TakeAll(const unsigned char* bytes, std::size_t count) {
  std::vector<Value> values(count);
  std::memcpy(values.data(), bytes, count * sizeof(Value));
  return values;
}

}  // namespace

std::int64_t CountPostBytes(double version, const PostGrid& grid) {
  const int bytesOfPost = version >= kFirstNormalVersion ? 16 : version < kFirstFloatVersion ? 2 : 4;
  return CheckedMultiply(CountPosts(grid), bytesOfPost).value_or(0);
}

bool TakePosts(std::span<const unsigned char> bytes, double version, const PostGrid& grid, ElevationPosts& posts) {
  const std::int64_t needed = CountPostBytes(version, grid);
  if (needed <= 0 || static_cast<std::int64_t>(bytes.size()) < needed) return false;
  const auto count = static_cast<std::size_t>(CountPosts(grid));
  posts = {};
  if (version < kFirstFloatVersion) {
    const auto words = TakeAll<std::int16_t>(bytes.data(), count);
    posts.heights.assign(words.begin(), words.end());
    return true;
  }
  posts.heights = TakeAll<float>(bytes.data(), count);
  if (version >= kFirstNormalVersion) {
    posts.normals = TakeAll<tagXVector3f>(bytes.data() + count * sizeof(float), count);
  }
  return true;
}

}  // namespace zrk
