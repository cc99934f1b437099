#include "agent/server/AgentQuestions.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <fstream>
#include <utility>

#include "platform/base/Tracked.h"
#include "text/Printable.h"

namespace KorvoAgent {

namespace {

using Rendering::RendererV2;

std::uint64_t wholeMilliseconds(Qel::Duration duration) {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(duration).count());
}

RequestEnd refused(std::string message) { return {RequestStatus::refused, std::move(message)}; }

/** Memory of this process in bytes, as the kernel counts it; 0 where it does not say. */
struct Memory {
  std::uint64_t resident = 0;
  std::uint64_t peak = 0;
};

Memory memoryOfProcess() {
  Memory memory;
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    const auto read = [&line](std::string_view name, std::uint64_t& bytes) {
      if (!line.starts_with(name)) return;
      const std::size_t digit = line.find_first_of("0123456789");
      if (digit == std::string::npos) return;
      std::uint64_t kib = 0;
      std::from_chars(line.data() + digit, line.data() + line.size(), kib);
      bytes = kib * 1024;
    };
    read("VmRSS:", memory.resident);
    read("VmHWM:", memory.peak);
  }
  return memory;
}

std::string_view stateName(Job::State state) {
  switch (state) {
    case Job::State::starting:
      return "starting";
    case Job::State::queued:
      return "waiting for its turn";
    case Job::State::runnable:
      return "running";
    case Job::State::waiting:
      return "waiting for the agent";
    case Job::State::blocked:
      return "waiting for its reader";
  }
  return "";
}

constexpr std::string_view kQuestions = "status, chips, interface NAME, requests, cancel N, schema";

}  // namespace

AgentQuestions::AgentQuestions(AgentFacts facts, SliceScheduler& scheduler,
                               const AccessPolicy& access,
                               std::function<std::size_t()> numConnections)
    : facts_(std::move(facts)),
      scheduler_(scheduler),
      access_(access),
      numConnections_(std::move(numConnections)),
      started_(scheduler.clock().now()) {}

RequestEnd AgentQuestions::answer(std::string_view question, const Peer& peer, RendererV2& out) {
  struct Row {
    std::string_view name;
    void (AgentQuestions::*print)(RendererV2&);
  };
  static constexpr std::array<Row, 4> kRows{{
      {"status", &AgentQuestions::status},
      {"chips", &AgentQuestions::chips},
      {"requests", &AgentQuestions::requests},
      {"schema", &AgentQuestions::schema},
  }};
  for (const Row& row : kRows) {
    if (question == row.name) {
      (this->*row.print)(out);
      return {};
    }
  }
  constexpr std::string_view kInterface = "interface ";
  if (question.starts_with(kInterface)) {
    interface(question.substr(kInterface.size()), out);
    return {};
  }
  constexpr std::string_view kCancel = "cancel ";
  if (question.starts_with(kCancel)) return cancel(question.substr(kCancel.size()), peer, out);
  return refused(
      fmt::format("unknown question {}; the agent knows {}", Text::inQuotes(question), kQuestions));
}

void AgentQuestions::status(RendererV2& out) {
  const Memory memory = memoryOfProcess();
  out.openObject();
  out.addAttribute("uptime               %d ms\n", "uptimeMs",
                   wholeMilliseconds(scheduler_.clock().now() - started_));
  out.addAttribute("connections          %d\n", "connections",
                   static_cast<std::uint64_t>(numConnections_()));
  out.addAttribute("active requests      %d\n", "activeRequests",
                   static_cast<std::uint64_t>(scheduler_.jobs().size()));
  out.addAttribute("requests so far      %d\n", "totalRequests", scheduler_.numBegun());
  out.addAttribute("resident memory      %d bytes\n", "residentBytes", memory.resident);
  out.addAttribute("peak memory          %d bytes\n", "peakBytes", memory.peak);
  out.addFrills("tables (rows)\n");
  out.openObject("tables");
  for (const AgentFacts::Table& table : facts_.tables()) {
    out.addFrills("  %-40s", table.name);
    out.addAttribute(" %d\n", table.name, table.rows);
  }
  out.closeObject();
  out.addFrills("live instances\n");
  out.openObject("liveInstances");
  for (const Qel::LiveInstances& entry : Qel::liveInstances()) {
    out.addFrills("  %-40s", entry.className);
    out.addAttribute(" %d\n", entry.className, entry.count);
  }
  out.closeObject();
  out.closeObject();
  out.documentEnd();
}

