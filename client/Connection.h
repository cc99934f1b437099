// The client's end of the agent's Unix socket.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "client/Descriptor.h"
#include "client/ExitStatus.h"

namespace KorvoCtl {

// Connects to the agent's socket. An agent that is too busy to take the connection is waited for,
// at most `patience`; 0 waits for ever.
[[nodiscard]] Result<Descriptor> connectToAgent(const std::string& path,
                                                std::chrono::milliseconds patience);

// Two ends of a stream socket for an answer: `ours` does not block, `theirs` goes to the agent.
//
// Standard output itself is never handed over, not even where it is a socket: the agent sets
// options on what it is given, which everybody who shares our standard output would feel, and only
// what passes through our hands can be counted against what the agent says it wrote.
struct AnswerChannel {
  Descriptor ours;
  Descriptor theirs;
};
[[nodiscard]] Result<AnswerChannel> makeAnswerChannel();

// Sends a request line together with the descriptor on which the answer is to come. False when the
// agent has closed the connection already, which it may have given a reason for.
[[nodiscard]] bool sendRequest(int connection, std::string_view line, int answer);

}  // namespace KorvoCtl
