// The report of MAC table entries that software and hardware hold differently.
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"
#include "tests/documents/MacReports.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/Text.h"

namespace KorvoL2::Testing {

namespace {

/** Properties by name, as an entry on one side has them. */
using Properties = std::map<std::string, std::string, std::less<>>;

std::optional<std::string> valueOf(const Properties& properties, std::string_view name) {
  const auto it = properties.find(name);
  return it == properties.end() ? std::nullopt : std::optional(it->second);
}

/** The properties of which `mask` has the bit, and one that no report knows. */
Properties propertiesOf(unsigned mask, std::size_t i) {
  const std::array<std::pair<const char*, std::string>, 8> all{{
      {"dstDiscard", "yes"},
      {"mcastId", i % 5 == 0 ? "abc" : std::to_string(i % 65536)},
      {"trunkId", i % 5 == 1 ? "12trunk" : "10"},
      {"mod", std::to_string(i % 128)},
      {"port", i % 5 == 2 ? "" : std::to_string(i % 1024)},
      {"classId", "65535"},
      {"macAddressType", i % 3 == 0   ? "dynamic"
                         : i % 3 == 1 ? "learned by the other switch of the pair"
                                      : "\"quoted\\static"},
      {"Invalid Entry", "1"},
  }};
  Properties properties{{"age", "17"}};
  for (std::size_t bit = 0; bit < all.size(); ++bit) {
    if ((mask >> bit & 1) != 0) properties.insert(all[bit]);
  }
  return properties;
}

/** What is reported in one row. */
struct Row {
  explicit Row(std::size_t i) : key(macRowKey(i)), hasSoftware(i % 5 != 4) {
    const auto n = static_cast<unsigned>(i);
    if (hasSoftware) software = propertiesOf(n * 37 % 256, i);
    static constexpr std::array<const char*, 4> kNames{
        "Linecard4/0", "Linecard3/0", "a-chip-with-a-name-of-31-bytes-", "Fabric \"east\" card 1"};
    for (unsigned chip = 0; chip < i % 4; ++chip) {
      hardware[kNames[(i / 4 + chip) % kNames.size()]] =
          propertiesOf((n * 101 + chip * 59) % 256, i + chip);
    }
    differences = n % 3;
    if (n % 7 == 6) differences = 1000;
    index = n % 6 == 5 ? -1 : static_cast<int>(n * 1009 % 131072);
  }

