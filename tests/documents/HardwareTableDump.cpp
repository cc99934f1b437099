// The hardware MAC tables: what each chip holds for the rows of the software table.
#include <array>
#include <string_view>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"
#include "agent/chips/HwRowPrinter.h"
#include "agent/model/SwitchModel.h"
#include "tests/documents/Dump.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/Text.h"
#include "tests/support/ManualClock.h"

namespace KorvoL2::Testing {

namespace {

using KorvoAgent::HwDestination;
using KorvoAgent::HwMacEntry;
using KorvoAgent::HwMacType;

/** What a chip holds for a row: the facts, and how they are put into its table. */
struct Held {
  const char* type = "";
  unsigned mcastGroup = 0;
  unsigned classId = 0;
  const char* port = "";       ///< the whole name
  const char* shortPort = "";  ///< its short form where it has another one
  HwMacType hwType{};
  HwDestination destination{};  ///< unless the port is an interface
  bool discard = false;
  bool invalid = false;
};

const std::array<Held, 13>& kindsOfRows() {
  static const std::array<Held, 13> kinds{{
      {"dynamic", 0, 0, "Ethernet3/1", "Et3/1", HwMacType::dynamic},
      {"dynamic", 0, 7, "Port-Channel10", "Po10", HwMacType::dynamic},
      {"remote", 0, 0, "Port-Channel1234567890", "Po1234567890", HwMacType::remote},
      {"static", 0, 65535, "uplink-to-spine-east-1", "", HwMacType::permanent},
      {"dynamic", 0, 0, "a-name-of-no-kind-that-fills-more-than-a-column", "", HwMacType::dynamic},
      {"mcast", 65535, 0, "", "", HwMacType::multicast, HwDestination::mcastGroup(65535)},
      {"router", 0, 1, "", "", HwMacType::router},
      {"static", 0, 0, "discard", "", HwMacType::permanent, {}, true},
      {"dynamic", 0, 0, "mod=7 port=500", "", HwMacType::dynamic, HwDestination::onPort(7, 500)},
      {"dynamic", 0, 3, "trunkId=9", "", HwMacType::dynamic, HwDestination::trunk(9)},
      {"invalid", 0, 0, "trunkId=9", "", HwMacType::remote, HwDestination::trunk(9), false, true},
      {"dynamic", 0, 0, "a \"quoted\\name", "", HwMacType::dynamic},
      {"dynamic", 0, 0, "esc\x1b[2J", "", HwMacType::dynamic},
  }};
  return kinds;
}

bool isInterface(const Held& held) {
  return held.port[0] != '\0' && !held.discard &&
         held.destination.kind == KorvoAgent::HwDestinationKind::none;
}

/** What chip `chip` holds for row `i`; null for nothing. */
const Held* heldBy(unsigned chip, std::size_t i) {
  const std::size_t kind = (i * 5 + std::size_t{chip} * 3) % (kindsOfRows().size() + 1);
  return kind == kindsOfRows().size() ? nullptr : &kindsOfRows()[kind];
}

std::string portText(const Held& held, std::size_t room) {
  const std::string whole = withoutControls(held.port);
  if (whole.empty()) return "-";
  return whole.size() > room && held.shortPort[0] != '\0' ? held.shortPort : whole;
}

std::string numberOrDash(unsigned number) { return number == 0 ? "-" : std::to_string(number); }

const ColumnTable& detailTable() {
  static const ColumnTable table({{"Vlan", 6, 1, 1},
                                  {"Mac Address", 16, 1, 1},
                                  {"Type", 15, 4, 2},
                                  {"McastGroupId", 16, 2, 2},
                                  {"ClassId", 11, 2, 2},
                                  {"Port", 24, 4, 2},
                                  {"HW Index", 10, 1, 1}});
  return table;
}

constexpr char kLine[] = "%4s %-17s %-8s %-12s %-7s %-17s\n";

std::string rowText(bool detail, const MacRowKey& key, const Held* held, int index) {
  std::vector<std::string> cells{numberOrDash(key.vlan), macText(key.mac)};
  if (held == nullptr) {
    cells.insert(cells.end(), 5, "-");
  } else {
    cells.insert(cells.end(),
                 {held->type, numberOrDash(held->mcastGroup), numberOrDash(held->classId),
                  portText(*held, detail ? 24 : 17), std::to_string(index)});
  }
  if (detail) return detailTable().row(cells);
  return format(kLine, cells[0].c_str(), cells[1].c_str(), cells[2].c_str(), cells[3].c_str(),
                cells[4].c_str(), cells[5].c_str());
}

std::string rowJson(const MacRowKey& key, const Held* held, int index) {
  const bool is = held != nullptr;
  return jsonObject(
      {format("\"vlan\":%u", key.vlan), format("\"mac\":\"%s\"", macText(key.mac).c_str()),
       format("\"programmed\":%s", jsonBool(is)), format("\"type\":\"%s\"", is ? held->type : ""),
       format("\"mcastGroupId\":%u", is ? held->mcastGroup : 0),
       format("\"classId\":%u", is ? held->classId : 0),
       "\"port\":" + jsonString(is ? held->port : ""), format("\"hwIndex\":%d", is ? index : -1)});
}

/** A chip as the agent knows it. */
struct ListedChip {
  unsigned id;
  const char* name;
  bool present;  ///< it has a hardware table; without, it holds nothing
};
constexpr std::array<ListedChip, 3> kChips{
    {{0, "Linecard3/0", true}, {2, "Fabric \"east\"", true}, {5, "Linecard4/1", false}}};

/** What stands above the rows of one chip, and below them. */
std::string sectionHead(bool detail, const char* name) {
  const std::string title = format("Switch %s Mac Table", name);
  if (detail) {
    return "\n" + rule(119) + std::string(59 - title.size() / 2, ' ') + title + "\n" + rule(119) +
           detailTable().heading();
  }
  return "\n" + rule(70) + std::string(9, ' ') + title + "\n" + rule(70) +
         format(kLine, "Vlan", "Mac Address", "Type", "McastGroupId", "ClassId", "Port") +
         "---- ----------------- -------- ------------ ------- -----------------\n";
}

class HardwareTableDump final : public Dump {
 public:
  /** `chips` is the list as a command gives it; `listed` are those of them that are known. */
  HardwareTableDump(bool json, bool detail, std::string chips, std::vector<ListedChip> listed)
      : json_(json), detail_(detail), chips_(std::move(chips)), listed_(std::move(listed)) {
    for (const ListedChip& chip : kChips) {
      const Tessar::FapId id(chip.id);
      known_.put(id, {.fapChipName = chip.name, .chipData = id});
      if (chip.present) hardware_.chipIs(id, chip.name, kSlots);
    }
    model_->hardwareIs(&known_, nullptr, &rows_);
    printed_.resize(listed_.size());
  }

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = l2HwTableRequestSmFactory("request-1", request, kSliceTime, clock, chips_, detail_,
                                        model_->macAddrSmHelper(), nullptr);
    sm->handleInitialized();
    return sm;
  }

