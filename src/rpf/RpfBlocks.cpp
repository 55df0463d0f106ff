#include "rpf/RpfBlocks.h"

#include "base/Checked.h"
#include "XFile.h"
#include "XLimits.h"

#include <algorithm>

namespace zrk {

RpfBlocks::Bytes RpfBlocks::FindInHead(std::int64_t offset, std::int64_t count) const {
  if (!FitsWithin(offset, count, static_cast<std::int64_t>(head_.size()))) return {};
  return head_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
}

RpfBlocks::Bytes RpfBlocks::HeadFrom(std::int64_t offset) const {
  if (!FitsWithin(offset, 0, static_cast<std::int64_t>(head_.size()))) return {};
  return head_.subspan(static_cast<std::size_t>(offset));
}

RpfBlocks::Bytes RpfBlocks::Read(std::int64_t offset, std::int64_t count) {
  return ReadPart(offset, count, count);
}

/// The length of the file is asked before the block is made room for, because the count comes from the file. As a file
/// may have holes, its length alone is no bound.
RpfBlocks::Bytes RpfBlocks::ReadPart(std::int64_t offset, std::int64_t count, std::int64_t kept) {
  if (kept <= 0 || kept > count) return {};
  const Bytes inHead = FindInHead(offset, count);
  if (!inHead.empty()) return inHead.first(static_cast<std::size_t>(kept));
  if (!file_ || kept > XfnGetLimits().tableBytes || !FitsWithin(offset, count, file_->GetLength())) return {};
  block_.resize(static_cast<std::size_t>(kept));
  return ReadFromFile(offset, block_) == kept ? Bytes(block_) : Bytes();
}

std::int64_t RpfBlocks::ReadFromFile(std::int64_t offset, std::span<unsigned char> target) const {
  if (!file_ || offset < 0) return 0;
  return std::max<std::int64_t>(file_->ReadAt(offset, target.data(), static_cast<std::int64_t>(target.size())), 0);
}

}  // namespace zrk
