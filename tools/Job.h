#pragma once

#include "XThread.h"

#include <functional>
#include <string>

/// How the work on one file ended.
struct JobResult {
  bool isDone = false;
  bool wasStopped = false;
  std::string reason;  ///< why it is not done
};

/// The work on one file. It reports progress to the thread and looks at its state word. False with the reason in `err`
/// where it could not be done.
using Work = std::function<bool(XThread& thread, std::string& err)>;

/// Runs the work on a file with a progress bar, and stoppable by a signal. A failure is reported on stderr, also where
/// memory ran out.
JobResult RunJob(const std::string& path, const Work& work);
