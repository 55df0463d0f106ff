#pragma once

#include "Progress.h"
#include "XThread.h"

#include <functional>
#include <stdexcept>
#include <string>

/// Thrown by work that finds that the command makes no sense for the file, such as a window outside of the image.
class BadCommand : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How the work on one file ended.
struct JobResult {
  bool isDone = false;
  bool wasStopped = false;
  bool wasBadCommand = false;
  std::string reason;  ///< why it is not done

  /// The program's exit status after this job: 0, or 1 where it failed, or 2 for a command that makes no sense.
  int GetExitStatus() const { return isDone ? 0 : wasBadCommand ? 2 : 1; }
};

/// The work on one file. It reports progress to the thread and looks at its state word. False with the reason in `err`
/// where it could not be done.
using Work = std::function<bool(XThread& thread, std::string& err)>;

/// Runs the work on a file with a progress bar, and stoppable by a signal. A failure is reported on stderr, also where
/// memory ran out. With a pace, which may be null, the bar tells it as well.
JobResult RunJob(const std::string& path, const Work& work, const Pace* pace = nullptr);
