#pragma once

#include "XThread.h"

#include <csignal>
#include <string>

/// From now on SIGINT, SIGTERM and SIGHUP ask the job that runs to stop. A second one, or one between jobs, ends the
/// program at once. SIGXFSZ is ignored, so that a write beyond the limit of a file's size fails.
void InstallInterruptHandlers();

/// Makes a job stoppable for its own lifetime.
class StoppableJob {
 public:
  explicit StoppableJob(XThread& thread);
  ~StoppableJob();
  StoppableJob(const StoppableJob&) = delete;
  StoppableJob& operator=(const StoppableJob&) = delete;
};

/// Keeps signals back for its own lifetime, while files that a second signal has to remove come, go or get their names.
/// No other thread may be running, since it would take the signal instead.
class SignalsHeldBack {
 public:
  SignalsHeldBack();
  ~SignalsHeldBack();
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

 private:
  sigset_t before_;
};

/// Names the unfinished file that is removed even where a second signal ends the program, and a companion that may
/// appear beside it. An empty path names none.
void SetUnfinishedFile(const std::string& path, const std::string& companion = "");
