#include "XString.h"

#include <gtest/gtest.h>

namespace {

TEST(XString, StartsEmptyAndTakesNullAsEmpty) {
  EXPECT_TRUE(XString().IsEmpty());
  EXPECT_TRUE(XString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(XString, ConvertsToBothFormsOfText) {
  const XString text("abc");
  EXPECT_STREQ("abc", static_cast<const char*>(text));
  EXPECT_EQ("abc", static_cast<std::string_view>(text));
  EXPECT_EQ(3, text.GetLength());
}

TEST(XString, FormatsLikePrintf) {
  XString text;
  text.Format("%s : Channel %d, %.2f", "a.tif", 2, 0.5);
  EXPECT_EQ("a.tif : Channel 2, 0.50", text.AsStdString());
}

TEST(XString, FormatsItself) {
  XString text("ab");
  text.Format("<%s>", text.GetText());
  EXPECT_EQ("<ab>", text.AsStdString());
}

TEST(XString, FormatsLongTexts) {
  XString text;
  text.Format("%s!", std::string(100000, 'x').c_str());
  EXPECT_EQ(100001, text.GetLength());
}

TEST(XString, ChangesTheCaseOfAsciiLettersOnly) {
  XString text("aZ9_\xE4");
  text.MakeUpper();
  EXPECT_EQ("AZ9_\xE4", text.AsStdString());
  text.MakeLower();
  EXPECT_EQ("az9_\xE4", text.AsStdString());
}

TEST(XString, CutsPartsBackToWhatThereIs) {
  const XString text("abcdef");
  EXPECT_EQ("ab", text.Left(2).AsStdString());
  EXPECT_EQ("abcdef", text.Left(99).AsStdString());
  EXPECT_EQ("", text.Left(-1).AsStdString());
  EXPECT_EQ("ef", text.Right(2).AsStdString());
  EXPECT_EQ("abcdef", text.Right(99).AsStdString());
  EXPECT_EQ("cd", text.Mid(2, 2).AsStdString());
  EXPECT_EQ("cdef", text.Mid(2).AsStdString());
  EXPECT_EQ("", text.Mid(9, 2).AsStdString());
  EXPECT_EQ("ab", text.Mid(-5, 2).AsStdString());
}

TEST(XString, AnswersItsTerminatorOutsideTheText) {
  const XString text("ab");
  EXPECT_EQ('b', text.GetAt(1));
  EXPECT_EQ('\0', text.GetAt(2));
  EXPECT_EQ('\0', text.GetAt(-1));
}

TEST(XString, FindsFromBothEnds) {
  const XString text("abcabc");
  EXPECT_EQ(1, text.Find("bc"));
  EXPECT_EQ(4, text.Find("bc", 2));
  EXPECT_EQ(2, text.Find('c', -3));
  EXPECT_EQ(-1, text.Find("x"));
  EXPECT_EQ(-1, text.Find("a", 99));
  EXPECT_EQ(5, text.ReverseFind('c'));
  EXPECT_EQ(-1, text.ReverseFind('x'));
}

TEST(XString, DeletesWithinTheText) {
  XString text("abcdef");
  EXPECT_EQ(4, text.Delete(1, 2));
  EXPECT_EQ("adef", text.AsStdString());
  EXPECT_EQ(1, text.Delete(1, 99));
  EXPECT_EQ(1, text.Delete(7));
}

TEST(XString, ReplacesEveryHitOnce) {
  XString text("a.b.c");
  EXPECT_EQ(2, text.Replace(".", ".."));
  EXPECT_EQ("a..b..c", text.AsStdString());
  EXPECT_EQ(0, text.Replace("", "x"));
  EXPECT_EQ(0, text.Replace("z", "x"));
}

TEST(XString, JoinsAndCompares) {
  XString text = XString("a") + "b" + XString("c");
  text += "d";
  text += 'e';
  EXPECT_TRUE(text == "abcde");
  EXPECT_TRUE(text != "abcd");
  EXPECT_TRUE(XString("a") < XString("b"));
  EXPECT_EQ("xa", ("x" + XString("a")).AsStdString());
  EXPECT_TRUE(XString("") == static_cast<const char*>(nullptr));
}

}  // namespace
