// zrkio names build: lists of places become one PBP file, which takes its name when it is whole.

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "formats/pbp/NamesActions.h"
#include "Job.h"
#include "Notes.h"
#include "output/InputFiles.h"
#include "output/TargetFile.h"
#include "XPlaceSource.h"

namespace {

XPlaceFormat FindPlaceFormat(const std::string& name) {
  if (name.empty()) return kPlacesByContent;
  if (name == "gweather") return kPlacesGWeather;
  if (name == "tzdata") return kPlacesTzdata;
  if (name == "xplanet") return kPlacesXplanet;
  if (name == "csv") return kPlacesCsv;
  throw UsageError("--format", "must be gweather, tzdata, xplanet or csv");
}

/// Remarks are told with the name of the first list, and so others are named.
void RemarkWhatIsLeftOut(const NamesOptions& options, const std::string& file, const tagXPlaceCount& count) {
  const std::string named = file == options.files.front() ? "" : "in " + file + ", ";
  if (count.numTooLong > 0) {
    AddRemark(named + "left out, with names of more than 64 bytes: " + std::to_string(count.numTooLong));
  }
  if (count.numUnplaced > 0) {
    AddRemark(named + "left out, without a name or a place on earth: " + std::to_string(count.numUnplaced));
  }
}

bool AddLists(const NamesOptions& options, XPBPProviderExporter& exporter, XThread& thread, std::string& err) {
  for (const std::string& file : options.files) {
    if (thread.GetState() != XThread::kStateRun) return false;
    XString why;
    tagXPlaceCount count;
    if (!XfnAddPlaces(file, FindPlaceFormat(options.format), exporter, count, why)) {
      err = options.files.size() > 1 ? file + ": " + why.AsStdString() : why.AsStdString();
      return false;
    }
    RemarkWhatIsLeftOut(options, file, count);
  }
  if (exporter.GetCount() == 0) err = "there are no places";
  return exporter.GetCount() > 0;
}

/// The two tables and the writing each have a share of the whole.
bool WriteNames(XPBPProviderExporter& exporter, const std::string& path, XThread& thread, std::string& err) {
  thread.SetPercentRange(0, 50);
  exporter.BuildPointCloud('1', '0', &thread);
  if (!exporter.IsBuilt()) {
    err = "out of memory";
    return false;
  }
  thread.SetPercentRange(50, 100);
  return exporter.Export2PBP(path, &thread) && thread.GetState() == XThread::kStateRun;
}

bool Build(const NamesOptions& options, int& count, XThread& thread, std::string& err) {
  TargetFile target;
  if (!target.Begin(options.output, options.files.front(), err)) return false;
  for (const std::string& file : options.files) {
    if (WouldReplaceInput(options.output, file, err)) return false;
  }
  XPBPProviderExporter exporter;
  if (!AddLists(options, exporter, thread, err)) return false;
  err = "can't write " + options.output;
  if (!WriteNames(exporter, target.GetUnfinishedPath(), thread, err)) return false;
  count = exporter.GetCount();
  return target.Commit(err);
}

}  // namespace

int BuildNames(const NamesOptions& options) {
  if (options.output.empty()) throw UsageError("-o", "is required");
  if (options.json) throw UsageError("--json", "belongs to \"names query\" and \"names check\"");
  CheckOutputName(options.output, {"pbp"}, "place names (.pbp)");
  FindPlaceFormat(options.format);
  int count = 0;
  const JobResult result = RunJob(
      options.files.front(), [&](XThread& thread, std::string& err) { return Build(options, count, thread, err); });
  if (result.isDone) PrintNote(options.output, std::to_string(count) + " places");
  return result.GetExitStatus();
}
