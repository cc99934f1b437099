// What the tests of the switch model share: a model, and a renderer whose output they can read.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "agent/model/SwitchModel.h"
#include "platform/rendering/RendererV2.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent::Testing {

inline Qel::Ptr<SwitchModel> makeModel() {
  return Qel::makePtr<SwitchModel>(Qel::makePtr<Qel::ManualClock>());
}

/** A renderer that writes to a string. */
class CapturedOutput {
 public:
  explicit CapturedOutput(Rendering::OutputFormat format)
      : renderer_(Qel::makePtr<Rendering::RendererV2>(
            format,
            Qel::makePtr<Rendering::PrintBuffer>(std::make_unique<Port>(&text_), 0U,
                                                 std::size_t{65536}, Rendering::PrintBuffer::kHold),
            true)) {}

  Rendering::RendererV2& renderer() { return *renderer_; }
  /** Everything written so far. */
  const std::string& text() {
    renderer_->ioflush();
    return text_;
  }
  /** What was written since the last call. */
  std::string take() {
    renderer_->ioflush();
    return std::exchange(text_, {});
  }

 private:
  class Port final : public Rendering::OutputPort {
   public:
    explicit Port(std::string* text) : text_(text) {}
    std::ptrdiff_t send(const char* data, std::size_t size) override {
      text_->append(data, size);
      return static_cast<std::ptrdiff_t>(size);
    }

   private:
    std::string* text_;
  };

  std::string text_;
  Qel::Ptr<Rendering::RendererV2> renderer_;
};

}  // namespace KorvoAgent::Testing
