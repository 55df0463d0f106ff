// The work on one file, as all subcommands run it: with a bar, stoppable, and fenced against whatever is thrown. A
// failure is told here and nowhere else, so that a file that failed has one line on stderr.

#include "Job.h"

#include "Interrupt.h"
#include "Notes.h"
#include "output/Text.h"
#include "XPath.h"
#include "XReadPolicy.h"

#include <cstdio>
#include <exception>
#include <new>

namespace {

/// Memory that runs out for one file is no reason to leave out the next.
void RunFenced(const Work& work, XThread& thread, JobResult& result) {
  try {
    result.isDone = work(thread, result.reason);
  } catch (const BadCommand& error) {
    result.wasBadCommand = true;
    result.reason = error.what();
  } catch (const std::bad_alloc&) {
    result.reason = "out of memory";
  } catch (const std::exception& error) {
    result.reason = error.what();
  }
}

/// The work posts shares of the whole, and a step may end before its last one.
void ReportWhole(XThread& thread) {
  thread.SetPercentRange(0, 100);
  thread.CallbackPercent(100.0);
}

/// The progress bar is gone when this returns, so that whatever is said next stands on a clean line.
JobResult RunVisibly(const std::string& path, const Work& work, const Pace* pace) {
  ProgressBar bar(Printable(XfnGetFileName(path)), pace);
  XThread thread(&bar);
  const StoppableJob stoppable(thread);
  JobResult result;
  RunFenced(work, thread, result);
  if (result.isDone) ReportWhole(thread);
  result.wasStopped = !result.isDone && thread.GetState() != XThread::kStateRun;
  return result;
}

}  // namespace

JobResult RunJob(const std::string& path, const Work& work, const Pace* pace) {
  // A reason of the file before would mislead.
  XfnForgetLastReadError();
  JobResult result = RunVisibly(path, work, pace);
  PrintRemarks(path);
  if (result.isDone) return result;
  // A stop makes reads fail for reasons of their own.
  if (result.wasStopped) result.reason = "stopped";
  if (result.reason.empty()) result.reason = "can't be read";
  std::fprintf(stderr, "zrkio: %s: %s\n", Printable(path).c_str(), Printable(result.reason).c_str());
  return result;
}
