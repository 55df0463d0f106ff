#pragma once

#include "XExport.h"
#include "XString.h"

#include <functional>

/// Styles of a question: one of the first two, with at most one of the icons added. `kMessageYesNo` is the one that
/// asks.
enum XMessageBoxStyle : unsigned {
  /// A message, to which there is one answer.
  kMessageOk = 0x00,
  /// A question, which the operator answers with Yes or No.
  kMessageYesNo = 0x04,
  /// Icons for showing the text. The default handler ignores them.
  kMessageIconError = 0x10,
  kMessageIconQuestion = 0x20,
  kMessageIconWarning = 0x30,
};
/// What a handler answers: `kAnswerOk` to a message, one of the others to a question.
enum XMessageBoxAnswer { kAnswerOk = 1, kAnswerYes = 6, kAnswerNo = 7 };

/// Shows a text and returns an `XMessageBoxAnswer`. It may take as long as the operator does, and may set another
/// handler meanwhile.
using XMessageBoxHandler = std::function<int(const XString& text, const XString& caption, unsigned style)>;

/// Asks or tells the operator something through the handler that is set, and blocks until the handler answers. Without
/// a handler the text goes to stderr, and a question with Yes and No is asked on the terminal. Without a terminal the
/// answer is No, because a Yes may destroy something. Any thread may call it. Exceptions of a handler reach the caller.
ZRKIO_API int XfnMessageBox(const XString& text, const XString& caption, unsigned style);

/// Sets the handler for the whole process; the result is the one before. An empty handler brings back the default. Any
/// thread may set one. A handler is called on the thread that asks, and several threads may ask at once.
ZRKIO_API XMessageBoxHandler XfnSetMessageBoxHandler(XMessageBoxHandler handler);
