// Command strings, through both callbacks and every request state machine, on a small switch.
//
// Input: lines, each of them one byte for entry, format and slices, then the command (which has no
// line end in it on the wire either). What may come of it: an answer, no handler, not ready, or one
// of the exceptions that arguments out of range are told by. JSON of a request that finished is
// read back by a strict parser. No command enters an interface name, for those are never forgotten.
// At its end the program says how many commands it ran.

#include <simdjson.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "agent/chips/SwitchHardware.h"
#include "agent/server/CommandEntries.h"
#include "fuzz/Check.h"
#include "fuzz/Lines.h"
#include "platform/base/Tracked.h"
#include "tests/support/ManualClock.h"

namespace {

using namespace KorvoAgent;  // NOLINT(google-build-using-namespace): a program of its own
using KorvoFuzz::check;

class Collected final : public Rendering::OutputPort {
 public:
  explicit Collected(std::shared_ptr<std::string> text) : text_(std::move(text)) {}
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    text_->append(data, size);
    return static_cast<std::ptrdiff_t>(size);
  }

 private:
  std::shared_ptr<std::string> text_;
};

/** A small switch with its chips and both callbacks; one for the whole run. */
struct World {
  World() {
    fill();
    hardware.emplace(clock, model, HardwarePolicy{});
    callbacks.plain = KorvoL2::cliCallbackFactory("fuzz");
    callbacks.formatted = KorvoL2::cliCallbackWithFormatFactory("fuzz");
    callbacks.plain->l2AgentIs(model->l2Agent());
    callbacks.formatted->l2AgentIs(model->l2Agent());
    entries.emplace(callbacks);
  }

  /** A row or two of every table: more would only cost time, for it is commands that vary. */
  void fill() {
    using Bridging::EthAddr;
    using Bridging::IntfId;
    using Bridging::IpAddr;
    using Bridging::MacVlanPair;
    using Bridging::VlanId;
    const IntfId port("Ethernet3/1");
    const IntfId lag("Port-Channel10");
    const VlanId vlan(10);
    model->chipsIs(2);
    model->l2TableFeature().ingVlanRange = true;
    model->l2TableFeature().ingVlanDynamicRange = true;
    model->swMacTable().put({vlan, EthAddr(0x0200'0000'0001ULL)}, {.intf = port, .modBitmap = 3});
    model->swMacTable().put({vlan, EthAddr(0x0200'0200'0008ULL)}, {.intf = lag, .modBitmap = 3});
    UnicastAgentModel& unicast = model->unicast();
    unicast.remoteMacIs({vlan, EthAddr(0x0200'0200'0008ULL)}, {.tunnelId = 1});
    unicast.lagMembershipIs(port, lag);
    unicast.switchportConfigIs(port, {.nativeVlan = 10});
    unicast.common().intf.add(port);
    unicast.routing().routerMac = EthAddr(0x0200'0f00'0001ULL);
    unicast.vxlan().l2State().vlanMapping.add(vlan);
    unicast.vxlan().l2State().portToEdgeSvp.put({port, vlan}, {.svp = 33});
    unicast.vxlan().l2State().vlanToSvp.put(vlan, {.number = 16});
    unicast.vxlan().l3Config().vlanMapping.put(vlan, {.vlanId = 10, .vfi = 4106, .vni = 10010});
    unicast.vlanXlate().dips->entries.put(IpAddr::v4(0xc000'0201), true);
    unicast.vlanXlate().portVlans->entries.put({port, vlan}, {.svp = 33, .vlan = 10});
    unicast.vlanXlate().vlanVnis->entries.put({vlan, false}, {.vni = 10010});
    unicast.ingVlanRange().scaleEntries->entries.put(port, {.size = 9});
    unicast.ingVlanRange().hwIndexes->entries.put(lag, 1034);
    model->cmdRingManager().ingVlanRanges.put({.fap = 0x200, .port = 1034},
                                              {.ranges = {Bridging::VlanIdRange(vlan)}});
  }

  /** What an event loop does besides running commands. */
  void turn() {
    clock->advance(std::chrono::milliseconds(1));
    HwTableReader& reader = hardware->reader();
    while (reader.runnable()) reader.runPiece();
    const auto deadline = reader.nextDeadline();
    if (deadline && *deadline <= clock->now()) reader.deadlinesPassed(clock->now());
  }

  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<SwitchModel> model = Qel::makePtr<SwitchModel>(clock);
  std::optional<SwitchHardware> hardware;
  CommandCallbacks callbacks;
  std::optional<CommandEntries> entries;
};

World& world() {
  static auto* const made = new World;  // lives as long as the process, in whatever order it ends
  return *made;
}

// The messages of arguments out of range; anything else that is thrown is a fault.
bool expected(std::string_view message) {
  constexpr std::array<std::string_view, 6> kWords{
      "stoi", "stoul", "::value", "no MAC address", "interface name", "interface names"};
  return std::ranges::any_of(kWords, [message](std::string_view word) {
    return message.find(word) != std::string_view::npos;
  });
}

void parseStrictly(const std::string& json) {
  static simdjson::dom::parser parser;
  simdjson::dom::element document;
  const auto error = parser.parse(json).get(document);
  check(error == simdjson::SUCCESS, simdjson::error_message(error), json);
}

void answerAtOnce(const RequestLine& request) {
  std::array<int, 2> pair{};
  check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair.data()) == 0,
        "no sockets");
  const CommandEntries::Answered answered = world().entries->answer(request, pair[0]);
  ::close(pair[0]);
  ::close(pair[1]);
  if (answered.end.status == RequestStatus::error) {
    check(expected(answered.end.message), "an exception that nobody expects", answered.end.message);
  }
}

