// What the attributes of all machines have in common: setters publish, and a machine lets go of
// what it holds once its answer is out.

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/KorvoL2/MachineFamilies.h"
#include "tests/KorvoL2/SetterWalk.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::VlanId;

constexpr std::string_view kEveryMachine = "platform/command/AgentAsyncCommandRequestSm.h";

class MachineAttributes : public MachineFamilies {
 protected:
  using Setters = std::vector<Setter>;

  /** `own` are those of the machine's class, declared in `headers`. */
  static void expectPublish(AgentCommand::AgentAsyncCommandRequestSm& sm, Setters own,
                            std::initializer_list<std::string_view> headers) {
    own.push_back(setter("slicePolicy", [&sm] { sm.slicePolicyIs({.rowBudget = 77}); }));
    own.push_back(setter("executionCompleteFlag", [&sm] { sm.executionCompleteFlagIs(true); }));
    std::set<std::string> declared = settersDeclaredIn({kEveryMachine});
    declared.merge(settersDeclaredIn(headers));
    expectSettersPublish(sm, own, declared);
  }
  /** The set of chips; `members` is its reader. */
  template <class Sm, class Members>
  static void addChipSetters(Setters& setters, const std::string& attribute, Sm& sm,
                             Members members) {
    for (const unsigned id : {5U, 6U}) {
      setters.push_back({"fapIs", attribute, [&sm, id] { sm.fapIs(id); }});
    }
    setters.push_back({"fapDel", attribute, [&sm] { sm.fapDel(5); }});
    setters.push_back(
        {"fapDel", attribute, [&sm, members] { sm.fapDel((sm.*members)().begin()); }, [] {}});
    setters.push_back({"fapIs", attribute, [&sm] { sm.fapIs(7); }});
    setters.push_back({"fapDelAll", attribute, [&sm] { sm.fapDelAll(); }});
  }
  template <class Sm>
  static void addTable(Setters& setters, Sm& sm) {
    const auto table = [&sm] {
      sm.tableRendererIs(std::make_unique<Rendering::TableRenderer>(
          sm.renderer(), std::vector<Rendering::ColumnFormatter>{{6, 0, 1, 1, true, 0}}, true,
          false));
    };
    setters.push_back({"tableRendererIs", "tableRenderer", table, [] {}});
    setters.push_back({"tableRendererIs", "tableRenderer", [&sm] { sm.tableRendererIs(nullptr); }});
  }
};

TEST_F(MachineAttributes, SoftwareTableSettersPublish) {
  const auto sm = swTable(kText);
  expectPublish(*sm,
                {setter("inProgress", [&] { sm->inProgressIs(true); }),
                 setter("printHeader", [&] { sm->printHeaderIs(false); }),
                 setter("bookmark", [&] { sm->bookmarkIs(macKey(7, 7)); })},
                {"KorvoL2/KorvoL2CliAsyncRequestSmBase/L2SwTableRequestSmBase.h",
                 "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"});
  EXPECT_EQ(sm->bookmark(), macKey(7, 7));
}

TEST_F(MachineAttributes, HardwareTableSettersPublish) {
  const auto sm = hwTable(kText);
  Setters setters{setter("ready", [&] { sm->readyIs(true); }),
                  setter("chipInProgress", [&] { sm->chipInProgressIs(true); }),
                  setter("fapBookmark", [&] { sm->fapBookmarkIs(7); }),
                  setter("bookmark", [&] { sm->bookmarkIs(macKey(7, 7)); })};
  addChipSetters(setters, "fapIdList", *sm, &L2HwTableRequestSm::fapIdList);
  addTable(setters, *sm);
  expectPublish(*sm, setters,
                {"KorvoL2/KorvoL2CliAsyncRequestSmBase/L2HwTableRequestSmBase.h",
                 "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"});
}

