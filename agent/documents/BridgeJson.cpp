#include "agent/documents/BridgeJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/documents/ValueReaders.h"

namespace KorvoAgent {

using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;

namespace {

/** One element of the list. */
struct Entry {
  std::size_t index = 0;
  std::string_view master;
  std::uint16_t vlan = 0;
  bool hasMac = false;
  Bridging::EthAddr mac;
  IntfId intf;
  bool permanent = false;
  bool fixed = false;
  bool externLearn = false;

  MacVlanPair key() const { return {vlan, mac}; }
};

bool has(const JsonNode& flags, std::string_view wanted) {
  bool found = false;
  readList(flags, [&](const JsonNode& flag) { found = found || flag.string() == wanted; });
  return found;
}

class BridgeReader {
 public:
  BridgeReader(const JsonNode& list, SwitchModel& model) : list_(list), model_(model) {}

  void load() {
    findTunnelDevices();
    readList(list_, [this](const JsonNode& node) { read(node); });
    std::ranges::stable_sort(entries_, {}, &Entry::key);
    const Entry* last = nullptr;
    for (const Entry& entry : entries_) {
      if (last != nullptr && last->key() == entry.key()) refuseUnlessSame(*last, entry);
      model_.swMacTable().put(entry.key(), macEntryOf(entry));
      last = &entry;
    }
  }

 private:
  // A device with entries of its own that have a destination is a tunnel: an address, or the number
  // of a next hop (or a group of them) that has one.
  void findTunnelDevices() {
    readList(list_, [this](const JsonNode& node) {
      std::string_view name;
      bool tunnel = false;
      refuseRepeated(node);
      for (const auto [key, value] : node.object()) {
        if (key == "dst" || key == "nhid") tunnel = true;
        if (key == "ifname") name = JsonNode(node, key, value).string();
      }
      if (tunnel) tunnels_.insert(name);
    });
  }

  // Two values of one member contradict each other, and the document does not say which holds.
  static void refuseRepeated(const JsonNode& node) {
    std::vector<std::string_view> names;
    for (const auto [key, value] : node.object()) names.push_back(key);
    Detail::checkDistinct(node, std::move(names));
  }

  void read(const JsonNode& node) {
    // Members that this program does not know are no error: iproute2 adds some from time to time.
    Entry entry;
    entry.index = index_++;
    bool isBridges = false;
    for (const auto [key, value] : node.object()) isBridges = isBridges || key == "master";
    if (!isBridges) return;
    bool hasInterface = false;
    for (const auto [key, value] : node.object()) {
      const JsonNode member(node, key, value);
      if (key == "mac") {
        entry.mac = readMac(member);
        entry.hasMac = true;
      } else if (key == "ifname") {
        entry.intf = interfaces_.read(member);
        hasInterface = true;
      } else if (key == "vlan") {
        entry.vlan = readVlanNumber(member);
      } else if (key == "master") {
        entry.master = member.string();
      } else if (key == "state") {
        entry.permanent = member.string() == "permanent";
        entry.fixed = member.string() == "static";
      } else if (key == "flags") {
        entry.externLearn = has(member, "extern_learn");
      }
    }
    if (!entry.hasMac) node.refuse("member \"mac\" is missing; " + howToDump());
    if (!hasInterface) node.refuse("member \"ifname\" is missing; " + howToDump());
    entries_.push_back(entry);
  }

  static std::string howToDump() { return "print the bridge as `bridge -j fdb show br NAME` does"; }

  // The kernel tells an entry twice when the table changes meanwhile; two places are another
  // matter.
  void refuseUnlessSame(const Entry& one, const Entry& other) const {
    if (one.intf == other.intf) return;
    const std::string what = fmt::format(
        "VLAN {} and MAC address {} are on {} of bridge {} (/{}) and on {} of bridge "
        "{} (/{}); ",
        one.vlan, one.mac.stringValue(), one.intf.stringValue(), one.master, one.index,
        other.intf.stringValue(), other.master, other.index);
    if (one.master == other.master) {
      list_.refuse(what + "the table changed while it was printed: print it again");
    }
    list_.refuse(what + "print one bridge alone with `bridge -j fdb show br " +
                 std::string(one.master) + "`");
  }

  MacEntry macEntryOf(const Entry& entry) const {
    MacEntry value{.intf = entry.intf, .modBitmap = model_.moduleBitmap()};
    if (entry.mac.isGroup()) {
      value.type = MacEntryType::multicast;
      value.source = MacEntrySource::software;
    } else if (entry.permanent) {  // addresses of the bridge and its ports
      value.type = MacEntryType::router;
      value.source = MacEntrySource::system;
    } else if (entry.fixed) {
      value.type = MacEntryType::configuredStatic;
      value.source = MacEntrySource::config;
    } else if (tunnels_.contains(entry.intf.stringValue())) {
      value.type = MacEntryType::remoteDynamic;
      value.source = MacEntrySource::vxlan;
    } else if (entry.externLearn) {
      value.source = MacEntrySource::software;
    }
    return value;
  }

  const JsonNode& list_;
  SwitchModel& model_;
  IntfReader interfaces_;
  std::set<std::string_view> tunnels_;
  std::vector<Entry> entries_;
  std::size_t index_ = 0;
};

}  // namespace

void loadBridgeJson(const std::string& path, SwitchModel& model) {
  readDocument(path, [&model](const JsonDocument& document) {
    const JsonNode list(document);
    BridgeReader(list, model).load();
  });
}

}  // namespace KorvoAgent
