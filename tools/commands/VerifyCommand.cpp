// zrkio verify: a tile store checked from end to end. Exit status 1 says that something is wrong with it, and the list
// says what.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "commands/SharedOptions.h"
#include "Job.h"
#include "output/Json.h"
#include "XTileStore.h"

#include <cstdio>

namespace {

struct VerifyOptions {
  std::string file;
  bool json = false;
};

Json DescribeReport(const tagXStoreReport& report) {
  Json findings = Json::array();
  for (const XString& finding : report.findings) findings.push_back(finding.GetText());
  return {{"tiles", report.numTiles},
          {"emptyTiles", report.numEmptyTiles},
          {"numFindings", report.numFindings},
          {"findings", std::move(findings)}};
}

void PrintVerifyText(const Json& json) {
  std::printf("%s\n  tiles       %lld, %lld of them empty\n", GetText(json["file"]).c_str(),
              static_cast<long long>(json["tiles"].get<std::int64_t>()),
              static_cast<long long>(json["emptyTiles"].get<std::int64_t>()));
  const auto numFindings = json["numFindings"].get<std::int64_t>();
  if (numFindings == 0) {
    std::printf("  nothing is wrong\n");
    return;
  }
  for (const Json& finding : json["findings"]) std::printf("  %s\n", GetText(finding).c_str());
  const auto numLeft = numFindings - static_cast<std::int64_t>(json["findings"].size());
  if (numLeft > 0) std::printf("  and %lld more\n", static_cast<long long>(numLeft));
}

int RunVerify(const VerifyOptions& options) {
  tagXStoreReport report;
  const JobResult result = RunJob(options.file, [&](XThread& thread, std::string& err) {
    XString why;
    const bool isDone = XfnCheckStore(options.file, report, why, &thread);
    err = why.GetText();
    return isDone;
  });
  if (result.wasStopped) return result.GetExitStatus();
  Json json = {{"file", options.file}};
  json.update(result.isDone ? DescribeReport(report) : Json{{"error", result.reason}});
  if (options.json) {
    std::printf("%s\n", Serialize(json).c_str());
  } else if (result.isDone) {
    PrintVerifyText(json);
  }
  return report.numFindings > 0 ? 1 : result.GetExitStatus();
}

const char* const kVerifyExamples =
    "Examples:\n"
    "  zrkio verify globe.pbi\n"
    "  zrkio verify --json heights.pbe\n";

}  // namespace

void AddVerifyCommand(CommandLine& program) {
  auto options = std::make_shared<VerifyOptions>();
  Command command = program.AddCommand("verify", "Check a tile store from end to end", kVerifyExamples);
  command.AddArgument("FILE", options->file, "A tile store");
  command.AddFlag("--json", options->json, "Print an object for machines");
  AddQuietOption(command);
  command.SetAction([options] { return RunVerify(*options); });
}
