#pragma once

#include "base/Cursor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class XFile;

namespace zrk {

/// The bytes of an RPF file as the readers of its sections see them: its head in memory, and the file behind the head.
class RpfBlocks {
 public:
  using Bytes = std::span<const unsigned char>;

  /// Either may be null. Both must outlive this object, and the head the blocks that come from it.
  RpfBlocks(const XFile* file, const unsigned char* head, int headBytes)
      : file_(file), head_(head, head && headBytes > 0 ? static_cast<std::size_t>(headBytes) : 0) {}

  bool HasFile() const { return file_ != nullptr; }
  /// The block where it lies wholly in the head, otherwise none.
  Bytes FindInHead(std::int64_t offset, std::int64_t count) const;
  /// What the head has from there on.
  Bytes HeadFrom(std::int64_t offset) const;
  /// The block from the head or else from the file; none where it is not whole, or above `tagXLimits::tableBytes` in
  /// the file. It is valid until the next call.
  Bytes Read(std::int64_t offset, std::int64_t count);
  /// The same, but only the first `kept` bytes of it, which alone are read.
  Bytes ReadPart(std::int64_t offset, std::int64_t count, std::int64_t kept);
  /// Reads from the file alone, as many bytes as it has there; 0 without a file.
  std::int64_t ReadFromFile(std::int64_t offset, std::span<unsigned char> target) const;

 private:
  const XFile* file_;
  Bytes head_;
  std::vector<unsigned char> block_;
};

/// The fields of a record one after the other, in the byte order of the file. What is not there is 0.
class RpfFields {
 public:
  RpfFields(RpfBlocks::Bytes bytes, bool littleEndian)
      : cursor_(bytes, littleEndian ? ByteOrder::kLittle : ByteOrder::kBig) {}

  std::int32_t U8() { return cursor_.U8(); }
  std::int32_t U16() { return cursor_.U16(); }
  std::int32_t U32() { return cursor_.I32(); }
  double F64() { return cursor_.F64(); }
  /// Copies a text of `Size` - 1 characters and ends it with a zero.
  template <std::size_t Size>
  void Text(char (&target)[Size]) {
    std::ranges::fill(target, '\0');
    std::ranges::copy(cursor_.Text(Size - 1), target);
  }

 private:
  Cursor cursor_;
};

}  // namespace zrk
