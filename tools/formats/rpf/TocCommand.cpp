// zrkio toc: what tables of contents of raster map products hold. A table lists boundary rectangles, which are grids of
// frames, and the file of each frame. The command tells which of these files are there.
//
// Frames are counted first and described only as they are told, because a table may list many thousands.

#include "formats/rpf/TocCommand.h"

#include "CommandLine.h"
#include "commands/SharedOptions.h"
#include "Corners.h"
#include "formats/rpf/TocFrames.h"
#include "Job.h"
#include "output/Text.h"

#include <cmath>
#include <cstdio>

namespace {

struct Options {
  std::vector<std::string> files;
  bool frames = false;
  bool missing = false;
  bool anywhere = false;
  bool json = false;

  /// `--missing` lists frames outside the folder too, whose files were not looked for.
  bool Lists(FrameState state) const { return frames || (missing && state != FrameState::kThere); }
};

/// Fields of a record have a fixed length and are filled up with spaces.
std::string Trimmed(const char* text) {
  const std::string whole = text;
  const std::size_t first = whole.find_first_not_of(' ');
  return first == std::string::npos ? "" : whole.substr(first, whole.find_last_not_of(' ') + 1 - first);
}

/// A corner may hold bytes that are not a number.
Json DescribePlace(double longitude, double latitude) {
  if (!std::isfinite(longitude) || !std::isfinite(latitude)) return nullptr;
  return Json::array({longitude, latitude});
}

Json DescribeLonLat(const tagBoundaryRectangleRecordRPF& boundary) {
  return Json::array({DescribePlace(boundary.nwLongitude, boundary.nwLatitude),
                      DescribePlace(boundary.neLongitude, boundary.neLatitude),
                      DescribePlace(boundary.seLongitude, boundary.seLatitude),
                      DescribePlace(boundary.swLongitude, boundary.swLatitude)});
}

Json DescribeCounts(const FrameCounts& counts) {
  return {{"listed", counts.listed}, {"there", counts.there}, {"missing", counts.missing}, {"outside", counts.outside}};
}

Json DescribeBoundary(const tagBoundaryRectangleRecordRPF& boundary, int number, const FrameCounts& counts) {
  return {{"number", number},
          {"product", Trimmed(boundary.productDataType)},
          {"scale", Trimmed(boundary.scale)},
          {"zone", Trimmed(boundary.zone)},
          {"compression", Trimmed(boundary.compressionRatio)},
          {"producer", Trimmed(boundary.producer)},
          {"lonLat", DescribeLonLat(boundary)},
          {"resolution", {Number(boundary.horizontalResolution), Number(boundary.verticalResolution)}},
          {"interval", {Number(boundary.horizontalInterval), Number(boundary.verticalInterval)}},
          {"rows", boundary.numFramesNorthSouth},
          {"columns", boundary.numFramesEastWest},
          {"frames", DescribeCounts(counts)}};
}

Json DescribeFrame(const XCIBtoc& toc, int index, const FrameFile& file) {
  const tagFrameFileIndexRecordRPF& frame = *toc.GetFrameRecordAt(index);
  return {{"boundary", frame.boundaryIndex},
          {"row", frame.frameRow},
          {"column", frame.frameColumn},
          {"state", NameOf(file.state)},
          {"path", file.state == FrameState::kOutside ? Json() : Json(file.path)},
          {"stored", StoredPathOf(toc, index)}};
}

std::string FormatCounts(const Json& counts) {
  std::string text = std::to_string(counts["listed"].get<int>()).append(" listed");
  for (const char* state : {"there", "missing", "outside"}) {
    const int count = counts[state].get<int>();
    // Nothing outside is the rule, and not worth a word.
    if (count > 0 || state != std::string("outside"))
      text.append(", ").append(std::to_string(count)).append(" ").append(state);
  }
  return text;
}

void PrintBoundary(const Json& boundary) {
  std::printf("  boundary %d  %s, scale %s, zone %s\n", boundary["number"].get<int>(),
              GetText(boundary["product"]).c_str(), GetText(boundary["scale"]).c_str(),
              GetText(boundary["zone"]).c_str());
  std::printf("  made        by %s, compressed %s\n", GetText(boundary["producer"]).c_str(),
              GetText(boundary["compression"]).c_str());
  std::printf("  grid        %d x %d frames, rows by columns\n", boundary["rows"].get<int>(),
              boundary["columns"].get<int>());
  std::printf("  frames      %s\n", FormatCounts(boundary["frames"]).c_str());
  PrintPoints({"upper left", "upper right", "lower right", "lower left"}, nullptr, boundary["lonLat"]);
}

void PrintFrame(const Json& frame) {
  const std::string path = frame["path"].is_null() ? "(not looked for)" : GetText(frame["path"]);
  std::printf("  boundary %d, row %d, column %d: %-7s  %s  from %s\n", frame["boundary"].get<int>(),
              frame["row"].get<int>(), frame["column"].get<int>(), frame["state"].get<std::string>().c_str(),
              path.c_str(), GetText(frame["stored"]).c_str());
}

/// Tells of one table of contents. Frames are described one by one, so that a long list takes no room unless it is to
/// be one JSON text.
class TocReport {
 public:
  TocReport(const XCIBtoc& toc, const Options& options) : toc_(toc), options_(options) {}

