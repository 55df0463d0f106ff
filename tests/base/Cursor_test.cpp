// The bounded cursor: numbers in either order of bytes, numbers in digits, and what happens at the end of the bytes.
// The bytes of each number are written out beside its value.

#include "base/Cursor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cstdint>
#include <string_view>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<unsigned char>;

TEST(Cursor, ReadsLittleEndianIntegers) {
  const Bytes bytes = {0x01, 0x02, 0x01, 0x04, 0x03, 0x02, 0x01, 0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0xF1};
  zrk::Cursor cursor(bytes);
  EXPECT_EQ(cursor.U8(), 0x01);
  EXPECT_EQ(cursor.U16LE(), 0x0102);
  EXPECT_EQ(cursor.U32LE(), 0x01020304u);
  EXPECT_EQ(cursor.U64LE(), 0xF122334455667788u);
  EXPECT_EQ(cursor.Remaining(), 0u);
  EXPECT_FALSE(cursor.HasFailed());
}

TEST(Cursor, ReadsBigEndianIntegers) {
  const Bytes bytes = {0x01, 0x02, 0xF1, 0x02, 0x03, 0x04, 0xF1, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
  zrk::Cursor cursor(bytes);
  EXPECT_EQ(cursor.U16BE(), 0x0102);
  EXPECT_EQ(cursor.U32BE(), 0xF1020304u);
  EXPECT_EQ(cursor.U64BE(), 0xF122334455667788u);
  EXPECT_FALSE(cursor.HasFailed());
}

TEST(Cursor, ReadsSignedIntegers) {
  const Bytes ones(14, 0xFF);
  zrk::Cursor little(ones);
  EXPECT_EQ(little.I16LE(), -1);
  EXPECT_EQ(little.I32LE(), -1);
  EXPECT_EQ(little.I64LE(), -1);
  zrk::Cursor big(ones);
  EXPECT_EQ(big.I16BE(), -1);
  EXPECT_EQ(big.I32BE(), -1);
  EXPECT_EQ(big.I64BE(), -1);
  const Bytes minusTwo = {0xFE, 0xFF, 0xFF, 0xFE};
  zrk::Cursor cursor(minusTwo);
  EXPECT_EQ(cursor.I16LE(), -2);
  EXPECT_EQ(cursor.I16BE(), -2);
}

TEST(Cursor, ReadsIeeeNumbers) {
  // 1.5 is 3FC00000 in 32 bits, -2 is C000000000000000 in 64.
  const Bytes bytes = {0, 0, 0xC0, 0x3F, 0x3F, 0xC0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0xC0, 0, 0, 0, 0, 0, 0, 0};
  zrk::Cursor cursor(bytes);
  EXPECT_EQ(cursor.F32LE(), 1.5f);
  EXPECT_EQ(cursor.F32BE(), 1.5f);
  EXPECT_EQ(cursor.F64LE(), -2.0);
  EXPECT_EQ(cursor.F64BE(), -2.0);
}

TEST(Cursor, BytesAreAViewAndMoveItOn) {
  const Bytes bytes = {1, 2, 3, 4, 5};
  zrk::Cursor cursor(bytes);
  cursor.Skip(1);
  const auto taken = cursor.Bytes(3);
  EXPECT_THAT(taken, ElementsAre(2, 3, 4));
  EXPECT_EQ(taken.data(), bytes.data() + 1);
  EXPECT_EQ(cursor.Position(), 4u);
  EXPECT_EQ(cursor.Remaining(), 1u);
  EXPECT_THAT(cursor.Bytes(0), IsEmpty());
  EXPECT_FALSE(cursor.HasFailed());
}

TEST(Cursor, SeekGoesAnywhereUpToTheEnd) {
  const Bytes bytes = {1, 2, 3};
  zrk::Cursor cursor(bytes);
  cursor.Seek(2);
  EXPECT_EQ(cursor.U8(), 3);
  cursor.Seek(0);
  EXPECT_EQ(cursor.U8(), 1);
  cursor.Seek(3);
  EXPECT_EQ(cursor.Remaining(), 0u);
  EXPECT_FALSE(cursor.HasFailed());
}

TEST(Cursor, ANumberThatIsNotAllThereIsZeroAndFails) {
  const Bytes bytes = {0xFF, 0xFF, 0xFF};
  zrk::Cursor little(bytes);
  EXPECT_EQ(little.U32LE(), 0u);
  EXPECT_TRUE(little.HasFailed());
  zrk::Cursor big(bytes);
  EXPECT_EQ(big.F64BE(), 0.0);
  EXPECT_TRUE(big.HasFailed());
}

TEST(Cursor, NothingMoreComesAfterAFailure) {
  const Bytes bytes = {1, 2, 3};
  zrk::Cursor cursor(bytes);
  EXPECT_THAT(cursor.Bytes(4), IsEmpty());
  EXPECT_EQ(cursor.U8(), 0);
  EXPECT_EQ(cursor.Remaining(), 0u);
}

TEST(Cursor, TheFailureStaysAlsoWhereALaterRequestFits) {
  const Bytes bytes = {1, 2, 3};
  zrk::Cursor cursor(bytes);
  cursor.Skip(4);
  cursor.Seek(1);
  EXPECT_EQ(cursor.U8(), 2);
  EXPECT_TRUE(cursor.HasFailed());
}

TEST(Cursor, SeekPastTheEndFails) {
  const Bytes bytes = {1, 2, 3};
  zrk::Cursor cursor(bytes);
  cursor.Seek(4);
  EXPECT_TRUE(cursor.HasFailed());
  EXPECT_EQ(cursor.Remaining(), 0u);
}

TEST(Cursor, CountsAtTheEdgeOfTheirTypeFail) {
  const Bytes bytes = {1, 2, 3};
  zrk::Cursor cursor(bytes);
  cursor.Skip(1);
  cursor.Skip(SIZE_MAX);
  EXPECT_TRUE(cursor.HasFailed());
}

TEST(Cursor, NoBytesAtAllFailAtTheFirstRequest) {
  zrk::Cursor cursor({});
  EXPECT_FALSE(cursor.HasFailed());
  EXPECT_EQ(cursor.U8(), 0);
  EXPECT_TRUE(cursor.HasFailed());
}

TEST(Cursor, GoesByTheOrderThatTheFileTells) {
  const unsigned char bytes[] = {1, 2, 3, 4, 5, 6};
  zrk::Cursor little(bytes, zrk::ByteOrder::kLittle), big(bytes, zrk::ByteOrder::kBig);
  EXPECT_EQ(0x0201, little.U16());
  EXPECT_EQ(0x06050403u, little.U32());
  EXPECT_EQ(0x0102, big.U16());
  EXPECT_EQ(0x03040506, big.I32());
  EXPECT_FALSE(big.HasFailed());
  EXPECT_EQ(0u, big.U64());
  EXPECT_TRUE(big.HasFailed());
}

TEST(Cursor, TakesRealsInTheOrderOfTheFile) {
  const unsigned char bytes[] = {0x3F, 0xC0, 0, 0, 0xC0, 0x04, 0, 0, 0, 0, 0, 0};
  zrk::Cursor cursor(bytes, zrk::ByteOrder::kBig);
  EXPECT_EQ(1.5f, cursor.F32());
  EXPECT_EQ(-2.5, cursor.F64());
}

/// The number that a field of all these characters holds.
std::int64_t NumberIn(std::string_view text) {
  zrk::Cursor cursor({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
  return cursor.Number(text.size());
}

TEST(Cursor, TakesNumbersInDigits) {
  EXPECT_EQ(354, NumberIn("000354"));
  EXPECT_EQ(12, NumberIn("  12 "));
  EXPECT_EQ(-7, NumberIn("-007"));
  EXPECT_EQ(7, NumberIn("+7"));
  EXPECT_EQ(0, NumberIn("+-7"));
  EXPECT_EQ(12, NumberIn("12x4"));
  EXPECT_EQ(12, NumberIn(std::string_view("12\0"
                                          "4",
                                          4)));
  EXPECT_EQ(0, NumberIn("x12"));
  EXPECT_EQ(0, NumberIn("   "));
  EXPECT_EQ(0, NumberIn(""));
  EXPECT_EQ(INT64_MAX, NumberIn("9223372036854775807"));
}

TEST(Cursor, TakesFieldsOneAfterTheOther) {
  constexpr std::string_view text = "NITF0210025abc";
  zrk::Cursor cursor({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
  EXPECT_EQ("NITF", cursor.Text(4));
  EXPECT_EQ(2, cursor.Number(2));
  EXPECT_EQ(10025, cursor.Number(5));
  EXPECT_FALSE(cursor.HasFailed());
  EXPECT_EQ(0, cursor.Number(4)) << "does not fit";
  EXPECT_TRUE(cursor.HasFailed());
}

TEST(Cursor, NumbersThatNoIntegerHoldsFail) {
  constexpr std::string_view text = "9223372036854775808";
  zrk::Cursor cursor({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
  EXPECT_EQ(0, cursor.Number(text.size()));
  EXPECT_TRUE(cursor.HasFailed());
}
