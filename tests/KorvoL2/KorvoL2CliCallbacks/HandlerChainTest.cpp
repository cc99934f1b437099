// The chains as tables, the rules that they keep, and how a command is offered to one.

#include <gmock/gmock.h>

#include <array>
#include <stdexcept>

#include "KorvoL2/KorvoL2CliCallbacks/FlexCounterHandlers.h"
#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/HandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"
#include "platform/base/Exceptions.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

/** Keyword and class of each row, as a handler made from it tells them. */
template <class Base>
std::vector<std::pair<std::string, std::string>> rowsOf(std::span<const ChainRow<Base>> chain) {
  std::vector<std::pair<std::string, std::string>> rows;
  for (const ChainRow<Base>& row : chain) {
    const Qel::Ptr<Base> handler = row.make(row.keyword);
    EXPECT_EQ(handler->cmdName(), row.keyword);
    EXPECT_EQ(handler->users(), 1U);
    rows.emplace_back(handler->cmdName(), handler->typeData().name);
  }
  return rows;
}

TEST(HandlerChainsTest, PlainCommandsInTheirOrder) {
  EXPECT_THAT(
      rowsOf(plainHandlerChain()),
      ElementsAre(
          Pair("EcmpOutputIntfTunnelId", "CliCallback::EcmpOutputIntfTunnelIdH"),
          Pair("EGR_MASK_STATUS", "CliCallback::EgrMaskStatusH"),
          Pair("EGR_VLAN_XLATE_STATUS_2", "CliCallback::EgrVlanXlateStatus2H"),
          Pair("FCVDS", "CliCallback::FcvdsH"), Pair("FCVDV", "CliCallback::FcvdvH"),
          Pair("HW_FIFOREG", "CliCallback::HwFiforegH"),
          Pair("HW_MCAST_ALL", "CliCallback::HwMcastAllH"),
          Pair("HW_MCAST_CLEAR", "CliCallback::HwMcastClearH"),
          Pair("HW_MCAST_DIFF", "CliCallback::HwMcastDiffH"),
          Pair("HW_MCAST_MCIDX+", "CliCallback::HwMcastMcidxH"),
          Pair("MCAST_ALL", "CliCallback::McastAllH"),
          Pair("PER_VLAN_ENTRY", "CliCallback::PerVlanEntryH"),
          Pair("ShadowShow", "CliCallback::ShadowShowH"),
          Pair("VLAN_XLATE_STATUS_2", "CliCallback::VlanXlateStatus2H"),
          Pair("VXLAN_DEBUG_STATE", "CliCallback::VxlanDebugStateH"),
          Pair("VXLAN_SVP_USAGE", "CliCallback::VxlanSvpUsageH"),
          Pair("VniEgressFlexCountersSummary", "CliCallback::VniEgressFlexCountersSummaryH"),
          Pair("VniEgressFlexCountersValues", "CliCallback::VniEgressFlexCountersValuesH"),
          Pair("VniIngressFlexCountersSummary", "CliCallback::VniIngressFlexCountersSummaryH"),
          Pair("VniIngressFlexCountersValues", "CliCallback::VniIngressFlexCountersValuesH"),
          Pair("VlanVfiMap", "CliCallback::VlanVfiMapH"), Pair("", "CliCallback::DefaultH")));
}

TEST(HandlerChainsTest, CommandsAnsweredAtOnceInTheirOrder) {
  EXPECT_THAT(rowsOf(formattedHandlerChain()),
              ElementsAre(Pair("VXLAN_VLAN_SUMMARY", "CliCallbackWithFormat::VxlanVlanSummaryH"),
                          Pair("", "CliCallbackWithFormat::DefaultH")));
}

TEST(HandlerChainsTest, CommandsWithAStateMachineInTheirOrder) {
  EXPECT_THAT(
      rowsOf(asyncHandlerChain()),
      ElementsAre(Pair("EGR_VLAN_XLATE_STATUS", "CliCallbackWithFormat::EgrVlanXlateStatusH"),
                  Pair("ING_VLAN_RANGE", "CliCallback::IngVlanRangeH"),
                  Pair("MACT_DIFF", "CliCallbackWithFormat::MactDiffH"),
                  Pair("MACT_HW_ALL", "CliCallbackWithFormat::MactHwAllH"),
                  Pair("MACT_MISSING", "CliCallbackWithFormat::MactMissingH"),
                  Pair("MACT_ALL", "CliCallbackWithFormat::MactAllH"),
                  Pair("VLAN_XLATE_STATUS", "CliCallbackWithFormat::VlanXlateStatusH"),
                  Pair("VXLAN_ROUTING_INFO", "CliCallbackWithFormat::VxlanRoutingInfoH"),
                  Pair("VXLAN_VLAN", "CliCallbackWithFormat::VxlanVlanH"),
                  Pair("", "CliCallbackWithFormat::DefaultAsyncH")));
}

TEST(HandlerChainsTest, AllKeepTheRules) {
  EXPECT_EQ(firstFaultyRow(plainHandlerChain()), plainHandlerChain().size());
  EXPECT_EQ(firstFaultyRow(formattedHandlerChain()), formattedHandlerChain().size());
  EXPECT_EQ(firstFaultyRow(asyncHandlerChain()), asyncHandlerChain().size());
}

constexpr ChainRow<CliCallback::Handler> row(std::string_view keyword) {
  return chainRow<CliCallback::Handler, CliCallback::FcvdsH>(keyword);
}

template <std::size_t size>
std::size_t faultIn(const std::array<ChainRow<CliCallback::Handler>, size>& chain) {
  return firstFaultyRow<CliCallback::Handler>(chain);
}

