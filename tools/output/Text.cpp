// Texts out of files are not trusted on a terminal. Control characters of both sets become question marks, and texts
// that are too long are cut between characters.

#include "output/Text.h"

#include <cctype>

namespace {

bool IsControl(unsigned char byte) {
  return byte < 0x20 || byte == 0x7F;
}

/// The second set of control characters as UTF-8 writes it: 0xC2 and a byte from 0x80 to 0x9F.
bool IsSecondaryControl(std::string_view text, std::size_t place) {
  if (place + 1 >= text.size() || static_cast<unsigned char>(text[place]) != 0xC2) return false;
  const auto next = static_cast<unsigned char>(text[place + 1]);
  return next >= 0x80 && next <= 0x9F;
}

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

/// A control character of two bytes becomes one mark.
std::string Printable(std::string_view text) {
  std::string printable;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isSecondary = IsSecondaryControl(text, i);
    const bool isControl = isSecondary || IsControl(static_cast<unsigned char>(text[i]));
    printable += isControl ? '?' : text[i];
    if (isSecondary) ++i;
  }
  return printable;
}

std::string Shortened(std::string text, std::size_t maxBytes) {
  constexpr std::string_view kEllipsis = "...";
  if (text.size() <= maxBytes) return text;
  std::size_t kept = maxBytes > kEllipsis.size() ? maxBytes - kEllipsis.size() : 0;
  // Half a character would be printed as rubbish.
  while (kept > 0 && IsContinuation(text[kept])) --kept;
  text.resize(kept);
  return text.append(kEllipsis.substr(0, maxBytes));
}

std::string WithoutCapital(std::string sentence) {
  const bool isWord = sentence.size() > 1 && !std::isupper(static_cast<unsigned char>(sentence[1]));
  if (isWord) sentence[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence[0])));
  return sentence;
}
