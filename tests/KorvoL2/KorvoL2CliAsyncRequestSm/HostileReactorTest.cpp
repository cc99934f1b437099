// Reactors that take away what a machine works with, or throw, at each change that it publishes.

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "platform/base/Tracked.h"
#include "tests/KorvoL2/MachineFamilies.h"

namespace KorvoL2::Testing {
namespace {

/** A machine of the family with that number, and all that it uses. */
class Scene final : public MachineFamilies {
 public:
  explicit Scene(std::size_t number) : family(families()[number]) {
    machine = family.make(Rendering::kText);
    holdsHelper = helper->users() > 1;
    helper->hasNotificationActiveIs(true);
    helper->publisher().subscribe(
        [this](const Qel::Entity&, std::string_view) { helperGone = true; });
  }
  // What is let go of here is still heard here.
  ~Scene() override { letGoOfEverything(); }
  void TestBody() override {}

  static std::size_t numFamilies() { return Scene(0).families().size(); }

  /** At its publication number `at`, or from there on, `deed` is done. */
  void misbehave(int at, bool fromThenOn, const std::function<void()>& deed) {
    machine->publisher().subscribe(
        [this, at, fromThenOn, deed](const Qel::Entity&, std::string_view what) {
          const int now = publications++;
          if (what == "zombie") machineGone = true;
          if (what == "zombie" && !fromThenOn) return;
          if (now < at || (now > at && !fromThenOn)) return;
          reached = true;
          deed();
        });
  }
  /** What a host that shuts down does. */
  void letGoOfEverything() {
    machine.reset();
    helper.reset();
    mcastHelper.reset();
    RequestHarness::clock.reset();
    VlanRangeHarness::fcsd.reset();
    scale.reset();
    hwIndexes.reset();
    ring.reset();
    VxlanHarness::fcsd.reset();
    l2State.reset();
    l3Config.reset();
    l3Status.reset();
    routingStatus.reset();
    svpConfig.reset();
    capabilities.reset();
    dips.reset();
    vlanSvps.reset();
    portVlans.reset();
    vlanVnis.reset();
    egrPortVlans.reset();
    egrVxlanVlans.reset();
  }
  const std::string& run() {
    machine->runCommand();
    return reader->received;
  }

  Family family;
  Machine machine;
  bool holdsHelper = false;
  int publications = 0;
  bool reached = false;
  bool helperGone = false;
  bool machineGone = false;
};

TEST(HostileReactorTest, ASliceGoesOnToItsEndWhenAllElseLetGoOfMachineAndAgent) {
  for (std::size_t number = 0; number < Scene::numFamilies(); ++number) {
    const std::string answer = Scene(number).run();
    ASSERT_NE(answer, "");
    bool reached = true;
    for (int at = 0; reached; ++at) {
      Scene scene(number);
      SCOPED_TRACE(scene.family.name + " at " + std::to_string(at));
      scene.misbehave(at, false, [&] {
        scene.letGoOfEverything();
        EXPECT_FALSE(scene.holdsHelper && scene.helperGone);
      });
      EXPECT_EQ(scene.run(), answer);
      reached = scene.reached;
      EXPECT_EQ(scene.machineGone, reached);
      EXPECT_EQ(scene.helperGone, reached);
    }
  }
}

TEST(HostileReactorTest, WhatAReactorThrowsEndsTheSliceAndNothingElse) {
  for (std::size_t number = 0; number < Scene::numFamilies(); ++number) {
    bool reached = true;
    for (int at = 0; reached; ++at) {
      Scene scene(number);
      SCOPED_TRACE(scene.family.name + " at " + std::to_string(at));
      // Also when the machine is released.
      scene.misbehave(at, true, [] { throw std::runtime_error("no"); });
      try {
        scene.run();
      } catch (const std::runtime_error&) {
        EXPECT_TRUE(scene.reached);
      }
      reached = scene.reached;
      scene.machine.reset();
      EXPECT_TRUE(scene.machineGone);
      EXPECT_EQ(Qel::liveInstances(scene.family.name), 0);
    }
  }
}

}  // namespace
}  // namespace KorvoL2::Testing
