// A renderer whose output ends up in a string.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "platform/rendering/RendererV2.h"
#include "tests/platform/rendering/ScriptedPort.h"

namespace Rendering {

class TextCapture {
 public:
  explicit TextCapture(std::uint32_t format = kText)
      : buffer_(Qel::makePtr<PrintBuffer>(std::make_unique<ScriptedPort>(script_), 0U, 4096U,
                                          PrintBuffer::kStream)),
        renderer_(Qel::makePtr<RendererV2>(format, buffer_, false)) {}

  RendererV2& renderer() { return *renderer_; }
  PrintBuffer& buffer() { return *buffer_; }
  /** What was printed since the last call. */
  std::string take() {
    buffer_->flush();
    return std::exchange(script_->taken, {});
  }

 private:
  std::shared_ptr<PortScript> script_ = std::make_shared<PortScript>();
  Qel::Ptr<PrintBuffer> buffer_;
  Qel::Ptr<RendererV2> renderer_;
};

}  // namespace Rendering
