#pragma once

#include "XException.h"

/// A failure that belongs to a file. The cause is an error number of the system, 0 where none is known.
class ZRKIO_API XFileException : public XException {
  X_DECLARE_RUNTIME_CLASS
  explicit XFileException(unsigned long cause = 0, XString fileName = {})
      : XException(cause), fileName_(std::move(fileName)) {}
  XFileException(const XFileException&) = default;
  XFileException& operator=(const XFileException&) = default;
  ~XFileException() override;

  /// As the base's, with the name of the file in front.
  void ReportError() override;

  /// As it was given to the call that failed; empty where there is none.
  const XString& GetFileName() const { return fileName_; }

  /// Throws an `XFileException` by value.
  [[noreturn]] static void ThrowError(unsigned long cause, XString fileName);

 private:
  XString fileName_;
};
