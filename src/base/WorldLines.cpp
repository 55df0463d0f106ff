#include "base/WorldLines.h"

#include "XFile.h"
#include "XPath.h"

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace zrk {
namespace {

constexpr std::int64_t kMaxBytes = 4096;

/// The line at the front of `text`, which is taken off; without its end.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

/// Numbers have a point whatever language the program speaks.
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

XString GetWorldFileName(const XString& path, const char* extension) {
  return path.Left(path.GetLength() - 4) + extension;
}

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
