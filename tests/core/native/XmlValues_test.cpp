#include "core/native/XmlValues.h"

#include "NativeFields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <bit>
#include <clocale>
#include <limits>

using testing::ElementsAre;
using zrk::FormatText;
using zrk::ParseText;

namespace {

std::uint64_t BitsAfterText(std::uint64_t bits) {
  double value = 0.0;
  EXPECT_TRUE(ParseText(FormatText(std::bit_cast<double>(bits)), value));
  return std::bit_cast<std::uint64_t>(value);
}

template <class Value>
bool IsValue(std::string_view text) {
  Value value{};
  return ParseText(text, value);
}

}  // namespace

TEST(XmlValues, EscapesWhatAParserMayDropOrJoin) {
  EXPECT_EQ(FormatText(XString(" a b\r\n100%\x7F ")), "%20a b%0D%0A100%25%7F%20");
  EXPECT_EQ(FormatText(XString(" ")), "%20");
  EXPECT_EQ(FormatText(XString("\xC4\xFF<&")), "\xC4\xFF<&");
}

TEST(XmlValues, KeepEveryByteOfAText) {
  XString text;
  ASSERT_TRUE(ParseText(FormatText(AllBytes()), text));
  EXPECT_EQ(text, AllBytes());
}

TEST(XmlValues, RefuseATextWithAHalfEscape) {
  for (const char* text : {"%", "100%", "%4", "%G0", "%0G", "%-1", "% 1", "%+1"}) EXPECT_FALSE(IsValue<XString>(text));
  EXPECT_TRUE(IsValue<XString>("%0a"));
}

TEST(XmlValues, KeepTheBitsOfADouble) {
  for (const std::uint64_t bits :
       {std::uint64_t{0}, std::uint64_t{1} << 63, std::uint64_t{1}, 0x7FEE42D130773B76u, 0x7FF0000000000000u,
        0xFFF0000000000000u, 0x7FF8000000000001u, 0xFFF7FFFFFFFFFFFFu, 0x3FB999999999999Au, 0x000FFFFFFFFFFFFFu}) {
    EXPECT_EQ(BitsAfterText(bits), bits);
  }
}

TEST(XmlValues, WriteTheShortestDigitsAndTheBitsOfWhatIsNotFinite) {
  EXPECT_EQ(FormatText(0.1), "0.1");
  EXPECT_EQ(FormatText(-0.0), "-0");
  EXPECT_EQ(FormatText(-std::numeric_limits<double>::infinity()), "xFFF0000000000000");
}

TEST(XmlValues, RefuseWhatIsNotOneDouble) {
  for (const char* text : {"", " ", "1,5", "1 2", "0x10", "inf", "nan", "1e999", "x7FF", "xGFF0000000000000", "+1",
                           "x-FF0000000000000", "xFFF00000000000000"}) {
    EXPECT_FALSE(IsValue<double>(text)) << text;
  }
  EXPECT_TRUE(IsValue<double>("\n 1.5e3\t"));
}

TEST(XmlValues, RefuseIntegersOutsideTheirType) {
  EXPECT_TRUE(IsValue<int>(" -2147483648 "));
  for (const char* text : {"2147483648", "-2147483649", "", "1.0", "1e3", "0x1", "+1", "99999999999999999999"}) {
    EXPECT_FALSE(IsValue<int>(text)) << text;
  }
  EXPECT_TRUE(IsValue<unsigned char>("255"));
  EXPECT_FALSE(IsValue<unsigned char>("256"));
  EXPECT_FALSE(IsValue<unsigned char>("-1"));
}

TEST(XmlValues, ReadListsOfAnyLengthAndFixedOnesInFull) {
  std::vector<double> numbers = {9.0};
  EXPECT_TRUE(ParseText(" 1 \n 2.5", numbers));
  EXPECT_THAT(numbers, ElementsAre(1.0, 2.5));
  EXPECT_TRUE(ParseText("", numbers));
  EXPECT_TRUE(numbers.empty());
  EXPECT_FALSE(ParseText("1 x 2", numbers));
  EXPECT_TRUE((IsValue<std::array<int, 3>>("1 2 3")));
  EXPECT_FALSE((IsValue<std::array<int, 3>>("1 2")));
  EXPECT_FALSE((IsValue<std::array<int, 3>>("1 2 3 4")));
  EXPECT_FALSE(IsValue<XROI::Polygon>("1 2 3"));
}

TEST(XmlValues, TakeNoNoticeOfTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  // Where the machine has no such locale there is nothing to take notice of.
  static_cast<void>(std::setlocale(LC_ALL, "de_DE.UTF-8"));
  EXPECT_EQ(FormatText(1234567.5), "1234567.5");
  EXPECT_TRUE(IsValue<double>("1234567.5"));
  std::setlocale(LC_ALL, before.c_str());
}
