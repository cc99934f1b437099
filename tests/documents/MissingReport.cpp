// The report of MAC table entries that only software or only hardware has.
#include <array>
#include <map>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"
#include "tests/documents/MacReports.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/Text.h"

namespace KorvoL2::Testing {

namespace {

/** What is reported in one row. Three key types share each VLAN number and address. */
struct Row {
  explicit Row(std::size_t i)
      : vlan(static_cast<unsigned>(i < 9 ? i / 3 : 4093 + i / 3)),
        mac(macRowKey(i / 3).mac),
        keyType(std::array<std::uint8_t, 3>{0, 3, 7}[i % 3]),
        inSoftware(i * 5 % 7 < 4),
        index(i % 5 == 3 ? -1 : static_cast<int>(i * 1013 % 131072)) {
    static constexpr std::array<const char*, 3> kNames{"Fabric \"east\"", "Linecard3/0",
                                                       "a-chip-with-a-name-of-31-bytes-"};
    for (std::size_t chip = 0; chip < kNames.size(); ++chip) {
      if (((i + i / 8) >> chip & 1) != 0) modules.emplace_back(kNames[chip]);
    }
  }

  unsigned vlan;
  std::uint64_t mac;
  std::uint8_t keyType;
  bool inSoftware;
  int index;
  std::vector<std::string> modules{};  ///< ascending
};

std::string keyTypeText(unsigned keyType) {
  const char* const word = keyType == 0 ? "bridge" : keyType == 3 ? "VFI" : "undefined";
  return format("%s(%u)", word, keyType);
}

ColumnTable tableOf(bool detail) {
  std::vector<ColumnTable::Column> columns{{"Vlan", 11, 4, 2}, {"Mac Address", 25, 4, 2}};
  if (detail) columns.push_back({"Key Type", 25, 4, 2});
  columns.push_back({"Present in SW?", 16, 1, 1});
  columns.push_back({"Present in HW?", 21, 4, 4});
  columns.push_back({"Missing in HW", 21, 4, 4});
  if (detail) columns.push_back({"HW Index", 10, 1, 1});
  return ColumnTable(std::move(columns));
}

std::string textOf(const Row& row, bool detail) {
  const ColumnTable table = tableOf(detail);
  std::string text;
  for (std::size_t y = 0; y == 0 || y < row.modules.size(); ++y) {
    const bool first = y == 0;
    const std::string module = row.modules.empty() ? "" : row.modules[y];
    std::vector<std::string> cells{first ? std::to_string(row.vlan) : "",
                                   first ? macText(row.mac) : ""};
    if (detail) cells.push_back(first ? keyTypeText(row.keyType) : "");
    cells.emplace_back(!first ? "" : row.inSoftware ? "Y" : "N");
    cells.push_back(row.inSoftware ? "" : module);
    cells.push_back(row.inSoftware ? module : "");
    if (detail) cells.push_back(first ? std::to_string(row.index) : "");
    text += table.row(cells);
  }
  return text;
}

std::string jsonOf(const Row& row) {
  std::string modules;
  for (const std::string& module : row.modules) {
    modules += (modules.empty() ? "" : ",") + jsonString(module);
  }
  return jsonObject(
      {format("\"vlan\":%u", row.vlan), format("\"mac\":\"%s\"", macText(row.mac).c_str()),
       format("\"inSw\":%s", jsonBool(row.inSoftware)), format("\"hwTblIndex\":%d", row.index),
       format("\"keyType\":\"%s\"", keyTypeText(row.keyType).c_str()),
       "\"modules\":[" + modules + "]"});
}

class MissingReport final : public MacReport {
 public:
  MissingReport(bool json, bool detail)
      : MacReport(json, detail,
                  json ? "{\"macTableMissingEntries\":[" : tableOf(detail).heading()) {}

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = l2MacMissingRequestSmFactory("request-1", request, kSliceTime, clock, &helper(),
                                           mcastHelper(), kChips, detail());
    sm->handleInitialized();
    for (const auto& [key, entry] : entries_) sm->missingEntryTable()->entries().put(key, entry);
    sm->missingEntryTable()->readCompleteIs(true);
    return sm;
  }

 private:
  void add(std::size_t i) override {
    const Row row(i);
    auto entry = Qel::makePtr<MissingMacEntry>();
    entry->inSw = row.inSoftware;
    entry->hwTblIndex = row.index;
    entry->modules = row.modules;
    entries_.emplace_back(L2HwEntryKey(row.vlan, Bridging::EthAddr(row.mac), row.keyType),
                          std::move(entry));
    facts_.push_back(row);
    rowIs(json() ? jsonOf(row) : textOf(row, detail()));
  }

  std::string totals(const std::vector<std::size_t>& printed) const override {
    std::size_t onlyHardware = 0;
    std::size_t onlySoftware = 0;
    std::map<std::string, std::size_t> lackedBy;
    for (const std::size_t i : printed) {
      const Row& row = facts_[i];
      (row.inSoftware ? onlySoftware : onlyHardware) += row.modules.size();
      if (!row.inSoftware) continue;
      for (const std::string& module : row.modules) ++lackedBy[module];
    }
    std::string text = format(
        "\nTotal entries missing in software:  %zu\n\nTotal entries missing in hardware:  %zu\n",
        onlyHardware, onlySoftware);
    for (const auto& [module, count] : lackedBy) {
      text += format("            %s:  %zu\n", module.c_str(), count);
    }
    return text;
  }

  std::vector<std::pair<L2HwEntryKey, Qel::Ptr<MissingMacEntry>>> entries_;
  std::vector<Row> facts_;
};

DumpKind kind(std::string name, bool json, bool detail) {
  return {.name = std::move(name),
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return std::make_unique<MissingReport>(json, detail); },
          .repeatsItsEnd = true};
}

}  // namespace

std::vector<DumpKind> missingReports() {
  return {kind("Missing", false, false), kind("MissingJson", true, false),
          kind("MissingDetail", false, true), kind("MissingDetailJson", true, true)};
}

}  // namespace KorvoL2::Testing
