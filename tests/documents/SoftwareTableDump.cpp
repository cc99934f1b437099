// The software MAC table.
#include <algorithm>
#include <array>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"
#include "agent/model/SwitchModel.h"
#include "tests/documents/Dump.h"
#include "tests/documents/Interfaces.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/Text.h"
#include "tests/support/ManualClock.h"

namespace KorvoL2::Testing {

namespace {

constexpr std::array<const char*, 9> kTypes{"learnedDynamic", "learnedSecure", "configuredStatic",
                                            "configuredDrop", "peerDynamic",   "peerStatic",
                                            "remoteDynamic",  "router",        "multicast"};
constexpr std::array<MacEntryType, 9> kEntryTypes{
    MacEntryType::learnedDynamic, MacEntryType::learnedSecure, MacEntryType::configuredStatic,
    MacEntryType::configuredDrop, MacEntryType::peerDynamic,   MacEntryType::peerStatic,
    MacEntryType::remoteDynamic,  MacEntryType::router,        MacEntryType::multicast};
constexpr std::array<const char*, 6> kSources{"hardware", "software", "config",
                                              "mlagPeer", "vxlan",    "system"};
constexpr std::array<MacEntrySource, 6> kEntrySources{
    MacEntrySource::hardware, MacEntrySource::software, MacEntrySource::config,
    MacEntrySource::mlagPeer, MacEntrySource::vxlan,    MacEntrySource::system};
constexpr std::array<const char*, 5> kFlags{"moved", "routed", "virtualRouted", "discard",
                                            "pending"};
constexpr std::array<std::uint64_t, 5> kBitmaps{0x7, 0, 0xdeadbeef, 0x8000'0000'0000'0001,
                                                0xfedc'ba98'7654'3210};

/** What the switch holds in one row. */
struct Row {
  explicit Row(std::size_t i)
      : key(macRowKey(i)),
        intf(oddInterfaces()[i % oddInterfaces().size()]),
        type(i % kTypes.size()),
        source(i % kSources.size()),
        bitmap(kBitmaps[i % kBitmaps.size()]),
        mcastId(static_cast<std::uint16_t>(i % 4 == 1   ? i % 65536
                                           : i % 4 == 3 ? 65535
                                                        : 0)),
        flags(static_cast<std::uint16_t>(i % 32)),
        vfi(i % 3 == 2),
        printable(i % 7 != 3) {}

  MacRowKey key;
  const Interface& intf;
  std::size_t type;
  std::size_t source;
  std::uint64_t bitmap;
  std::uint16_t mcastId;
  std::uint16_t flags;
  bool vfi;
  bool printable;
};

/** Right-aligned cells that push what follows when they are too wide, always one blank apart. */
std::string textOf(const Row& row) {
  const std::string group = row.mcastId == 0 ? "-" : std::to_string(row.mcastId);
  const std::string intf = row.intf.name.empty() ? "-" : withoutControls(row.intf.shortName);
  const std::array<std::pair<std::size_t, std::string>, 9> cells{
      {{8, row.key.vlan == 0 ? "-" : std::to_string(row.key.vlan)},
       {24, macText(row.key.mac)},
       {36, intf},
       {46, group},
       {70, kTypes[row.type]},
       {82, format("0x%llx", static_cast<unsigned long long>(row.bitmap))},
       {94, kSources[row.source]},
       {100, format("0x%x", row.flags)},
       {108, row.vfi ? "vfi" : "bridge"}}};
  std::string line;
  for (const auto& [end, cell] : cells) {
    const std::size_t taken = line.size() + cell.size();
    const std::size_t fewest = line.empty() ? 0 : 1;
    line.append(taken < end ? std::max(end - taken, fewest) : fewest, ' ');
    line += cell;
  }
  return line + "\n";
}

std::string jsonOf(const Row& row) {
  std::string flags;
  for (std::size_t bit = 0; bit < kFlags.size(); ++bit) {
    if ((row.flags >> bit & 1) != 0) flags += (flags.empty() ? "" : ",") + jsonString(kFlags[bit]);
  }
  return jsonObject(
      {format("\"vlan\":%u", row.key.vlan), format("\"mac\":\"%s\"", macText(row.key.mac).c_str()),
       "\"interface\":" + jsonString(row.intf.name), format("\"mcastId\":%u", row.mcastId),
       format("\"type\":\"%s\"", kTypes[row.type]),
       format("\"bitmap\":\"0x%llx\"", static_cast<unsigned long long>(row.bitmap)),
       format("\"source\":\"%s\"", kSources[row.source]), "\"flags\":[" + flags + "]",
       format("\"keyType\":\"%s\"", row.vfi ? "vfi" : "bridge")});
}

class SoftwareTableDump final : public Dump {
 public:
  explicit SoftwareTableDump(bool json) : json_(json) {}

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = l2SwTableRequestSmFactory("request-1", request, kSliceTime, clock,
                                        model_->macAddrSmHelper());
    sm->handleInitialized();
    return sm;
  }

  Document document() const override {
    Document document;
    document.pieces = rows_;
    const std::string head =
        json_ ? "{\"macTableEntries\":["
              : rule(110) +
                    format("%8s%16s%12s%10s%24s%12s%12s%6s%8s\n", "vlan", "mac address",
                           "interface", "mcastId", "type", "bitmap", "source", "flags", "keyType") +
                    rule(110);
    document.tail = json_ ? format("],\"numEntries\":%zu}\n", size())
                          : rule(110) + format("Number of entries : %zu\n", size());
    if (rows_.empty()) {
      document.tail.insert(0, head);
    } else {
      document.pieces.front().insert(0, head);
    }
    return document;
  }

 private:
  void add(std::size_t i) override {
    const Row row(i);
    model_->swMacTable().put(
        {static_cast<std::uint16_t>(row.key.vlan), Bridging::EthAddr(row.key.mac)},
        {.intf = Bridging::IntfId(row.intf.name),
         .modBitmap = row.bitmap,
         .mcastId = row.mcastId,
         .flags = row.flags,
         .type = kEntryTypes[row.type],
         .source = kEntrySources[row.source],
         .keyType = row.vfi ? MacKeyType::vfi : MacKeyType::bridge,
         .printable = row.printable});
    if (!row.printable) return;
    rows_.push_back(json_ ? (rows_.empty() ? "" : ",") + jsonOf(row) : textOf(row));
  }

  bool json_;
  Qel::Ptr<KorvoAgent::SwitchModel> model_ =
      Qel::makePtr<KorvoAgent::SwitchModel>(Qel::makePtr<Qel::ManualClock>());
  std::vector<std::string> rows_;
};

}  // namespace

std::vector<DumpKind> softwareTableDumps() {
  return {{.name = "SoftwareTable",
           .format = Rendering::kText,
           .make = [] { return std::make_unique<SoftwareTableDump>(false); }},
          {.name = "SoftwareTableJson", .format = Rendering::kJson, .make = [] {
             return std::make_unique<SoftwareTableDump>(true);
           }}};
}

}  // namespace KorvoL2::Testing
