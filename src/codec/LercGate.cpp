// Follows the structure of a LERC blob to its end without decoding it. LERC's decoder trusts counts and indices that it
// finds in a blob, and would read beyond its memory. The structure is that of version 2.5, as Esri publishes it.
//
// A blob is a header, the least and the largest sample, and then one of three: samples as they are, a Huffman code with
// its table, or blocks of mostly 8 by 8 samples. A block is one of four: samples as they are, nothing where all are 0,
// one number where all are alike, or a least number and a list of what the samples have above it. Such a list, and
// likewise that of the lengths of Huffman codes, gives its numbers in as few bits as they need. It may also list the
// numbers that occur, and then an index for each sample.
//
// The cursor never leaves the blob: whatever would lie beyond it reads as 0 and fails at the end. Of Huffman codes only
// the table of their lengths is followed.

#include "codec/LercGate.h"

#include "base/Cursor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

namespace zrk {
namespace {

constexpr std::string_view kMark = "Lerc2 ";

/// LERC's data types, which it calls by these numbers.
enum Type { kChar, kByte, kShort, kUShort, kInt, kUInt, kFloat, kDouble, kNumTypes };
constexpr std::array<std::size_t, kNumTypes> kTypeBytes = {1, 1, 2, 2, 4, 4, 4, 8};

/// What the header says, as far as it is needed.
struct Head {
  int rows = 0;
  int columns = 0;
  int blockSize = 0;
  int type = 0;
  double maxError = 0.0;
  double least = 0.0;
  double largest = 0.0;
};

bool ReadHead(Cursor& cursor, unsigned version, Head& head) {
  if (!std::ranges::equal(cursor.Bytes(kMark.size()), kMark) || cursor.U32LE() != version) return false;
  cursor.Skip(4);  // checksum
  head.rows = cursor.I32LE();
  head.columns = cursor.I32LE();
  const int depth = cursor.I32LE(), numValid = cursor.I32LE();
  head.blockSize = cursor.I32LE();
  cursor.Skip(4);  // bytes of the blob
  head.type = cursor.I32LE();
  head.maxError = cursor.F64LE();
  head.least = cursor.F64LE();
  head.largest = cursor.F64LE();
  const int maskBytes = cursor.I32LE();
  // Tiles have one band of one value a pixel, and every pixel has a sample. So a blob with a mask is not of our making.
  const bool hasSize = head.rows > 0 && head.columns > 0 && head.blockSize > 0 && head.blockSize <= 32;
  const bool hasRange = head.least <= head.largest;  // no NaN either
  return hasSize && hasRange && depth == 1 && std::int64_t{numValid} == std::int64_t{head.rows} * head.columns &&
         maskBytes == 0 && head.type >= 0 && head.type < kNumTypes && !cursor.HasFailed();
}

/// The type in which a block keeps its least sample. A smaller type than that of the image saves bytes where it holds
/// the number, and `code` says by how much it is smaller. The answer lies outside of the types where a code means
/// nothing.
int TypeOfLeast(int type, int code) {
  switch (type) {
    case kShort:
    case kInt:
      return type - code;
    case kUShort:
    case kUInt:
      return type - 2 * code;
    case kFloat:
      return code == 0 ? type : code == 1 ? kShort : kByte;
    case kDouble:
      return code == 0 ? type : type - 2 * code + 1;
    default:
      return type;
  }
}

std::size_t BytesOf(std::uint64_t count, int bits) {
  return static_cast<std::size_t>((count * static_cast<unsigned>(bits) + 7) / 8);
}

/// Whether all numbers of a list are `most` or less. They have `bits` bits each, at most 8, and begin with the lowest
/// bit of the first byte.
bool AreAllUpTo(unsigned most, std::span<const unsigned char> bytes, std::uint64_t count, int bits) {
  const unsigned mask = (1U << bits) - 1;
  for (std::uint64_t i = 0; i < count; ++i) {
    const auto first = static_cast<std::size_t>(i * static_cast<unsigned>(bits));
    // A number of up to 8 bits lies within two bytes.
    unsigned pair = bytes[first / 8];
    if (first / 8 + 1 < bytes.size()) pair |= static_cast<unsigned>(bytes[first / 8 + 1]) << 8;
    if ((pair >> first % 8 & mask) > most) return false;
  }
  return true;
}

/// Steps over a list of numbers, which must have `count` of them. The list begins with a byte: five bits for the width
/// of a number, one for a list with indices, two for the width of the count.
bool PassNumbers(Cursor& cursor, std::uint64_t count) {
  const unsigned head = cursor.U8();
  const int bits = head & 31;
  const bool isIndexed = head & 32;
  std::uint64_t found = 0;
  if (head >> 6 == 0) found = cursor.U32LE();
  if (head >> 6 == 1) found = cursor.U16LE();
  if (head >> 6 == 2) found = cursor.U8();
  // The decoder takes the list's count and not the block's. They must be the same.
  if (found != count || bits == 0) return false;
  if (!isIndexed) {
    cursor.Skip(BytesOf(count, bits));
    return !cursor.HasFailed();
  }
  // Index 0 stands for the least number, which is not in the list. So an index may be as large as the list is long.
  const int numValues = cursor.U8() - 1;
  if (numValues < 1) return false;
  cursor.Skip(BytesOf(static_cast<unsigned>(numValues), bits));
  const int indexBits = std::bit_width(static_cast<unsigned>(numValues));
  const auto indices = cursor.Bytes(BytesOf(count, indexBits));
  return !cursor.HasFailed() && AreAllUpTo(static_cast<unsigned>(numValues), indices, count, indexBits);
}

bool PassBlock(Cursor& cursor, const Head& head, std::uint64_t numSamples) {
  enum Coding { kPlain, kPacked, kZero, kConstant };
  const unsigned flags = cursor.U8();
  const unsigned coding = flags & 3;
  if (coding == kPlain) cursor.Skip(numSamples * kTypeBytes[static_cast<std::size_t>(head.type)]);
  if (coding == kPlain || coding == kZero) return !cursor.HasFailed();
  const int type = TypeOfLeast(head.type, static_cast<int>(flags >> 6));
  if (type < 0 || type >= kNumTypes) return false;
  cursor.Skip(kTypeBytes[static_cast<std::size_t>(type)]);
  return coding == kConstant ? !cursor.HasFailed() : PassNumbers(cursor, numSamples);
}

bool PassBlocks(Cursor& cursor, const Head& head) {
  for (std::int64_t y = 0; y < head.rows; y += head.blockSize) {
    // Blocks at the right and the lower edge are cut to the image.
    const std::int64_t rows = std::min<std::int64_t>(head.blockSize, head.rows - y);
    for (std::int64_t x = 0; x < head.columns; x += head.blockSize) {
      const std::int64_t columns = std::min<std::int64_t>(head.blockSize, head.columns - x);
      if (!PassBlock(cursor, head, static_cast<std::uint64_t>(rows * columns))) return false;
    }
  }
  return true;
}

bool PassCodeTable(Cursor& cursor) {
  cursor.Skip(8);  // version and size of the table
  const std::int64_t first = cursor.I32LE(), end = cursor.I32LE();
  return first >= 0 && first < end && PassNumbers(cursor, static_cast<std::uint64_t>(end - first));
}

}  // namespace

bool IsSoundLerc(std::span<const unsigned char> blob, unsigned version) {
  Cursor cursor(blob);
  Head head;
  if (!ReadHead(cursor, version, head)) return false;
  // An image of one value has no samples behind the header.
  if (head.least == head.largest) return true;
  const std::size_t sampleBytes = kTypeBytes[static_cast<std::size_t>(head.type)];
  const auto least = cursor.Bytes(sampleBytes), largest = cursor.Bytes(sampleBytes);
  if (std::ranges::equal(least, largest)) return !cursor.HasFailed();
  if (cursor.U8() != 0) return true;  // samples as they are
  const bool hasMode = sampleBytes == 1 && head.maxError == 0.5;
  return hasMode && cursor.U8() != 0 ? PassCodeTable(cursor) : PassBlocks(cursor, head);
}

}  // namespace zrk
