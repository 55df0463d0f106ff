#include "writers/names/PlaceLines.h"

#include <charconv>
#include <cmath>

namespace zrk {

namespace {

constexpr std::size_t kFillBytes = 1 << 18;
constexpr std::string_view kMarkOfUtf8 = "\xEF\xBB\xBF";

}  // namespace

PlaceLines::PlaceLines(const XString& path) {
  if (!file_.Open(path, XFile::kRead)) {
    throw PlaceListFault("Can't open file: " + file_.GetLastErrorText().AsStdString());
  }
  Fill();
  if (buffer_.starts_with(kMarkOfUtf8)) begin_ = kMarkOfUtf8.size();
}

/// Drops what was handed out and reads on behind what is left; false at the end of the file.
bool PlaceLines::Fill() {
  buffer_.erase(0, begin_);
  begin_ = 0;
  const std::size_t left = buffer_.size();
  buffer_.resize(left + kFillBytes);
  const std::int64_t numRead = file_.ReadAt(offset_, buffer_.data() + left, kFillBytes);
  buffer_.resize(left + static_cast<std::size_t>(numRead));
  offset_ += numRead;
  // A disk that fails in the middle of a file looks like its end.
  if (numRead == 0 && offset_ < file_.GetLength()) throw PlaceListFault("The file can't be read");
  return numRead > 0;
}

bool PlaceLines::Next(std::string_view& line) {
  std::size_t end = buffer_.find('\n', begin_);
  while (end == std::string::npos && buffer_.size() - begin_ <= kMaxLineBytes && Fill())
    end = buffer_.find('\n', begin_);
  const bool isLast = end == std::string::npos;
  if (isLast && begin_ == buffer_.size()) return false;
  ++number_;
  line = std::string_view(buffer_).substr(begin_, isLast ? buffer_.size() - begin_ : end - begin_);
  if (line.size() > kMaxLineBytes) throw PlaceListFault(number_, "the line is too long");
  if (line.find('\0') != std::string_view::npos) throw PlaceListFault(number_, "the line is no text");
  begin_ = isLast ? buffer_.size() : end + 1;
  if (line.ends_with('\r')) line.remove_suffix(1);
  return true;
}

bool ParsePlaceNumber(std::string_view text, double& number) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return false;
  number = value;
  return true;
}

bool PutOnEarth(ListedPoint& point) {
  if (!(std::abs(point.latitude) <= 90.0 && point.longitude >= -180.0 && point.longitude <= 360.0)) return false;
  if (point.longitude > 180.0) point.longitude -= 360.0;
  return true;
}

}  // namespace zrk
