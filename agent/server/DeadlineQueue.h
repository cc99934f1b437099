// Points in time on an injected clock, each of which belongs to one key.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <utility>

#include "platform/base/Clock.h"

namespace KorvoAgent {

template <class Key>
class DeadlineQueue {
 public:
  /**
   * Sets the key's one deadline, in place of one that it had. Only a key's first deadline takes
   * memory; when there is none, the key has no deadline.
   */
  void set(const Key& key, Qel::Duration at) {
    if (move(key, at)) return;
    const auto it = byKey_.emplace(key, at).first;
    try {
      byTime_.emplace(at, key);
    } catch (...) {
      byKey_.erase(it);
      throw;
    }
  }
  /** Moves the deadline of a key that has one, which takes no memory. Whether it has one. */
  bool move(const Key& key, Qel::Duration at) noexcept {
    const auto it = byKey_.find(key);
    if (it == byKey_.end()) return false;
    auto node = byTime_.extract({it->second, key});
    node.value().first = at;
    byTime_.insert(std::move(node));
    it->second = at;
    return true;
  }
  void erase(const Key& key) {
    const auto it = byKey_.find(key);
    if (it == byKey_.end()) return;
    byTime_.erase({it->second, key});
    byKey_.erase(it);
  }
  std::optional<Qel::Duration> next() const {
    return byTime_.empty() ? std::nullopt : std::optional(byTime_.begin()->first);
  }
  /** One key whose deadline is `now` or earlier, the earliest first. */
  std::optional<Key> passed(Qel::Duration now) const {
    if (byTime_.empty() || byTime_.begin()->first > now) return std::nullopt;
    return byTime_.begin()->second;
  }
  /** The same, and takes it out. */
  std::optional<Key> takePassed(Qel::Duration now) {
    std::optional<Key> key = passed(now);
    if (key) erase(*key);
    return key;
  }

 private:
  std::set<std::pair<Qel::Duration, Key>> byTime_;
  std::map<Key, Qel::Duration> byKey_;
};

}  // namespace KorvoAgent
