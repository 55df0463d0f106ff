#pragma once

#include "base/Words.h"
#include "XROI.h"
#include "XString.h"

#include <charconv>
#include <concepts>
#include <cstddef>
#include <ranges>
#include <string>
#include <string_view>

namespace zrk {

// The values of raster metadata as the text of XML elements and attributes, and back. Nothing here depends on the
// locale. A value that was formatted is parsed to the same bits.
//
// Every `ParseText` answers whether the whole text is such a value. Where it is not, the value is undefined.

/// A text of any bytes. Bytes that a parser may drop, join or refuse stand as '%' and two hexadecimal digits: control
/// characters, DEL, the '%' itself, and a blank at either end. Bytes above 0x7F stay as they are.
std::string FormatText(const XString& text);
bool ParseText(std::string_view encoded, XString& text);

/// The shortest digits that give the same number. An infinity or a NaN is 'x' and the sixteen hexadecimal digits of its
/// bits.
std::string FormatText(double value);
bool ParseText(std::string_view text, double& value);

/// The corners in turn, x and y of each.
std::string FormatText(const XROI::Polygon& polygon);
bool ParseText(std::string_view text, XROI::Polygon& polygon);

template <std::integral Value>
std::string FormatText(Value value) {
  char digits[24];
  return std::string(digits, std::to_chars(digits, digits + sizeof(digits), value).ptr);
}

template <std::integral Value>
bool ParseText(std::string_view text, Value& value) {
  const std::string_view digits = Trimmed(text);
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value);
  return error == std::errc() && stop == end;
}

template <class List>
concept NumberList = std::ranges::contiguous_range<List> &&
    (std::integral<std::ranges::range_value_t<List>> ||
     std::same_as<std::ranges::range_value_t<List>, double>)&&!std::same_as<std::ranges::range_value_t<List>, char>;

template <NumberList List>
std::string FormatText(const List& numbers) {
  std::string text;
  for (const auto& number : numbers) {
    if (!text.empty()) text += ' ';
    text += FormatText(number);
  }
  return text;
}

/// A list of fixed length needs exactly as many numbers. Any other list takes as many as there are.
template <NumberList List>
bool ParseText(std::string_view text, List& numbers) {
  constexpr bool kGrows = requires {
    numbers.push_back({});
  };
  if constexpr (kGrows) numbers.clear();
  std::size_t count = 0;
  for (std::string_view word = TakeWord(text); !word.empty(); word = TakeWord(text)) {
    std::ranges::range_value_t<List> number{};
    if (!ParseText(word, number)) return false;
    if constexpr (kGrows) {
      numbers.push_back(number);
    } else {
      if (count == std::ranges::size(numbers)) return false;
      std::ranges::begin(numbers)[static_cast<std::ptrdiff_t>(count)] = number;
    }
    ++count;
  }
  return kGrows || count == std::ranges::size(numbers);
}

}  // namespace zrk
