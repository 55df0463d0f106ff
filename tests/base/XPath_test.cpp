#include "XPath.h"

#include <gtest/gtest.h>

namespace {

TEST(XPath, SplitsAtSeparatorsOfBothKinds) {
  EXPECT_EQ("c.tif", XfnGetFileName("/a/b/c.tif").AsStdString());
  EXPECT_EQ("c.tif", XfnGetFileName("D:\\a\\b\\c.tif").AsStdString());
  EXPECT_EQ("c.tif", XfnGetFileName("/a\\b/c.tif").AsStdString());
  EXPECT_EQ("c.tif", XfnGetFileName("c.tif").AsStdString());
  EXPECT_EQ("", XfnGetFileName("/a/").AsStdString());
}

TEST(XPath, TheTitleHasNoExtension) {
  EXPECT_EQ("c", XfnGetFileTitle("/a/c.tif").AsStdString());
  EXPECT_EQ("c.d", XfnGetFileTitle("/a/c.d.tif").AsStdString());
  EXPECT_EQ("c", XfnGetFileTitle("/a.b/c").AsStdString());
}

TEST(XPath, TheExtensionIsOfTheFileNameOnly) {
  EXPECT_EQ("tif", XfnGetFileExt("/a/c.d.tif").AsStdString());
  EXPECT_EQ("", XfnGetFileExt("/a.b/c").AsStdString());
  EXPECT_EQ("", XfnGetFileExt("c.").AsStdString());
}

TEST(XPath, TheFolderKeepsItsSeparator) {
  EXPECT_EQ("/a/b/", XfnGetFileFolder("/a/b/c.tif").AsStdString());
  EXPECT_EQ("a\\", XfnGetFileFolder("a\\c.tif").AsStdString());
  EXPECT_EQ("", XfnGetFileFolder("c.tif").AsStdString());
}

}  // namespace
