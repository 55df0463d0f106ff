// The text class: how texts are made, compared, cut, formatted and changed, and the edges of each operation. The
// expected texts are written out.

#include "XString.h"

#include <gtest/gtest.h>
#include <climits>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

TEST(XString, IsMadeOfAnyKindOfText) {
  EXPECT_EQ(XString("abc"), "abc");
  EXPECT_EQ(XString(std::string("abc")), "abc");
  EXPECT_EQ(XString(std::string_view("abcd").substr(0, 3)), "abc");
  EXPECT_EQ(XString(), "");
}

TEST(XString, ANullPointerIsTheEmptyText) {
  const char* none = nullptr;
  EXPECT_TRUE(XString(none).IsEmpty());
  EXPECT_TRUE(XString() == none);
  EXPECT_EQ(XString("a") + none, "a");
}

TEST(XString, GoesWhereCharactersAreTaken) {
  const XString text("abc");
  const char* characters = text;
  const std::string_view view = text;
  EXPECT_STREQ(characters, "abc");
  EXPECT_EQ(view, "abc");
  EXPECT_STREQ(text.GetText(), "abc");
  EXPECT_EQ(text.AsStdString(), "abc");
}

TEST(XString, IsCopiedIntoAStandardText) {
  const XString text(std::string("a\0b", 3));
  const std::string copy = text;
  std::string assigned;
  assigned = text;
  EXPECT_EQ(3u, copy.size());
  EXPECT_EQ(copy, assigned);
  EXPECT_EQ(copy, std::string(text));
}

TEST(XString, ComparesWithEveryKindOfText) {
  const XString text("abc");
  EXPECT_TRUE(text == std::string_view("abc") && std::string_view("abc") == text);
  EXPECT_TRUE(text == std::string("abc") && std::string("abc") == text);
  EXPECT_TRUE(text != std::string_view("ab") && std::string_view("abcd") != text);
  EXPECT_TRUE(text < std::string_view("abd") && "abb" < text);
}

TEST(XString, JoinsEveryKindOfText) {
  const XString text("b");
  EXPECT_EQ("abc", std::string("a") + text + std::string_view("c"));
  EXPECT_EQ("abc", std::string_view("a") + text + std::string("c"));
  EXPECT_EQ("bc", text + 'c');
}

// What `if (text)` would ask is always so.
template <class Text>
concept HasTruth = requires(const Text& text) {
  text ? 1 : 0;
};

TEST(XString, HasNoTruthValue) {
  static_assert(HasTruth<const char*>);
  EXPECT_FALSE(HasTruth<XString>);
  EXPECT_FALSE((std::is_constructible_v<bool, XString>));
  EXPECT_FALSE((std::is_convertible_v<XString, bool>));
}

TEST(XString, KnowsItsLength) {
  XString text("abc");
  EXPECT_EQ(text.GetLength(), 3);
  EXPECT_FALSE(text.IsEmpty());
  text.Empty();
  EXPECT_EQ(text.GetLength(), 0);
  EXPECT_TRUE(text.IsEmpty());
}

TEST(XString, CharactersOutsideAreTerminators) {
  const XString text("abc");
  EXPECT_EQ(text.GetAt(0), 'a');
  EXPECT_EQ(text.GetAt(2), 'c');
  EXPECT_EQ(text.GetAt(3), '\0');
  EXPECT_EQ(text.GetAt(-1), '\0');
}

TEST(XString, CopiesAreTheirOwn) {
  XString a("abc");
  const XString b = a;
  a.MakeUpper();
  EXPECT_EQ(a, "ABC");
  EXPECT_EQ(b, "abc");
}

TEST(XString, FormatsLikePrintf) {
  XString text("before");
  text.Format("Channel %d of %s, %05.2f%%", 3, "map", 1.5);
  EXPECT_EQ(text, "Channel 3 of map, 01.50%");
  text.Format("%s", "");
  EXPECT_EQ(text, "");
}

TEST(XString, FormatsTextsOfAnyLength) {
  const std::string part(100000, 'x');
  XString text;
  text.Format("<%s>", part.c_str());
  EXPECT_EQ(text.AsStdString(), "<" + part + ">");
}

TEST(XString, FormatsFromItsOwnCharacters) {
  XString text("abc");
  text.Format("%s-%s", text.GetText(), text.GetText());
  EXPECT_EQ(text, "abc-abc");
}

TEST(XString, CaseIsThatOfAsciiLettersOnly) {
  XString text("aZ@[`{09 \xE4\xC4");
  text.MakeUpper();
  EXPECT_EQ(text, "AZ@[`{09 \xE4\xC4");
  text.MakeLower();
  EXPECT_EQ(text, "az@[`{09 \xE4\xC4");
}

