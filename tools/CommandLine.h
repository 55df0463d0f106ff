#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

// The command line: subcommands, their options, and what runs when one is chosen. The source of these classes is the
// only one that includes the library that parses, because that library is all headers and takes long to compile.

/// A command that makes no sense although each of its options does. What runs a subcommand throws it before any work is
/// begun. The program then tells "option: sentence" and ends as it does for a bad option.
class UsageError : public std::runtime_error {
 public:
  UsageError(const std::string& option, const std::string& sentence) : runtime_error(option + ": " + sentence) {}
};

/// An option or argument that was declared. The command line owns what a handle stands for, so handles can be copied.
class Option {
 public:
  explicit Option(CLI::Option& option) : option_(&option) {}

  /// A command without it is refused.
  Option& Require();
  /// A list may be empty, as of an argument that only some uses of a command take.
  Option& AllowNone();
  /// Numbers outside are refused; both ends are allowed.
  Option& SetRange(int least, int most);
  Option& SetRange(double least, double most);
  /// A list has to have so many numbers.
  Option& SetCount(int count);
  /// A list is one word, so that an argument can follow it.
  Option& TakeOneWord();
  /// The two are refused together.
  Option& Exclude(const Option& other);
  /// It is refused without the other.
  Option& Need(const Option& other);
  /// Whether the command has it. Known when the subcommand runs.
  bool IsGiven() const;

 private:
  CLI::Option* option_;
};

/// A subcommand. What options leave in the variables that they are bound to is there when the action runs, so these
/// variables have to live as long as the action: it holds them. Names are as "--size" or "-o,--output".
class Command {
 public:
  Command(CLI::App& app, int& status) : app_(&app), status_(&status) {}

  /// What stands without a name; it is required. T is double, std::string or a vector of it.
  template <typename T>
  Option AddArgument(const char* name, T& value, const std::string& description);
  /// `valueName` stands for the value in the help. T is int, double or std::string; std::optional of a number, which
  /// stays empty where the option is not given; or a vector of int or double, whose numbers are parted by commas.
  template <typename T>
  Option AddOption(const char* names, const char* valueName, T& value, const std::string& description);
  Option AddFlag(const char* names, bool& value, const std::string& description);
  /// What runs where the subcommand is chosen. Its result is the exit status: 0, or 1 where a job failed.
  void SetAction(std::function<int()> action);

 private:
  CLI::App* app_;
  int* status_;
};

/// The whole of the command line. Of its subcommands a command has to name one.
class CommandLine {
 public:
  /// The epilogue ends the help.
  CommandLine(const char* name, const std::string& description, const std::string& epilogue);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// --version prints the text.
  void SetVersion(const std::string& text, const std::string& description);
  /// An option of the program itself, which stands before the subcommand. `take` gets its value before that runs.
  void AddOption(const char* name, const char* valueName, std::function<void(const std::string&)> take,
                 const std::string& description);
  Command AddCommand(const char* name, const std::string& description, const std::string& epilogue);
  /// Runs the chosen subcommand and answers its exit status: 0 also for help and version, 2 for a bad command, which is
  /// told on stderr.
  int Run(int argc, char** argv);

 private:
  std::string RefuseSubcommand(const std::string& word) const;

  std::unique_ptr<CLI::App> app_;
  int status_ = 0;
};
