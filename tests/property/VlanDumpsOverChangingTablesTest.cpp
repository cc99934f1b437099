// What the VLAN dumps promise while their tables change, checked against a model over random
// histories.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <rapidjson/document.h>

#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/KorvoL2/VlanRangeHarness.h"
#include "tests/KorvoL2/VlanXlateHarness.h"

namespace KorvoL2::Testing {
namespace {

/** Which keys were there from the beginning to the end of a walk, and which at any time. */
class History {
 public:
  void added(unsigned key) {
    if (!begun_) throughout_.insert(key);
    ever_.insert(key);
  }
  void removed(unsigned key) { throughout_.erase(key); }
  void begin() { begun_ = true; }

  /** `printed` is what came out, in order. */
  void check(const std::vector<unsigned>& printed) const {
    for (std::size_t i = 1; i < printed.size(); ++i) RC_ASSERT(printed[i - 1] < printed[i]);
    const std::set<unsigned> out(printed.begin(), printed.end());
    for (const unsigned key : throughout_) RC_ASSERT(out.contains(key));
    for (const unsigned key : out) RC_ASSERT(ever_.contains(key));
  }

 private:
  bool begun_ = false;
  std::set<unsigned> throughout_;
  std::set<unsigned> ever_;
};

/** Calls `put` or `erase`, bool(unsigned), for random keys below `keySpace`. */
template <class Put, class Erase>
void changeAtRandom(int changes, unsigned keySpace, History& history, Put&& put, Erase&& erase) {
  for (int i = 0; i < changes; ++i) {
    const auto key = *rc::gen::inRange<unsigned>(1, keySpace);
    if (*rc::gen::arbitrary<bool>()) {
      put(key);
      history.added(key);
    } else if (erase(key)) {
      history.removed(key);
    }
  }
}

class RangesOverChangingTables : public VlanRangeHarness {
 public:
  void TestBody() override {}
  static std::string name(unsigned key) { return "Ethernet" + std::to_string(key); }

  void run() {
    const auto keySpace = *rc::gen::inRange<unsigned>(2, 200);
    const auto changesPerSlice = *rc::gen::inRange(0, 6);
    History history;
    // Every third interface has no scale entry, and every fourth no ranges: they print nothing.
    const auto silent = [](unsigned key) { return key % 3 == 0 || key % 4 == 0; };
    const auto put = [&](unsigned key) {
      const auto port = static_cast<std::uint16_t>(key);
      if (key % 3 == 0) {
        putIntf(name(key), port);
      } else if (key % 4 == 0) {
        putRanges(name(key), port, {});
      } else {
        putRanges(name(key), port, {range(1 + key, 10 + key)});
      }
    };
    const auto erase = [&](unsigned key) { return fcsd->intf.erase(Bridging::IntfId(name(key))); };
    changeAtRandom(300, keySpace, history, put, erase);
    history.begin();

    // Time passes too, so that slices end among silent interfaces as well.
    clock->perReadingIs(*rc::gen::element<std::chrono::milliseconds>(
        std::chrono::milliseconds(0), std::chrono::milliseconds(10),
        std::chrono::milliseconds(60)));
    auto sm = start(Rendering::kJson, *rc::gen::inRange<std::uint32_t>(1, 8));
    runToCompletion(*sm, [&] { changeAtRandom(changesPerSlice, keySpace, history, put, erase); });

    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(reader->received.c_str());
    RC_ASSERT(!document.HasParseError());
    std::vector<unsigned> printed;
    for (const auto& member : document["intfVlanRanges"].GetObject()) {
      printed.push_back(static_cast<unsigned>(std::stoul(member.name.GetString() + 8)));
      RC_ASSERT(!silent(printed.back()));
      RC_ASSERT(member.value["logicalPort"].GetUint() == printed.back());
    }
    // A silent key is never expected, so the model forgets it.
    for (unsigned key = 1; key < keySpace; ++key) {
      if (silent(key)) history.removed(key);
    }
    history.check(printed);
  }
};

RC_GTEST_PROP(VlanRangesOverChangingTables, InterfacesPresentThroughoutComeOutExactlyOnce, ()) {
  RangesOverChangingTables t;
  t.run();
}

class XlateOverChangingTables : public VlanXlateHarness {
 public:
  void TestBody() override {}

  /** The numbers in column `column` of the rows of the section called `title`, and its count. */
  struct SectionText {
    std::vector<unsigned> keys;
    std::optional<unsigned> count;
  };
  SectionText section(const std::string& title, const std::string& countLine,
                      std::size_t column) const {
    SectionText found;
    std::istringstream text(reader->received);
    bool inside = false;
    int rules = 0;
    for (std::string line; std::getline(text, line);) {
      if (line == title) {
        inside = true;
        rules = 0;
      } else if (inside && line.starts_with("---")) {
        ++rules;
      } else if (line.starts_with(countLine)) {
        RC_ASSERT(!found.count);
        RC_ASSERT(!inside || rules == 3 || rules == 2);
        found.count = static_cast<unsigned>(std::stoul(line.substr(countLine.size())));
        inside = false;
      } else if (inside && rules == 2) {
        std::istringstream cells(line);
        std::string cell;
        for (std::size_t i = 0; i <= column; ++i) cells >> cell;
        found.keys.push_back(static_cast<unsigned>(std::stoul(cell)));
      }
    }
    return found;
  }