TEST(XString, PartsAreCutOut) {
  const XString text("abcdef");
  EXPECT_EQ(text.Left(2), "ab");
  EXPECT_EQ(text.Right(2), "ef");
  EXPECT_EQ(text.Mid(2), "cdef");
  EXPECT_EQ(text.Mid(2, 3), "cde");
}

TEST(XString, PartsAreCutBackToWhatThereIs) {
  const XString text("abc");
  EXPECT_EQ(text.Left(INT_MAX), "abc");
  EXPECT_EQ(text.Left(-1), "");
  EXPECT_EQ(text.Right(4), "abc");
  EXPECT_EQ(text.Right(INT_MIN), "");
  EXPECT_EQ(text.Mid(-1), "abc");
  EXPECT_EQ(text.Mid(3), "");
  EXPECT_EQ(text.Mid(INT_MAX, INT_MAX), "");
  EXPECT_EQ(text.Mid(1, INT_MAX), "bc");
  EXPECT_EQ(text.Mid(1, -1), "");
}

TEST(XString, FindsTheFirstFromAPlaceOn) {
  const XString text("abcabc");
  EXPECT_EQ(text.Find("bc"), 1);
  EXPECT_EQ(text.Find("bc", 1), 1);
  EXPECT_EQ(text.Find("bc", 2), 4);
  EXPECT_EQ(text.Find('c', 3), 5);
  EXPECT_EQ(text.Find('a', -7), 0);
}

TEST(XString, WhatIsNotThereIsMinusOne) {
  const XString text("abc");
  EXPECT_EQ(text.Find("bcd"), -1);
  EXPECT_EQ(text.Find('a', 1), -1);
  EXPECT_EQ(text.Find("a", 100), -1);
  EXPECT_EQ(text.ReverseFind('x'), -1);
  EXPECT_EQ(XString().ReverseFind('x'), -1);
}

TEST(XString, FindsTheLast) {
  EXPECT_EQ(XString("a.b.c").ReverseFind('.'), 3);
  EXPECT_EQ(XString(".a").ReverseFind('.'), 0);
}

TEST(XString, DeletesAndTellsTheNewLength) {
  XString text("abcdef");
  EXPECT_EQ(text.Delete(1, 2), 4);
  EXPECT_EQ(text, "adef");
  EXPECT_EQ(text.Delete(0), 3);
  EXPECT_EQ(text, "def");
}

TEST(XString, DeletesNoMoreThanThereIs) {
  XString text("abc");
  EXPECT_EQ(text.Delete(3, 5), 3);
  EXPECT_EQ(text.Delete(0, -1), 3);
  EXPECT_EQ(text.Delete(1, INT_MAX), 1);
  EXPECT_EQ(text, "a");
}

TEST(XString, ReplacesEveryHitFromLeftToRight) {
  XString text("aaa.aa");
  EXPECT_EQ(text.Replace("aa", "b"), 2);
  EXPECT_EQ(text, "ba.b");
  EXPECT_EQ(text.Replace(".", ""), 1);
  EXPECT_EQ(text, "bab");
}

TEST(XString, WhatIsPutInIsNotReplacedAgain) {
  XString text("a");
  EXPECT_EQ(text.Replace("a", "aa"), 1);
  EXPECT_EQ(text, "aa");
}

TEST(XString, NothingIsFoundToReplace) {
  XString text("abc");
  EXPECT_EQ(text.Replace("x", "y"), 0);
  EXPECT_EQ(text.Replace("", "y"), 0);
  EXPECT_EQ(text, "abc");
}

TEST(XString, AddsTextsAndCharacters) {
  XString text = XString("a") + XString("b") + "c";
  EXPECT_EQ("<" + text, "<abc");
  text += "d";
  text += 'e';
  text += text;
  EXPECT_EQ(text, "abcdeabcde");
}

TEST(XString, ComparesByBytes) {
  EXPECT_TRUE(XString("abc") == XString("abc"));
  EXPECT_TRUE(XString("abc") != XString("Abc"));
  EXPECT_TRUE(XString("abc") != "abd");
  EXPECT_TRUE(XString("Z") < XString("a"));
  EXPECT_TRUE(XString("ab") < XString("abc"));
  EXPECT_FALSE(XString("abc") < XString("abc"));
}

TEST(XString, TakesItsPathBytesAsTheyAre) {
  const std::string bytes("\xFF\x01\xC3\x28", 4);
  EXPECT_EQ(XString(bytes).AsStdString(), bytes);
}
