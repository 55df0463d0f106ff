#pragma once

#include "XObject.h"
#include "XString.h"

/// What code that works through files may throw. It is thrown by value and caught by reference, so that nobody has to
/// free one. The library itself tells failures by results; no read of pixels lets an exception out. An object belongs
/// to the thread that caught it.
class ZRKIO_API XException : public XObject {
  X_DECLARE_RUNTIME_CLASS
  /// `cause` is an error number of the system, or 0 for an unknown cause.
  explicit XException(unsigned long cause = 0) : cause_(cause) {}
  XException(const XException&) = default;
  XException& operator=(const XException&) = default;
  ~XException() override;

  /// Fills a title, the failure as a sentence in the words of the system, and what the operator can do about it, which
  /// may stay empty.
  virtual void GetErrorText(XString& title, XString& text, XString& advice);
  /// Shows the failure through the message box handler, and waits for the answer.
  virtual void ReportError();

  /// The error number that the thrower gave; 0 for an unknown cause.
  unsigned long GetCause() const { return cause_; }

  /// Throws an `XException` by value. It never returns.
  [[noreturn]] static void ThrowError(unsigned long cause);

 private:
  unsigned long cause_;
};
