// Thousands of made-up commands through both callbacks: whatever comes in, every command ends as
// one of the few things that a command may end as, and leaves nothing behind.

#include <gmock/gmock.h>

#include <array>
#include <random>
#include <sstream>

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"
#include "platform/base/Exceptions.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"

namespace KorvoL2::Testing {
namespace {

constexpr unsigned kSeed = 20240917;
constexpr int kCommands = 6000;

class RandomCommandsTest : public CallbackFixture {
 protected:
  RandomCommandsTest() : CallbackFixture(Unexpected::isIgnored) {
    Qel::traceHandle("KorvoL2CliCallbacks").levelIs(5);
    world.tableFeature = Qel::makePtr<ChipL2TableFeature>();
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
  bool oneIn(unsigned n) { return below(n) == 0; }

  std::string randomBytes(unsigned most) {
    std::string bytes(below(most + 1), '\0');
    for (char& c : bytes) c = static_cast<char>(below(256));
    return bytes;
  }

  /** Keywords, options and numbers in likely and unlikely order, cut short and spoiled at times. */
  std::string randomCommand() {
    static constexpr std::array<std::string_view, 36> kPieces{"+",
                                                              "++",
                                                              ",",
                                                              "=",
                                                              "_VLAN-",
                                                              "_MAC-",
                                                              "RAW",
                                                              "ALLENTRIES",
                                                              "VAL",
                                                              "CHIP",
                                                              "EGR_VFI",
                                                              "EGR_XLATE_2",
                                                              "VFI",
                                                              "EGR_XLATE",
                                                              "EVTAP",
                                                              "IVTAP",
                                                              "SOURCE_VP",
                                                              "VLAN_XLATE_2",
                                                              "detail",
                                                              "VLAN_XLATE",
                                                              "dst-mac",
                                                              "vlan-id",
                                                              "ingress-intf-id",
                                                              "Ethernet1",
                                                              "0",
                                                              "1",
                                                              "4094",
                                                              "4095",
                                                              "128",
                                                              "-7",
                                                              "4294967296",
                                                              "99999999999999999999",
                                                              "0011.2233.4455",
                                                              "00:11:22:33:44:55",
                                                              " ",
                                                              "x"};
    std::string command;
    if (!oneIn(8)) {
      const auto chain = plainHandlerChain();
      const auto asyncChain = asyncHandlerChain();
      command = oneIn(6) ? asyncChain[below(static_cast<unsigned>(asyncChain.size()))].keyword
                         : chain[below(static_cast<unsigned>(chain.size()))].keyword;
    }
    for (unsigned pieces = below(8); pieces > 0; --pieces) {
      if (!oneIn(3)) command += '+';
      command += oneIn(10) ? randomBytes(6) : std::string(kPieces[below(kPieces.size())]);
    }
    if (oneIn(20)) command.resize(below(static_cast<unsigned>(command.size()) + 1));
    if (oneIn(50)) command += std::string(below(1000), '+') + "x";
    return command;
  }

  /** Changes what the agent has and can do. */
  void shakeWorld() {
    world.l2TableMode = oneIn(4);
    world.hwTableStateAvailable = !oneIn(4);
    world.modulePresent = !oneIn(4);
    world.unicastReady = !oneIn(10);
    world.maxMulticastGroups = below(3) * 4096;
    if (oneIn(5)) {
      world.chipIsUnknown();
    } else {
      world.chipIs({.ingVlanXlate = oneIn(2), .egrVlanXlate = oneIn(2)});
    }
    world.tableFeature->ingVlanRange = !oneIn(4);
    world.tableFeature->ingVlanDynamicRange = oneIn(2);
    using ::testing::Return;
    ON_CALL(*world.unicast, vlanXlateSm)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.vlanXlate.get()));
    ON_CALL(*world.unicast, ingVlanRangeSm)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.ingVlanRange.get()));
    ON_CALL(*world.unicast, vxlanL2Sm)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.vxlan.get()));
    ON_CALL(*world.agent, l2CmdRingManager)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.ringManager.get()));
    ON_CALL(*world.agent, flexCounter)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.flexCounter.get()));
    ON_CALL(*world.mcast, mcastHelper)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.mcastHelper.get()));
    ON_CALL(*world.macHelper, l2ModFifoShowSm)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.fifoShow.get()));
    ON_CALL(*world.macHelper, macTblShadow)
        .WillByDefault(Return(oneIn(4) ? nullptr : world.macShadow.get()));
  }

  /** The tokens by the standard library's own splitting, positions as the callback counts them. */
  static std::map<std::uint8_t, std::string> expectedTokens(const std::string& command) {
    std::map<std::uint8_t, std::string> tokens;
    std::istringstream fields(command);
    std::uint8_t position = 0;
    for (std::string field; std::getline(fields, field, '+');) tokens[++position] = field;
    return tokens;
  }

  template <class Chain>
  static bool beginsWithKeywordOf(const Chain& chain, const std::string& command) {
    for (const auto& row : chain) {
      if (!row.keyword.empty() && command.starts_with(row.keyword)) return true;
    }
    return false;
  }

  /** Runs one plain command; whether it threw one of the exceptions of the value types. */
  bool throwsWhenRun(const std::string& command) {
    try {
      plain->handleCommand(socket(), command);
    } catch (const Qel::RangeException&) {
      return true;
    } catch (const Qel::ParseException&) {
      return true;
    }
    return false;
  }

  void checkPlain(const std::string& command) {
    openSocket();
    traces->clear();
    const bool thrown = throwsWhenRun(command);
    EXPECT_EQ(liveHandlers(), 0);
    if (plain->outcome().kind == Kind::notReady && executed() == "none") {
      expectUntouchedSocket();  // dropped by the checks, before it was split
      return;
    }
    std::map<std::uint8_t, std::string> tokens;
    for (const auto& [position, entry] : plain->cmdTokens()) tokens[position] = entry->text();
    EXPECT_EQ(tokens, expectedTokens(command));
    EXPECT_EQ(Qel::liveInstances("CliCallback::QelCmdTokens::Entry"),
              static_cast<std::int64_t>(tokens.size()));
    EXPECT_TRUE(command.starts_with(executed()));
    if (executed().empty()) {
      EXPECT_FALSE(thrown);
      expectInvalidCommand();
    } else if (!beginsWithKeywordOf(plainHandlerChain(), command)) {
      ADD_FAILURE() << executed() << " took what begins with no keyword";
    } else if (thrown || plain->outcome().kind == Kind::notReady) {
      expectUntouchedSocket();
    }
    ++taken_[executed()];
  }

  void checkFormatted(const std::string& command) {
    openSocket();
    runFormatted(command, below(4));
    expectUntouchedSocket();
    EXPECT_NE(formatted->outcome().kind, Kind::handled);
    traces->clear();
    Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine;
    try {
      machine = createMachine(command, below(4));
      EXPECT_EQ(machine != nullptr, formatted->outcome().kind == Kind::handled);
    } catch (const Qel::RangeException&) {
      // A chip number that is none; the consistency checks read their list at once.
      EXPECT_THAT(executed(), ::testing::AnyOf("MACT_DIFF", "MACT_MISSING"));
    }
    EXPECT_EQ(liveHandlers(), 0);
    if (machine != nullptr) {
      EXPECT_TRUE(beginsWithKeywordOf(asyncHandlerChain(), command));
      EXPECT_TRUE(command.starts_with(executed()));
      ++machines_[executed()];
    }
    expectUntouchedSocket();
  }

  std::map<std::string, int> taken_;
  std::map<std::string, int> machines_;

 private:
  std::mt19937 random_{kSeed};
};

