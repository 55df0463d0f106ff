// zrkio levels: level files, which hold the reduced levels and the statistics of images beside them. They are built,
// checked, or given another system. A level file that is of use is left alone unless the user insists.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Dataset.h"
#include "Interrupt.h"
#include "Job.h"
#include "LevelFile.h"
#include "Notes.h"
#include "output/InputFiles.h"
#include "output/TargetFile.h"
#include "WorkReport.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"
#include "XSystemFit.h"
#include "ZRMBandDRIO.h"

#include <cstdio>

namespace {

/// The share of decoding where an image is decoded as a whole.
constexpr int kLevelsDecodePercent = 50;

struct LevelsOptions {
  std::vector<std::string> files;
  bool statsOnly = false;
  bool force = false;
  bool check = false;
  std::string srs;
  int workers = 0;
};

/// Names the file that the library writes before it is whole, for as long as it may be there. A second signal removes
/// it.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(const std::string& path) { SetUnfinishedFile(path); }
  ~UnfinishedFile() { SetUnfinishedFile(""); }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
};

/// Opens an image that can have a level file.
std::unique_ptr<XRSFile> OpenImage(const std::string& path, XThread& thread, std::string& err) {
  std::unique_ptr<XRSFile> file = OpenRaster(path, thread, err);
  if (!file || file->GetBandAt(0)->GetLevelSource()) return file;
  err = "a native raster has levels of its own";
  return nullptr;
}

const char* NameKind(LevelFileKind kind) {
  return kind == LevelFileKind::kFull ? "levels and statistics" : "statistics only";
}

/// Opening leaves an unusable level file aside without a word, so it is looked at again for the reason.
std::string WhyNotUsable(XRSFile& file, const std::string& path, XThread& thread) {
  XString reason;
  if (XRSFileIO::CheckFileXLD(&file, path, reason, &thread)) return "the levels in the level file are not the image's";
  return reason.IsEmpty() ? "the level file is cut short" : reason.AsStdString();
}

/// Whether the level file that is there serves. The short form does where only statistics are wanted, and for an image
/// that is too small to have levels.
bool IsWanted(LevelFileKind kind, ZRMBand& first, bool statsOnly) {
  if (kind == LevelFileKind::kShort) return statsOnly || first.GetLevel() == 0;
  return kind == LevelFileKind::kFull;
}

/// What the library calls the file while it writes it.
std::string UnfinishedName(const std::string& levelFile) {
  return FollowLinks(levelFile) + "_tmp";
}

/// Links, and names that differ by their extension alone, may make the image its own level file.
bool WouldReplaceImage(const std::string& path, std::string& err) {
  const std::string levelFile = LevelFileName(path);
  if (!AreSameFile(levelFile, path) && !AreSameFile(UnfinishedName(levelFile), path)) return false;
  err = "the level file would take the place of this file";
  return true;
}

std::int64_t CountSampleBytes(const XRSFile& file) {
  std::int64_t count = 0;
  for (int i = 0; i < file.GetNumOfBands(); ++i) {
    const ZRMBand& band = *file.GetBandAt(i);
    count += std::int64_t{band.GetXSize()} * band.GetYSize() * band.GetDataSize();
  }
  return count;
}

// Each way of working on a file leaves in `remark` what is told about it on success.

bool Build(XRSFile& file, const std::string& path, const LevelsOptions& options, XThread& thread, std::string& remark,
           std::string& err) {
  // Levels are built from the image alone, and not from the levels that they replace.
  DetachLevelFile(file);
  WorkReport report(CountSampleBytes(file));
  if (!DecodeAhead(*file.GetBandAt(0), kLevelsDecodePercent, thread, err)) return false;
  const std::string levelFile = LevelFileName(path);
  // The library builds beside the file that links lead to.
  const UnfinishedFile unfinished(UnfinishedName(levelFile));
  const int mode = options.statsOnly ? kLevelStatistics : kLevelBuild;
  XString reason;
  XfnForgetLastReadError();
  if (!XRSFileIO::CreateFileXLD(&file, path, reason, mode, &thread)) {
    err = WhyNotRead(reason.IsEmpty() ? "the level file can't be made" : reason.AsStdString());
    return false;
  }
  report.Finish(levelFile);
  remark = report.GetText();
  return true;
}

