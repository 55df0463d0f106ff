// Data are packed by GDAL's compressor, at all of its levels, or bit by bit.

#include "codec/Inflater.h"

#include <cpl_conv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using InflateResult = zrk::Inflater::Result;

Bytes Pack(const Bytes& bytes, int level) {
  Bytes packed(2 * bytes.size() + 1000);
  std::size_t size = 0;
  EXPECT_NE(nullptr, CPLZLibDeflate(bytes.data(), bytes.size(), level, packed.data(), packed.size(), &size));
  packed.resize(size);
  return packed;
}

/// What comes out, in room for `size` bytes.
std::string Inflated(const Bytes& packed, std::size_t size) {
  zrk::Inflater inflater;
  zrk::Inflater::Counts counts;
  Bytes bytes(size);
  switch (inflater.Decode(packed, bytes, counts)) {
    case InflateResult::kDone:
      return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(counts.bytes)};
    case InflateResult::kTooLong:
      return "too long";
    default:
      return "damaged";
  }
}

/// Bits in the order of the stream, the lowest of a number first, between the head and a checksum.
class Bits {
 public:
  Bits& Add(std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i, ++numBits_) {
      if (numBits_ % 8 == 0) bytes_.push_back(0);
      bytes_.back() = static_cast<unsigned char>(bytes_.back() | (value >> i & 1) << numBits_ % 8);
    }
    return *this;
  }
  /// A code has its highest bit first.
  Bits& Code(std::uint32_t code, int count) {
    for (int i = count - 1; i >= 0; --i) Add(code >> i & 1, 1);
    return *this;
  }
  Bytes With(std::uint32_t checksum) const {
    Bytes bytes = bytes_;
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<unsigned char>(checksum >> shift));
    return bytes;
  }

 private:
  Bytes bytes_ = {0x78, 0x9c};
  int numBits_ = 16;
};

constexpr std::uint32_t kChecksumOfAbc = 589u << 16 | 295u;

/// The last block, with the fixed codes: a literal has 48 more than its value in 8 bits.
Bits FixedAbc() {
  return Bits().Add(1, 1).Add(1, 2).Code(48 + 'a', 8).Code(48 + 'b', 8).Code(48 + 'c', 8);
}

TEST(Inflater, TakesStoredBytes) {
  const Bytes stored = Bits()
                           .Add(1, 1)
                           .Add(0, 2)
                           .Add(0, 5)
                           .Add(3, 16)
                           .Add(0xfffc, 16)
                           .Add('a', 8)
                           .Add('b', 8)
                           .Add('c', 8)
                           .With(kChecksumOfAbc);
  EXPECT_EQ("abc", Inflated(stored, 3));
}

TEST(Inflater, TakesBytesOfTheFixedCodes) {
  EXPECT_EQ("abc", Inflated(FixedAbc().Code(0, 7).With(kChecksumOfAbc), 3));
}

TEST(Inflater, RepeatsAStringThatOverlapsItself) {
  // The third code is a length of 6, from symbol 260, and symbol 1 of the offsets is 2.
  const Bytes packed =
      Bits().Add(1, 1).Add(1, 2).Code(48 + 'a', 8).Code(48 + 'b', 8).Code(4, 7).Code(1, 5).Code(0, 7).With(0x0dbc030d);
  EXPECT_EQ("abababab", Inflated(packed, 8));
}

TEST(Inflater, TakesBlocksOneBehindTheOther) {
  const Bytes packed = Bits()
                           .Add(0, 1)
                           .Add(1, 2)
                           .Code(48 + 'a', 8)
                           .Code(0, 7)
                           .Add(1, 1)
                           .Add(1, 2)
                           .Code(48 + 'b', 8)
                           .Code(48 + 'c', 8)
                           .Code(0, 7)
                           .With(kChecksumOfAbc);
  EXPECT_EQ("abc", Inflated(packed, 3));
}

TEST(Inflater, RefusesAnotherChecksum) {
  EXPECT_EQ("damaged", Inflated(FixedAbc().Code(0, 7).With(kChecksumOfAbc + 1), 3));
}

TEST(Inflater, RefusesAnEndWithoutTheLastCodeOrTheChecksum) {
  EXPECT_EQ("damaged", Inflated(FixedAbc().With(0), 3));
  Bytes packed = FixedAbc().Code(0, 7).With(kChecksumOfAbc);
  packed.pop_back();
  EXPECT_EQ("damaged", Inflated(packed, 3));
}

TEST(Inflater, RefusesAStringFromBeforeTheFirstByte) {
  EXPECT_EQ("damaged",
            Inflated(Bits().Add(1, 1).Add(1, 2).Code(48 + 'a', 8).Code(1, 7).Code(1, 5).Code(0, 7).With(0), 9));
}