void serveInSlices(const RequestLine& request, std::uint32_t rowBudget) {
  const auto text = std::make_shared<std::string>();
  bool finished = false;
  try {
    auto buffer = Qel::makePtr<Rendering::PrintBuffer>(
        std::make_unique<Collected>(text), 7U, std::size_t{4096}, Rendering::PrintBuffer::kStream);
    auto renderer = Qel::makePtr<Rendering::RendererV2>(request.format, std::move(buffer), false);
    const auto record = Qel::makePtr<const AgentCommand::AgentCommandRequest>(
        "fuzz", request.command, 7U, request.format, std::move(renderer));
    const auto machine = world().callbacks.formatted->createAgentAsyncCommandRequestSm(record);
    if (machine == nullptr) {
      check(text->empty(), "an answer from nobody", *text);
      return;
    }
    AgentCommand::SlicePolicy policy;
    policy.rowBudget = rowBudget;
    machine->slicePolicyIs(policy);
    constexpr std::uint64_t kEnough = 1'000'000;
    while (!machine->executionCompleteFlag()) {
      machine->runCommand();
      world().turn();
      check(machine->slices() < kEnough, "a request that does not end");
    }
    finished = true;
  } catch (const std::exception& e) {
    check(expected(e.what()), "an exception that nobody expects", e.what());
  }
  if (finished && request.format == Rendering::kJson) parseStrictly(*text);
}

/** Commands by entry; libFuzzer counts inputs only. */
struct Tally {
  ~Tally() {
    std::fprintf(stderr, "commands run: %llu plain, %llu sync, %llu async\n", plain, sync, async);
  }
  unsigned long long plain = 0;
  unsigned long long sync = 0;
  unsigned long long async = 0;
};
Tally tally;

void runCommand(std::string_view line) {
  constexpr std::array<std::uint32_t, 4> kRowBudgets{0, 1, 7, 100};
  const auto choice = static_cast<unsigned char>(line.front());
  RequestLine request;
  request.entry = choice % 4 == 0 ? Entry::plain : (choice % 4 == 1 ? Entry::sync : Entry::async);
  request.format = (choice & 4) != 0 ? Rendering::kJson : Rendering::kText;
  request.command = line.substr(1);
  ++(request.entry == Entry::plain ? tally.plain
                                   : (request.entry == Entry::sync ? tally.sync : tally.async));
  static_cast<void>(world());
  const std::size_t namesBefore = Bridging::IntfId::numNames();
  if (request.entry == Entry::async) {
    serveInSlices(request, kRowBudgets[choice >> 3 & 3]);
  } else {
    answerAtOnce(request);
  }
  check(Bridging::IntfId::numNames() == namesBefore, "an interface name that stays",
        request.command);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const std::string_view line : KorvoFuzz::linesOf(text)) runCommand(line);
  return 0;
}