  bool FindFrames(XThread& thread);
  Json Describe() const;
  void PrintText(const std::string& path) const;

 private:
  Json DescribeBoundaries() const;
  Json DescribeFrameAt(int index) const {
    return DescribeFrame(toc_, index, FindFrame(toc_, index, options_.anywhere));
  }

  const XCIBtoc& toc_;
  const Options& options_;
  std::vector<FrameState> states_;
  FrameCounts all_;
  std::vector<FrameCounts> ofBoundaries_;
};

/// Counts every frame. False where the work was stopped.
bool TocReport::FindFrames(XThread& thread) {
  const FrameNumbering numbering = NumberingOf(toc_);
  const int count = toc_.GetFrameRecordSize();
  ofBoundaries_.resize(static_cast<std::size_t>(toc_.GetBoundaryRecSize()));
  for (int i = 0; i < count; ++i) {
    if (XfnIsStopRequested(thread.GetStatePtr())) return false;
    const FrameState state = FindFrame(toc_, i, options_.anywhere).state;
    states_.push_back(state);
    all_.Add(state);
    const int boundary = CellOf(toc_, numbering, i).boundary;
    if (boundary >= 0) ofBoundaries_[static_cast<std::size_t>(boundary)].Add(state);
    thread.CallbackPercent(100.0 * (i + 1) / count);
  }
  return true;
}

/// Numbers begin as those in the table do, with 0 or with 1.
Json TocReport::DescribeBoundaries() const {
  const int first = NumberingOf(toc_).first;
  Json all = Json::array();
  for (int i = 0; i < toc_.GetBoundaryRecSize(); ++i) {
    all.push_back(DescribeBoundary(*toc_.GetBoundaryRecAt(i), first + i, ofBoundaries_[static_cast<std::size_t>(i)]));
  }
  return all;
}

Json TocReport::Describe() const {
  Json json = {{"productDataType", toc_.GetProductDataType()},
               {"frames", DescribeCounts(all_)},
               {"boundaries", DescribeBoundaries()}};
  if (!options_.frames && !options_.missing) return json;
  Json& list = json["list"] = Json::array();
  for (std::size_t i = 0; i < states_.size(); ++i) {
    if (options_.Lists(states_[i])) list.push_back(DescribeFrameAt(static_cast<int>(i)));
  }
  return json;
}

void TocReport::PrintText(const std::string& path) const {
  std::printf("%s\n", Printable(path).c_str());
  std::printf("  frames      %s\n", FormatCounts(DescribeCounts(all_)).c_str());
  for (const Json& boundary : DescribeBoundaries()) PrintBoundary(boundary);
  for (std::size_t i = 0; i < states_.size(); ++i) {
    if (options_.Lists(states_[i])) PrintFrame(DescribeFrameAt(static_cast<int>(i)));
  }
}

bool Tell(const std::string& path, const Options& options, Json& json, XThread& thread, std::string& err) {
  XCIBtoc toc;
  if (!LoadToc(path, toc, err)) return false;
  TocReport report(toc, options);
  if (!report.FindFrames(thread)) return false;
  if (options.json) {
    json.update(report.Describe());
  } else {
    report.PrintText(path);
  }
  return true;
}

int Run(const Options& options) {
  int status = 0;
  Json all = Json::array();
  for (const std::string& path : options.files) {
    Json json = {{"file", path}};
    const JobResult result =
        RunJob(path, [&](XThread& thread, std::string& err) { return Tell(path, options, json, thread, err); });
    if (!result.isDone) status = 1;
    if (result.wasStopped) break;
    if (!result.isDone) json["error"] = result.reason;
    if (options.json) all.push_back(std::move(json));
  }
  if (options.json) std::printf("%s\n", Serialize(all).c_str());
  return status;
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio toc A.TOC\n"
    "  zrkio toc A.TOC --missing\n"
    "  zrkio toc A.TOC --frames --json\n"
    "  zrkio view A.TOC -o coverage.png\n";

}  // namespace

void AddTocCommand(CommandLine& program) {
  auto options = std::make_shared<Options>();
  Command command = program.AddCommand("toc", "Tell what tables of contents of raster maps hold", kExamples);
  command.AddArgument("FILE", options->files, "Tables of contents, mostly named A.TOC");
  const Option frames = command.AddFlag("--frames", options->frames, "List every frame with its file");
  command.AddFlag("--missing", options->missing, "List the frames whose file is not there").Exclude(frames);
  command.AddFlag("--anywhere", options->anywhere,
                  "Follow paths that lead out of the folder of the table\n"
                  "of contents, which otherwise are not looked at");
  command.AddFlag("--json", options->json, "Print an array of objects for machines");
  AddQuietOption(command);
  command.SetAction([options] { return Run(*options); });
}
