#pragma once

#include "XExport.h"

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

class XString;

namespace zrk {
/// What an `XString` can be joined with, beside another one.
template <class Text>
concept OtherText = std::convertible_to<Text, std::string_view> && !std::same_as<std::remove_cvref_t<Text>, XString>;
}  // namespace zrk

/// A text of single-byte characters, and the form in which paths and failure sentences travel through the
/// library. Paths are bytes: nothing is recoded. An `XString` owns its characters and copies by value; it is
/// as safe across threads as `std::string`.
///
/// It is a `std::string`, so that it goes wherever one is taken, and adds the operations that callers of this
/// library know. It has no state of its own.
class ZRKIO_API XString : public std::string {
 public:
  /// The empty text.
  XString() = default;
  /// Copies up to the terminator. A null pointer gives the empty text.
  XString(const char* text) : std::string(text ? text : "") {}
  /// Takes all characters, zeros among them.
  XString(std::string text) : std::string(std::move(text)) {}
  /// Copies all characters of the view.
  XString(std::string_view text) : std::string(text) {}

  /// The characters followed by a terminator; valid until the text changes.
  operator const char*() const { return c_str(); }
  /// A text has no truth value: `if (text)` would ask whether there are characters in memory, which is always so. Ask
  /// `IsEmpty`.
  template <std::same_as<bool> Truth>
  operator Truth() const = delete;
  /// The same pointer by name, as the arguments of `printf` need it.
  const char* GetText() const { return c_str(); }
  /// The text as what it is; no copy is made.
  const std::string& AsStdString() const { return *this; }

  /// Bytes, not letters: a letter beyond ASCII may have several.
  int GetLength() const { return static_cast<int>(size()); }
  bool IsEmpty() const { return empty(); }
  /// Makes the text empty. `IsEmpty` asks, this one changes.
  void Empty() { clear(); }

  /// The character at a place, or the terminator '\0' where the place lies outside the text. A negative place lies
  /// outside.
  char GetAt(int index) const { return index >= 0 && index < GetLength() ? at(static_cast<std::size_t>(index)) : '\0'; }

  /// Replaces the text by the printf-formatted one. The arguments may point into the text itself. A format that can't
  /// be carried out leaves the text empty.
  void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Changes the 26 ASCII letters only, whatever the locale. All other bytes stay.
  void MakeUpper();
  void MakeLower();

  /// Parts of the text, as copies. Counts and places outside it are cut back to what there is, so that none of these
  /// fails.
  XString Left(int count) const;
  /// From `first` to the end.
  XString Mid(int first) const;
  /// `count` characters from `first` on.
  XString Mid(int first, int count) const;
  /// The last `count` characters.
  XString Right(int count) const;

  /// The place of the first hit at or after `from`, or -1. A negative `from` counts as 0, and one beyond the end finds
  /// nothing. Letter case counts.
  int Find(std::string_view what, int from = 0) const;
  /// As above, for one character.
  int Find(char what, int from = 0) const;
  /// The place of the last hit, or -1. All places count from 0, in bytes.
  int ReverseFind(char what) const;

  /// Removes `count` characters from `first` on; answers the new length. A range that reaches beyond the text is cut to
  /// it.
  int Delete(int first, int count = 1);
  /// Replaces every hit, left to right; answers how many there were. An empty `what` is never found. A text that was
  /// put in is not searched again.
  int Replace(std::string_view what, std::string_view with);

  XString& operator+=(std::string_view tail) {
    append(tail);
    return *this;
  }
  XString& operator+=(char tail) {
    push_back(tail);
    return *this;
  }

  /// A new text of both. The other side may be anything that a `std::string_view` can be made of.
  friend XString operator+(const XString& a, const XString& b) { return XString(a) += std::string_view(b); }
  /// The same with the `XString` on the left, and below with it on the right.
  template <zrk::OtherText Text>
  friend XString operator+(const XString& a, Text&& b) {
    return a + XString(b);
  }
  template <zrk::OtherText Text>
  friend XString operator+(Text&& a, const XString& b) {
    return XString(a) + b;
  }

  /// Comparison goes byte by byte and ignores the locale. Letter case counts.
  friend bool operator==(const XString& a, std::string_view b) { return a.compare(b) == 0; }
  /// These two are there so that no call is ambiguous.
  friend bool operator==(const XString& a, const XString& b) { return a == std::string_view(b); }
  friend bool operator==(const XString& a, const std::string& b) { return a == std::string_view(b); }
  /// A null pointer equals the empty text.
  friend bool operator==(const XString& a, const char* b) { return a == std::string_view(b ? b : ""); }
  /// The order is that of the bytes, taken as unsigned numbers.
  friend auto operator<=>(const XString& a, std::string_view b) { return std::string_view(a) <=> b; }
  friend auto operator<=>(const XString& a, const XString& b) { return a <=> std::string_view(b); }
  friend auto operator<=>(const XString& a, const std::string& b) { return a <=> std::string_view(b); }
  /// A null pointer counts as the empty text.
  friend auto operator<=>(const XString& a, const char* b) { return a <=> std::string_view(b ? b : ""); }
};
