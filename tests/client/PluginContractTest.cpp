// The client and the plug-in are built apart and meet on the wire. Here they meet in one program:
// what a command line sends is given to the plug-in, over an agent of mocks.
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/ShadowShowHandlers.h"
#include "client/CommandLine.h"
#include "client/Value.h"
#include "platform/types/EthAddr.h"
#include "platform/types/IntfId.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoCtl {
namespace {

using KorvoL2::KorvoRouterMacSm;
using KorvoL2::ShadowShow;
using ::testing::_;
using ::testing::Contains;

// The request of a command line, chips already numbers.
Request requestOf(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  const CommandLine parsed = parseCommandLine(words, "");
  if (const auto* problem = std::get_if<Problem>(&parsed)) {
    throw std::invalid_argument(problem->message);
  }
  const auto& invocation = std::get<Invocation>(parsed);
  return std::get<Request>(invocation.row->build(*invocation.row, invocation.arguments));
}

// Every keyword that rows send through an entry: their own and those that options put in its place.
std::vector<std::string_view> keywordsOf(Entry entry) {
  std::vector<std::string_view> keywords;
  for (const CommandRow& row : commandTable()) {
    if (row.entry != entry) {
      continue;
    }
    keywords.push_back(row.keyword);
    for (const CommandOption& option : row.options) {
      if (option.replacesKeyword) {
        keywords.push_back(option.text);
      }
    }
  }
  return keywords;
}

// The first keyword of a chain that takes a command; "" when none does.
template <class Chain>
std::string_view takenBy(const Chain& chain, std::string_view command) {
  for (const auto& handler : chain) {
    if (command.starts_with(handler.keyword)) {
      return handler.keyword;
    }
  }
  return {};
}

// That a chain and the rows of an entry name the same keywords.
template <class Chain>
void expectSameKeywords(const Chain& chain, Entry entry) {
  std::vector<std::string_view> reached;
  for (const std::string_view keyword : keywordsOf(entry)) {
    const std::string_view handler = takenBy(chain, keyword);
    EXPECT_FALSE(handler.empty()) << "no handler takes " << keyword;
    reached.push_back(handler);
  }
  for (const auto& handler : chain) {
    if (!handler.keyword.empty()) {
      EXPECT_THAT(reached, Contains(handler.keyword)) << "no command reaches it";
    }
  }
}

TEST(PluginKeywordsTest, EveryPlainHandlerHasACommandAndEveryPlainCommandAHandler) {
  expectSameKeywords(KorvoL2::plainHandlerChain(), Entry::kPlain);
}

TEST(PluginKeywordsTest, EveryFormattedHandlerHasACommandAndEveryFormattedCommandAHandler) {
  expectSameKeywords(KorvoL2::formattedHandlerChain(), Entry::kSync);
  expectSameKeywords(KorvoL2::asyncHandlerChain(), Entry::kAsync);
}

TEST(PluginKeywordsTest, EveryShadowTableHasACommandAndEveryShadowCommandATable) {
  const std::string prefix = "ShadowShow+";
  std::vector<std::string> tables;
  for (const auto& table : KorvoL2::CliCallback::ShadowShowH::tables()) {
    tables.push_back(prefix + std::string(table.keyword));
  }
  std::vector<std::string> commands;
  for (const std::string_view keyword : keywordsOf(Entry::kPlain)) {
    if (keyword.starts_with(prefix)) {
      commands.emplace_back(keyword);
    }
  }
  EXPECT_THAT(commands, ::testing::UnorderedElementsAreArray(tables));
}

class PluginContractTest : public KorvoL2::Testing::CallbackFixture {
 protected:
  PluginContractTest() { world.chipIs({.ingVlanXlate = true, .egrVlanXlate = true}); }

