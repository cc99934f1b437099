#include "tests/simulation/Verdict.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <stdexcept>

namespace KorvoSimulation {

using KorvoAgent::Entry;
using KorvoAgent::RequestStatus;

namespace {

constexpr Qel::Duration kSliceBudget = std::chrono::milliseconds(50);

/** What the rows of one section of a dump are held against. */
struct Expectation {
  Table table{};
  bool copied = false;     ///< the dump shows the table as it was when its first slice ran
  bool collected = false;  ///< rows are put together first and printed later
};

Expectation expectationOf(const Client& client, const std::string& section) {
  const std::string& keyword = client.command.keyword;
  if (keyword == "MACT_ALL") return {Table::printableMacs};
  if (keyword == "MACT_HW_ALL") {
    // Columns are as wide as their widest cell, which is known at the end only.
    return {Table::macs, false, client.command.detail && !client.command.isJson()};
  }
  if (keyword == "VXLAN_ROUTING_INFO") return {Table::vlanToSvp, true};
  if (keyword == "ING_VLAN_RANGE") return {Table::rangeIntfs};
  if (section == "vlan") return {Table::vxlanVlans, true};
  if (section == "port") return {Table::edgePorts, false, true};
  if (section == "Vxlan DIP Entries:") return {Table::dips};
  if (section == "Vlan SVP Entries:") return {Table::vlanSvps};
  if (section == "Port-Vlan Translation / SVP assignment Entries:") return {Table::portVlans};
  if (section == "Vlan to VNI Mapping Entries:") return {Table::vlanVnis};
  if (section == "Egress Port-Vlan Translation Entries:") return {Table::egrPortVlans};
  if (section == "Egress DVP-Vlan Translation Entries:") return {Table::egrVxlanVlans};
  throw std::runtime_error("a section that nobody knows: " + section);
}

std::vector<std::string> sectionsOf(const Client& client) {
  const std::string& keyword = client.command.keyword;
  std::vector<std::string> sections;
  if (keyword == "MACT_HW_ALL") {
    for (const auto& [id, name] : client.chipsAtBegin) sections.push_back(name);
  } else if (keyword == "VXLAN_VLAN") {
    sections.emplace_back("vlan");
    if (client.command.detail) sections.emplace_back("port");
  } else if (keyword == "VLAN_XLATE_STATUS") {
    sections = {"Vxlan DIP Entries:", "Vlan SVP Entries:",
                "Port-Vlan Translation / SVP assignment Entries:"};
  } else if (keyword == "EGR_VLAN_XLATE_STATUS") {
    sections = {"Vlan to VNI Mapping Entries:", "Egress Port-Vlan Translation Entries:",
                "Egress DVP-Vlan Translation Entries:"};
  } else {
    sections.emplace_back();
  }
  return sections;
}

std::string rowText(const AnswerRow& row) {
  return "row " + std::to_string(row.key) + " of \"" + row.section + "\" at byte " +
         std::to_string(row.offset);
}

void judgeOrder(const Client& client, std::vector<AnswerRow> rows) {
  const bool check = isCheck(client.command.keyword);
  // Where a key may stand twice, two last rows of one key are no repetition.
  if (check && dropRepeated(rows) && client.command.keyword == "MACT_DIFF") {
    require(client.figures().worstSlice > kSliceBudget,
            "its end is repeated though no slice took longer than its budget");
  }
  std::map<std::string, const AnswerRow*> last;
  for (const AnswerRow& row : rows) {
    const AnswerRow*& before = last[row.section];
    // In a check a key may stand twice: once for each key type of the hardware.
    require(before == nullptr || before->key < row.key || (check && before->key == row.key),
            rowText(row) + " does not ascend");
    before = &row;
  }
}

void judgeRow(const Client& client, const World& world, const AnswerRow& row) {
  const Expectation expected = expectationOf(client, row.section);
  const TableHistory& history = world.history(expected.table);
  const Turn printed = client.printedAt(row.offset);
  const Turn first = client.firstSlice.value_or(client.beginTurn);
  if (expected.copied) {
    require(history.presentAt(row.key, first), rowText(row) + " was not in the copy");
  } else if (expected.collected) {
    const bool lag = expected.table == Table::edgePorts &&
                     world.history(Table::lagEdgePorts).presentWithin(row.key, first, printed);
    require(lag || history.presentWithin(row.key, first, printed),
            rowText(row) + " was never in its table");
  } else {
    require(history.presentAt(row.key, printed),
            rowText(row) + " was not in its table in turn " + std::to_string(printed));
  }
}

void judgeCompleteness(const Client& client, const World& world,
                       const std::vector<AnswerRow>& rows) {
  std::map<std::string, std::map<RowKey, Turn>> printed;
  for (const AnswerRow& row : rows) {
    printed[row.section].emplace(row.key, client.printedAt(row.offset));
  }
  const Turn first = client.firstSlice.value_or(client.beginTurn);
  // JSON is closed where the walk ends. Text may end with a row, with others passed over behind it.
  const Turn last = client.command.isJson() ? client.printedAt(client.reader.received().size() - 1)
                                            : client.endTurn();
  for (const std::string& section : sectionsOf(client)) {
    const Expectation expected = expectationOf(client, section);
    const TableHistory& history = world.history(expected.table);
    const std::map<RowKey, Turn>& shown = printed[section];
    for (const RowKey key : history.keysWithin(first, last)) {
      if (shown.contains(key)) continue;
      // Interfaces are shown below the VLANs that are shown.
      if (section == "port" && !printed["vlan"].contains(key >> 32)) continue;
      // A walk came by between the rows on either side.
      Turn from = first;
      Turn to = expected.copied ? first : last;
      if (!expected.copied && !expected.collected) {
        const auto behind = shown.upper_bound(key);
        if (behind != shown.end()) to = behind->second;
        if (behind != shown.begin()) from = std::prev(behind)->second;
      }
      require(!history.presentThroughout(key, from, to),
              "row " + std::to_string(key) + " of \"" + section +
                  "\" is missing, there from turn " + std::to_string(from) + " to " +
                  std::to_string(to));
    }
  }
}

void judgeStatus(const Client& client) {
  const Command& command = client.command;
  const RequestStatus status = client.end().status;
  const bool due = client.readyAtBegin && client.objectsAtBegin;
  switch (status) {
    case RequestStatus::ok:
      require(!client.rowFailed, "ended ok though something threw in a slice");
      require(client.readyAtBegin, "ended ok though the agent was not ready");
      require(due || !command.isAsync(), "ended ok though what it needs was missing");
      break;
    case RequestStatus::notReady:
      require(!due || !command.wellFormed, "not ready, and why not?");
      require(client.figures().bytes == 0 && client.reader.received().empty(),
              "not ready, and something was printed");
      break;
    case RequestStatus::noHandler:
      require(!command.wellFormed, "nobody took a good command");
      break;
    case RequestStatus::error:
      require(client.faulted || client.connectionFailed || client.mayFail || !command.wellFormed,
              "an error where nothing failed");
      break;
    case RequestStatus::cancelled:
      require(client.cancelled, "cancelled by nobody");
      break;
    case RequestStatus::clientGone:
      require(!client.reader.isEager(), "a reader that reads is taken for gone");
      break;
    case RequestStatus::refused:
      require(false, "refused behind the door");
  }
  if (command.wellFormed && due && !client.faulted && !client.cancelled && !client.mayFail &&
      client.reader.isEager()) {
    require(status == RequestStatus::ok, "not ok though all was well");
  }
}

}  // namespace

void require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

Qel::Duration SliceAllowance::longest() const {
  // The machine, its timer and the scheduler read the clock at both ends of a slice.
  constexpr int kReadings = 16;
  return kSliceBudget + rowCost + kReadings * perReading;
}

bool isCheck(std::string_view keyword) {
  return keyword == "MACT_DIFF" || keyword == "MACT_MISSING";
}

bool dropRepeated(std::vector<AnswerRow>& rows) {
  // What comes again are the last rows before it, and a report shows no more afterwards.
  for (auto again = rows.begin(); again != rows.end(); ++again) {
    const auto count = rows.end() - again;
    if (again == rows.begin() || again->key > std::prev(again)->key ||
        count > again - rows.begin()) {
      continue;
    }
    if (std::equal(again, rows.end(), again - count,
                   [](const AnswerRow& a, const AnswerRow& b) { return a.sameAs(b); })) {
      rows.erase(again, rows.end());
      return true;
    }
  }
  return false;
}

bool rowsAreWhole(const Client& client) {
  return client.end().status == RequestStatus::ok && client.reader.atEnd() &&
         client.command.keyword != "NOTHING_LIKE_THAT";
}

std::vector<AnswerRow> rowsOf(const Client& client) {
  const std::string& answer = client.reader.received();
  return client.command.isJson() ? rowsOfJson(client.command.keyword, answer)
                                 : rowsOfText(client.command.keyword, answer);
}

void judge(const Client& client, const World& world, const SliceAllowance& allowance) {
  const Command& command = client.command;
  judgeStatus(client);
  if (command.isAsync()) {
    require(client.figures().worstSlice <= allowance.longest(),
            "a slice took " + std::to_string(client.figures().worstSlice.count()) + " ns");
  }
  if (client.end().status == RequestStatus::ok && client.reader.readsAll()) {
    require(client.reader.atEnd(), "the answer has no end");
    require(client.reader.received().size() == client.figures().bytes, "bytes are lost");
  }
  if (!rowsAreWhole(client)) return;
  if (!command.isAsync()) {
    // A summary that something cut off does not end ok.
    if (command.isJson()) static_cast<void>(rowsOf(client));
    return;
  }
  const std::vector<AnswerRow> rows = rowsOf(client);
  if (!command.wellFormed) return;
  judgeOrder(client, rows);
  // Translation tables are dumped in text only.
  if (isCheck(command.keyword) || (command.keyword.ends_with("XLATE_STATUS") && command.isJson()))
    return;
  for (const AnswerRow& row : rows) judgeRow(client, world, row);
  if (client.tableAway) return;
  if (client.disturbed && command.keyword.starts_with("MACT_")) return;
  judgeCompleteness(client, world, rows);
}

}  // namespace KorvoSimulation