TEST(HandlerChainRulesTest, AKeywordTwiceIsAFault) {
  EXPECT_EQ(faultIn(std::array{row("A"), row("B"), row("A"), row("")}), 2U);
}

TEST(HandlerChainRulesTest, AKeywordBehindItsPrefixIsAFault) {
  EXPECT_EQ(faultIn(std::array{row("VLAN_XLATE"), row("VLAN_XLATE_2"), row("")}), 1U);
  EXPECT_EQ(faultIn(std::array{row("VLAN_XLATE_2"), row("VLAN_XLATE"), row("")}), 3U);
}

TEST(HandlerChainRulesTest, NothingStandsBehindTheRowThatTakesEverything) {
  EXPECT_EQ(faultIn(std::array{row("A"), row(""), row("B")}), 1U);
}

TEST(HandlerChainRulesTest, AChainEndsInTheRowThatTakesEverything) {
  EXPECT_EQ(faultIn(std::array{row("A"), row("B")}), 1U);
}

// A chain of the test's own, to watch what is called, in which order, with which argument text.

std::vector<std::string>& calls() {
  static std::vector<std::string> list;
  return list;
}

/** Takes what begins with its keyword, like any handler, and tells what it is asked. */
template <class Base, class Callback>
class Recording : public Base {
 public:
  using Base::Base;
  bool condition(const Qel::Ptr<Callback>& callback) const override {
    calls().push_back("condition " + this->cmdName() + " \"" + callback->arg() + "\"");
    return Base::condition(callback);
  }
};

class RecordingPlainH final : public Recording<CliCallback::Handler, CliCallback> {
 public:
  using Recording::Recording;
  void action(const Qel::Ptr<CliCallback>& callback) override {
    calls().push_back("action " + cmdName() + " \"" + callback->arg() + "\"");
    if (cmdName() == "THROW") throw std::runtime_error("thrown");
  }
};

class RecordingAsyncH final
    : public Recording<CliCallbackWithFormat::AsyncHandler, CliCallbackWithFormat> {
 public:
  using Recording::Recording;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override {
    calls().push_back("action " + cmdName() + " \"" + callback->arg() + "\"");
    return nullptr;
  }
};

constexpr std::array kRecordingChain{
    chainRow<CliCallback::Handler, RecordingPlainH>("ONE"),
    chainRow<CliCallback::Handler, RecordingPlainH>("THROW"),
    chainRow<CliCallback::Handler, RecordingPlainH>("ON"),
    chainRow<CliCallback::Handler, RecordingPlainH>(""),
};

class DispatchTest : public CallbackFixture {
 protected:
  DispatchTest() { calls().clear(); }
  void offer(const std::string& command) {
    plain->commandIs(command);
    dispatch<CliCallback::Handler>(kRecordingChain, plain, Qel::TraceSite("DispatchTest"),
                                   [this](const CliCallback::Handler& tested) {
                                     plain->argIs(plain->command().substr(std::min(
                                         tested.cmdName().size(), plain->command().size())));
                                   });
  }
};

TEST_F(DispatchTest, TheFirstWillingHandlerActsAndNoLaterOneIsAsked) {
  offer("ONE+x");
  EXPECT_THAT(calls(), ElementsAre("condition ONE \"+x\"", "action ONE \"+x\""));
  EXPECT_THAT(traced(5), ElementsAre("Executing handler ONE"));
}

TEST_F(DispatchTest, EachHandlerSeesTheArgumentTextBehindItsOwnKeyword) {
  offer("ON");
  EXPECT_THAT(calls(), ElementsAre("condition ONE \"\"", "condition THROW \"\"",
                                   "condition ON \"\"", "action ON \"\""));
  calls().clear();
  offer("ONCE UPON");
  EXPECT_THAT(calls(), ElementsAre("condition ONE \"E UPON\"", "condition THROW \"UPON\"",
                                   "condition ON \"CE UPON\"", "action ON \"CE UPON\""));
}

TEST_F(DispatchTest, TheLastRowSeesTheWholeCommand) {
  offer("other");
  EXPECT_EQ(calls().back(), "action  \"other\"");
}

TEST_F(DispatchTest, WhatAnActionThrowsPassesOn) {
  EXPECT_THROW(offer("THROW"), std::runtime_error);
  EXPECT_EQ(calls().back(), "action THROW \"\"");
}

TEST_F(DispatchTest, AChainInWhichNobodyIsWillingBreaksAnAssumption) {
  plain->commandIs("X");
  constexpr std::array kNobody{chainRow<CliCallback::Handler, RecordingPlainH>("ONE")};
  EXPECT_THROW(dispatch<CliCallback::Handler>(kNobody, plain, Qel::TraceSite("DispatchTest"),
                                              [](const CliCallback::Handler&) {}),
               Qel::AssertionException);
}

TEST_F(DispatchTest, AsynchronousHandlersGiveTheirMachineBack) {
  constexpr std::array kChain{
      chainRow<CliCallbackWithFormat::AsyncHandler, RecordingAsyncH>("A"),
      chainRow<CliCallbackWithFormat::AsyncHandler, CliCallbackWithFormat::DefaultAsyncH>(""),
  };
  formatted->commandIs("AB");
  const auto machine = dispatch<CliCallbackWithFormat::AsyncHandler>(
      kChain, formatted, Qel::TraceSite("DispatchTest"),
      [](const CliCallbackWithFormat::AsyncHandler&) {});
  EXPECT_EQ(machine, nullptr);
  EXPECT_THAT(calls(), ElementsAre("condition A \"\"", "action A \"\""));
}

}  // namespace
}  // namespace KorvoL2::Testing
