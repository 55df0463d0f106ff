#pragma once

#include "XThread.h"

#include <string>

/// From now on SIGINT, SIGTERM and SIGHUP ask the job that runs to stop; a second one, or one between jobs, ends the
/// program at once.
void InstallInterruptHandlers();

/// Makes a job stoppable for its own lifetime.
class StoppableJob {
 public:
  explicit StoppableJob(XThread& thread);
  ~StoppableJob();
  StoppableJob(const StoppableJob&) = delete;
  StoppableJob& operator=(const StoppableJob&) = delete;
};

/// The unfinished file that the program removes even where a second signal ends it, and one that may come to be beside
/// it; an empty path for none.
void SetUnfinishedFile(const std::string& path, const std::string& companion = "");
