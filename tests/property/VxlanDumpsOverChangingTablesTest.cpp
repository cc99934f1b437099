// What the VXLAN dumps promise while the agent's records change, checked against a model over
// random histories.
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>
#include <rapidjson/document.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/KorvoL2/VxlanHarness.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IntfId;
using Bridging::VlanId;

/** An interface and a VLAN, both by number. */
using Edge = std::pair<unsigned, unsigned>;

class VxlanDumps : public VxlanHarness {
 public:
  void TestBody() override {}
  using VxlanHarness::entryBudgetIs;
  using VxlanHarness::l2State;
  using VxlanHarness::makeRoutingInfo;
  using VxlanHarness::makeVlanDump;
  using VxlanHarness::mapVlan;
  using VxlanHarness::putEdge;
  using VxlanHarness::putVlanSvp;
  using VxlanHarness::reader;
  using VxlanHarness::runToCompletion;

  bool eraseEdge(const Edge& edge) {
    return l2State->portToEdgeSvp.erase(
        {IntfId("Ethernet" + std::to_string(edge.first)), VlanId(edge.second)});
  }
  rapidjson::Document document() const {
    rapidjson::Document parsed;
    parsed.Parse<rapidjson::kParseValidateEncodingFlag>(reader->received.c_str());
    RC_ASSERT(!parsed.HasParseError());
    return parsed;
  }
};

RC_GTEST_PROP(VxlanVlanDumpProperty, PortsPresentThroughoutComeOutExactlyOnceUnderTheirVlan, ()) {
  VxlanDumps t;
  const auto ports = *rc::gen::inRange(1U, 40U);
  const auto vlans = *rc::gen::inRange(1U, 12U);
  const auto budget = *rc::gen::inRange<std::uint32_t>(1, 9);
  const auto changesPerSlice = *rc::gen::inRange(0, 6);
  const auto anyEdge = [&] {
    return Edge{*rc::gen::inRange(1U, ports + 1), *rc::gen::inRange(1U, vlans + 1)};
  };

  std::set<unsigned> mapped;
  for (unsigned vlan = 1; vlan <= vlans; ++vlan) {
    if (*rc::gen::inRange(0, 4) == 0) continue;
    t.mapVlan(vlan, 10000 + vlan);
    mapped.insert(vlan);
  }
  std::set<Edge> throughout;
  for (int i = *rc::gen::inRange(0, 200); i > 0; --i) {
    const Edge edge = anyEdge();
    t.putEdge(edge.first, edge.second, 1);
    throughout.insert(edge);
  }
  std::set<Edge> ever = throughout;

  const auto sm = t.makeVlanDump(Rendering::kJson, true);
  t.entryBudgetIs(*sm, budget);
  t.runToCompletion(*sm, [&] {
    for (int i = 0; i < changesPerSlice; ++i) {
      const Edge edge = anyEdge();
      if (*rc::gen::inRange(0, 2) == 0) {
        t.putEdge(edge.first, edge.second, 2);
        ever.insert(edge);
      } else if (t.eraseEdge(edge)) {
        throughout.erase(edge);
      }
    }
  });

  const rapidjson::Document document = t.document();
  std::map<Edge, int> printed;
  std::set<unsigned> printedVlans;
  for (const auto& vlan : document["vlans"].GetObject()) {
    const auto number = static_cast<unsigned>(std::stoul(vlan.name.GetString()));
    RC_ASSERT(printedVlans.insert(number).second);
    IntfId last;
    for (const auto& port : vlan.value["virtualPorts"].GetObject()) {
      const IntfId intf{std::string_view(port.name.GetString())};
      RC_ASSERT(last < intf);  // ascending, so nothing twice
      last = intf;
      const auto ethernet = static_cast<unsigned>(
          std::stoul(intf.stringValue().substr(std::string_view("Ethernet").size())));
      ++printed[{ethernet, number}];
    }
  }
  RC_ASSERT(printedVlans == mapped);
  for (const Edge& edge : throughout) {
    RC_ASSERT(printed[edge] == (mapped.contains(edge.second) ? 1 : 0));
  }
  for (const auto& [edge, times] : printed) RC_ASSERT(times == 0 || ever.contains(edge));
}

RC_GTEST_PROP(VxlanVlanDumpProperty, BytesAreTheSameAtEveryBudgetWhenNothingChanges, ()) {
  VxlanDumps t;
  for (int i = *rc::gen::inRange(0, 300); i > 0; --i) {
    const auto vlan = *rc::gen::inRange(1U, 30U);
    t.putEdge(*rc::gen::inRange(1U, 100U), vlan, 7);
    if (i % 2 == 0) t.mapVlan(vlan, vlan);
  }
  const auto format = *rc::gen::element<std::uint32_t>(Rendering::kText, Rendering::kJson);
  const auto dump = [&](const AgentCommand::SlicePolicy& policy) {
    const auto sm = t.makeVlanDump(format, true);
    sm->slicePolicyIs(policy);
    t.runToCompletion(*sm);
    return t.reader->received;
  };
  const std::string whole = dump({.outputWindow = std::size_t{1} << 40});
  RC_ASSERT(dump({.outputWindow = *rc::gen::inRange<std::size_t>(1, 3000),
                  .rowBudget = *rc::gen::inRange<std::uint32_t>(0, 50),
                  .silentBudget = *rc::gen::inRange<std::uint32_t>(1, 50)}) == whole);
}

RC_GTEST_PROP(VxlanRoutingInfoProperty, WorkListIsPrintedInOrderLessWhatIsTakenFromIt, ()) {
  VxlanDumps t;
  std::set<unsigned> left;
  for (const auto vlan : *rc::gen::container<std::vector<unsigned>>(rc::gen::inRange(1U, 200U))) {
    t.putVlanSvp(vlan, 7);
    left.insert(vlan);
  }
  std::set<unsigned> ever = left;
  const auto sm = t.makeRoutingInfo(Rendering::kJson);
  t.entryBudgetIs(*sm, *rc::gen::inRange<std::uint32_t>(1, 9));
  t.runToCompletion(*sm, [&] {
    const auto vlan = *rc::gen::inRange(1U, 200U);
    switch (*rc::gen::inRange(0, 3)) {
      case 0:
        sm->vlan2SvpDel(VlanId(vlan));
        left.erase(vlan);
        break;
      case 1:
        t.l2State->vlanToSvp.erase(VlanId(vlan));  // which the copy does not mind
        break;
      default:
        t.putVlanSvp(vlan, 8);
    }
  });
  const rapidjson::Document document = t.document();
  unsigned last = 0;
  std::set<unsigned> printed;
  for (const auto& vlan : document["vlans"].GetObject()) {
    const auto number = static_cast<unsigned>(std::stoul(vlan.name.GetString()));
    RC_ASSERT(number > last);
    RC_ASSERT(vlan.value["svp"].GetUint() == 7U);
    last = number;
    printed.insert(number);
    RC_ASSERT(ever.contains(number));
  }
  for (const unsigned vlan : left) RC_ASSERT(printed.contains(vlan));
}

}  // namespace
}  // namespace KorvoL2::Testing