void AgentQuestions::chips(RendererV2& out) {
  out.openObject();
  out.openList("chips");
  for (const AgentFacts::Chip& chip : facts_.chips()) {
    out.openObject();
    out.addAttribute("%d", "id", chip.id);
    out.addAttribute(" %s\n", "name", std::string_view(chip.name));
    out.closeObject();
  }
  out.closeList();
  out.closeObject();
  out.documentEnd();
}

void AgentQuestions::interface(std::string_view name, RendererV2& out) {
  out.openObject();
  out.openList("interfaces");
  if (const std::optional<AgentFacts::Interface> found = facts_.findInterface(name)) {
    out.openObject();
    out.addAttribute("%s", "name", std::string_view(found->name));
    out.addAttribute(" %s\n", "shortName", std::string_view(found->shortName));
    out.closeObject();
  }
  out.closeList();
  out.closeObject();
  out.documentEnd();
}

void AgentQuestions::requests(RendererV2& out) {
  const Qel::Duration now = scheduler_.clock().now();
  out.openObject();
  out.openList("requests");
  out.addFrills("%-8s %-6s %-6s %8s %-22s %12s %14s %10s %s\n", "request", "entry", "format",
                "user", "state", "rows", "bytes", "ms", "command");
  for (const auto& [id, job] : scheduler_.jobs()) {
    const RequestFigures figures = job.figures(now);
    out.openObject();
    out.addAttribute("%-8d", "id", id);
    out.addAttribute(" %-6s", "entry", entryName(job.request().entry));
    out.addAttribute(" %-6s", "format", formatName(job.request().format));
    out.addAttribute(" %8d", "user", static_cast<std::uint64_t>(job.user()));
    out.addAttribute(" %-22s", "state", stateName(job.state()));
    out.addAttribute(" %12d", "rows", figures.rows);
    out.addAttribute(" %14d", "bytes", figures.bytes);
    out.addAttribute(" %10d", "elapsedMs", wholeMilliseconds(figures.elapsed));
    out.addAttribute(" %s\n", "command", Text::shortened(job.request().command, kShownOfCommand));
    out.closeObject();
  }
  out.closeList();
  out.closeObject();
  out.documentEnd();
}

void AgentQuestions::schema(RendererV2& out) {
  // A JSON document by itself, in either format.
  out.buffer().append(facts_.stateDocumentSchema());
}

RequestEnd AgentQuestions::cancel(std::string_view argument, const Peer& peer, RendererV2& out) {
  JobId id = 0;
  const auto [end, error] = std::from_chars(argument.data(), argument.data() + argument.size(), id);
  if (error != std::errc{} || end != argument.data() + argument.size()) {
    return refused(
        Text::inQuotes(argument) +
        " is no request number; write \"cancel N\" with a number that \"requests\" shows");
  }
  const auto job = scheduler_.jobs().find(id);
  if (job == scheduler_.jobs().end()) return refused(fmt::format("there is no request {}", id));
  // The request that asks is active too.
  if (job->second.state() == Job::State::starting) {
    return refused(fmt::format("request {} is the one that asks", id));
  }
  if (peer.user != job->second.user() && !access_.isPrivileged(peer)) {
    return refused(fmt::format("request {} belongs to another user; {} may cancel those of others",
                               id, access_.onlyWho()));
  }
  scheduler_.end(id, {RequestStatus::cancelled, fmt::format("cancelled by user {}", peer.user)});
  out.openObject();
  out.addAttribute("request %d is cancelled\n", "cancelled", id);
  out.closeObject();
  out.documentEnd();
  return {};
}

}  // namespace KorvoAgent
