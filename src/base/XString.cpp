#include "XString.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

char UpperAscii(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

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
  // Into a text of its own, since an argument may be this one.
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
