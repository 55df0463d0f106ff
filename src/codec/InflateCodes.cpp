// Prefix codes of Deflate as tables for the unpacker. A code is given by the lengths of its symbols alone. `PrefixCode`
// works out the codes and puts the symbols in the order of their lengths.
//
// `InflateCodes` then fills two tables that are indexed by the next bits of the stream. An entry of the first table is
// a literal, the end of the block, a length, or a length together with the code of its offset where both fit into the
// index. Codes that are longer than the index are searched by their length (`Find`, `FindOffset`). Damaged lengths are
// refused before any table is filled.

#include "codec/InflateCodes.h"

#include <algorithm>
#include <bit>

namespace zrk {
namespace {

constexpr int kEndSymbol = 256, kFirstLength = 257, kNumLengths = 29, kNumOffsets = 30;

constexpr std::array<std::uint16_t, kNumLengths> kLengths = {
    3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 17, 19, 23, 27, 31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};

/// The bits behind a length's code, which are added to the length.
int CountLengthBits(int index) {
  return index < 8 || index == kNumLengths - 1 ? 0 : index / 4 - 1;
}

std::uint32_t Reverse(std::uint32_t code, int numBits) {
  code = (code & 0x5555) << 1 | (code >> 1 & 0x5555);
  code = (code & 0x3333) << 2 | (code >> 2 & 0x3333);
  code = (code & 0x0f0f) << 4 | (code >> 4 & 0x0f0f);
  code = (code & 0x00ff) << 8 | (code >> 8 & 0x00ff);
  return code >> (16 - numBits);
}

/// One is added to a code whose first bit is the lowest. The last code of all is followed by 0. A longer code that
/// follows has zeros behind, which are above.
std::uint32_t FindNextCode(std::uint32_t code, int numBits) {
  const std::uint32_t zeros = ~code & ((1u << numBits) - 1);
  if (zeros == 0) return 0;
  const std::uint32_t top = std::bit_floor(zeros);
  return (code & (top - 1)) | top;
}

/// Fills a table where its index begins with the given bits.
template <std::size_t kSize>
void Fill(std::array<InflateStep, kSize>& table, std::uint32_t bits, int numBits, InflateStep step) {
  for (std::size_t i = bits; i < kSize; i += std::size_t{1} << numBits) table[i] = step;
}

}  // namespace

bool PrefixCode::Assign(std::span<const std::uint8_t> lengths, bool mayBePartial) {
  std::array<std::uint16_t, kMaxBits + 1> counts{};
  for (const std::uint8_t length : lengths) ++counts[length];
  numSymbols_ = static_cast<int>(lengths.size()) - counts[0];
  counts[0] = 0;
  std::array<std::uint16_t, kMaxBits + 2> codes{}, places{};
  int numLeft = 1;
  for (std::size_t i = 1; i <= kMaxBits; ++i) {
    numLeft = 2 * numLeft - counts[i];
    if (numLeft < 0) return false;
    ends_[i] = (codes[i] + counts[i]) << (kMaxBits - i);
    places_[i] = places[i] - codes[i];
    codes[i + 1] = static_cast<std::uint16_t>((codes[i] + counts[i]) << 1);
    places[i + 1] = static_cast<std::uint16_t>(places[i] + counts[i]);
  }
  const bool isPartial = numLeft > 0;
  if (isPartial && !(mayBePartial && (numSymbols_ == 0 || (numSymbols_ == 1 && counts[1] == 1)))) return false;
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    lengths_[i] = lengths[i];
    if (lengths[i] > 0) symbols_[places[lengths[i]]++] = static_cast<std::uint16_t>(i);
  }
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(numSymbols_); ++i) {
    codes_[symbols_[i]] = static_cast<std::uint16_t>(code);
    code = FindNextCode(code, lengths_[symbols_[i]]);
  }
  return true;
}

