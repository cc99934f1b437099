#include "platform/rendering/Renderer.h"

#include "platform/base/Exceptions.h"

namespace Rendering {

Renderer::Renderer(std::uint32_t format, Qel::Ptr<PrintBuffer> buffer, bool flushOnRelease)
    : buffer_(std::move(buffer)),
      format_(format),
      json_(format == kJson),
      flushOnRelease_(flushOnRelease) {
  QEL_ASSERT(buffer_ != nullptr);
}

Renderer::~Renderer() {
  if (flushOnRelease_) buffer_->flush();
}

void Renderer::ioflush() { buffer_->flush(); }

}  // namespace Rendering