TEST_F(MachineAttributes, DifferenceCheckSettersPublish) {
  const auto sm = diffCheck(kText);
  sm->fapDelAll();
  Setters setters{
      setter("inProgress", [&] { sm->inProgressIs(true); }),
      setter("l2TableReadDone", [&] { sm->l2TableReadDoneIs(true); }),
      setter("bookmark", [&] { sm->bookmarkIs(macKey(7, 7)); }),
      setter("numReq", [&] { sm->numReqIs(7); }),
      {"numReqInc", "numReq", [&] { sm->numReqInc(1); }, [&] { sm->numReqInc(0); }},
      setter("diffCount", [&] { sm->diffCountIs(7); }),
      {"diffCountInc", "diffCount", [&] { sm->diffCountInc(1); }, [&] { sm->diffCountInc(0); }},
      {"diffEntryTableIs", "diffEntryTable", [&] { sm->diffEntryTableIs(); }, [] {}},
      {"diffEntryTableDel", "diffEntryTable", [&] { sm->diffEntryTableDel(); }}};
  addChipSetters(setters, "fap", *sm, &L2MacDiffRequestSm::fap);
  addTable(setters, *sm);
  expectPublish(*sm, setters,
                {"KorvoL2/KorvoL2CliAsyncRequestSm/L2MacCheckRequestSmBase.h",
                 "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"});
  EXPECT_EQ(sm->numReq(), 8U);
  EXPECT_EQ(sm->diffCount(), 8U);
  EXPECT_EQ(sm->diffEntryTable(), nullptr);
}

TEST_F(MachineAttributes, MissingCheckSettersPublish) {
  const auto sm = missingCheck(kText);
  sm->fapDelAll();
  Setters setters{
      setter("inProgress", [&] { sm->inProgressIs(true); }),
      setter("l2TableReadDone", [&] { sm->l2TableReadDoneIs(true); }),
      setter("bookmark", [&] { sm->bookmarkIs(L2HwEntryKey(7, Bridging::EthAddr(7), 3)); }),
      setter("numReq", [&] { sm->numReqIs(7); }),
      {"numReqInc", "numReq", [&] { sm->numReqInc(1); }, [&] { sm->numReqInc(0); }},
      setter("hwMissingCount", [&] { sm->hwMissingCountIs(7); }),
      {"hwMissingCountInc", "hwMissingCount", [&] { sm->hwMissingCountInc(1); },
       [&] { sm->hwMissingCountInc(0); }},
      setter("swMissingCount", [&] { sm->swMissingCountIs(7); }),
      {"swMissingCountInc", "swMissingCount", [&] { sm->swMissingCountInc(1); },
       [&] { sm->swMissingCountInc(0); }},
      setter("moduleCount", [&] { sm->moduleCountIs("Chip0", 0); }),
      setter("moduleCount", [&] { sm->moduleCountIs("Chip1", 2); }),
      {"moduleCountDel", "moduleCount", [&] { sm->moduleCountDel("Chip0"); }},
      {"moduleCountDelAll", "moduleCount", [&] { sm->moduleCountDelAll(); }},
      {"missingEntryTableIs", "missingEntryTable", [&] { sm->missingEntryTableIs(); }, [] {}},
      {"missingEntryTableDel", "missingEntryTable", [&] { sm->missingEntryTableDel(); }}};
  addChipSetters(setters, "fap", *sm, &L2MacMissingRequestSm::fap);
  addTable(setters, *sm);
  expectPublish(*sm, setters,
                {"KorvoL2/KorvoL2CliAsyncRequestSm/L2MacCheckRequestSmBase.h",
                 "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"});
}

TEST_F(MachineAttributes, VxlanVlanSettersPublish) {
  const auto sm = makeVlanDump(kText, true);
  const auto list = vpListFactory();
  expectPublish(*sm,
                {setter("inProgress", [&] { sm->inProgressIs(true); }),
                 setter("bookmark", [&] { sm->bookmarkIs(VlanId(7)); }),
                 setter("vpList", [&] { sm->vpListIs(list); }),
                 setter("vpListBuilt", [&] { sm->vpListBuiltIs(true); }),
                 setter("vlanMapping", [&] { sm->vlanMappingIs(VlanId(10)); }),
                 setter("vlanMapping", [&] { sm->vlanMappingIs(VlanId(11)); }),
                 {"vlanMappingDel", "vlanMapping", [&] { sm->vlanMappingDel(VlanId(10)); }},
                 {"vlanMappingDelAll", "vlanMapping", [&] { sm->vlanMappingDelAll(); }}},
                {"KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"});
  EXPECT_EQ(sm->vpList(), list);
  EXPECT_FALSE(sm->vlanMappingHas(VlanId(11)));
}

