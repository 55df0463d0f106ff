// Every call to the disk that the program makes fails once. A command is run first on a sound disk, with its calls
// listed. Then it is run again for each of them, and that call fails with an error of the medium, finds the disk full,
// or moves less than was asked for. The program then says why it failed and leaves what was there, or it has made what
// it makes on a sound disk. Nothing unfinished stays behind and no file stays open. Nor does anything where the user
// ends the program at once, whatever call it has just made.
//
// A command joins by a row of `AllCommands`. Each third run is made, unless all trials are asked for.

#include "ByteFlips.h"
#include "faults/FaultyProgram.h"
#include "Program.h"

#include <fstream>
#include <map>
#include <string_view>

namespace {

using Bytes = std::vector<unsigned char>;
using Files = std::map<std::string, Bytes>;

/// A command of the program, of which IN and OUT are an image and the file that is made of it.
struct Command {
  const char* name;
  std::vector<std::string> arguments;
  const char* output;                 ///< the name of OUT
  bool isPlaced = true;               ///< whether the image has a world file
  std::vector<std::string> old = {};  ///< what makes the file that is there before; unless given, the same
  friend std::ostream& operator<<(std::ostream& stream, const Command& command) { return stream << command.name; }
};

constexpr const char* kWorldFile = "in.bmw";  // of the image

/// Work is done by one worker, so that calls come in the same order each time.
std::vector<Command> AllCommands() {
  return {
      {"NativePlain", {"convert", "IN", "OUT", "--workers", "1"}, "out.zrm"},
      {"NativeCompressed", {"convert", "IN", "OUT", "--max-error", "2", "--workers", "1"}, "out.zrm"},
      {"TiffWithWorldFile", {"convert", "IN", "OUT", "--workers", "1"}, "out.tif"},
      {"TiffWithoutPlace", {"convert", "IN", "OUT", "--workers", "1"}, "out.tif", false},
      {"Jp2", {"convert", "IN", "OUT", "--workers", "1"}, "out.jp2"},
      {"Levels", {"levels", "IN", "--force", "--workers", "1"}, "in.xld", true, {"levels", "IN", "--stats-only"}},
      {"Png", {"read", "IN", "-o", "OUT"}, "out.png"},
      {"Statistics", {"info", "IN", "--stats"}, ""},
  };
}

/// A call to the disk: what it does, and the name of the file.
struct Call {
  std::string kind;
  std::string name;
  bool isFailed = false;
};

/// What a run of the program has left behind.
struct Outcome {
  ProgramResult result;
  std::vector<Call> calls;
  Files files;
};

Call ParseCall(const std::string& line) {
  std::istringstream words(line);
  Call call;
  std::string last;
  words >> call.kind >> call.name >> last;
  call.isFailed = last == "failed";
  return call;
}

/// The ways in which a call of the kind can fail. Only what takes room finds the disk full.
std::vector<Fault> FaultsOf(const std::string& kind) {
  if (kind == "read") return {Fault::kError, Fault::kShort};
  if (kind == "write") return {Fault::kError, Fault::kFull, Fault::kShort};
  if (kind == "create" || kind == "resize" || kind == "allocate") return {Fault::kError, Fault::kFull};
  return {Fault::kError};
}

class ProgramSweep : public Zrkio, public testing::WithParamInterface<Command> {
 protected:
  ProgramSweep() : program_(Fill(GetParam().arguments), folder_.Path(), Log()) {}

