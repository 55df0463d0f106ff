#include "codec/LzwDecoder.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <utility>

namespace {

using Bytes = std::vector<unsigned char>;

/// Codes of given widths one behind the other, the highest bit first.
Bytes Pack(const std::vector<std::pair<int, int>>& codesAndBits) {
  std::vector<bool> bits;
  for (const auto& [code, numBits] : codesAndBits) {
    for (int i = numBits - 1; i >= 0; --i) bits.push_back(code >> i & 1);
  }
  Bytes bytes((bits.size() + 7) / 8);
  for (std::size_t i = 0; i < bits.size(); ++i) bytes[i / 8] |= static_cast<unsigned char>(bits[i] << (7 - i % 8));
  return bytes;
}

/// Decodes codes of 9 bits; "failed" where they are not sound.
std::string Decode(const std::vector<int>& codes, std::size_t size) {
  std::vector<std::pair<int, int>> wide;
  for (const int code : codes) wide.push_back({code, 9});
  Bytes out(size);
  return zrk::LzwDecoder().Decode(Pack(wide), out) ? std::string(out.begin(), out.end()) : "failed";
}

constexpr int kClear = 256, kEnd = 257;

TEST(LzwDecoder, TakesBytesAsTheyAre) {
  EXPECT_EQ("abc", Decode({kClear, 'a', 'b', 'c', kEnd}, 3));
}

TEST(LzwDecoder, TakesStringsOfTheTable) {
  // 258 is "ab", 259 "bc", 260 "ca", 261 "abb".
  EXPECT_EQ("abcabbcabb", Decode({kClear, 'a', 'b', 'c', 258, 259, 261, kEnd}, 10));
}

TEST(LzwDecoder, TakesACodeThatIsJustBeingMade) {
  // 258 is "aa" and 259 "aaa".
  EXPECT_EQ("aaaaaa", Decode({kClear, 'a', 258, 259, kEnd}, 6));
}

TEST(LzwDecoder, ForgetsTheTableAtAClearCode) {
  EXPECT_EQ("abcdcd", Decode({kClear, 'a', 'b', kClear, 'c', 'd', 258, kEnd}, 6));
  EXPECT_EQ("failed", Decode({kClear, 'a', 'b', kClear, 258, kEnd}, 4));
}

TEST(LzwDecoder, RefusesCodesThatAreNotInTheTable) {
  EXPECT_EQ("failed", Decode({kClear, 'a', 260, kEnd}, 3));
  EXPECT_EQ("failed", Decode({kClear, 258, kEnd}, 2));
}

TEST(LzwDecoder, RefusesAnEndBeforeTheLastByte) {
  EXPECT_EQ("failed", Decode({kClear, 'a', 'b', kEnd}, 3));
  EXPECT_EQ("failed", Decode({kClear, 'a', 'b'}, 4));
  EXPECT_EQ("failed", Decode({}, 1));
}

TEST(LzwDecoder, RefusesCodesThatDoNotBeginWithAClearCode) {
  EXPECT_EQ("failed", Decode({'a', 'b', kEnd}, 2));
}

TEST(LzwDecoder, RefusesAStringThatIsLongerThanWhatIsLeft) {
  EXPECT_EQ("failed", Decode({kClear, 'a', 258, 259, kEnd}, 5));
}

TEST(LzwDecoder, WidensCodesOneEarly) {
  // Behind the first byte each code makes an entry. With 510 taken, the next code has 10 bits.
  std::vector<std::pair<int, int>> codes = {{kClear, 9}};
  Bytes expected;
  for (int i = 0; i < 300; ++i) {
    expected.push_back(static_cast<unsigned char>(i * 7));
    codes.push_back({expected.back(), i < 254 ? 9 : 10});
  }
  Bytes out(300);
  ASSERT_TRUE(zrk::LzwDecoder().Decode(Pack(codes), out));
  EXPECT_EQ(expected, out);
}

TEST(LzwDecoder, StaysWithinItsBytesWhateverTheCodes) {
  std::mt19937 random(5);
  zrk::LzwDecoder decoder;
  for (int trial = 0; trial < 2000; ++trial) {
    // What lies behind a clear code of 9 bits is noise.
    Bytes packed(random() % 300), out(1 + random() % 2000);
    for (unsigned char& byte : packed) byte = static_cast<unsigned char>(random());
    if (packed.size() > 1) packed[0] = 0x80, packed[1] &= 0x7f;
    decoder.Decode(packed, out);
  }
}

}  // namespace
