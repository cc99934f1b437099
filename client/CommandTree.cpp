#include "client/CommandTree.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <memory>
#include <utility>

#include "client/Completion.h"

namespace KorvoCtl {

namespace {

constexpr const char* kCommonGroup = "Common options";
constexpr double kMaxWaitSeconds = 86400;

// Columns at which the descriptions of options and of commands begin.
constexpr std::size_t kOptionColumn = 25;
constexpr std::size_t kCommandColumn = 43;

constexpr std::string_view kRootFooter =
    "Data goes to standard output, everything else to standard error, where a terminal\n"
    "also shows how far a long dump is.\n"
    "\n"
    "Environment:\n"
    "  KORVO_L2_SOCKET  the agent's socket where -s names none\n"
    "\n"
    "Exit status:\n"
    "  0  ok\n"
    "  1  the answer is no: a check found differences, there is no such tunnel\n"
    "  2  wrong usage\n"
    "  3  refused by the agent, or it has no handler for the command\n"
    "  4  the agent is not ready or cannot be reached\n"
    "  5  failed, or the answer was cut off part-way\n"
    "\n"
    "Each command has its own help: korvoctl show mac hardware --help";

constexpr std::array kCommonOptions = {
    CommonOption{.names = "-h,--help", .value = "", .help = "Print this help and end"},
    CommonOption{.names = "-s,--socket", .value = "PATH", .help = "The agent's socket"},
    CommonOption{.names = "--timeout",
                 .value = "SECONDS",
                 .help = "Wait this long for the agent's first word (10; 0: ever)"},
    CommonOption{.names = "--silence",
                 .value = "SECONDS",
                 .help = "Give up when nothing comes for this long (30; 0: never)"},
    CommonOption{.names = "--no-progress", .value = "", .help = "Do not show how far a dump is"},
};
constexpr const CommonOption& kHelp = kCommonOptions[0];
constexpr const CommonOption& kSocket = kCommonOptions[1];
constexpr const CommonOption& kTimeout = kCommonOptions[2];
constexpr const CommonOption& kSilence = kCommonOptions[3];
constexpr const CommonOption& kNoProgress = kCommonOptions[4];

// The words that lead to a part of the tree, "" at its root.
std::string pathOf(const CLI::App* app) {
  std::string path;
  for (; app->get_parent() != nullptr; app = app->get_parent()) {
    path.insert(0, app->get_name() + (path.empty() ? "" : " "));
  }
  return path;
}

std::string_view groupSummary(std::string_view path) {
  for (const CommandGroup& group : commandGroups()) {
    if (group.path == path) {
      return group.summary;
    }
  }
  return {};
}

// Empty when the text is a number of seconds that can be waited for.
std::string problemWithWait(const std::string& text) {
  double seconds = -1;
  const bool isNumber = CLI::detail::lexical_cast(text, seconds);
  // Not "less than 0": a NaN is that neither.
  return isNumber && seconds >= 0 && seconds <= kMaxWaitSeconds
             ? std::string()
             : fmt::format("'{}' is not a number from 0 to {}", text, kMaxWaitSeconds);
}

// Rounded up: the shortest wait must not become 0, which stands for ever.
std::chrono::milliseconds waitOf(double seconds) {
  return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

// Lists whole commands where CLI11 lists the next word only.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(kOptionColumn);
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_usage(const CLI::App* app, std::string name) const override {
    const CommandRow* row = findCommand(pathOf(app));
    return row == nullptr ? CLI::Formatter::make_usage(app, std::move(name))
                          : fmt::format("\nUsage: korvoctl {}\n", usage(*row));
  }

  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode /*mode*/) const override {
    const std::string list = listCommandsBelow(pathOf(app));
    return list.empty() ? list : "\nCommands:\n" + list;
  }
};

// Every part of the tree writes to the same places, so that an option may stand anywhere behind the
// word that it belongs to.
class Tree {
 public:
  explicit Tree(const std::string& defaultSocket);
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  std::variant<ParsedWords, Answer, WrongWords> parse(std::span<const std::string> words);

 private:
  CLI::App& partAt(std::string_view path);
  void addRow(const CommandRow& row);
  void addOption(CLI::App& app, const CommandOption& option);
  void addPositional(CLI::App& app, const Positional& positional);
  void complete(CLI::App& app);
  [[nodiscard]] const CLI::App& selected() const;

