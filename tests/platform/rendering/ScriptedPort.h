// A simulated socket: takes what the test's script says and keeps what it took.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>

#include "platform/rendering/PrintBuffer.h"

namespace Rendering {

/** What a ScriptedPort and its test share; outlives the buffer that owns the port. */
struct PortScript {
  static constexpr std::ptrdiff_t kGone = -1;

  /**
   * Answers to the sends to come: a number of bytes to take at most, 0 for "not now", kGone. Used
   * up, the port takes everything.
   */
  std::deque<std::ptrdiff_t> answers;
  std::string taken;
  int sends = 0;
  std::size_t largestSend = 0;
};

class ScriptedPort final : public OutputPort {
 public:
  explicit ScriptedPort(std::shared_ptr<PortScript> script) : script_(std::move(script)) {}

  std::ptrdiff_t send(const char* data, std::size_t size) override {
    ++script_->sends;
    script_->largestSend = std::max(script_->largestSend, size);
    auto taken = static_cast<std::ptrdiff_t>(size);
    if (!script_->answers.empty()) {
      taken = std::min(taken, script_->answers.front());
      script_->answers.pop_front();
    }
    if (taken > 0) script_->taken.append(data, static_cast<std::size_t>(taken));
    return taken;
  }

 private:
  std::shared_ptr<PortScript> script_;
};

}  // namespace Rendering
