// The command line, on CLI11. That library is all headers: including it takes seconds, and binding an option to a
// variable of another type takes some more. So it stays in this source, which makes what its header declares for the
// few types that options have. To give options another type, add a line to the instantiations below.

#include "CommandLine.h"

#include <cstdio>
#include <utility>

#include <CLI/CLI.hpp>

namespace {

constexpr int kBadUsage = 2;

template <typename T>
constexpr bool kIsList = false;
template <>
constexpr bool kIsList<std::vector<int>> = true;

int TellBadUsage(const char* reason) {
  std::fprintf(stderr, "zrkio: %s\nRun zrkio --help for more information.\n", reason);
  return kBadUsage;
}

/// The help tells ranges in its own words.
template <typename T>
void CheckRange(CLI::Option& option, T least, T most) {
  option.check(CLI::Range(least, most).description(""));
}

}  // namespace

Option& Option::Require() {
  option_->required();
  return *this;
}

Option& Option::SetRange(int least, int most) {
  CheckRange(*option_, least, most);
  return *this;
}

Option& Option::SetRange(double least, double most) {
  CheckRange(*option_, least, most);
  return *this;
}

Option& Option::SetCount(int count) {
  option_->expected(count);
  return *this;
}

Option& Option::TakeOneWord() {
  option_->allow_extra_args(false);
  return *this;
}

Option& Option::Exclude(const Option& other) {
  option_->excludes(other.option_);
  return *this;
}

Option& Option::Need(const Option& other) {
  option_->needs(other.option_);
  return *this;
}

bool Option::IsGiven() const {
  return option_->count() > 0;
}

template <typename T>
Option Command::AddArgument(const char* name, T& value, const std::string& description) {
  return Option(*app_->add_option(name, value, description)->required()->type_name(""));
}

template <typename T>
Option Command::AddOption(const char* names, const char* valueName, T& value, const std::string& description) {
  CLI::Option* option = app_->add_option(names, value, description)->type_name(valueName);
  if (kIsList<T>) option->delimiter(',');
  return Option(*option);
}

template Option Command::AddArgument(const char*, std::string&, const std::string&);
template Option Command::AddArgument(const char*, std::vector<std::string>&, const std::string&);
template Option Command::AddOption(const char*, const char*, int&, const std::string&);
template Option Command::AddOption(const char*, const char*, double&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::string&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::optional<int>&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::optional<double>&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::vector<int>&, const std::string&);

Option Command::AddFlag(const char* names, bool& value, const std::string& description) {
  return Option(*app_->add_flag(names, value, description));
}

void Command::SetAction(std::function<int()> action) {
  app_->callback([action = std::move(action), status = status_] { *status = action(); });
}

CommandLine::CommandLine(const char* name, const std::string& description, const std::string& epilogue)
    : app_(std::make_unique<CLI::App>(description, name)) {
  app_->footer(epilogue);
  app_->require_subcommand(1);
}

CommandLine::~CommandLine() = default;

void CommandLine::SetVersion(const std::string& text, const std::string& description) {
  app_->set_version_flag("--version", text, description);
}

Command CommandLine::AddCommand(const char* name, const std::string& description, const std::string& epilogue) {
  CLI::App* command = app_->add_subcommand(name, description);
  command->footer(epilogue);
  return Command(*command, status_);
}

/// Help and version end the parsing too, but are no failure.
int CommandLine::Run(int argc, char** argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::Success& wanted) {
    return app_->exit(wanted);
  } catch (const CLI::ParseError& error) {
    return TellBadUsage(error.what());
  } catch (const UsageError& error) {
    return TellBadUsage(error.what());
  }
  return status_;
}
