// A turn of the loop looks the next bits up in a table, and mostly finds a length with its offset there: a string to
// repeat. The next bits are looked up before the string is copied, so that the processor does both at once. What the
// table is too short for is searched by the lengths of the codes.
//
// The loop never asks whether a turn has enough bits or enough room: it ends while any turn has. What is left of a
// block then is taken with care.

#include "codec/InflateBlock.h"

#include <array>
#include <cstring>

namespace zrk {
namespace {

constexpr std::size_t kMaxLength = 258, kChunk = 16;

inline void MoveChunk(unsigned char* to, const unsigned char* from) {
  unsigned char chunk[kChunk];
  std::memcpy(chunk, from, kChunk);
  std::memcpy(to, chunk, kChunk);
}

inline void MoveWord(unsigned char* to, const unsigned char* from) {
  std::uint64_t word;
  std::memcpy(&word, from, sizeof word);
  std::memcpy(to, &word, sizeof word);
}

/// A string that overlaps itself closely. The bytes at its beginning are repeated until a word is full.
[[gnu::noinline]] void RepeatClosely(unsigned char* to, std::size_t offset, std::size_t length) {
  constexpr std::array<std::uint64_t, 8> kRepeat = {0,
                                                    0x0101010101010101,
                                                    0x0001000100010001,
                                                    0x0001000001000001,
                                                    0x0000000100000001,
                                                    0x0000010000000001,
                                                    0x0001000000000001,
                                                    0x0100000000000001};
  constexpr std::array<std::uint8_t, 8> kSteps = {0, 8, 8, 6, 8, 5, 6, 7};
  const unsigned char* const end = to + length;
  if (offset >= kRepeat.size()) {
    for (; to < end; to += sizeof(std::uint64_t)) MoveWord(to, to - offset);
    return;
  }
  std::uint64_t word;
  std::memcpy(&word, to - offset, sizeof word);
  word = (word & ((std::uint64_t{1} << 8 * offset) - 1)) * kRepeat[offset];
  for (; to < end; to += kSteps[offset]) std::memcpy(to, &word, sizeof word);
}

/// Up to 16 bytes behind the string are written.
inline void CopyString(unsigned char* to, std::size_t offset, std::size_t length) {
  if (offset < kChunk) [[unlikely]]
    return RepeatClosely(to, offset, length);
  const unsigned char* const from = to - offset;
  MoveChunk(to, from);
  for (std::size_t i = kChunk; i < length; i += kChunk) MoveChunk(to + i, from + i);
}

constexpr std::ptrdiff_t kBytesNeeded = 8, kRoomNeeded = 2 * kMaxLength + 2 * kChunk;

inline bool IsNearEnd(const InflateSource& in, const InflateTarget& out) {
  return in.end - in.next < kBytesNeeded || out.end - out.next < kRoomNeeded;
}

/// Repeats a string. The next step is looked up before bytes are copied, so that the two go on side by side.
[[gnu::always_inline]] inline bool Repeat(const InflateCodes& codes, InflateSource& in, InflateTarget& out,
                                          InflateStep& step, std::size_t length) {
  const std::size_t offset = step.GetOffset(in.bits);
  in.Skip(step.CountBits());
  step = codes.Look(in.bits);
  if (offset > out.CountDone()) return false;
  CopyString(out.next, offset, length);
  out.next += length;
  return true;
}

/// Takes a literal, a length whose offset is looked up apart, or the end of the block.
[[gnu::always_inline]] inline InflateOutcome TakeOther(const InflateCodes& codes, InflateSource& in, InflateTarget& out,
                                                       InflateStep& step) {
  if (step.GetKind() == InflateStep::kLong) step = codes.Find(in.bits);
  in.Skip(step.CountBits());
  if (step.GetKind() == InflateStep::kLiteral) {
    *out.next++ = step.GetLiteral();
    ++out.numLiterals;
    step = codes.Look(in.bits);
    return InflateOutcome::kGoesOn;
  }
  if (step.GetKind() != InflateStep::kLength)
    return step.GetKind() == InflateStep::kEnd ? InflateOutcome::kBlockEnd : InflateOutcome::kDamaged;
  const std::size_t length = step.GetLength();
  step = codes.LookOffset(in.bits);
  return step.IsMatch() && Repeat(codes, in, out, step, length) ? InflateOutcome::kGoesOn : InflateOutcome::kDamaged;
}

[[gnu::always_inline]] inline void TakeLiteral(const InflateCodes& codes, InflateSource& in, InflateTarget& out,
                                               InflateStep& step) {
  in.Skip(step.CountBits());
  *out.next++ = step.GetLiteral();
  ++out.numLiterals;
  step = codes.Look(in.bits);
}

/// Literals come in runs in photographs. Four take at most 40 bits, and two with a match behind them 43.
[[gnu::always_inline]] inline InflateOutcome TakeLiterals(const InflateCodes& codes, InflateSource& in,
                                                          InflateTarget& out, InflateStep& step) {
  TakeLiteral(codes, in, out, step);
  if (step.IsLiteral()) {
    TakeLiteral(codes, in, out, step);
    if (step.IsLiteral()) {
      TakeLiteral(codes, in, out, step);
      if (step.IsLiteral()) TakeLiteral(codes, in, out, step);
      return InflateOutcome::kGoesOn;
    }
  }
  if (step.IsMatch() && !Repeat(codes, in, out, step, step.GetLength())) return InflateOutcome::kDamaged;
  return InflateOutcome::kGoesOn;
}

/// Two matches take at most 46 of 64 bits, so that enough are left to look the next step up.
[[gnu::always_inline]] inline InflateOutcome TakeTurn(const InflateCodes& codes, InflateSource& in, InflateTarget& out,
                                                      InflateStep& step) {
  if (step.IsLiteral()) return TakeLiterals(codes, in, out, step);
  if (!step.IsMatch()) return TakeOther(codes, in, out, step);
  if (!Repeat(codes, in, out, step, step.GetLength())) return InflateOutcome::kDamaged;
  if (step.IsMatch() && !Repeat(codes, in, out, step, step.GetLength())) return InflateOutcome::kDamaged;
  return InflateOutcome::kGoesOn;
}

/// Goes on as long as any turn has all bytes that it can need, and room for all that it can write. The processor's
/// registers hold what is copied here.
[[gnu::noinline]] InflateOutcome DecodeQuickly(const InflateCodes& codes, InflateSource& source,
                                               InflateTarget& target) {
  InflateSource in = source;
  InflateTarget out = target;
  if (IsNearEnd(in, out)) return InflateOutcome::kGoesOn;
  InflateOutcome outcome = InflateOutcome::kGoesOn;
  in.FillQuickly();
  for (InflateStep step = codes.Look(in.bits);;) {
    outcome = TakeTurn(codes, in, out, step);
    if (outcome != InflateOutcome::kGoesOn || IsNearEnd(in, out)) break;
    in.FillQuickly();
  }
  source = in;
  target = out;
  return outcome;
}

/// A step that needs nothing behind its own bits, and writes nothing behind its own bytes.
InflateOutcome TakeStep(const InflateCodes& codes, InflateSource& in, InflateTarget& out) {
  in.Fill();
  InflateStep step = codes.Look(in.bits);
  if (!step.IsMatch() && step.GetKind() == InflateStep::kLong) step = codes.Find(in.bits);
  const std::size_t length = step.GetLength();
  if (!step.IsMatch()) {
    in.Skip(step.CountBits());
    if (step.GetKind() == InflateStep::kEnd) return InflateOutcome::kBlockEnd;
    if (step.GetKind() == InflateStep::kLong || !in.HasEnough()) return InflateOutcome::kDamaged;
    if (step.GetKind() == InflateStep::kLiteral) {
      if (out.CountLeft() == 0) return InflateOutcome::kTooLong;
      *out.next++ = step.GetLiteral();
      return InflateOutcome::kGoesOn;
    }
    step = codes.LookOffset(in.bits);
    if (!step.IsMatch()) return InflateOutcome::kDamaged;
  }
  const std::size_t offset = step.GetOffset(in.bits);
  in.Skip(step.CountBits());
  if (!in.HasEnough() || offset > out.CountDone()) return InflateOutcome::kDamaged;
  if (length > out.CountLeft()) return InflateOutcome::kTooLong;
  for (std::size_t i = 0; i < length; ++i, ++out.next) *out.next = *(out.next - offset);
  return InflateOutcome::kGoesOn;
}

}  // namespace

InflateOutcome InflateBlock(const InflateCodes& codes, InflateSource& in, InflateTarget& out) {
  InflateOutcome outcome = DecodeQuickly(codes, in, out);
  while (outcome == InflateOutcome::kGoesOn) outcome = TakeStep(codes, in, out);
  return outcome;
}

}  // namespace zrk