  Document document() const override {
    Document document;
    std::string pending = json_ ? "{\"chips\":{" : "";
    for (std::size_t c = 0; c < listed_.size(); ++c) {
      pending += json_
                     ? (c == 0 ? "" : ",") + jsonString(listed_[c].name) + ":{\"macTableEntries\":["
                     : sectionHead(detail_, listed_[c].name);
      for (const std::string& row : printed_[c]) {
        document.pieces.push_back(std::move(pending) + row);
        pending.clear();
      }
      pending += json_ ? "]}" : detail_ ? "\n" : rule(70);
    }
    document.tail = pending + (json_ ? "}}\n" : "");
    return document;
  }

 private:
  static constexpr std::size_t kSlots = 1U << 16;

  void add(std::size_t i) override {
    const MacRowKey key = macRowKey(i);
    const bool vfi = i % 3 == 2;
    const Bridging::MacVlanPair pair(static_cast<std::uint16_t>(key.vlan),
                                     Bridging::EthAddr(key.mac));
    model_->swMacTable().put(
        pair, {.keyType = vfi ? MacKeyType::vfi : MacKeyType::bridge, .printable = i % 7 != 3});
    for (std::size_t c = 0; c < listed_.size(); ++c) {
      const ListedChip& chip = listed_[c];
      const Held* const held = chip.present ? heldBy(chip.id, i) : nullptr;
      const int index = held == nullptr ? -1 : program(chip.id, pair, vfi ? 3 : 0, *held);
      printed_[c].push_back(json_ ? (i == 0 ? "" : ",") + rowJson(key, held, index)
                                  : rowText(detail_, key, held, index));
    }
  }

  /** Puts the entry into the chip's table; its index there. */
  int program(unsigned chip, const Bridging::MacVlanPair& pair, std::uint8_t keyType,
              const Held& held) {
    HwMacEntry entry({.pair = pair, .keyType = keyType}, held.hwType);
    entry.classId = static_cast<std::uint16_t>(held.classId);
    entry.dstDiscard = held.discard;
    entry.invalid = held.invalid;
    entry.destinationIs(isInterface(held)
                            ? hardware_.ports().destinationOf(Bridging::IntfId(held.port))
                            : held.destination);
    return static_cast<int>(hardware_.find(Tessar::FapId(chip))->macTable.put(entry));
  }

  bool json_;
  bool detail_;
  std::string chips_;
  std::vector<ListedChip> listed_;
  KorvoAgent::HwChips hardware_;
  KorvoAgent::HwRowPrinter rows_{hardware_};
  FapChipCollection known_;
  Qel::Ptr<KorvoAgent::SwitchModel> model_ =
      Qel::makePtr<KorvoAgent::SwitchModel>(Qel::makePtr<Qel::ManualClock>());
  std::vector<std::vector<std::string>> printed_;  // by listed chip
};

DumpKind kind(std::string name, bool json, bool detail, const std::string& chips,
              const std::vector<ListedChip>& listed) {
  return {.name = std::move(name),
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return std::make_unique<HardwareTableDump>(json, detail, chips, listed); },
          .rowsAreAppended = listed.size() == 1};
}

}  // namespace

// Out of order, one twice, and one that nobody knows.
std::vector<DumpKind> hardwareTableDumps() {
  const std::vector<ListedChip> all(kChips.begin(), kChips.end());
  return {kind("HardwareTable", false, false, "5,2,9,0,2", all),
          kind("HardwareTableJson", true, false, "2,0,5,100", all),
          kind("HardwareTableDetail", false, true, "5,0,9,2", all),
          kind("HardwareTableDetailJson", true, true, "9,5,2,0,0", all),
          kind("HardwareTableOfOneChip", false, false, "2", {kChips[1]}),
          kind("HardwareTableOfOneChipJson", true, false, "2", {kChips[1]}),
          kind("HardwareTableDetailOfOneChip", false, true, "0", {kChips[0]})};
}

}  // namespace KorvoL2::Testing
