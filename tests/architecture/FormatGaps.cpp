#include "House.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace fs = std::filesystem;

namespace {

/// The folder in which a file of the name lies, anywhere beneath another one; empty where no folder has it.
fs::path FolderOf(const std::string& name, const fs::path& top) {
  if (!fs::is_directory(top)) return {};
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
    if (entry.path().filename() == name) return entry.path().parent_path();
  }
  return {};
}

/// Whether a file whose name ends so lies in the folder.
bool HasFileEndingIn(const fs::path& folder, const std::string& ending) {
  if (!fs::is_directory(folder)) return false;
  return std::ranges::any_of(fs::directory_iterator(folder), [&](const fs::directory_entry& entry) {
    return entry.path().filename().string().ends_with(ending);
  });
}

/// Whether a source beneath `src` has a row that names the class of the bands.
bool HasRow(const fs::path& src, const std::string& band) {
  if (!fs::is_directory(src)) return false;
  return std::ranges::any_of(fs::recursive_directory_iterator(src), [&](const fs::directory_entry& entry) {
    if (!entry.path().filename().string().ends_with("Format.cpp")) return false;
    std::ifstream stream(entry.path());
    const std::string text((std::istreambuf_iterator<char>(stream)), {});
    return text.find('"' + band + '"') != std::string::npos;
  });
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
    want(!FolderOf(band + ".cpp", root / "src").empty(), "band source");
    want(HasRow(root / "src", band), "row in a source named ...Format.cpp");
    const fs::path tests = FolderOf(band + "_test.cpp", root / "tests/formats");
    want(!tests.empty(), "test file");
    want(HasFileEndingIn(tests, "Samples.cpp"), "samples beside its tests");
    want(fs::exists(root / "fuzz" / (band + "_fuzz.cpp")), "fuzz target");
    want(HoldsFiles(root / "fuzz/seeds" / band) || fs::exists(root / "fuzz" / (band + "_seeds.cpp")), "fuzz seeds");
    want(HasPage(root / "docs/formats", format.name), "page in docs/formats headed by its name");
  }
  return gaps;
}
