// Blocking Unix stream sockets, as the agent's clients use them.
//
// Everything here throws std::system_error when the system refuses, and when a peer says nothing
// for kPatience: a benchmark that hangs reports nothing.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include "agent/server/FileDescriptor.h"

namespace KorvoBench {

using KorvoAgent::FileDescriptor;

inline constexpr std::chrono::seconds kPatience{120};

/** Throws std::system_error for errno. */
[[noreturn]] void systemFailed(const std::string& what);

FileDescriptor listenOn(const std::string& path);
FileDescriptor acceptFrom(const FileDescriptor& listener);
FileDescriptor connectTo(const std::string& path);
std::pair<FileDescriptor, FileDescriptor> socketPair();

/** The send buffer that the agent asks for on the sockets of its dumps: 2 MiB. */
void enlargeSendBuffer(int socket);

void sendAll(int socket, std::string_view bytes);
/** Sends `line` with one descriptor. */
void sendWithDescriptor(int socket, std::string_view line, int descriptor);
/** Reads up to `size` bytes; 0 at end-of-file. */
std::size_t receiveSome(int socket, char* data, std::size_t size);
/** Reads until a line is there; what a client sends is one line and nothing after it. */
std::string receiveLine(int socket);

}  // namespace KorvoBench
