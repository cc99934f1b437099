#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Entity.h"

namespace Qel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Probe : public Entity {
 public:
  Probe() { hasNotificationActiveIs(true); }
  ~Probe() override {
    vlanIs(-1);
    if (gone != nullptr) *gone = true;
  }
  int vlan() const { return vlan_; }
  void vlanIs(int vlan) { attributeIs(vlan_, vlan, "vlan"); }
  void nameIs(std::string name) { attributeIs(name_, std::move(name), "name"); }

  bool* gone = nullptr;

 private:
  int vlan_ = 0;
  std::string name_;
};

class EntityTest : public testing::Test {
 protected:
  // Subscribes a reactor that notes "<mark><attribute>".
  Publisher::Subscription listen(const std::string& mark = "") {
    return probe_->publisher().subscribe([this, mark](const Entity&, std::string_view attribute) {
      heard_.push_back(mark + std::string(attribute));
    });
  }

  // What reactors refer to outlives the entity, whose end they hear.
  std::vector<std::string> heard_;
  int seen_ = -1;
  bool added_ = false;
  Ptr<Probe> probe_ = makePtr<Probe>();
};

TEST_F(EntityTest, SetterPublishesOnlyAChange) {
  listen();
  probe_->vlanIs(0);
  EXPECT_THAT(heard_, IsEmpty());
  probe_->vlanIs(10);
  probe_->vlanIs(10);
  probe_->nameIs("a");
  EXPECT_THAT(heard_, ElementsAre("vlan", "name"));
}

TEST_F(EntityTest, ReactorSeesTheNewValue) {
  probe_->publisher().subscribe([this](const Entity& entity, std::string_view) {
    seen_ = dynamic_cast<const Probe&>(entity).vlan();
  });
  probe_->vlanIs(7);
  EXPECT_EQ(seen_, 7);
}

TEST_F(EntityTest, InactiveNotificationStoresSilently) {
  listen();
  probe_->hasNotificationActiveIs(false);
  probe_->vlanIs(5);
  EXPECT_EQ(probe_->vlan(), 5);
  EXPECT_THAT(heard_, IsEmpty());
  probe_->hasNotificationActiveIs(true);
  probe_->vlanIs(6);
  EXPECT_THAT(heard_, ElementsAre("vlan"));
}

TEST_F(EntityTest, NotificationIsInactiveAtFirst) {
  class Fresh final : public Entity {};
  EXPECT_FALSE(makePtr<Fresh>()->hasNotificationActive());
}

TEST_F(EntityTest, ReactorsHearInTheOrderOfTheirSubscription) {
  listen("1:");
  listen("2:");
  probe_->vlanIs(1);
  EXPECT_THAT(heard_, ElementsAre("1:vlan", "2:vlan"));
}

