// Times rows and prints the table. Google Benchmark runs each function once per round. Rounds go through ours and the
// rival's in turn, so that a machine that slows down in the meantime slows both. The median of the rounds is printed:
// one round that the system disturbs does not move it.

#include "Table.h"

#include <benchmark/benchmark.h>
#include <algorithm>
#include <cstdio>
#include <map>

namespace {

/// Collects the seconds of each run by the benchmark's name, and prints nothing.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
      seconds_[run.run_name.function_name].push_back(seconds);
    }
  }

  double GetMedian(const std::string& name) {
    std::vector<double>& seconds = seconds_.at(name);
    std::ranges::sort(seconds);
    return seconds[seconds.size() / 2];
  }

 private:
  std::map<std::string, std::vector<double>> seconds_;
};

void Register(const std::string& name, const std::function<void()>& work, const std::function<void()>& prepare) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [&work, &prepare](benchmark::State& state) {
                                 // Preparing lies outside of the loop, which is what is timed.
                                 if (prepare) prepare();
                                 for ([[maybe_unused]] auto _ : state) work();
                               })
      // One iteration: a row that takes too little time repeats its work by itself.
      ->Iterations(1)
      ->UseRealTime();
}

std::string FormatTime(double seconds) {
  char text[32];
  if (seconds < 1e-5) {
    std::snprintf(text, sizeof text, "%.0f ns", seconds * 1e9);
  } else {
    std::snprintf(text, sizeof text, "%.1f ms", seconds * 1e3);
  }
  return text;
}

void PrintRow(const Row& row, double ours, double theirs) {
  // A row without a rival is held against a time, and all others against a ratio.
  char ratio[32] = "-", target[32];
  const bool hasRival = !row.rival.empty();
  if (hasRival) std::snprintf(ratio, sizeof ratio, "%.2f", ours / theirs);
  std::snprintf(target, sizeof target, hasRival ? "%.2f" : "%.0f ns", hasRival ? row.target : row.target * 1e9);
  if (row.target <= 0.0) std::snprintf(target, sizeof target, "-");
  const bool isMet = hasRival ? ours <= theirs * row.target : ours <= row.target;
  const char* const verdict = isMet ? "met" : "missed";
  std::printf("%-52s %10s  %-24s %10s %6s %8s %s\n", row.title.c_str(), FormatTime(ours).c_str(),
              hasRival ? row.rival.c_str() : "-", hasRival ? FormatTime(theirs).c_str() : "-", ratio, target,
              row.target > 0.0 ? verdict : "");
}

}  // namespace

void TimeAndPrint(const std::vector<Row>& rows, int rounds) {
  for (const Row& row : rows) {
    Register(row.key + "_ours", row.ours, row.prepare);
    if (row.theirs) Register(row.key + "_theirs", row.theirs, row.prepare);
  }
  Collector collector;
  for (const Row& row : rows) {
    // The pattern names both sides of the row, which then run one after the other in every round.
    const int numRounds = rounds > 0 ? rounds : row.usualRounds;
    for (int round = 0; round < numRounds; ++round) {
      benchmark::RunSpecifiedBenchmarks(&collector, "^" + row.key + "_(ours|theirs)/");
    }
  }
  std::printf("%-52s %10s  %-24s %10s %6s %8s\n", "median times", "zrkio", "beside", "", "ratio", "target");
  for (const Row& row : rows) {
    const double ours = collector.GetMedian(row.key + "_ours") / row.times;
    const int theirTimes = row.theirTimes > 0 ? row.theirTimes : row.times;
    PrintRow(row, ours, row.theirs ? collector.GetMedian(row.key + "_theirs") / theirTimes : 0.0);
  }
}