TEST_F(MachineAttributes, RoutingInfoSettersPublish) {
  const auto sm = makeRoutingInfo(kText);
  const auto port = [&](std::uint16_t number) { sm->vlan2SvpIs(VlanId(10), {.number = number}); };
  expectPublish(*sm,
                {setter("inProgress", [&] { sm->inProgressIs(true); }),
                 setter("printHeader", [&] { sm->printHeaderIs(false); }),
                 setter("bookmark", [&] { sm->bookmarkIs(VlanId(7)); }),
                 setter("vlan2Svp", [&] { port(1); }),
                 setter("vlan2Svp", [&] { port(2); }),
                 setter("vlan2Svp", [&] { sm->vlan2SvpIs(VlanId(11), {}); }),
                 {"vlan2SvpDel", "vlan2Svp", [&] { sm->vlan2SvpDel(VlanId(11)); }},
                 {"vlan2SvpDelAll", "vlan2Svp", [&] { sm->vlan2SvpDelAll(); }}},
                {"KorvoL2/KorvoL2CliAsyncRequestSmBase/L2RoutingInfoRequestSmBase.h",
                 "KorvoL2/KorvoL2CliAsyncRequestSm/L2RoutingInfoRequestSm.h"});
  port(3);
  EXPECT_EQ(sm->vlan2Svp(VlanId(10)), (VirtualPort{.number = 3}));
  EXPECT_EQ(sm->vlan2SvpGet(VlanId(10)), (VirtualPort{.number = 3}));
  EXPECT_EQ(sm->vlan2Svp(VlanId(11)), VirtualPort{});
}

TEST_F(MachineAttributes, VlanRangeSettersPublish) {
  const auto publish = [](IngVlanRangeRequestSmBase& sm, std::string_view header) {
    expectPublish(sm,
                  {setter("inProgress", [&] { sm.inProgressIs(true); }),
                   setter("intfId", [&] { sm.intfIdIs(IntfId("Ethernet2")); })},
                  {"KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanRangeRequestSmBase.h", header});
  };
  publish(*start(kText), "KorvoL2/KorvoL2CliAsyncRequestSm/IngVlanRangeRequestSm.h");
  publish(*startDynamic(kText), "KorvoL2/KorvoL2CliAsyncRequestSm/IngDynamicVlanRangeRequestSm.h");
}

TEST_F(MachineAttributes, IngressTranslationSettersPublish) {
  const auto sm = startIng(kText);
  const auto key = portVlan("Ethernet1", 5);
  expectPublish(
      *sm,
      {setter("inProgress", [&] { sm->inProgressIs(true); }),
       setter("yielding", [&] { sm->yieldingIs(true); }),
       setter("vlanXlateDipStarted", [&] { sm->vlanXlateDipStartedIs(true); }),
       setter("vlanXlateDipComplete", [&] { sm->vlanXlateDipCompleteIs(true); }),
       setter("vlanXlateDipBookmark", [&] { sm->vlanXlateDipBookmarkIs(IpAddr("1.1.1.1")); }),
       setter("vlanSvpStatusStarted", [&] { sm->vlanSvpStatusStartedIs(true); }),
       setter("vlanSvpStatusComplete", [&] { sm->vlanSvpStatusCompleteIs(true); }),
       setter("vlanSvpStatusBookmark", [&] { sm->vlanSvpStatusBookmarkIs(VlanId(5)); }),
       setter("portVlanXlateStatusStarted", [&] { sm->portVlanXlateStatusStartedIs(true); }),
       setter("portVlanXlateStatusComplete", [&] { sm->portVlanXlateStatusCompleteIs(true); }),
       setter("portVlanXlateStatusBookmark", [&] { sm->portVlanXlateStatusBookmarkIs(key); })},
      {"KorvoL2/KorvoL2CliAsyncRequestSmBase/VlanXlateSwRequestSmBase.h",
       "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanXlateSwRequestSmBase.h"});
  EXPECT_TRUE(sm->vlanSvpStatusStarted());
  EXPECT_EQ(sm->portVlanXlateStatusBookmark(), key);
}

