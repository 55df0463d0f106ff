#pragma once

#include "tiles/BlockCoder.h"
#include "tiles/BlockStrip.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

// What the suites about blocks share.

using Bytes = std::vector<std::uint8_t>;

/// 0 stands for all that the machine has.
inline void UseInstructions(std::int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

/// Calls `check` with each set of instructions that this machine has.
template <class Check>
void WithAllInstructions(Check check) {
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    UseInstructions(target);
    check();
  }
  UseInstructions(0);
}

inline void FillAtRandom(std::uint8_t* bytes, std::size_t count, std::mt19937_64& random) {
  for (std::size_t i = 0; i < count; i += 8) {
    const std::uint64_t value = random();
    std::memcpy(bytes + i, &value, count - i < 8 ? count - i : 8);
  }
}

inline Bytes RandomBytes(std::size_t count, std::mt19937_64& random) {
  Bytes bytes(count);
  FillAtRandom(bytes.data(), count, random);
  return bytes;
}

/// The blocks of a picture of its own; "failed" is no bytes.
inline Bytes Encode(const Bytes& pixels, _XPIXELFORMAT format, int width, int height, _XDXTTYPE type = kDxt1) {
  Bytes blocks(zrk::BlockBytes({type, width, height}), 0xEE);
  return zrk::EncodeBlocks(pixels, format, {type, width, height}, blocks) ? blocks : Bytes{};
}

inline Bytes Decode(const Bytes& blocks, int width, int height, _XDXTTYPE type = kDxt1) {
  Bytes rgba(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0xEE);
  return zrk::DecodeBlocks(blocks, {type, width, height}, rgba) ? rgba : Bytes{};
}