/// A level file that opening attached is whole and the image's own.
bool Check(XRSFile& file, const std::string& path, XThread& thread, std::string& remark, std::string& err) {
  const LevelFileKind kind = GetLevelFileKind(file);
  if (kind == LevelFileKind::kNone) {
    err = WhyNotUsable(file, path, thread);
    return false;
  }
  remark = std::string("whole, ") + NameKind(kind);
  return true;
}

/// Only a level file that is whole gets a new system.
bool UpdateSystem(XRSFile& file, const std::string& path, XSpatialReference& sr, XThread& thread, std::string& remark,
                  std::string& err) {
  if (!Check(file, path, thread, remark, err)) return false;
  XString reason;
  // The library gives any system to any level file. A system that does not fit the coordinates there is refused here.
  if (!XfnCanBePlacedIn(*file.GetBandAt(0), sr, reason)) {
    err = reason.AsStdString();
    return false;
  }
  if (!XRSFileIO::UpdateFileXLD_SR(&file, &sr, reason)) {
    err = reason.IsEmpty() ? "the level file can't be changed" : reason.AsStdString();
    return false;
  }
  remark = "the system is now " + sr.GetName().AsStdString();
  return true;
}

bool WorkOn(const std::string& path, const LevelsOptions& options, XSpatialReference& sr, XThread& thread,
            std::string& remark, std::string& err) {
  const std::unique_ptr<XRSFile> file = OpenImage(path, thread, err);
  if (!file || WouldReplaceImage(path, err)) return false;
  if (options.check) return Check(*file, path, thread, remark, err);
  if (!options.srs.empty()) return UpdateSystem(*file, path, sr, thread, remark, err);
  const LevelFileKind kind = GetLevelFileKind(*file);
  if (options.force || !IsWanted(kind, *file->GetBandAt(0), options.statsOnly)) {
    return Build(*file, path, options, thread, remark, err);
  }
  remark = std::string("there already, ") + NameKind(kind) + "; --force builds it anew";
  return true;
}

int RunLevels(const LevelsOptions& options, XSpatialReference& sr) {
  UseWorkers(options.workers);
  int status = 0;
  for (const std::string& path : options.files) {
    std::string remark;
    const JobResult result =
        RunJob(path, [&](XThread& thread, std::string& err) { return WorkOn(path, options, sr, thread, remark, err); });
    if (!result.isDone) status = 1;
    if (result.wasStopped) break;
    // `RunJob` has told the failure.
    if (result.isDone) PrintNote(LevelFileName(path), remark);
  }
  return status;
}

const char* const kLevelsExamples =
    "Examples:\n"
    "  zrkio levels earth.jpg\n"
    "  zrkio levels --check earth.jpg\n"
    "  zrkio levels --update-srs EPSG:4326 earth.jpg\n";

}  // namespace

void AddLevelsCommand(CommandLine& program) {
  auto options = std::make_shared<LevelsOptions>();
  Command command = program.AddCommand("levels", "Build the level files of images", kLevelsExamples);
  command.AddArgument("FILE", options->files, "Raster files");
  const Option statsOnly = command.AddFlag("--stats-only", options->statsOnly, "Statistics only, without levels");
  const Option force = command.AddFlag("--force", options->force, "Build also where there is a level file of use");
  Option check = command.AddFlag("--check", options->check,
                                 "Build nothing: tell whether the level file is whole and\n"
                                 "belongs to the image");
  const Option srs = command.AddOption("--update-srs", "SRS", options->srs,
                                       "Build nothing: give the level file another system, as\n"
                                       "EPSG:n or WKT");
  for (Option other : {statsOnly, force}) other.Exclude(check).Exclude(srs);
  check.Exclude(srs);
  AddWorkersOption(command, options->workers);
  AddQuietOption(command);
  // A system that is not understood is a command that makes no sense, so it is read before any file is opened.
  command.SetAction([options, srs] {
    XSpatialReference system;
    if (srs.IsGiven() && !ReadSystem(options->srs, system)) {
      throw UsageError("--update-srs", "takes EPSG:n or WKT that is understood");
    }
    return RunLevels(*options, system);
  });
}
