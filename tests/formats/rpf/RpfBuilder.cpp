#include "RpfBuilder.h"

#include <bit>
#include <cstdio>
#include <utility>

namespace {

constexpr std::size_t kBehindImage = 5;  // the length of an extended subheader
constexpr std::array<std::size_t, 6> kEntryBytes = {16, 10, 7, 9, 13, 11};

std::string Digits(int value, int width) {
  char text[16];
  std::snprintf(text, sizeof(text), "%0*d", width, value);
  return text;
}

}  // namespace

RpfBytes& RpfBytes::Number(std::uint64_t value, int width) {
  for (int i = 0; i < width; ++i) {
    bytes_.push_back(static_cast<unsigned char>(value >> (8 * (littleEndian_ ? i : width - 1 - i))));
  }
  return *this;
}

RpfBytes& RpfBytes::F64(double value) {
  return Number(std::bit_cast<std::uint64_t>(value), 8);
}

RpfBytes& RpfBytes::Text(const std::string& text, std::size_t length) {
  std::string padded = text;
  padded.resize(length, ' ');
  bytes_.insert(bytes_.end(), padded.begin(), padded.end());
  return *this;
}

RpfBytes& RpfBytes::Add(const std::vector<unsigned char>& bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  return *this;
}

RpfBytes& RpfBytes::Zeros(std::size_t count) {
  bytes_.resize(bytes_.size() + count, 0);
  return *this;
}

RpfBuilder& RpfBuilder::LittleEndian() {
  littleEndian_ = true;
  return *this;
}

RpfBuilder& RpfBuilder::LongLayout() {
  isLong_ = true;
  return *this;
}

RpfBuilder& RpfBuilder::Segments(const std::array<int, 6>& counts) {
  segments_ = counts;
  return *this;
}

RpfBuilder& RpfBuilder::Image(const std::string& subheader) {
  image_ = subheader;
  return *this;
}

RpfBuilder& RpfBuilder::ExtendedHeader(int bytes) {
  extendedBytes_ = bytes;
  return *this;
}

RpfBuilder& RpfBuilder::ClaimHeaderLength(int bytes) {
  claimedHeader_ = bytes;
  return *this;
}

RpfBuilder& RpfBuilder::ClaimExtendedLength(int bytes) {
  claimedExtended_ = bytes;
  return *this;
}

RpfBuilder& RpfBuilder::NoWrapper() {
  hasWrapper_ = false;
  return *this;
}

RpfBuilder& RpfBuilder::ComponentRecordBytes(int bytes) {
  recordBytes_ = bytes;
  return *this;
}

RpfBuilder& RpfBuilder::Gap(std::size_t bytes) {
  gap_ = bytes;
  return *this;
}

RpfBuilder& RpfBuilder::Component(int id, std::vector<unsigned char> bytes) {
  const auto length = static_cast<std::uint32_t>(bytes.size());
  parts_.push_back({id, std::move(bytes), false, length, 0});
  return *this;
}

RpfBuilder& RpfBuilder::ComponentAt(int id, std::uint32_t length, std::uint32_t offset) {
  parts_.push_back({id, {}, true, length, offset});
  return *this;
}

std::size_t RpfBuilder::ListBytes() const {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < segments_.size(); ++i) {
    bytes += 3 + kEntryBytes[i] * static_cast<std::size_t>(segments_[i]);
  }
  return bytes;
}

std::size_t RpfBuilder::UserHeader() const {
  return (isLong_ ? 394u : 354u) + 6 + ListBytes();
}

std::size_t RpfBuilder::HeaderOffset() const {
  return hasWrapper_ ? UserHeader() + 5 + 3 + 6 + 5 : 0;
}

/// What follows the RPF header up to the location section: the extended header and the subheader of an image.
std::size_t RpfBuilder::TailBytes() const {
  return hasWrapper_ ? 5 + static_cast<std::size_t>(extendedBytes_) + MakeImageHead().size() : 0;
}

