// Reads the request line of a connection and the descriptor that may travel with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "agent/server/FileDescriptor.h"
#include "agent/server/LineAssembler.h"
#include "agent/server/RequestLine.h"

namespace KorvoAgent {

class ControlReader {
 public:
  enum class State : std::uint8_t {
    incomplete,  ///< nothing more is there for now
    complete,    ///< line() is the line
    tooLong,
    ended,   ///< the peer has closed its sending side before a newline came
    failed,  ///< the connection is broken
  };

  /** Reads what there is, without blocking. */
  State read(int socket);

  const std::string& line() const noexcept { return assembler_.line(); }
  /** Whether something came behind the line's end. */
  bool sawMore() const noexcept { return assembler_.sawMore(); }
  /** How many descriptors came; all but the first are closed. */
  std::size_t numDescriptors() const noexcept { return numDescriptors_; }
  /** Whether the system could not hand over a descriptor that was sent. */
  bool descriptorLost() const noexcept { return descriptorLost_; }
  FileDescriptor takeDescriptor() noexcept { return std::move(descriptor_); }

 private:
  void keep(FileDescriptor descriptor) noexcept;

  LineAssembler assembler_{kMaxRequestLine};
  FileDescriptor descriptor_;
  std::size_t numDescriptors_ = 0;
  bool descriptorLost_ = false;
};

}  // namespace KorvoAgent
