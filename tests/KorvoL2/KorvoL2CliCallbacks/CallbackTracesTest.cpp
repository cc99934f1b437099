// Where the trace lines of the callbacks and their handlers come from.

#include <gmock/gmock.h>

#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::Return;

class CallbackTraces : public CallbackFixture {
 protected:
  /** "class::function unit" of the last line with that message; forgets all lines. */
  std::string siteOf(const std::string& message) {
    std::string site = "none";
    for (const auto& line : traces->lines()) {
      if (line.message != message) continue;
      EXPECT_GT(line.line, 0);
      site = line.className + "::" + line.function + " " + line.unit;
    }
    traces->clear();
    return site;
  }
  static inline const std::string kPlain = "KorvoL2::CliCallback::handleCommand CliCallback.cpp";
  static inline const std::string kCommon =
      "KorvoL2::CliCallbackWithFormat::handleCommandCommon CliCallbackWithFormat.cpp";
};

TEST_F(CallbackTraces, AHandlerIsExecutedByTheEntryThatGotTheCommand) {
  runPlain("X");
  EXPECT_EQ(siteOf("Executing handler "), kPlain);
  runFormatted("VXLAN_VLAN_SUMMARY");
  EXPECT_EQ(siteOf("Executing handler VXLAN_VLAN_SUMMARY"),
            "KorvoL2::CliCallbackWithFormat::handleCommand CliCallbackWithFormat.cpp");
  createMachine("MACT_ALL");
  EXPECT_EQ(siteOf("Executing handler MACT_ALL"),
            "KorvoL2::CliCallbackWithFormat::createAgentAsyncCommandRequestSm "
            "CliCallbackWithFormat.cpp");
}

TEST_F(CallbackTraces, EntriesNameThemselves) {
  runFormatted("X", Rendering::kJson);
  EXPECT_EQ(siteOf("socket: " + std::to_string(socket()) + " command: X outputFormat: 2"),
            "KorvoL2::CliCallbackWithFormat::handleCommand CliCallbackWithFormat.cpp");
  createMachine("X");
  EXPECT_EQ(siteOf("command: X"),
            "KorvoL2::CliCallbackWithFormat::createAgentAsyncCommandRequestSm "
            "CliCallbackWithFormat.cpp");
}

TEST_F(CallbackTraces, ReadinessIsCheckedByTheFunctionsThatReadersKnow) {
  const auto expectBoth = [this](const std::string& message) {
    runPlain("X");
    EXPECT_EQ(siteOf(message), kPlain);
    runFormatted("X");
    EXPECT_EQ(siteOf(message), kCommon);
    createMachine("X");
    EXPECT_EQ(siteOf(message), kCommon);
  };
  world.unicastReady = false;
  expectBoth("l2 agent not ready");
  world.unicastInitialized = false;
  expectBoth("unicast agent not initialized");
  ON_CALL(*world.agent, unicastAgent).WillByDefault(Return(nullptr));
  expectBoth("no unicast agent");
  plain->l2AgentIs(nullptr);
  formatted->l2AgentIs(nullptr);
  expectBoth("no l2 agent");
}

TEST_F(CallbackTraces, WhatThePlainEntryNeedsBesides) {
  ON_CALL(*world.agent, mcast).WillByDefault(Return(nullptr));
  runPlain("X");
  EXPECT_EQ(siteOf("no mcastHelper"), kPlain);
  ON_CALL(*world.macHelper, macTblShadow).WillByDefault(Return(nullptr));
  runPlain("X");
  EXPECT_EQ(siteOf("no macTblShadow"), kPlain);
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  runPlain("X");
  EXPECT_EQ(siteOf("no macAddrSmHelper"), kPlain);
}

TEST_F(CallbackTraces, HandlersTraceUnderTheirOwnNames) {
  ON_CALL(*world.unicast, vxlanL2Sm).WillByDefault(Return(nullptr));
  ON_CALL(*world.unicast, svpManager).WillByDefault(Return(nullptr));
  runPlain("VXLAN_DEBUG_STATE");
  EXPECT_EQ(siteOf("no vxlanL2 Sm"), "CliCallback::VxlanDebugStateH::action VxlanHandlers.cpp");
  runPlain("VXLAN_SVP_USAGE");
  EXPECT_EQ(siteOf("no svp mgr"), "CliCallback::VxlanSvpUsageH::action VxlanHandlers.cpp");
  runFormatted("VXLAN_VLAN_SUMMARY");
  EXPECT_EQ(siteOf("no vxlanL2 Sm"),
            "CliCallbackWithFormat::VxlanVlanSummaryH::condition VxlanHandlers.cpp");
  ON_CALL(*world.macHelper, macTblShadow).WillByDefault(Return(nullptr));
  createMachine("MACT_ALL");
  EXPECT_EQ(siteOf("no macTblShadow"),
            "CliCallbackWithFormat::AsyncHandler::macHelperCondition FormattedHandler.cpp");
  ON_CALL(*world.agent, macAddrSmHelper).WillByDefault(Return(nullptr));
  createMachine("MACT_ALL");
  EXPECT_EQ(siteOf("no macAddrSmHelp"),
            "CliCallbackWithFormat::AsyncHandler::macHelperCondition FormattedHandler.cpp");
}

}  // namespace
}  // namespace KorvoL2::Testing
