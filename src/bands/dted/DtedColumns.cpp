// A record begins with a mark, a number of its own and the number of its column, and ends with the sum of all bytes
// before. A record whose sum is right is placed by the number of its column.
//
// A cell may have fewer columns than it announces, and its other columns are then unknown. The columns of a file tell
// whether it is such a cell or was cut short. A file that begins with its first column and lacks none up to its last
// one was cut short. Where a record is damaged, nobody can tell whose column it has. All columns that no other record
// has then fail.

#include "bands/dted/DtedColumns.h"

#include "base/Cursor.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace zrk {
namespace {

constexpr std::uint8_t kMark = 0xAA;
constexpr std::size_t kChecksumBytes = 4;

std::size_t ColumnOf(std::span<const unsigned char> record) {
  return Cursor(record.subspan(4)).U16BE();
}

}  // namespace

/// A column that comes twice is as wrong as one that can't be.
bool DtedColumns::IsSound(std::span<const unsigned char> record) const {
  const std::span<const unsigned char> summed = record.first(record.size() - kChecksumBytes);
  const std::uint32_t sum = std::accumulate(summed.begin(), summed.end(), std::uint32_t{0});
  if (record.front() != kMark || Cursor(record.last(kChecksumBytes)).U32BE() != sum) return false;
  const std::size_t column = ColumnOf(record);
  return column < records_.size() && records_[column] == kNotTold;
}

void DtedColumns::Take(std::span<const unsigned char> record) {
  if (IsSound(record)) {
    records_[ColumnOf(record)] = numTaken_;
  } else {
    ++numDamaged_;
  }
  ++numTaken_;
}

void DtedColumns::Finish(bool isCut) {
  const auto isTold = [](int record) { return record >= 0; };
  const auto first = std::ranges::find_if(records_, isTold);
  const auto last = std::find_if(records_.rbegin(), records_.rend(), isTold).base();
  // Those that are behind all others, as far as the file has no record that could be theirs.
  const auto behind = last + std::min<std::ptrdiff_t>(numDamaged_, records_.end() - last);
  const bool isPartial = !isCut && numDamaged_ == 0 && first != records_.end() &&
                         (first != records_.begin() || std::find(first, last, kNotTold) != last);
  std::replace(records_.begin(), behind, kNotTold, numDamaged_ > 0 ? kDamaged : kAbsent);
  std::replace(behind, records_.end(), kNotTold, isPartial ? kAbsent : kBehindEnd);
}

std::string DtedColumns::TellReason(int column, int record) {
  const std::string name = "column " + std::to_string(column) + " of the cell";
  if (record == kBehindEnd) return "The file ends before " + name;
  return "A record is damaged, and it may be that of " + name;
}

}  // namespace zrk