  MacRowKey key;
  bool hasSoftware;
  Properties software{};
  Properties none{};
  std::map<std::string, Properties> hardware{};
  unsigned differences = 0;
  int index = 0;
};

std::vector<std::string> linesOf(const Properties& properties) {
  std::vector<std::string> lines;
  if (valueOf(properties, "dstDiscard")) lines.emplace_back("dstDiscard");
  for (const char* const name : {"mcastId", "trunkId", "mod", "port", "classId"}) {
    if (const auto value = valueOf(properties, name)) lines.push_back(name + ("=" + *value));
  }
  if (const auto value = valueOf(properties, "macAddressType")) lines.push_back(*value);
  if (valueOf(properties, "Invalid Entry")) lines.emplace_back("Invalid Entry");
  return lines;
}

/** `text` up to its first byte that is no digit, as a number; 0 without digits. */
std::string leadingNumber(const std::string& text) {
  const std::string digits = text.substr(0, text.find_first_not_of("0123456789"));
  return digits.empty() ? "0" : digits;
}

std::string jsonOf(const Properties& properties) {
  std::vector<std::string> members;
  const auto number = [&](const char* name) {
    if (const auto value = valueOf(properties, name)) {
      members.push_back(jsonString(name) + ":" + leadingNumber(*value));
    }
  };
  const auto isThere = [&](const char* name, const char* member) {
    if (valueOf(properties, name)) members.push_back(jsonString(member) + ":true");
  };
  if (const auto value = valueOf(properties, "macAddressType")) {
    members.push_back("\"macAddressType\":" + jsonString(*value));
  }
  number("mcastId");
  number("port");
  number("mod");
  isThere("dstDiscard", "dstDiscard");
  number("trunkId");
  number("classId");
  isThere("Invalid Entry", "invalidEntry");
  return jsonObject(members);
}

ColumnTable tableOf(bool detail) {
  std::vector<ColumnTable::Column> columns{{"Vlan", 6, 1, 1},
                                           {"Mac Address", 16, 1, 1},
                                           {"SW Entry", 24, 1, 1},
                                           {"Chip", 17, 3, 3},
                                           {"HW Entry", 24, 1, 1}};
  if (detail) columns.push_back({"HW Index", 10, 1, 1});
  return ColumnTable(std::move(columns));
}

std::string textOf(const Row& row, bool detail) {
  const std::vector<std::string> software = linesOf(row.software);
  std::vector<std::string> chips;
  std::vector<std::string> hardware;
  for (const auto& [chip, properties] : row.hardware) {
    chips.push_back(chip);
    for (const std::string& line : linesOf(properties)) hardware.push_back(line);
    if (row.differences > 1) hardware.emplace_back();
    const std::size_t block = std::max(chips.size(), hardware.size());
    chips.resize(block);
    hardware.resize(block);
  }
  const std::size_t height = std::max({std::size_t{1}, software.size(), hardware.size()});
  const auto cell = [](const std::vector<std::string>& lines, std::size_t y) {
    return y < lines.size() ? lines[y] : std::string();
  };
  const ColumnTable table = tableOf(detail);
  std::string text;
  for (std::size_t y = 0; y < height; ++y) {
    text += table.row({y == 0 ? std::to_string(row.key.vlan) : "",
                       y == 0 ? macText(row.key.mac) : "", cell(software, y), cell(chips, y),
                       cell(hardware, y), y == 0 ? std::to_string(row.index) : ""});
  }
  return text;
}

std::string jsonOf(const Row& row) {
  std::vector<std::string> chips;
  for (const auto& [chip, properties] : row.hardware) {
    chips.push_back(jsonString(chip) + ":" + jsonOf(properties));
  }
  return jsonObject({format("\"vlan\":%u", row.key.vlan),
                     format("\"mac\":\"%s\"", macText(row.key.mac).c_str()),
                     "\"swEntries\":[" + jsonOf(row.software) + "]",
                     "\"hwEntries\":" + jsonObject(chips), format("\"hwTblIndex\":%d", row.index)});
}

// A directory keeps the names that it is given, so these outlive every test.
std::string_view keptName(const std::string& name) {
  static constexpr std::array<std::string_view, 9> kNames{
      "dstDiscard", "mcastId",        "trunkId",       "mod", "port",
      "classId",    "macAddressType", "Invalid Entry", "age"};
  return *std::ranges::find(kNames, name);
}

Qel::Ptr<const EntryPropertyDir> directoryOf(const Properties& properties) {
  auto directory = Qel::makePtr<EntryPropertyDir>();
  for (const auto& [name, value] : properties) directory->propertyIs(keptName(name), value);
  return directory;
}

class DifferenceReport final : public MacReport {
 public:
  DifferenceReport(bool json, bool detail)
      : MacReport(json, detail, json ? "{\"macTableDiffEntries\":[" : tableOf(detail).heading()) {}

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = l2MacDiffRequestSmFactory("request-1", request, kSliceTime, clock, &helper(),
                                        mcastHelper(), kChips, detail());
    sm->handleInitialized();
    for (const auto& [key, entry] : entries_) sm->diffEntryTable()->entries().put(key, entry);
    sm->diffEntryTable()->readCompleteIs(true);
    return sm;
  }

 private:
  void add(std::size_t i) override {
    const Row row(i);
    auto entry = Qel::makePtr<DiffMacEntry>();
    if (row.hasSoftware) entry->swEntry = directoryOf(row.software);
    for (const auto& [chip, properties] : row.hardware) {
      entry->hwEntries[chip] = directoryOf(properties);
    }
    entry->diffCount = row.differences;
    entry->hwTblIndex = row.index;
    entries_.emplace_back(macKey(row.key.vlan, row.key.mac), std::move(entry));
    counts_.push_back(row.differences);
    rowIs(json() ? jsonOf(row) : textOf(row, detail()));
  }

  std::string totals(const std::vector<std::size_t>& printed) const override {
    unsigned total = 0;
    for (const std::size_t row : printed) total += counts_[row];
    return format("\nTotal entries different between software and hardware:  %u\n\n", total);
  }

  std::vector<std::pair<Bridging::MacVlanPair, Qel::Ptr<DiffMacEntry>>> entries_;
  std::vector<unsigned> counts_;
};

DumpKind kind(std::string name, bool json, bool detail) {
  return {.name = std::move(name),
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return std::make_unique<DifferenceReport>(json, detail); },
          .repeatsItsEnd = true};
}

}  // namespace

std::vector<DumpKind> differenceReports() {
  return {kind("Differences", false, false), kind("DifferencesJson", true, false),
          kind("DifferencesDetail", false, true), kind("DifferencesDetailJson", true, true)};
}

}  // namespace KorvoL2::Testing
