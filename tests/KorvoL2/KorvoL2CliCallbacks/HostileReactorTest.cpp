// Reactors that take the agent, its objects or the callback away, or throw, at each change that a
// command publishes.

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "KorvoL2/KorvoL2CliCallbacks.h"
#include "platform/base/Tracked.h"
#include "tests/KorvoL2/KorvoL2CliCallbacks/CallbackFixture.h"
#include "tests/mocks/CommandSocket.h"
#include "tests/mocks/MockAgentWorld.h"

namespace KorvoL2::Testing {
namespace {

using ::testing::Return;

/** A command and how it is given to its callback. */
struct GivenCommand {
  enum class Entry { plain, sync, async } entry;
  std::string text;
};

const std::vector<GivenCommand>& commands() {
  using Entry = GivenCommand::Entry;
  static const std::vector<GivenCommand> all{
      {Entry::plain, "NO_SUCH+COMMAND"},
      {Entry::plain, "EcmpOutputIntfTunnelId+dst-mac=0200.0000.0001,vlan-id=1,ingress-intf-id=X"},
      {Entry::plain, "EGR_MASK_STATUS"},
      {Entry::plain, "EGR_VLAN_XLATE_STATUS_2"},
      {Entry::plain, "HW_FIFOREG"},
      {Entry::plain, "HW_MCAST_MCIDX+5"},
      {Entry::plain, "PER_VLAN_ENTRY_VLAN-7"},
      {Entry::plain, "ShadowShow+EGR_XLATE+CHIP+0"},
      {Entry::plain, "ShadowShow+EVTAP"},
      {Entry::plain, "VXLAN_DEBUG_STATE+detail"},
      {Entry::plain, "VlanVfiMap"},
      {Entry::sync, "VXLAN_VLAN_SUMMARY"},
      {Entry::sync, "NO_SUCH_COMMAND"},
      {Entry::async, "EGR_VLAN_XLATE_STATUS"},
      {Entry::async, "ING_VLAN_RANGE"},
      {Entry::async, "MACT_DIFF0"},
      {Entry::async, "MACT_HW_ALL+detail0"},
      {Entry::async, "MACT_MISSING0"},
      {Entry::async, "MACT_ALL"},
      {Entry::async, "VXLAN_ROUTING_INFO"},
      {Entry::async, "VXLAN_VLAN"},
      {Entry::async, "NO_SUCH_COMMAND"},
  };
  return all;
}

/** One callback with an agent of its own, and one command for it. */
class Scene {
 public:
  explicit Scene(GivenCommand given) : command(std::move(given)) {
    Qel::forgetTogglesForTest();
    Qel::toggleDirectoryIs("/nonexistent");
    world->chipIs({.ingVlanXlate = true});
    world->tableFeature = Qel::makePtr<ChipL2TableFeature>();
    world->tableFeature->ingVlanRange = true;
    if (command.entry == GivenCommand::Entry::plain) {
      plain = cliCallbackFactory("cli");
    } else {
      formatted = cliCallbackWithFormatFactory("cliWithFormat");
    }
    callback().l2AgentIs(world->agent.get());
    world->agent->hasNotificationActiveIs(true);
    world->agent->publisher().subscribe(
        [this](const Qel::Entity&, std::string_view) { agentGone = true; });
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  ~Scene() { Qel::forgetTogglesForTest(); }

  AgentCommand::CliCallbackCommon& callback() const {
    if (plain != nullptr) return *plain;
    return *formatted;
  }
  /** At its publication number `at`, or from there on, `deed` is done. */
  void misbehave(int at, bool fromThenOn, const std::function<void()>& deed) {
    callback().publisher().subscribe(
        [this, at, fromThenOn, deed](const Qel::Entity&, std::string_view what) {
          const int now = publications++;
          if (what == "zombie") callbackGone = true;
          if (what == "zombie" && !fromThenOn) return;
          if (now < at || (now > at && !fromThenOn)) return;
          reached = true;
          deed();
        });
  }
  /** An agent that is being shut down: it has nothing any more, and nobody keeps what it had. */
  void agentShutsDown() {
    ON_CALL(*world->agent, unicastAgent).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, macAddrSmHelper).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, l2ModFifoMonitorSm).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, mcast).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, l2CmdRingManager).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, mlagHelper).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, vfiAllocatorSm).WillByDefault(Return(nullptr));
    ON_CALL(*world->agent, flexCounter).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, vxlanL2Sm).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, svpManager).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, routerMacSm).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, vlanXlate2Manager).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, egrVlanXlateManager).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, vlanXlateSm).WillByDefault(Return(nullptr));
    ON_CALL(*world->unicast, ingVlanRangeSm).WillByDefault(Return(nullptr));
    ON_CALL(*world->macHelper, macTblShadow).WillByDefault(Return(nullptr));
    ON_CALL(*world->macHelper, l2ModFifoShowSm).WillByDefault(Return(nullptr));
    ON_CALL(*world->macHelper, fapChip).WillByDefault(Return(nullptr));
    ON_CALL(*world->macHelper, l2TableReadSm).WillByDefault(Return(nullptr));
    callback().l2AgentIs(nullptr);
    // What is asked by reference lives as long as its owner; the rest goes.
    world->agent.reset();
    world->unicast.reset();
    world->macHelper.reset();
    world->macShadow.reset();
    world->mcast.reset();
    world->mcastHelper.reset();
    world->fifoMonitor.reset();
    world->ringManager.reset();
  }
  void run() {
    switch (command.entry) {
      case GivenCommand::Entry::plain:
        plain->handleCommand(socket.descriptor(), command.text);
        break;
      case GivenCommand::Entry::sync:
        formatted->handleCommand(socket.descriptor(), command.text, Rendering::kText);
        break;
      case GivenCommand::Entry::async: {
        auto buffer = Qel::makePtr<Rendering::PrintBuffer>(socket.descriptor(), 4096U,
                                                           Rendering::PrintBuffer::kStream);
        auto renderer =
            Qel::makePtr<Rendering::RendererV2>(Rendering::kText, std::move(buffer), false);
        machine = formatted->createAgentAsyncCommandRequestSm(
            Qel::makePtr<AgentCommand::AgentCommandRequest>("request-1", command.text,
                                                            socket.descriptor(), Rendering::kText,
                                                            std::move(renderer)));
        break;
      }
    }
  }

  GivenCommand command;
  std::unique_ptr<MockAgentWorld> world = std::make_unique<MockAgentWorld>(Unexpected::isIgnored);
  CommandSocket socket;
  Qel::Ptr<CliCallback> plain;
  Qel::Ptr<CliCallbackWithFormat> formatted;
  Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine;
  int publications = 0;
  bool reached = false;
  bool agentGone = false;
  bool callbackGone = false;
};

