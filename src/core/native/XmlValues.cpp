// Values as text and back to the same bits. Numbers are the shortest digits that give the same number, whatever the
// locale; texts keep every byte. Characters that an XML parser may drop, join or refuse are written as '%' and two
// hexadecimal digits. These are control characters, since XML has no form for most of them, and blanks at the ends,
// which a parser may cut. '%' itself is written so too, so that no other text begins with it. The signs '<', '>' and
// '&' are left to the parser's library.
//
// Parsing takes a value only as a whole. A number with other characters behind it or too large for its type is no
// value, nor is a '%' without its digits. A file with such a value is refused.

#include "core/native/XmlValues.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace zrk {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool IsEncoded(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7F || character == '%';
}

void AppendEncoded(std::string& encoded, char character) {
  const auto byte = static_cast<unsigned char>(character);
  encoded += '%';
  encoded += kHexDigits[byte >> 4];
  encoded += kHexDigits[byte & 15];
}

/// Parses a hexadecimal number. All of `digits` must belong to it, and there must be `count` of them.
bool ParseHex(std::string_view digits, std::size_t count, std::uint64_t& value) {
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
  return digits.size() == count && error == std::errc() && stop == end;
}

}  // namespace

std::string FormatText(const XString& text) {
  const std::string& bytes = text.AsStdString();
  std::string encoded;
  encoded.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const bool isAtEnd = i == 0 || i + 1 == bytes.size();
    if (IsEncoded(bytes[i]) || (isAtEnd && bytes[i] == ' ')) {
      AppendEncoded(encoded, bytes[i]);
    } else {
      encoded += bytes[i];
    }
  }
  return encoded;
}

bool ParseText(std::string_view encoded, XString& text) {
  std::string bytes;
  bytes.reserve(encoded.size());
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    if (encoded[i] != '%') {
      bytes += encoded[i];
      continue;
    }
    std::uint64_t byte = 0;
    if (!ParseHex(encoded.substr(i + 1, 2), 2, byte)) return false;
    bytes += static_cast<char>(byte);
    i += 2;
  }
  text = XString(std::move(bytes));
  return true;
}

std::string FormatText(double value) {
  if (std::isfinite(value)) {
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof(digits), value).ptr);
  }
  // A NaN has bits that decimal digits can't tell.
  const auto bits = std::bit_cast<std::uint64_t>(value);
  std::string text = "x";
  for (int shift = 60; shift >= 0; shift -= 4) text += kHexDigits[bits >> shift & 15];
  return text;
}

bool ParseText(std::string_view text, double& value) {
  const std::string_view digits = Trimmed(text);
  if (digits.starts_with('x')) {
    std::uint64_t bits = 0;
    if (!ParseHex(digits.substr(1), 16, bits)) return false;
    value = std::bit_cast<double>(bits);
    return true;
  }
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value);
  // `from_chars` takes words for an infinity and a NaN as well. We write bits for these, and so the words are refused.
  return error == std::errc() && stop == end && std::isfinite(value);
}

std::string FormatText(const XROI::Polygon& polygon) {
  std::vector<double> numbers;
  numbers.reserve(polygon.size() * 2);
  for (const XROI::Point& point : polygon) numbers.insert(numbers.end(), {point.x, point.y});
  return FormatText(numbers);
}

bool ParseText(std::string_view text, XROI::Polygon& polygon) {
  std::vector<double> numbers;
  if (!ParseText(text, numbers) || numbers.size() % 2 != 0) return false;
  polygon.clear();
  polygon.reserve(numbers.size() / 2);
  for (std::size_t i = 0; i < numbers.size(); i += 2) polygon.push_back({numbers[i], numbers[i + 1]});
  return true;
}

}  // namespace zrk
