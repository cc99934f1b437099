#include "client/CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "client/Suggestion.h"
#include "client/Text.h"

namespace KorvoCtl {

namespace {

constexpr const char* kCommonGroup = "Common options";
constexpr double kMaxTimeoutSeconds = 86400;

// Columns at which the descriptions of options and of commands begin.
constexpr std::size_t kOptionColumn = 24;
constexpr std::size_t kCommandColumn = 34;

constexpr std::string_view kRootFooter =
    "Data goes to standard output, everything else to standard error, where a terminal\n"
    "also shows how far a long dump is.\n"
    "\n"
    "Environment:\n"
    "  KORVO_L2_SOCKET  the agent's socket where -s names none\n"
    "\n"
    "Exit status:\n"
    "  0  ok\n"
    "  1  a check found differences\n"
    "  2  wrong usage\n"
    "  3  refused by the agent, or it has no handler for the command\n"
    "  4  the agent is not ready or cannot be reached\n"
    "  5  failed, or the answer was cut off part-way\n"
    "\n"
    "Each command has its own help: korvoctl show mac hardware --help";

// The words that lead to a part of the tree, "" at its root.
std::string pathOf(const CLI::App* app) {
  std::string path;
  for (; app->get_parent() != nullptr; app = app->get_parent()) {
    path.insert(0, app->get_name() + (path.empty() ? "" : " "));
  }
  return path;
}

const CommandRow* findRow(std::string_view path) {
  const auto rows = commandTable();
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const CommandRow& row) { return row.path == path; });
  return found == rows.end() ? nullptr : &*found;
}

std::string_view groupSummary(std::string_view path) {
  for (const CommandGroup& group : commandGroups()) {
    if (group.path == path) {
      return group.summary;
    }
  }
  return {};
}

// One line per command at or below the path, whole, so that it can be copied.
std::string listBelow(std::string_view path) {
  std::string list;
  for (const CommandRow& row : commandTable()) {
    if (row.path != path && liesBelow(row.path, path)) {
      list += fmt::format("  {:<{}}{}\n", synopsis(row), kCommandColumn - 2, row.summary);
    }
  }
  return list;
}

// Empty when the text is a number of seconds that can be waited for.
std::string problemWithTimeout(const std::string& text) {
  double seconds = -1;
  const bool isNumber = CLI::detail::lexical_cast(text, seconds);
  // Not "less than 0": a NaN is that neither.
  return isNumber && seconds >= 0 && seconds <= kMaxTimeoutSeconds
             ? std::string()
             : fmt::format("'{}' is not a number from 0 to {}", shown(text), kMaxTimeoutSeconds);
}

// Lists whole commands where CLI11 lists the next word only.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(kOptionColumn);
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode /*mode*/) const override {
    const std::string list = listBelow(pathOf(app));
    return list.empty() ? list : "\nCommands:\n" + list;
  }
};

// What the options of one command line are written to. Every part of the tree writes to the same
// places, so that an option may stand anywhere behind the word that it belongs to.
struct Parsed {
  Arguments arguments;
  std::vector<std::string> chips;
  CommonOptions options;
  double timeoutSeconds = std::chrono::duration<double>(kDefaultPatience).count();
  bool noProgress = false;
  bool reference = false;
};

class Tree {
 public:
  explicit Tree(const std::string& defaultSocket);
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  CommandLine parse(std::span<const std::string> words);

 private:
  CLI::App& partAt(std::string_view path);
  void addRow(const CommandRow& row);
  void addPositional(CLI::App& app, const Positional& positional);
  void complete(CLI::App& app);

  CommandLine invocation();
  [[nodiscard]] const CLI::App& selected() const;
  [[nodiscard]] Problem wrongUsage(std::string_view text) const;
  [[nodiscard]] Problem unknownOption(const std::string& word) const;
  [[nodiscard]] Problem unexpectedWord(const std::string& word,
                                       const std::vector<std::string>& extras) const;

  CLI::App root_{"Asks a layer-2 agent for its tables.\n", "korvoctl"};
  std::shared_ptr<HelpFormatter> formatter_ = std::make_shared<HelpFormatter>();
  Parsed parsed_;
};

