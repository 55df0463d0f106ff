#pragma once

#include "base/NewFile.h"
#include "tagTxiInfo.h"
#include "XString.h"

#include <span>
#include <vector>

namespace zrk {

/// A store in the making: its data file and its index, which take their names together.
class TxidOutput {
 public:
  /// False with the reason in `err` where one of the files can't be made.
  bool Begin(const XString& base, XString& err);
  /// Appends a tile.
  bool Add(std::int32_t key, std::span<const unsigned char> packed, XString& err);
  /// Writes the index and gives both files their names. The old files stay where that fails.
  bool Publish(const tagTxiInfo& info, XString& err);

 private:
  bool WriteIndex(const tagTxiInfo& info, XString& err);

  XString base_;
  NewFile data_;
  NewFile index_;
  std::int64_t numBytes_ = 0;  // of data
  std::vector<unsigned char> records_;
};

}  // namespace zrk
