#include "output/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Printable, ControlCharactersBecomeQuestionMarks) {
  EXPECT_EQ("a?[2Jb??", Printable("a\x1B[2Jb\n\x7F"));
  // The byte pair that UTF-8 writes for the control sequence introducer.
  EXPECT_EQ("x?y", Printable("x\xC2\x9By"));
}

TEST(Printable, OtherTextStays) {
  EXPECT_EQ(
      "Stra\xC3\x9F"
      "e \xC2\xA0 \xFF",
      Printable("Stra\xC3\x9F"
                "e \xC2\xA0 \xFF"));
  EXPECT_EQ("ends in \xC2", Printable("ends in \xC2"));
}

TEST(Shortened, TextThatFitsStays) {
  EXPECT_EQ("abcdef", Shortened("abcdef", 6));
}

TEST(Shortened, EndsInAnEllipsisWithinTheLimit) {
  EXPECT_EQ("ab...", Shortened("abcdef", 5));
  EXPECT_EQ("..", Shortened("abcdef", 2));
  EXPECT_EQ("", Shortened("abcdef", 0));
}

TEST(Shortened, CutsBetweenCharacters) {
  EXPECT_EQ("a...", Shortened("a\xE2\x82\xAC"
                              "cdef",
                              5));
  EXPECT_EQ("a\xE2\x82\xAC...", Shortened("a\xE2\x82\xAC"
                                          "cdef",
                                          7));
}

}  // namespace