  /** The size of a directory at the end of the slice in which its section was completed. */
  template <class Dir>
  static void noteCompletion(std::optional<std::size_t>& size, bool complete, const Dir& dir) {
    if (complete && !size) size = dir.entries.size();
  }

  void runIngress() {
    const auto changes = *rc::gen::inRange(0, 8);
    const auto keySpace = *rc::gen::inRange<unsigned>(2, 120);
    History vlans;
    History ports;
    const auto change = [&](int times) {
      changeAtRandom(
          times, keySpace, vlans, [&](unsigned key) { putVlanSvp(key, key); },
          [&](unsigned key) { return vlanSvps->entries.erase(Bridging::VlanId(key)); });
      changeAtRandom(
          times, keySpace, ports, [&](unsigned key) { putPortVlan("Ethernet1", key, 0, key); },
          [&](unsigned key) { return portVlans->entries.erase(portVlan("Ethernet1", key)); });
    };
    change(100);
    vlans.begin();
    ports.begin();
    std::optional<std::size_t> vlanCount;
    std::optional<std::size_t> portCount;
    auto sm = startIng(Rendering::kText, *rc::gen::inRange<std::uint32_t>(1, 9));
    runToCompletion(*sm, [&] {
      noteCompletion(vlanCount, sm->vlanSvpStatusComplete(), *vlanSvps);
      noteCompletion(portCount, sm->portVlanXlateStatusComplete(), *portVlans);
      change(changes);
    });
    const auto vlanText = section("Vlan SVP Entries:", "Number of Vlan SVP entries : ", 0);
    RC_ASSERT(vlanText.count == vlanCount);
    vlans.check(vlanText.keys);
    const auto portText = section(
        "Port-Vlan Translation / SVP assignment Entries:", "Number of port-vlan/svp entries : ", 1);
    RC_ASSERT(portText.count == portCount);
    ports.check(portText.keys);
  }

  void runEgress() {
    const auto changes = *rc::gen::inRange(0, 8);
    const auto keySpace = *rc::gen::inRange<unsigned>(2, 120);
    History vlans;
    History ports;
    History tunnels;
    const auto change = [&](int times) {
      changeAtRandom(
          times, keySpace, vlans, [&](unsigned key) { putVlanVni(key, key % 2 == 0, key); },
          [&](unsigned key) {
            return vlanVnis->entries.erase({Bridging::VlanId(key), key % 2 == 0});
          });
      changeAtRandom(
          times, keySpace, ports, [&](unsigned key) { putEgrPortVlan("Ethernet1", key, 0, 1); },
          [&](unsigned key) { return egrPortVlans->entries.erase(portVlan("Ethernet1", key)); });
      changeAtRandom(
          times, keySpace, tunnels, [&](unsigned key) { putEgrVxlanVlan("Vxlan1", key, 7, 1); },
          [&](unsigned key) { return egrVxlanVlans->entries.erase(portVlan("Vxlan1", key)); });
    };
    change(100);
    for (History* const history : {&vlans, &ports, &tunnels}) history->begin();
    std::optional<std::size_t> vlanCount;
    std::optional<std::size_t> portCount;
    std::optional<std::size_t> tunnelCount;
    auto sm = startEgr(Rendering::kText, *rc::gen::inRange<std::uint32_t>(1, 9));
    runToCompletion(*sm, [&] {
      noteCompletion(vlanCount, sm->egrVlanXlateVfiComplete(), *vlanVnis);
      noteCompletion(portCount, sm->egrPortVlanXlateComplete(), *egrPortVlans);
      noteCompletion(tunnelCount, sm->egrVxlanVlanXlateComplete(), *egrVxlanVlans);
      change(changes);
    });
    const auto vlanText =
        section("Vlan to VNI Mapping Entries:", "Number of Vlan to VNI mapping entries : ", 0);
    RC_ASSERT(vlanText.count == vlanCount);
    vlans.check(vlanText.keys);
    const auto portText = section("Egress Port-Vlan Translation Entries:",
                                  "Number of egress port vlan translation entries : ", 1);
    RC_ASSERT(portText.count == portCount);
    ports.check(portText.keys);
    const auto tunnelText = section("Egress DVP-Vlan Translation Entries:",
                                    "Number of egress DVP-Vlan translation entries : ", 1);
    RC_ASSERT(tunnelText.count == tunnelCount);
    tunnels.check(tunnelText.keys);
  }
};

RC_GTEST_PROP(VlanXlateOverChangingTables, IngressRowsPresentThroughoutComeOutExactlyOnce, ()) {
  XlateOverChangingTables t;
  t.runIngress();
}

RC_GTEST_PROP(VlanXlateOverChangingTables, EgressRowsPresentThroughoutComeOutExactlyOnce, ()) {
  XlateOverChangingTables t;
  t.runEgress();
}

}  // namespace
}  // namespace KorvoL2::Testing
