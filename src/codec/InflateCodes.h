#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zrk {

/// A prefix code of Deflate. The lengths of the symbols' codes say all of it.
class PrefixCode {
 public:
  static constexpr int kMaxBits = 15, kMaxSymbols = 288;

  /// A length of 0 leaves a symbol out. False where the lengths give two symbols one code, or leave codes unused; a
  /// code that may be partial can have one symbol of one bit, or none.
  bool Assign(std::span<const std::uint8_t> lengths, bool mayBePartial);

  int CountSymbols() const { return numSymbols_; }
  /// The symbols that have codes, the shortest codes first.
  int SymbolAt(int index) const { return symbols_[static_cast<std::size_t>(index)]; }
  /// The bits of a symbol's code as the stream has them, the first one lowest.
  std::uint32_t BitsOf(int symbol) const { return codes_[static_cast<std::size_t>(symbol)]; }
  int LengthOf(int symbol) const { return lengths_[static_cast<std::size_t>(symbol)]; }
  /// The symbol that the bits begin with, or -1. It is found soonest where its code is of
  /// `likelyLength` bits, and late where it is shorter.
  int Find(std::uint64_t bits, int likelyLength) const;

 private:
  // By length: where the codes end, written as codes of the most bits, and the place of a symbol less its code.
  std::array<std::int32_t, kMaxBits + 1> ends_{}, places_{};
  std::array<std::uint16_t, kMaxSymbols> symbols_{}, codes_{};
  std::array<std::uint8_t, kMaxSymbols> lengths_{};
  int numSymbols_ = 0;
};

/// What the next bits of a block say, in one word. Its fields lie where a processor gets at them by one instruction.
class InflateStep {
 public:
  enum Kind : std::uint32_t { kLiteral, kLength, kEnd, kLong };

  constexpr InflateStep() = default;
  static constexpr InflateStep OfLiteral(int numBits, int literal) { return Of(kLiteral, numBits, literal); }
  static constexpr InflateStep OfEnd(int numBits) { return Of(kEnd, numBits, 0); }
  /// A length whose offset is to be looked up behind it.
  static constexpr InflateStep OfLength(int numBits, int length) { return Of(kLength, numBits, length); }
  /// What is too long for the table.
  static constexpr InflateStep OfLong() { return Of(kLong, 0, 0); }
  /// A length and the symbol of its offset, whose own bits lie behind `numBits`.
  static constexpr InflateStep OfMatch(int numBits, int length, int offsetSymbol) {
    const int extra = offsetSymbol < 4 ? 0 : offsetSymbol / 2 - 1;
    const int base = offsetSymbol < 4 ? offsetSymbol : (2 + offsetSymbol % 2) << extra;
    return InflateStep(Word(base + 1) << 32 | Word(length) << 16 | Word(numBits) << 8 | Word(numBits + extra));
  }

  bool IsMatch() const { return !(word_ >> 63); }
  bool IsLiteral() const { return word_ >> 62 == 3; }
  /// For a step that is not a match.
  Kind GetKind() const { return static_cast<Kind>(word_ >> 32 & 3); }
  /// The bits that it takes, with those of the offset.
  std::uint32_t CountBits() const { return word_ & 0xff; }
  unsigned char GetLiteral() const { return static_cast<unsigned char>(word_ >> 16); }
  std::size_t GetLength() const { return word_ >> 16 & 0xffff; }
  /// Of a match, by the bits that it begins with.
  std::size_t GetOffset(std::uint64_t bits) const {
    const std::uint64_t own = bits & ((std::uint64_t{1} << (word_ & 0xff)) - 1);
    return (word_ >> 32) + (own >> (word_ >> 8 & 0x3f));
  }

 private:
  static constexpr std::uint64_t Word(int value) { return static_cast<std::uint64_t>(value); }
  static constexpr InflateStep Of(Kind kind, int numBits, int value) {
    return InflateStep(std::uint64_t{1} << 63 | std::uint64_t{kind == kLiteral} << 62 | std::uint64_t{kind} << 32 |
                       Word(value) << 16 | Word(numBits));
  }
  constexpr explicit InflateStep(std::uint64_t word) : word_(word) {}

  std::uint64_t word_ = 0;
};

/// The codes of a block, in tables.
class InflateCodes {
 public:
  static constexpr int kStepBits = 10, kOffsetBits = 8;

  /// Takes the lengths of the codes: first those of literals and lengths, then those of offsets. False where they make
  /// no codes.
  bool Make(std::span<const std::uint8_t> symbols, std::span<const std::uint8_t> offsets);

  InflateStep Look(std::uint64_t bits) const { return steps_[bits & ((1u << kStepBits) - 1)]; }
  /// The step of bits for which the table is too short: as `Look`. `kLong` where they have no meaning.
  [[gnu::noinline]] InflateStep Find(std::uint64_t bits) const;
  /// The offset that follows a length, as a match whose length counts for nothing. `kLong` where the bits are none of
  /// its codes.
  InflateStep LookOffset(std::uint64_t bits) const {
    const InflateStep step = offsetSteps_[bits & ((1u << kOffsetBits) - 1)];
    return step.IsMatch() ? step : FindOffset(bits);
  }

 private:
  InflateStep FindOffset(std::uint64_t bits) const;
  void AddLiteral(int symbol);
  void AddLength(int symbol);

  PrefixCode symbols_, offsets_;
  std::array<InflateStep, 1u << kStepBits> steps_;
  std::array<InflateStep, 1u << kOffsetBits> offsetSteps_;
};

}  // namespace zrk
