#pragma once

#include <charconv>
#include <limits>
#include <string_view>
#include <type_traits>

namespace zrk {

/// A number at the front of a text, and how many bytes of the text it took; 0 of them where there is no number.
template <class Number>
struct FrontNumber {
  Number value = 0;
  std::size_t length = 0;
};

/// Takes the number that a text begins with, behind white space, whatever follows it and whatever the locale is. A
/// number beyond the range of an integer type becomes its nearest end. A real number that is too large becomes
/// infinite, and one that is too small becomes 0.
template <class Number>
FrontNumber<Number> TakeFrontNumber(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";
  const char* const begin = text.data();
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  text.remove_prefix(first);
  const bool isNegative = text.front() == '-';
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  FrontNumber<Number> number;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number.value);
  if (error == std::errc::invalid_argument) return {};
  number.length = static_cast<std::size_t>(end - begin);
  if (error == std::errc()) return number;
  using Limits = std::numeric_limits<Number>;
  if constexpr (std::is_floating_point_v<Number>) {
    const std::string_view digits(text.data(), static_cast<std::size_t>(end - text.data()));
    const std::size_t exponent = digits.find_first_of("eE");
    const bool isSmall = exponent == std::string_view::npos ? digits.find_first_of("123456789") > digits.find('.')
                                                            : digits.find('-', exponent) != std::string_view::npos;
    number.value = isSmall ? 0.0 : Limits::infinity();
    if (isNegative) number.value = -number.value;
  } else {
    number.value = isNegative ? Limits::lowest() : Limits::max();
  }
  return number;
}

}  // namespace zrk
