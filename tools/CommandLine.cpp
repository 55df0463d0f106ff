// The command line, on CLI11. That library is all headers: including it takes seconds, and binding an option to a
// variable of another type takes some more. So it stays in this source, which makes what its header declares for the
// few types that options have. To give options another type, add a line to the instantiations below.

#include "CommandLine.h"

#include "output/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

namespace {

constexpr int kBadUsage = 2;

template <typename T>
constexpr bool kIsList = false;
template <typename Number>
constexpr bool kIsList<std::vector<Number>> = true;

int TellBadUsage(const char* reason) {
  std::fprintf(stderr, "zrkio: %s\nRun zrkio --help for more information.\n", reason);
  return kBadUsage;
}

/// The help tells ranges in its own words.
template <typename T>
void CheckRange(CLI::Option& option, T least, T most) {
  option.check(CLI::Range(least, most).description(""));
  // What is not a number lies neither below a range nor above it.
  option.check([](const std::string& text) { return std::isnan(std::atof(text.c_str())) ? "a number is wanted" : ""; });
}

/// How many letters have to be put in, taken out or changed to come from one word to the other.
std::size_t CountEdits(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({row[j] + 1, row[j + 1] + 1, changed}));
    }
  }
  return row.back();
}

/// As "there is no subcommand infos; did you mean info? There are bounds and info".
std::string TellNoSubcommand(const std::string& word, const std::vector<std::string>& names) {
  constexpr std::size_t kMaxEdits = 2;
  const auto edits = [&](const std::string& name) { return CountEdits(word, name); };
  const std::string& nearest = *std::ranges::min_element(names, {}, edits);
  std::string text = "there is no subcommand " + Printable(word);
  text += edits(nearest) <= kMaxEdits ? "; did you mean " + nearest + "? There are " : ". There are ";
  for (const std::string& name : names) {
    text += (&name == &names.front() ? "" : &name == &names.back() ? " and " : ", ") + name;
  }
  return text;
}

}  // namespace

Option& Option::Require() {
  option_->required();
  return *this;
}

Option& Option::AllowNone() {
  option_->required(false);
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
template Option Command::AddArgument(const char*, double&, const std::string&);
template Option Command::AddOption(const char*, const char*, int&, const std::string&);
template Option Command::AddOption(const char*, const char*, double&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::string&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::optional<int>&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::optional<double>&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::vector<int>&, const std::string&);
template Option Command::AddOption(const char*, const char*, std::vector<double>&, const std::string&);

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

void CommandLine::AddOption(const char* name, const char* valueName, std::function<void(const std::string&)> take,
                            const std::string& description) {
  app_->add_option_function<std::string>(name, take, description)->type_name(valueName);
}

Command CommandLine::AddCommand(const char* name, const std::string& description, const std::string& epilogue) {
  CLI::App* command = app_->add_subcommand(name, description);
  command->footer(epilogue);
  return Command(*command, status_);
}

/// The library that parses would say no more than that it did not expect the word.
std::string CommandLine::RefuseSubcommand(const std::string& word) const {
  std::vector<std::string> names;
  for (const CLI::App* command : app_->get_subcommands(nullptr)) names.push_back(command->get_name());
  const bool isKnown = word.starts_with('-') || std::ranges::find(names, word) != names.end();
  return isKnown ? std::string() : TellNoSubcommand(word, names);
}

/// Help and version end the parsing too, but are no failure.
int CommandLine::Run(int argc, char** argv) {
  const std::string refusal = argc > 1 ? RefuseSubcommand(argv[1]) : "";
  if (!refusal.empty()) return TellBadUsage(refusal.c_str());
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