int PrefixCode::Find(std::uint64_t bits, int likelyLength) const {
  const std::int32_t code = static_cast<std::int32_t>(Reverse(static_cast<std::uint32_t>(bits & 0x7fff), kMaxBits));
  const bool isShorter = code < ends_[static_cast<std::size_t>(likelyLength - 1)];
  for (int i = isShorter ? 1 : likelyLength; i <= kMaxBits; ++i) {
    const auto length = static_cast<std::size_t>(i);
    if (code < ends_[length]) return symbols_[static_cast<std::size_t>((code >> (kMaxBits - i)) + places_[length])];
  }
  return -1;
}

bool InflateCodes::Make(std::span<const std::uint8_t> symbols, std::span<const std::uint8_t> offsets) {
  if (!symbols_.Assign(symbols, true) || !offsets_.Assign(offsets, true)) return false;
  steps_.fill(InflateStep::OfLong());
  offsetSteps_.fill(InflateStep::OfLong());
  for (int i = 0; i < offsets_.CountSymbols(); ++i) {
    const int symbol = offsets_.SymbolAt(i), numBits = offsets_.LengthOf(symbol);
    if (numBits <= kOffsetBits && symbol < kNumOffsets)
      Fill(offsetSteps_, offsets_.BitsOf(symbol), numBits, InflateStep::OfMatch(numBits, 3, symbol));
  }
  for (int i = 0; i < symbols_.CountSymbols(); ++i) {
    const int symbol = symbols_.SymbolAt(i), numBits = symbols_.LengthOf(symbol);
    if (numBits > kStepBits) break;
    if (symbol < kEndSymbol) AddLiteral(symbol);
    if (symbol == kEndSymbol) Fill(steps_, symbols_.BitsOf(symbol), numBits, InflateStep::OfEnd(numBits));
    if (symbol > kEndSymbol) AddLength(symbol);
  }
  return true;
}

void InflateCodes::AddLiteral(int symbol) {
  const int numBits = symbols_.LengthOf(symbol);
  Fill(steps_, symbols_.BitsOf(symbol), numBits, InflateStep::OfLiteral(numBits, symbol));
}

void InflateCodes::AddLength(int symbol) {
  const int index = symbol - kFirstLength;
  if (index >= kNumLengths) return;
  const int codeBits = symbols_.LengthOf(symbol), numBits = codeBits + CountLengthBits(index);
  if (numBits > kStepBits) return;
  for (std::uint32_t more = 0; more < 1u << CountLengthBits(index); ++more) {
    const std::uint32_t bits = symbols_.BitsOf(symbol) | more << codeBits;
    const int length = kLengths[static_cast<std::size_t>(index)] + static_cast<int>(more);
    Fill(steps_, bits, numBits, InflateStep::OfLength(numBits, length));
    for (int i = 0; i < offsets_.CountSymbols(); ++i) {
      const int offset = offsets_.SymbolAt(i), allBits = numBits + offsets_.LengthOf(offset);
      if (allBits > kStepBits) break;
      if (offset < kNumOffsets)
        Fill(steps_, bits | offsets_.BitsOf(offset) << numBits, allBits, InflateStep::OfMatch(allBits, length, offset));
    }
  }
}

InflateStep InflateCodes::Find(std::uint64_t bits) const {
  const int symbol = symbols_.Find(bits, kStepBits + 1);
  if (symbol < 0) return InflateStep::OfLong();
  const int numBits = symbols_.LengthOf(symbol);
  if (symbol < kEndSymbol) return InflateStep::OfLiteral(numBits, symbol);
  if (symbol == kEndSymbol) return InflateStep::OfEnd(numBits);
  const int index = symbol - kFirstLength;
  if (index >= kNumLengths) return InflateStep::OfLong();
  const int more = static_cast<int>(bits >> numBits & ((1u << CountLengthBits(index)) - 1));
  return InflateStep::OfLength(numBits + CountLengthBits(index), kLengths[static_cast<std::size_t>(index)] + more);
}

InflateStep InflateCodes::FindOffset(std::uint64_t bits) const {
  const int symbol = offsets_.Find(bits, kOffsetBits + 1);
  if (symbol < 0 || symbol >= kNumOffsets) return InflateStep::OfLong();
  return InflateStep::OfMatch(offsets_.LengthOf(symbol), 3, symbol);
}

}  // namespace zrk
