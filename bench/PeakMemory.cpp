// The peak memory of a save, or of a read. It is measured in a process of its own that does nothing else: the peak of
// this program would be that of everything it has done so far.

#include "PeakMemory.h"

#include "Inputs.h"
#include "XFormatTable.h"
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

std::unique_ptr<XRSFile> Load(const std::string& path) {
  XfnSetWorkerCount(1);
  auto file = std::make_unique<XRSFile>();
  XString err;
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
  Must(XRSFileIO::LoadFileRaster(file.get(), id, path, err, 0, kLevelNone, nullptr), path + ": " + err.AsStdString());
  return file;
}

/// Runs this program with some arguments, and takes the figures that it prints.
PeakMemory MeasurePeak(const std::string& arguments) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command = "'" + program + "' " + arguments;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), &::pclose);
  PeakMemory peak;
  Must(output && std::fscanf(output.get(), "%" SCNd64 " %" SCNd64, &peak.own, &peak.withFiles) == 2,
       "this command fails: " + command);
  return peak;
}

/// The figure that `wait4` gives for a process includes its parent's memory. The one of the whole process counts from
/// its own beginning.
void PrintPeak(const std::function<void()>& work) {
  const std::int64_t own = WatchOwnMemory(work);
  std::printf("%" PRId64 " %" PRId64 "\n", own, ReadStatus("VmHWM:"));
}

}  // namespace

void SaveAsTiff(const std::string& from, const std::string& to) {
  const std::unique_ptr<XRSFile> file = Load(from);
  XString err;
  const int right = file->GetBandAt(0)->GetXSize() - 1, bottom = file->GetBandAt(0)->GetYSize() - 1;
  Must(XRSFileIO::SaveFileTiff(file.get(), to, 0, right, 0, bottom, err, nullptr),
       "can't write " + to + ": " + err.AsStdString());
}

void SaveByExtension(const std::string& from, const std::string& to) {
  const std::unique_ptr<XRSFile> file = Load(from);
  XString err;
  const tagXSaveOptions all{0, file->GetBandAt(0)->GetXSize() - 1, 0, file->GetBandAt(0)->GetYSize() - 1};
  Must(XfnSaveFile(file.get(), to, XRSFileIO::GetIDFromExt(XfnGetFileExt(to)), all, err, nullptr),
       "can't write " + to + ": " + err.AsStdString());
}

void ReadWindow(const std::string& path) {
  const std::unique_ptr<XRSFile> file = Load(path);
  for (int i = 0; i < file->GetNumOfBands(); ++i) {
    ZRMBand& band = *file->GetBandAt(i);
    const int x = band.GetXSize() / 2, y = band.GetYSize() / 2;
    tagXArr2* out = nullptr;
    Must(band.ReadSubset(out, 0, x, x + kWindowSide - 1, y, y + kWindowSide - 1, nullptr), "a window can't be read");
  }
}

PeakMemory MeasurePeakOfSave(const std::string& from, const std::string& to) {
  return MeasurePeak("--save '" + from + "' '" + to + "'");
}

PeakMemory MeasurePeakOfWindow(const std::string& path) {
  return MeasurePeak("--window '" + path + "'");
}

void SaveAndPrintPeak(const std::string& from, const std::string& to) {
  PrintPeak([&] { SaveByExtension(from, to); });
}

void ReadAndPrintPeak(const std::string& path) {
  PrintPeak([&] { ReadWindow(path); });
}
