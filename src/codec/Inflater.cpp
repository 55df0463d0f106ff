// Deflate data are blocks one behind the other. A block is stored as it is, or packed by two prefix codes: one of
// literal bytes, lengths and the block's end, and one of the offsets that follow lengths. The codes are fixed, or stand
// at the block's head. zlib's frame has two bytes before the first block and a checksum behind the last.

#include "codec/Inflater.h"

#include "codec/InflateBlock.h"
#include "math/Adler32.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zrk {
namespace {

constexpr std::size_t kMaxSymbols = 288, kMaxOffsets = 32;

InflateOutcome CopyStored(InflateSource& in, InflateTarget& out) {
  if (!in.AlignToByte()) return InflateOutcome::kDamaged;
  const std::uint32_t size = in.Take(16), check = in.Take(16);
  if (!in.HasEnough() || (size ^ check) != 0xffff || !in.AlignToByte() || in.CountBytes() < size)
    return InflateOutcome::kDamaged;
  if (out.CountLeft() < size) return InflateOutcome::kTooLong;
  std::memcpy(out.next, in.next, size);
  in.next += size;
  out.next += size;
  return InflateOutcome::kBlockEnd;
}

/// The code that lengths of codes are packed by. Its own codes have seven bits at most.
class LengthCode {
 public:
  bool Read(InflateSource& in, std::size_t count) {
    constexpr std::array<std::uint8_t, 19> kOrder = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    std::array<std::uint8_t, kOrder.size()> lengths{};
    for (std::size_t i = 0; i < count; ++i) lengths[kOrder[i]] = static_cast<std::uint8_t>(in.Take(3));
    if (!code_.Assign(lengths, false)) return false;
    for (int i = 0; i < code_.CountSymbols(); ++i) {
      const int symbol = code_.SymbolAt(i);
      for (std::size_t k = code_.BitsOf(symbol); k < table_.size(); k += std::size_t{1} << code_.LengthOf(symbol))
        table_[k] = static_cast<std::uint8_t>(symbol);
    }
    return true;
  }
  std::uint32_t Take(InflateSource& in) const {
    in.Fill();
    const std::uint8_t symbol = table_[in.bits % table_.size()];
    in.Skip(static_cast<std::uint32_t>(code_.LengthOf(symbol)));
    return symbol;
  }

 private:
  PrefixCode code_;
  std::array<std::uint8_t, 128> table_{};
};

/// Symbols above 15 repeat a length.
bool ReadCodes(InflateSource& in, InflateCodes& codes) {
  const std::size_t numSymbols = in.Take(5) + 257, numOffsets = in.Take(5) + 1, numLengths = in.Take(4) + 4;
  LengthCode code;
  if (numSymbols > kMaxSymbols || !code.Read(in, numLengths)) return false;
  std::array<std::uint8_t, kMaxSymbols + kMaxOffsets> lengths{};
  const std::size_t numAll = numSymbols + numOffsets;
  for (std::size_t i = 0; i < numAll;) {
    const std::uint32_t symbol = code.Take(in);
    if (symbol < 16) {
      lengths[i++] = static_cast<std::uint8_t>(symbol);
      continue;
    }
    if (!in.HasEnough() || (symbol == 16 && i == 0)) return false;
    const std::uint8_t repeated = symbol == 16 ? lengths[i - 1] : 0;
    const std::size_t count = symbol == 16 ? in.Take(2) + 3 : symbol == 17 ? in.Take(3) + 3 : in.Take(7) + 11;
    if (count > numAll - i) return false;
    std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(i), count, repeated);
    i += count;
  }
  const std::span<const std::uint8_t> all(lengths);
  return in.HasEnough() && codes.Make(all.first(numSymbols), all.subspan(numSymbols, numOffsets));
}

void MakeFixed(InflateCodes& codes) {
  std::array<std::uint8_t, kMaxSymbols> symbols;
  std::array<std::uint8_t, kMaxOffsets> offsets;
  for (std::size_t i = 0; i < kMaxSymbols; ++i) symbols[i] = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
  offsets.fill(5);
  codes.Make(symbols, offsets);
}

/// Method 8, a window of at most 32 KB, no dictionary, and a check of these.
bool HasHead(std::span<const unsigned char> packed) {
  constexpr int kMethod = 8, kMaxWindow = 7, kDictionary = 32;
  return packed.size() >= 2 && (packed[0] & 15) == kMethod && packed[0] >> 4 <= kMaxWindow &&
         !(packed[1] & kDictionary) && (packed[0] << 8 | packed[1]) % 31 == 0;
}

/// The checksum stands with its highest byte first.
bool HasChecksum(InflateSource& in, std::span<const unsigned char> bytes) {
  if (!in.AlignToByte() || in.CountBytes() < 4) return false;
  std::uint32_t checksum = 0;
  for (int i = 0; i < 4; ++i) checksum = checksum << 8 | in.next[i];
  return Adler32(bytes) == checksum;
}

}  // namespace

Inflater::Result Inflater::Decode(std::span<const unsigned char> packed, std::span<unsigned char> bytes,
                                  Counts& counts) {
  if (!HasHead(packed)) return Result::kDamaged;
  InflateSource in{packed.data() + 2, packed.data() + packed.size()};
  InflateTarget out{bytes.data(), bytes.data(), bytes.data() + bytes.size()};
  for (bool isLast = false; !isLast;) {
    isLast = in.Take(1);
    const InflateOutcome outcome = DecodeBlock(in, out);
    if (outcome == InflateOutcome::kTooLong) return Result::kTooLong;
    if (outcome != InflateOutcome::kBlockEnd || !in.HasEnough()) return Result::kDamaged;
  }
  counts = {out.CountDone(), out.numLiterals};
  return HasChecksum(in, bytes.first(counts.bytes)) ? Result::kDone : Result::kDamaged;
}

InflateOutcome Inflater::DecodeBlock(InflateSource& in, InflateTarget& out) {
  enum Kind { kStored, kFixed, kOwn };
  const std::uint32_t kind = in.Take(2);
  if (kind == kStored) return CopyStored(in, out);
  if (kind > kOwn) return InflateOutcome::kDamaged;
  if (kind == kFixed && !areFixed_) MakeFixed(codes_);
  areFixed_ = kind == kFixed;
  if (kind == kOwn && !ReadCodes(in, codes_)) return InflateOutcome::kDamaged;
  return InflateBlock(codes_, in, out);
}

}  // namespace zrk
