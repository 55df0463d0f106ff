#include "Interrupt.h"

#include "Program.h"

namespace {

class ZrkioInterrupt : public Zrkio {
 protected:
  /// Reads a bitmap large enough that `act` comes while the output is being written.
  ProgramResult RunAndDisturb(std::function<void(pid_t)> act, std::function<void()> inChild = {}) {
    path_ = WriteHuge("huge.bmp", 40000);
    ProgramOptions options;
    options.inChild = std::move(inChild);
    options.whileRunning = [&](pid_t child) {
      WaitForOutput(1);
      act(child);
    };
    return Run({"view", path_, "-o", folder_.Path("out.png")}, options);
  }
  std::string path_;
};

TEST_F(ZrkioInterrupt, StopsCleanlyAndLeavesNothingBehind) {
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    const ProgramResult result = RunAndDisturb([&](pid_t child) { kill(child, signalNumber); });
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ("zrkio: " + path_ + ": stopped\n", result.err);
    EXPECT_EQ(1, CountFiles());
  }
}

TEST_F(ZrkioInterrupt, ASecondSignalEndsTheProgramAtOnceAndLeavesNothingBehind) {
  const ProgramResult result = RunAndDisturb([](pid_t child) { SendTogether(child, {SIGINT, SIGTERM}); });
  EXPECT_TRUE(result.signal == SIGINT || result.signal == SIGTERM) << result.signal;
  EXPECT_EQ("", result.err);
  EXPECT_EQ(1, CountFiles());
}

TEST_F(ZrkioInterrupt, AKilledProgramLeavesNothingUnderTheFinalName) {
  const ProgramResult result = RunAndDisturb([](pid_t child) { kill(child, SIGKILL); });
  EXPECT_EQ(SIGKILL, result.signal);
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("out.png")));
}

TEST_F(ZrkioInterrupt, WhatTheStarterIgnoresStaysIgnored) {
  const ProgramResult result = RunAndDisturb(
      [](pid_t child) {
        SendTogether(child, {SIGHUP, SIGINT});
      },
      [] { std::signal(SIGHUP, SIG_IGN); });
  // Two that are heard would have ended the program by signal.
  EXPECT_EQ(0, result.signal);
  EXPECT_EQ(1, result.exitStatus);
}

TEST_F(ZrkioInterrupt, NeitherOfTwoUnfinishedFilesOutlivesTheProgram) {
  const std::string image = Write("a.part.tif", {}), place = Write("a.part.tfw", {});
  const auto endAtOnce = [&] {
    InstallInterruptHandlers();
    SetUnfinishedFile(image, place);
    std::raise(SIGTERM);
  };
  EXPECT_EXIT(endAtOnce(), testing::KilledBySignal(SIGTERM), "");
  EXPECT_EQ(0, CountFiles());
}

}  // namespace
