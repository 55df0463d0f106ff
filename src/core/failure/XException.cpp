#include "XException.h"

#include "XFileException.h"
#include "XMessageBox.h"

#include <climits>
#include <cstring>
#include <utility>

// The failures that a program's own code may throw while it works through files. They are thrown by value and caught by
// reference, so that nobody has to free one. The cause is a number of the system, of which the sentence is made when it
// is asked for.
X_IMPLEMENT_RUNTIME_CLASS(XException, XObject);
X_IMPLEMENT_RUNTIME_CLASS(XFileException, XException);

XException::~XException() = default;
XFileException::~XFileException() = default;

void XException::GetErrorText(XString& title, XString& text, XString& advice) {
  title = "Error";
  // A cause beyond an int is no error number of the system, and has no text there.
  if (cause_ == 0 || cause_ > INT_MAX) {
    text = "The operation failed";
  } else {
    text = std::strerror(static_cast<int>(cause_));
  }
  advice.Empty();
}

void XException::ReportError() {
  XString title, text, advice;
  GetErrorText(title, text, advice);
  XfnMessageBox(text, title, kMessageOk | kMessageIconError);
}

void XException::ThrowError(unsigned long cause) {
  throw XException(cause);
}

/// The name comes first, since an operator may have many files open.
void XFileException::ReportError() {
  XString title, text, advice;
  GetErrorText(title, text, advice);
  XfnMessageBox(fileName_ + " : " + text, title, kMessageOk | kMessageIconError);
}

void XFileException::ThrowError(unsigned long cause, XString fileName) {
  throw XFileException(cause, std::move(fileName));
}
