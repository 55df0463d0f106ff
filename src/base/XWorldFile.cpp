// A world file is six numbers on six lines. `WorldLines` reads them for both policies; this source turns them into
// edges and pixel sizes, and writes new files.
//
// Two forms are written. The short one has pixel sizes and a corner, with ten digits behind the point, as existing
// readers expect. The full one has all six numbers of a transform, with as many digits as bring the same number back. A
// new file is published as a whole, so that a failed write leaves the old file.

#include "XWorldFile.h"

#include "base/NewFile.h"
#include "base/WorldLines.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>

namespace {

/// A number with ten digits behind the point. The digits are written without a locale, so that the point stays a point.
/// The text has room for the largest number there is.
std::string WithTenDigits(double number) {
  constexpr int kDigits = 10;
  char text[std::numeric_limits<double>::max_exponent10 + kDigits + 4];
  const std::to_chars_result result =
      std::to_chars(std::begin(text), std::end(text), number, std::chars_format::fixed, kDigits);
  return std::string(text, result.ptr);
}

/// As above where that brings the same number back, and otherwise with as many digits as do.
std::string WithAllDigits(double number) {
  std::string text = WithTenDigits(number);
  double back = 0.0;
  std::from_chars(text.data(), text.data() + text.size(), back);
  if (back == number) return text;
  constexpr int kMaxZeros = -std::numeric_limits<double>::min_exponent10;
  char digits[kMaxZeros + 2 * std::numeric_limits<double>::max_digits10];
  const std::to_chars_result result =
      std::to_chars(std::begin(digits), std::end(digits), number, std::chars_format::fixed);
  return result.ec == std::errc() ? std::string(digits, result.ptr) : text;
}

/// Numbers stand in a column 30 wide. The file is small, but an old one still stays until the new one is whole.
int WriteLines(const XString& path, std::initializer_list<double> numbers, std::string (*write)(double number)) {
  constexpr std::size_t kWidth = 30;
  std::string text;
  for (const double number : numbers) {
    const std::string line = write(number);
    text.append(kWidth - std::min(line.size(), kWidth), ' ');
    text += line + '\n';
  }
  zrk::NewFile file;
  return file.Begin(path) && file.File().Write(text.data(), static_cast<std::int64_t>(text.size())) && file.Publish();
}

}  // namespace

XWorldFile::XWorldFile() = default;
XWorldFile::~XWorldFile() = default;

/// The numbers of rotation have no field. Lines that are missing leave theirs unset.
XWorldFile::XWorldFile(const double* numbers, int count) {
  double* const fields[] = {&xSize_, nullptr, nullptr, &ySize_, &originX_, &originY_};
  for (int i = 0; i < std::min(count, static_cast<int>(std::size(fields))); ++i) {
    if (fields[i]) *fields[i] = numbers[i];
  }
}

bool XWorldFile::Read(const XString& path) {
  const std::optional<zrk::WorldLines> lines = zrk::ReadWorldLines(path);
  if (!lines) return false;
  *this = XWorldFile(lines->numbers.data(), lines->count);
  return true;
}

/// Rows go down while the world goes up, hence the minus of the second size.
int XWorldFile::Write(const XString& path, double xPixelSize, double yPixelSize, double x, double y) {
  return WriteLines(path, {xPixelSize, 0.0, 0.0, -yPixelSize, x, y}, &WithTenDigits);
}

/// The file has the numbers of the columns before those of the rows.
int XWorldFile::Write(const XString& path, const double transform[6]) {
  const double x = transform[0] + (transform[1] + transform[2]) / 2.0;
  const double y = transform[3] + (transform[4] + transform[5]) / 2.0;
  return WriteLines(path, {transform[1], transform[4], transform[2], transform[5], x, y}, &WithAllDigits);
}

std::vector<XString> XWorldFile::ListNamesForTiff(const XString& path) {
  return zrk::ListWorldFilesOfTiff(path);
}

/// Sizes of either sign occur, so that the origin may be any corner. An edge that is not set counts in pixels, from 0
/// at the left and at the bottom.
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
