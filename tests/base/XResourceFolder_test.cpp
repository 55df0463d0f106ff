#include "XResourceFolder.h"

#include "base/ResourceFolder.h"
#include "XPath.h"

#include <gtest/gtest.h>

TEST(XResourceFolder, LiesBesideTheLibraryUnlessAnotherOneIsSet) {
  const XString beside = XfnGetModulePathUpper() + "/resource";
  EXPECT_EQ(beside, XfnGetResourceFolder());
  XfnSetResourceFolder("/maps/heights");
  EXPECT_EQ("/maps/heights", XfnGetResourceFolder());
  XfnSetResourceFolder("");
  EXPECT_EQ(beside, XfnGetResourceFolder());
}

TEST(XResourceFolder, GrowsItsNumberWithEachSetting) {
  const unsigned before = zrk::GetResourceGeneration();
  XfnSetResourceFolder("");
  EXPECT_NE(before, zrk::GetResourceGeneration());
}
