// The peak memory of a save. It is measured in a process of its own that does nothing else: the peak of this program
// would be that of everything it has done so far.

#include "PeakMemory.h"

#include "Inputs.h"
#include "XPath.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

namespace {

/// A figure that the kernel keeps of this process, in bytes; 0 where it has none of that name.
std::int64_t ReadStatus(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::int64_t kilobytes = 0;
    if (word == key && status >> kilobytes) return kilobytes * 1024;
  }
  return 0;
}

/// The most memory that the process has while `work` runs, without pages of files. The kernel keeps no peak of that,
/// and so the present figure is looked at every millisecond.
std::int64_t WatchOwnMemory(const std::function<void()>& work) {
  std::atomic<bool> isDone = false;
  std::int64_t most = 0;
  std::thread watcher([&] {
    while (!isDone) {
      most = std::max(most, ReadStatus("RssAnon:"));
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  work();
  isDone = true;
  watcher.join();
  return most;
}

}  // namespace

void SaveAsTiff(const std::string& from, const std::string& to) {
  XfnSetWorkerCount(1);
  XRSFile file;
  XString err;
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(from));
  Must(XRSFileIO::LoadFileRaster(&file, id, from, err, 0, kLevelNone, nullptr), from + ": " + err.AsStdString());
  const int right = file.GetBandAt(0)->GetXSize() - 1, bottom = file.GetBandAt(0)->GetYSize() - 1;
  Must(XRSFileIO::SaveFileTiff(&file, to, 0, right, 0, bottom, err, nullptr),
       "can't write " + to + ": " + err.AsStdString());
}

PeakMemory MeasurePeakOfSave(const std::string& from, const std::string& to) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command = "'" + program + "' --save '" + from + "' '" + to + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), &::pclose);
  PeakMemory peak;
  Must(output && std::fscanf(output.get(), "%" SCNd64 " %" SCNd64, &peak.own, &peak.withFiles) == 2,
       "this command fails: " + command);
  return peak;
}

void SaveAndPrintPeak(const std::string& from, const std::string& to) {
  const std::int64_t own = WatchOwnMemory([&] { SaveAsTiff(from, to); });
  // The figure that `wait4` gives for this process includes its parent's memory. This one counts from its own
  // beginning.
  std::printf("%" PRId64 " %" PRId64 "\n", own, ReadStatus("VmHWM:"));
}
