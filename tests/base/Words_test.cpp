#include "base/Words.h"

#include <gtest/gtest.h>

namespace zrk {
namespace {

TEST(Words, TrimmedTextHasNoWhiteSpaceAtItsEnds) {
  EXPECT_EQ("a b", Trimmed(" \t\r\na b\n"));
  EXPECT_EQ("a", Trimmed("a"));
  EXPECT_EQ("", Trimmed(" \t "));
  EXPECT_EQ("", Trimmed(""));
}

TEST(Words, AreTakenOffTheTextOneByOne) {
  std::string_view text = " one\ttwo  ";
  EXPECT_EQ("one", TakeWord(text));
  EXPECT_EQ("\ttwo  ", text);
  EXPECT_EQ("two", TakeWord(text));
  EXPECT_EQ("", TakeWord(text));
  EXPECT_EQ("", text);
}

}  // namespace
}  // namespace zrk
