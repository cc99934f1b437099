#include "tests/simulation/AnswerRows.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <stdexcept>

#include "tests/simulation/World.h"

namespace KorvoSimulation {
namespace {

using Words = std::vector<std::string>;

Words wordsOf(const std::string& line) {
  std::istringstream in(line);
  Words words;
  for (std::string word; in >> word;) words.push_back(std::move(word));
  return words;
}

unsigned number(std::string_view text) {
  const std::string copy(text);
  char* end = nullptr;
  const unsigned long value = std::strtoul(copy.c_str(), &end, 10);
  if (copy.empty() || *end != '\0') throw std::runtime_error("no number: " + copy);
  return static_cast<unsigned>(value);
}

bool isNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isMac(std::string_view text) { return text.size() == 14 && text[4] == '.' && text[9] == '.'; }

RowKey macRowOf(unsigned vlan, std::string_view mac) {
  return macRow(Bridging::MacVlanPair(static_cast<std::uint16_t>(vlan), Bridging::EthAddr(mac)));
}

RowKey dipRow(std::string_view address) { return number(address.substr(address.rfind('.') + 1)); }

/** Calls `take(line, offset)` for every line. */
template <class Take>
void forEachLine(const std::string& text, Take&& take) {
  std::size_t offset = 0;
  while (offset < text.size()) {
    const std::size_t end = std::min(text.find('\n', offset), text.size());
    take(text.substr(offset, end - offset), offset);
    offset = end + 1;
  }
}

// VLAN and MAC address first, below the heading of a chip or none.
std::vector<AnswerRow> macText(const std::string& text, bool missing) {
  std::vector<AnswerRow> rows;
  std::string section;
  forEachLine(text, [&](const std::string& line, std::size_t offset) {
    const Words words = wordsOf(line);
    if (line.ends_with(" Mac Table") && words.size() > 1) section = words[1];
    // The lines below a row hold more of it.
    if (words.size() < 2 || !isNumber(words[0]) || !isMac(words[1])) return;
    // With details the key type comes before.
    if (missing) section = words.at(2).size() == 1 ? words[2] : words.at(3);
    rows.push_back({section, macRowOf(number(words[0]), words[1]), offset});
  });
  return rows;
}

std::vector<AnswerRow> vxlanVlanText(const std::string& text) {
  std::vector<AnswerRow> rows;
  unsigned vlan = 0;
  forEachLine(text, [&](const std::string& line, std::size_t offset) {
    const Words words = wordsOf(line);
    if (line.starts_with("Vlan ")) {
      vlan = number(words.at(1).substr(0, words.at(1).size() - 1));
      rows.push_back({"vlan", vlan, offset});
    } else if (line.starts_with("      ")) {
      rows.push_back({"port", edgeRow(vlan, words.at(0).substr(0, words[0].size() - 1)), offset});
    }
  });
  return rows;
}

std::vector<AnswerRow> routingText(const std::string& text) {
  std::vector<AnswerRow> rows;
  forEachLine(text, [&](const std::string& line, std::size_t offset) {
    if (line.starts_with("Vlan ")) rows.push_back({"", number(wordsOf(line).at(1)), offset});
  });
  return rows;
}

std::vector<AnswerRow> rangeText(const std::string& text) {
  std::vector<AnswerRow> rows;
  forEachLine(text, [&](const std::string& line, std::size_t offset) {
    const std::size_t colon = line.find(": logical port");
    if (colon != std::string::npos) {
      rows.push_back({"", intfRow(line.substr(0, colon)), offset});
    }
  });
  return rows;
}

RowKey xlateRow(const std::string& section, const Words& words) {
  if (section == "Vxlan DIP Entries:") return dipRow(words.at(0));
  if (section == "Vlan SVP Entries:") return number(words.at(0));
  if (section == "Vlan to VNI Mapping Entries:") {
    return vlanIpVerRow(number(words.at(0)), words.at(2) == "1");
  }
  if (section == "Egress DVP-Vlan Translation Entries:") {
    return portVlanRow(words.at(2), number(words.at(1)));
  }
  return portVlanRow(words.at(0), number(words.at(1)));
}

std::vector<AnswerRow> xlateText(const std::string& text) {
  std::vector<AnswerRow> rows;
  std::string section;
  int rules = 0;
  forEachLine(text, [&](const std::string& line, std::size_t offset) {
    if (line.ends_with("Entries:")) {
      section = line;
      rules = 0;
    } else if (line.starts_with("---")) {
      ++rules;
    } else if (line.starts_with("Number of")) {
      rules = 0;  // a table without rows has no rule at its end
    } else if (rules == 2) {
      rows.push_back({section, xlateRow(section, wordsOf(line)), offset});
    }
  });
  return rows;
}

using Value = rapidjson::Value;

/** Reads rows out of a document and finds where in the answer they stand. */
class JsonRows {
 public:
  explicit JsonRows(const std::string& answer) : answer_(answer) {
    document_.Parse<rapidjson::kParseValidateEncodingFlag>(answer.data(), answer.size());
    if (document_.HasParseError()) {
      throw std::runtime_error(std::string("not JSON: ") +
                               rapidjson::GetParseError_En(document_.GetParseError()) +
                               " at byte " + std::to_string(document_.GetErrorOffset()));
    }
    unique(document_);
  }

