#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/command/CliCallbackBase.h"
#include "platform/command/PluginEntry.h"

namespace AgentCommand {
namespace {

// A host reads the version before it knows anything else of the record.
static_assert(std::is_standard_layout_v<PluginEntry>);
static_assert(offsetof(PluginEntry, interfaceVersion) == 0);

class EchoCallback final : public CliCallbackBase {
 public:
  explicit EchoCallback(std::string name) : CliCallbackBase(std::move(name), "Echo") {}
  void handleCommand(std::uint32_t, std::string command) override {
    if (command.empty()) {
      outcomeIs({CommandOutcome::Kind::notReady, "no command"});
    } else {
      outcomeIs({});
    }
  }
};

TEST(CliCallbackBaseTest, HasTheHostsNameAndItsOwn) {
  const auto callback = Qel::makePtr<EchoCallback>("agent");
  EXPECT_EQ(callback->name(), "agent");
  EXPECT_EQ(callback->secondName(), "Echo");
}

TEST(CliCallbackBaseTest, AgentIsAnAttribute) {
  std::vector<std::string> heard;  // outlives the callback, whose end is heard too
  const auto callback = Qel::makePtr<EchoCallback>("agent");
  EXPECT_EQ(callback->l2Agent(), nullptr);
  callback->hasNotificationActiveIs(true);
  callback->publisher().subscribe(
      [&heard](const Qel::Entity&, std::string_view attribute) { heard.emplace_back(attribute); });
  // Only its address matters here.
  std::byte agent{};
  auto* const pointer = reinterpret_cast<KorvoL2::L2Agent*>(&agent);
  callback->l2AgentIs(pointer);
  callback->l2AgentIs(pointer);
  EXPECT_EQ(callback->l2Agent(), pointer);
  callback->l2AgentIs(nullptr);
  EXPECT_EQ(heard, (std::vector<std::string>{"l2Agent", "l2Agent"}));
}

TEST(CliCallbackBaseTest, OutcomeIsThatOfTheLastCommand) {
  const auto callback = Qel::makePtr<EchoCallback>("agent");
  EXPECT_EQ(callback->outcome().kind, CommandOutcome::Kind::handled);
  callback->handleCommand(0, "");
  EXPECT_EQ(callback->outcome().kind, CommandOutcome::Kind::notReady);
  EXPECT_EQ(callback->outcome().reason, "no command");
  callback->handleCommand(0, "x");
  EXPECT_EQ(callback->outcome().kind, CommandOutcome::Kind::handled);
  EXPECT_EQ(callback->outcome().reason, "");
}

}  // namespace
}  // namespace AgentCommand
