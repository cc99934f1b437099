// Entities: reference-counted objects made of named attributes that publish their changes.
//
// Every class of the agent and of its plug-ins is a set of attributes with accessors of one form:
//   attr()            reads
//   attrIs(value)     sets, and publishes only when the value differs from the stored one
//   attrIs(key, ...)  adds a member to a collection; attrDel(key), attrDelAll(), attrHas(key)
// A reactor subscribed to an entity's publisher hears the name of each attribute that changed.
// Attribute.h makes attributes of one value in one line each.
//
// What a reactor may do. It runs inside the setter, after the change is in place.
//  - It may throw. The exception leaves the setter; the change stays, and reactors that were
//    subscribed later do not hear of it.
//  - It may let go of the entity's last user. The entity stays until the publication has ended.
//  Code
//    that goes on after a setter (a slice, a command) keeps what it needs itself: hold().
//  - Of the end it hears once, by the name "zombie", while the object is still whole. What it
//  throws
//    then goes to nobody, and every other reactor hears the end as well. After that notification is
//    off: a destructor publishes nothing.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/Ptr.h"

namespace Qel {

class Entity;

/** What the framework knows of an entity's class. */
struct TypeData {
  std::string_view name;
};

/** Hands the changes of one entity to the reactors subscribed to it. */
class Publisher {
 public:
  using Reactor = std::function<void(const Entity& entity, std::string_view attribute)>;
  using Subscription = std::uint32_t;

  /** `reactor` hears every change from now on, until it is cancelled or the entity goes. */
  Subscription subscribe(Reactor reactor);
  /** Idempotent; may be called from within a reactor. */
  void cancel(Subscription subscription);
  /** Hands a change to the reactors, in the order in which they subscribed. */
  void publish(const Entity& entity, std::string_view attribute);
  bool hasSubscribers() const noexcept { return numActive_ != 0; }

 private:
  friend class Entity;
  struct Entry {
    Subscription id;
    Reactor reactor;
  };
  // `call`, void(const Reactor&), is given each reactor that is there now.
  template <class Call>
  void forEachReactor(const Entity& entity, Call&& call);

  std::vector<Entry> entries_;
  Subscription lastId_ = 0;
  std::uint32_t numActive_ = 0;
  std::uint32_t publishing_ = 0;
};

/** Base of every object with published attributes. */
class Entity : public RefCounted {
 public:
  virtual Publisher& publisher() noexcept { return publisher_; }
  virtual const TypeData& typeData() const noexcept;
  /**
   * The entity's last user has gone: with `notify`, reactors still subscribed hear the attribute
   * name "zombie" once, whatever the others throw; they are dropped in any case. A reactor that
   * takes a Ptr and keeps it keeps the entity.
   */
  virtual void qelDoZombieReactors(bool notify);

  /** Keeps the entity as long as it is in scope; null for one that no Ptr owns. */
  Ptr<const Entity> hold() const { return Ptr<const Entity>(users() == 0 ? nullptr : this); }

  /** While clear (the initial state), changes are stored but not published. */
  bool hasNotificationActive() const noexcept { return notificationActive_; }
  void hasNotificationActiveIs(bool active) noexcept { notificationActive_ = active; }

  /** Publishes a change of `attribute`; for what has no setter of the usual form. */
  void changed(std::string_view attribute) {
    if (notificationActive_ && publisher_.hasSubscribers()) publisher_.publish(*this, attribute);
  }

 protected:
  Entity() = default;
  void lastUserGone() noexcept override;

  /** The body of a setter: stores and publishes, unless `value` equals what is stored. */
  template <class T, class U>
  void attributeIs(T& stored, U&& value, std::string_view attribute) {
    if (stored == value) return;
    stored = std::forward<U>(value);
    changed(attribute);
  }

 private:
  Publisher publisher_;
  bool notificationActive_ = false;
};

}  // namespace Qel
