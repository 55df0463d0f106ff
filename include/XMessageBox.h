#pragma once

#include "XExport.h"
#include "XString.h"

#include <functional>

/// Styles of a question, and the answers to it.
enum XMessageBoxStyle : unsigned {
  kMessageOk = 0x00,
  kMessageYesNo = 0x04,
  kMessageIconError = 0x10,
  kMessageIconQuestion = 0x20,
};
enum XMessageBoxAnswer { kAnswerOk = 1, kAnswerYes = 6, kAnswerNo = 7 };

using XMessageBoxHandler = std::function<int(const XString& text, const XString& caption, unsigned style)>;

/// Asks the operator, or tells him something, through the handler that is set; blocks until it answers. Without
/// a handler the text goes to stderr, and a question with Yes and No is asked on the terminal if there is one;
/// if there is none the answer is No.
ZRKIO_API int XfnMessageBox(const XString& text, const XString& caption, unsigned style);

/// Sets the handler for the whole process and answers the one before; an empty handler brings back the default.
/// The handler is called on the thread that asks.
ZRKIO_API XMessageBoxHandler XfnSetMessageBoxHandler(XMessageBoxHandler handler);
