#include "XException.h"

#include "XFileException.h"
#include "XMessageBox.h"

#include <climits>
#include <cstring>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(XException, XObject);
X_IMPLEMENT_RUNTIME_CLASS(XFileException, XException);

XException::~XException() = default;
XFileException::~XFileException() = default;

void XException::GetErrorText(XString& title, XString& text, XString& advice) {
  title = "Error";
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

void XFileException::ReportError() {
  XString title, text, advice;
  GetErrorText(title, text, advice);
  XfnMessageBox(fileName_ + " : " + text, title, kMessageOk | kMessageIconError);
}

void XFileException::ThrowError(unsigned long cause, XString fileName) {
  throw XFileException(cause, std::move(fileName));
}
