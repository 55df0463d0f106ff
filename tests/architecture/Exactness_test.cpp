// The page of differences between the two read policies is a table with one row an unevenness. Each row names the tests
// that pin the compatible behaviour and the exact one, and both have to be there.

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string ReadText(const fs::path& path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The cells of a row of a table, without their margins; empty for any other line.
std::vector<std::string> CellsOf(const std::string& line) {
  std::vector<std::string> cells;
  if (!line.starts_with("|")) return cells;
  std::istringstream stream(line.substr(1));
  for (std::string cell; std::getline(stream, cell, '|');) {
    const std::size_t first = cell.find_first_not_of(' '), last = cell.find_last_not_of(' ');
    cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
  }
  return cells;
}

/// The rows below the table's head.
std::vector<std::vector<std::string>> RowsOf(const std::string& page) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(page);
  bool isHead = true;
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> cells = CellsOf(line);
    if (cells.empty()) continue;
    if (cells[0].starts_with("---")) {
      isHead = false;
    } else if (!isHead) {
      rows.push_back(cells);
    }
  }
  return rows;
}

/// The names of all tests in the sources, as Suite.Name.
std::set<std::string> ListTests(const fs::path& folder) {
  static const std::regex kTest(R"re(\bTEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\))re");
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".cpp") continue;
    const std::string text = ReadText(entry.path());
    for (std::sregex_iterator match(text.begin(), text.end(), kTest), end; match != end; ++match) {
      names.insert((*match)[1].str() + "." + (*match)[2].str());
    }
  }
  return names;
}

/// The tests that a cell names, each between backticks.
std::vector<std::string> TestsIn(const std::string& cell) {
  static const std::regex kName("`(\\w+\\.\\w+)`");
  std::vector<std::string> names;
  for (std::sregex_iterator match(cell.begin(), cell.end(), kName), end; match != end; ++match) {
    names.push_back((*match)[1]);
  }
  return names;
}

}  // namespace

TEST(Exactness, HasTwoTestsForEachUnevenness) {
  const std::vector<std::vector<std::string>> rows = RowsOf(ReadText(SourcePath("docs/EXACTNESS.md")));
  const std::set<std::string> tests = ListTests(SourcePath("tests"));
  ASSERT_GT(rows.size(), 10U);
  for (const std::vector<std::string>& row : rows) {
    ASSERT_EQ(5U, row.size()) << row[0];  // format, compatible, exact, and a test for each
    for (const std::size_t column : {3U, 4U}) {
      const std::vector<std::string> named = TestsIn(row[column]);
      EXPECT_FALSE(named.empty()) << row[0] << ": " << row[1] << " has no test in column " << column;
      for (const std::string& name : named) EXPECT_TRUE(tests.contains(name)) << name;
    }
  }
}