  CLI::App root_{"Asks a layer-2 agent for its tables.\n", "korvoctl"};
  std::shared_ptr<HelpFormatter> formatter_ = std::make_shared<HelpFormatter>();
  ParsedWords parsed_;
  double timeoutSeconds_ = std::chrono::duration<double>(kDefaultPatience).count();
  double silenceSeconds_ = std::chrono::duration<double>(kDefaultSilence).count();
  bool noProgress_ = false;
};

Tree::Tree(const std::string& defaultSocket) {
  parsed_.options.socketPath = defaultSocket;
  for (const CommandRow& row : commandTable()) {
    addRow(row);
  }
  root_.set_version_flag("--version", "korvoctl " KORVOCTL_VERSION);
  root_.get_option("--version")->description("Print the version and end");
  // For whoever packs the program; operators find the scripts installed.
  root_.add_option("--completion", parsed_.completion)
      ->check(CLI::IsMember(std::vector<std::string>{"bash", "zsh"}))
      ->group("");
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
  for (const CommandOption& option : row.options) {
    addOption(app, option);
  }
  if (row.takesJson()) {
    app.add_flag("--json", parsed_.arguments.json, "Answer in JSON instead of text");
  }
  for (const Positional& positional : row.positionals) {
    addPositional(app, positional);
  }
}

void Tree::addOption(CLI::App& app, const CommandOption& option) {
  const std::string name(option.name);
  const std::string help(option.help);
  auto& given = parsed_.arguments.options;
  if (option.kind == ValueKind::kNone) {
    app.add_flag_callback(
        name, [&given, &option] { given.emplace(option.name, ""); }, help);
    return;
  }
  CLI::Option* added = nullptr;
  if (option.kind == ValueKind::kChips) {
    added = app.add_option_function<std::vector<std::string>>(
        name,
        [&given, &option](const std::vector<std::string>& values) {
          given.insert_or_assign(option.name, fmt::format("{}", fmt::join(values, ",")));
        },
        help);
    added->allow_extra_args(false);
  } else {
    added = app.add_option_function<std::string>(
        name,
        [&given, &option](const std::string& value) { given.insert_or_assign(option.name, value); },
        help);
  }
  added->option_text(std::string(placeholder(option.kind)))
      ->check([&option](const std::string& text) { return problemWith(option.kind, text); });
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
  option->option_text(" ")->required()->check(
      [&positional](const std::string& text) { return problemWith(positional.kind, text); });
}

// Gives every part of the tree what all of them have. Comes last, so that help texts begin with
// what is a command's own.
void Tree::complete(CLI::App& app) {
  app.formatter(formatter_);
  // Words that fit nowhere are collected, so that the complaint about them can be a helpful one.
  app.allow_extras();
  // At most one, or a word of a command's arguments could be taken for another command.
  app.require_subcommand(0, 1);
  app.set_help_flag(std::string(kHelp.names), std::string(kHelp.help))->group(kCommonGroup);
  app.add_option(std::string(kSocket.names), parsed_.options.socketPath, std::string(kSocket.help))
      ->option_text(std::string(kSocket.value))
      ->take_last()
      ->group(kCommonGroup);
  for (const auto& [option, seconds] :
       {std::pair{&kTimeout, &timeoutSeconds_}, std::pair{&kSilence, &silenceSeconds_}}) {
    app.add_option(std::string(option->names), *seconds, std::string(option->help))
        ->option_text(std::string(option->value))
        ->check(&problemWithWait)
        ->take_last()
        ->group(kCommonGroup);
  }
  app.add_flag(std::string(kNoProgress.names), noProgress_, std::string(kNoProgress.help))
      ->group(kCommonGroup);
  for (CLI::App* part : app.get_subcommands([](const CLI::App*) { return true; })) {
    complete(*part);
  }
}

std::variant<ParsedWords, Answer, WrongWords> Tree::parse(std::span<const std::string> words) {
  try {
    // CLI11 takes them from the back.
    root_.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    // CLI11 puts two empty lines between groups of options.
    return Answer{CLI::detail::find_and_replace(root_.help(), "\n\n\n", "\n\n")};
  } catch (const CLI::CallForVersion&) {
    return Answer{root_.version() + "\n"};
  } catch (const CLI::ParseError& error) {
    return WrongWords{.message = error.what(), .path = pathOf(&selected())};
  }
  parsed_.path = pathOf(&selected());
  for (const CLI::Option* option : selected().get_options()) {
    for (const std::string& name : option->get_lnames()) {
      parsed_.optionNames.push_back("--" + name);
    }
  }
  parsed_.extras = root_.remaining(true);
  // The mark after which nothing is an option; it has done its work.
  std::erase(parsed_.extras, "--");
  parsed_.options.progress = !noProgress_;
  parsed_.options.patience = waitOf(timeoutSeconds_);
  parsed_.options.silence = waitOf(silenceSeconds_);
  return std::move(parsed_);
}

// The part of the tree that the words led to.
const CLI::App& Tree::selected() const {
  const CLI::App* app = &root_;
  while (!app->get_subcommands().empty()) {
    app = app->get_subcommands().front();
  }
  return *app;
}

}  // namespace

std::string listCommandsBelow(std::string_view path) {
  std::string list;
  for (const CommandRow& row : commandTable()) {
    if (row.path != path && liesBelow(row.path, path)) {
      list += fmt::format("  {:<{}}{}\n", synopsis(row), kCommandColumn - 2, row.summary);
    }
  }
  return list;
}

std::span<const CommonOption> commonOptions() { return kCommonOptions; }

std::variant<ParsedWords, Answer, WrongWords> parseWords(std::span<const std::string> words,
                                                         const std::string& defaultSocket) {
  return Tree(defaultSocket).parse(words);
}

}  // namespace KorvoCtl
