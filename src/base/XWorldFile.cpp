#include "XWorldFile.h"

#include "base/NewFile.h"
#include "base/WorldLines.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace {

/// A number with ten digits behind the point, in a column 30 wide, whatever language the program speaks.
std::string MakeLine(double number) {
  constexpr int kDigits = 10;
  constexpr std::size_t kWidth = 30;
  char text[std::numeric_limits<double>::max_exponent10 + kDigits + 4];
  const std::to_chars_result result =
      std::to_chars(std::begin(text), std::end(text), number, std::chars_format::fixed, kDigits);
  std::string line(text, result.ptr);
  if (line.size() < kWidth) line.insert(0, kWidth - line.size(), ' ');
  return line + '\n';
}

}  // namespace

XWorldFile::~XWorldFile() = default;

bool XWorldFile::Read(const XString& path) {
  const std::optional<zrk::WorldLines> lines = zrk::ReadWorldLines(path);
  if (!lines) return false;
  *this = XWorldFile();
  double* const fields[] = {&xSize_, nullptr, nullptr, &ySize_, &originX_, &originY_};
  for (std::size_t i = 0; i < static_cast<std::size_t>(lines->count); ++i) {
    if (fields[i]) *fields[i] = lines->numbers[i];
  }
  return true;
}

int XWorldFile::Write(const XString& path, double xPixelSize, double yPixelSize, double x, double y) {
  std::string text;
  for (const double number : {xPixelSize, 0.0, 0.0, -yPixelSize, x, y}) text += MakeLine(number);
  zrk::NewFile file;
  return file.Begin(path) && file.File().Write(text.data(), static_cast<std::int64_t>(text.size())) && file.Publish();
}

std::vector<XString> XWorldFile::ListNamesForTiff(const XString& path) {
  return zrk::ListWorldFilesOfTiff(path);
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
