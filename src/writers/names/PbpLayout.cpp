#include "writers/names/PbpLayout.h"

#include "base/Cursor.h"
#include "base/LittleEndian.h"

#include <algorithm>

namespace zrk {

namespace {

constexpr std::string_view kPbpMark = "PBP";
constexpr std::size_t kVersionOffset = 3;
constexpr std::size_t kCountOffset = 8;

}  // namespace

std::array<unsigned char, kPbpHeadBytes> FormatPbpHead(const PbpHead& head) {
  std::array<unsigned char, kPbpHeadBytes> bytes{};
  std::ranges::copy(kPbpMark, bytes.begin());
  std::ranges::copy(head.version, bytes.begin() + kVersionOffset);
  std::ranges::copy(LittleEndian(head.count), bytes.begin() + kCountOffset);
  return bytes;
}

std::optional<PbpHead> ParsePbpHead(std::span<const unsigned char> bytes) {
  Cursor cursor(bytes);
  PbpHead head;
  const bool isMarked = cursor.Text(kPbpMark.size()) == kPbpMark;
  for (char& character : head.version) character = static_cast<char>(cursor.U8());
  cursor.Seek(kCountOffset);
  head.count = cursor.I32LE();
  if (!isMarked || cursor.HasFailed()) return std::nullopt;
  return head;
}

}  // namespace zrk
