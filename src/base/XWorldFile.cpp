#include "XWorldFile.h"

#include "XFile.h"

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::int64_t kMostBytes = 4096;

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

XWorldFile::~XWorldFile() = default;

bool XWorldFile::Read(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return false;
  std::string bytes(static_cast<std::size_t>(kMostBytes), '\0');
  bytes.resize(static_cast<std::size_t>(file.Read(bytes.data(), kMostBytes)));

  *this = XWorldFile();
  const PlainLocale locale;
  std::string_view rest = bytes;
  double* const fields[] = {&xSize_, nullptr, nullptr, &ySize_, &originX_, &originY_};
  for (double* field : fields) {
    if (rest.empty()) break;
    const std::string line(TakeLine(rest));
    if (field) *field = locale.Parse(line.c_str());
  }
  return true;
}

double XWorldFile::Left(int width) const {
  if (xSize_ == kNotSet || originX_ == kNotSet) return 0.0;
  return xSize_ < 0.0 ? originX_ - std::abs(xSize_) * width : originX_;
}

double XWorldFile::Bottom(int height) const {
  if (ySize_ == kNotSet || originY_ == kNotSet) return 0.0;
  return ySize_ < 0.0 ? originY_ - std::abs(ySize_) * height : originY_;
}

double XWorldFile::Right(int width) const {
  if (xSize_ == kNotSet || originX_ == kNotSet) return width - 1.0;
  return xSize_ < 0.0 ? originX_ : originX_ + width * xSize_;
}

double XWorldFile::Top(int height) const {
  if (xSize_ == kNotSet || originX_ == kNotSet) return height - 1.0;
  return ySize_ < 0.0 ? originY_ : originY_ + height * ySize_;
}

double XWorldFile::XPixelSize() const {
  return std::abs(xSize_);
}

double XWorldFile::YPixelSize() const {
  return std::abs(ySize_);
}
