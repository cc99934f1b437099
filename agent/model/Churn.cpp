#include "agent/model/Churn.h"

#include <algorithm>
#include <set>
#include <string>

#include "platform/base/Exceptions.h"

namespace KorvoAgent {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntryType;

Churn::Churn(SwitchModel& model, double eventsPerSecond, std::uint64_t seed)
    : model_(&model), rate_(eventsPerSecond), random_(seed) {
  if (!(eventsPerSecond >= 0 && eventsPerSecond <= kMaxRate)) {
    throw Qel::RangeException("a churn rate is 0 to " +
                              std::to_string(static_cast<std::uint64_t>(kMaxRate)) +
                              " events per second, not " + std::to_string(eventsPerSecond));
  }
  std::set<IntfId>
      interfaces;  // in order of name, which does not depend on where names lie in memory
  IntfId last;
  for (const auto& [key, entry] : model.swMacTable().entries()) {
    if (entry.type != MacEntryType::learnedDynamic) continue;
    live_.push_back(key);
    if (entry.intf != last) interfaces.insert(entry.intf);
    last = entry.intf;
  }
  interfaces_.assign(interfaces.begin(), interfaces.end());
  if (interfaces_.empty()) {
    for (int port = 1; port <= 8; ++port)
      interfaces_.emplace_back("Ethernet" + std::to_string(port));
  }
  target_ = live_.size();
  band_ = std::max<std::size_t>(16, target_ / 100);
}

std::size_t Churn::advance(Qel::Duration now, std::size_t maxEvents) {
  if (!started_ || now < start_) {
    started_ = true;
    start_ = now;
    done_ = 0;
    return 0;
  }
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const auto due = static_cast<std::uint64_t>(seconds * rate_);
  // Backwards, but not as far as the start: nothing is due until the clock is back.
  if (due <= done_) return 0;
  const auto madeUpFor = std::max<std::uint64_t>(1, static_cast<std::uint64_t>(rate_));
  if (due - done_ > madeUpFor) done_ = due - madeUpFor;
  const std::size_t events = std::min<std::uint64_t>(due - done_, maxEvents);
  for (std::size_t i = 0; i < events; ++i) event();
  done_ += events;
  return events;
}

void Churn::event() {
  const std::uint64_t kind = random_.below(3);
  if (kind == 0 && move()) return;
  const bool few = live_.empty() || live_.size() + band_ <= target_;
  const bool many = live_.size() >= target_ + band_;
  if (few || (!many && kind != 2)) {
    learn();
  } else {
    age();
  }
}

bool Churn::pick(std::size_t& index) {
  while (!live_.empty()) {
    index = random_.below(live_.size());
    const MacEntry* const entry = model_->swMacTable().entries().find(live_[index]);
    if (entry != nullptr && entry->type == MacEntryType::learnedDynamic) return true;
    forget(index);  // something else removed or changed it
  }
  return false;
}

void Churn::forget(std::size_t index) {
  live_[index] = live_.back();
  live_.pop_back();
}

void Churn::learn() {
  SwMacTable& table = model_->swMacTable();
  MacVlanPair key;
  if (numAged_ != 0 && random_.onceIn(4)) {
    key = aged_[random_.below(numAged_)];
  } else {
    // A new host turns up where there are hosts already.
    std::size_t neighbour = 0;
    const std::uint32_t vlan = pick(neighbour) ? live_[neighbour].vlan() : 1;
    const std::uint64_t mac = 0x0200'0000'0000ULL | (random_.next() & 0xff'ffff'ffffULL);
    key = MacVlanPair(static_cast<std::uint16_t>(vlan), EthAddr(mac));
  }
  const IntfId intf = interfaces_[random_.below(interfaces_.size())];
  if (table.entries().has(key) || !table.learn(key, intf, model_->moduleBitmap())) return;
  live_.push_back(key);
  ++counts_.learned;
}

bool Churn::move() {
  std::size_t index = 0;
  if (!pick(index)) return false;
  const IntfId intf = interfaces_[random_.below(interfaces_.size())];
  if (!model_->swMacTable().learn(live_[index], intf, model_->moduleBitmap())) return false;
  ++counts_.moved;
  return true;
}

void Churn::age() {
  std::size_t index = 0;
  if (!pick(index)) return;
  const MacVlanPair key = live_[index];
  model_->swMacTable().erase(key);
  forget(index);
  if (numAged_ < aged_.size()) {
    aged_[numAged_++] = key;
  } else {
    aged_[random_.below(aged_.size())] = key;
  }
  ++counts_.aged;
}

}  // namespace KorvoAgent
