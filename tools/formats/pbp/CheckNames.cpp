// zrkio names check: a PBP file from end to end. Exit status 1 says that something is wrong with it, and the list says
// what.

#include "formats/pbp/NamesActions.h"
#include "Job.h"
#include "output/Json.h"
#include "XPBPReader.h"

#include <cstdio>

namespace {

Json DescribePlaceReport(const tagXPlaceReport& report) {
  Json findings = Json::array();
  for (const XString& finding : report.findings) findings.push_back(finding.AsStdString());
  return {{"places", report.numPlaces},
          {"notNumbers", report.numNotNumbers},
          {"numFindings", report.numFindings},
          {"findings", std::move(findings)}};
}

void PrintPlaceReport(const std::string& file, const tagXPlaceReport& report) {
  std::printf("%s\n  places      %lld\n", GetText(file).c_str(), static_cast<long long>(report.numPlaces));
  if (report.numNotNumbers > 0) {
    std::printf("  %lld of them have a coordinate that is not a number\n",
                static_cast<long long>(report.numNotNumbers));
  }
  if (report.numFindings == 0) std::printf("  nothing is wrong\n");
  for (const XString& finding : report.findings) std::printf("  %s\n", finding.GetText());
  const std::int64_t numLeft = report.numFindings - static_cast<std::int64_t>(report.findings.size());
  if (numLeft > 0) std::printf("  and %lld more\n", static_cast<long long>(numLeft));
}

}  // namespace

int CheckNames(const NamesOptions& options) {
  const std::string& file = options.files.front();
  tagXPlaceReport report;
  const JobResult result = RunJob(file, [&](XThread& thread, std::string& err) {
    XString why;
    const bool isDone = XfnCheckPlaces(file, report, why, &thread);
    err = why.AsStdString();
    return isDone;
  });
  if (result.wasStopped) return result.GetExitStatus();
  if (options.json) {
    Json json = {{"file", file}};
    json.update(result.isDone ? DescribePlaceReport(report) : Json{{"error", result.reason}});
    std::printf("%s\n", Serialize(json).c_str());
  } else if (result.isDone) {
    PrintPlaceReport(file, report);
  }
  return report.numFindings > 0 ? 1 : result.GetExitStatus();
}
