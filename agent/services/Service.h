// An object of the agent that commands may find or miss.
#pragma once

#include <utility>

#include "platform/base/Ptr.h"

namespace KorvoAgent {

/** Keeps the object, whether or not it counts as present. */
template <class T>
class Service {
 public:
  explicit Service(Qel::Ptr<T> object) : object_(std::move(object)) {}

  /** The object as commands see it: null while it counts as absent. */
  T* shown() const noexcept { return present_ ? object_.get() : nullptr; }
  void presentIs(bool present) noexcept { present_ = present; }

  const Qel::Ptr<T>& object() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_.get(); }

 private:
  Qel::Ptr<T> object_;
  bool present_ = true;
};

}  // namespace KorvoAgent
