// The ingress VLAN ranges of each interface, with static and with dynamic ranges.
#include <utility>

#include "tests/KorvoL2/VlanRangeHarness.h"
#include "tests/documents/Dump.h"
#include "tests/documents/Interfaces.h"
#include "tests/documents/Text.h"

namespace KorvoL2::Testing {

namespace {

constexpr unsigned kNoFap = 0x200;
constexpr unsigned kTableSize = 8;

/** What the switch says of one interface. */
struct Row {
  explicit Row(std::size_t i) : intf(interfaceOf(i)), number(static_cast<unsigned>(i)) {}

  bool hasScale() const { return number % 9 != 5; }
  unsigned scale() const { return kTableSize - 1 + number % 3; }
  bool hasPort() const { return number % 7 != 3; }
  bool hasFap() const { return hasPort() && number % 5 != 4; }
  unsigned module() const { return 1 + number % 4; }
  unsigned port() const { return 2000 + number; }
  unsigned fap() const { return hasFap() ? 10 + number % 3 : kNoFap; }
  std::string lag() const {
    return number % 4 == 1 ? "Bundle" + std::to_string(number % 3) : std::string();
  }
  bool hasHwIndex() const { return number % 8 < 3; }
  unsigned hwIndex() const { return 30000 + number; }

  unsigned staticPort() const { return hasPort() ? port() : 1023; }
  unsigned dynamicPort() const {
    if (hasHwIndex()) return hwIndex();
    if (lag().empty() || lag() == "Bundle2") return 0;
    return lag() == "Bundle0" ? 501 : 502;
  }

  const Interface& intf;
  unsigned number;
};

struct Range {
  unsigned first;
  unsigned last;
};

/** What is programmed for a logical port of a chip; for one in six nothing. */
std::vector<Range> rangesOf(unsigned fap, unsigned port) {
  const unsigned mix = fap * 31 + port;
  const unsigned count = mix % 6 == 2 ? 0 : mix % 11 == 7 ? 40 : 1 + mix % 6;
  std::vector<Range> ranges;
  for (unsigned n = 0; n < count; ++n) {
    const unsigned first = 1 + mix % 50 + n * 100;
    ranges.push_back({first, n % 3 == 1 ? first : first + n + mix % 40});
  }
  return ranges;
}

/** The facts with blanks between them; a new line where the last would be wider than 100 columns.
 */
std::string folded(const std::vector<std::string>& facts) {
  std::string text;
  std::string line;
  for (const std::string& fact : facts) {
    if (!line.empty() && line.size() + 1 + fact.size() > 100) {
      text += line + "\n";
      line = "    " + fact;
    } else {
      line += (line.empty() ? "" : " ") + fact;
    }
  }
  return text + line + "\n";
}

std::string textOf(const Row& row, unsigned port, const std::vector<Range>& ranges) {
  std::vector<std::string> facts{row.intf.name + ":", format("logical port %u,", port)};
  if (!row.lag().empty()) facts.push_back("member of " + row.lag() + ",");
  if (kTableSize < row.scale()) facts.emplace_back("wants more than its table holds,");
  facts.push_back(format("%zu VLAN range%s:", ranges.size(), ranges.size() == 1 ? "" : "s"));
  for (std::size_t n = 0; n < ranges.size(); ++n) {
    const auto [first, last] = ranges[n];
    facts.push_back(std::to_string(first) + (first == last ? "" : "-" + std::to_string(last)) +
                    (n + 1 == ranges.size() ? "" : ","));
  }
  return folded(facts);
}

std::string jsonOf(const Row& row, unsigned port, const std::vector<Range>& ranges) {
  std::string list;
  for (const auto& [first, last] : ranges) {
    list += (list.empty() ? "" : ",") + format("{\"first\":%u,\"last\":%u}", first, last);
  }
  return jsonString(row.intf.name) + ":" +
         jsonObject({format("\"logicalPort\":%u", port), "\"portChannel\":" + jsonString(row.lag()),
                     format("\"oversize\":%s", jsonBool(kTableSize < row.scale())),
                     "\"ranges\":[" + list + "]"});
}

class VlanRangeDump final : public Dump {
 public:
  VlanRangeDump(bool json, bool dynamic) : json_(json), dynamic_(dynamic) {
    hwIndexes_->entries.put(Bridging::IntfId("Bundle0"), 501);
    hwIndexes_->entries.put(Bridging::IntfId("Bundle1"), 502);
  }

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    constexpr std::uint8_t kSize = kTableSize;
    if (dynamic_) {
      auto sm = ingDynamicVlanRangeRequestSmFactory("request-1", request, kSliceTime, clock, fcsd_,
                                                    scale_, ring_, kSize, hwIndexes_);
      sm->handleInitialized();
      return sm;
    }
    auto sm = ingVlanRangeRequestSmFactory("request-1", request, kSliceTime, clock, fcsd_, scale_,
                                           ring_, kSize);
    sm->handleInitialized();
    return sm;
  }

