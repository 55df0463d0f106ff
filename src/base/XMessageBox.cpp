#include "XMessageBox.h"

#include <unistd.h>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <string>
#include <utility>

namespace {

/// The handler is one for the process, and may be set while another thread asks.
std::mutex handlerMutex;
XMessageBoxHandler handler;

bool OffersYesAndNo(unsigned style) {
  return (style & 0x0F) == kMessageYesNo;
}

/// No answer, and any answer but a yes, is a No: what is asked may destroy something.
int AskOnTerminal() {
  std::string line;
  std::fputs("[y/N] ", stderr);
  if (!std::getline(std::cin, line)) return kAnswerNo;
  return !line.empty() && (line[0] == 'y' || line[0] == 'Y') ? kAnswerYes : kAnswerNo;
}

/// Where nobody sits at a terminal a question would wait for ever, and so it is answered with No.
int DefaultMessageBox(const XString& text, const XString& caption, unsigned style) {
  std::fprintf(stderr, "%s: %s\n", caption.GetText(), text.GetText());
  if (!OffersYesAndNo(style)) return kAnswerOk;
  return isatty(STDIN_FILENO) && isatty(STDERR_FILENO) ? AskOnTerminal() : kAnswerNo;
}

}  // namespace

int XfnMessageBox(const XString& text, const XString& caption, unsigned style) {
  // The handler is called without the lock, because it may wait long for an answer, or set another handler.
  XMessageBoxHandler ask;
  {
    const std::lock_guard lock(handlerMutex);
    ask = handler;
  }
  return ask ? ask(text, caption, style) : DefaultMessageBox(text, caption, style);
}

XMessageBoxHandler XfnSetMessageBoxHandler(XMessageBoxHandler wanted) {
  const std::lock_guard lock(handlerMutex);
  return std::exchange(handler, std::move(wanted));
}
