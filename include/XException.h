#pragma once

#include "XObject.h"
#include "XString.h"

/// What code that works through files may throw. No read of pixels lets one out.
class ZRKIO_API XException : public XObject {
  X_DECLARE_RUNTIME_CLASS
  explicit XException(unsigned long cause = 0) : cause_(cause) {}
  XException(const XException&) = default;
  XException& operator=(const XException&) = default;
  ~XException() override;

  /// Fills a title, the failure as a sentence, and what the operator can do about it (which may stay empty).
  virtual void GetErrorText(XString& title, XString& text, XString& advice);
  /// Shows the failure through the message box handler.
  virtual void ReportError();

  /// An error number of the system; 0 where none is known.
  unsigned long GetCause() const { return cause_; }

  /// Throws an `XException` by value.
  [[noreturn]] static void ThrowError(unsigned long cause);

 private:
  unsigned long cause_;
};
