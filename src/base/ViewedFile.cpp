#include "base/ViewedFile.h"

#include <algorithm>

namespace zrk {

std::span<const unsigned char> ViewedFile::View(std::int64_t numBytes) const {
  constexpr std::int64_t kLargeRead = 1 << 20;
  if (numBytes >= kLargeRead) return {};
  std::call_once(isMapped_, [this] { map_ = file_->Map(); });
  if (!map_) return {};
  const std::int64_t size = std::clamp<std::int64_t>(file_->Size(), 0, map_->Size());
  return {map_->Data(), static_cast<std::size_t>(size)};
}

}  // namespace zrk