TEST_F(MachineAttributes, EgressTranslationSettersPublish) {
  const auto sm = startEgr(kText);
  const auto key = portVlan("Ethernet1", 5);
  const Bridging::VlanIpVerKey version(VlanId(5), true);
  expectPublish(
      *sm,
      {setter("inProgress", [&] { sm->inProgressIs(true); }),
       setter("yielding", [&] { sm->yieldingIs(true); }),
       setter("egrVlanXlateVfiStarted", [&] { sm->egrVlanXlateVfiStartedIs(true); }),
       setter("egrVlanXlateVfiComplete", [&] { sm->egrVlanXlateVfiCompleteIs(true); }),
       setter("egrVlanXlateVfiBookmark", [&] { sm->egrVlanXlateVfiBookmarkIs(version); }),
       setter("egrPortVlanXlateStarted", [&] { sm->egrPortVlanXlateStartedIs(true); }),
       setter("egrPortVlanXlateComplete", [&] { sm->egrPortVlanXlateCompleteIs(true); }),
       setter("egrPortVlanXlateBookmark", [&] { sm->egrPortVlanXlateBookmarkIs(key); }),
       setter("egrVxlanVlanXlateStarted", [&] { sm->egrVxlanVlanXlateStartedIs(true); }),
       setter("egrVxlanVlanXlateComplete", [&] { sm->egrVxlanVlanXlateCompleteIs(true); }),
       setter("egrVxlanVlanXlateBookmark", [&] { sm->egrVxlanVlanXlateBookmarkIs(key); })},
      {"KorvoL2/KorvoL2CliAsyncRequestSmBase/VlanXlateSwRequestSmBase.h",
       "KorvoL2/KorvoL2CliAsyncRequestSmBase/EgrVlanXlateSwRequestSmBase.h"});
  EXPECT_EQ(sm->egrVlanXlateVfiBookmark(), version);
  EXPECT_TRUE(sm->egrVxlanVlanXlateComplete());
}

TEST_F(MachineAttributes, TakingAMachineIntoServiceIsPublished) {
  std::vector<std::string> heard;
  const auto sm = swTable(kText);
  const auto fresh = L2SwTableRequestSmIs("request-2", request(kText), kBudget,
                                          RequestHarness::clock, helper.get());
  fresh->publisher().subscribe(
      [&heard](const Qel::Entity&, std::string_view attribute) { heard.emplace_back(attribute); });
  fresh->handleInitialized();
  fresh->handleInitialized();
  EXPECT_THAT(heard, ::testing::ElementsAre("initialized"));
  fresh->hasNotificationActiveIs(false);
}

// The bookmark is published by the slice that leaves it behind, once.
TEST_F(MachineAttributes, ASliceThatYieldsPublishesItsBookmark) {
  for (const Family& family : families()) {
    const Machine sm = family.make(kText);
    rowBudgetIs(*sm, 2);
    std::size_t bookmarks = 0;
    const auto subscription =
        sm->publisher().subscribe([&](const Qel::Entity&, std::string_view attribute) {
          if (attribute.ends_with("ookmark") || attribute == "intfId") ++bookmarks;
        });
    sm->runCommand();
    EXPECT_EQ(sm->rows(), 2U) << family.name;
    EXPECT_EQ(bookmarks, 1U) << family.name;
    sm->publisher().cancel(subscription);
  }
}

// Whoever hears that a machine lets go of its chips, its table or its VLANs finds the answer sent.
TEST_F(MachineAttributes, TheAnswerIsOutBeforeWhatItCameFromIsReleased) {
  for (const std::uint32_t format : {Rendering::kText, Rendering::kJson}) {
    for (const Family& family : families()) {
      const Machine sm = family.make(format);
      std::vector<std::pair<std::size_t, std::string>> heard;
      const auto subscription =
          sm->publisher().subscribe([&](const Qel::Entity&, std::string_view attribute) {
            if (sm->renderer().buffer().pending() == 0) {
              heard.emplace_back(reader->received.size(), attribute);
            }
          });
      runToCompletion(*sm);
      sm->publisher().cancel(subscription);
      std::vector<std::string> atTheEnd;
      for (const auto& [sent, attribute] : heard) {
        if (sent == reader->received.size()) atTheEnd.push_back(attribute);
      }
      std::vector<std::string> expected;
      if (family.name == "L2HwTableRequestSm") expected = {"tableRenderer", "fapIdList"};
      if (family.name.starts_with("L2Mac")) expected = {"fap", "tableRenderer"};
      if (family.name == "L2VxlanVlanRequestSmBase") expected = {"vlanMapping"};
      if (family.name == "L2RoutingInfoRequestSm") expected = {"vlan2Svp"};
      expected.emplace_back("executionCompleteFlag");
      expected.emplace_back(family.name == "L2HwTableRequestSm" ? "ready" : "inProgress");
      EXPECT_EQ(atTheEnd, expected) << family.name;
    }
  }
}

}  // namespace
}  // namespace KorvoL2::Testing