  std::string Log() const { return logs_.Path("log"); }
  std::string InPath() const { return folder_.Path("in.bmp"); }
  std::vector<std::string> Fill(std::vector<std::string> arguments) const {
    for (std::string& each : arguments) {
      if (each == "IN") each = InPath();
      if (each == "OUT") each = folder_.Path(GetParam().output);
    }
    arguments.insert(arguments.begin(), ZRK_PROGRAM);
    return arguments;
  }
  /// An image of 40 x 30 pixels, or another one, which has its place in any case.
  void WriteImage(bool isOther) {
    BmpBuilder image;
    image.Size(40, 30);
    if (isOther) image.Pixel([](int x, int y) { return static_cast<std::uint32_t>(x * y); });
    Write("in.bmp", image.Build());
    if (GetParam().isPlaced || isOther) folder_.Write(kWorldFile, "0.5\n0\n0\n-0.25\n100\n200\n");
  }
  Files Look() const {
    Files files;
    for (const std::string& name : ListFiles()) files[name] = WithoutTimes(ReadBytes(folder_.Path(name)));
    return files;
  }
  /// A level file tells the times of its image, which is written anew for each run.
  static Bytes WithoutTimes(Bytes bytes) {
    for (const std::string_view name : {"modified=\"", "changed=\""}) {
      const auto found = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
      if (found == bytes.end()) continue;
      const auto first = found + static_cast<std::ptrdiff_t>(name.size());
      std::fill(first, std::find(first, bytes.end(), '"'), '0');
    }
    return bytes;
  }
  void Restore(const Files& files) {
    for (const std::string& name : ListFiles()) std::filesystem::remove(folder_.Path(name));
    for (const auto& [name, bytes] : files) Write(name, bytes);
  }
  /// The image, and where asked for, what the command made of another one before.
  Files Prepare(bool hasOld) {
    Restore({});
    if (hasOld) {
      WriteImage(true);
      const Command& command = GetParam();
      const ProgramResult result = RunProgram(Fill(command.old.empty() ? command.arguments : command.old));
      EXPECT_EQ(0, result.exitStatus) << result.err;
      std::filesystem::remove(folder_.Path(kWorldFile));
    }
    WriteImage(false);
    return Look();
  }

  /// Runs the command on these files.
  Outcome RunOn(const Files& files, const FaultOrder& order) {
    Restore(files);
    Outcome outcome;
    outcome.result = program_.Run(order);
    std::ifstream lines(Log());
    for (std::string line; std::getline(lines, line);) outcome.calls.push_back(ParseCall(line));
    outcome.files = Look();
    return outcome;
  }

  void SweepFrom(std::size_t first, const Files& before, const Outcome& right);