TEST(Inflater, RefusesSymbolsWithoutMeaning) {
  // Symbol 286 of the lengths is the code 198 of 8 bits; the offsets have no symbol 30.
  EXPECT_EQ("damaged", Inflated(FixedAbc().Code(198, 8).Code(0, 5).Code(0, 7).With(0), 99));
  EXPECT_EQ("damaged", Inflated(FixedAbc().Code(1, 7).Code(30, 5).Code(0, 7).With(0), 99));
  EXPECT_EQ("damaged", Inflated(Bits().Add(1, 1).Add(3, 2).With(1), 3));
}

TEST(Inflater, RefusesAnotherHead) {
  for (const unsigned char first : {0x79, 0x88, 0x00}) {
    Bytes packed = FixedAbc().Code(0, 7).With(kChecksumOfAbc);
    packed[0] = first;
    EXPECT_EQ("damaged", Inflated(packed, 3)) << int{first};
  }
  EXPECT_EQ("damaged", Inflated({}, 3));
}

TEST(Inflater, TellsThatThereIsMore) {
  EXPECT_EQ("too long", Inflated(FixedAbc().Code(0, 7).With(kChecksumOfAbc), 2));
}

/// Bytes of many kinds: noise, steps, repeated pixels, few symbols and rare ones.
Bytes MakeBytes(int kind, std::size_t size, std::mt19937& random) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    const unsigned noise = random();
    const std::size_t apart = static_cast<std::size_t>(kind) + 1;
    switch (kind % 4) {
      case 0:
        bytes[i] = static_cast<unsigned char>(noise >> kind);
        break;
      case 1:
        bytes[i] = static_cast<unsigned char>(i / 50 * 37 + (noise % 40 == 0 ? noise : 0));
        break;
      case 2:
        bytes[i] = noise % 16 == 0 || i < apart ? static_cast<unsigned char>(noise >> 8) : bytes[i - apart];
        break;
      default:
        bytes[i] = static_cast<unsigned char>(__builtin_ctz(noise | 1u << 30) * 3);
    }
  }
  return bytes;
}

TEST(Inflater, GivesWhatWasPacked) {
  std::mt19937 random(11);
  zrk::Inflater inflater;
  for (int trial = 0; trial < 240; ++trial) {
    const std::size_t size = trial % 5 == 0 ? random() % 300 : random() % 40000;
    const Bytes sound = MakeBytes(trial % 24, size, random), packed = Pack(sound, 1 + trial % 9);
    // Nothing is written behind the room.
    Bytes bytes(size + 64, 0x5a);
    zrk::Inflater::Counts counts;
    ASSERT_EQ(InflateResult::kDone, inflater.Decode(packed, std::span(bytes).first(size), counts)) << trial;
    ASSERT_EQ(size, counts.bytes);
    EXPECT_TRUE(std::equal(sound.begin(), sound.end(), bytes.begin())) << trial;
    EXPECT_TRUE(std::all_of(bytes.begin() + std::ssize(sound), bytes.end(), [](int byte) { return byte == 0x5a; }));
  }
}

TEST(Inflater, CountsLiterals) {
  std::mt19937 random(3);
  const auto count = [](const Bytes& sound) {
    Bytes bytes(sound.size());
    zrk::Inflater::Counts counts;
    EXPECT_EQ(InflateResult::kDone, zrk::Inflater().Decode(Pack(sound, 6), bytes, counts));
    return counts.literals;
  };
  EXPECT_GT(10u, count(Bytes(10000, 7)));
  // One of 64 values by chance is seldom worth a string.
  Bytes noise = MakeBytes(0, 10000, random);
  for (unsigned char& byte : noise) byte %= 64;
  EXPECT_LT(5000u, count(noise));
}

TEST(Inflater, NoticesEveryCutAndEveryFlip) {
  std::mt19937 random(5);
  for (int kind = 0; kind < 8; ++kind) {
    const Bytes sound = MakeBytes(kind, 3000, random), packed = Pack(sound, 6);
    for (std::size_t size = 0; size < packed.size(); size += 1 + packed.size() / 100) {
      EXPECT_EQ("damaged", Inflated({packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size)}, 3000));
    }
    for (int trial = 0; trial < 200; ++trial) {
      Bytes flipped = packed;
      flipped[2 + random() % (packed.size() - 2)] ^= static_cast<unsigned char>(1u << random() % 8);
      const std::string text = Inflated(flipped, 3000);
      // The bits that fill the last byte up mean nothing.
      EXPECT_TRUE(text == "damaged" || text == "too long" || Bytes(text.begin(), text.end()) == sound);
    }
  }
}

TEST(Inflater, StaysWithinItsBytesWhateverTheData) {
  std::mt19937 random(9);
  zrk::Inflater inflater;
  for (int trial = 0; trial < 3000; ++trial) {
    Bytes packed(2 + random() % 400), bytes(random() % 2000);
    for (unsigned char& byte : packed) byte = static_cast<unsigned char>(random());
    packed[0] = 0x78, packed[1] = 0x9c;
    zrk::Inflater::Counts counts;
    EXPECT_NE(InflateResult::kDone, inflater.Decode(packed, bytes, counts));
  }
}

}  // namespace