  // Gives what the command line sends to the plain callback.
  void give(const std::string& line) {
    const Request request = requestOf(line);
    ASSERT_EQ(request.entry, Entry::kPlain) << line;
    openSocket();
    runPlain(request.command);
  }
};

TEST_F(PluginContractTest, MulticastOptionsReachTheHelper) {
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(_, false, true, 0U));
  give("show multicast groups hardware");
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(_, true, true, 0U));
  give("show multicast groups hardware --differences");
  EXPECT_CALL(*world.mcastHelper, showHwMcastGroupTable(_, false, false, 37U));
  give("show multicast groups hardware --index 37");
  EXPECT_CALL(*world.mcastHelper, showMcastGroupTable(_));
  give("show multicast groups");
  EXPECT_CALL(*world.mcastHelper, clearShadowMcastGroupTable());
  give("clear multicast shadow");
}

TEST_F(PluginContractTest, RouterMacOptionsReachTheStateMachine) {
  using Show = KorvoRouterMacSm::ShowKind;
  const Bridging::EthAddr mac(0x001122334455);
  EXPECT_CALL(*world.routerMac,
              handleShowCommand(_, Bridging::EthAddr(), Bridging::VlanId(1), Show::all));
  give("show router-mac");
  EXPECT_CALL(*world.routerMac,
              handleShowCommand(_, Bridging::EthAddr(), Bridging::VlanId(4094), Show::vlan));
  give("show router-mac --vlan 4094");
  EXPECT_CALL(*world.routerMac, handleShowCommand(_, mac, Bridging::VlanId(1), Show::mac)).Times(2);
  give("show router-mac --mac 0011.2233.4455");
  give("show router-mac --mac 00:11:22:33:44:55");
}

TEST_F(PluginContractTest, ShadowOptionsReachThePrinter) {
  EXPECT_CALL(*world.ringManager, showVlanXlate2Entries)
      .WillOnce([](std::uint32_t, const Qel::Ptr<ShadowShow>& given) {
        EXPECT_TRUE(given->raw && given->entryIdSet && !given->allEntries);
        EXPECT_EQ(given->entryId, 17U);
        EXPECT_EQ(given->chip, 3U);
      });
  give("show shadow vlan-xlate-2 --raw --entry 17 --chip 3");
  EXPECT_CALL(*world.ringManager, showVlanXlate2Entries)
      .WillOnce([](std::uint32_t, const Qel::Ptr<ShadowShow>& given) {
        EXPECT_TRUE(!given->raw && !given->entryIdSet && given->allEntries);
        EXPECT_EQ(given->chip, std::uint32_t{Tessar::FapId::null});
      });
  give("show shadow vlan-xlate-2 --all");
}

TEST_F(PluginContractTest, ShadowCommandsReachTheTablesOfTheirNames) {
  EXPECT_CALL(*world.ringManager, showVlanXlateEntries);
  give("show shadow vlan-xlate");
  EXPECT_CALL(*world.ringManager, showEgrVlanXlateEntries);
  give("show shadow egress-vlan-xlate --chip 0");
  EXPECT_CALL(*world.ringManager, showEgrVlanXlate2Entries);
  give("show shadow egress-vlan-xlate-2");
  EXPECT_CALL(*world.ringManager, showVfiTable);
  give("show shadow vfi");
  EXPECT_CALL(*world.ringManager, showEgrVfiTable);
  give("show shadow egress-vfi");
  EXPECT_CALL(*world.ringManager, sourceVpTable);
  EXPECT_CALL(*world.sourceVp, show);
  give("show shadow source-vp");
  EXPECT_CALL(*world.ringManager, ivtapTable);
  EXPECT_CALL(*world.ivtap, show);
  give("show shadow ingress-tag-actions");
  EXPECT_CALL(*world.ringManager, evtapTable);
  EXPECT_CALL(*world.evtap, show);
  give("show shadow egress-tag-actions");
}

// A text of the characters that addresses and names are made of, and those that stand between.
rc::Gen<std::string> likelyText() {
  const std::string alphabet = "0123456789abcdefABCDEF0000::::....gGE/+-, =\n\t";
  return rc::gen::container<std::string>(rc::gen::elementOf(alphabet));
}

