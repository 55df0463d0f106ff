#include "base/WorldLines.h"

#include "XFile.h"
#include "XPath.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
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

  double Parse(const char* text) const { return locale_ ? ::strtod_l(text, nullptr, locale_) : 0.0; }

 private:
  locale_t locale_;
};

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

XString FindWorldFile(const XString& path, const char* extension, WorldLines& lines) {
  for (const XString& name : ListWorldFiles(path, extension)) {
    const std::optional<WorldLines> found = ReadWorldLines(name);
    if (!found || !TransformOf(*found)) continue;
    lines = *found;
    return name;
  }
  return {};
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
    // What begins with no number is 0. Text behind the number is passed over.
    number = locale.Parse(std::string(TakeLine(rest)).c_str());
    ++lines.count;
  }
  return lines;
}

}  // namespace zrk
