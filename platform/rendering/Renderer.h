// What every renderer is: an output format over a print buffer.
#pragma once

#include <cstdint>

#include "platform/base/Ptr.h"
#include "platform/rendering/PrintBuffer.h"

namespace Rendering {

/** Output format codes as commands carry them. */
enum OutputFormat : std::uint32_t {
  kText = 1,
  kJson = 2,
};

class Renderer : public Qel::RefCounted {
 public:
  /**
   * `format` is an OutputFormat; an unknown code renders text, the form that a person can read.
   * With `flushOnRelease`, releasing the renderer flushes the buffer; without, that is left to the
   * buffer's owner.
   */
  Renderer(std::uint32_t format, Qel::Ptr<PrintBuffer> buffer, bool flushOnRelease);
  ~Renderer() override;

  std::uint32_t format() const noexcept { return format_; }
  bool isJson() const noexcept { return json_; }
  PrintBuffer& buffer() noexcept { return *buffer_; }

  /** Hands everything to the socket that it takes now. */
  void ioflush();

 private:
  Qel::Ptr<PrintBuffer> buffer_;
  std::uint32_t format_;
  bool json_;
  bool flushOnRelease_;
};

}  // namespace Rendering