TEST_F(RandomCommandsTest, EveryCommandEndsCleanly) {
  RecordProperty("seed", static_cast<int>(kSeed));
  for (int i = 0; i < kCommands && !HasFailure(); ++i) {
    if (i % 16 == 0) shakeWorld();
    const std::string command = randomCommand();
    SCOPED_TRACE(::testing::Message() << "seed " << kSeed << ", command " << i << ": "
                                      << ::testing::PrintToString(command));
    checkPlain(command);
    checkFormatted(command);
  }
  // The run is worth something only if it came by every handler.
  for (const auto& row : plainHandlerChain()) {
    EXPECT_GT(taken_[std::string(row.keyword)], 10) << row.keyword;
  }
  for (const auto& row : asyncHandlerChain()) {
    if (row.keyword.empty()) continue;
    EXPECT_GT(machines_[std::string(row.keyword)], 10) << row.keyword;
  }
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
  for (const Qel::LiveInstances& each : Qel::liveInstances()) {
    if (!each.className.ends_with("RequestSm") && !each.className.ends_with("RequestSmBase")) {
      continue;
    }
    EXPECT_EQ(each.count, 0) << each.className;
  }
}

TEST_F(RandomCommandsTest, AVeryLongCommandEndsCleanly) {
  checkPlain(std::string(65536, '+'));
  checkPlain("ShadowShow" + std::string(65536, 'A'));
  checkPlain("EcmpOutputIntfTunnelId" + std::string(65536, ','));
}

}  // namespace
}  // namespace KorvoL2::Testing
