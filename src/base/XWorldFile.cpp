#include "XWorldFile.h"

#include "XFile.h"

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

namespace {

constexpr std::int64_t kMostBytes = 4096;

/// The line at the front of `text`, which is taken off; without its end.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

/// The number that a line begins with, after blanks and a sign; 0 where it begins with none.
double ParseNumber(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(" \t\v\f");
  if (begin == std::string_view::npos) return 0.0;
  line.remove_prefix(begin);
  if (line.size() > 1 && line[0] == '+' && line[1] != '-') line.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), value);
  if (error == std::errc::result_out_of_range) {
    const std::string number(line.data(), end);
    const bool isSmall = number.find("e-") != std::string::npos || number.find("E-") != std::string::npos;
    value = isSmall ? 0.0 : HUGE_VAL;
    if (number[0] == '-') value = -value;
  }
  return value;
}

}  // namespace

XWorldFile::~XWorldFile() = default;

bool XWorldFile::Read(const XString& path) {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return false;
  std::string bytes(static_cast<std::size_t>(kMostBytes), '\0');
  bytes.resize(static_cast<std::size_t>(file.Read(bytes.data(), kMostBytes)));

  std::string_view rest = bytes;
  double* const fields[] = {&xSize_, nullptr, nullptr, &ySize_, &originX_, &originY_};
  for (double* field : fields) {
    if (rest.empty()) break;
    const std::string_view line = TakeLine(rest);
    if (field) *field = ParseNumber(line);
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
