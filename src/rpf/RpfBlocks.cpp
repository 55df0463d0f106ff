#include "rpf/RpfBlocks.h"

#include "base/Checked.h"
#include "XFile.h"
#include "XLimits.h"

#include <algorithm>

namespace zrk {

/// A block in the head costs neither a copy nor a call of the system, which is why heads are read so large.
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

/// The count comes from the file, and so the length of the file is asked before memory is taken for a block. A file may
/// have holes, so that its length alone is no bound; the limit on tables is one.
RpfBlocks::Bytes RpfBlocks::ReadPart(std::int64_t offset, std::int64_t count, std::int64_t kept) {
  if (kept <= 0 || kept > count) return {};
  const Bytes inHead = FindInHead(offset, count);
  if (!inHead.empty()) return inHead.first(static_cast<std::size_t>(kept));
  if (!file_ || kept > XfnGetLimits().tableBytes || !FitsWithin(offset, count, file_->GetLength())) return {};
  block_.resize(static_cast<std::size_t>(kept));
  return ReadFromFile(offset, block_) == kept ? Bytes(block_) : Bytes();
}

/// A read that fails gives no bytes, like one behind the end of the file.
std::int64_t RpfBlocks::ReadFromFile(std::int64_t offset, std::span<unsigned char> target) const {
  if (!file_ || offset < 0) return 0;
  return std::max<std::int64_t>(file_->ReadAt(offset, target.data(), static_cast<std::int64_t>(target.size())), 0);
}

}  // namespace zrk
