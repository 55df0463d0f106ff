#include "ForeignFiles.h"

#include "TempFolder.h"

#include <cctype>
#include <filesystem>

std::string TestNameOf(const char* fileName) {
  std::string name;
  for (const char* c = fileName; *c; ++c) {
    if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
  }
  return name;
}

std::string PathOfForeign(const std::string& folder, const std::string& name) {
  return SharedDataDir() + "/" + folder + "/" + name;
}

void ExpectAllListed(const std::string& folder, const std::set<std::string>& extensions,
                     const std::set<std::string>& listed) {
  const std::filesystem::path path = SharedDataDir() + "/" + folder;
  if (!std::filesystem::is_directory(path)) GTEST_SKIP() << "no shared data";
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (!extensions.contains(entry.path().extension().string())) continue;
    EXPECT_TRUE(listed.contains(entry.path().filename().string())) << entry;
  }
}