  const Value& document() const { return document_; }

  void macs(const Value& list, const std::string& section, bool missing) {
    for (const Value& row : list.GetArray()) {
      const std::string mac = row["mac"].GetString();
      const std::string where = missing ? (row["inSw"].GetBool() ? "Y" : "N") : section;
      add(where, macRowOf(row["vlan"].GetUint(), mac), "\"mac\":\"" + mac + '"');
    }
  }
  void add(const std::string& section, RowKey key, const std::string& text) {
    at_ = answer_.find(text, at_);
    if (at_ == std::string::npos) throw std::runtime_error("cannot find again: " + text);
    rows_.push_back({section, key, at_++});
  }
  std::vector<AnswerRow> take() { return std::move(rows_); }

 private:
  static void unique(const Value& value) {
    if (value.IsArray()) {
      for (const Value& each : value.GetArray()) unique(each);
    } else if (value.IsObject()) {
      std::set<std::string_view> names;
      for (const auto& member : value.GetObject()) {
        const std::string_view name(member.name.GetString(), member.name.GetStringLength());
        if (!names.insert(name).second) {
          throw std::runtime_error("twice in one object: " + std::string(name));
        }
        unique(member.value);
      }
    }
  }

  const std::string& answer_;
  rapidjson::Document document_;
  std::vector<AnswerRow> rows_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<AnswerRow> rowsOfText(std::string_view keyword, const std::string& answer) {
  if (keyword.starts_with("MACT_")) return macText(answer, keyword == "MACT_MISSING");
  if (keyword == "VXLAN_VLAN") return vxlanVlanText(answer);
  if (keyword == "VXLAN_ROUTING_INFO") return routingText(answer);
  if (keyword == "ING_VLAN_RANGE") return rangeText(answer);
  return xlateText(answer);
}

std::vector<AnswerRow> rowsOfJson(std::string_view keyword, const std::string& answer) {
  JsonRows rows(answer);
  const Value& document = rows.document();
  if (keyword == "MACT_ALL") {
    rows.macs(document["macTableEntries"], "", false);
  } else if (keyword == "MACT_HW_ALL") {
    for (const auto& chip : document["chips"].GetObject()) {
      rows.macs(chip.value["macTableEntries"], chip.name.GetString(), false);
    }
  } else if (keyword == "MACT_DIFF") {
    rows.macs(document["macTableDiffEntries"], "", false);
  } else if (keyword == "MACT_MISSING") {
    rows.macs(document["macTableMissingEntries"], "", true);
  } else if (keyword == "VXLAN_VLAN") {
    for (const auto& vlan : document["vlans"].GetObject()) {
      const std::string name = vlan.name.GetString();
      rows.add("vlan", number(name), '"' + name + "\":{");
      for (const auto& port : vlan.value["virtualPorts"].GetObject()) {
        const std::string intf = port.name.GetString();
        rows.add("port", edgeRow(number(name), intf), '"' + intf + "\":");
      }
    }
  } else if (keyword == "VXLAN_ROUTING_INFO") {
    for (const auto& vlan : document["vlans"].GetObject()) {
      const std::string name = vlan.name.GetString();
      rows.add("", number(name), '"' + name + "\":{");
    }
  } else if (keyword == "ING_VLAN_RANGE") {
    for (const auto& intf : document["intfVlanRanges"].GetObject()) {
      const std::string name = intf.name.GetString();
      rows.add("", intfRow(name), '"' + name + "\":{");
    }
  }
  return rows.take();
}

}  // namespace KorvoSimulation
