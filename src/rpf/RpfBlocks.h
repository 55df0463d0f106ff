#pragma once

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

/// The numbers of a record one after the other, in the byte order of the file. The record must be long enough.
class RpfFields {
 public:
  RpfFields(RpfBlocks::Bytes bytes, bool littleEndian) : bytes_(bytes), littleEndian_(littleEndian) {}

  std::int32_t U8() { return Next(1); }
  std::int32_t U16() { return Next(2); }
  std::int32_t U32() { return Next(4); }
  double F64();
  /// Copies a text of `Size` - 1 characters and ends it with a zero.
  template <std::size_t Size>
  void Text(char (&target)[Size]) {
    TakeText(target, Size - 1);
    target[Size - 1] = '\0';
  }

 private:
  std::int32_t Next(int width);
  void TakeText(char* target, std::size_t length);

  RpfBlocks::Bytes bytes_;
  bool littleEndian_;
};

}  // namespace zrk