TEST_F(EntityTest, CancelledReactorHearsNothingMore) {
  const auto subscription = listen();
  EXPECT_TRUE(probe_->publisher().hasSubscribers());
  probe_->publisher().cancel(subscription);
  probe_->publisher().cancel(subscription);
  probe_->publisher().cancel(subscription + 100);
  EXPECT_FALSE(probe_->publisher().hasSubscribers());
  probe_->vlanIs(1);
  EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(EntityTest, ReactorMayCancelItselfAndOthers) {
  Publisher& publisher = probe_->publisher();
  Publisher::Subscription self = 0;
  Publisher::Subscription later = 0;
  self = publisher.subscribe([&](const Entity&, std::string_view) {
    heard_.emplace_back("self");
    publisher.cancel(self);
    publisher.cancel(later);
  });
  later = listen("later:");
  listen("last:");
  probe_->vlanIs(1);
  EXPECT_THAT(heard_, ElementsAre("self", "last:vlan"));
  probe_->vlanIs(2);
  EXPECT_THAT(heard_, ElementsAre("self", "last:vlan", "last:vlan"));
}

TEST_F(EntityTest, ReactorAddedWhilePublishingHearsTheNextChange) {
  probe_->publisher().subscribe([this](const Entity&, std::string_view) {
    if (std::exchange(added_, true)) return;
    // Many, so that the list of reactors moves while it is walked.
    for (int i = 0; i < 100; ++i) listen();
  });
  probe_->vlanIs(1);
  EXPECT_THAT(heard_, IsEmpty());
  probe_->vlanIs(2);
  EXPECT_EQ(heard_.size(), 100U);
}

TEST_F(EntityTest, ReactorMayChangeTheEntityAgain) {
  listen("1:");
  probe_->publisher().subscribe([this](const Entity&, std::string_view attribute) {
    if (attribute == "vlan") probe_->nameIs("vlan is set");
  });
  listen("2:");
  probe_->vlanIs(1);
  EXPECT_THAT(heard_, ElementsAre("1:vlan", "1:name", "2:name", "2:vlan"));
}

TEST_F(EntityTest, ExceptionOfAReactorReachesTheSetterAndLeavesThePublisherSound) {
  const auto thrower = probe_->publisher().subscribe(
      [](const Entity&, std::string_view) { throw std::runtime_error("no"); });
  listen();
  EXPECT_THROW(probe_->vlanIs(1), std::runtime_error);
  EXPECT_EQ(probe_->vlan(), 1);
  probe_->publisher().cancel(thrower);
  probe_->vlanIs(2);
  EXPECT_THAT(heard_, ElementsAre("vlan"));
}

TEST_F(EntityTest, LastUserGoneIsHeardOnce) {
  bool gone = false;
  probe_->gone = &gone;
  listen();
  probe_.reset();
  EXPECT_THAT(heard_, ElementsAre("zombie"));
  EXPECT_TRUE(gone);
}

TEST_F(EntityTest, LastUserGoneIsNotHeardWhileNotificationIsInactive) {
  listen();
  probe_->hasNotificationActiveIs(false);
  probe_.reset();
  EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(EntityTest, ReactorThatThrowsDoesNotKeepAnEntityFromGoing) {
  bool gone = false;
  probe_->gone = &gone;
  probe_->publisher().subscribe(
      [](const Entity&, std::string_view) { throw std::runtime_error("no"); });
  probe_.reset();
  EXPECT_TRUE(gone);
}

TEST_F(EntityTest, EveryReactorHearsTheEndWhateverAnotherOneThrows) {
  probe_->publisher().subscribe(
      [](const Entity&, std::string_view) { throw std::runtime_error("no"); });
  listen();
  probe_.reset();
  EXPECT_THAT(heard_, ElementsAre("zombie"));
}

TEST_F(EntityTest, DestructorPublishesNothingEvenIfTheEndCouldNotBeTold) {
  class Unlucky final : public Probe {
   public:
    void qelDoZombieReactors(bool) override { throw std::runtime_error("no"); }
  };
  bool gone = false;
  auto unlucky = makePtr<Unlucky>();
  unlucky->gone = &gone;
  unlucky->publisher().subscribe([this](const Entity&, std::string_view attribute) {
    heard_.emplace_back(attribute);
    throw std::runtime_error("no");
  });
  unlucky.reset();
  EXPECT_TRUE(gone);
  EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(EntityTest, ReactorMayLetGoOfTheEntity) {
  bool gone = false;
  probe_->gone = &gone;
  probe_->publisher().subscribe([&](const Entity&, std::string_view) {
    probe_.reset();
    EXPECT_FALSE(gone);
  });
  listen("later:");
  probe_->vlanIs(1);
  EXPECT_TRUE(gone);
  EXPECT_THAT(heard_, ElementsAre("later:vlan", "later:zombie"));
}

TEST_F(EntityTest, EntityThatNoPtrOwnsIsNotHeld) {
  Probe probe;
  EXPECT_EQ(probe.hold(), nullptr);
  probe.publisher().subscribe(
      [this](const Entity&, std::string_view attribute) { heard_.emplace_back(attribute); });
  probe.vlanIs(1);
  EXPECT_THAT(heard_, ElementsAre("vlan"));
  probe.hasNotificationActiveIs(false);
}

TEST_F(EntityTest, ReactorOfAGoingEntityMayHoldItForAWhile) {
  bool gone = false;
  probe_->gone = &gone;
  probe_->publisher().subscribe([&](const Entity& entity, std::string_view attribute) {
    const Ptr<const Entity> held(&entity);
    heard_.emplace_back(attribute);
    EXPECT_FALSE(gone);
  });
  probe_.reset();
  EXPECT_TRUE(gone);
  EXPECT_THAT(heard_, ElementsAre("zombie"));
}

TEST_F(EntityTest, ReactorOfAGoingEntityMayKeepIt) {
  bool gone = false;
  probe_->gone = &gone;
  Ptr<const Entity> kept;
  probe_->publisher().subscribe(
      [&kept](const Entity& entity, std::string_view) { kept = Ptr<const Entity>(&entity); });
  probe_.reset();
  EXPECT_FALSE(gone);
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept->users(), 1U);
  kept.reset();
  EXPECT_TRUE(gone);
}

TEST_F(EntityTest, ReactorsMayBeDroppedWhilePublishing) {
  probe_->publisher().subscribe([this](const Entity&, std::string_view attribute) {
    heard_.emplace_back("first:" + std::string(attribute));
    if (attribute == "vlan") probe_->qelDoZombieReactors(false);
  });
  listen("second:");
  probe_->vlanIs(1);
  EXPECT_THAT(heard_, ElementsAre("first:vlan"));
  EXPECT_FALSE(probe_->publisher().hasSubscribers());
  listen();
  probe_->vlanIs(2);
  EXPECT_THAT(heard_, ElementsAre("first:vlan", "vlan"));
}

TEST_F(EntityTest, TypeIsKnownByName) { EXPECT_EQ(probe_->typeData().name, "Qel::Entity"); }

}  // namespace
}  // namespace Qel
