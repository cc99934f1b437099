// What the tests of the agent's small objects share.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/services/ChipSet.h"
#include "platform/rendering/PrintBuffer.h"
#include "tests/mocks/CommandSocket.h"

namespace KorvoAgent::Testing {

/** Everything that `print(socket)` writes, with what the socket does not take at once. */
template <class Print>
std::string transcript(Print&& print) {
  using Rendering::PrintBuffer;
  using Rendering::SocketPort;
  KorvoL2::Testing::CommandSocket socket;
  std::string left;
  auto handlerBefore =
      PrintBuffer::undeliveredHandlerIs([&left](std::uint32_t held, std::string_view text) {
        left += text;
        SocketPort::heldIs(held);
      });
  print(socket.descriptor());
  SocketPort::heldIs(SocketPort::kNoSocket);
  PrintBuffer::undeliveredHandlerIs(std::move(handlerBefore));
  return socket.text() + left;
}

/** A switch of chips 0, 1, ... named "chip0", "chip1", ... */
inline ChipNames chips(unsigned count) {
  return [count] {
    std::vector<ChipName> names;
    for (unsigned i = 0; i < count; ++i) {
      names.push_back({Tessar::FapId(i), "chip" + std::to_string(i)});
    }
    return names;
  };
}

inline ChipSet chipSet(std::initializer_list<unsigned> ids) {
  ChipSet set;
  for (const unsigned id : ids) set.add(Tessar::FapId(id));
  return set;
}

}  // namespace KorvoAgent::Testing
