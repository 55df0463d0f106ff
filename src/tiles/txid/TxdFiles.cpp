#include "tiles/txid/TxdFiles.h"

#include <algorithm>

namespace zrk {
namespace {

/// More than a program may have open.
constexpr int kMaxFiles = 4096;

XString NumberedName(const XString& base, int number) {
  XString name;
  name.Format("%s_%d.txd", base.GetText(), number);
  return name;
}

}  // namespace

bool TxdFiles::Add(const XString& path) {
  auto file = std::make_unique<XFile>();
  if (!file->Open(path, XFile::kRead | XFile::kShareDenyNone)) return false;
  const auto length = static_cast<std::uint64_t>(std::max<std::int64_t>(file->GetLength(), 0));
  parts_.push_back({std::move(file), length, (parts_.empty() ? 0 : parts_.back().end) + length});
  return true;
}

/// Readers under the compatible policy know no second file: each pass opens the first one again, until its lengths
/// reach the greatest offset. One handle serves all passes, and their number is computed. A file without bytes ends
/// them.
void TxdFiles::Open(const XString& base, std::uint64_t greatestOffset, bool isExact) {
  parts_.clear();
  numPasses_ = 1;
  if (Add(base + ".txd")) return;
  if (isExact) {
    while (CountFiles() < kMaxFiles && Add(NumberedName(base, CountFiles()))) {
    }
  } else if (greatestOffset > 0 && Add(NumberedName(base, 0)) && parts_[0].length > 0) {
    numPasses_ = (greatestOffset - 1) / parts_[0].length + 1;
  }
}

std::optional<TxdFiles::Place> TxdFiles::Find(std::uint64_t offset) const {
  if (parts_.empty()) return std::nullopt;
  if (numPasses_ > 1) {
    const Part& only = parts_[0];
    if (offset / only.length >= numPasses_) return std::nullopt;
    return Place{only.file.get(), static_cast<std::int64_t>(offset % only.length)};
  }
  const auto part = std::ranges::upper_bound(parts_, offset, {}, &Part::end);
  if (part == parts_.end()) return std::nullopt;
  return Place{part->file.get(), static_cast<std::int64_t>(offset - (part->end - part->length))};
}

/// A file that has grown is asked for its length once more, and all others go by the length that they had.
bool TxdFiles::Holds(const Place& place, std::int64_t numBytes) const {
  const auto part = std::ranges::find_if(parts_, [&](const Part& each) { return each.file.get() == place.file; });
  const std::int64_t end = place.offset + numBytes;
  return end <= static_cast<std::int64_t>(part->length) || end <= place.file->GetLength();
}

std::int64_t TxdFiles::CountBytes() const {
  return parts_.empty() ? 0 : static_cast<std::int64_t>(parts_.back().end);
}

}  // namespace zrk
