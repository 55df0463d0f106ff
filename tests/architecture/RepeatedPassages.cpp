// Each line is brought to its shape: words of the language stay, other names become one sign, and so do numbers and
// texts. Then every run of lines, one longer than is allowed, is looked up among those before it.

#include "RepeatedPassages.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string_view>

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kWords[] = {
    "auto",      "bool",    "break",    "case",     "char",   "class",   "const",  "constexpr", "continue", "default",
    "do",        "double",  "else",     "enum",     "false",  "float",   "for",    "if",        "int",      "long",
    "namespace", "nullptr", "private",  "public",   "return", "short",   "static", "struct",    "switch",   "template",
    "this",      "true",    "typename", "unsigned", "using",  "virtual", "void",   "while"};

struct Line {
  std::string shape;
  int number = 0;
};

struct PassagePlace {
  const std::string* file;
  std::size_t firstLine;  ///< among those that count
  int number;
};

bool IsOfName(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// Behind a text or character in quotes that begins at `at`.
std::size_t SkipQuoted(std::string_view text, std::size_t at) {
  const char quote = text[at];
  for (++at; at < text.size() && text[at] != quote; ++at) {
    if (text[at] == '\\') ++at;
  }
  return std::min(at + 1, text.size());
}

/// The shape of a line without its comment; empty where nothing of it counts.
std::string FindShape(std::string_view text) {
  std::string shape;
  bool counts = false;
  for (std::size_t at = 0; at < text.size();) {
    if (text.substr(at).starts_with("//")) break;
    if (text[at] == '"' || text[at] == '\'') {
      at = SkipQuoted(text, at);
      shape += '$';
    } else if (IsOfName(text[at])) {
      const std::size_t begin = at;
      while (at < text.size() && (IsOfName(text[at]) || text[at] == '\'')) ++at;
      const std::string_view word = text.substr(begin, at - begin);
      shape += std::ranges::find(kWords, word) == std::end(kWords) ? "$" : std::string(word) + ' ';
      counts = true;
    } else {
      if (std::isspace(static_cast<unsigned char>(text[at])) == 0) shape += text[at];
      ++at;
    }
  }
  return counts && !shape.starts_with('#') ? shape : "";
}

std::vector<Line> ReadShapes(const fs::path& path) {
  std::vector<Line> lines;
  std::ifstream file(path);
  std::string text;
  for (int number = 1; std::getline(file, text); ++number) {
    std::string shape = FindShape(text);
    if (!shape.empty()) lines.push_back({std::move(shape), number});
  }
  return lines;
}

std::vector<fs::path> ListSources(const fs::path& folder) {
  std::vector<fs::path> paths;
  if (!fs::exists(folder)) return paths;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const fs::path extension = entry.path().extension();
    if (extension == ".cpp" || extension == ".h") paths.push_back(entry.path());
  }
  std::ranges::sort(paths);
  return paths;
}

/// The runs of lines that were seen, each with the place of the first.
class Passages {
 public:
  explicit Passages(std::size_t numLines) : numLines_(numLines) {}

  void Add(const std::string& file, const std::vector<Line>& lines) {
    const std::string& kept = *files_.insert(file).first;
    std::size_t told = 0;  // lines of this file that belong to a passage that was told
    for (std::size_t i = 0; i + numLines_ <= lines.size(); ++i) {
      const std::string run = Join(lines, i);
      if (run.empty()) continue;
      const auto [seen, isNew] = places_.try_emplace(run, PassagePlace{&kept, i, lines[i].number});
      const bool overlaps = seen->second.file == &kept && i < seen->second.firstLine + numLines_;
      if (isNew || overlaps || i < told) continue;
      sentences_.push_back(kept + ":" + std::to_string(lines[i].number) + " repeats " + *seen->second.file + ":" +
                           std::to_string(seen->second.number));
      told = i + numLines_;
    }
  }
  const std::vector<std::string>& GetSentences() const { return sentences_; }

 private:
  /// The run that begins with a line; empty for a table.
  std::string Join(const std::vector<Line>& lines, std::size_t first) const {
    std::set<std::string_view> shapes;
    std::string run;
    for (std::size_t i = first; i < first + numLines_; ++i) {
      shapes.insert(lines[i].shape);
      run += lines[i].shape + '\n';
    }
    return 2 * shapes.size() > numLines_ ? run : "";
  }

  std::size_t numLines_;
  std::set<std::string> files_;
  std::map<std::string, PassagePlace> places_;
  std::vector<std::string> sentences_;
};

}  // namespace

std::vector<std::string> FindRepeatedPassages(const fs::path& root, const std::vector<std::string>& folders,
                                              int maxLines) {
  Passages passages(static_cast<std::size_t>(maxLines) + 1);
  for (const std::string& folder : folders) {
    for (const fs::path& path : ListSources(root / folder)) {
      passages.Add(path.lexically_relative(root).generic_string(), ReadShapes(path));
    }
  }
  return passages.GetSentences();
}
