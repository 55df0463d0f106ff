// World files as both policies read them. The compatible policy takes what is there: a line that begins with no number
// is 0, and so is one that is missing. The exact one takes a file whose first six lines are numbers that place an
// image. It doesn't go on to another name where the first file that is there is not one of these, because it can't know
// which one was meant.

#include "base/WorldLines.h"

#include "base/Disk.h"
#include "XFile.h"
#include "XPath.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace zrk {
namespace {

/// Six lines of any sensible length. A file that is no world file at all may be of any size.
constexpr std::int64_t kMaxBytes = 4096;

/// The line at the front of `text`, which is taken off; without its end.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

/// Numbers have a point whatever language the program speaks. The locale is one of this object and not of the process,
/// whose setting other threads may be using.
class PlainLocale {
 public:
  PlainLocale() : locale_(::newlocale(LC_ALL_MASK, "C", nullptr)) {}
  ~PlainLocale() {
    if (locale_) ::freelocale(locale_);
  }
  PlainLocale(const PlainLocale&) = delete;
  PlainLocale& operator=(const PlainLocale&) = delete;

  /// What begins with no number is 0. Text behind the number is passed over.
  double Parse(const char* text, char** end = nullptr) const {
    if (end) *end = const_cast<char*>(text);
    return locale_ ? ::strtod_l(text, end, locale_) : 0.0;
  }
  /// Nothing where the line does not begin with a number and a blank. Some programs end lines with a comma.
  std::optional<double> ParseWhole(std::string line) const {
    line.erase(line.find_last_not_of(" \t\r") + 1);
    if (line.ends_with(',')) line.pop_back();
    char* end = nullptr;
    const double number = Parse(line.c_str(), &end);
    const bool isRead = end != line.c_str();
    const bool isWhole = end == line.c_str() + line.size() || std::isspace(static_cast<unsigned char>(*end));
    return isRead && isWhole ? std::optional(number) : std::nullopt;
  }

 private:
  locale_t locale_;
};

/// The first bytes of a file. The result is 0, or the number of the system's error.
int ReadFirstBytes(const XString& path, std::string& bytes) {
  std::shared_ptr<DiskFile> file;
  if (const int error = CurrentDisk().Open(path.AsStdString(), {}, file)) return error;
  const std::int64_t size = file->Size();
  if (size < 0) return static_cast<int>(-size);
  bytes.resize(static_cast<std::size_t>(std::min(size, kMaxBytes)));
  const std::int64_t got = file->ReadAt(0, bytes.data(), static_cast<std::int64_t>(bytes.size()));
  if (got < 0) return static_cast<int>(-got);
  return got == static_cast<std::int64_t>(bytes.size()) ? 0 : EIO;
}

/// A name that is too long is that of no file.
bool IsAbsent(int error) {
  return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
}

/// Takes the lines out of the bytes of a world file. What is wrong with them, or "".
XString ParseExactly(std::string_view bytes, WorldLines& lines) {
  const PlainLocale locale;
  XString wrong;
  for (double& number : lines.numbers) {
    if (bytes.empty()) return "has fewer than six lines";
    const std::optional<double> parsed = locale.ParseWhole(std::string(TakeLine(bytes)));
    ++lines.count;
    if (!parsed) {
      wrong.Format("has no number in line %d", lines.count);
      return wrong;
    }
    number = *parsed;
  }
  if (!TransformOf(lines)) wrong = "has numbers that place no image";
  return wrong;
}

}  // namespace

/// A line of the file has the step of a column in both directions of the world, then that of a row, then the place.
std::optional<std::array<double, 6>> TransformOf(const WorldLines& lines) {
  const std::array<double, 6>& n = lines.numbers;
  const double area = n[0] * n[3] - n[1] * n[2];
  const bool areFinite = std::ranges::all_of(n, [](double number) { return std::isfinite(number); });
  if (lines.count < std::ssize(n) || !areFinite || !std::isfinite(area) || area == 0.0) return std::nullopt;
  return std::array{n[4] - (n[0] + n[2]) / 2, n[0], n[2], n[5] - (n[1] + n[3]) / 2, n[1], n[3]};
}

std::vector<XString> ListWorldFiles(const XString& path, const char* extension) {
  const XString stem = XfnGetFileFolder(path) + XfnGetFileTitle(path), ext = XfnGetFileExt(path);
  std::vector<XString> endings;
  if (ext.GetLength() > 1) endings.push_back("." + ext.Left(1) + ext.Mid(ext.GetLength() - 1) + "w");
  if (!ext.IsEmpty()) endings.push_back("." + ext + "w");
  endings.insert(endings.end(), {XString(extension), XString(".wld")});
  std::vector<XString> paths;
  for (XString& ending : endings) {
    ending.MakeLower();
    paths.push_back(stem + ending);
    ending.MakeUpper();
    paths.push_back(stem + ending);
  }
  return paths;
}

int FindWorldFile(const std::vector<XString>& names, std::optional<WorldLines>& found, XString& err) {
  for (const XString& name : names) {
    std::string bytes;
    const int error = ReadFirstBytes(name, bytes);
    if (IsAbsent(error)) continue;
    WorldLines lines;
    const XString wrong = error ? XString("can't be read: ") + std::strerror(error) : ParseExactly(bytes, lines);
    if (wrong.IsEmpty()) {
      found = lines;
      return 1;
    }
    err = "The world file " + XfnGetFileName(name) + " " + wrong;
    return 0;
  }
  return 1;
}

XString GetWorldFileName(const XString& path, const char* extension) {
  return path.Left(path.GetLength() - 4) + extension;
}

/// The first rule replaces an extension of three letters whole, so that the other two are not needed for it.
std::vector<XString> ListWorldFilesOfTiff(const XString& path) {
  const XString folder = XfnGetFileFolder(path), name = XfnGetFileName(path);
  std::vector<XString> stems = {name.Left(name.GetLength() - 4)};
  if (XfnGetFileExt(path).GetLength() != 3) {
    stems.insert(stems.end(), {name.Left(name.GetLength() - 3), XfnGetFileTitle(path)});
  }
  std::vector<XString> paths;
  for (const XString& stem : stems) {
    for (const char* extension : {".tfw", ".TFW"}) paths.push_back(folder + stem + extension);
  }
  return paths;
}

std::optional<WorldLines> ReadWorldLines(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return {};
  std::string bytes(static_cast<std::size_t>(kMaxBytes), '\0');
  bytes.resize(static_cast<std::size_t>(file.Read(bytes.data(), kMaxBytes)));

  const PlainLocale locale;
  std::string_view rest = bytes;
  WorldLines lines;
  for (double& number : lines.numbers) {
    if (rest.empty()) break;
    number = locale.Parse(std::string(TakeLine(rest)).c_str());
    ++lines.count;
  }
  return lines;
}

}  // namespace zrk
