#include "House.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

/// Whether a file of the name lies anywhere beneath the folder.
bool ExistsBeneath(const fs::path& folder, const std::string& name) {
  if (!fs::is_directory(folder)) return false;
  return std::ranges::any_of(fs::recursive_directory_iterator(folder),
                             [&](const fs::directory_entry& entry) { return entry.path().filename() == name; });
}

bool HoldsFiles(const fs::path& folder) {
  return fs::is_directory(folder) && fs::directory_iterator(folder) != fs::directory_iterator();
}

bool HasPage(const fs::path& folder, const std::string& title) {
  if (!fs::is_directory(folder)) return false;
  return std::ranges::any_of(fs::directory_iterator(folder), [&title](const fs::directory_entry& entry) {
    std::ifstream page(entry.path());
    std::string heading;
    std::getline(page, heading);
    return heading == "# " + title;
  });
}

/// Whether a cell of a table in the text is exactly the name.
bool HasCell(const fs::path& readme, const std::string& name) {
  std::ifstream stream(readme);
  for (std::string line; std::getline(stream, line);) {
    if (!line.starts_with("|")) continue;
    std::istringstream cells(line);
    for (std::string cell; std::getline(cells, cell, '|');) {
      const std::size_t first = cell.find_first_not_of(' ');
      if (first != std::string::npos && cell.substr(first, cell.find_last_not_of(' ') + 1 - first) == name) return true;
    }
  }
  return false;
}

}  // namespace

Violations FindGapsOfFormats(const fs::path& root, std::span<const tagXFormat> formats) {
  Violations gaps;
  for (const tagXFormat& format : formats) {
    if (!format.canRead) continue;
    const auto want = [&](bool isThere, const std::string& what) {
      if (!isThere) gaps.push_back(std::string(format.name) + " has no " + what);
    };
    want(HasCell(root / "README.md", format.name), "line in the table of README.md");
    if (!format.isRaster) continue;
    const std::string band = format.bandClass;
    want(fs::exists(root / "include" / (band + ".h")), "public header");
    want(ExistsBeneath(root / "src", band + ".cpp"), "band source");
    want(ExistsBeneath(root / "tests/formats", band + "_test.cpp"), "test file");
    want(fs::exists(root / "fuzz" / (band + "_fuzz.cpp")), "fuzz target");
    want(HoldsFiles(root / "fuzz/seeds" / band) || fs::exists(root / "fuzz" / (band + "_seeds.cpp")), "fuzz seeds");
    want(HasPage(root / "docs/formats", format.name), "page in docs/formats headed by its name");
  }
  return gaps;
}
