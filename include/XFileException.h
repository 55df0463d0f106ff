#pragma once

#include "XException.h"

/// A failure that belongs to a file. The cause is an error number of the system, 0 for an unknown one. A handler of
/// `XException` catches it too.
class ZRKIO_API XFileException : public XException {
  X_DECLARE_RUNTIME_CLASS
  /// The name is copied; an empty one is allowed.
  explicit XFileException(unsigned long cause = 0, XString fileName = {})
      : XException(cause), fileName_(std::move(fileName)) {}
  XFileException(const XFileException&) = default;
  XFileException& operator=(const XFileException&) = default;
  ~XFileException() override;

  /// As the base's, with the name of the file in front of the sentence.
  void ReportError() override;

  /// The name as it was given to the call that failed; empty for an unknown file. It lives as long as the exception.
  const XString& GetFileName() const { return fileName_; }

  /// Throws an `XFileException` by value, with a copy of the name. It never returns.
  [[noreturn]] static void ThrowError(unsigned long cause, XString fileName);

 private:
  XString fileName_;
};
