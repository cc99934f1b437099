// What clients name leaves nothing behind: interface names are kept for ever, so that no command
// may enter one.

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandlerChain.h"
#include "KorvoL2/KorvoL2CliCallbacks/PlainHandlerChain.h"
#include "agent/chips/SwitchHardware.h"
#include "agent/model/DemoSwitch.h"
#include "platform/types/IntfId.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {
namespace {

using Bridging::IntfId;

class Nowhere final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char*, std::size_t size) override {
    return static_cast<std::ptrdiff_t>(size);
  }
};

class ClientNamesTest : public testing::Test {
 protected:
  /** No descriptor has this number: answers go nowhere. */
  static constexpr std::uint32_t kNoSocket = Rendering::SocketPort::kNoSocket;

  ClientNamesTest() {
    plain->l2AgentIs(model->l2Agent());
    formatted->l2AgentIs(model->l2Agent());
  }

  /** Whatever the command ends with; arguments that are none throw. */
  template <class Command>
  void run(const Command& command) {
    try {
      command();
      ++numAnswered;
    } catch (const std::exception&) {
      ++numThrown;
    }
  }
  void runPlain(const std::string& command) {
    run([&] { plain->handleCommand(kNoSocket, command); });
  }
  void runSync(const std::string& command) {
    run([&] { formatted->handleCommand(kNoSocket, command, Rendering::kText); });
  }
  void runAsync(const std::string& command) {
    run([&] {
      const auto renderer = Qel::makePtr<Rendering::RendererV2>(
          Rendering::kText,
          Qel::makePtr<Rendering::PrintBuffer>(std::make_unique<Nowhere>(), kNoSocket, 4096U,
                                               Rendering::PrintBuffer::kStream),
          false);
      const auto machine = formatted->createAgentAsyncCommandRequestSm(
          Qel::makePtr<const AgentCommand::AgentCommandRequest>("test", command, kNoSocket,
                                                                Rendering::kText, renderer));
      constexpr int kEnough = 1000;
      for (int i = 0; machine != nullptr && !machine->executionCompleteFlag(); ++i) {
        ASSERT_LT(i, kEnough) << command;
        machine->runCommand();
        while (hardware.reader().runnable()) hardware.reader().runPiece();
        clock->advance(std::chrono::milliseconds(10));
        hardware.reader().deadlinesPassed(clock->now());
      }
    });
  }

  static Qel::Ptr<SwitchModel> demo(const Qel::Ptr<const Qel::Clock>& clock) {
    auto model = Qel::makePtr<SwitchModel>(clock);
    fillDemo(*model);
    return model;
  }

  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<SwitchModel> model = demo(clock);
  SwitchHardware hardware{clock, model, HardwarePolicy{}};
  Qel::Ptr<KorvoL2::CliCallback> plain = KorvoL2::cliCallbackFactory("test");
  Qel::Ptr<KorvoL2::CliCallbackWithFormat> formatted =
      KorvoL2::cliCallbackWithFormatFactory("test");
  std::uint64_t numAnswered = 0;
  std::uint64_t numThrown = 0;
};

#if defined(__SANITIZE_ADDRESS__)
constexpr int kCommands = 100'000;  // a sanitizer makes each of them many times slower
#else
constexpr int kCommands = 1'000'000;
#endif

TEST_F(ClientNamesTest, AMillionCommandsEachWithANameOfItsOwnEnterNone) {
  const std::size_t before = IntfId::numNames();
  std::string command = "EcmpOutputIntfTunnelId+dst-mac=0200.0200.0002,vlan-id=0,ingress-intf-id=";
  const std::size_t head = command.size();
  for (int i = 0; i < kCommands; ++i) {
    command.resize(head);
    command += "made-up-";
    command += std::to_string(i);
    runPlain(command);
  }
  EXPECT_EQ(numAnswered, static_cast<unsigned>(kCommands));
  EXPECT_EQ(IntfId::numNames(), before);
  EXPECT_EQ(IntfId("still taken").stringValue(), "still taken");
}

TEST_F(ClientNamesTest, NoCommandEntersANameWhereverItStands) {
  constexpr unsigned kSeed = 20261122;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  std::uint64_t numNames = 0;
  // Valid, unused, and some of them as long as a name may be.
  const auto name = [&] {
    std::string text = "Ethernet" + std::to_string(random()) + "/" + std::to_string(++numNames);
    if (random() % 4 == 0) text.resize(IntfId::kMaxNameLength, 'x');
    return text;
  };
  const auto sweep = [&](const auto& chain, const auto& runOne) {
    for (const auto& row : chain) {
      const std::string keyword(row.keyword);
      for (int i = 0; i < 3; ++i) {
        runOne(keyword + name());
        runOne(keyword + "+" + name());
        runOne(keyword + "+detail+" + name());
        runOne(keyword + "detail+0," + name());
        runOne(keyword + "+0," + name());
        runOne(keyword + "_VLAN-" + name());
        runOne(keyword + "_MAC-" + name());
        runOne(keyword + "+" + name() + "+VFI+CHIP+" + name() + "+VAL+" + name());
        runOne(keyword + "+interface=" + name());
        runOne(keyword + "+dst-mac=0200.0200.0002,vlan-id=" + name() +
               ",ingress-intf-id=" + name());
        runOne(keyword + "+ingress-intf-id=" + name() + ",dst-mac=" + name());
      }
    }
  };
  const std::size_t before = IntfId::numNames();
  sweep(KorvoL2::plainHandlerChain(), [this](const std::string& text) { runPlain(text); });
  sweep(KorvoL2::formattedHandlerChain(), [this](const std::string& text) { runSync(text); });
  sweep(KorvoL2::asyncHandlerChain(), [this](const std::string& text) { runAsync(text); });
  EXPECT_GT(numNames, 1000U);
  EXPECT_GT(numAnswered, 700U);
  EXPECT_GT(numThrown, 20U);
  EXPECT_EQ(IntfId::numNames(), before);
}

}  // namespace
}  // namespace KorvoAgent
