#include "XWorldFile.h"

#include "base/WorldLines.h"

#include <cmath>

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