  TempFolder logs_;
  FaultyProgram program_;
};

class ProgramSweepOfWriters : public ProgramSweep {};

bool HasReason(const std::string& err) {
  return err.starts_with("zrkio: ") && err.ends_with("\n") && err.find(": ", 7) != std::string::npos;
}

std::string ListNames(const Files& files) {
  std::string names;
  for (const auto& [name, bytes] : files) names += " " + name + " (" + std::to_string(bytes.size()) + ")";
  return names;
}

/// Each file is as it was before or as it is after, and each that stood before and after stands.
bool IsBetween(const Files& now, const Files& before, const Files& after) {
  const auto isIn = [](const Files& files, const std::string& name, const Bytes& bytes) {
    const auto found = files.find(name);
    return found != files.end() && found->second == bytes;
  };
  for (const auto& [name, bytes] : now) {
    if (!isIn(before, name, bytes) && !isIn(after, name, bytes)) return false;
  }
  return std::ranges::all_of(before,
                             [&](const auto& file) { return now.contains(file.first) || !after.contains(file.first); });
}

/// What is wrong with a run whose call number `failing` failed, or "".
std::string FindWrong(Outcome run, std::size_t failing, const Files& before, const Outcome& right) {
  if (run.calls.size() < failing || !run.calls[failing - 1].isFailed) return "the call did not come";
  if (run.calls.back().kind != "end") return "ended by signal " + std::to_string(run.result.signal);
  for (const Call& call : run.calls) {
    if (call.kind.starts_with("left-")) return call.kind + " " + call.name;
  }
  const Call& failed = run.calls[failing - 1];
  // What can't be removed stays, as the disk has it.
  if (failed.kind == "unlink" && !before.contains(failed.name)) run.files.erase(failed.name);
  if (run.result.exitStatus == 0) {
    if (run.files != right.files) return "says that it is done, and left" + ListNames(run.files);
    return run.result.out == right.result.out ? "" : "printed something else: " + run.result.out;
  }
  if (!HasReason(run.result.err)) return "failed without a reason: " + run.result.err;
  // Once a file has its name, it is whole and the old one is gone; what fails then is told all the same.
  const auto end = run.calls.begin() + static_cast<std::ptrdiff_t>(failing - 1);
  const bool hasName = std::any_of(run.calls.begin(), end, [&](const Call& call) {
    return call.kind == "rename" && right.files.contains(call.name);
  });
  const bool isFine = hasName ? IsBetween(run.files, before, right.files) : run.files == before;
  return isFine ? "" : "failed and left" + ListNames(run.files) + ": " + run.result.err;
}

void ProgramSweep::SweepFrom(std::size_t first, const Files& before, const Outcome& right) {
  std::size_t numTrials = 0;
  for (std::size_t i = first; i < right.calls.size(); ++i) {
    const Call& call = right.calls[i - 1];
    for (const Fault fault : FaultsOf(call.kind)) {
      if (numTrials++ % ProgramTrialStep() != 0) continue;
      EXPECT_EQ("", FindWrong(RunOn(before, {static_cast<int>(i), fault}), i, before, right))
          << "call " << i << ", " << call.kind << " " << call.name << ", fault " << static_cast<int>(fault);
    }
  }
}

/// The calls before the first that makes a file; they are the same whether there is an old one or not.
std::size_t CountCallsBeforeOutput(const std::vector<Call>& calls) {
  const auto first = std::ranges::find(calls, "create", &Call::kind);
  return static_cast<std::size_t>(first - calls.begin());
}

TEST_P(ProgramSweep, LeavesTheOldFileOrTheRightOne) {
  const Files before = Prepare(true);
  const Outcome right = RunOn(before, {});
  ASSERT_EQ(0, right.result.exitStatus) << right.result.err;
  ASSERT_GT(right.calls.size(), 10U);
  SweepFrom(1, before, right);
}

TEST_P(ProgramSweepOfWriters, LeavesNothingOrTheRightFileWhereThereWasNone) {
  const Files before = Prepare(false);
  const Outcome right = RunOn(before, {});
  ASSERT_EQ(0, right.result.exitStatus) << right.result.err;
  const std::size_t first = 1 + CountCallsBeforeOutput(right.calls);
  ASSERT_LT(first, right.calls.size());
  SweepFrom(first, before, right);
}

/// What is wrong with a run that was told twice to end after one of its calls, or "". It had done nothing yet, or all.
std::string FindLeftBehind(const Outcome& run, const Files& before, const Files& after) {
  const int signal = run.result.signal;
  if (signal == 0 && run.files == after) return "";
  if (signal == 0 && run.result.exitStatus != 1) return "ended with " + std::to_string(run.result.exitStatus);
  if (signal != 0 && signal != SIGINT && signal != SIGTERM) return "ended by signal " + std::to_string(signal);
  return run.files == before || run.files == after ? "" : "left" + ListNames(run.files);
}

TEST_P(ProgramSweepOfWriters, TwoSignalsAfterAnyCallLeaveAllFilesOrNone) {
  const Files before = Prepare(true);
  const Outcome right = RunOn(before, {});
  ASSERT_EQ(0, right.result.exitStatus) << right.result.err;
  const std::size_t first = 1 + CountCallsBeforeOutput(right.calls);
  for (std::size_t i = first; i < right.calls.size(); i += ProgramTrialStep()) {
    EXPECT_EQ("", FindLeftBehind(RunOn(before, {static_cast<int>(i), Fault::kSignals}), before, right.files))
        << "call " << i << ", " << right.calls[i - 1].kind << " " << right.calls[i - 1].name;
  }
}

/// A sweep fails each call that comes, and can't tell that one is missing.
TEST_P(ProgramSweepOfWriters, SyncsAndClosesTheFileJustBeforeItGetsItsName) {
  const std::vector<Call> calls = RunOn(Prepare(true), {}).calls;
  const auto isNaming = [](const Call& call) { return call.kind == "rename" && call.name == GetParam().output; };
  const auto naming = std::ranges::find_if(calls, isNaming);
  ASSERT_NE(calls.end(), naming);
  ASSERT_GE(naming - calls.begin(), 2);
  EXPECT_EQ("sync", naming[-2].kind);
  EXPECT_EQ("close-written", naming[-1].kind);
  EXPECT_EQ(naming[-2].name, naming[-1].name);
}

std::vector<Command> CommandsThatWrite() {
  std::vector<Command> commands = AllCommands();
  std::erase_if(commands, [](const Command& command) { return std::string(command.output).empty(); });
  return commands;
}

INSTANTIATE_TEST_SUITE_P(All, ProgramSweep, testing::ValuesIn(AllCommands()),
                         [](const auto& one) { return std::string(one.param.name); });

INSTANTIATE_TEST_SUITE_P(All, ProgramSweepOfWriters, testing::ValuesIn(CommandsThatWrite()),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
