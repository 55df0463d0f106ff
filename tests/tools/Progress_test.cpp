#include "Program.h"

#include <csignal>

namespace {

class ZrkioProgress : public Zrkio {
 protected:
  /// Types Control-C once as soon as the terminal shows `cue`.
  std::string RunUntil(const std::string& path, const std::string& cue, ProgramResult& result) {
    std::string shown;
    result = RunAtTerminal({"view", path, "-o", folder_.Path("out.png")}, [&](const std::string& soFar) {
      if (!shown.empty() || soFar.find(cue) == std::string::npos) return std::string();
      shown = soFar;
      return std::string("\x03");
    });
    return shown;
  }
  /// What is left on the line when the bar is wiped away.
  static std::string WhatStays(const std::string& shown) {
    const std::size_t wiped = shown.rfind("\r\033[K");
    return wiped == std::string::npos ? shown : shown.substr(wiped + 4);
  }
};

TEST_F(ZrkioProgress, ATerminalShowsABarThatControlCWipesAway) {
  const std::string path = WriteHuge("huge.bmp", 60000);
  ProgramResult result;
  const std::string shown = RunUntil(path, " left\033[K", result);
  EXPECT_EQ(0u, shown.find("\rhuge.bmp [")) << result.out;
  EXPECT_NE(std::string::npos, shown.find(" %, "));
  EXPECT_EQ(1, result.exitStatus);
  EXPECT_EQ("zrkio: " + path + ": stopped\r\n", WhatStays(result.out));
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioProgress, ALongNameGivesWayToTheBar) {
  const std::string name(100, 'n');
  const std::string path = WriteHuge(name + ".bmp", 60000);
  ProgramResult result;
  const std::string shown = RunUntil(path, " left\033[K", result);
  const std::string lastLine = shown.substr(shown.rfind('\r') + 1);
  EXPECT_EQ(79u, lastLine.find("\033[K"));
  EXPECT_NE(std::string::npos, lastLine.find("n... ["));
}

TEST_F(ZrkioProgress, TheBarFitsATerminalThatBecomesNarrower) {
  const std::string path = WriteHuge("huge.bmp", 60000);
  std::size_t resizedAt = std::string::npos;
  bool hasTyped = false;
  const auto isDrawnAnew = [&](const std::string& shown) {
    return resizedAt != std::string::npos && shown.find("\033[K", resizedAt + 200) != std::string::npos;
  };
  const ProgramResult result = RunAtTerminal(
      {"view", path, "-o", folder_.Path("out.png")},
      [&](const std::string& shown) { return !hasTyped && isDrawnAnew(shown) && (hasTyped = true) ? "\x03" : ""; },
      [&](const std::string& shown) {
        if (resizedAt != std::string::npos || shown.find(" left\033[K") == std::string::npos) return 0;
        resizedAt = shown.size();
        return 30;
      });
  ASSERT_NE(std::string::npos, resizedAt) << result.out;
  // A line that was under way may still be of the old width.
  std::size_t line = result.out.find('\r', result.out.find("\033[K", resizedAt));
  ASSERT_NE(std::string::npos, line);
  for (std::size_t end; (end = result.out.find("\033[K", line)) != std::string::npos;) {
    EXPECT_LT(end - line - 1, 30u) << result.out.substr(line, end - line);
    line = std::min(result.out.find('\r', end), result.out.size());
  }
  EXPECT_EQ("zrkio: " + path + ": stopped\r\n", WhatStays(result.out));
}

TEST_F(ZrkioProgress, QuietWorkShowsNone) {
  const std::string path = WriteHuge("huge.bmp", 30000);
  const ProgramResult result = RunAtTerminal({"info", "--stats", "--quiet", path});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ(std::string::npos, result.out.find(" %")) << result.out;
}

TEST_F(ZrkioProgress, WorkThatIsDoneEndsAt100) {
  const std::string path = WriteHuge("huge.bmp", 30000);
  const ProgramResult result = RunAtTerminal({"info", "--stats", path});
  EXPECT_EQ(0, result.exitStatus) << result.out;
  EXPECT_NE(std::string::npos, result.out.find("] 100 %")) << result.out;
}

TEST_F(ZrkioProgress, ShortWorkShowsNone) {
  const std::string path = Write("a.bmp", BmpBuilder().Size(7, 5).Build());
  const ProgramResult result = RunAtTerminal({"view", path, "-o", folder_.Path("a.png")});
  EXPECT_EQ(0, result.exitStatus);
  EXPECT_EQ(folder_.Path("a.png") + ": 7 x 5 pixels\r\n", result.out);
}

TEST_F(ZrkioProgress, NoTerminalShowsNone) {
  const std::string path = WriteHuge("huge.bmp", 20000);
  ProgramOptions options;
  options.whileRunning = [&](pid_t child) {
    WaitForOutput(1);
    kill(child, SIGSTOP);
    std::this_thread::sleep_for(std::chrono::milliseconds(700));  // the work takes long
    kill(child, SIGCONT);
  };
  const ProgramResult result =
      Run({"view", path, "--bands", "1", "--max-size", "64", "-o", folder_.Path("a.png")}, options);
  EXPECT_EQ(folder_.Path("a.png") + ": 64 x 64 pixels\n", result.err);
}

}  // namespace
