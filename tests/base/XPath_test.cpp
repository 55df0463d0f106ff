#include "XPath.h"

#include <gtest/gtest.h>

TEST(XPath, BothSlashesSeparate) {
  EXPECT_EQ(XfnGetFileName("/a/b.c/name.tif"), "name.tif");
  EXPECT_EQ(XfnGetFileName("C:\\a\\name.tif"), "name.tif");
  EXPECT_EQ(XfnGetFileName("/a\\b/name.tif"), "name.tif");
  EXPECT_EQ(XfnGetFileName("/a/b\\name.tif"), "name.tif");
}

TEST(XPath, APathWithoutFolderIsTheName) {
  EXPECT_EQ(XfnGetFileName("name.tif"), "name.tif");
  EXPECT_EQ(XfnGetFileFolder("name.tif"), "");
}

TEST(XPath, AFolderHasNoName) {
  EXPECT_EQ(XfnGetFileName("/a/b/"), "");
  EXPECT_EQ(XfnGetFileTitle("/a/b/"), "");
  EXPECT_EQ(XfnGetFileExt("/a/b.c/"), "");
  EXPECT_EQ(XfnGetFileFolder("/a/b/"), "/a/b/");
}

TEST(XPath, TheTitleLacksTheExtension) {
  EXPECT_EQ(XfnGetFileTitle("/a/name.tif"), "name");
  EXPECT_EQ(XfnGetFileTitle("/a/name"), "name");
  EXPECT_EQ(XfnGetFileTitle("/a/b.c.d"), "b.c");
  EXPECT_EQ(XfnGetFileTitle("/a/.hidden"), "");
}

TEST(XPath, TheExtensionFollowsTheLastDot) {
  EXPECT_EQ(XfnGetFileExt("/a/name.tif"), "tif");
  EXPECT_EQ(XfnGetFileExt("/a/b.c.Tiff"), "Tiff");
  EXPECT_EQ(XfnGetFileExt("/a/name."), "");
  EXPECT_EQ(XfnGetFileExt("/a/name"), "");
}

TEST(XPath, ADotInAFolderBeginsNoExtension) {
  EXPECT_EQ(XfnGetFileExt("/a.tif/name"), "");
  EXPECT_EQ(XfnGetFileTitle("\\a.tif\\name"), "name");
}

TEST(XPath, TheFolderKeepsItsSeparator) {
  EXPECT_EQ(XfnGetFileFolder("/a/b/name.tif"), "/a/b/");
  EXPECT_EQ(XfnGetFileFolder("C:\\a\\name.tif"), "C:\\a\\");
  EXPECT_EQ(XfnGetFileFolder("/name.tif"), "/");
}

TEST(XPath, NothingHasNoParts) {
  EXPECT_EQ(XfnGetFileName(""), "");
  EXPECT_EQ(XfnGetFileTitle(""), "");
  EXPECT_EQ(XfnGetFileExt(""), "");
  EXPECT_EQ(XfnGetFileFolder(""), "");
}
