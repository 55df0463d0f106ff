#include "ZRKVersion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(XfnGetVersion, IsThreeNumbers) {
  EXPECT_THAT(XfnGetVersion(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

TEST(XfnGetLibraryVersions, NamesEachLibraryWithItsNumbers) {
  const XStringList versions = XfnGetLibraryVersions();
  std::vector<std::string> texts;
  for (const XString& version : versions) texts.push_back(version.AsStdString());
  const auto isVersionOf = [](const std::string& name) {
    return testing::MatchesRegex(name + " [0-9]+\\.[0-9]+\\.[0-9]+");
  };
  EXPECT_THAT(texts, testing::ElementsAre(isVersionOf("GDAL"), isVersionOf("PROJ"), isVersionOf("libjpeg-turbo"),
                                          isVersionOf("libtiff"), isVersionOf("libgeotiff"), isVersionOf("Highway")));
}

}  // namespace
