#include "Job.h"

#include "Interrupt.h"
#include "output/Text.h"
#include "Progress.h"
#include "XPath.h"

#include <cstdio>
#include <exception>
#include <new>

namespace {

bool RunFenced(const Work& work, XThread& thread, std::string& err) {
  try {
    return work(thread, err);
  } catch (const std::bad_alloc&) {
    err = "out of memory";
  } catch (const std::exception& error) {
    err = error.what();
  }
  return false;
}

/// What is posted on the way is where each step begins, and may be a share of the whole.
void ReportWhole(XThread& thread) {
  thread.SetPercentRange(0, 100);
  thread.CallbackPercent(100.0);
}

/// The progress bar is gone when this returns, so that what is said next stands on a clean line.
JobResult RunVisibly(const std::string& path, const Work& work) {
  ProgressBar bar(Printable(XfnGetFileName(path)));
  XThread thread(&bar);
  const StoppableJob stoppable(thread);
  JobResult result;
  result.isDone = RunFenced(work, thread, result.reason);
  if (result.isDone) ReportWhole(thread);
  result.wasStopped = !result.isDone && thread.GetState() != XThread::kStateRun;
  return result;
}

}  // namespace

JobResult RunJob(const std::string& path, const Work& work) {
  JobResult result = RunVisibly(path, work);
  if (result.isDone) return result;
  // A stop makes reads fail for reasons of their own.
  if (result.wasStopped) result.reason = "stopped";
  if (result.reason.empty()) result.reason = "can't be read";
  std::fprintf(stderr, "zrkio: %s: %s\n", Printable(path).c_str(), Printable(result.reason).c_str());
  return result;
}
