#pragma once

#include "XThread.h"

namespace zrk {

/// Stores in a thread, which may be null, how an operation ended; answers whether it is done. A stop has no sentence,
/// so that `err` says nothing of it.
inline int TellResult(XThread* thread, bool isDone, bool wasStopped, const XString& err) {
  if (!thread) return isDone;
  if (isDone) {
    thread->SetResult(XThread::kResultSuccess, "");
  } else if (wasStopped) {
    thread->SetResult(XThread::kResultCancel, "");
  } else {
    thread->SetResult(XThread::kResultFailure, err);
  }
  return isDone;
}

}  // namespace zrk