Tree::Tree(const std::string& defaultSocket) {
  parsed_.options.socketPath = defaultSocket;
  for (const CommandRow& row : commandTable()) {
    addRow(row);
  }
  root_.set_version_flag("--version", "korvoctl " KORVOCTL_VERSION);
  root_.get_option("--version")->description("Print the version and end");
  root_.add_flag("--reference", parsed_.reference, "Print the command reference (Markdown)");
  root_.footer(std::string(kRootFooter));
  complete(root_);
}

CLI::App& Tree::partAt(std::string_view path) {
  CLI::App* part = &root_;
  for (const std::string_view word : wordsOf(path)) {
    const std::string name(word);
    const auto existing =
        part->get_subcommands([&](const CLI::App* app) { return app->get_name() == name; });
    CLI::App* next = existing.empty() ? part->add_subcommand(name) : existing.front();
    if (existing.empty()) {
      next->description(fmt::format("{}.\n", groupSummary(pathOf(next))));
    }
    part = next;
  }
  return *part;
}

void Tree::addRow(const CommandRow& row) {
  CLI::App& app = partAt(row.path);
  app.description(
      fmt::format("{}.\n{}{}", row.summary, row.details, row.details.empty() ? "" : "\n"));
  app.footer(fmt::format("Example:\n  {}", row.example));
  if (row.chips) {
    app.add_option("--chip", parsed_.chips, "Chips by number or name, separated by commas (all)")
        ->type_name("LIST")
        ->option_text("LIST")
        ->allow_extra_args(false);
  }
  if (row.detail) {
    app.add_flag("--detail", parsed_.arguments.detail, "Show more of each entry");
  }
  if (row.json) {
    app.add_flag("--json", parsed_.arguments.json, "Answer in JSON instead of text");
  }
  for (const Positional& positional : row.positionals) {
    addPositional(app, positional);
  }
}

// All positionals of a row fill one list, in their order.
void Tree::addPositional(CLI::App& app, const Positional& positional) {
  std::vector<std::string>& words = parsed_.arguments.words;
  const std::string name(positional.name);
  const std::string help(positional.help);
  CLI::Option* option = nullptr;
  if (positional.repeats) {
    option = app.add_option_function<std::vector<std::string>>(
        name,
        [&words](const std::vector<std::string>& more) {
          words.insert(words.end(), more.begin(), more.end());
        },
        help);
  } else {
    option = app.add_option_function<std::string>(
        name, [&words](const std::string& word) { words.push_back(word); }, help);
  }
  option->option_text(" ")->required();
}

// Gives every part of the tree what all of them have. Comes last, so that help texts begin with
// what is a command's own.
void Tree::complete(CLI::App& app) {
  app.formatter(formatter_);
  // Words that fit nowhere are collected, so that the complaint about them can be a helpful one.
  app.allow_extras();
  // At most one, or a word of a command's arguments could be taken for another command.
  app.require_subcommand(0, 1);
  app.set_help_flag("-h,--help", "Print this help and end")->group(kCommonGroup);
  app.add_option("-s,--socket", parsed_.options.socketPath, "The agent's socket")
      ->type_name("PATH")
      ->take_last()
      ->group(kCommonGroup);
  app.add_option("--timeout", parsed_.timeoutSeconds,
                 "Wait this long for the agent's first word (10; 0: ever)")
      ->option_text("SECONDS")
      ->check(&problemWithTimeout)
      ->take_last()
      ->group(kCommonGroup);
  app.add_flag("--no-progress", parsed_.noProgress, "Do not show how far a dump is")
      ->group(kCommonGroup);
  for (CLI::App* part : app.get_subcommands([](const CLI::App*) { return true; })) {
    complete(*part);
  }
}

CommandLine Tree::parse(std::span<const std::string> words) {
  try {
    // CLI11 takes them from the back.
    root_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    // CLI11 puts two empty lines between groups of options.
    return Answer{CLI::detail::find_and_replace(root_.help(), "\n\n\n", "\n\n")};
  } catch (const CLI::CallForVersion&) {
    return Answer{root_.version() + "\n"};
  } catch (const CLI::ParseError& error) {
    return wrongUsage(error.what());
  }
  return invocation();
}

