#include "base/Words.h"

#include <algorithm>
#include <cstddef>

namespace zrk {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

}  // namespace

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

std::string_view TakeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kWhiteSpace));
  text.remove_prefix(word.size());
  return word;
}

}  // namespace zrk
