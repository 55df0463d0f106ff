#include "XString.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

/// Letters of the basic set alone, so that the result is the same in every locale and no byte of a longer character
/// changes.
char UpperAscii(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Places are ints here, and -1 stands for none.
int AsPlace(std::size_t hit) {
  return hit == std::string::npos ? -1 : static_cast<int>(hit);
}

}  // namespace

void XString::Format(const char* format, ...) {
  std::va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  // The text is written into a string of its own, since an argument may be this very text. A format that fails leaves
  // it empty.
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  assign(text);
}

void XString::MakeUpper() {
  std::transform(begin(), end(), begin(), UpperAscii);
}
void XString::MakeLower() {
  std::transform(begin(), end(), begin(), LowerAscii);
}

XString XString::Left(int count) const {
  return Mid(0, count);
}

XString XString::Mid(int first) const {
  return Mid(first, GetLength());
}

/// Arguments are cut to the text and never refused. The same holds wherever a part of the text is named below.
XString XString::Mid(int first, int count) const {
  const int from = std::clamp(first, 0, GetLength());
  const int length = std::clamp(count, 0, GetLength() - from);
  return XString(substr(static_cast<std::size_t>(from), static_cast<std::size_t>(length)));
}

XString XString::Right(int count) const {
  const int length = std::clamp(count, 0, GetLength());
  return Mid(GetLength() - length, length);
}

int XString::Find(std::string_view what, int from) const {
  return AsPlace(find(what, static_cast<std::size_t>(std::max(from, 0))));
}

int XString::Find(char what, int from) const {
  return Find(std::string_view(&what, 1), from);
}

int XString::ReverseFind(char what) const {
  return AsPlace(rfind(what));
}

int XString::Delete(int first, int count) {
  const int from = std::clamp(first, 0, GetLength());
  const int length = std::clamp(count, 0, GetLength() - from);
  erase(static_cast<std::size_t>(from), static_cast<std::size_t>(length));
  return GetLength();
}

/// The result is put together once, from left to right. A replacement that contains what is sought is therefore not
/// searched again.
int XString::Replace(std::string_view what, std::string_view with) {
  if (what.empty()) return 0;
  int numHits = 0;
  std::string replaced;
  std::size_t done = 0;
  for (std::size_t hit; (hit = find(what, done)) != std::string::npos; done = hit + what.size(), ++numHits) {
    replaced.append(*this, done, hit - done).append(with);
  }
  if (numHits > 0) assign(replaced.append(*this, done));
  return numHits;
}
