#include "platform/base/Entity.h"

#include <algorithm>

namespace Qel {

Publisher::Subscription Publisher::subscribe(Reactor reactor) {
  entries_.push_back({++lastId_, std::move(reactor)});
  ++numActive_;
  return lastId_;
}

void Publisher::cancel(Subscription subscription) {
  for (Entry& entry : entries_) {
    if (entry.id == subscription && entry.reactor != nullptr) {
      entry.reactor = nullptr;
      --numActive_;
      break;
    }
  }
  // While a publication runs over the entries, the slot stays: indexes must not move under it.
  if (publishing_ == 0)
    std::erase_if(entries_, [](const Entry& e) { return e.reactor == nullptr; });
}

void Publisher::publish(const Entity& entity, std::string_view attribute) {
  struct Guard {
    Publisher& publisher;
    explicit Guard(Publisher& p) : publisher(p) { ++publisher.publishing_; }
    ~Guard() {
      if (--publisher.publishing_ == 0) {
        std::erase_if(publisher.entries_, [](const Entry& e) { return e.reactor == nullptr; });
      }
    }
  };
  const Guard guard(*this);
  // By index, and only those present now: a reactor may subscribe others, cancel itself or drop
  // them all.
  const std::size_t present = entries_.size();
  for (std::size_t i = 0; i < present && i < entries_.size(); ++i) {
    if (entries_[i].reactor == nullptr) continue;
    const Reactor reactor = entries_[i].reactor;
    reactor(entity, attribute);
  }
}

const TypeData& Entity::typeData() const noexcept {
  static constexpr TypeData kType{"Qel::Entity"};
  return kType;
}

void Entity::qelDoZombieReactors(bool notify) {
  if (notify && publisher_.hasSubscribers()) publisher_.publish(*this, "zombie");
  publisher_.entries_.clear();
  publisher_.numActive_ = 0;
}

void Entity::lastUserGone() noexcept {
  // Its own user while reactors run: one of them may take a Ptr and let it go again.
  addUser();
  // Reactors that throw while an object dies have nobody left to tell.
  try {
    qelDoZombieReactors(notificationActive_);
  } catch (...) {
  }
  if (users() == 1) {
    delete this;
  } else {
    removeUser();  // a reactor keeps it
  }
}

}  // namespace Qel