std::size_t RpfBuilder::ComponentOffset(std::size_t index) const {
  std::size_t offset = LocationOffset() + LocationBytes() + (image_.empty() ? 0 : kBehindImage) + gap_;
  for (std::size_t i = 0; i < index; ++i) offset += parts_[i].bytes.size();
  return offset;
}

std::string RpfBuilder::MakeWrapper() const {
  std::string text = "NITF02.00";
  text.resize(isLong_ ? 394 : 354, ' ');
  if (isLong_) text.replace(280, 6, "999998");
  const int headerBytes = static_cast<int>(UserHeader()) + 5 + 62 + 5 + extendedBytes_;
  text += Digits(claimedHeader_ >= 0 ? claimedHeader_ : headerBytes, 6);
  std::string entries;
  for (std::size_t i = 0; i < segments_.size(); ++i) {
    entries += Digits(segments_[i], 3);
    entries.append(kEntryBytes[i] * static_cast<std::size_t>(segments_[i]), '7');
  }
  if (!image_.empty()) {
    const std::size_t imageBytes = MakeImageHead().size() + LocationBytes() + kBehindImage;
    const int dataBytes = static_cast<int>(ComponentOffset(parts_.size()) - imageBytes) - headerBytes;
    entries.replace(3, 16, Digits(static_cast<int>(imageBytes), 6) + Digits(dataBytes, 10));
  }
  return text + entries + Digits(62, 5) + "000" + "RPFHDR" + Digits(48, 5);
}

/// What comes before the location section.
std::string RpfBuilder::MakeImageHead() const {
  if (image_.empty()) return "IM";
  const int locationBytes = static_cast<int>(LocationBytes());
  return image_ + Digits(3 + 6 + 5 + locationBytes, 5) + "000" + "RPFIMG" + Digits(locationBytes, 5);
}

std::vector<unsigned char> RpfBuilder::MakeHeader() const {
  RpfBytes header = Bytes();
  header.U8(littleEndian_ ? 0xFF : 0).U16(48).Text("00A1B2C3.ON1", 12).U8('N').Text("MIL-C-89038", 15);
  header.Text("19940304", 8).Text("U", 1).Text("US", 2).Text("RM", 2);
  header.U32(static_cast<std::uint32_t>(LocationOffset()));
  std::vector<unsigned char> bytes = header.Get();
  if (!hasWrapper_) {
    for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>("NITF"[i]);
  }
  return bytes;
}

std::vector<unsigned char> RpfBuilder::MakeLocation() const {
  RpfBytes location = Bytes();
  const auto tableBytes = static_cast<std::uint32_t>(parts_.size() * static_cast<std::size_t>(recordBytes_));
  location.U16(14 + tableBytes).U32(14).U16(static_cast<std::uint32_t>(parts_.size()));
  location.U16(static_cast<std::uint32_t>(recordBytes_)).U32(0);
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    const std::uint32_t offset = parts_[i].isPlaced ? parts_[i].offset : static_cast<std::uint32_t>(ComponentOffset(i));
    location.U16(static_cast<std::uint32_t>(parts_[i].id)).U32(parts_[i].length).U32(offset);
    location.Zeros(static_cast<std::size_t>(recordBytes_) - 10);
  }
  return location.Get();
}

std::vector<unsigned char> RpfBuilder::Build() const {
  RpfBytes file = Bytes();
  if (hasWrapper_) {
    const std::string wrapper = MakeWrapper();
    file.Text(wrapper, wrapper.size());
  }
  file.Add(MakeHeader());
  if (hasWrapper_) {
    file.Text(Digits(claimedExtended_ >= 0 ? claimedExtended_ : extendedBytes_, 5), 5);
    file.Zeros(static_cast<std::size_t>(extendedBytes_)).Text(MakeImageHead(), MakeImageHead().size());
  }
  file.Add(MakeLocation());
  if (!image_.empty()) file.Text(Digits(0, kBehindImage), kBehindImage);
  file.Zeros(gap_);
  for (const Part& part : parts_) file.Add(part.bytes);
  return file.Get();
}
