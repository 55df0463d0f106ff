#pragma once

#include "XExport.h"

#include <cstddef>
#include <string>
#include <string_view>

/// A text of single-byte characters, and the form in which paths and failure sentences travel through the
/// library. Paths are bytes: nothing is recoded. An `XString` owns its characters and copies by value; it is
/// as safe across threads as `std::string`.
class ZRKIO_API XString {
 public:
  XString() = default;
  /// A null pointer gives the empty text.
  XString(const char* text) : text_(text ? text : "") {}
  XString(std::string text) : text_(std::move(text)) {}
  XString(std::string_view text) : text_(text) {}

  /// The characters followed by a terminator; valid until the text changes.
  operator const char*() const { return text_.c_str(); }
  operator std::string_view() const { return text_; }
  const char* GetText() const { return text_.c_str(); }
  const std::string& AsStdString() const { return text_; }

  int GetLength() const { return static_cast<int>(text_.size()); }
  bool IsEmpty() const { return text_.empty(); }
  void Empty() { text_.clear(); }

  /// The character at a place, or the terminator '\0' where the place lies outside the text.
  char GetAt(int index) const {
    return index >= 0 && index < GetLength() ? text_[static_cast<std::size_t>(index)] : '\0';
  }

  /// Replaces the text by the printf-formatted one.
  void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Letter case of the 26 ASCII letters only, whatever the locale.
  void MakeUpper();
  void MakeLower();

  /// Parts of the text. Counts and places outside it are cut back to what there is.
  XString Left(int count) const;
  XString Mid(int first) const;
  XString Mid(int first, int count) const;
  XString Right(int count) const;

  /// The place of the first hit at or after `from`, or -1.
  int Find(std::string_view what, int from = 0) const;
  int Find(char what, int from = 0) const;
  /// The place of the last hit, or -1.
  int ReverseFind(char what) const;

  /// Removes `count` characters from `first` on; answers the new length.
  int Delete(int first, int count = 1);
  /// Replaces every hit, left to right; answers how many there were. An empty `what` is never found.
  int Replace(std::string_view what, std::string_view with);

  XString& operator+=(std::string_view tail) {
    text_ += tail;
    return *this;
  }
  XString& operator+=(char tail) {
    text_ += tail;
    return *this;
  }

  friend XString operator+(const XString& a, const XString& b) { return XString(a.text_ + b.text_); }
  friend XString operator+(const XString& a, const char* b) { return a + XString(b); }
  friend XString operator+(const char* a, const XString& b) { return XString(a) + b; }
  friend bool operator==(const XString& a, const XString& b) { return a.text_ == b.text_; }
  friend bool operator==(const XString& a, const char* b) { return a.text_ == (b ? b : ""); }
  friend bool operator!=(const XString& a, const XString& b) { return !(a == b); }
  friend bool operator!=(const XString& a, const char* b) { return !(a == b); }
  friend bool operator<(const XString& a, const XString& b) { return a.text_ < b.text_; }

 private:
  std::string text_;
};
