#include "RepeatedPassages.h"

#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A function of six lines that count, no two of one shape; the name is put in.
std::string MakeFunction(const std::string& name) {
  return "int " + name +
         "(int a) {\n  int sum = a;\n\n  // A comment.\n  for (int i = 0; i < 4; ++i) {\n    sum += i * " + name +
         "Factor[i];\n  }\n  if (sum > 12) return 0;\n  return sum;\n}\n";
}

class RepeatedPassages : public testing::Test {
 protected:
  std::vector<std::string> Find(int maxLines) const { return FindRepeatedPassages(folder_.Path(), {""}, maxLines); }
  TempFolder folder_;
};

TEST_F(RepeatedPassages, AreFoundWithOtherNamesAndNumbers) {
  folder_.Write("a.cpp", "\n" + MakeFunction("Weigh"));
  folder_.Write("b.cpp", "using Far = int;\n" + MakeFunction("CountAll"));
  EXPECT_THAT(Find(5), ElementsAre("b.cpp:2 repeats a.cpp:2"));
  EXPECT_THAT(Find(6), IsEmpty());
}

TEST_F(RepeatedPassages, AreFoundWithinOneFile) {
  folder_.Write("a.h", MakeFunction("Weigh") + MakeFunction("Count"));
  EXPECT_THAT(Find(5), ElementsAre("a.h:11 repeats a.h:1"));
}

TEST_F(RepeatedPassages, AreNoneWhereALineHasAnotherShape) {
  folder_.Write("a.cpp", MakeFunction("Weigh"));
  std::string other = MakeFunction("Count");
  folder_.Write("b.cpp", other.replace(other.find("sum > 12"), 8, "sum < 12"));
  EXPECT_THAT(Find(5), IsEmpty());
}

TEST_F(RepeatedPassages, AreNoneInTables) {
  std::string table;
  for (int i = 0; i < 30; ++i) table += "  {\"name\", " + std::to_string(i) + ", kOf},\n";
  folder_.Write("a.cpp", table);
  folder_.Write("b.cpp", table);
  EXPECT_THAT(Find(5), IsEmpty());
}

TEST_F(RepeatedPassages, AreNoneInThisTree) {
  EXPECT_THAT(FindRepeatedPassages(SourcePath(""), {"src", "tools"}, 12), IsEmpty());
}

}  // namespace