RC_GTEST_PROP(PluginValuesTest, ClientAndAgentReadTheSameAddresses, ()) {
  std::string text = *rc::gen::oneOf(likelyText(), rc::gen::just(std::string("0011.22aB.ccdd")),
                                     rc::gen::just(std::string("00:11:22:aB:cc:dd")));
  if (!text.empty() && *rc::gen::arbitrary<bool>()) {
    text.at(*rc::gen::inRange<std::size_t>(0, text.size())) =
        *rc::gen::elementOf(std::string("0aF:.g "));
  }
  RC_ASSERT(problemWith(ValueKind::kMac, text).empty() ==
            Bridging::EthAddr::parse(text).has_value());
}

RC_GTEST_PROP(PluginValuesTest, ClientTakesNoInterfaceThatTheAgentRefuses, ()) {
  const std::string text = *likelyText();
  RC_PRE(problemWith(ValueKind::kInterface, text).empty());
  RC_ASSERT(Bridging::IntfId(text).stringValue() == text);
  RC_ASSERT(text.find_first_of(",\n") == std::string::npos);
}

TEST_F(PluginContractTest, DestinationIsLookedUpByVlanOrByInterface) {
  const Bridging::EthAddr mac(0x001122334455);
  world.remoteMacs.put({10, mac}, {.tunnelId = 4711});
  // An interface whose name looks like another key of the command.
  const std::string member = "vlan-id=11";
  world.lagMembership.put(Bridging::IntfId(member), Bridging::IntfId("Port-Channel1"));
  world.switchports.put(Bridging::IntfId("Port-Channel1"), {.nativeVlan = 10});
  give("show vxlan destination 0011.2233.4455 --vlan 10");
  EXPECT_EQ(answer(), "4711");
  give("show vxlan destination 00:11:22:33:44:55 --interface " + member);
  EXPECT_EQ(answer(), "4711");
  give("show vxlan destination 0011.2233.4455 --vlan 11");
  EXPECT_EQ(answer(), "");
}

TEST_F(PluginContractTest, CountersAndTranslationsReachTheirPrinters) {
  using KorvoL2::CounterDirection;
  EXPECT_CALL(*world.flexCounter, showVniFlexCountersValues(_, CounterDirection::ingress));
  give("show vxlan counters vni ingress");
  EXPECT_CALL(*world.flexCounter, showVniFlexCountersValues(_, CounterDirection::egress));
  give("show vxlan counters vni egress");
  EXPECT_CALL(*world.flexCounter, showVniIngressFlexCountersSummary(_));
  give("show vxlan counters vni ingress summary");
  EXPECT_CALL(*world.flexCounter, showVniEgressFlexCountersSummary(_));
  give("show vxlan counters vni egress summary");
  EXPECT_CALL(*world.flexCounter, showVtepDecapFlexCountersValues(_));
  give("show vxlan counters vtep decap");
  EXPECT_CALL(*world.flexCounter, showVtepDecapFlexCountersSummary(_));
  give("show vxlan counters vtep decap summary");
  EXPECT_CALL(*world.vlanXlate2, showVlanXlate2(_));
  give("show vlan translation ingress stage-2");
  EXPECT_CALL(*world.egrVlanXlate, showEgrVlanXlate(_, true));
  give("show vlan translation egress stage-2");
  EXPECT_CALL(*world.vfiAllocator, showVlanVfiMap(_));
  give("show vlan vfi");
  EXPECT_CALL(*world.vxlan, showSoftwareVxlanDebugInfo(_));
  give("show vxlan debug");
  EXPECT_CALL(*world.svp, showVirtualPorts(_));
  give("show vxlan virtual-ports");
  EXPECT_CALL(*world.mlag, showEgrMaskStatus(_));
  give("show mlag egress-mask");
}

}  // namespace
}  // namespace KorvoCtl
