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

template <class Call>
void Publisher::forEachReactor(const Entity& entity, Call&& call) {
  struct Guard {
    Publisher& publisher;
    // This publisher is a part of the entity, whose last user a reactor may be.
    Ptr<const Entity> held;
    Guard(Publisher& p, const Entity& e) : publisher(p), held(e.hold()) { ++publisher.publishing_; }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() {
      if (--publisher.publishing_ == 0) {
        std::erase_if(publisher.entries_, [](const Entry& e) { return e.reactor == nullptr; });
      }
    }
  };
  const Guard guard(*this, entity);
  // By index, and only those present now: a reactor may subscribe others, cancel itself or drop
  // them all.
  const std::size_t present = entries_.size();
  for (std::size_t i = 0; i < present && i < entries_.size(); ++i) {
    if (entries_[i].reactor == nullptr) continue;
    const Reactor reactor = entries_[i].reactor;
    call(reactor);
  }
}

void Publisher::publish(const Entity& entity, std::string_view attribute) {
  forEachReactor(entity, [&](const Reactor& reactor) { reactor(entity, attribute); });
}

const TypeData& Entity::typeData() const noexcept {
  static constexpr TypeData kType{"Qel::Entity"};
  return kType;
}

void Entity::qelDoZombieReactors(bool notify) {
  if (notify) {
    publisher_.forEachReactor(*this, [this](const Publisher::Reactor& reactor) {
      try {
        reactor(*this, "zombie");
      } catch (...) {  // nobody set anything, and so nobody is there to tell
      }
    });
  }
  publisher_.entries_.clear();
  publisher_.numActive_ = 0;
}

void Entity::lastUserGone() noexcept {
  // Its own user while reactors run: one of them may take a Ptr and let it go again.
  addUser();
  try {
    qelDoZombieReactors(notificationActive_);
  } catch (...) {  // a derived class's part of it
  }
  if (users() == 1) {
    // The destructors of derived classes use setters as any code does.
    notificationActive_ = false;
    delete this;
  } else {
    removeUser();  // a reactor keeps it
  }
}

}  // namespace Qel
