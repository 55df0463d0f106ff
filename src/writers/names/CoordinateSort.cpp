// Sorts record numbers by a coordinate, with a radix sort. Each coordinate becomes a key of 64 bits, so that the keys
// compare as whole numbers in the order of the coordinates. Records are dealt out by 11 bits of the key at a time, from
// the lowest bits to the highest, so that the time grows with the number of records alone. Dealing keeps the order of
// equal keys. Records are taken from the last to the first, so that of equal records the later one comes first.
//
// Existing callers expect the progress of a sort by insertion, one record after the other. The same reports are made
// here. If a report stops the build, the tables must hold what insertion would have made by then: the records up to
// there, in order. These records are then sorted anew, which takes less time than the rest of the build would have.

#include "writers/names/CoordinateSort.h"

#include "base/LargePages.h"
#include "writers/names/InsertionReports.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace zrk {

namespace {

constexpr int kDigitBits = 11;
constexpr std::size_t kDigitValues = std::size_t{1} << kDigitBits;
constexpr int kNumDigits = (64 + kDigitBits - 1) / kDigitBits;
/// How many records are handled between two looks at the reports.
constexpr std::size_t kBlock = 1 << 16;

struct KeyedNumber {
  std::uint64_t key;
  int number;
};

/// Negative numbers compare as their complements do. Adding zero makes the two zeros one.
std::uint64_t KeyOf(double value) {
  constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
  if (std::isnan(value)) return UINT64_MAX;
  const auto bits = std::bit_cast<std::uint64_t>(value + 0.0);
  return bits & kSign ? ~bits : bits | kSign;
}

std::size_t DigitOf(std::uint64_t key, int digit) {
  return key >> (digit * kDigitBits) & (kDigitValues - 1);
}

class KeySort {
 public:
  KeySort(std::span<const tagPName> records, Coordinate coordinate, InsertionReports& reports)
      : records_(records), coordinate_(coordinate), reports_(reports), counts_(kNumDigits) {}

  /// False where the reports stop it.
  bool Run();
  std::span<const KeyedNumber> GetSorted() const { return {from_.get(), records_.size()}; }

 private:
  using Counts = std::array<std::size_t, kDigitValues>;

  bool TakeKeys();
  bool Deal(int digit);
  /// Runs `handle(i)` for all records, and makes the reports that fall due.
  template <class Handle>
  bool ForAll(Handle handle);
  bool IsSameInAll(int digit) const;

  std::span<const tagPName> records_;
  Coordinate coordinate_;
  InsertionReports& reports_;
  std::vector<Counts> counts_;  // of each value of each digit
  std::unique_ptr<KeyedNumber[]> from_, to_;
  int numPasses_ = 0;  // over the records, done so far
};

template <class Handle>
bool KeySort::ForAll(Handle handle) {
  constexpr double kAllPasses = kNumDigits + 1;
  for (std::size_t begin = 0; begin < records_.size(); begin += kBlock) {
    const std::size_t end = std::min(begin + kBlock, records_.size());
    const double shareOfPass = static_cast<double>(begin) / static_cast<double>(records_.size());
    if (!reports_.Reach((numPasses_ + shareOfPass) / kAllPasses)) return false;
    for (std::size_t i = begin; i < end; ++i) handle(i);
  }
  ++numPasses_;
  return true;
}

bool KeySort::TakeKeys() {
  const std::size_t last = records_.size() - 1;
  return ForAll([&](std::size_t i) {
    const std::uint64_t key = KeyOf(records_[last - i].*coordinate_);
    from_[i] = {key, static_cast<int>(last - i)};
    for (int digit = 0; digit < kNumDigits; ++digit) ++counts_[static_cast<std::size_t>(digit)][DigitOf(key, digit)];
  });
}

/// A digit that all keys share orders nothing.
bool KeySort::IsSameInAll(int digit) const {
  return counts_[static_cast<std::size_t>(digit)][DigitOf(from_[0].key, digit)] == records_.size();
}

bool KeySort::Deal(int digit) {
  Counts& places = counts_[static_cast<std::size_t>(digit)];
  std::size_t place = 0;
  for (std::size_t& count : places) place += std::exchange(count, place);
  const bool isDone = ForAll([&](std::size_t i) { to_[places[DigitOf(from_[i].key, digit)]++] = from_[i]; });
  std::swap(from_, to_);
  return isDone;
}

bool KeySort::Run() {
  for (std::unique_ptr<KeyedNumber[]>* const numbers : {&from_, &to_}) {
    *numbers = std::make_unique_for_overwrite<KeyedNumber[]>(records_.size());
    PreferLargePages(numbers->get(), records_.size() * sizeof(KeyedNumber));
  }
  if (!TakeKeys()) return false;
  for (int digit = 0; digit < kNumDigits; ++digit) {
    if (IsSameInAll(digit)) {
      ++numPasses_;
    } else if (!Deal(digit)) {
      return false;
    }
  }
  return reports_.Reach(1.0);
}

/// Stores the numbers from the beginning of the table on.
void StoreSorted(std::span<const KeyedNumber> sorted, XArray<int>& table) {
  std::ranges::transform(sorted, table.begin(), &KeyedNumber::number);
}

}  // namespace

bool SortByCoordinate(std::span<const tagPName> records, Coordinate coordinate, XThread* thread, XArray<int>& table) {
  const int count = static_cast<int>(records.size());
  table.RemoveAll();
  table.SetSize(count);
  if (count == 0) return true;
  InsertionReports reports(count, thread);
  {
    KeySort sort(records, coordinate, reports);
    if (sort.Run()) {
      StoreSorted(sort.GetSorted(), table);
      return true;
    }
  }
  const auto inserted = static_cast<std::size_t>(reports.CountInserted());
  InsertionReports none(reports.CountInserted(), nullptr);
  KeySort sort(records.first(inserted), coordinate, none);
  sort.Run();
  StoreSorted(sort.GetSorted(), table);
  return false;
}

int CompareCoordinates(double added, double there) {
  const std::uint64_t addedKey = KeyOf(added), thereKey = KeyOf(there);
  return addedKey < thereKey ? -1 : addedKey > thereKey ? 1 : 0;
}

}  // namespace zrk
