#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "bench/whole_process/AgentProcess.h"
#include "bench/whole_process/CapturedDump.h"
#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/Sections.h"

namespace KorvoBench {

namespace {

// The rows of a JSON dump have the members that a state document has.
void writeStateDocument(const std::string& path, const CapturedDump& dump) {
  std::string_view rows = dump.bytes();
  rows.remove_prefix(dump.head().size());
  rows.remove_suffix(dump.tail().size());
  std::ofstream file(path, std::ios::binary);
  file << R"({"version":1,"macTable":{"entries":[)" << rows << "]}}\n";
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace

void measureStart(const Settings& settings, Report& report) {
  report.heading("starting with a full table");
  const std::vector<std::string> madeUp = madeUpTable(settings.rows, settings.seed);
  const std::string document = settings.folder + "/state.json";
  const std::vector<std::string> fromDocument{"--state", document};
  std::string dump;
  {
    AgentProcess agent(settings.agent, settings.folder, madeUp);
    dump = captureAnswer(agent.socketPath(), kDumpJson);
    writeStateDocument(document, CapturedDump(dump, Format::json, settings.rows));
    agent.stop();
  }
  std::vector<double> documentSeconds;
  std::vector<double> madeUpSeconds;
  for (unsigned i = 0; i < std::min(settings.repetitions, 5U); ++i) {
    AgentProcess loaded(settings.agent, settings.folder, fromDocument);
    documentSeconds.push_back(loaded.startSeconds());
    if (i == 0 && captureAnswer(loaded.socketPath(), kDumpJson) != dump) {
      throw std::runtime_error("an agent that read its own dump back prints another one");
    }
    loaded.stop();
    AgentProcess made(settings.agent, settings.folder, madeUp);
    madeUpSeconds.push_back(made.startSeconds());
    made.stop();
  }
  report.numbers("start.state-document.seconds", documentSeconds);
  report.numbers("start.made-up.seconds", madeUpSeconds);
  const Spread documentSpread = spreadOf(documentSeconds);
  const Spread madeUpSpread = spreadOf(madeUpSeconds);
  report.figure({fmt::format("start with a state document of {} entries", settings.rows),
                 documentSpread.median, "s", spreadText(documentSpread), atMost(3, 1)});
  report.figure({fmt::format("start with {} made-up entries", settings.rows), madeUpSpread.median,
                 "s", spreadText(madeUpSpread), std::nullopt});
}

}  // namespace KorvoBench
