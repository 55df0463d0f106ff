#pragma once

#include <span>
#include <string>
#include <vector>

namespace zrk {

/// Which record of a cell has the heights of each column, by what the records themselves say.
class DtedColumns {
 public:
  static constexpr int kAbsent = -1;  ///< the cell has no such column, so its heights are unknown

  explicit DtedColumns(int numColumns) : records_(static_cast<std::size_t>(numColumns), kNotTold) {}

  /// Takes the next record as it stands in the file, from its first byte to its checksum.
  void Take(std::span<const unsigned char> record);
  /// To be called behind the last record. `isCut` tells that the file ends within one, or was not read to its end.
  void Finish(bool isCut);

  /// The number of the record, from 0 on, or `kAbsent`; below that for a column that can't be read.
  int RecordOf(int column) const { return records_[static_cast<std::size_t>(column)]; }
  /// Why a column can't be read.
  static std::string TellReason(int column, int record);

 private:
  static constexpr int kNotTold = -2, kDamaged = -3, kBehindEnd = -4;

  bool IsSound(std::span<const unsigned char> record) const;

  std::vector<int> records_;
  int numTaken_ = 0;
  int numDamaged_ = 0;
};

}  // namespace zrk