CommandLine Tree::invocation() {
  std::vector<std::string> extras = root_.remaining(true);
  // The mark after which nothing is an option; it has done its work.
  std::erase(extras, "--");
  if (!extras.empty()) {
    const std::string& first = extras.front();
    return first.starts_with("-") ? unknownOption(first) : unexpectedWord(first, extras);
  }
  if (parsed_.reference) {
    return Answer{commandReference()};
  }
  const std::string path = pathOf(&selected());
  const CommandRow* row = findRow(path);
  if (row == nullptr) {
    return Problem{ExitStatus::kUsage,
                   path.empty() ? fmt::format("give a command; there are:\n{}", listBelow(path))
                                : fmt::format("'{}' is not a whole command; there are:\n{}", path,
                                              listBelow(path))};
  }
  // Given with the first words of this command, where they are a command of their own.
  Arguments& arguments = parsed_.arguments;
  if ((arguments.json && !row->json) || (arguments.detail && !row->detail) ||
      (!parsed_.chips.empty() && !row->chips)) {
    return wrongUsage(fmt::format("'{}' does not have all of these options", path));
  }
  if (!parsed_.chips.empty()) {
    arguments.chips = fmt::format("{}", fmt::join(parsed_.chips, ","));
  }
  parsed_.options.progress = !parsed_.noProgress;
  parsed_.options.patience =
      std::chrono::milliseconds(static_cast<std::int64_t>(parsed_.timeoutSeconds * 1000));
  return Invocation{
      .row = row, .arguments = std::move(arguments), .options = std::move(parsed_.options)};
}

// The part of the tree that the words led to.
const CLI::App& Tree::selected() const {
  const CLI::App* app = &root_;
  while (!app->get_subcommands().empty()) {
    app = app->get_subcommands().front();
  }
  return *app;
}

Problem Tree::wrongUsage(std::string_view text) const {
  const std::string path = pathOf(&selected());
  return {ExitStatus::kUsage,
          fmt::format("{}\nTry 'korvoctl {}{}--help'.\n", text, path, path.empty() ? "" : " ")};
}

Problem Tree::unknownOption(const std::string& word) const {
  const std::string_view name = split(word, '=').front();
  const std::string path = pathOf(&selected());
  const std::string where = path.empty() ? "" : fmt::format(" for '{}'", path);
  for (const CLI::Option* option : selected().get_options()) {
    for (const std::string& known : option->get_lnames()) {
      if (name == "--" + known) {
        return wrongUsage(
            fmt::format("{} stands after the whole command: korvoctl {} {}", name, path, name));
      }
      if (isNear(name, "--" + known)) {
        return wrongUsage(
            fmt::format("unknown option {}{}; did you mean --{}?", shown(name), where, known));
      }
    }
  }
  return wrongUsage(fmt::format("unknown option {}{}", shown(name), where));
}

Problem Tree::unexpectedWord(const std::string& word,
                             const std::vector<std::string>& extras) const {
  const std::string path = pathOf(&selected());
  if (findRow(path) != nullptr && listBelow(path).empty()) {
    return wrongUsage(fmt::format("unexpected argument '{}' for '{}'", shown(word), path));
  }
  std::vector<std::string_view> typed;
  if (!path.empty()) {
    typed = wordsOf(path);
  }
  std::copy_if(extras.begin(), extras.end(), std::back_inserter(typed),
               [](const std::string& extra) { return !extra.starts_with("-"); });
  const std::vector<std::string_view> suggestions = suggestCommands(typed, word);
  return {ExitStatus::kUsage,
          fmt::format("unknown command '{}'{}; {}", shown(word),
                      path.empty() ? "" : fmt::format(" after '{}'", path),
                      suggestions.empty() ? "there are:\n" + listBelow(path)
                                          : fmt::format("did you mean:\n  korvoctl {}\n",
                                                        fmt::join(suggestions, "\n  korvoctl ")))};
}

}  // namespace

CommandLine parseCommandLine(std::span<const std::string> words, const std::string& defaultSocket) {
  if (!words.empty() && words.front() == "help") {
    std::vector<std::string> asked(words.begin() + 1, words.end());
    asked.emplace_back("--help");
    return Tree(defaultSocket).parse(asked);
  }
  return Tree(defaultSocket).parse(words);
}

}  // namespace KorvoCtl