/** Calls `each` with a scene for every command and every publication of it. */
template <class Each>
void atEachPublication(Each&& each) {
  for (const GivenCommand& command : commands()) {
    bool reached = true;
    for (int at = 0; reached; ++at) {
      Scene scene(command);
      SCOPED_TRACE(command.text + " at " + std::to_string(at));
      each(scene, at);
      reached = scene.reached;
      EXPECT_EQ(liveHandlers(), 0);
    }
  }
}

TEST(HostileReactorTest, ACommandKeepsTheAgentThatItBeganWith) {
  atEachPublication([](Scene& scene, int at) {
    scene.misbehave(at, false, [&] {
      scene.agentShutsDown();
      EXPECT_FALSE(scene.agentGone);
    });
    try {
      scene.run();
    } catch (const Qel::AssertionException&) {
      // A check without a table reader has nothing to begin with.
      EXPECT_TRUE(scene.command.text.starts_with("MACT_"));
    }
    scene.machine.reset();
    EXPECT_EQ(scene.agentGone, scene.reached);
  });
}

TEST(HostileReactorTest, ACommandKeepsItsCallback) {
  atEachPublication([](Scene& scene, int at) {
    Scene undisturbed(scene.command);
    undisturbed.run();
    scene.misbehave(at, false, [&] {
      scene.plain.reset();
      scene.formatted.reset();
      EXPECT_FALSE(scene.callbackGone);
    });
    scene.run();
    EXPECT_EQ(scene.callbackGone, scene.reached);
    EXPECT_EQ(scene.socket.text(), undisturbed.socket.text());
    EXPECT_EQ(scene.machine == nullptr, undisturbed.machine == nullptr);
    EXPECT_EQ(scene.world->agent->users(), 1U);
  });
}

TEST(HostileReactorTest, WhatAReactorThrowsEndsTheCommandAndNothingElse) {
  atEachPublication([](Scene& scene, int at) {
    // From then on: what is tidied up while the command fails is published, too, and so is the end.
    scene.misbehave(at, true,
                    [&] { throw std::runtime_error(std::to_string(scene.publications)); });
    try {
      scene.run();
      EXPECT_FALSE(scene.reached);
    } catch (const std::runtime_error& e) {
      EXPECT_EQ(e.what(), std::to_string(at + 1)) << "another failure than the first is told";
    }
    if (scene.reached) {
      EXPECT_EQ(scene.machine, nullptr);
    }
    scene.machine.reset();
    if (scene.formatted != nullptr) {
      EXPECT_EQ(scene.formatted->asyncRequest(), nullptr);
    }
    EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
    EXPECT_EQ(scene.world->agent->users(), 1U);
    scene.plain.reset();
    scene.formatted.reset();
    EXPECT_TRUE(scene.callbackGone);
  });
}

}  // namespace
}  // namespace KorvoL2::Testing
