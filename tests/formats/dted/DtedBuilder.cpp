#include "DtedBuilder.h"

#include <algorithm>

namespace {

void PutText(std::vector<unsigned char>& bytes, std::size_t offset, const std::string& text) {
  if (bytes.size() < offset + text.size()) bytes.resize(offset + text.size(), ' ');
  std::ranges::copy(text, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

void PutWord(std::vector<unsigned char>& bytes, int word) {
  bytes.push_back(static_cast<unsigned char>(word >> 8));
  bytes.push_back(static_cast<unsigned char>(word));
}

std::string FourDigits(int number) {
  const std::string digits = std::to_string(number);
  return std::string(4 - std::min<std::size_t>(digits.size(), 4), '0') + digits;
}

}  // namespace

DtedBuilder& DtedBuilder::Size(int lines, int points) {
  lines_ = lines;
  points_ = points;
  return *this;
}

DtedBuilder& DtedBuilder::Labels(int numLabels) {
  numLabels_ = numLabels;
  return *this;
}

DtedBuilder& DtedBuilder::Corners(const std::string& south, const std::string& west, const std::string& north,
                                  const std::string& east) {
  south_ = south;
  west_ = west;
  north_ = north;
  east_ = east;
  return *this;
}

DtedBuilder& DtedBuilder::Datum(const std::string& datum) {
  datum_ = datum;
  return *this;
}

DtedBuilder& DtedBuilder::Claim(const std::string& lines, const std::string& points) {
  claimedLines_ = lines;
  claimedPoints_ = points;
  return *this;
}

DtedBuilder& DtedBuilder::Put(std::size_t offset, const std::string& text) {
  texts_.emplace_back(offset, text);
  return *this;
}

DtedBuilder& DtedBuilder::Words(WordFunction word) {
  word_ = std::move(word);
  return *this;
}

/// Sentinel, number of the record, counts of the first post, heights, and the sum of all bytes before.
void DtedBuilder::WriteColumn(int line, std::vector<unsigned char>& bytes) const {
  const std::size_t begin = bytes.size();
  PutWord(bytes, 0xAA00);
  PutWord(bytes, line);
  PutWord(bytes, line);
  PutWord(bytes, 0);
  for (int point = 0; point < points_; ++point) PutWord(bytes, word_(line, point));
  int sum = 0;
  for (std::size_t i = begin; i < bytes.size(); ++i) sum += bytes[i];
  PutWord(bytes, sum >> 16);
  PutWord(bytes, sum);
}

std::vector<unsigned char> DtedBuilder::Build() const {
  std::vector<unsigned char> bytes(HeaderBytes(), ' ');
  if (numLabels_ == 2) PutText(bytes, 0, "VOL1");
  const std::size_t user = 80 * static_cast<std::size_t>(numLabels_);
  if (numLabels_ > 0) PutText(bytes, user - 80, "HDR1");
  PutText(bytes, user, "UHL1" + west_.substr(0, 7) + west_.back() + '0' + south_.substr(0, 6) + south_.back());
  PutText(bytes, user + 20, "03000300NA  U  ");
  PutText(bytes, user + 47, claimedLines_.empty() ? FourDigits(lines_) : claimedLines_);
  PutText(bytes, user + 51, claimedPoints_.empty() ? FourDigits(points_) : claimedPoints_);
  PutText(bytes, user + 55, "0");
  PutText(bytes, user + 80, "DSIU");
  PutText(bytes, user + 139, "DTED1");
  PutText(bytes, user + 221, "MSL" + datum_);
  PutText(bytes, user + 284, south_ + west_ + north_ + west_ + north_ + east_ + south_ + east_);
  PutText(bytes, user + 728, "ACC");
  for (int line = 0; line < lines_; ++line) WriteColumn(line, bytes);
  for (const auto& [offset, text] : texts_) PutText(bytes, offset, text);
  return bytes;
}