  Document document() const override {
    Document document;
    std::string pending = json_ ? "{\"intfVlanRanges\":{" : "";
    for (const std::size_t i : interfacesInOrder(size())) {
      if (printed_[i].empty()) continue;
      if (json_ && !document.pieces.empty()) pending = ",";
      document.pieces.push_back(std::exchange(pending, {}) + printed_[i]);
    }
    document.tail = pending + (json_ ? "}}\n" : "");
    return document;
  }

 private:
  void add(std::size_t i) override {
    const Row row(i);
    const Bridging::IntfId intf(row.intf.name);
    fcsd_->intf.add(intf);
    if (row.hasPort()) {
      const Bridging::ModPort modPort{.module = static_cast<std::uint16_t>(row.module()),
                                      .port = static_cast<std::uint16_t>(row.port())};
      fcsd_->intfPortId.put(intf, {.modPort = modPort});
      if (row.hasFap()) {
        fcsd_->modPortLogicalFap.put(modPort, static_cast<std::uint16_t>(row.fap()));
      }
    }
    if (!row.lag().empty()) fcsd_->lagMembershipIs(intf, Bridging::IntfId(row.lag()));
    if (row.hasHwIndex()) {
      hwIndexes_->entries.put(intf, static_cast<std::uint16_t>(row.hwIndex()));
    }
    if (row.hasScale()) scale_->entries.put(intf, {.size = row.scale()});

    const unsigned port = dynamic_ ? row.dynamicPort() : row.staticPort();
    const std::vector<Range> ranges = rangesOf(row.fap(), port);
    auto& programmed = ring_->programmed[{static_cast<std::uint16_t>(row.fap()), port}];
    programmed.clear();
    for (const auto& [first, last] : ranges) {
      programmed.emplace_back(Bridging::VlanId(first), Bridging::VlanId(last));
    }
    const bool isPrinted = row.hasScale() && !ranges.empty();
    printed_.push_back(!isPrinted ? ""
                       : json_    ? jsonOf(row, port, ranges)
                                  : textOf(row, port, ranges));
  }

  bool json_;
  bool dynamic_;
  std::vector<std::string> printed_;  // "" for interfaces that print nothing
  Qel::Ptr<FeatureAgentCommonSmData> fcsd_ = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<VlanXlateScaleEntryDir> scale_ = Qel::makePtr<VlanXlateScaleEntryDir>();
  Qel::Ptr<PortHwIndexMappingDir> hwIndexes_ = Qel::makePtr<PortHwIndexMappingDir>();
  Qel::Ptr<FakeCmdRingManager> ring_ = Qel::makePtr<FakeCmdRingManager>();
};

DumpKind kind(std::string name, bool json, bool dynamic) {
  return {.name = std::move(name),
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return std::make_unique<VlanRangeDump>(json, dynamic); },
          .maxRows = kInterfaces,
          .rowsAreAppended = false};
}

}  // namespace

std::vector<DumpKind> vlanRangeDumps() {
  return {kind("VlanRanges", false, false), kind("VlanRangesJson", true, false),
          kind("DynamicVlanRanges", false, true), kind("DynamicVlanRangesJson", true, true)};
}

}  // namespace KorvoL2::Testing
